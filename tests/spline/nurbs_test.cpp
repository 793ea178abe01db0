#include <gtest/gtest.h>

#include <cmath>

#include "geometry/Vessik_Math.h"
#include "parser/Vessik_Error.h"
#include "spline/Vessik_CurvePointValid.h"
#include "spline/Vessik_Nurbs.h"

namespace vessik {
namespace {

TEST(Nurbs, CheckZeroLeavesBothEmpty) {
  Vessik_Nurbs n;
  n.Init(2, {0, 0, 0, 1, 1, 1}, {1, 1, 1}, {{0, 0, 0}, {1, 1, 0}, {2, 0, 0}});
  n.CheckParameters(0.01, 0);
  EXPECT_EQ(n.Ignore.Count(), 0);
  EXPECT_EQ(n.knt_m_change.Count(), 0);
}

std::vector<double> TwoSegmentKnots() {
  return {0, 0, 0, 0, 1, 1, 1, 1, 2, 2, 2, 2};
}

TEST(Nurbs, KnotCheckFindsCorner) {
  Vessik_Nurbs n;
  // Middle control point (3, 0) is a corner: the first piece arrives going down,
  // the second leaves going up.
  std::vector<Vessik_Point> pts{{0, 3, 0}, {1, 2, 0}, {2, 1, 0}, {3, 0, 0},
                                {3, 0, 0}, {4, 1, 0}, {5, 2, 0}, {6, 3, 0}};
  n.Init(3, TwoSegmentKnots(), std::vector<double>(8, 1.0), pts);
  n.CheckParameters(0.01, 1);
  ASSERT_EQ(n.knt_m_change.Count(), 1);
  EXPECT_EQ(n.knt_m_change.Item(1), 1.0);
  EXPECT_EQ(n.Ignore.Count(), 0);
}

TEST(Nurbs, KnotCheckSmoothJointRecordsNothing) {
  Vessik_Nurbs n;
  std::vector<Vessik_Point> pts{{0, 0, 0}, {1, 1, 0}, {2, 2, 0}, {3, 3, 0},
                                {3, 3, 0}, {4, 4, 0}, {5, 4, 0}, {6, 3, 0}};
  n.Init(3, TwoSegmentKnots(), std::vector<double>(8, 1.0), pts);
  n.CheckParameters(0.01, 1);
  EXPECT_EQ(n.knt_m_change.Count(), 0);
}

TEST(Nurbs, KnotCheckFindsAJumpOfAHundredthOfARadian) {
  Vessik_Nurbs n;
  // Two straight pieces: along X, then rising by 0.01 per unit, a turn of
  // atan(0.01) = 0.0099997 radians at the knot, far above the 1E-6 that counts.
  std::vector<Vessik_Point> pts{{0, 0, 0}, {1, 0, 0},    {2, 0, 0},    {3, 0, 0},
                                {3, 0, 0}, {4, 0.01, 0}, {5, 0.02, 0}, {6, 0.03, 0}};
  n.Init(3, TwoSegmentKnots(), std::vector<double>(8, 1.0), pts);
  n.CheckParameters(0.01, 1);
  ASSERT_EQ(n.knt_m_change.Count(), 1);
  EXPECT_EQ(n.knt_m_change.Item(1), 1.0);
}

TEST(Nurbs, KnotCheckPassesOverATurnBelowTheLimit) {
  Vessik_Nurbs n;
  // The second piece rises by 1E-8 per unit: a turn of 1E-8 radians, below 1E-6.
  std::vector<Vessik_Point> pts{{0, 0, 0}, {1, 0, 0},    {2, 0, 0},    {3, 0, 0},
                                {3, 0, 0}, {4, 1e-8, 0}, {5, 2e-8, 0}, {6, 3e-8, 0}};
  n.Init(3, TwoSegmentKnots(), std::vector<double>(8, 1.0), pts);
  n.CheckParameters(0.01, 1);
  EXPECT_EQ(n.knt_m_change.Count(), 0);
}

TEST(Nurbs, KnotOfMultiplicityDegreeIsNotExamined) {
  Vessik_Nurbs n;
  // Inner knot 1 three times for a cubic: the curve passes through (3, 0) and
  // turns a right angle there, but only a knot of multiplicity Degree + 1 is
  // looked at.
  std::vector<Vessik_Point> pts{{0, 0, 0}, {1, 0, 0}, {2, 0, 0}, {3, 0, 0},
                                {3, 1, 0}, {3, 2, 0}, {3, 3, 0}};
  n.Init(3, {0, 0, 0, 0, 1, 1, 1, 2, 2, 2, 2}, std::vector<double>(7, 1.0), pts);
  n.CheckParameters(0.01, 1);
  EXPECT_EQ(n.knt_m_change.Count(), 0);
  // The same turn at a knot of multiplicity 4 is found.
  Vessik_Nurbs m;
  std::vector<Vessik_Point> pts4{{0, 0, 0}, {1, 0, 0}, {2, 0, 0}, {3, 0, 0},
                                 {3, 0, 0}, {3, 1, 0}, {3, 2, 0}, {3, 3, 0}};
  m.Init(3, TwoSegmentKnots(), std::vector<double>(8, 1.0), pts4);
  m.CheckParameters(0.01, 1);
  ASSERT_EQ(m.knt_m_change.Count(), 1);
  EXPECT_EQ(m.knt_m_change.Item(1), 1.0);
}

TEST(Nurbs, KnotOfMultiplicityDegreePlusTwoIsPassedOver) {
  Vessik_Nurbs n;
  // Inner knot 1 five times for a cubic.
  std::vector<Vessik_Point> pts(9);
  for (int i = 0; i < 9; ++i) pts[i] = Vessik_Point(i, (i % 2) * 3.0, 0);
  n.Init(3, {0, 0, 0, 0, 1, 1, 1, 1, 1, 2, 2, 2, 2}, std::vector<double>(9, 1.0), pts);
  n.CheckParameters(0.01, 1);
  EXPECT_EQ(n.knt_m_change.Count(), 0);
}

TEST(Nurbs, SingleFirstKnotCountsSecondTwice) {
  Vessik_Nurbs n;
  // The first group holds 1 four times: above Degree + 1, passed over.
  std::vector<Vessik_Point> pts{{0, 0, 0}, {1, 5, 0}, {2, 0, 0}};
  n.Init(2, {0, 1, 1, 1, 2}, {1, 1, 1}, pts);
  n.CheckParameters(0.01, 1);
  EXPECT_EQ(n.knt_m_change.Count(), 0);
}

void ExpectTypeMismatch(int32_t check) {
  Vessik_Nurbs n;
  n.Init(2, {0, 0, 0, 1, 1, 1}, {1, 1, 1}, {{0, 0, 0}, {1, 1, 0}, {2, 0, 0}});
  try {
    n.CheckParameters(1e9, check);
    FAIL() << "no failure";
  } catch (const Vessik_Error& e) {
    EXPECT_EQ(e.Number(), 13);
    EXPECT_EQ(e.Description(), "Type mismatch");
  }
  EXPECT_EQ(n.Ignore.Count(), 0);
}

TEST(Nurbs, ControlPointCheckFailsWithTypeMismatch) {
  ExpectTypeMismatch(2);
  ExpectTypeMismatch(3);
}

TEST(Nurbs, ControlPointCheckOnSinglePointDoesNothing) {
  Vessik_Nurbs n;
  n.Init(1, {0, 0, 1, 1}, {1}, {{0, 0, 0}});
  n.CheckParameters(0.01, 2);
  EXPECT_EQ(n.Ignore.Count(), 0);
}

TEST(Nurbs, EvaluateWithNZeroKeepsTangent) {
  Vessik_Nurbs n;
  n.Init(2, {0, 0, 0, 1, 1, 1}, {1, 1, 1}, {{0, 0, 0}, {1, 1, 0}, {2, 0, 0}});
  n.CheckParameters(0.01, 0);
  Vessik_Point P;
  double t = 123.5;
  n.Evaluate(0, 0.5, P, t);
  EXPECT_EQ(t, 123.5);
  EXPECT_DOUBLE_EQ(P.X, 1.0);
  EXPECT_DOUBLE_EQ(P.Y, 0.5);
  n.Evaluate(1, 0.5, P, t);
  EXPECT_NEAR(t, 0.0, 1e-15);
}

// A quadratic with knots 0 0 0 1 2 2 2 and control points P0 to P3. On [0, 1) its
// basis functions are (1 - u)², 2u - 1.5u² and u² / 2; the knots are symmetric about
// 1, so on [1, 2] the same functions of 2 - u belong to P3, P2 and P1. With weights
// of 1 the curve is the plain sum, and it lies in Z = 0 whatever the points' Z:
//   u = 0:   P0                                   = (0, 0)
//   u = 0.3: 0.49 P0 + 0.465 P1 + 0.045 P2        = (0.6, 1.02)
//   u = 1:   0.5 P1 + 0.5 P2                      = (2, 2)
//   u = 1.7: 0.045 P1 + 0.465 P2 + 0.49 P3        = (3.4, 1.02)
//   u = 2:   the last knot is evaluated with the first span's polynomial, whose
//            basis there is (1, -2, 2): P0 - 2 P1 + 2 P2 = (4, 0), which happens
//            to be P3.
TEST(Nurbs, UnitWeightsGiveThePlainBSplinePoints) {
  std::vector<Vessik_Point> pts{{0, 0, 7}, {1, 2, 7}, {3, 2, 7}, {4, 0, 7}};
  Vessik_Nurbs n;
  n.Init(2, {0, 0, 0, 1, 2, 2, 2}, {1, 1, 1, 1}, pts);
  n.CheckParameters(0.01, 0);
  const struct {
    double u, x, y;
  } expected[] = {{0, 0, 0}, {0.3, 0.6, 1.02}, {1, 2, 2}, {1.7, 3.4, 1.02}, {2, 4, 0}};
  for (const auto& e : expected) {
    Vessik_Point P;
    double t = 0;
    n.Evaluate(0, e.u, P, t);
    EXPECT_NEAR(P.X, e.x, 1e-14) << e.u;
    EXPECT_NEAR(P.Y, e.y, 1e-14) << e.u;
    EXPECT_EQ(P.Z, 0.0) << e.u;
  }
}

// The same curve with the weight of P1 raised to 2: at u = 0.3 the weighted basis
// is 0.49, 0.93, 0.045, which adds up to 1.465, and the point is
// (0.93 P1 + 0.045 P2) / 1.465 = (1.065, 1.95) / 1.465.
TEST(Nurbs, WeightPullsTheCurveTowardsItsPoint) {
  std::vector<Vessik_Point> pts{{0, 0, 0}, {1, 2, 0}, {3, 2, 0}, {4, 0, 0}};
  Vessik_Nurbs n;
  n.Init(2, {0, 0, 0, 1, 2, 2, 2}, {1, 2, 1, 1}, pts);
  n.CheckParameters(0.01, 0);
  Vessik_Point P;
  double t = 0;
  n.Evaluate(0, 0.3, P, t);
  EXPECT_NEAR(P.X, 1.065 / 1.465, 1e-14);
  EXPECT_NEAR(P.Y, 1.95 / 1.465, 1e-14);
  // At the start the curve still passes through P0.
  n.Evaluate(0, 0, P, t);
  EXPECT_NEAR(P.X, 0, 1e-15);
  EXPECT_NEAR(P.Y, 0, 1e-15);
  // At the last knot the first span's polynomial stands in, with the basis
  // (1, -2, 2): the weighted sum (0, 0) - 4 P1 + 2 P2 = (2, -4) over the weight
  // 1 - 4 + 2 = -1 gives (-2, 4), far from P3. With weights of 1 the same
  // extrapolation lands on P3 by chance (see above).
  n.Evaluate(0, 2, P, t);
  EXPECT_NEAR(P.X, -2, 1e-14);
  EXPECT_NEAR(P.Y, 4, 1e-14);
}

TEST(Nurbs, RationalQuarterCircleLiesOnCircle) {
  const double w = std::sqrt(2.0) / 2;
  Vessik_Nurbs n;
  n.Init(2, {0, 0, 0, 1, 1, 1}, {1, w, 1}, {{5, 0, 0}, {5, 5, 0}, {0, 5, 0}});
  n.CheckParameters(0.01, 0);
  for (int i = 0; i < 20; ++i) {
    double u = i / 20.0;
    Vessik_Point P;
    double t = 0;
    CurvePointValid() = true;
    n.Evaluate(1, u, P, t);
    EXPECT_TRUE(CurvePointValid());
    EXPECT_NEAR(std::sqrt(P.X * P.X + P.Y * P.Y), 5.0, 1e-12) << u;
    // The tangent is perpendicular to the radius, counter-clockwise.
    double expected = std::atan2(P.Y, P.X) + Pi / 2;
    EXPECT_NEAR(t, expected, 1e-9) << u;
  }
}

TEST(Nurbs, SingleKnotFailsEvenWithoutChecks) {
  Vessik_Nurbs n;
  n.Init(1, {0}, {1}, {{0, 0, 0}});
  // The knot groups always start with the knot at index 1.
  try {
    n.CheckParameters(0.01, 0);
    FAIL() << "no failure";
  } catch (const Vessik_Error& e) {
    EXPECT_EQ(e.Number(), 9);
    EXPECT_EQ(e.Description(), "Subscript out of range");
  }
}

TEST(Nurbs, TooFewWeightsRaise9) {
  Vessik_Nurbs n;
  try {
    n.Init(2, {0, 0, 0, 1, 1, 1}, {1, 1}, {{0, 0, 0}, {1, 1, 0}, {2, 0, 0}});
    FAIL() << "no failure";
  } catch (const Vessik_Error& e) {
    EXPECT_EQ(e.Number(), 9);
  }
}

}  // namespace
}  // namespace vessik
