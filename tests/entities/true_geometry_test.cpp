// The true-geometry mode on small drawings made for each way it departs from the
// default text, with the records it must give; and the default text of the same
// drawings, to show what the mode changes.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <numbers>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "entities/TrueEntities.h"
#include "parser/parser.h"
#include "support/Settings.h"
#include "support/TestSupport.h"

namespace vessik {
namespace {

using Pairs = std::vector<std::pair<int, std::string>>;
using Rows = std::vector<std::vector<std::string>>;

std::string Parse(const std::string& dxf, bool trueGeometry, double tolerance = 0.01) {
  test::TempFile file(dxf);
  SetTrueGeometry(trueGeometry);
  Vessik_Parser parser;
  Vessik_CommonData data = test::ToolDefaults();
  data.Tolerance = tolerance;
  Vessik_Progress progress;
  std::string text;
  try {
    text = parser.Parse2(file.Path(), data, progress);
  } catch (...) {
    SetTrueGeometry(false);
    throw;
  }
  SetTrueGeometry(false);
  return text;
}

Rows True(const std::string& dxf, double tolerance = 0.01) {
  return test::Records(Parse(dxf, true, tolerance));
}

// Columns 6 to 17 of a record as numbers.
std::vector<double> Numbers(const std::vector<std::string>& row) {
  std::vector<double> v;
  for (size_t c = 5; c < 17; ++c) v.push_back(std::strtod(row[c].c_str(), nullptr));
  return v;
}

std::string Line(const std::vector<std::string>& row) {
  std::string s;
  for (const auto& c : row) s += c + " ";
  return s;
}

Pairs Concat(std::initializer_list<Pairs> parts) {
  Pairs all;
  for (const Pairs& p : parts) all.insert(all.end(), p.begin(), p.end());
  return all;
}

Pairs Block(const std::string& name, const Pairs& content, const std::string& base = "0") {
  return Concat(
      {{{0, "BLOCK"}, {2, name}, {10, base}, {20, "0"}, {30, "0"}}, content, {{0, "ENDBLK"}}});
}

const Pairs kUnitLine = {{0, "LINE"}, {8, "0"},  {10, "0"}, {20, "0"},
                         {30, "0"},   {11, "1"}, {21, "0"}, {31, "0"}};

TEST(TrueGeometry, EllipseEndBelowStartGoesCounterClockwiseRound) {
  // A circle as ellipse from 90 degrees to 0: three quarters, counter-clockwise.
  const std::string dxf = test::Drawing({{0, "ELLIPSE"},
                                         {5, "2A"},
                                         {10, "0"},
                                         {20, "0"},
                                         {30, "0"},
                                         {11, "10"},
                                         {21, "0"},
                                         {31, "0"},
                                         {40, "1"},
                                         {41, "1.5707963267948966"},
                                         {42, "0"}});
  EXPECT_EQ(True(dxf), (Rows{{"42", "66", "NoName", "0", "16777215", "0", "0", "0", "0", "0", "0",
                              "0", "0", "0", "10", "90", "0"}}));
  // The default text walks the short quarter backwards instead.
  const Rows legacy = test::Records(Parse(dxf, false));
  ASSERT_FALSE(legacy.empty());
}

TEST(TrueGeometry, EllipseFollowsItsExtrusion) {
  // Extrusion -Z: the minor axis is -Z x major = -Y, so the quarter from 0 to 90
  // degrees of parameter runs clockwise from (10, 0) to (0, -10).
  const Rows rows = True(test::Drawing({{0, "ELLIPSE"},
                                        {10, "0"},
                                        {20, "0"},
                                        {30, "0"},
                                        {11, "10"},
                                        {21, "0"},
                                        {31, "0"},
                                        {40, "1"},
                                        {41, "0"},
                                        {42, "1.5707963267948966"},
                                        {210, "0"},
                                        {220, "0"},
                                        {230, "-1"}}));
  ASSERT_EQ(rows.size(), 1u);
  const std::vector<double> n = Numbers(rows[0]);
  EXPECT_EQ(rows[0][1], "66");
  EXPECT_NEAR(n[6], 0, 1e-12);
  EXPECT_NEAR(n[7], 0, 1e-12);
  EXPECT_EQ(n[9], 10);
  EXPECT_NEAR(n[10], 270, 1e-9);
  EXPECT_NEAR(n[11], 0, 1e-9);
}

TEST(TrueGeometry, FlatEllipseStaysWithinTheTolerance) {
  // Ratio 0.2, the whole ellipse: every record's ends lie on the ellipse and
  // every arc's middle within the tolerance of it.
  const double tol = 0.01;
  const Rows rows = True(test::Drawing({{0, "ELLIPSE"},
                                        {10, "3"},
                                        {20, "4"},
                                        {30, "0"},
                                        {11, "20"},
                                        {21, "0"},
                                        {31, "0"},
                                        {40, "0.2"},
                                        {41, "0"},
                                        {42, "6.283185307179586"}}),
                         tol);
  ASSERT_GT(rows.size(), 4u);
  // Distance of a point from the ellipse ((x - 3) / 20)^2 + ((y - 4) / 4)^2 = 1,
  // measured along the nearest of many points on it.
  auto offEllipse = [](double x, double y) {
    double best = 1e300;
    for (int k = 0; k < 20000; ++k) {
      const double t = 2 * std::numbers::pi * k / 20000;
      best = std::min(best, std::hypot(x - (3 + 20 * std::cos(t)), y - (4 + 4 * std::sin(t))));
    }
    return best;
  };
  for (const auto& row : rows) {
    const std::vector<double> n = Numbers(row);
    if (row[1] == "83") {
      EXPECT_LT(offEllipse(n[0], n[1]), 0.002) << Line(row);
      EXPECT_LT(offEllipse((n[0] + n[3]) / 2, (n[1] + n[4]) / 2), tol) << Line(row);
    } else {
      ASSERT_EQ(row[1], "66") << Line(row);
      double sweep = std::fmod(n[11] - n[10] + 360, 360);
      const double mid = (n[10] + sweep / 2) * std::numbers::pi / 180;
      EXPECT_LT(offEllipse(n[6] + n[9] * std::cos(mid), n[7] + n[9] * std::sin(mid)), tol)
          << Line(row);
    }
  }
}

TEST(TrueGeometry, LwPolylineHonoursExtrusionAndElevation) {
  // Extrusion -Z: object X is world -X, Y stays Y, Z is world -Z.
  const std::string dxf = test::Drawing({{0, "LWPOLYLINE"},
                                         {8, "0"},
                                         {90, "2"},
                                         {70, "0"},
                                         {38, "5"},
                                         {10, "1"},
                                         {20, "2"},
                                         {10, "3"},
                                         {20, "4"},
                                         {210, "0"},
                                         {220, "0"},
                                         {230, "-1"}});
  EXPECT_EQ(True(dxf), (Rows{{"0", "83", "0", "0", "16777215", "-1", "2", "-5", "-3", "4", "-5",
                              "0", "0", "0", "0", "0", "0"}}));
}

TEST(TrueGeometry, InsertHonoursItsExtrusion) {
  // Inserted at (10, 0, 0) of the object coordinates of -Z: world (-10, 0, 0), and
  // the block's X axis points along world -X.
  const std::string dxf = test::Drawing({{0, "INSERT"},
                                         {2, "B"},
                                         {10, "10"},
                                         {20, "0"},
                                         {30, "0"},
                                         {210, "0"},
                                         {220, "0"},
                                         {230, "-1"}},
                                        {{"0", 7}}, Block("B", kUnitLine));
  EXPECT_EQ(True(dxf), (Rows{{"0", "83", "0", "0", "16777215", "-10", "0", "0", "-11", "0", "0",
                              "0", "0", "0", "0", "0", "0"}}));
}

TEST(TrueGeometry, TiltedPolylineStaysInItsPlane) {
  // Extrusion +X: object (x, y, z) is world (z, x, y). Closed, elevation 2; the
  // closing segment comes back at the elevation too.
  const std::string dxf = test::Drawing(
      {{0, "POLYLINE"}, {66, "1"},     {10, "0"},  {20, "0"},     {30, "2"}, {70, "1"},
       {210, "1"},      {220, "0"},    {230, "0"}, {0, "VERTEX"}, {10, "0"}, {20, "0"},
       {30, "2"},       {0, "VERTEX"}, {10, "4"},  {20, "0"},     {30, "2"}, {0, "VERTEX"},
       {10, "4"},       {20, "3"},     {30, "2"},  {0, "SEQEND"}});
  EXPECT_EQ(True(dxf), (Rows{{"0", "83", "NoName", "0", "16777215", "2", "0", "0", "2", "4", "0",
                              "0", "0", "0", "0", "0", "0"},
                             {"0", "83", "NoName", "0", "16777215", "2", "4", "0", "2", "4", "3",
                              "0", "0", "0", "0", "0", "0"},
                             {"0", "83", "NoName", "0", "16777215", "2", "4", "3", "2", "0", "0",
                              "0", "0", "0", "0", "0", "0"}}));
}

TEST(TrueGeometry, TiltedBulgeIsACircleInThePolylinesPlane) {
  // A half circle from (4, 0) to (4, 3) in the plane x = 2 of the world: centre
  // (2, 4, 1.5), radius 1.5, drawn as segments whose ends lie on it.
  const Rows rows = True(test::Drawing({{0, "POLYLINE"},
                                        {66, "1"},
                                        {10, "0"},
                                        {20, "0"},
                                        {30, "2"},
                                        {70, "0"},
                                        {210, "1"},
                                        {220, "0"},
                                        {230, "0"},
                                        {0, "VERTEX"},
                                        {10, "4"},
                                        {20, "0"},
                                        {30, "2"},
                                        {42, "1"},
                                        {0, "VERTEX"},
                                        {10, "4"},
                                        {20, "3"},
                                        {30, "2"},
                                        {0, "SEQEND"}}));
  ASSERT_GT(rows.size(), 4u);
  for (const auto& row : rows) {
    ASSERT_EQ(row[1], "83");
    const std::vector<double> n = Numbers(row);
    EXPECT_EQ(n[0], 2);
    EXPECT_EQ(n[3], 2);
    EXPECT_NEAR(std::hypot(n[1] - 4, n[2] - 1.5), 1.5, 1e-9) << Line(row);
    EXPECT_NEAR(std::hypot((n[1] + n[4]) / 2 - 4, (n[2] + n[5]) / 2 - 1.5), 1.5, 0.01);
  }
}

TEST(TrueGeometry, RepeatedInsertGivesItsGrid) {
  // Three columns 10 apart and two rows 20 apart.
  const std::string dxf = test::Drawing({{0, "INSERT"},
                                         {2, "B"},
                                         {10, "1"},
                                         {20, "2"},
                                         {30, "0"},
                                         {70, "3"},
                                         {71, "2"},
                                         {44, "10"},
                                         {45, "20"}},
                                        {{"0", 7}}, Block("B", kUnitLine));
  Rows expected;
  for (int row = 0; row < 2; ++row) {
    for (int column = 0; column < 3; ++column) {
      const std::string x = std::to_string(1 + 10 * column);
      const std::string x2 = std::to_string(2 + 10 * column);
      const std::string y = std::to_string(2 + 20 * row);
      expected.push_back(
          {"0", "83", "0", "0", "16777215", x, y, "0", x2, y, "0", "0", "0", "0", "0", "0", "0"});
    }
  }
  EXPECT_EQ(True(dxf), expected);
  EXPECT_EQ(test::Records(Parse(dxf, false)).size(), 1u);
}

TEST(TrueGeometry, GridCountsBelowOneAndZeroSpacingsGiveOneCopy) {
  for (const Pairs& grid : {Pairs{{70, "0"}, {71, "3"}, {44, "10"}}, Pairs{{70, "-2"}, {44, "10"}},
                            Pairs{{70, "4"}, {71, "5"}}}) {
    const std::string dxf =
        test::Drawing(Concat({{{0, "INSERT"}, {2, "B"}, {10, "1"}, {20, "2"}, {30, "0"}}, grid}),
                      {{"0", 7}}, Block("B", kUnitLine));
    EXPECT_EQ(True(dxf), (Rows{{"0", "83", "0", "0", "16777215", "1", "2", "0", "2", "2", "0", "0",
                                "0", "0", "0", "0", "0"}}));
  }
}

TEST(TrueGeometry, RotatedGridTurnsWithTheReference) {
  // Rotation 90: the columns go up the Y axis.
  const Rows rows = True(test::Drawing(
      {{0, "INSERT"}, {2, "B"}, {10, "0"}, {20, "0"}, {30, "0"}, {50, "90"}, {70, "2"}, {44, "10"}},
      {{"0", 7}}, Block("B", kUnitLine)));
  ASSERT_EQ(rows.size(), 2u);
  const std::vector<double> second = Numbers(rows[1]);
  EXPECT_NEAR(second[0], 0, 1e-12);
  EXPECT_NEAR(second[1], 10, 1e-12);
  EXPECT_NEAR(second[3], 0, 1e-12);
  EXPECT_NEAR(second[4], 11, 1e-12);
}

TEST(TrueGeometry, PolylineInABlockIsPlacedOnce) {
  // Turned 15 degrees once: the vertex (10, 0) lands at 10 (cos 15, sin 15).
  const std::string dxf = test::Drawing(
      {{0, "INSERT"}, {2, "P"}, {10, "0"}, {20, "0"}, {30, "0"}, {50, "15"}}, {{"0", 7}},
      Block("P", {{0, "POLYLINE"},
                  {66, "1"},
                  {70, "0"},
                  {0, "VERTEX"},
                  {10, "0"},
                  {20, "0"},
                  {0, "VERTEX"},
                  {10, "10"},
                  {20, "0"},
                  {0, "SEQEND"}}));
  const Rows rows = True(dxf);
  ASSERT_EQ(rows.size(), 1u);
  const std::vector<double> n = Numbers(rows[0]);
  const double a = 15 * std::numbers::pi / 180;
  EXPECT_NEAR(n[3], 10 * std::cos(a), 1e-12);
  EXPECT_NEAR(n[4], 10 * std::sin(a), 1e-12);
}

TEST(TrueGeometry, LwPolylineClosedFlagIsBitZero) {
  auto square = [](const std::string& flag) {
    return test::Drawing({{0, "LWPOLYLINE"},
                          {90, "3"},
                          {70, flag},
                          {10, "0"},
                          {20, "0"},
                          {10, "1"},
                          {20, "0"},
                          {10, "1"},
                          {20, "1"}});
  };
  EXPECT_EQ(True(square("27265")).size(), 3u);
  EXPECT_EQ(True(square("1")).size(), 3u);
  EXPECT_EQ(True(square("128")).size(), 2u);
  // The default text closes only for the flag texts "1" and "129".
  EXPECT_EQ(test::Records(Parse(square("27265"), false)).size(), 2u);
}

TEST(TrueGeometry, PolyfaceAndMeshPolylinesAreLeftOut) {
  for (const char* flag : {"64", "16"}) {
    const std::string dxf = test::Drawing({{0, "POLYLINE"},
                                           {66, "1"},
                                           {70, flag},
                                           {0, "VERTEX"},
                                           {10, "0"},
                                           {20, "0"},
                                           {0, "VERTEX"},
                                           {10, "5"},
                                           {20, "0"},
                                           {0, "SEQEND"},
                                           {0, "LINE"},
                                           {11, "1"}});
    EXPECT_EQ(True(dxf), (Rows{{"0", "83", "NoName", "0", "16777215", "0", "0", "0", "1", "0", "0",
                                "0", "0", "0", "0", "0", "0"}}))
        << flag;
    EXPECT_EQ(test::Records(Parse(dxf, false)).size(), 2u) << flag;
  }
}

TEST(TrueGeometry, EntitiesStartOnlyAtGroupZero) {
  // A hatch whose pattern is named LINE draws nothing, nor does a text that says ARC.
  const std::string dxf = test::Drawing({{0, "HATCH"},
                                         {2, "LINE"},
                                         {10, "5"},
                                         {0, "TEXT"},
                                         {1, "ARC"},
                                         {40, "3"},
                                         {0, "LINE"},
                                         {11, "1"}});
  EXPECT_EQ(True(dxf).size(), 1u);
  EXPECT_EQ(test::Records(Parse(dxf, false)).size(), 3u);
}

TEST(TrueGeometry, EveryEntitiesSectionIsRead) {
  const std::string dxf = test::DxfText({{0, "SECTION"},
                                         {2, "ENTITIES"},
                                         {0, "LINE"},
                                         {11, "1"},
                                         {0, "ENDSEC"},
                                         {0, "SECTION"},
                                         {2, "ENTITIES"},
                                         {0, "LINE"},
                                         {11, "2"},
                                         {0, "ENDSEC"},
                                         {0, "EOF"}});
  const Rows rows = True(dxf);
  ASSERT_EQ(rows.size(), 2u);
  EXPECT_EQ(rows[0][8], "1");
  EXPECT_EQ(rows[1][8], "2");
}

TEST(TrueGeometry, HandlesAreUnsigned) {
  const std::string dxf =
      test::Drawing({{0, "LINE"}, {5, "8000"}, {11, "1"}, {0, "LINE"}, {5, "FFFFFFFF"}, {11, "1"}});
  const Rows rows = True(dxf);
  ASSERT_EQ(rows.size(), 2u);
  EXPECT_EQ(rows[0][0], "32768");
  EXPECT_EQ(rows[1][0], "4294967295");
  EXPECT_EQ(test::Records(Parse(dxf, false))[0][0], "-32768");
  EXPECT_EQ(UnsignedHandle("7fff"), 32767);
  EXPECT_EQ(UnsignedHandle("G1"), 0);
  EXPECT_EQ(UnsignedHandle("1234567890ABCDEF0"), 0);
}

TEST(TrueGeometry, SplineFitStaysWithinTheToleranceEverywhere) {
  // A cubic Bezier piece; every record lies within the tolerance of the curve,
  // checked at its ends and middles against 20,000 points of the curve.
  const double tol = 0.01;
  const Rows rows = True(
      test::Drawing({{0, "SPLINE"}, {71, "3"},   {72, "8"}, {73, "4"},   {40, "0"},  {40, "0"},
                     {40, "0"},     {40, "0"},   {40, "1"}, {40, "1"},   {40, "1"},  {40, "1"},
                     {10, "0"},     {20, "0"},   {30, "0"}, {10, "30"},  {20, "80"}, {30, "0"},
                     {10, "70"},    {20, "-60"}, {30, "0"}, {10, "100"}, {20, "10"}, {30, "0"}}),
      tol);
  ASSERT_GT(rows.size(), 2u);
  auto offCurve = [](double x, double y) {
    double best = 1e300;
    for (int k = 0; k <= 20000; ++k) {
      const double t = k / 20000.0, s = 1 - t;
      const double cx = 3 * s * s * t * 30 + 3 * s * t * t * 70 + t * t * t * 100;
      const double cy = 3 * s * s * t * 80 + 3 * s * t * t * -60 + t * t * t * 10;
      best = std::min(best, std::hypot(x - cx, y - cy));
    }
    return best;
  };
  for (const auto& row : rows) {
    const std::vector<double> n = Numbers(row);
    if (row[1] == "83") {
      EXPECT_LT(offCurve((n[0] + n[3]) / 2, (n[1] + n[4]) / 2), tol) << Line(row);
    } else {
      const double sweep = std::fmod(n[11] - n[10] + 360, 360);
      for (double f : {0.0, 0.25, 0.5, 0.75, 1.0}) {
        const double a = (n[10] + sweep * f) * std::numbers::pi / 180;
        EXPECT_LT(offCurve(n[6] + n[9] * std::cos(a), n[7] + n[9] * std::sin(a)), tol) << Line(row);
      }
    }
  }
}

TEST(TrueGeometry, SameFailuresAsTheDefaultText) {
  const std::string badColour = test::Drawing({{0, "LINE"}, {62, "red"}});
  EXPECT_EQ(test::FailureNumber([&] { Parse(badColour, true); }), errnum::TypeMismatch);
  EXPECT_EQ(test::FailureNumber([&] { Parse(badColour, false); }), errnum::TypeMismatch);
  const std::string noEntities =
      test::DxfText({{0, "SECTION"}, {2, "HEADER"}, {0, "ENDSEC"}, {0, "EOF"}});
  EXPECT_EQ(test::FailureNumber([&] { Parse(noEntities, true); }),
            test::FailureNumber([&] { Parse(noEntities, false); }));
  // A fit that no tolerance can meet fails as the default mode's ellipse does.
  const std::string ellipse = test::Drawing({{0, "ELLIPSE"}, {11, "10"}, {40, "0.5"}, {42, "6"}});
  EXPECT_EQ(test::FailureNumber([&] { Parse(ellipse, true, 0); }),
            test::FailureNumber([&] { Parse(ellipse, false, 0); }));
  // A block that holds a reference to itself.
  const std::string loop =
      test::Drawing({{0, "INSERT"}, {2, "L"}}, {{"0", 7}}, Block("L", {{0, "INSERT"}, {2, "L"}}));
  EXPECT_EQ(test::FailureNumber([&] { Parse(loop, true); }), errnum::OutOfStackSpace);
}

TEST(TrueGeometry, SameLayersAndColours) {
  const std::string dxf =
      test::Drawing({{0, "LINE"}, {8, "NEW"}, {62, "1"}, {11, "1"}}, {{"0", 7}, {"WALLS", 3}});
  const Rows rows = True(dxf);
  ASSERT_EQ(rows.size(), 1u);
  EXPECT_EQ(rows[0][2], "NEW");
  EXPECT_EQ(rows[0][3], "2");
  EXPECT_EQ(rows[0][4], "255");
}

TEST(TrueGeometry, TheModeBelongsToTheThread) {
  const std::string dxf = test::Drawing({{0, "LINE"}, {5, "8000"}, {11, "1"}});
  SetTrueGeometry(true);
  std::string other;
  std::thread([&] {
    EXPECT_FALSE(TrueGeometry());
    other = Parse(dxf, false);
  }).join();
  EXPECT_TRUE(TrueGeometry());
  SetTrueGeometry(false);
  EXPECT_EQ(test::Records(other)[0][0], "-32768");
}

}  // namespace
}  // namespace vessik
