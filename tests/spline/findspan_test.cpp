// findspan on its own: the span index of a parameter, at knots and between them,
// for plain and repeated knots. The bisection must give the unique span i with
// Knot(i) <= u < Knot(i + 1), whichever way it reaches it.
#include <gtest/gtest.h>

#include <vector>

#include "spline/Vessik_BSpline.h"
#include "spline/Vessik_CurvePointValid.h"

namespace vessik {
namespace {

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

}  // namespace
}  // namespace vessik
