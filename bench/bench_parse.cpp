// Parse2 from file to text on a large drawing of straight segments.
#include <benchmark/benchmark.h>

#include <filesystem>
#include <string>

#include "DrawingGenerator.h"
#include "parser/parser.h"

namespace vessik {
namespace {

constexpr std::size_t kDrawingBytes = 100'000'000;

void BM_Parse2NoCurves(benchmark::State& state) {
  const std::string& path = bench::GeneratedDrawing(kDrawingBytes, false);
  if (path.empty()) return state.SkipWithError("cannot write the drawing");
  std::error_code ec;
  const auto bytes = static_cast<int64_t>(std::filesystem::file_size(path, ec));
  // The settings of the vessik tool's defaults.
  Vessik_CommonData data;
  data.Tolerance = 0.01;
  data.ArcMaximumDeviationFactor = 0.01;
  data.ArcMinimumSegmentLengthFactor = 0.1;
  data.ArcMaximumSegmentLengthFactor = 10;
  data.InitialSegments = 4;
  Vessik_Progress progress;
  std::size_t textBytes = 0;
  for (auto _ : state) {
    Vessik_Parser parser;
    const std::string text = parser.Parse2(path, data, progress);
    textBytes = text.size();
    benchmark::DoNotOptimize(text.data());
  }
  state.SetBytesProcessed(state.iterations() * (ec ? 0 : bytes));
  state.counters["output_MB"] = static_cast<double>(textBytes) / 1e6;
}
// Wall-clock time: the text is made on a second thread while the first reads.
BENCHMARK(BM_Parse2NoCurves)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime()
    ->Repetitions(5)
    ->ReportAggregatesOnly(true);

}  // namespace
}  // namespace vessik
