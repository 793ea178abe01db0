#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <string>
#include <vector>

#include "EntityTestUtil.h"
#include "entities/Vessik_Line.h"
#include "parser/GroupPairs.h"

namespace vessik {
namespace {

using test::Lw;
using test::Pairs;
using test::ParseDrawing;
using test::Records;

TEST(SmallDrawing, ThreeEntitiesByteForByte) {
  std::string text = ParseDrawing(
      {{0, "LINE"}, {5, "2A"}, {8, "0"},      {10, "0"},  {20, "0"}, {30, "0"},    {11, "10"},
       {21, "5"},   {31, "0"}, {0, "CIRCLE"}, {5, "2B"},  {8, "0"},  {62, "1"},    {10, "5"},
       {20, "5"},   {30, "0"}, {40, "2"},     {0, "ARC"}, {5, "2C"}, {8, "WALLS"}, {10, "0"},
       {20, "0"},   {30, "0"}, {40, "1"},     {50, "0"},  {51, "90"}},
      {{"0", 7}, {"WALLS", 3}});
  EXPECT_EQ(text,
            "42\t83\t0\t0\t16777215\t0\t0\t0\t10\t5\t0\t0\t0\t0\t0\t0\t0\t\r\n"
            "43\t75\t0\t0\t255\t3\t3\t0\t7\t7\t0\t5\t5\t0\t2\t0\t0\t\r\n"
            "44\t66\tWALLS\t1\t65280\t0\t0\t0\t0\t0\t0\t0\t0\t0\t1\t0\t90\t\r\n");
}

TEST(Line, RecordHasSeventeenColumnsEachClosedByATab) {
  std::string r = Vessik_Line::ToString(-5, "L", 3, -1, 0.5, 1E+20, 10, -0.0, 1.0 / 3, 1e-05);
  EXPECT_EQ(
      r, "-5\t83\tL\t3\t-1\t0.5\t1E+20\t10\t0\t0.333333333333333\t1E-05\t0\t0\t0\t0\t0\t0\t\r\n");
  EXPECT_EQ(std::count(r.begin(), r.end(), '\t'), 17);
}

TEST(Line, NoZGroupsInRaisedBlockTakeTheChainsZ) {
  std::string text =
      ParseDrawing({{0, "INSERT"}, {2, "B"}, {10, "100"}, {20, "200"}, {30, "7"}}, {{"0", 7}},
                   test::Block("B", {{0, "LINE"}, {10, "1"}, {20, "2"}, {11, "3"}, {21, "4"}}));
  auto rec = Records(text);
  ASSERT_EQ(rec.size(), 1u);
  EXPECT_EQ(rec[0][5], "101");
  EXPECT_EQ(rec[0][6], "202");
  EXPECT_EQ(rec[0][7], "7");
  EXPECT_EQ(rec[0][8], "103");
  EXPECT_EQ(rec[0][9], "204");
  EXPECT_EQ(rec[0][10], "7");
}

TEST(Line, ExtrusionGroupsAreIgnored) {
  auto rec = Records(ParseDrawing({{0, "LINE"},
                                   {10, "1"},
                                   {20, "2"},
                                   {30, "3"},
                                   {11, "4"},
                                   {21, "5"},
                                   {31, "6"},
                                   {210, "0"},
                                   {220, "0"},
                                   {230, "-1"}}));
  ASSERT_EQ(rec.size(), 1u);
  EXPECT_EQ(rec[0][5], "1");
  EXPECT_EQ(rec[0][8], "4");
  EXPECT_EQ(rec[0][10], "6");
}

TEST(Line, ColourByLayerNumberPrintsMinusOne) {
  auto rec = Records(ParseDrawing({{0, "LINE"}, {62, "256"}}, {{"0", 3}}));
  EXPECT_EQ(rec[0][4], "-1");
}

TEST(Line, ColourByBlockPrintsZero) {
  auto rec = Records(ParseDrawing({{0, "LINE"}, {62, "0"}}, {{"0", 3}}));
  EXPECT_EQ(rec[0][4], "0");
}

TEST(Line, NegativeColourPrintsItsAbsoluteValue) {
  auto rec = Records(ParseDrawing({{0, "LINE"}, {62, "-1"}}, {{"0", 3}}));
  EXPECT_EQ(rec[0][4], "255");
}

TEST(Line, NoGroup8TakesTheFirstLayer) {
  auto rec = Records(ParseDrawing({{0, "LINE"}}, {{"FIRST", 5}, {"SECOND", 1}}));
  EXPECT_EQ(rec[0][2], "FIRST");
  EXPECT_EQ(rec[0][3], "0");
  EXPECT_EQ(rec[0][4], "16711680");
}

TEST(Line, NoLayerTableNoGroup8PrintsNoNameWhite) {
  auto rec = Records(ParseDrawing({{0, "LINE"}}));
  ASSERT_EQ(rec.size(), 1u);
  EXPECT_EQ(rec[0][2], "NoName");
  EXPECT_EQ(rec[0][3], "0");
  EXPECT_EQ(rec[0][4], "16777215");
}

TEST(Line, NoLayerTableGroup8CreatesTheLayer) {
  auto rec = Records(ParseDrawing({{0, "LINE"}, {8, "NEW"}}));
  ASSERT_EQ(rec.size(), 1u);
  EXPECT_EQ(rec[0][2], "NEW");
  EXPECT_EQ(rec[0][3], "0");
  EXPECT_EQ(rec[0][4], "16777215");
}

TEST(Line, LayerNameIsLookedUpWhenPrinting) {
  // The layer that a later entity adds is there when the earlier one prints: the
  // line without group 8 then names the first layer, the new one.
  auto rec = Records(ParseDrawing({{0, "LINE"}, {0, "LINE"}, {8, "NEW"}}));
  ASSERT_EQ(rec.size(), 2u);
  EXPECT_EQ(rec[0][2], "NEW");
  EXPECT_EQ(rec[1][2], "NEW");
}

TEST(Line, UnknownLayerIsAddedWithItsIndex) {
  test::TempFile f(test::Drawing({{0, "LINE"}, {8, "EXTRA"}, {62, "2"}}, {{"0", 7}}));
  Vessik_Parser parser;
  Vessik_CommonData data = test::TestData();
  Vessik_Progress progress;
  auto rec = Records(parser.Parse2(f.Path(), data, progress));
  EXPECT_EQ(rec[0][2], "EXTRA");
  EXPECT_EQ(rec[0][3], "1");
  EXPECT_EQ(rec[0][4], "65535");
  ASSERT_EQ(parser.Layers().size(), 2u);
  EXPECT_EQ(parser.Layers()[1]->Name, "EXTRA");
  EXPECT_EQ(parser.Layers()[1]->Color->ColorRGB(), 16777215);
}

TEST(Line, ColourThatIsNoNumberFailsTheParse) {
  try {
    ParseDrawing({{0, "LINE"}, {62, "red"}});
    FAIL() << "no failure";
  } catch (const Vessik_Error& e) {
    EXPECT_EQ(e.Number(), 13);
    EXPECT_EQ(e.Description(), "Type mismatch");
  }
}

TEST(Line, RepeatedCodeOverwritesAndHandleIsHex) {
  auto rec = Records(ParseDrawing({{0, "LINE"}, {5, "FFFF"}, {10, "1"}, {10, "2,5"}}));
  EXPECT_EQ(rec[0][0], "-1");
  EXPECT_EQ(rec[0][5], "2.5");
}

TEST(Line, ReadStopsInFrontOfTheNextCodeZero) {
  GroupPairs().Assign({{10, "1"}, {20, "2"}, {0, "LINE"}});
  Vessik_Line line;
  Vessik_Layers layers;
  EXPECT_EQ(line.Vessik_IEntity_Read(0, layers), 1);
  EXPECT_EQ(line.X1, 1);
  EXPECT_EQ(line.Y1, 2);
  GroupPairs().Clear();
}

TEST(Line, RunningOffThePairsRaisesNine) {
  GroupPairs().Assign({{10, "1"}});
  Vessik_Line line;
  Vessik_Layers layers;
  try {
    line.Vessik_IEntity_Read(0, layers);
    FAIL() << "no failure";
  } catch (const Vessik_Error& e) {
    EXPECT_EQ(e.Number(), 9);
  }
  GroupPairs().Clear();
}

// Bulged segments
// Polyline segments with a bulge: the arc through both ends, as whole records.
//
// For a segment from A to B with bulge b (the tangent of a quarter of the included
// angle) the centre lies on the left normal of the chord, h = (1 / b - b) / 2 times
// half the chord away from its midpoint; the radius is half the chord times
// (1 + b²) / (2 |b|). The record runs counter-clockwise, from A to B for a positive
// bulge and from B to A for a negative one.
//
// Most chords here go from (0, 0) to (8, 6): length 10, midpoint (4, 3), direction
// (0.8, 0.6), left normal (-0.6, 0.8). A slanted chord makes both the X and the Y

constexpr double kDeg = 180 / 3.14159265358979323846;

// A POLYLINE on layer 0 with flag 70 and (x, y, z, bulge) vertices, without the
// head point that test::Poly writes.
Pairs Poly(const std::string& flag, const std::vector<std::array<double, 4>>& v) {
  Pairs p{{0, "POLYLINE"}, {8, "0"}, {66, "1"}, {70, flag}};
  for (const auto& q : v) {
    p.insert(p.end(), {{0, "VERTEX"},
                       {8, "0"},
                       {10, DoubleToText(q[0])},
                       {20, DoubleToText(q[1])},
                       {30, DoubleToText(q[2])}});
    if (q[3] != 0) p.push_back({42, DoubleToText(q[3])});
  }
  p.insert(p.end(), {{0, "SEQEND"}, {8, "0"}});
  return p;
}

// The arc record of layer 0 (white) with these last six columns.
std::string ArcRecord(const std::string& cx, const std::string& cy, const std::string& r,
                      const std::string& sa, const std::string& ea) {
  return "0\t66\t0\t0\t16777215\t0\t0\t0\t0\t0\t0\t" + cx + "\t" + cy + "\t0\t" + r + "\t" + sa +
         "\t" + ea + "\t\r\n";
}

// Degrees in [0, 360) of the direction from (cx, cy) to (x, y), worked out apart
// from the library with the true pi.
double Direction(double cx, double cy, double x, double y) {
  double a = std::atan2(y - cy, x - cx) * kDeg;
  return a < 0 ? a + 360 : a;
}

// The numbers of an arc record against an independent calculation.
void ExpectArc(const std::vector<std::string>& rec, double cx, double cy, double r, double sa,
               double ea, double tol) {
  ASSERT_EQ(rec.size(), 17u);
  EXPECT_EQ(rec[1], "66");
  EXPECT_NEAR(std::stod(rec[11]), cx, tol * std::max(1.0, std::fabs(cx)));
  EXPECT_NEAR(std::stod(rec[12]), cy, tol * std::max(1.0, std::fabs(cy)));
  EXPECT_EQ(rec[13], "0");
  EXPECT_NEAR(std::stod(rec[14]), r, tol * std::max(1.0, std::fabs(r)));
  EXPECT_NEAR(std::stod(rec[15]), sa, 1e-9);
  EXPECT_NEAR(std::stod(rec[16]), ea, 1e-9);
}

TEST(Bulge, HalfOnASlantedChord) {
  // b = 0.5: h = (2 - 0.5) / 2 = 0.75, so the centre is 3.75 along the left normal:
  // (4 - 2.25, 3 + 3) = (1.75, 6). R = 5 × 1.25 / 1 = 6.25. The included angle is
  // 4 atan(0.5) = 106.26°, ending at B = (8, 6), which is straight right of the
  // centre (0°); it starts at A, 360 - 106.26 = 253.74°.
  const std::string text = ParseDrawing(Lw("0", {{0, 0, 0.5}, {8, 6, 0}}));
  EXPECT_EQ(text, ArcRecord("1.75", "6", "6.25", "253.739795291688", "0"));
  auto rec = Records(text);
  ASSERT_EQ(rec.size(), 1u);
  ExpectArc(rec[0], 1.75, 6, 6.25, Direction(1.75, 6, 0, 0), 0, 1e-15);
  EXPECT_NEAR(360 - std::stod(rec[0][15]), 4 * std::atan(0.5) * kDeg, 1e-9);
}

TEST(Bulge, HalfOnTheReversedChord) {
  // From (8, 6) to (0, 0): the left normal is now (0.6, -0.8), the centre
  // (4 + 2.25, 3 - 3) = (6.25, 0). A = (8, 6) lies at atan(6 / 1.75) = 73.74°, B at
  // 180°: again 106.26° counter-clockwise.
  const std::string text = ParseDrawing(Lw("0", {{8, 6, 0.5}, {0, 0, 0}}));
  EXPECT_EQ(text, ArcRecord("6.25", "0", "6.25", "73.7397952916881", "180"));
  auto rec = Records(text);
  ASSERT_EQ(rec.size(), 1u);
  ExpectArc(rec[0], 6.25, 0, 6.25, Direction(6.25, 0, 8, 6), 180, 1e-15);
}

TEST(Bulge, TwoIsTheMajorArcOnTheOtherSide) {
  // b = 2: h = (0.5 - 2) / 2 = -0.75, the centre on the right of the chord at
  // (4 + 2.25, 3 - 3) = (6.25, 0), R = 5 × 5 / 4 = 6.25 again. From A at 180° round
  // to B at 73.74°: 4 atan(2) = 253.74°.
  const std::string text = ParseDrawing(Lw("0", {{0, 0, 2}, {8, 6, 0}}));
  EXPECT_EQ(text, ArcRecord("6.25", "0", "6.25", "180", "73.7397952916881"));
  auto rec = Records(text);
  ASSERT_EQ(rec.size(), 1u);
  ExpectArc(rec[0], 6.25, 0, 6.25, 180, Direction(6.25, 0, 8, 6), 1e-15);
  EXPECT_NEAR(360 - 180 + std::stod(rec[0][16]), 4 * std::atan(2.0) * kDeg, 1e-9);
}

TEST(Bulge, NegativeRunsFromTheEndBack) {
  // b = -0.3: 1 / b - b = -10 / 3 + 3 / 10 = -91 / 30, h = -91 / 60. The centre is
  // 5h = -91 / 12 along the left normal: (4 + 0.6 × 91 / 12, 3 - 0.8 × 91 / 12) =
  // (8.55, -3.0666...). R = 5 × 1.09 / 0.6 = 9.0833...; the arc runs
  // counter-clockwise from B = (8, 6) to A = (0, 0), 4 atan(0.3) = 66.80°.
  const double cx = 4 + 0.6 * 91 / 12;
  const double cy = 3 - 0.8 * 91 / 12;
  const double r = 5 * 1.09 / 0.6;
  const std::string text = ParseDrawing(Lw("0", {{0, 0, -0.3}, {8, 6, 0}}));
  auto rec = Records(text);
  ASSERT_EQ(rec.size(), 1u);
  ExpectArc(rec[0], cx, cy, r, Direction(cx, cy, 8, 6), Direction(cx, cy, 0, 0), 1e-14);
  EXPECT_NEAR(std::stod(rec[0][16]) - std::stod(rec[0][15]), 4 * std::atan(0.3) * kDeg, 1e-9);
  EXPECT_EQ(text, ArcRecord("8.55", "-3.06666666666667", "9.08333333333333", "93.4714091778567",
                            "160.268386113831"));
}

TEST(Bulge, TinyIsAlmostTheChord) {
  // b = 1e-9: h = 5e8, the centre 2.5e9 along the left normal, at
  // (4 - 1.5e9, 3 + 2e9); R = 2.5e9. The arc sweeps 4e-9 radians from A to B, seen
  // from the far centre in the direction of the right normal (0.6, -0.8), at
  // -53.13° = 306.87°.
  const std::string text = ParseDrawing(Lw("0", {{0, 0, 1e-9}, {8, 6, 0}}));
  auto rec = Records(text);
  ASSERT_EQ(rec.size(), 1u);
  const double cx = 4 - 1.5e9;
  const double cy = 3 + 2e9;
  ExpectArc(rec[0], cx, cy, 2.5e9, Direction(cx, cy, 0, 0), Direction(cx, cy, 8, 6), 1e-15);
  EXPECT_NEAR(std::stod(rec[0][15]), 360 - std::atan(4.0 / 3) * kDeg, 1e-6);
  EXPECT_NEAR(std::stod(rec[0][16]) - std::stod(rec[0][15]), 4e-9 * kDeg, 5e-12);
  EXPECT_EQ(text, ArcRecord("-1499999996", "2000000003", "2500000000", "306.869897531252",
                            "306.869897760436"));
}

TEST(Bulge, HugeIsAlmostTheWholeCircle) {
  // b = 1e9: h = -5e8, the centre 2.5e9 along the right normal, at
  // (4 + 1.5e9, 3 - 2e9); R = 2.5e9. The arc goes all the way round but for 4e-9
  // radians: it ends just short of where it starts.
  const std::string text = ParseDrawing(Lw("0", {{0, 0, 1e9}, {8, 6, 0}}));
  auto rec = Records(text);
  ASSERT_EQ(rec.size(), 1u);
  const double cx = 4 + 1.5e9;
  const double cy = 3 - 2e9;
  ExpectArc(rec[0], cx, cy, 2.5e9, Direction(cx, cy, 0, 0), Direction(cx, cy, 8, 6), 1e-15);
  EXPECT_NEAR(std::stod(rec[0][15]), 180 - std::atan(4.0 / 3) * kDeg, 1e-6);
  EXPECT_NEAR(std::stod(rec[0][15]) - std::stod(rec[0][16]), 4e-9 * kDeg, 5e-12);
  EXPECT_EQ(text, ArcRecord("1500000004", "-1999999997", "2500000000", "126.869897760436",
                            "126.869897531252"));
}

TEST(Bulge, VertexBulgesOfAPolyline) {
  // The same chords through POLYLINE and VERTEX, one polyline for each bulge,
  // raised to Z 5: the arcs come out at Z 0, with the same centres, radii and
  // angles as those of the LWPOLYLINE above.
  Pairs all;
  for (double b : {0.5, -0.3, 2.0, 1e-9, 1e9}) {
    Pairs p = Poly("0", {{0, 0, 5, b}, {8, 6, 5, 0}});
    all.insert(all.end(), p.begin(), p.end());
  }
  EXPECT_EQ(ParseDrawing(all), ArcRecord("1.75", "6", "6.25", "253.739795291688", "0") +
                                   ArcRecord("8.55", "-3.06666666666667", "9.08333333333333",
                                             "93.4714091778567", "160.268386113831") +
                                   ArcRecord("6.25", "0", "6.25", "180", "73.7397952916881") +
                                   ArcRecord("-1499999996", "2000000003", "2500000000",
                                             "306.869897531252", "306.869897760436") +
                                   ArcRecord("1500000004", "-1999999997", "2500000000",
                                             "126.869897760436", "126.869897531252"));
}

TEST(Bulge, NegativeOnTheReversedChordOfAPolyline) {
  // From (8, 6) to (0, 0) with b = -0.3: the centre is the mirror image of the one
  // above about the chord's midpoint (4, 3), (8 - 8.55, 6 + 3.0666...) =
  // (-0.55, 9.0666...), and the arc runs counter-clockwise from (0, 0) to (8, 6).
  // Worked out in doubles, 4 + 3h gives -0.55 less 7e-16.
  const double cx = -0.55;
  const double cy = 3 + 0.8 * 91 / 12;
  const std::string text = ParseDrawing(Poly("0", {{8, 6, 0, -0.3}, {0, 0, 0, 0}}));
  auto rec = Records(text);
  ASSERT_EQ(rec.size(), 1u);
  ExpectArc(rec[0], cx, cy, 5 * 1.09 / 0.6, Direction(cx, cy, 0, 0), Direction(cx, cy, 8, 6),
            1e-14);
  EXPECT_EQ(text, ArcRecord("-0.550000000000001", "9.06666666666667", "9.08333333333333",
                            "273.471409177857", "340.268386113831"));
}

// Closed polylines: the closing segment carries the bulge of the last vertex, not
// that of the first. Vertices (0, 0) with bulge 2, (8, 0) with none and (8, 6)
// with 0.5:
//  - (0, 0) to (8, 0), b = 2: h = -0.75, centre (4, -3), R 5; from A at
//    180 - atan(3 / 4) = 143.13° round to B at atan(3 / 4) = 36.87°.
//  - (8, 0) to (8, 6): a straight segment.
//  - (8, 6) back to (0, 0), b = 0.5: centre (6.25, 0), R 6.25, from 73.74° to 180°.
const char* const kClosedRecords =
    "0\t66\t0\t0\t16777215\t0\t0\t0\t0\t0\t0\t4\t-3\t0\t5\t143.130102354156\t36.8698976458441\t\r\n"
    "0\t83\t0\t0\t16777215\t8\t0\t0\t8\t6\t0\t0\t0\t0\t0\t0\t0\t\r\n"
    "0\t66\t0\t0\t16777215\t0\t0\t0\t0\t0\t0\t6.25\t0\t0\t6.25\t73.7397952916881\t180\t\r\n";

TEST(Bulge, ClosingSegmentOfAnLwPolyline) {
  const std::string text = ParseDrawing(Lw("1", {{0, 0, 2}, {8, 0, 0}, {8, 6, 0.5}}));
  EXPECT_EQ(text, kClosedRecords);
  auto rec = Records(text);
  ASSERT_EQ(rec.size(), 3u);
  ExpectArc(rec[0], 4, -3, 5, Direction(4, -3, 0, 0), Direction(4, -3, 8, 0), 1e-15);
  ExpectArc(rec[2], 6.25, 0, 6.25, Direction(6.25, 0, 8, 6), 180, 1e-15);
}

TEST(Bulge, ClosingSegmentOfAPolyline) {
  // At Z 0 the closing segment is the same as the others; see the polyline tests
  // for its Z.
  EXPECT_EQ(ParseDrawing(Poly("1", {{0, 0, 0, 2}, {8, 0, 0, 0}, {8, 6, 0, 0.5}})), kClosedRecords);
}

TEST(Bulge, NegativeClosingSegment) {
  // The last vertex's -0.5 makes the closing arc run from (0, 0) to (8, 6): centre
  // (8 - 6.25, 6 - 0) = (1.75, 6) by the same construction, from 253.74° to 0°.
  const std::string text = ParseDrawing(Lw("1", {{0, 0, 0}, {8, 0, 0}, {8, 6, -0.5}}));
  auto rec = Records(text);
  ASSERT_EQ(rec.size(), 3u);
  EXPECT_EQ(rec[0][1], "83");
  EXPECT_EQ(rec[1][1], "83");
  EXPECT_EQ(text.substr(text.rfind("0\t66")),
            ArcRecord("1.75", "6", "6.25", "253.739795291688", "0"));
}

TEST(Bulge, PlusOneIsTheLowerHalfCircle) {
  auto rec = Records(ParseDrawing(Lw("0", {{0, 0, 1}, {2, 0, 0}})));
  ASSERT_EQ(rec.size(), 1u);
  EXPECT_EQ(rec[0][1], "66");
  EXPECT_EQ(rec[0][11], "1");
  EXPECT_EQ(rec[0][12], "0");
  EXPECT_EQ(rec[0][14], "1");
  EXPECT_EQ(rec[0][15], "180");
  EXPECT_EQ(rec[0][16], "0");
}

TEST(Bulge, MinusOneSwapsTheEnds) {
  auto rec = Records(ParseDrawing(Lw("0", {{0, 0, -1}, {2, 0, 0}})));
  ASSERT_EQ(rec.size(), 1u);
  EXPECT_EQ(rec[0][11], "1");
  EXPECT_EQ(rec[0][12], "0");
  EXPECT_EQ(rec[0][15], "0");
  EXPECT_EQ(rec[0][16], "180");
}

TEST(Bulge, SegmentAboveThePlanePrintsAtZZero) {
  auto rec = Records(ParseDrawing(test::Poly("0", {{0, 0, 5, 1}, {2, 0, 5, 0}})));
  ASSERT_EQ(rec.size(), 1u);
  EXPECT_EQ(rec[0][1], "66");
  EXPECT_EQ(rec[0][13], "0");
}

}  // namespace
}  // namespace vessik
