// How long a parse takes to end once another thread cancels it, inside work that
// would otherwise run for minutes: a block expansion that doubles 30 times, one
// spline fit of degree 3000, and arcs cut into millions of segments while the text
// is written. The time reported is from the cancel to the return of Parse2.
#include <benchmark/benchmark.h>

#include <chrono>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>

#include "parser/parser.h"

namespace vessik {
namespace {

using Clock = std::chrono::steady_clock;

std::string WriteDrawing(const std::string& name, const std::string& text) {
  const std::string path = (std::filesystem::temp_directory_path() / name).string();
  std::ofstream(path, std::ios::binary) << text;
  return path;
}

std::string Wrap(const std::string& blocks, const std::string& entities) {
  return "0\nSECTION\n2\nBLOCKS\n" + blocks + "0\nENDSEC\n0\nSECTION\n2\nENTITIES\n" + entities +
         "0\nENDSEC\n0\nEOF\n";
}

const std::string& DoublingBlocks() {
  static const std::string path = [] {
    std::string b;
    for (int k = 0; k < 30; ++k) {
      b += "0\nBLOCK\n2\nB" + std::to_string(k) + "\n10\n0\n20\n0\n30\n0\n";
      const std::string next = "0\nINSERT\n8\n0\n2\nB" + std::to_string(k + 1) + "\n10\n0\n20\n0\n";
      b += k == 29 ? "0\nLINE\n8\n0\n10\n0\n20\n0\n11\n1\n21\n1\n" : next + next;
      b += "0\nENDBLK\n";
    }
    return WriteDrawing("vessik-bench-doubling.dxf",
                        Wrap(b, "0\nINSERT\n8\n0\n2\nB0\n10\n0\n20\n0\n"));
  }();
  return path;
}

const std::string& Degree3000() {
  static const std::string path = [] {
    const int p = 3000;
    std::string e = "0\nSPLINE\n8\n0\n70\n8\n71\n" + std::to_string(p) + "\n";
    for (int i = 0; i < 2 * (p + 1); ++i) e += i <= p ? "40\n0\n" : "40\n1\n";
    for (int i = 0; i <= p; ++i) {
      e += "10\n" + std::to_string(i) + "\n20\n" + std::to_string(std::sin(i)) + "\n30\n0\n";
    }
    return WriteDrawing("vessik-bench-degree3000.dxf", Wrap("", e));
  }();
  return path;
}

const std::string& HugeArcs() {
  static const std::string path = [] {
    std::string e;
    for (int i = 0; i < 8; ++i) {
      e += "0\nARC\n8\n0\n10\n0\n20\n0\n30\n0\n40\n1.6e6\n50\n0\n51\n359\n210\n0.6\n220\n0\n230\n"
           "0.8\n";
    }
    return WriteDrawing("vessik-bench-arcs.dxf", Wrap("", e));
  }();
  return path;
}

void CancelAfter(benchmark::State& state, const std::string& path) {
  Vessik_CommonData data;
  data.Tolerance = 0.01;
  data.ArcMaximumDeviationFactor = 1e-4;
  data.ArcMinimumSegmentLengthFactor = 1;
  data.ArcMaximumSegmentLengthFactor = 10;
  data.InitialSegments = 4;
  for (auto _ : state) {
    Vessik_Parser parser;
    Vessik_Progress progress;
    Clock::time_point canceledAt;
    std::thread canceler([&] {
      std::this_thread::sleep_for(std::chrono::milliseconds(state.range(0)));
      canceledAt = Clock::now();
      progress.IsCanceled(true);
    });
    const std::string text = parser.Parse2(path, data, progress);
    const Clock::time_point done = Clock::now();
    canceler.join();
    if (!text.empty()) state.SkipWithError("the parse ended before the cancel");
    state.SetIterationTime(std::chrono::duration<double>(done - canceledAt).count());
  }
}

void BM_CancelInBlockExpansion(benchmark::State& state) {
  CancelAfter(state, DoublingBlocks());
}
void BM_CancelInDegree3000Fit(benchmark::State& state) {
  CancelAfter(state, Degree3000());
}
void BM_CancelWhilePrintingHugeArcs(benchmark::State& state) {
  CancelAfter(state, HugeArcs());
}

// Argument: milliseconds from the start of the parse to the cancel.
BENCHMARK(BM_CancelInBlockExpansion)->Arg(300)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(BM_CancelInDegree3000Fit)->Arg(300)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(BM_CancelWhilePrintingHugeArcs)->Arg(500)->UseManualTime()->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace vessik
