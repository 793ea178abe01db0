#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "EntityTestUtil.h"
#include "entities/Vessik_Arc.h"
#include "entities/Vessik_Insert.h"
#include "geometry/Vessik_Math.h"

namespace vessik {
namespace {

using test::Pairs;
using test::ParseDrawing;
using test::Records;

Pairs ArcPairs(double cx, double cy, double r, double sa, double ea, const Pairs& extra = {}) {
  Pairs p{{0, "ARC"},
          {10, DoubleToText(cx)},
          {20, DoubleToText(cy)},
          {30, "0"},
          {40, DoubleToText(r)},
          {50, DoubleToText(sa)},
          {51, DoubleToText(ea)}};
  p.insert(p.end(), extra.begin(), extra.end());
  return p;
}

// The arc inside a block placed with these scales, rotation and insertion point.
std::string InBlock(const Pairs& content, double sx, double sy, double sz, double rot = 0,
                    double x = 0, double y = 0, double z = 0) {
  return ParseDrawing({{0, "INSERT"},
                       {2, "B"},
                       {10, DoubleToText(x)},
                       {20, DoubleToText(y)},
                       {30, DoubleToText(z)},
                       {41, DoubleToText(sx)},
                       {42, DoubleToText(sy)},
                       {43, DoubleToText(sz)},
                       {50, DoubleToText(rot)}},
                      {{"0", 7}}, test::Block("B", content));
}

TEST(Arc, StepAngleWorkedExample) {
  // L = 3.4906585, h = acos(0.999), s = 0.8942036, L / s = 3.90, n = 4.
  EXPECT_EQ(Vessik_Arc::StepAngle(20, 10, 0.01, 0.1, 100), 5);
}

TEST(Arc, StepAngleLimits) {
  // A zero radius or length limit gives one degree.
  EXPECT_EQ(Vessik_Arc::StepAngle(90, 0, 0.01, 0.1, 100), 1.0);
  EXPECT_EQ(Vessik_Arc::StepAngle(90, 10, 0.01, 0, 100), 1.0);
  EXPECT_EQ(Vessik_Arc::StepAngle(90, 10, 0.01, 0.1, -1), 1.0);
  // No deviation, or one as large as the radius: a chord of length 0.
  EXPECT_EQ(Vessik_Arc::StepAngle(90, 10, 0, 0.1, 100), 1.0);
  EXPECT_EQ(Vessik_Arc::StepAngle(90, 10, 50, 0.1, 100), 1.0);
  // MinLength caps the count: L = 15.7 with segments of at least 5 gives 4.
  EXPECT_EQ(Vessik_Arc::StepAngle(90, 10, 0.001, 5, 100), 22.5);
  // MaxLength wins over MinLength: L / MaxLength = 15.7 rounds to 16.
  EXPECT_EQ(Vessik_Arc::StepAngle(90, 10, 0.001, 5, 1), 90.0 / 16);
}

TEST(Arc, PolylineEndsExactlyAtTheEndAngle) {
  Vessik_Arc arc;
  arc.R = 10;
  arc.SA = 350;
  arc.EA = 10;
  arc.ArcMaximumDeviationFactor = 0.01;
  arc.ArcMinimumSegmentLengthFactor = 0.1;
  arc.ArcMaximumSegmentLengthFactor = 100;
  arc.Id = 3;
  auto l = arc.Arc2Polyline();
  ASSERT_EQ(l.size(), 4u);
  EXPECT_EQ(l[0].X1, std::cos(Deg2Rad(350)) * 10 + 0);
  EXPECT_EQ(l[3].X2, std::cos(Deg2Rad(370)) * 10 + 0);
  EXPECT_EQ(l[3].Y2, std::sin(Deg2Rad(370)) * 10 + 0);
  EXPECT_EQ(l[2].Id, 3);
}

TEST(Arc, NoLengthOnTheSegmentPathGivesNothing) {
  EXPECT_EQ(InBlock(ArcPairs(0, 0, 5, 90, 90), 2, 2, 1), "");
}

TEST(Arc, NoLengthOnTheArcPathGivesOneArc) {
  auto rec = Records(ParseDrawing(ArcPairs(0, 0, 5, 90, 90)));
  ASSERT_EQ(rec.size(), 1u);
  EXPECT_EQ(rec[0][1], "66");
  EXPECT_EQ(rec[0][15], "90");
  EXPECT_EQ(rec[0][16], "90");
}

TEST(Arc, UniformScaleAndRotation) {
  auto rec = Records(InBlock(ArcPairs(0, 0, 5, 0, 90), 2, 2, 2, 30));
  ASSERT_EQ(rec.size(), 1u);
  EXPECT_EQ(rec[0][1], "66");
  EXPECT_EQ(rec[0][14], "10");
  EXPECT_EQ(rec[0][15], "30");
  EXPECT_EQ(rec[0][16], "120");
}

TEST(Arc, AnglesAreNotNormalised) {
  auto rec = Records(InBlock(ArcPairs(0, 0, 5, 350, 10), 1, 1, 1, 90));
  EXPECT_EQ(rec[0][15], "440");
  EXPECT_EQ(rec[0][16], "100");
}

TEST(Arc, DifferentZScaleCutsAFlatArc) {
  auto rec = Records(InBlock(ArcPairs(0, 0, 5, 0, 90), 2, 2, 1));
  // L = 7.85, chord of sagitta 0.01 = 0.632: steps of 90 / 13 degrees, cut on the
  // unscaled arc. Thirteen steps add up to just short of 90, so a fourteenth, tiny
  // segment reaches the end angle; it is kept.
  double a = 0;
  for (int k = 0; k < 13; ++k) a = a + 90.0 / 13;
  ASSERT_LT(a, 90);
  ASSERT_EQ(rec.size(), 14u);
  for (const auto& r : rec) EXPECT_EQ(r[1], "83");
  EXPECT_EQ(rec[0][5], "10");
  EXPECT_EQ(rec[0][6], "0");
  EXPECT_EQ(rec[13][5], DoubleToText(std::cos(Deg2Rad(a)) * 5 * 2));
  EXPECT_EQ(rec[13][8], DoubleToText(std::cos(Deg2Rad(90)) * 5 * 2));
  EXPECT_EQ(rec[13][9], "10");
}

TEST(Arc, MirroringScaleCountsAsNonUniform) {
  auto rec = Records(InBlock(ArcPairs(0, 0, 5, 0, 90), -1, 1, 1));
  ASSERT_GT(rec.size(), 1u);
  EXPECT_EQ(rec[0][1], "83");
  EXPECT_EQ(rec[0][5], "-5");
}

TEST(Arc, UniformNegativeScaleGivesNegativeRadius) {
  auto rec = Records(InBlock(ArcPairs(1, 2, 5, 0, 90), -1, -1, -1));
  ASSERT_EQ(rec.size(), 1u);
  EXPECT_EQ(rec[0][1], "66");
  EXPECT_EQ(rec[0][11], "-1");
  EXPECT_EQ(rec[0][12], "-2");
  EXPECT_EQ(rec[0][14], "-5");
  EXPECT_EQ(rec[0][15], "0");
  EXPECT_EQ(rec[0][16], "90");
}

TEST(Arc, ExtrusionMinusZMirrorsX) {
  auto rec = Records(ParseDrawing(ArcPairs(3, 4, 1, 0, 90, {{230, "-1"}})));
  ASSERT_EQ(rec.size(), 1u);
  EXPECT_EQ(rec[0][11], "-3");
  EXPECT_EQ(rec[0][12], "4");
  EXPECT_EQ(rec[0][15], "90");
  EXPECT_EQ(rec[0][16], "180");
}

TEST(Arc, ExtrusionMinusZFullCircleIsLeftAlone) {
  auto rec = Records(ParseDrawing(ArcPairs(3, 4, 1, 0, 360, {{230, "-1"}})));
  EXPECT_EQ(rec[0][11], "3");
  EXPECT_EQ(rec[0][15], "0");
  EXPECT_EQ(rec[0][16], "360");
}

TEST(Arc, FullCircleExceptionLooksAtTheArcsOwnAngles) {
  // Rotated by 30 the placed angles are 30 and 390, but the arc as read runs from 0
  // to 360: still no mirroring.
  auto rec = Records(InBlock(ArcPairs(3, 4, 1, 0, 360, {{230, "-1"}}), 1, 1, 1, 30));
  EXPECT_EQ(rec[0][15], "30");
  EXPECT_EQ(rec[0][16], "390");
  EXPECT_EQ(rec[0][11], DoubleToText(std::cos(Deg2Rad(30)) * 3 - std::sin(Deg2Rad(30)) * 4));
}

TEST(Arc, ExtrusionMinusXMirrorsY) {
  auto rec =
      Records(ParseDrawing(ArcPairs(3, 4, 1, 30, 60, {{210, "-1"}, {220, "0"}, {230, "0"}})));
  ASSERT_EQ(rec.size(), 1u);
  EXPECT_EQ(rec[0][11], "3");
  EXPECT_EQ(rec[0][12], "-4");
  EXPECT_EQ(rec[0][15], "300");
  EXPECT_EQ(rec[0][16], "330");
}

TEST(Arc, ExtrusionMinusYMirrorsZOnly) {
  auto rec =
      Records(InBlock(ArcPairs(3, 4, 1, 30, 60, {{220, "-1"}, {230, "0"}}), 1, 1, 1, 0, 0, 0, 7));
  EXPECT_EQ(rec[0][13], "-7");
  EXPECT_EQ(rec[0][15], "30");
  EXPECT_EQ(rec[0][16], "60");
}

TEST(Arc, PlusXOrPlusYExtrusionStaysInThePlane) {
  auto rec = Records(ParseDrawing(ArcPairs(3, 4, 1, 30, 60, {{210, "1"}, {230, "0"}})));
  EXPECT_EQ(rec[0][11], "3");
  EXPECT_EQ(rec[0][12], "4");
  EXPECT_EQ(rec[0][15], "30");
}

TEST(Arc, MirroringComesAfterTheBlockChain) {
  // The insertion point is mirrored too: -(10 + 1), where trans would give 10 - 1.
  auto rec = Records(InBlock(ArcPairs(1, 0, 1, 0, 90, {{230, "-1"}}), 1, 1, 1, 0, 10));
  EXPECT_EQ(rec[0][11], "-11");
}

TEST(Arc, SlantedExtrusionIsCutAndTransformed) {
  auto rec = Records(ParseDrawing(ArcPairs(0, 0, 1, 0, 90, {{210, "0.6"}, {230, "0.8"}})));
  ASSERT_GT(rec.size(), 1u);
  EXPECT_EQ(rec[0][1], "83");
  // (1, 0, 0) of the object frame is the object X axis (0, 1, 0).
  EXPECT_EQ(rec[0][5], "0");
  EXPECT_EQ(rec[0][6], "1");
  EXPECT_EQ(rec[0][7], "0");
  // (0, 1, 0) at 90 degrees is the object Y axis (-0.8, 0, 0.6).
  const auto& last = rec.back();
  EXPECT_EQ(last[8], "-0.8");
  EXPECT_EQ(last[10], "0.6");
}

TEST(Arc, TinyExtrusionComponentIsZeroed) {
  auto rec = Records(ParseDrawing(ArcPairs(0, 0, 1, 0, 90, {{210, "0.0009"}, {230, "1"}})));
  ASSERT_EQ(rec.size(), 1u);
  EXPECT_EQ(rec[0][1], "66");
  // A group 230 of 0.0005 becomes 0: (0, 0, 0) keeps the arc an arc.
  rec = Records(ParseDrawing(ArcPairs(0, 0, 1, 0, 90, {{230, "0.0005"}})));
  ASSERT_EQ(rec.size(), 1u);
  EXPECT_EQ(rec[0][1], "66");
}

TEST(Arc, ZeroRadiusOnTheSegmentPath) {
  auto rec = Records(InBlock(ArcPairs(1, 1, 0, 0, 90), 2, 2, 1));
  // Steps of one degree, every vertex at the centre.
  ASSERT_EQ(rec.size(), 90u);
  EXPECT_EQ(rec[45][5], "2");
  EXPECT_EQ(rec[45][8], "2");
}

TEST(Arc, ZeroDirectionOnTheSegmentPathDropsTheArc) {
  // (0, 0.01, 0) has no object X axis: the division fails and the arc is left out.
  std::string text = ParseDrawing(test::Concat(
      {ArcPairs(0, 0, 1, 0, 90, {{220, "0.01"}, {230, "0"}}), {{0, "LINE"}, {10, "1"}}}));
  auto rec = Records(text);
  ASSERT_EQ(rec.size(), 1u);
  EXPECT_EQ(rec[0][1], "83");
  EXPECT_EQ(rec[0][5], "1");
}

TEST(Arc, AngleTooLargeForTheStepEndsAtOnce) {
  Vessik_Arc arc;
  arc.R = 1;
  arc.SA = 1e17;
  arc.EA = 2e17;
  auto l = arc.Arc2Polyline();
  ASSERT_EQ(l.size(), 1u);
  EXPECT_EQ(l[0].X2, std::cos(Deg2Rad(2e17)));
}

TEST(Arc, EndlessRunOfSegmentsFailsAsOutOfMemory) {
  Vessik_Arc arc;
  arc.R = 1;
  arc.SA = 0;
  arc.EA = 2e6;
  try {
    arc.Arc2Polyline();
    FAIL() << "no failure";
  } catch (const Vessik_Error& e) {
    EXPECT_EQ(e.Number(), 7);
  }
}

// Without length factors an arc steps by one degree, exactly, so the number of
// segments is the sweep in degrees. The limit is 2^20 segments: one more fails.
TEST(Arc, TheLimitOfSegmentsIsTwoToTheTwentieth) {
  Vessik_Arc arc;
  arc.R = 1;
  arc.SA = 0;
  arc.EA = 1 << 20;
  EXPECT_EQ(arc.Arc2Polyline().size(), size_t{1} << 20);
  arc.EA = (1 << 20) + 1;
  EXPECT_EQ(test::FailureNumber([&] { arc.Arc2Polyline(); }), 7);
}

// A run far past the limit fails at once, with the same failure; so does one whose
// end is not a number of steps that could ever be reached by a host.
TEST(Arc, RunFarPastTheLimitFailsAlike) {
  Vessik_Arc arc;
  arc.R = 0;
  arc.SA = 0;
  arc.EA = 1e20;
  EXPECT_EQ(test::FailureNumber([&] { arc.Arc2Polyline(); }), 7);
  arc.SA = -3e6;
  arc.EA = 3e6;
  EXPECT_EQ(test::FailureNumber([&] { arc.Arc2Polyline(); }), 7);
  // Beyond 2^53 one degree no longer counts: the run jumps to its end.
  arc.SA = 1e17;
  arc.EA = 1e17 + 1e12;
  EXPECT_EQ(arc.Arc2Polyline().size(), 1u);
}

TEST(Arc, PointToPlane) {
  Vessik_Point p = Vessik_Arc::Point2Plane(1, 2, 0, 0, 1);
  EXPECT_EQ(p.X, 1);
  EXPECT_EQ(p.Y, 2);
  EXPECT_EQ(p.Z, 0);
  // A downward direction turns by Pi about Y.
  p = Vessik_Arc::Point2Plane(1, 2, 0, 0, -1);
  EXPECT_EQ(p.X, std::cos(-Pi));
  EXPECT_EQ(p.Y, 2);
  EXPECT_EQ(p.Z, -std::sin(-Pi));
  // ArcSin(-1) is 3 Pi / 2.
  p = Vessik_Arc::Point2Plane(1, 0, -1, 0, 0);
  EXPECT_EQ(p.X, std::cos(ThreeHalfPi));
  EXPECT_EQ(p.Z, (1 * -1.0) * std::sin(ThreeHalfPi));
}

TEST(Arc, InitCopiesTheFactors) {
  Vessik_CommonData d = test::TestData();
  Vessik_Arc arc;
  arc.Vessik_IEntity_Init(&d);
  EXPECT_EQ(arc.ArcMaximumDeviationFactor, 0.01);
  EXPECT_EQ(arc.ArcMinimumSegmentLengthFactor, 0.1);
  EXPECT_EQ(arc.ArcMaximumSegmentLengthFactor, 100);
}

TEST(Arc, TransformedArcCarriesOnlyThePlacedValues) {
  Vessik_Insert ins;
  ins.XScale(3);
  ins.YScale(3);
  ins.Rotation(10);
  Vessik_Arc arc;
  arc.Id = 4;
  arc.R = 2;
  arc.SA = 5;
  arc.EA = 6;
  arc.CZ = 1;
  arc.Vessik_IEntity_Parent(&ins);
  Vessik_Arc t = arc.Arc2TransformedArc();
  EXPECT_EQ(t.R, 6);
  EXPECT_EQ(t.SA, 15);
  EXPECT_EQ(t.EA, 16);
  EXPECT_EQ(t.CZ, 1);
  EXPECT_EQ(t.Id, 0);
  EXPECT_EQ(t.Vessik_IEntity_Parent(), nullptr);
}

}  // namespace
}  // namespace vessik

