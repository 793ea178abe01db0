// Parse2 on drawings that look things up by name very often: 100,000 lines each
// on a layer of its own (every entity adds a layer), and 60,000 blocks with
// 60,000 references to a block that none of them is.
#include <benchmark/benchmark.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "parser/parser.h"

namespace vessik {
namespace {

std::string WriteDrawing(const std::string& name, const std::string& text) {
  const std::string path = (std::filesystem::temp_directory_path() / name).string();
  std::ofstream(path, std::ios::binary) << text;
  return path;
}

const std::string& LayerPerLine() {
  static const std::string path = [] {
    std::string t = "0\nSECTION\n2\nENTITIES\n";
    for (int i = 0; i < 100000; ++i) {
      const std::string n = std::to_string(i);
      t += "0\nLINE\n8\nL" + n + "\n10\n" + n + "\n20\n0\n11\n" + n + "\n21\n1\n";
    }
    return WriteDrawing("vessik-bench-layers.dxf", t + "0\nENDSEC\n0\nEOF\n");
  }();
  return path;
}

const std::string& ManyBlocksOneMissing() {
  static const std::string path = [] {
    std::string t = "0\nSECTION\n2\nBLOCKS\n";
    for (int i = 0; i < 60000; ++i) {
      t += "0\nBLOCK\n2\nB" + std::to_string(i) + "\n10\n0\n20\n0\n0\nENDBLK\n";
    }
    t += "0\nENDSEC\n0\nSECTION\n2\nENTITIES\n";
    for (int i = 0; i < 60000; ++i) t += "0\nINSERT\n2\nMISSING\n10\n0\n20\n0\n";
    return WriteDrawing("vessik-bench-blocks.dxf", t + "0\nENDSEC\n0\nEOF\n");
  }();
  return path;
}

void Parse(benchmark::State& state, const std::string& path) {
  Vessik_CommonData data;
  Vessik_Progress progress;
  for (auto _ : state) {
    Vessik_Parser parser;
    benchmark::DoNotOptimize(parser.Parse2(path, data, progress));
  }
}

void BM_Parse2LayerPerLine(benchmark::State& state) {
  Parse(state, LayerPerLine());
}
void BM_Parse2ManyBlocksOneMissing(benchmark::State& state) {
  Parse(state, ManyBlocksOneMissing());
}
BENCHMARK(BM_Parse2LayerPerLine)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime()
    ->Repetitions(5)
    ->ReportAggregatesOnly(true);
BENCHMARK(BM_Parse2ManyBlocksOneMissing)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime()
    ->Repetitions(5)
    ->ReportAggregatesOnly(true);

}  // namespace
}  // namespace vessik
