#include <gtest/gtest.h>

#include <cstring>

#include "geometry/Vessik_Aaa.h"
#include "parser/Vessik_Error.h"

namespace vessik {
namespace {

Vessik_Point Trans(const Vessik_Point& p, const Vessik_Point& n) {
  Vessik_Aaa aaa;
  Vessik_Point o(99, 99, 99);
  aaa.trans(o, p, n);
  return o;
}

void ExpectPoint(const Vessik_Point& p, double x, double y, double z) {
  EXPECT_EQ(p.X, x);
  EXPECT_EQ(p.Y, y);
  EXPECT_EQ(p.Z, z);
}

TEST(Aaa, CommonDirections) {
  const Vessik_Point p(2, 3, 5);
  ExpectPoint(Trans(p, {0, 0, 1}), 2, 3, 5);
  ExpectPoint(Trans(p, {0, 0, -1}), -2, 3, -5);
  ExpectPoint(Trans(p, {1, 0, 0}), 5, 2, 3);
  ExpectPoint(Trans(p, {-1, 0, 0}), -5, -2, 3);
  ExpectPoint(Trans(p, {0, 1, 0}), -2, 5, 3);
  ExpectPoint(Trans(p, {0, -1, 0}), 2, -5, 3);
}

TEST(Aaa, AxesOfCommonDirections) {
  Vessik_Aaa aaa;
  Vessik_Aaa::Matrix m;
  aaa.matrix_from_normal(Vessik_Point(0, 0, -1), m);
  // Column 0 is the object X axis, column 1 the Y axis, column 2 the Z axis.
  EXPECT_EQ(m[0][0], -1);
  EXPECT_EQ(m[1][0], 0);
  EXPECT_EQ(m[2][0], 0);
  EXPECT_EQ(m[0][1], 0);
  EXPECT_EQ(m[1][1], 1);
  EXPECT_EQ(m[2][1], 0);
  EXPECT_EQ(m[2][2], -1);
  EXPECT_EQ(m[3][3], 1);
  EXPECT_EQ(m[0][3], 0);
}

TEST(Aaa, ThresholdJumpAtOneSixtyFourth) {
  // 0.015625 is not below the threshold: the world Z axis is the helper, and the
  // object X axis is (0, 1, 0).
  Vessik_Aaa aaa;
  Vessik_Point ax;
  aaa.axis_x(ax, Vessik_Point(0.015625, 0, 1));
  ExpectPoint(ax, 0, 1, 0);
  // Just below it the world Y axis is the helper, and X stays nearly (1, 0, 0).
  aaa.axis_x(ax, Vessik_Point(0.0156, 0, 1));
  EXPECT_GT(ax.X, 0.99);
  EXPECT_EQ(ax.Y, 0);
}

TEST(Aaa, OneObjectForManyPointsAndDirectionsGivesWhatFreshOnesGive) {
  // The matrix kept for the last direction: a zero's sign and a failing direction
  // in between change nothing for the others.
  const Vessik_Point directions[] = {{0, 0, 1}, {0.3, -0.4, 0.8}, {0, 0, 1},  {-0.0, 0, 1},
                                     {0, 0, 0}, {0.3, -0.4, 0.8}, {-1, 0, 0}, {0.01, 0.001, -1}};
  const Vessik_Point p(2.5, -3.25, 7);
  Vessik_Aaa shared;
  for (const Vessik_Point& n : directions) {
    for (int repeat = 0; repeat < 2; ++repeat) {
      Vessik_Point fromShared;
      int32_t sharedFailure = 0;
      try {
        shared.trans(fromShared, p, n);
      } catch (const Vessik_Error& e) {
        sharedFailure = e.Number();
      }
      if (n.X == 0 && n.Y == 0 && n.Z == 0) {
        EXPECT_EQ(sharedFailure, 11);
        continue;
      }
      ASSERT_EQ(sharedFailure, 0);
      const Vessik_Point fresh = Trans(p, n);
      EXPECT_EQ(std::memcmp(&fromShared.X, &fresh.X, sizeof(double)), 0);
      EXPECT_EQ(std::memcmp(&fromShared.Y, &fresh.Y, sizeof(double)), 0);
      EXPECT_EQ(std::memcmp(&fromShared.Z, &fresh.Z, sizeof(double)), 0);
    }
  }
}

TEST(Aaa, ZAxisKeepsItsLength) {
  ExpectPoint(Trans({1, 1, 1}, {0, 0, 2}), 1, 1, 2);
}

TEST(Aaa, SameObjectInAndOut) {
  Vessik_Aaa aaa;
  Vessik_Point p(2, 3, 5);
  aaa.trans(p, p, Vessik_Point(1, 0, 0));
  ExpectPoint(p, 5, 2, 3);
}

TEST(Aaa, ZeroLengthAxisRaisesDivisionByZero) {
  for (const Vessik_Point& n : {Vessik_Point(0, 0, 0), Vessik_Point(0, 0.01, 0)}) {
    try {
      Trans({1, 2, 3}, n);
      FAIL() << "no failure";
    } catch (const Vessik_Error& e) {
      EXPECT_EQ(e.Number(), 11);
      EXPECT_EQ(e.Description(), "Division by zero");
      EXPECT_EQ(e.Source(), "");
    }
  }
}

TEST(Aaa, Helpers) {
  Vessik_Point c;
  Vessik_Aaa::vector_cross(c, Vessik_Point(1, 0, 0), Vessik_Point(0, 1, 0));
  ExpectPoint(c, 0, 0, 1);
  EXPECT_EQ(Vessik_Aaa::vector_length(Vessik_Point(3, 4, 12)), 13);
  Vessik_Point d;
  Vessik_Aaa::vector_normalize(d, Vessik_Point(0, 0, 4));
  ExpectPoint(d, 0, 0, 1);
  Vessik_Aaa::vector_scale(d, Vessik_Point(1, 2, 3), 2);
  ExpectPoint(d, 2, 4, 6);
  Vessik_Aaa::vector_copy(d, Vessik_Point(7, 8, 9));
  ExpectPoint(d, 7, 8, 9);
  Vessik_Aaa::Matrix m;
  Vessik_Aaa::matrix_set3(m, 1, 2, 3, 4, 5, 6, 7, 8, 9);
  EXPECT_EQ(m[0][0], 1);
  EXPECT_EQ(m[1][0], 2);
  EXPECT_EQ(m[2][0], 3);
  EXPECT_EQ(m[0][1], 4);
  EXPECT_EQ(m[2][2], 9);
  EXPECT_EQ(m[3][0], 0);
  EXPECT_EQ(m[3][3], 1);
  Vessik_Aaa::matrix_identity(m);
  EXPECT_EQ(m[1][1], 1);
  EXPECT_EQ(m[1][2], 0);
}

}  // namespace
}  // namespace vessik
