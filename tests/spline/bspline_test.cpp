#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "parser/Vessik_Error.h"
#include "spline/Vessik_BSpline.h"
#include "spline/Vessik_CurvePointValid.h"

namespace vessik {
namespace {

void ExpectFailure(const std::function<void()>& f, int32_t number, const std::string& words) {
  try {
    f();
    FAIL() << "no failure";
  } catch (const Vessik_Error& e) {
    EXPECT_EQ(e.Number(), number);
    EXPECT_EQ(e.Description(), words);
  }
}

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

TEST(BSplineFindSpan, LastKnotSpanBeyond32BitsRaises6) {
  // m - p - 2 below the 32-bit range: 0 - 2147483647 - 2.
  Vessik_BSpline high;
  high.Init(INT32_MAX, {0}, {});
  ExpectFailure([&] { high.findspan(0); }, 6, "Overflow");
  // And above it: 2 + 2147483648 - 2.
  Vessik_BSpline low;
  low.Init(INT32_MIN, {0, 1, 2}, {});
  ExpectFailure([&] { low.findspan(2); }, 6, "Overflow");
}

TEST(BSplineFindSpan, LastKnotSpanAtTheEdgesOf32Bits) {
  Vessik_BSpline high;
  high.Init(INT32_MAX, {0, 1}, {});
  EXPECT_EQ(high.findspan(1), INT32_MIN);
  Vessik_BSpline low;
  low.Init(INT32_MIN, {0, 1}, {});
  EXPECT_EQ(low.findspan(1), INT32_MAX);
}

TEST(BSplineFindSpan, DegreeOutsideTheKnotsRaises9) {
  for (int32_t p : {INT32_MAX, INT32_MIN, -1}) {
    SCOPED_TRACE(p);
    Vessik_BSpline b;
    b.Init(p, {0, 1}, {});
    ExpectFailure([&] { b.findspan(0.5); }, 9, "Subscript out of range");
  }
}

TEST(BSplineBasis, DegreeTooLargeForMemoryRaises7) {
  // 16384 is the smallest degree whose (p + 1) x (p + 1) array passes 2^28.
  for (int32_t p : {INT32_MAX, INT32_MAX - 1, 1100000000, 16384}) {
    SCOPED_TRACE(p);
    Vessik_BSpline b;
    b.Init(p, {0, 1}, {});
    ExpectFailure([&] { b.ders_basis_functions(0, 0.5, 1); }, 7, "Out of memory");
    ExpectFailure([&] { b.bspline_ders_evaluate(1, 1); }, 7, "Out of memory");
  }
}

TEST(BSplineArray2D, SizesAboveTheLimitRaise7AndLeaveTheArray) {
  Vessik_Array2D a;
  a.Reset(2, 3);
  a(1, 2) = 5;
  for (const auto& [r, c] : std::vector<std::pair<int64_t, int64_t>>{
           {16385, 16385},
           {int64_t{1} << 28, 2},
           {2, (int64_t{1} << 28) + 1},
           {int64_t{1} << 31, int64_t{1} << 31},
           {INT64_MAX, INT64_MAX},
       }) {
    ExpectFailure([&] { a.Reset(r, c); }, 7, "Out of memory");
    EXPECT_EQ(a.Rows(), 2);
    EXPECT_EQ(a.Cols(), 3);
  }
  // A size below 0 makes an empty array, with no failure.
  a.Reset(INT64_MIN, 5);
  EXPECT_EQ(a.Rows(), 0);
  EXPECT_EQ(a.Cols(), 5);
}

TEST(BSplineBasis, NegativeDegreeRaises9) {
  for (int32_t p : {INT32_MIN, INT32_MIN + 1, -2, -1}) {
    SCOPED_TRACE(p);
    Vessik_BSpline b;
    b.Init(p, {0, 1}, {});
    ExpectFailure([&] { b.ders_basis_functions(0, 0.5, 1); }, 9, "Subscript out of range");
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

// findspan on its own: the span index of a parameter, at knots and between them,
// for plain and repeated knots. The bisection must give the unique span i with
// Knot(i) <= u < Knot(i + 1), whichever way it reaches it.

Vessik_BSpline Make(int32_t degree, const std::vector<double>& knots) {
  Vessik_BSpline b;
  std::vector<Vessik_Point> points(knots.size() - static_cast<size_t>(degree) - 1,
                                   Vessik_Point(0, 0, 1));
  b.Init(degree, knots, points);
  return b;
}

TEST(FindSpan, InnerKnotBelongsToTheSpanItStarts) {
  // Knots 0 0 0 1 2 3 4 4 4. For u = 2 the bisection first tries span 5, then
  // span 3, whose end is exactly 2: that span does not hold u, span 4 does.
  Vessik_BSpline b = Make(2, {0, 0, 0, 1, 2, 3, 4, 4, 4});
  EXPECT_EQ(b.findspan(0), 2);
  EXPECT_EQ(b.findspan(1), 3);
  EXPECT_EQ(b.findspan(2), 4);
  EXPECT_EQ(b.findspan(3), 5);
  EXPECT_EQ(b.findspan(0.5), 2);
  EXPECT_EQ(b.findspan(1.5), 3);
  EXPECT_EQ(b.findspan(2.5), 4);
  EXPECT_EQ(b.findspan(3.5), 5);
  EXPECT_EQ(b.findspan(3.999999999), 5);
  EXPECT_EQ(b.findspan(1.999999999), 3);
}

TEST(FindSpan, RepeatedInnerKnotGivesTheLastOfItsCopies) {
  // Knots 0 0 0 1 1 1 2 2 2: the spans 3 and 4 are empty, u = 1 lies in span 5.
  Vessik_BSpline b = Make(2, {0, 0, 0, 1, 1, 1, 2, 2, 2});
  EXPECT_EQ(b.findspan(0.25), 2);
  EXPECT_EQ(b.findspan(0.999999999), 2);
  EXPECT_EQ(b.findspan(1), 5);
  EXPECT_EQ(b.findspan(1.5), 5);
}

TEST(FindSpan, EveryKnotOfAUniformCubic) {
  // Degree 3, inner knots 1 to 9: u = k and every u between k and k + 1 lie in
  // span k + 3, the span that k starts.
  std::vector<double> knots{0, 0, 0, 0};
  for (int k = 1; k <= 9; ++k) knots.push_back(k);
  knots.insert(knots.end(), {10, 10, 10, 10});
  Vessik_BSpline b = Make(3, knots);
  for (int k = 0; k <= 9; ++k) {
    SCOPED_TRACE(k);
    EXPECT_EQ(b.findspan(k), k + 3);
    EXPECT_EQ(b.findspan(k + 0.5), k + 3);
    EXPECT_EQ(b.findspan(k + 0.999), k + 3);
  }
}

TEST(FindSpan, LastKnotIsOneBelowTheLastSpan) {
  // m = 16, p = 3: the last non-empty span is 12, and the last knot gives 11.
  std::vector<double> knots{0, 0, 0, 0};
  for (int k = 1; k <= 9; ++k) knots.push_back(k);
  knots.insert(knots.end(), {10, 10, 10, 10});
  Vessik_BSpline b = Make(3, knots);
  CurvePointValid() = true;
  EXPECT_EQ(b.findspan(10), 11);
  EXPECT_EQ(b.findspan(9.999), 12);
  EXPECT_TRUE(CurvePointValid());
}

TEST(FindSpan, UnclampedStartBelowTheDegreeKnot) {
  // Knots 0 1 2 3 4 5 6, degree 2: u below Knot(2) = 2 gives span 2 and marks
  // the point; from 2 on the bisection runs as usual.
  Vessik_BSpline b = Make(2, {0, 1, 2, 3, 4, 5, 6});
  CurvePointValid() = true;
  EXPECT_EQ(b.findspan(1.5), 2);
  EXPECT_FALSE(CurvePointValid());
  CurvePointValid() = true;
  EXPECT_EQ(b.findspan(2), 2);
  EXPECT_EQ(b.findspan(3), 3);
  EXPECT_EQ(b.findspan(4), 4);
  EXPECT_EQ(b.findspan(5), 5);
  EXPECT_TRUE(CurvePointValid());
}

// Bit for bit, so that two not-a-numbers count as equal.
bool SameBits(const Vessik_Array2D& a, const Vessik_Array2D& b) {
  if (a.Rows() != b.Rows() || a.Cols() != b.Cols()) return false;
  for (int32_t r = 0; r < a.Rows(); ++r) {
    for (int32_t c = 0; c < a.Cols(); ++c) {
      const double x = a(r, c);
      const double y = b(r, c);
      if (std::memcmp(&x, &y, sizeof x) != 0) return false;
    }
  }
  return true;
}

TEST(BSplineEvaluate, AResultDoesNotDependOnTheCallsBefore) {
  // The evaluator keeps its work arrays between calls. One evaluator that has
  // served calls of other degrees of derivative, spans and parameters before must
  // give what a fresh one gives, bit for bit, also off the knots and past the
  // points.
  for (int32_t p : {0, 1, 2, 3, 5, 9, 17}) {
    std::vector<double> knots;
    for (int32_t i = 0; i <= p; ++i) knots.push_back(0);
    for (int32_t i = 1; i <= 4; ++i) knots.push_back(i * 0.75);
    for (int32_t i = 0; i <= p; ++i) knots.push_back(4);
    std::vector<Vessik_Point> pts;
    for (int32_t i = 0; i < p + 3; ++i) {
      pts.push_back(Vessik_Point(std::sin(i * 1.3) * 40, i * 2.5, 1 + 0.25 * (i % 3)));
    }
    Vessik_BSpline used;
    used.Init(p, knots, pts);
    const std::vector<std::pair<int32_t, double>> calls{{1, 0.3}, {0, 1.9},  {1, 3.99},
                                                        {3, 0.8}, {0, -0.5}, {1, 2.25},
                                                        {2, 4},   {0, 0.75}, {1, 1e-9}};
    for (const auto& [n, u] : calls) {
      SCOPED_TRACE(std::to_string(p) + " " + std::to_string(n) + " " + std::to_string(u));
      Vessik_BSpline fresh;
      fresh.Init(p, knots, pts);
      CurvePointValid() = true;
      const Vessik_Array2D& a = used.bspline_ders_evaluate(n, u);
      const bool validUsed = CurvePointValid();
      CurvePointValid() = true;
      const Vessik_Array2D& b = fresh.bspline_ders_evaluate(n, u);
      EXPECT_EQ(CurvePointValid(), validUsed);
      EXPECT_TRUE(SameBits(a, b));
      const int32_t span = fresh.findspan(u);
      Vessik_BSpline basis;
      basis.Init(p, knots, pts);
      EXPECT_TRUE(
          SameBits(used.ders_basis_functions(span, u, n), basis.ders_basis_functions(span, u, n)));
    }
  }
}

// The unrolled path for degrees 2 and 3 gives the general path's rows bit for bit
// and the same mark, on clamped, open and uneven knots, at every span, at the ends
// and past them, where it falls back to the general path.
TEST(BSplineEvaluate, LowOrderPathMatchesTheGeneralPath) {
  const std::vector<std::vector<double>> knotSets{
      {0, 0, 0, 0, 0.5, 1, 1, 1, 1},
      {0, 1, 2, 3, 4, 5, 6, 7, 8, 9},
      {0, 0, 0, 0.1, 0.35, 0.35, 0.9, 2.5, 2.5, 2.5},
      {-3, -3, -3, -1e-9, 0, 1e-9, 4, 4, 4},
  };
  int lowOrder = 0;
  int fallBack = 0;
  for (int32_t p = 2; p <= 3; ++p) {
    for (const std::vector<double>& knots : knotSets) {
      for (int32_t count : {static_cast<int32_t>(knots.size()) - p - 1, 3}) {
        std::vector<Vessik_Point> pts;
        for (int32_t i = 0; i < count; ++i) {
          pts.push_back(Vessik_Point(std::cos(i * 0.7) * 30, i * 1.5 - 4, 0.5 + 0.25 * (i % 4)));
        }
        Vessik_BSpline curve;
        curve.Init(p, knots, pts);
        const double lo = knots.front();
        const double hi = knots.back();
        for (int step = -2; step <= 202; ++step) {
          const double u = lo + (hi - lo) * step / 200.0;
          for (int32_t n = 0; n <= 1; ++n) {
            SCOPED_TRACE(std::to_string(p) + " " + std::to_string(count) + " " + std::to_string(n) +
                         " " + std::to_string(u));
            std::optional<int32_t> generalFailure;
            CurvePointValid() = true;
            Vessik_Array2D general;
            try {
              general = curve.bspline_ders_evaluate(n, u);
            } catch (const Vessik_Error& e) {
              generalFailure = e.Number();
            }
            const bool generalValid = CurvePointValid();
            CurvePointValid() = true;
            double rows[2][3];
            try {
              ASSERT_TRUE(curve.EvaluateLowOrder(n, u, rows));
              ASSERT_FALSE(generalFailure.has_value());
            } catch (const Vessik_Error& e) {
              ASSERT_EQ(generalFailure, e.Number());
              continue;
            }
            EXPECT_EQ(CurvePointValid(), generalValid);
            for (int32_t k = 0; k <= n; ++k) {
              for (int32_t c = 0; c < 3; ++c) {
                const double g = general(k, c);
                EXPECT_EQ(std::memcmp(&rows[k][c], &g, sizeof g), 0) << k << " " << c;
              }
            }
            const int32_t span = curve.findspan(u);
            const bool inside =
                span - p >= 0 && span + p < static_cast<int32_t>(knots.size()) && span < count;
            ++(inside ? lowOrder : fallBack);
          }
        }
      }
    }
  }
  EXPECT_GT(lowOrder, 1000);
  EXPECT_GT(fallBack, 100);
  // Other degrees and orders are left to the general path.
  Vessik_BSpline quartic;
  quartic.Init(4, {0, 0, 0, 0, 0, 1, 1, 1, 1, 1},
               std::vector<Vessik_Point>(5, Vessik_Point(1, 1, 1)));
  double rows[2][3];
  EXPECT_FALSE(quartic.EvaluateLowOrder(1, 0.5, rows));
  EXPECT_FALSE(Quadratic().EvaluateLowOrder(2, 0.5, rows));
}

}  // namespace
}  // namespace vessik