namespace vessik {
namespace {

TEST(Arc, RecordLayout) {
  EXPECT_EQ(Vessik_Arc::ToString(7, "L", 1, 65280, 1.5, -2, 0, 3, 10, 370),
            "7\t66\tL\t1\t65280\t0\t0\t0\t0\t0\t0\t1.5\t-2\t0\t3\t10\t370\t\r\n");
}

}  // namespace
}  // namespace vessik

namespace vessik {
namespace {

TEST(Arc, MirroringOfAHugeAngleEnds) {
  auto rec = Records(ParseDrawing(ArcPairs(0, 0, 1, 1e15, 2e15, {{230, "-1"}})));
  ASSERT_EQ(rec.size(), 1u);
  const double sa = std::stod(rec[0][15]);
  const double ea = std::stod(rec[0][16]);
  EXPECT_GT(sa, 0);
  EXPECT_LE(sa, 360);
  EXPECT_GT(ea, 0);
  EXPECT_LE(ea, 360);
  // (90 - 1e15) + 90 and (90 - 2e15) + 90 are exact, and so is every turn added to
  // them. 1e15 = 280 and 2e15 = 200 (mod 360), so they end at -280 + 180 + 360 = 260
  // and -200 + 180 + 360 = 340; swapped, the arc runs from 340 to 260. The centre's
  // X, 0, changes sign and prints as 0.
  EXPECT_EQ(rec[0][15], "340");
  EXPECT_EQ(rec[0][16], "260");
  EXPECT_EQ(test::ParseDrawing(ArcPairs(0, 0, 1, 1e15, 2e15, {{230, "-1"}})),
            "0\t66\tNoName\t0\t16777215\t0\t0\t0\t0\t0\t0\t0\t0\t0\t1\t340\t260\t\r\n");
}

}  // namespace
}  // namespace vessik

