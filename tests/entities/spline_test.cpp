// The SPLINE entity: its reading, its settings, and curves placed through blocks.
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <string>
#include <utility>
#include <vector>

#include "entities/Vessik_Spline.h"
#include "parser/GroupPairs.h"
#include "parser/Vessik_CommonData.h"
#include "parser/Vessik_Error.h"
#include "parser/Vessik_Layer.h"
#include "parser/Vessik_Parser.h"
#include "parser/Vessik_Progress.h"
#include "support/Corpus.h"
#include "support/SplineTestUtil.h"
#include "support/TestSupport.h"

namespace vessik {
namespace {

using test::Drawing;
using test::ExpectFailure;
using test::Fit;
using test::kQuadKnots;
using test::kQuadPts;
using test::Pairs;
using test::Read;
using test::Records;
using test::SplinePairs;
using test::TempFile;

TEST(SplineRead, WithoutWeightsAllAreOne) {
  Vessik_Spline s;
  Pairs p = SplinePairs(2, kQuadKnots, kQuadPts);
  GroupPairs().Assign(p);
  Vessik_Layers layers;
  EXPECT_EQ(s.Vessik_IEntity_Read(0, layers), static_cast<int32_t>(p.size()) - 2);
  EXPECT_EQ(s.Weights(), (std::vector<double>{1, 1, 1}));
  EXPECT_EQ(s.Knots(), kQuadKnots);
  ASSERT_EQ(s.CPoints().size(), 3u);
  EXPECT_EQ(s.CPoints()[1].X, 1);
  EXPECT_EQ(s.Id, 42);
  EXPECT_EQ(s.Flag, 8);
  EXPECT_EQ(s.Degree, 2);
  EXPECT_EQ(s.CPtsNum, 3);
}

TEST(SplineRead, TooFewWeightsAreKeptAndFailLater) {
  Vessik_Spline s;
  Read(s, SplinePairs(2, kQuadKnots, kQuadPts, {1, 2}));
  EXPECT_EQ(s.Weights(), (std::vector<double>{1, 2}));
  ExpectFailure([&] { s.Spline2Arcs(0.01, 2, 0); }, 9, "Subscript out of range");
}

TEST(SplineRead, CoordinatesCarryOverAndOnly30CompletesAPoint) {
  Vessik_Spline s;
  Read(s, {{71, "1"},
           {40, "0"},
           {40, "0"},
           {40, "1"},
           {40, "1"},
           {10, "3"},
           {20, "4"},
           {30, "0"},
           {10, "7"},
           {30, "1"},
           {20, "9"},
           {0, "EOF"}});
  ASSERT_EQ(s.CPoints().size(), 2u);
  EXPECT_EQ(s.CPoints()[1].X, 7);
  EXPECT_EQ(s.CPoints()[1].Y, 4);
  EXPECT_EQ(s.CPoints()[1].Z, 1);
}

TEST(SplineRead, PointsWithout30FailAtSizing) {
  Vessik_Spline s;
  GroupPairs().Assign({{71, "1"}, {40, "0"}, {40, "1"}, {10, "1"}, {20, "2"}, {0, "EOF"}});
  Vessik_Layers layers;
  ExpectFailure([&] { s.Vessik_IEntity_Read(0, layers); }, 9, "Subscript out of range");
}

TEST(SplineRead, NoKnotsFailAtSizing) {
  Vessik_Spline s;
  GroupPairs().Assign({{71, "1"}, {10, "1"}, {20, "2"}, {30, "0"}, {0, "EOF"}});
  Vessik_Layers layers;
  ExpectFailure([&] { s.Vessik_IEntity_Read(0, layers); }, 9, "Subscript out of range");
}

TEST(SplineRead, IntegerGroupsThatAreNoNumberFail) {
  for (int code : {62, 70, 71, 73}) {
    Vessik_Spline s;
    GroupPairs().Assign({{code, "abc"}, {0, "EOF"}});
    Vessik_Layers layers;
    ExpectFailure([&] { s.Vessik_IEntity_Read(0, layers); }, 13, "Type mismatch");
  }
}

TEST(SplineInit, InitialSegmentsRoundHalfToEvenAndZeroMeansTwo) {
  const std::vector<std::pair<double, int32_t>> cases{{0, 2},   {0.5, 2}, {1.5, 2},
                                                      {2.5, 2}, {3.5, 4}, {1, 1}};
  for (const auto& c : cases) {
    Vessik_Spline s;
    Fit(s, SplinePairs(1, {0, 0, 1, 1}, {{0, 0}, {1, 0}}), 0.01, c.first);
    EXPECT_EQ(s.InitialSegments(), c.second) << c.first;
  }
}

TEST(SplineInit, FitToleranceIsThreePercent) {
  Vessik_Spline s;
  Fit(s, SplinePairs(1, {0, 0, 1, 1}, {{0, 0}, {1, 0}}), 0.5);
  EXPECT_EQ(s.Tolerance(), 0.5);
  EXPECT_EQ(s.FitTolerance(), 0.5 * 0.03);
}

TEST(SplineRead, KnotCountNotMatchingIsNotNoticed) {
  Vessik_Spline s;
  Read(s, SplinePairs(2, {0, 0, 0, 0.5, 1, 1, 1, 1, 1}, kQuadPts));
  EXPECT_EQ(s.Knots().size(), 9u);
  EXPECT_EQ(s.CPoints().size(), 3u);
}

// Curves through Parse2 in nested blocks

std::string Parse(const std::string& dxf, double tol = 0.01, int32_t check = 0) {
  TempFile f(dxf);
  Vessik_Parser parser;
  Vessik_CommonData data;
  data.Tolerance = tol;
  data.Check = check;
  Vessik_Progress progress;
  return parser.Parse2(f.Path(), data, progress);
}

double D(const std::string& s) {
  return std::stod(s);
}

// Block B holds a circle-shaped ellipse about (1, 0) of radius 1 and a straight
// spline from (0, 0) to (1, 0). Block A places B at (10, 0), turned by 90
// degrees and scaled by 2; the drawing places A at (100, 50).
std::string NestedDrawing() {
  Pairs blocks{
      {0, "BLOCK"},   {2, "B"},  {70, "0"},     {10, "0"},     {20, "0"}, {30, "0"},
      {0, "ELLIPSE"}, {5, "E1"}, {8, "0"},      {10, "1"},     {20, "0"}, {30, "0"},
      {11, "1"},      {21, "0"}, {31, "0"},     {40, "1"},     {41, "0"}, {42, "3.14159265358979"},
      {0, "SPLINE"},  {5, "F1"}, {8, "0"},      {71, "1"},     {40, "0"}, {40, "0"},
      {40, "1"},      {40, "1"}, {10, "0"},     {20, "0"},     {30, "0"}, {10, "1"},
      {20, "0"},      {30, "0"}, {0, "ENDBLK"}, {0, "BLOCK"},  {2, "A"},  {70, "0"},
      {10, "0"},      {20, "0"}, {30, "0"},     {0, "INSERT"}, {2, "B"},  {10, "10"},
      {20, "0"},      {30, "0"}, {41, "2"},     {42, "2"},     {43, "2"}, {50, "90"},
      {0, "ENDBLK"}};
  Pairs entities{{0, "INSERT"}, {2, "A"},  {10, "100"}, {20, "50"}, {30, "0"},
                 {41, "1"},     {42, "1"}, {43, "1"},   {50, "0"}};
  return Drawing(entities, {}, blocks);
}

TEST(CurveDrawing, NestedRotatedScaledBlockPlacesCurves) {
  const std::string text = Parse(NestedDrawing());
  auto recs = Records(text);
  int arcs = 0;
  int lines = 0;
  for (const auto& r : recs) {
    ASSERT_GE(r.size(), 17u);
    if (r[1] == "66") {
      ++arcs;
      EXPECT_EQ(r[0], "225");  // handle E1
      // Centre (1, 0) of B: scaled by 2, turned by 90 degrees, moved by (10, 0)
      // and then by (100, 50).
      EXPECT_NEAR(D(r[11]), 110, 1e-9);
      EXPECT_NEAR(D(r[12]), 52, 1e-9);
      EXPECT_NEAR(D(r[14]), 2, 1e-9);
      // The upper half of the circle in B faces -X after the turn: 90 to 270.
      EXPECT_GE(D(r[15]), 90 - 1e-6);
      EXPECT_LE(D(r[16]), 270 + 1e-6);
    } else if (r[1] == "83") {
      ++lines;
      EXPECT_EQ(r[0], "241");  // handle F1
      EXPECT_NEAR(D(r[5]), 110, 1e-6);
      EXPECT_NEAR(D(r[6]), 50, 1e-6);
      EXPECT_NEAR(D(r[8]), 110, 1e-6);
      EXPECT_NEAR(D(r[9]), 52, 1e-6);
    }
  }
  EXPECT_EQ(arcs, 4);
  EXPECT_EQ(lines, 1);
}

TEST(CurveDrawing, CheckTwoFailsTheParse) {
  Pairs entities{{0, "SPLINE"}, {71, "1"}, {40, "0"}, {40, "0"}, {40, "1"}, {40, "1"},
                 {10, "0"},     {20, "0"}, {30, "0"}, {10, "1"}, {20, "0"}, {30, "0"}};
  try {
    Parse(Drawing(entities), 0.01, 2);
    FAIL() << "no failure";
  } catch (const Vessik_Error& e) {
    EXPECT_EQ(e.Number(), 13);
    EXPECT_EQ(e.Description(), "Type mismatch");
  }
}

TEST(CurveDrawing, SplineWithFitPointsOnlyFailsTheParse) {
  Pairs entities{{0, "SPLINE"}, {71, "3"}, {74, "2"}, {11, "0"}, {21, "0"},
                 {31, "0"},     {11, "1"}, {21, "1"}, {31, "0"}};
  try {
    Parse(Drawing(entities));
    FAIL() << "no failure";
  } catch (const Vessik_Error& e) {
    EXPECT_EQ(e.Number(), 9);
  }
}

// A spline of the given degree with the two knots 1e7 and the double just above
// it, and one control point. The march starts 1e-9 above the first knot, which
// rounds to the second: the very first evaluation is at the last knot, where the
// span is m - p - 2, and the degree alone decides what the work arrays become.
std::string ExtremeDegreeDrawing(const std::string& degree) {
  char next[40];
  std::snprintf(next, sizeof next, "%.17g", std::nextafter(1e7, 2e7));
  Pairs entities{{0, "SPLINE"}, {71, degree}, {40, "10000000"}, {40, next},
                 {10, "0"},     {20, "0"},    {30, "0"}};
  return Drawing(entities);
}

TEST(CurveDrawing, ExtremeDegreesFailTheSameWayInEveryBuild) {
  // Work arrays of (p + 1) x (p + 1) above the 2^28 elements any array may
  // have: out of memory, before any allocation is tried.
  for (const char* degree : {"2147483647", "1100000000", "16384"}) {
    SCOPED_TRACE(degree);
    ExpectFailure([&] { Parse(ExtremeDegreeDrawing(degree)); }, 7, "Out of memory");
  }
  // A degree below 0 leaves the arrays empty: the first write is out of range.
  for (const char* degree : {"-2147483648", "-1"}) {
    SCOPED_TRACE(degree);
    ExpectFailure([&] { Parse(ExtremeDegreeDrawing(degree)); }, 9, "Subscript out of range");
  }
  // A degree whose arrays are made but that the two knots cannot serve: the span
  // at the last knot is below 0, and so is the first knot it reads.
  ExpectFailure([&] { Parse(ExtremeDegreeDrawing("1000")); }, 9, "Subscript out of range");
}

TEST(CurveDrawing, EllipseWithoutEndPrintsNothing) {
  Pairs entities{{0, "ELLIPSE"}, {10, "0"}, {20, "0"}, {11, "5"}, {21, "0"}, {40, "0.5"}};
  EXPECT_EQ(Parse(Drawing(entities)), "");
}

// A Bezier curve of degree 40 through a wave: each curve point costs a basis of
// 41 x 41 values, and at a tolerance far below rounding the march runs to its
// limit. The outcomes are held exactly.
Pairs HighDegreePairs() {
  const int degree = 40;
  std::vector<double> knots(degree + 1, 0.0);
  knots.insert(knots.end(), degree + 1, 1.0);
  std::vector<std::array<double, 2>> cps;
  for (int i = 0; i <= degree; ++i) cps.push_back({i * 2.5, 30 * std::sin(i * 0.7)});
  return SplinePairs(degree, knots, cps);
}

TEST(SplineHostile, HighDegreeFitsToTheSameText) {
  Vessik_Spline s;
  Fit(s, HighDegreePairs(), 0.01);
  const std::string text = s.Vessik_IEntity_ToString(test::gLayers);
  EXPECT_EQ(Records(text).size(), 81u);
  EXPECT_EQ(text.substr(0, text.find('\n') + 1),
            "42\t66\t0\t0\t16777215\t0\t0\t0\t0\t0\t0\t245.10605653404\t-31.7059046718345\t0\t"
            "247.148221399078\t170.909101179773\t172.629383838327\t\r\n");
  EXPECT_EQ(test::Sha256Hex(text),
            "101aff5d04844c8d307506a032d0145ec1abf58797a5458d93956dfc155b2c06");
}

TEST(SplineHostile, HighDegreeBelowRoundingHitsTheIterationLimit) {
  Vessik_Spline s;
  ExpectFailure([&] { Fit(s, HighDegreePairs(), 1e-9); }, -2147221403,
                "Iterations above 10000 reduce tolerance.");
}

}  // namespace
}  // namespace vessik
