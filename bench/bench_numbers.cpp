// Writing numbers as text, and reading them: the printer spends most of its time
// writing them on large drawings, the reader much of its time reading them. The
// values are of the kinds a drawing's records hold.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "parser/Vessik_Convert.h"

namespace vessik {
namespace {

std::vector<double> Values(int kind) {
  std::mt19937_64 random(7);
  std::uniform_real_distribution<double> coordinate(-5000, 5000);
  std::vector<double> values(4096);
  for (double& v : values) {
    const double c = coordinate(random);
    switch (kind) {
      case 0:  // Coordinates typed in with three decimals.
        v = std::nearbyint(c * 1000) / 1000;
        break;
      case 1:  // Computed coordinates: all fifteen digits.
        v = c;
        break;
      default:  // Angles and small values below 1.
        v = c / 10000;
        break;
    }
  }
  return values;
}

void BM_WriteDouble(benchmark::State& state) {
  const std::vector<double> values = Values(static_cast<int>(state.range(0)));
  char buf[64];
  size_t i = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(WriteDouble(buf, values[i++ & 4095], "."));
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_WriteDouble)->Arg(0)->Arg(1)->Arg(2);

// Reading them back: the value lines of a drawing, as the reader sees them.
void BM_ReadNumber(benchmark::State& state) {
  std::vector<std::string> texts;
  char buf[64];
  for (double v : Values(static_cast<int>(state.range(0)))) {
    texts.emplace_back(buf, WriteDouble(buf, v, "."));
  }
  size_t i = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(ReadNumber(texts[i++ & 4095], false));
  }
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_ReadNumber)->Arg(0)->Arg(1)->Arg(2);

}  // namespace
}  // namespace vessik
