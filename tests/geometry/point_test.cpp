#include <gtest/gtest.h>

#include <cmath>
#include <random>

#include "entities/Vessik_Arc.h"
#include "entities/Vessik_Insert.h"
#include "geometry/Vessik_Math.h"
#include "geometry/Vessik_Point.h"

namespace vessik {
namespace {

TEST(Point, UnitVectorOfEqualPointsIsZero) {
  Vessik_Point p(1, 2, 3);
  Vessik_Point u = p.unit_vector(p);
  EXPECT_EQ(u.X, 0);
  EXPECT_EQ(u.Y, 0);
  EXPECT_EQ(u.Z, 0);
}

TEST(Point, NormAngle) {
  Vessik_Point p(2, 3, 0);
  EXPECT_EQ(p.NormAngle(Vessik_Point(1, 3, 0)), 3.14159265358979);
  EXPECT_DOUBLE_EQ(p.NormAngle(Vessik_Point(1, 2, 0)), -3 * Pi / 4);
  EXPECT_DOUBLE_EQ(p.NormAngle(Vessik_Point(2, 2, 0)), -Pi / 2);
  EXPECT_EQ(p.NormAngle(p), 0);
}

TEST(Point, IsInTolIsOneSided) {
  Vessik_Point p(0, 0, 0);
  EXPECT_TRUE(p.IsInTol(Vessik_Point(-5, -5, -5), 0.001));
  // A difference equal to the tolerance is out.
  EXPECT_FALSE(p.IsInTol(Vessik_Point(0.001, 0, 0), 0.001));
  EXPECT_TRUE(p.IsInTol(p, 0.001));
  // The reverse question differs.
  EXPECT_FALSE(Vessik_Point(-5, -5, -5).IsInTol(p, 0.001));
}

TEST(Point, RotScaAbsWithoutParentCopiesOnlyCoordinates) {
  Vessik_Point p(1, 2, 3);
  p.Bulge = 0.5;
  p.Valid = true;
  Vessik_Point r = p.rot_sca_abs(nullptr);
  EXPECT_EQ(r.X, 1);
  EXPECT_EQ(r.Y, 2);
  EXPECT_EQ(r.Z, 3);
  EXPECT_EQ(r.Bulge, 0);
  EXPECT_FALSE(r.Valid);
}

TEST(Point, RotScaAbsThroughOneParent) {
  Vessik_Insert ins;
  ins.XBlock(1);
  ins.YBlock(1);
  ins.ZBlock(1);
  ins.XScale(2);
  ins.YScale(2);
  ins.ZScale(2);
  ins.Rotation(90);
  ins.X(10);
  Vessik_Point r = Vessik_Point(2, 1, 3).rot_sca_abs(&ins);
  EXPECT_NEAR(r.X, 10, 1e-12);
  EXPECT_NEAR(r.Y, 2, 1e-12);
  EXPECT_EQ(r.Z, 4);
}

TEST(Point, RotScaAbsThroughTwoParentsInnermostFirst) {
  Vessik_Insert outer;
  outer.X(100);
  outer.XScale(3);
  Vessik_Insert inner;
  inner.Parent(&outer);
  inner.X(1);
  inner.YScale(2);
  Vessik_Point r = Vessik_Point(1, 1, 0).rot_sca_abs(&inner);
  // Inner: (1 + 1, 2); outer: (100 + 6, 2).
  EXPECT_EQ(r.X, 106);
  EXPECT_EQ(r.Y, 2);
}

TEST(Point, ZeroXScaleCollapsesX) {
  Vessik_Insert ins;
  ins.XScale(0);
  Vessik_Point r = Vessik_Point(5, 6, 7).rot_sca_abs(&ins);
  EXPECT_EQ(r.X, 0);
  EXPECT_EQ(r.Y, 6);
}

TEST(Point, ChainWalks) {
  Vessik_Insert outer;
  outer.Rotation(30);
  outer.XScale(-2);
  outer.YScale(3);
  outer.ZScale(4);
  Vessik_Insert inner;
  inner.Parent(&outer);
  inner.Rotation(60);
  inner.XScale(5);
  EXPECT_EQ(AbsRotation(350, &inner), 440);
  EXPECT_EQ(AbsXScale(2, &inner), -20);
  double sx, sy, sz;
  AbsScales(&inner, sx, sy, sz);
  EXPECT_EQ(sx, -10);
  EXPECT_EQ(sy, 3);
  EXPECT_EQ(sz, 4);
  AbsScales(nullptr, sx, sy, sz);
  EXPECT_EQ(sx, 1);
  EXPECT_EQ(sz, 1);
}

// The plain loop that AddTurnsUntilPositive stands for.
double PlainAddTurns(double v) {
  while (!(v > 0)) {
    double n = v + 360;
    if (std::isnan(n) || n == v) break;
    v = n;
  }
  return v;
}

TEST(AddTurns, SmallValues) {
  EXPECT_EQ(AddTurnsUntilPositive(-30), 330);
  EXPECT_EQ(AddTurnsUntilPositive(0), 360);
  EXPECT_EQ(AddTurnsUntilPositive(-360), 360);
  EXPECT_EQ(AddTurnsUntilPositive(10), 10);
  EXPECT_EQ(AddTurnsUntilPositive(-720.5), 359.5);
}

TEST(AddTurns, MatchesThePlainLoop) {
  std::mt19937_64 rng(42);
  std::uniform_real_distribution<double> frac(-1, 0);
  for (double scale : {1e3, 1e5, 1e7, 3e8}) {
    for (int k = 0; k < 200; ++k) {
      double v = frac(rng) * scale;
      EXPECT_EQ(AddTurnsUntilPositive(v), PlainAddTurns(v)) << v;
    }
  }
  EXPECT_EQ(AddTurnsUntilPositive(-0.1), PlainAddTurns(-0.1));
  EXPECT_EQ(AddTurnsUntilPositive(-1e-300), PlainAddTurns(-1e-300));
}

TEST(AddTurns, EndsForHugeAndSpecialValues) {
  // 360 no longer counts beside these: the value stays.
  EXPECT_EQ(AddTurnsUntilPositive(-1e300), -1e300);
  EXPECT_EQ(AddTurnsUntilPositive(-INFINITY), -INFINITY);
  EXPECT_TRUE(std::isnan(AddTurnsUntilPositive(NAN)));
  // Large angles where 360 still counts end quickly and land in (0, 360].
  for (double v : {-1e15, -1.5e16, -7e16, -1e18}) {
    double r = AddTurnsUntilPositive(v);
    EXPECT_GT(r, 0) << v;
    EXPECT_LE(r, 360) << v;
  }
  // Where every sum is exact (integers whose spacing divides 360) the result is the
  // remainder by 360: 1e15 = 280 (mod 360), as 1e15 is a multiple of 40 and 1 more
  // than a multiple of 9; so -1e15 gives 80, -1.5e16 = -15 × 280 = -4200 gives 120
  // and -7e16 = -70 × 280 = -19600 gives 200. (At 1.5e16 the spacing is 2 and at
  // 7e16 it is 8, both dividing 360.)
  EXPECT_EQ(AddTurnsUntilPositive(-1e15), 80);
  EXPECT_EQ(AddTurnsUntilPositive(-1.5e16), 120);
  EXPECT_EQ(AddTurnsUntilPositive(-7e16), 200);
  // At 1e18 the spacing is 128 and each addition rounds: 360 becomes 384 there and
  // in the range below (spacing 64), 352 at spacing 32 and, on the tie of 22.5
  // spacings of 16, 352 or 368 to the even neighbour. Followed range by range, the
  // plain loop ends at 272.
  EXPECT_EQ(AddTurnsUntilPositive(-1e18), 272);
}

}  // namespace
}  // namespace vessik
