#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <vector>

#include "SplineTestAccess.h"

namespace vessik {
namespace {

using Access = Vessik_SplineTestAccess;

Vessik_Spline WithTolerance(double tol) {
  Vessik_Spline s;
  Access::SetTolerance(s, tol);
  return s;
}

Access::GeoList Lines(const std::vector<std::array<double, 2>>& pts) {
  Access::GeoList l;
  for (size_t i = 1; i < pts.size(); ++i) {
    l.Add(Vessik_Geo(MakeLine(pts[i - 1][0], pts[i - 1][1], pts[i][0], pts[i][1])));
  }
  return l;
}

TEST(JoinLines, EmptyAndSingleComeBackAsNewLists) {
  Vessik_Spline s = WithTolerance(0.1);
  Access::GeoList empty;
  EXPECT_EQ(Access::JoinLines(s, empty).Count(), 0);
  Access::GeoList one = Lines({{0, 0}, {1, 0}});
  Access::GeoList out = Access::JoinLines(s, one);
  ASSERT_EQ(out.Count(), 1);
  EXPECT_EQ(out.Item(1).Line(), one.Item(1).Line());
}

TEST(JoinLines, FirstCornerOfAChainIsAlwaysJoined) {
  Vessik_Spline s = WithTolerance(0.001);
  Access::GeoList l = Lines({{0, 0}, {1, 0}, {1, 5}});
  Access::GeoList out = Access::JoinLines(s, l);
  ASSERT_EQ(out.Count(), 1);
  EXPECT_EQ(out.Item(1).Line()->Pa.X, 0);
  EXPECT_EQ(out.Item(1).Line()->Pe.Y, 5);
}

TEST(JoinLines, ThreeCollinearBecomeOne) {
  Vessik_Spline s = WithTolerance(0.01);
  Access::GeoList l = Lines({{0, 0}, {1, 0}, {2, 0}, {4, 0}});
  Access::GeoList out = Access::JoinLines(s, l);
  ASSERT_EQ(out.Count(), 1);
  const Vessik_LineGeo& L = *out.Item(1).Line();
  EXPECT_EQ(L.Pa.X, 0);
  EXPECT_EQ(L.Pe.X, 4);
  EXPECT_EQ(L.length, 4);
  EXPECT_EQ(L.Layer, 0);
}

TEST(JoinLines, ArcBetweenLinesKeepsThree) {
  Vessik_Spline s = WithTolerance(0.01);
  Access::GeoList l;
  l.Add(Vessik_Geo(MakeLine(0, 0, 1, 0)));
  l.Add(Vessik_Geo(MakeArc(1, 1, 1, -90, 0, 1)));
  l.Add(Vessik_Geo(MakeLine(2, 1, 2, 2)));
  Access::GeoList out = Access::JoinLines(s, l);
  ASSERT_EQ(out.Count(), 3);
  EXPECT_NE(out.Item(1).Line(), nullptr);
  EXPECT_NE(out.Item(2).Arc(), nullptr);
  EXPECT_NE(out.Item(3).Line(), nullptr);
}

TEST(JoinLines, DeviationEqualToToleranceStopsTheJoin) {
  // After the first join the corner (2, 0.25) is tested against the line (0,0)-(4,0).
  Vessik_LineGeo probe;
  probe.Pa = Vessik_Point(0, 0, 0);
  probe.Pe = Vessik_Point(4, 0, 0);
  const double d = probe.distance2point(Vessik_Point(2, 0.25, 0));
  Access::GeoList l = Lines({{0, 0}, {1, 0.1}, {2, 0.25}, {4, 0}});
  Vessik_Spline exact = WithTolerance(d);
  EXPECT_EQ(Access::JoinLines(exact, l).Count(), 2);
  Vessik_Spline above = WithTolerance(std::nextafter(d, 1.0));
  EXPECT_EQ(Access::JoinLines(above, l).Count(), 1);
}

TEST(JoinLines, ChainEndsAtThousandPoints) {
  std::vector<std::array<double, 2>> pts;
  for (int i = 0; i <= 1001; ++i) pts.push_back({static_cast<double>(i), 0});
  Access::GeoList l = Lines(pts);
  ASSERT_EQ(l.Count(), 1001);
  Vessik_Spline s = WithTolerance(0.01);
  Access::GeoList out = Access::JoinLines(s, l);
  ASSERT_EQ(out.Count(), 2);
  EXPECT_EQ(out.Item(1).Line()->Pe.X, 1000);
  EXPECT_EQ(out.Item(2).Line()->Pa.X, 1000);
  EXPECT_EQ(out.Item(2).Line()->Pe.X, 1001);
}

// Three arcs of one circle, counter-clockwise, from 0 to 90 degrees.
Access::GeoList ThreeOnCircle(double r1, double r2, double r3) {
  Access::GeoList l;
  l.Add(Vessik_Geo(MakeArc(0, 0, r1, 0, 30, 1)));
  l.Add(Vessik_Geo(MakeArc(0, 0, r2, 30, 60, 1)));
  l.Add(Vessik_Geo(MakeArc(0, 0, r3, 60, 90, 1)));
  return l;
}

TEST(JoinArcs, FewerThanThreeGoThroughMerge) {
  Vessik_Spline s = WithTolerance(0.01);
  Access::GeoList l;
  l.Add(Vessik_Geo(MakeArc(0, 0, 1, 0, 30, -1)));
  l.Add(Vessik_Geo(MakeArc(5, 0, 1, 0, 30, 1)));
  Access::GeoList out = Access::JoinArcs(s, l);
  ASSERT_EQ(out.Count(), 2);
  EXPECT_EQ(out.Item(1).Arc()->Dir, 1.0);
  EXPECT_EQ(out.Item(1).Arc()->Ext, 1.0);
}

// Tangent-continuous arcs of radii r[0], r[1], r[2], counter-clockwise over 0-30,
// 30-60 and 60-90 degrees: each centre moves along the joint's radius.
Access::GeoList ChainOf(const std::vector<double>& r) {
  Access::GeoList l;
  double cx = 0;
  double cy = 0;
  for (size_t k = 0; k < r.size(); ++k) {
    if (k > 0) {
      const double t = 30.0 * static_cast<double>(k) * Pi / 180;
      cx = cx + (r[k - 1] - r[k]) * std::cos(t);
      cy = cy + (r[k - 1] - r[k]) * std::sin(t);
    }
    const double a = 30.0 * static_cast<double>(k);
    l.Add(Vessik_Geo(MakeArc(cx, cy, r[k], a, a + 30.0, 1)));
  }
  return l;
}

Access::GeoList Chain(double r0, double r1, double r2) {
  return ChainOf({r0, r1, r2});
}

Access::ArcList TrioOf(const Access::GeoList& l) {
  Access::ArcList trio;
  for (const Vessik_Geo& g : l) trio.Add(g.ArcRef());
  return trio;
}

TEST(JoinArcs, EqualRadiiTakeTheRisingPath) {
  Vessik_Spline s = WithTolerance(0.01);
  Access::GeoList l = ThreeOnCircle(10, 10, 10);
  Access::ArcList trio = TrioOf(l);
  std::shared_ptr<Vessik_ArcGeo> a1;
  std::shared_ptr<Vessik_ArcGeo> a2;
  Access::Rising(s, trio, 0.01, a1, a2);
  // On one circle the grown circle of A1 touches the old one at 180 degrees,
  // outside every sweep: no pair.
  EXPECT_EQ(a1, nullptr);
  EXPECT_EQ(a2, nullptr);
  // The three arcs stay and merge into one, as they share their circle.
  Access::GeoList out = Access::JoinArcs(s, l);
  ASSERT_EQ(out.Count(), 1);
  EXPECT_NEAR(out.Item(1).Arc()->SA, 0, 1e-12);
  EXPECT_NEAR(out.Item(1).Arc()->EA, Pi / 2, 1e-6);
}

TEST(JoinArcs, RisingChainJoinsIntoTwo) {
  Vessik_Spline s = WithTolerance(0.5);
  Access::GeoList l = Chain(10, 11, 12);
  Access::ArcList trio = TrioOf(l);
  std::shared_ptr<Vessik_ArcGeo> a1;
  std::shared_ptr<Vessik_ArcGeo> a2;
  Access::Rising(s, trio, 0.5, a1, a2);
  ASSERT_NE(a1, nullptr);
  ASSERT_NE(a2, nullptr);
  EXPECT_EQ(a1->Pa.X, trio.Item(1)->Pa.X);
  EXPECT_EQ(a1->Pa.Y, trio.Item(1)->Pa.Y);
  EXPECT_EQ(a2->Pe.X, trio.Item(3)->Pe.X);
  EXPECT_EQ(a1->Pe.X, a2->Pa.X);
  EXPECT_EQ(a1->Pe.Y, a2->Pa.Y);
  EXPECT_GT(a1->R, 10);
  EXPECT_LE(a2->R, 12);
  EXPECT_EQ(Access::JoinArcs(s, l).Count(), 2);
}

TEST(JoinArcs, FirstTwoRadiiEqualStillRise) {
  // Radii 10, 10, 12 do not fall, and equal neighbours count as rising: the trio
  // is joined into two arcs from the first start to the last end, the first of a
  // radius above 10. (Left alone, the first two would merge into one arc of
  // radius 10 on their shared circle.)
  Vessik_Spline s = WithTolerance(0.5);
  Access::GeoList l = Chain(10, 10, 12);
  Access::ArcList trio = TrioOf(l);
  std::shared_ptr<Vessik_ArcGeo> a1;
  std::shared_ptr<Vessik_ArcGeo> a2;
  Access::Rising(s, trio, 0.5, a1, a2);
  ASSERT_NE(a1, nullptr);
  ASSERT_NE(a2, nullptr);
  Access::GeoList out = Access::JoinArcs(s, l);
  ASSERT_EQ(out.Count(), 2);
  EXPECT_EQ(out.Item(1).Arc()->R, a1->R);
  EXPECT_EQ(out.Item(2).Arc()->R, a2->R);
  EXPECT_GT(out.Item(1).Arc()->R, 10);
  EXPECT_EQ(a1->Pa.X, trio.Item(1)->Pa.X);
  EXPECT_EQ(a2->Pe.X, trio.Item(3)->Pe.X);
}

TEST(JoinArcs, RadiusUpAndDownIsNotJoined) {
  Vessik_Spline s = WithTolerance(0.01);
  Access::GeoList l;
  l.Add(Vessik_Geo(MakeArc(0, 0, 1, 0, 30, 1)));
  l.Add(Vessik_Geo(MakeArc(10, 0, 2, 30, 60, 1)));
  l.Add(Vessik_Geo(MakeArc(20, 0, 1.5, 60, 90, 1)));
  Access::GeoList out = Access::JoinArcs(s, l);
  ASSERT_EQ(out.Count(), 3);
  EXPECT_EQ(out.Item(2).Arc()->R, 2);
}

TEST(JoinArcs, RejectedTrioLetsTheNextArcTryWithTheLastTwo) {
  Vessik_Spline s = WithTolerance(0.5);
  // 10, 13, 12 goes up and down: no join. With the fourth arc the trio 13, 12, 11
  // falls and joins, so four arcs become three.
  Access::GeoList l = ChainOf({10, 13, 12, 11});
  Access::GeoList out = Access::JoinArcs(s, l);
  EXPECT_EQ(out.Count(), 3);
  Access::GeoList three = ChainOf({10, 13, 12});
  EXPECT_EQ(Access::JoinArcs(s, three).Count(), 3);
}

TEST(JoinArcs, TurnChangeIsNotJoined) {
  Vessik_Spline s = WithTolerance(0.01);
  Access::GeoList l;
  l.Add(Vessik_Geo(MakeArc(0, 0, 1, 0, 30, 1)));
  l.Add(Vessik_Geo(MakeArc(10, 0, 2, 60, 30, -1)));
  l.Add(Vessik_Geo(MakeArc(20, 0, 3, 60, 90, 1)));
  EXPECT_EQ(Access::JoinArcs(s, l).Count(), 3);
}

TEST(JoinArcs, LinesComeFirstThenArcs) {
  Vessik_Spline s = WithTolerance(0.01);
  Access::GeoList l;
  l.Add(Vessik_Geo(MakeArc(0, 0, 1, 0, 30, 1)));
  l.Add(Vessik_Geo(MakeLine(5, 5, 6, 6)));
  l.Add(Vessik_Geo(MakeArc(30, 0, 1, 0, 30, 1)));
  l.Add(Vessik_Geo(MakeLine(7, 7, 8, 8)));
  Access::GeoList out = Access::JoinArcs(s, l);
  ASSERT_EQ(out.Count(), 4);
  EXPECT_EQ(out.Item(1).Line()->Pa.X, 5);
  EXPECT_EQ(out.Item(2).Line()->Pa.X, 7);
  EXPECT_NE(out.Item(3).Arc(), nullptr);
  EXPECT_NE(out.Item(4).Arc(), nullptr);
}

TEST(JoinArcs, OnlyLinesComeBackInOrder) {
  Vessik_Spline s = WithTolerance(0.01);
  Access::GeoList l = Lines({{0, 0}, {1, 0}, {1, 1}, {0, 1}});
  Access::GeoList out = Access::JoinArcs(s, l);
  ASSERT_EQ(out.Count(), 3);
  for (int i = 1; i <= 3; ++i) EXPECT_EQ(out.Item(i).Line(), l.Item(i).Line());
}

TEST(JoinArcs, ZeroSweepPassesTheSignTest) {
  Vessik_Spline s = WithTolerance(0.5);
  Access::GeoList l = Chain(10, 11, 12);
  l.Item(2).Arc()->Ext = 0;
  l.Item(3).Arc()->Ext = -1;
  // 0 times anything is not below 0: the middle arc at 0 lets a turn change pass.
  EXPECT_EQ(Access::JoinArcs(s, l).Count(), 2);
  l.Item(2).Arc()->Ext = 0.5;
  EXPECT_EQ(Access::JoinArcs(s, l).Count(), 3);
}

TEST(JoinArcs, DeviationCountsOnlyPointsInsideTheArcs) {
  auto a1 = MakeArc(0, 0, 1, 0, 90, 1);
  auto a2 = MakeArc(0, 0, 2, 90, 180, 1);
  Access::PointList pts;
  pts.Add(Vessik_Point(std::cos(0.5) * 1.25, std::sin(0.5) * 1.25, 0));
  pts.Add(Vessik_Point(-1.26, 1.68, 0));
  pts.Add(Vessik_Point(0.5, -3, 0));
  const double dev = Access::Deviation(pts, *a1, *a2);
  EXPECT_NEAR(dev, 0.25, 1e-12);
  EXPECT_EQ(pts.Item(2).X, -1.26);
  // The point below both arcs is dropped for good.
  EXPECT_EQ(pts.Count(), 2);
  Access::PointList none;
  EXPECT_EQ(Access::Deviation(none, *a1, *a2), MostNegative);
}

TEST(JoinArcs, DeviationEqualToToleranceRejects) {
  Access::GeoList l = Chain(10, 11, 12);
  Access::ArcList trio = TrioOf(l);
  std::shared_ptr<Vessik_ArcGeo> a1;
  std::shared_ptr<Vessik_ArcGeo> a2;
  // With a tolerance of 0 the budget is 0 too; the first join is measured at the
  // end of the third arc, which the new pair passes exactly.
  Vessik_Spline zero = WithTolerance(0);
  Access::Rising(zero, trio, 0, a1, a2);
  ASSERT_NE(a1, nullptr);
  Access::PointList pts;
  pts.Add(trio.Item(3)->Pe);
  ASSERT_EQ(Access::Deviation(pts, *a1, *a2), 0.0);
  // A deviation of 0 against a tolerance of 0: equal, so the join is refused.
  EXPECT_EQ(Access::JoinArcs(zero, l).Count(), 3);
  Vessik_Spline above = WithTolerance(0.5);
  EXPECT_EQ(Access::JoinArcs(above, l).Count(), 2);
}

TEST(JoinArcs, FallingJoinsThreeShrinkingArcs) {
  Vessik_Spline s = WithTolerance(0.5);
  // A spiral-like chain of shrinking radii, tangent at the joints.
  Access::GeoList l;
  auto A1 = MakeArc(0, 0, 12, 0, 30, 1);
  const double t = 30 * Pi / 180;
  // Centre moves towards the joint so that the circles touch there.
  auto A2 = MakeArc(1 * std::cos(t), 1 * std::sin(t), 11, 30, 60, 1);
  const double t2 = 60 * Pi / 180;
  auto A3 = MakeArc(A2->O.X + 1 * std::cos(t2), A2->O.Y + 1 * std::sin(t2), 10, 60, 90, 1);
  l.Add(Vessik_Geo(A1));
  l.Add(Vessik_Geo(A2));
  l.Add(Vessik_Geo(A3));
  Access::ArcList trio;
  trio.Add(A1);
  trio.Add(A2);
  trio.Add(A3);
  std::shared_ptr<Vessik_ArcGeo> a1;
  std::shared_ptr<Vessik_ArcGeo> a2;
  Access::Falling(s, trio, 0.5, a1, a2);
  ASSERT_NE(a1, nullptr);
  ASSERT_NE(a2, nullptr);
  EXPECT_EQ(a1->Pa.X, A1->Pa.X);
  EXPECT_EQ(a2->Pe.X, A3->Pe.X);
  EXPECT_EQ(a1->Pe.X, a2->Pa.X);
  const double b = Access::BudgetFalling(0.5, trio, *a1, *a2);
  EXPECT_GE(b, 0);
  EXPECT_LE(b, 0.5);
}

TEST(JoinArcs, BudgetsStayWithinZeroAndTolerance) {
  Access::GeoList l = Chain(10, 11, 12);
  Access::ArcList trio = TrioOf(l);
  std::shared_ptr<Vessik_ArcGeo> a1;
  std::shared_ptr<Vessik_ArcGeo> a2;
  Vessik_Spline s = WithTolerance(0.5);
  Access::Rising(s, trio, 0.5, a1, a2);
  ASSERT_NE(a1, nullptr);
  const double r = Access::BudgetRising(0.5, trio, *a1, *a2);
  EXPECT_GE(r, 0);
  EXPECT_LE(r, 0.5);
  // Worked out: A1 is the circle of radius 10 about (0, 0), A3 that of radius 12
  // about (-c, -c) with c = (1 + sqrt 3) / 2, kept at (10, 0) and at its end. With
  // d = 2, D = (-c, -c), D·D = 2 + sqrt 3 and nB = (-1, 0): p = 2 - sqrt 3 and
  // q = 2 (2 - c) = 3 - sqrt 3, so Limit2 = p / q = (3 - sqrt 3) / 6 = 0.2113. It is
  // below Limit1 = 0.2642, so a = Limit2, for which b is 0: the first arc grows to
  // radius 10 + a about (-a, 0), the second stays on the circle of A3.
  const double a = (3 - std::sqrt(3.0)) / 6;
  EXPECT_NEAR(a1->O.X, -a, 1e-14);
  EXPECT_NEAR(a1->O.Y, 0, 1e-14);
  EXPECT_NEAR(a1->R, 10 + a, 1e-14);
  EXPECT_NEAR(a2->O.X, -(1 + std::sqrt(3.0)) / 2, 1e-14);
  EXPECT_NEAR(a2->O.Y, -(1 + std::sqrt(3.0)) / 2, 1e-14);
  EXPECT_NEAR(a2->R, 12, 1e-14);
  // The joint is where the two circles touch: on the line through both centres,
  // 12 from the second. The budget is then g, the room left in rising; the
  // joint lies t = 0.01725 outside the old middle circle, so h = 0.5 - t is
  // larger. Worked out apart from the library in the same steps: 0.0331107976668790.
  const double cx = -(1 + std::sqrt(3.0)) / 2;
  const double ux = -a - cx;
  const double uy = -cx;
  const double ul = std::sqrt(ux * ux + uy * uy);
  EXPECT_NEAR(a1->Pe.X, cx + 12 * ux / ul, 1e-12);
  EXPECT_NEAR(a1->Pe.Y, cx + 12 * uy / ul, 1e-12);
  EXPECT_NEAR(r, 0.0331107976668790, 1e-13);
  // A budget of 0 is still tried, with g = A2.R - B.R.
  Access::Rising(s, trio, 0, a1, a2);
  ASSERT_NE(a1, nullptr);
  EXPECT_NE(a2, nullptr);
  // g = 1 and E = A2.O - B.O has length 1, so Limit1 = 0 and a = 0: the first arc
  // keeps the circle of A1; the second shrinks by b = (3 - sqrt 3) / 6.
  EXPECT_NEAR(a1->O.X, 0, 1e-14);
  EXPECT_NEAR(a1->R, 10, 1e-14);
  EXPECT_NEAR(a2->R, 12 - a, 1e-14);
}

TEST(JoinArcs, LineBetweenArcsResetsPointsOnly) {
  Vessik_Spline s = WithTolerance(0.01);
  Access::GeoList l = ThreeOnCircle(10, 10, 10);
  l.Add(Vessik_Geo(MakeLine(0, 10, -1, 10)));
  Access::GeoList more = ThreeOnCircle(20, 20, 20);
  for (const Vessik_Geo& g : more) l.Add(g);
  Access::GeoList out = Access::JoinArcs(s, l);
  ASSERT_GE(out.Count(), 1);
  EXPECT_NE(out.Item(1).Line(), nullptr);
  for (int i = 2; i <= out.Count(); ++i) EXPECT_NE(out.Item(i).Arc(), nullptr);
}

}  // namespace
}  // namespace vessik
