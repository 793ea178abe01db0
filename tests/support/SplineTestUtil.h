// Helpers of the spline tests: the pairs of a SPLINE, read and fitted.
#pragma once

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <cstdio>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "entities/Vessik_Spline.h"
#include "parser/GroupPairs.h"
#include "parser/Vessik_CommonData.h"
#include "parser/Vessik_Error.h"
#include "parser/Vessik_Layer.h"

namespace vessik::test {

using Pairs = std::vector<std::pair<int, std::string>>;

// A double with all the digits it needs to read back the same.
inline std::string Num(double v) {
  char buf[64];
  std::snprintf(buf, sizeof buf, "%.17g", v);
  return buf;
}

// The pairs of a SPLINE of handle 2A on layer 0 with flag 8 and the given degree,
// knots, control points and weights, the extra pairs in front of the knots.
inline Pairs SplinePairs(int degree, const std::vector<double>& knots,
                         const std::vector<std::array<double, 2>>& cps,
                         const std::vector<double>& weights = {}, const Pairs& extra = {}) {
  Pairs p{{5, "2A"},
          {8, "0"},
          {70, "8"},
          {71, std::to_string(degree)},
          {72, std::to_string(knots.size())},
          {73, std::to_string(cps.size())}};
  p.insert(p.end(), extra.begin(), extra.end());
  for (double k : knots) p.push_back({40, Num(k)});
  for (double w : weights) p.push_back({41, Num(w)});
  for (const auto& c : cps) {
    p.push_back({10, Num(c[0])});
    p.push_back({20, Num(c[1])});
    p.push_back({30, "0"});
  }
  p.push_back({0, "EOF"});
  return p;
}

// Reads a spline from the pairs; layers live as long as the test needs them.
inline Vessik_Layers gLayers;

inline void Read(Vessik_Spline& s, const Pairs& p) {
  GroupPairs().Assign(p);
  gLayers.clear();
  s.Vessik_IEntity_Read(0, gLayers);
}

// Reads the spline and fits it with this tolerance, count of initial segments and
// check.
inline void Fit(Vessik_Spline& s, const Pairs& p, double tol, double segments = 0,
                int32_t check = 0) {
  Read(s, p);
  Vessik_CommonData data;
  data.Tolerance = tol;
  data.InitialSegments = segments;
  data.Check = check;
  s.Vessik_IEntity_Init(&data);
}

// The call must raise the library failure of this number and words.
inline void ExpectFailure(const std::function<void()>& f, int32_t number,
                          const std::string& words) {
  try {
    f();
    FAIL() << "no failure";
  } catch (const Vessik_Error& e) {
    EXPECT_EQ(e.Number(), number);
    EXPECT_EQ(e.Description(), words);
  }
}

// A quadratic of one piece.
inline const std::vector<double> kQuadKnots{0, 0, 0, 1, 1, 1};
inline const std::vector<std::array<double, 2>> kQuadPts{{0, 0}, {1, 1}, {2, 0}};

}  // namespace vessik::test
