// Odd curves of every kind must end in a result or in one of the library's
// failures: never a crash, a hang or a read out of bounds.
#include <gtest/gtest.h>

#include <cstdio>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "entities/Vessik_Ellipse.h"
#include "entities/Vessik_Spline.h"
#include "parser/GroupPairs.h"
#include "parser/Vessik_CommonData.h"
#include "parser/Vessik_Error.h"

namespace vessik {
namespace {

std::string Num(double v) {
  char buf[40];
  std::snprintf(buf, sizeof buf, "%.17g", v);
  return buf;
}

bool Known(int32_t n) {
  static const std::set<int32_t> known{6, 9, 13, errnum::TooManyIterations, errnum::InvalidSpan};
  return known.count(n) > 0;
}

TEST(CurveRobustness, RandomSplinesEndCleanly) {
  std::mt19937 rng(20261122);
  std::uniform_int_distribution<int> degreeDist(-1, 5);
  std::uniform_int_distribution<int> countDist(0, 9);
  std::uniform_real_distribution<double> coord(-50, 50);
  std::uniform_int_distribution<int> coin(0, 9);
  int printed = 0;
  int failed = 0;
  for (int round = 0; round < 300; ++round) {
    const int degree = degreeDist(rng);
    const int points = countDist(rng);
    int knots = points + degree + 1;
    if (coin(rng) == 0) knots += countDist(rng) - 4;
    if (knots < 0) knots = 0;
    std::vector<std::pair<int32_t, std::string>> p{{71, std::to_string(degree)}};
    double k = 0;
    for (int i = 0; i < knots; ++i) {
      // Mostly rising knots with repeats, sometimes out of order.
      const int c = coin(rng);
      if (c >= 4) k += 1;
      if (c == 0) k -= 2;
      p.push_back({40, Num(k)});
    }
    const bool weights = coin(rng) < 3;
    for (int i = 0; i < points; ++i) {
      if (weights) p.push_back({41, Num(coin(rng) == 0 ? 0.0 : 0.5 + coin(rng) / 5.0)});
    }
    for (int i = 0; i < points; ++i) {
      const bool repeat = coin(rng) < 2;
      p.push_back({10, repeat ? "0" : Num(coord(rng))});
      p.push_back({20, repeat ? "0" : Num(coord(rng))});
      p.push_back({30, "0"});
    }
    p.push_back({0, "EOF"});
    GroupPairs().Assign(p);
    Vessik_Spline s;
    Vessik_Layers layers;
    Vessik_CommonData data;
    data.Tolerance = coin(rng) == 0 ? 0.0001 : 0.05;
    data.Check = coin(rng) < 3 ? 1 : 0;
    data.InitialSegments = coin(rng);
    try {
      s.Vessik_IEntity_Read(0, layers);
      s.Vessik_IEntity_Init(&data);
      s.Vessik_IEntity_ToString(layers);
      ++printed;
    } catch (const Vessik_Error& e) {
      EXPECT_TRUE(Known(e.Number())) << round << ": " << e.Number() << " " << e.Description();
      ++failed;
    }
  }
  EXPECT_GT(printed, 0);
  EXPECT_GT(failed, 0);
}

TEST(CurveRobustness, RandomEllipsesEndCleanly) {
  std::mt19937 rng(7);
  std::uniform_real_distribution<double> v(-20, 20);
  std::uniform_real_distribution<double> ratio(0, 1.5);
  std::uniform_real_distribution<double> angle(-10, 10);
  for (int round = 0; round < 100; ++round) {
    Vessik_Ellipse e;
    e.CX1 = v(rng);
    e.CY1 = v(rng);
    e.CX2 = v(rng);
    e.CY2 = v(rng);
    e.Ratio = ratio(rng);
    e.SA = angle(rng);
    e.EA = angle(rng);
    e.SetBackgroundValues();
    try {
      e.Ellipse2Arcs(0.05);
      Vessik_Layers layers;
      e.Vessik_IEntity_ToString(layers);
    } catch (const Vessik_Error& err) {
      EXPECT_TRUE(Known(err.Number())) << round << ": " << err.Number();
    }
  }
}

}  // namespace
}  // namespace vessik
