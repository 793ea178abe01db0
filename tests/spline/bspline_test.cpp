#include <gtest/gtest.h>

#include <cmath>

#include "parser/Vessik_Error.h"
#include "spline/Vessik_BSpline.h"
#include "spline/Vessik_CurvePointValid.h"

namespace vessik {
namespace {

Vessik_BSpline Quadratic() {
  Vessik_BSpline b;
  std::vector<Vessik_Point> pts{{0, 0, 1}, {1, 2, 1}, {3, 2, 1}, {4, 0, 1}};
  b.Init(2, {0, 0, 0, 1, 2, 2, 2}, pts);
  return b;
}

TEST(BSplineFindSpan, InnerValues) {
  Vessik_BSpline b = Quadratic();
  EXPECT_EQ(b.findspan(0), 2);
  EXPECT_EQ(b.findspan(0.5), 2);
  EXPECT_EQ(b.findspan(1), 3);
  EXPECT_EQ(b.findspan(1.5), 3);
}

TEST(BSplineFindSpan, LastKnotGivesMMinusPMinus2) {
  Vessik_BSpline b = Quadratic();
  EXPECT_EQ(b.findspan(2), 2);
}

TEST(BSplineFindSpan, BelowRangeClearsValidWithoutFailure) {
  Vessik_BSpline b = Quadratic();
  CurvePointValid() = true;
  EXPECT_EQ(b.findspan(-1), 2);
  EXPECT_FALSE(CurvePointValid());
}

TEST(BSplineFindSpan, AboveRangeRaisesInvalidSpan) {
  Vessik_BSpline b = Quadratic();
  try {
    b.findspan(2.5);
    FAIL() << "no failure";
  } catch (const Vessik_Error& e) {
    EXPECT_EQ(e.Number(), static_cast<int32_t>(0x80040066u));
    EXPECT_EQ(e.Number(), -2147221402);
    EXPECT_EQ(e.Description(), "Invalid span variable.");
    EXPECT_EQ(e.Source(), "");
  }
}

TEST(BSplineFindSpan, NotANumberRaisesInvalidSpan) {
  Vessik_BSpline b = Quadratic();
  try {
    b.findspan(std::nan(""));
    FAIL() << "no failure";
  } catch (const Vessik_Error& e) {
    EXPECT_EQ(e.Number(), -2147221402);
  }
}

TEST(BSplineFindSpan, KnotsOutOfOrderStillEnd) {
  Vessik_BSpline b;
  b.Init(1, {0, 0, 5, 1, 0.5, 6}, {{0, 0, 1}, {1, 0, 1}, {2, 0, 1}, {3, 0, 1}});
  // The bisection only ever moves to a knot that brackets u from its side, so it
  // ends even over a vector out of order.
  EXPECT_EQ(b.findspan(3), 4);
}

TEST(BSplineFindSpan, DegreeBeyondKnotsRaises9) {
  Vessik_BSpline b;
  b.Init(5, {0, 1}, {});
  try {
    b.findspan(0.5);
    FAIL() << "no failure";
  } catch (const Vessik_Error& e) {
    EXPECT_EQ(e.Number(), 9);
    EXPECT_EQ(e.Description(), "Subscript out of range");
  }
}

TEST(BSplineBasis, SumIsOneInRegularSpan) {
  Vessik_BSpline b = Quadratic();
  for (double u : {0.0, 0.25, 0.5, 1.0, 1.3, 1.99}) {
    const Vessik_Array2D& d = b.ders_basis_functions(b.findspan(u), u, 1);
    double sum = d(0, 0) + d(0, 1) + d(0, 2);
    EXPECT_NEAR(sum, 1.0, 1e-15) << u;
    // The derivatives of a partition of unity add up to 0.
    EXPECT_NEAR(d(1, 0) + d(1, 1) + d(1, 2), 0.0, 1e-14) << u;
  }
}

TEST(BSplineBasis, QuadraticValuesAtHalf) {
  Vessik_BSpline b = Quadratic();
  const Vessik_Array2D& d = b.ders_basis_functions(2, 0.5, 1);
  // Knots 0,0,0,1,2,2,2 at u = 0.5: N = (0.25, 0.625, 0.125).
  EXPECT_DOUBLE_EQ(d(0, 0), 0.25);
  EXPECT_DOUBLE_EQ(d(0, 1), 0.625);
  EXPECT_DOUBLE_EQ(d(0, 2), 0.125);
  EXPECT_DOUBLE_EQ(d(1, 0), -1.0);
  EXPECT_DOUBLE_EQ(d(1, 1), 0.5);
  EXPECT_DOUBLE_EQ(d(1, 2), 0.5);
}

TEST(BSplineEvaluate, NZeroGivesPointAlone) {
  Vessik_BSpline b = Quadratic();
  CurvePointValid() = true;
  const Vessik_Array2D& ck = b.bspline_ders_evaluate(0, 0.5);
  EXPECT_EQ(ck.Rows(), 1);
  EXPECT_EQ(ck.Cols(), 3);
  EXPECT_DOUBLE_EQ(ck(0, 0), 0.25 * 0 + 0.625 * 1 + 0.125 * 3);
  EXPECT_DOUBLE_EQ(ck(0, 1), 0.625 * 2 + 0.125 * 2);
  EXPECT_DOUBLE_EQ(ck(0, 2), 1.0);
  EXPECT_TRUE(CurvePointValid());
}

TEST(BSplineEvaluate, LastKnotUsesFirstSpanPolynomial) {
  Vessik_BSpline b;
  b.Init(2, {0, 0, 0, 1, 2, 2, 2}, {{0, 0, 1}, {1, 2, 1}, {3, 2, 1}, {5, 1, 1}});
  CurvePointValid() = true;
  const Vessik_Array2D& ck = b.bspline_ders_evaluate(0, 2);
  // The first span's polynomial continued to u = 2, not the last point (5, 1).
  EXPECT_EQ(ck(0, 0), 4.0);
  EXPECT_EQ(ck(0, 1), 0.0);
  EXPECT_EQ(ck(0, 2), 1.0);
  const Vessik_Array2D& near = b.bspline_ders_evaluate(0, 1.9999999);
  EXPECT_NEAR(near(0, 0), 5.0, 1e-6);
  EXPECT_NEAR(near(0, 1), 1.0, 1e-6);
}

TEST(BSplineEvaluate, ZeroLengthLastSpanGivesNonFiniteWithoutFailure) {
  Vessik_BSpline b;
  b.Init(3, {0, 0, 0, 0, 1, 1, 1, 1}, {{0, 0, 1}, {1, 1, 1}, {2, 1, 1}, {3, 0, 1}});
  EXPECT_EQ(b.findspan(1), 2);
  const Vessik_Array2D& d = b.ders_basis_functions(2, 1, 1);
  bool anyNonFinite = false;
  for (int j = 0; j <= 3; ++j) anyNonFinite = anyNonFinite || !std::isfinite(d(0, j));
  EXPECT_TRUE(anyNonFinite);
  // The term with the point index -1 is left out; no failure.
  const Vessik_Array2D& ck = b.bspline_ders_evaluate(1, 1);
  EXPECT_EQ(ck.Rows(), 2);
}

TEST(BSplineEvaluate, PointPastEndClearsValid) {
  Vessik_BSpline b;
  // Three control points where a quadratic with these knots wants four.
  b.Init(2, {0, 0, 0, 1, 2, 2, 2}, {{0, 0, 1}, {1, 2, 1}, {3, 2, 1}});
  CurvePointValid() = true;
  b.bspline_ders_evaluate(1, 1.5);
  EXPECT_FALSE(CurvePointValid());
}

}  // namespace
}  // namespace vessik
