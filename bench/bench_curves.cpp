// Throughput of the curve approximation: cubic splines of 8 to 20 control points
// and ellipses, each fitted at tolerance 0.01, and one ellipse whose search for
// its number of pieces runs long.
#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdio>
#include <string>
#include <utility>
#include <vector>

#include "entities/Vessik_Ellipse.h"
#include "entities/Vessik_Spline.h"
#include "parser/GroupPairs.h"
#include "parser/Vessik_CommonData.h"

namespace {

using vessik::GroupPairs;
using vessik::Vessik_CommonData;
using vessik::Vessik_Ellipse;
using vessik::Vessik_Layers;
using vessik::Vessik_Spline;

std::string Num(double v) {
  char buf[40];
  std::snprintf(buf, sizeof buf, "%.17g", v);
  return buf;
}

// The groups of a clamped cubic spline with n control points along a wave of
// amplitude 20 over a length of 10 units per point, uniform inner knots.
std::vector<std::pair<int32_t, std::string>> CubicSplinePairs(int n) {
  std::vector<std::pair<int32_t, std::string>> p{{5, "1"}, {8, "0"}, {71, "3"}};
  const int knots = n + 4;
  for (int i = 0; i < knots; ++i) {
    int k = i - 3;
    if (k < 0) k = 0;
    if (k > n - 3) k = n - 3;
    p.push_back({40, Num(k)});
  }
  for (int i = 0; i < n; ++i) {
    p.push_back({10, Num(10.0 * i)});
    p.push_back({20, Num(20.0 * std::sin(i * 0.9))});
    p.push_back({30, "0"});
  }
  p.push_back({0, "EOF"});
  return p;
}

void BM_CubicSpline(benchmark::State& state) {
  const int n = static_cast<int>(state.range(0));
  GroupPairs().Assign(CubicSplinePairs(n));
  Vessik_CommonData data;
  data.Tolerance = 0.01;
  Vessik_Layers layers;
  int64_t segments = 0;
  for (auto _ : state) {
    Vessik_Spline s;
    s.Vessik_IEntity_Read(0, layers);
    s.Vessik_IEntity_Init(&data);
    segments = s.Geos().Count();
    benchmark::DoNotOptimize(segments);
  }
  state.SetItemsProcessed(state.iterations());
  state.counters["segments"] = static_cast<double>(segments);
}
BENCHMARK(BM_CubicSpline)->DenseRange(8, 20, 4)->Unit(benchmark::kMicrosecond);

void BM_Ellipse(benchmark::State& state) {
  const double ratio = static_cast<double>(state.range(0)) / 100.0;
  size_t pieces = 0;
  for (auto _ : state) {
    Vessik_Ellipse e;
    e.CX1 = 5;
    e.CY1 = 7;
    e.CX2 = 40;
    e.CY2 = 15;
    e.Ratio = ratio;
    e.SA = 0;
    e.EA = 6.28318530717958;
    e.SetBackgroundValues();
    e.Ellipse2Arcs(0.01);
    pieces = e.BiArcs().size();
    benchmark::DoNotOptimize(pieces);
  }
  state.SetItemsProcessed(state.iterations());
  state.counters["pieces"] = static_cast<double>(pieces);
}
BENCHMARK(BM_Ellipse)->Arg(90)->Arg(50)->Arg(20)->Unit(benchmark::kMicrosecond);

// An ellipse squashed onto a line by a centre at y = 1e308, which the half axes
// of 1 and 0.5 no longer move: its tangents still turn, and the search for the
// number of pieces runs through some thousand passes before one fits.
void BM_EllipseSquashed(benchmark::State& state) {
  size_t pieces = 0;
  for (auto _ : state) {
    Vessik_Ellipse e;
    e.CY1 = 1e308;
    e.CX2 = 1;
    e.Ratio = 0.5;
    e.SA = 0;
    e.EA = 1.5;
    e.SetBackgroundValues();
    e.Ellipse2Arcs(0.01);
    pieces = e.BiArcs().size();
    benchmark::DoNotOptimize(pieces);
  }
  state.SetItemsProcessed(state.iterations());
  state.counters["pieces"] = static_cast<double>(pieces);
}
BENCHMARK(BM_EllipseSquashed)->Unit(benchmark::kMillisecond);

}  // namespace
