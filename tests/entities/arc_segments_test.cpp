// The cutting of a deformed arc into segments: the step angle from the three arc
// settings, and the run of points from the start to the end angle.
#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "entities/Vessik_Arc.h"
#include "geometry/Vessik_Math.h"

namespace vessik {
namespace {

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
  const std::vector<Vessik_Line> L = ArcFromTo(350, 38).Arc2Polyline();
  ASSERT_EQ(L.size(), 1u);
  EXPECT_EQ(L[0].X1, std::cos(Deg2Rad(350)) * 10 + 1);
  EXPECT_EQ(L[0].Y2, std::sin(Deg2Rad(398)) * 10 + 2);
}

}  // namespace
}  // namespace vessik