namespace vessik {
namespace {

// An ARC with its centre at (3, 4, 5), radius 2, and the given angles and extrusion.
Pairs RaisedArc(double sa, double ea, const Pairs& extrusion) {
  Pairs p{{0, "ARC"}, {10, "3"}, {20, "4"}, {30, "5"}, {40, "2"}};
  p.push_back({50, DoubleToText(sa)});
  p.push_back({51, DoubleToText(ea)});
  p.insert(p.end(), extrusion.begin(), extrusion.end());
  return p;
}

std::string ArcRecord(const std::string& cx, const std::string& cy, const std::string& cz,
                      const std::string& sa, const std::string& ea) {
  return "0\t66\tNoName\t0\t16777215\t0\t0\t0\t0\t0\t0\t" + cx + "\t" + cy + "\t" + cz + "\t2\t" +
         sa + "\t" + ea + "\t\r\n";
}

TEST(Arc, FullArcWithEachMirroringExtrusionIsLeftAlone) {
  // Read as 0 to 360, a full arc is not mirrored by any of the three downward
  // directions: neither its centre nor its angles change.
  EXPECT_EQ(ParseDrawing(RaisedArc(0, 360, {{210, "0"}, {220, "-1"}, {230, "0"}})),
            ArcRecord("3", "4", "5", "0", "360"));
  EXPECT_EQ(ParseDrawing(RaisedArc(0, 360, {{210, "-1"}, {220, "0"}, {230, "0"}})),
            ArcRecord("3", "4", "5", "0", "360"));
  EXPECT_EQ(ParseDrawing(RaisedArc(0, 360, {{230, "-1"}})), ArcRecord("3", "4", "5", "0", "360"));
}

TEST(Arc, ArcThatIsNotFullIsMirrored) {
  // (0, -1, 0): Z changes sign, the angles stay.
  EXPECT_EQ(ParseDrawing(RaisedArc(30, 60, {{220, "-1"}, {230, "0"}})),
            ArcRecord("3", "4", "-5", "30", "60"));
  // 0 to 359.5 is not full: mirrored like any other.
  EXPECT_EQ(ParseDrawing(RaisedArc(0, 359.5, {{220, "-1"}, {230, "0"}})),
            ArcRecord("3", "4", "-5", "0", "359.5"));
  // 360 to 0 is no full arc either. (-1, 0, 0): Y changes sign; -360 and -0 get 360
  // added as long as they are not above 0, and both end at 360.
  EXPECT_EQ(ParseDrawing(RaisedArc(360, 0, {{210, "-1"}, {230, "0"}})),
            ArcRecord("3", "-4", "5", "360", "360"));
  // (-1, 0, 0) on 30 to 60: s = -30 + 360 = 330, e = -60 + 360 = 300, swapped.
  EXPECT_EQ(ParseDrawing(RaisedArc(30, 60, {{210, "-1"}, {230, "0"}})),
            ArcRecord("3", "-4", "5", "300", "330"));
  // (0, 0, -1) on 30 to 60: s = 90 - 30 + 90 = 150, e = 90 - 60 + 90 = 120, swapped.
  EXPECT_EQ(ParseDrawing(RaisedArc(30, 60, {{230, "-1"}})),
            ArcRecord("-3", "4", "5", "120", "150"));
  // All three at once, (-1, -1, -1), mirror X, Y and Z of a part arc, and its angles
  // twice: 30 to 60 becomes 300 to 330 by X, then by Z 180 - 330 + 360 = 210 to
  // 180 - 300 + 360 = 240. A full arc stays as it is.
  EXPECT_EQ(ParseDrawing(RaisedArc(30, 60, {{210, "-1"}, {220, "-1"}, {230, "-1"}})),
            ArcRecord("-3", "-4", "-5", "210", "240"));
  EXPECT_EQ(ParseDrawing(RaisedArc(0, 360, {{210, "-1"}, {220, "-1"}, {230, "-1"}})),
            ArcRecord("3", "4", "5", "0", "360"));
}

// The cutting of a deformed arc into segments: the step angle from the three arc
// settings, and the run of points from the start to the end angle.

TEST(ArcSegments, FewestSegmentsRoundHalfToEven) {
  // R 10, 90 degrees: L = 15.708. A sagitta of 0.5 allows chords of 6.245, so 3
  // segments; L / MaxLength = 3.14 asks for at least 3 (rounded, not raised to 4).
  EXPECT_EQ(Vessik_Arc::StepAngle(90, 10, 0.5, 0.1, 5), 30);
  // L / MaxLength = 3.93 rounds to 4, which wins over the 3 of the sagitta.
  EXPECT_EQ(Vessik_Arc::StepAngle(90, 10, 0.5, 0.1, 4), 22.5);
}

TEST(ArcSegments, ChordOfTheSagittaUsesTheTangent) {
  // R 10, sagitta 1: half the angle of a segment is acos(0.9) = 0.451 and its chord
  // 2 * 9 * tan(0.451) = 8.72 (with the sine it would be 7.85). An arc of 48
  // degrees, L = 8.38, is one segment.
  EXPECT_EQ(Vessik_Arc::StepAngle(48, 10, 1, 0.1, 100), 48);
  // 52 degrees, L = 9.08, takes two.
  EXPECT_EQ(Vessik_Arc::StepAngle(52, 10, 1, 0.1, 100), 26);
}

Vessik_Arc ArcFromTo(double sa, double ea) {
  Vessik_Arc a;
  a.CX = 1;
  a.CY = 2;
  a.R = 10;
  a.SA = sa;
  a.EA = ea;
  a.ArcMaximumDeviationFactor = 1;
  a.ArcMinimumSegmentLengthFactor = 0.1;
  a.ArcMaximumSegmentLengthFactor = 100;
  return a;
}

TEST(ArcSegments, EqualAnglesGiveNoSegment) {
  // Start and end angle alike: an arc of length 0, not a full turn.
  EXPECT_TRUE(ArcFromTo(30, 30).Arc2Polyline().empty());
  EXPECT_TRUE(ArcFromTo(0, 0).Arc2Polyline().empty());
}

TEST(ArcSegments, EndBelowStartRunsOnThroughZero) {
  // 350 to 38 degrees is 48 degrees across 0: one segment of it.
  const auto L = ArcFromTo(350, 38).Arc2Polyline();
  ASSERT_EQ(L.size(), 1u);
  EXPECT_EQ(L[0].X1, std::cos(Deg2Rad(350)) * 10 + 1);
  EXPECT_EQ(L[0].Y2, std::sin(Deg2Rad(398)) * 10 + 2);
}

}  // namespace
}  // namespace vessik
