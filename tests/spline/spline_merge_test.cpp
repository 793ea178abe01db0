#include <gtest/gtest.h>

#include <cmath>

#include "SplineTestAccess.h"

namespace vessik {
namespace {

using Access = Vessik_SplineTestAccess;

constexpr double kDeg = 57.2957795130823;

Access::ArcList List(std::initializer_list<std::shared_ptr<Vessik_ArcGeo>> arcs) {
  Access::ArcList l;
  for (const auto& a : arcs) l.Add(a);
  return l;
}

TEST(MergeArcs, SingleArcStaysAsItCame) {
  auto a = MakeArc(0, 0, 0.001, 10, 80, -1);
  Access::ArcList l = List({a});
  Access::MergeArcs(l);
  ASSERT_EQ(l.Count(), 1);
  EXPECT_EQ(l.Item(1), a);
  EXPECT_EQ(l.Item(1)->Dir, -1);
  EXPECT_NE(l.Item(1)->Ext, 1.0);
  EXPECT_EQ(l.Item(1)->Pa.X, a->Pa.X);
}

TEST(MergeArcs, TwoArcsAreRebuiltCounterClockwise) {
  auto a = MakeArc(1, 2, 5, 10, 20, 1);
  a->O.Z = 7;
  auto b = MakeArc(30, 2, 5, 80, 40, -1);
  Access::ArcList l = List({a, b});
  Access::MergeArcs(l);
  ASSERT_EQ(l.Count(), 2);
  for (int i = 1; i <= 2; ++i) {
    EXPECT_EQ(l.Item(i)->Dir, 1.0);
    EXPECT_EQ(l.Item(i)->Ext, 1.0);
    EXPECT_EQ(l.Item(i)->O.Z, 0.0);
    EXPECT_EQ(l.Item(i)->length, 0.0);
  }
  EXPECT_NE(l.Item(1), a);
  EXPECT_NEAR(l.Item(1)->SA * kDeg, 10, 1e-9);
  EXPECT_NEAR(l.Item(1)->EA * kDeg, 20, 1e-9);
  // The clockwise arc from 80 down to 40 comes out as 40 to 80.
  EXPECT_NEAR(l.Item(2)->SA * kDeg, 40, 1e-9);
  EXPECT_NEAR(l.Item(2)->EA * kDeg, 80, 1e-9);
}

TEST(MergeArcs, RadiusLimitDropsExactly0005) {
  Access::ArcList l = List({MakeArc(0, 0, 0.005, 10, 20, 1), MakeArc(5, 5, 0.0051, 10, 20, 1)});
  Access::MergeArcs(l);
  ASSERT_EQ(l.Count(), 1);
  EXPECT_EQ(l.Item(1)->R, 0.0051);
}

TEST(MergeArcs, TouchingQuartersFoldIntoHalf) {
  Access::ArcList l = List({MakeArc(0, 0, 2, 0, 90, 1), MakeArc(0, 0, 2, 90, 180, 1)});
  Access::MergeArcs(l);
  ASSERT_EQ(l.Count(), 1);
  EXPECT_NEAR(l.Item(1)->SA * kDeg, 0, 1e-9);
  EXPECT_NEAR(l.Item(1)->EA * kDeg, 180, 1e-9);
}

TEST(MergeArcs, SeparateRangesStay) {
  Access::ArcList l = List({MakeArc(0, 0, 2, 10, 20, 1), MakeArc(0, 0, 2, 30, 40, 1)});
  Access::MergeArcs(l);
  ASSERT_EQ(l.Count(), 2);
  EXPECT_NEAR(l.Item(1)->SA * kDeg, 10, 1e-9);
  EXPECT_NEAR(l.Item(2)->EA * kDeg, 40, 1e-9);
}

TEST(MergeArcs, RangeAcrossZeroClosesTheRing) {
  Access::ArcList l = List({MakeArc(0, 0, 2, 350, 10, 1), MakeArc(0, 0, 2, 5, 20, 1)});
  Access::MergeArcs(l);
  ASSERT_EQ(l.Count(), 1);
  EXPECT_NEAR(l.Item(1)->SA * kDeg, 350, 1e-9);
  EXPECT_NEAR(l.Item(1)->EA * kDeg, 20, 1e-9);
}

TEST(MergeArcs, TwoHalvesMakeAFullTurn) {
  Access::ArcList l = List({MakeArc(0, 0, 2, 0, 180, 1), MakeArc(0, 0, 2, 180, 360, 1)});
  Access::MergeArcs(l);
  ASSERT_EQ(l.Count(), 1);
  EXPECT_NEAR(l.Item(1)->SA * kDeg, 0, 1e-9);
  EXPECT_NEAR(l.Item(1)->EA * kDeg, 360, 1e-9);
}

TEST(MergeArcs, CentreToleranceIsPerAxis) {
  Access::ArcList near = List({MakeArc(0, 0, 2, 0, 90, 1), MakeArc(0.0019, 0.0019, 2, 90, 180, 1)});
  Access::MergeArcs(near);
  EXPECT_EQ(near.Count(), 1);
  Access::ArcList far = List({MakeArc(0, 0, 2, 0, 90, 1), MakeArc(0.002, 0, 2, 90, 180, 1)});
  Access::MergeArcs(far);
  EXPECT_EQ(far.Count(), 2);
}

TEST(MergeArcs, MergedArcTakesTheSurvivorsCircle) {
  Access::ArcList l = List({MakeArc(0, 0, 2, 0, 90, 1), MakeArc(0.001, 0.0015, 2.001, 90, 180, 1)});
  Access::MergeArcs(l);
  ASSERT_EQ(l.Count(), 1);
  EXPECT_EQ(l.Item(1)->O.X, 0.001);
  EXPECT_EQ(l.Item(1)->O.Y, 0.0015);
  EXPECT_EQ(l.Item(1)->R, 2.001);
}

TEST(MergeArcs, CommonFieldsComeFromTheFirstArc) {
  auto a = MakeArc(0, 0, 2, 0, 10, 1);
  a->Id = 42;
  a->Layer = 3;
  auto b = MakeArc(9, 9, 2, 0, 10, 1);
  b->Id = 43;
  Access::ArcList l = List({a, b});
  Access::MergeArcs(l);
  ASSERT_EQ(l.Count(), 2);
  EXPECT_EQ(l.Item(2)->Id, 42);
  EXPECT_EQ(l.Item(2)->Layer, 3);
}

TEST(MergeArcs, SwapLongExchanges) {
  int32_t a = 3;
  int32_t b = -7;
  Access::SwapLong(a, b);
  EXPECT_EQ(a, -7);
  EXPECT_EQ(b, 3);
}

}  // namespace
}  // namespace vessik
