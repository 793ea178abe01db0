// The front end on a large drawing: loading into group pairs, then the section
// index, the layer table and the block table.
#include <benchmark/benchmark.h>

#include <filesystem>
#include <string>

#include "DrawingGenerator.h"
#include "parser/parser.h"

namespace vessik {
namespace {

constexpr std::size_t kDrawingBytes = 100'000'000;

const std::string& Drawing() {
  return bench::GeneratedDrawing(kDrawingBytes, true);
}

int64_t FileBytes(const std::string& path) {
  std::error_code ec;
  const auto size = std::filesystem::file_size(path, ec);
  return ec ? 0 : static_cast<int64_t>(size);
}

void BM_LoadDXF(benchmark::State& state) {
  const std::string& path = Drawing();
  if (path.empty()) return state.SkipWithError("cannot write the drawing");
  for (auto _ : state) Vessik_Parser::LoadDXF(path);
  state.SetBytesProcessed(state.iterations() * FileBytes(path));
}
BENCHMARK(BM_LoadDXF)->Unit(benchmark::kMillisecond);

void BM_LoadAndIndex(benchmark::State& state) {
  const std::string& path = Drawing();
  if (path.empty()) return state.SkipWithError("cannot write the drawing");
  for (auto _ : state) {
    Vessik_Parser::LoadDXF(path);
    const auto sections = Vessik_Parser::ParseSections();
    auto layers = Vessik_Parser::ParseLayers(sections);
    auto blocks = Vessik_Parser::ParseBlocks(sections);
    benchmark::DoNotOptimize(layers.data());
    benchmark::DoNotOptimize(blocks.data());
  }
  state.SetBytesProcessed(state.iterations() * FileBytes(path));
}
BENCHMARK(BM_LoadAndIndex)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace vessik
