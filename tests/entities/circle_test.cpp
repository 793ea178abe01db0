#include <gtest/gtest.h>

#include "EntityTestUtil.h"
#include "entities/Vessik_Circle.h"

namespace vessik {
namespace {

using test::Pairs;
using test::ParseDrawing;
using test::Records;

Pairs CirclePairs(double cx, double cy, double cz, double r, const Pairs& extra = {}) {
  Pairs p{{0, "CIRCLE"},
          {10, DoubleToText(cx)},
          {20, DoubleToText(cy)},
          {30, DoubleToText(cz)},
          {40, DoubleToText(r)}};
  p.insert(p.end(), extra.begin(), extra.end());
  return p;
}

std::string InBlock(const Pairs& content, double sx, double sy, double sz, double x = 0,
                    double y = 0, double z = 0) {
  return ParseDrawing({{0, "INSERT"},
                       {2, "B"},
                       {10, DoubleToText(x)},
                       {20, DoubleToText(y)},
                       {30, DoubleToText(z)},
                       {41, DoubleToText(sx)},
                       {42, DoubleToText(sy)},
                       {43, DoubleToText(sz)}},
                      {{"0", 7}}, test::Block("B", content));
}

TEST(Circle, RaisedScaledBlockKeepsTheCirclesOwnZ) {
  EXPECT_EQ(InBlock(CirclePairs(1, 2, 3, 4), 2, 2, 2, 10, 20, 30),
            "0\t75\t0\t0\t16777215\t4\t16\t3\t20\t32\t3\t12\t24\t3\t8\t0\t0\t\r\n");
}

TEST(Circle, MirroringScaleKeepsACircle) {
  auto rec = Records(InBlock(CirclePairs(1, 2, 3, 4), -2, 2, 2, 10, 20, 30));
  ASSERT_EQ(rec.size(), 1u);
  EXPECT_EQ(rec[0][1], "75");
  EXPECT_EQ(rec[0][11], "8");
  EXPECT_EQ(rec[0][12], "24");
  EXPECT_EQ(rec[0][14], "8");
}

TEST(Circle, NonUniformScaleBecomesSegments) {
  auto rec = Records(InBlock(CirclePairs(0, 0, 0, 4), 2, 3, 2));
  ASSERT_GT(rec.size(), 4u);
  for (const auto& r : rec) EXPECT_EQ(r[1], "83");
  // The full arc starts and ends at angle 0: (4 × 2, 0).
  EXPECT_EQ(rec.front()[5], "8");
  EXPECT_EQ(rec.back()[8], "8");
}

TEST(Circle, ExtrusionMinusZMirrorsX) {
  auto rec = Records(ParseDrawing(CirclePairs(1, 2, 0, 1, {{230, "-1"}})));
  EXPECT_EQ(rec[0][11], "-1");
  EXPECT_EQ(rec[0][12], "2");
}

TEST(Circle, ExtrusionMinusXMirrorsY) {
  auto rec = Records(ParseDrawing(CirclePairs(1, 2, 0, 1, {{210, "-1"}, {230, "0"}})));
  EXPECT_EQ(rec[0][11], "1");
  EXPECT_EQ(rec[0][12], "-2");
}

TEST(Circle, ExtrusionPlusYChangesNothing) {
  EXPECT_EQ(ParseDrawing(CirclePairs(1, 2, 5, 1, {{220, "1"}, {230, "0"}})),
            "0\t75\tNoName\t0\t16777215\t0\t1\t5\t2\t3\t5\t1\t2\t5\t1\t0\t0\t\r\n");
}

TEST(Circle, SlantedExtrusionBecomesTransformedSegments) {
  auto rec = Records(ParseDrawing(CirclePairs(0, 0, 0, 1, {{210, "0.6"}, {230, "0.8"}})));
  ASSERT_GT(rec.size(), 4u);
  EXPECT_EQ(rec[0][1], "83");
  // Angle 0 of the object frame is the object X axis (0, 1, 0).
  EXPECT_EQ(rec[0][5], "0");
  EXPECT_EQ(rec[0][6], "1");
}

TEST(Circle, NegativeRadiusPrintsItsAbsoluteValue) {
  auto rec = Records(ParseDrawing(CirclePairs(0, 0, 0, -3)));
  EXPECT_EQ(rec[0][14], "3");
  EXPECT_EQ(rec[0][5], "-3");
}

TEST(Circle, CircleToArcCarriesEverything) {
  Vessik_CommonData d = test::TestData();
  Vessik_Circle c;
  c.CX = 1;
  c.CY = 2;
  c.CZ = 3;
  c.R = 4;
  c.ExtrX = 0.6;
  c.ExtrZ = 0.8;
  c.Id = 9;
  c.Layer = 2;
  c.Color = std::make_shared<Vessik_Color>();
  c.Vessik_IEntity_Init(&d);
  Vessik_Arc a = c.Circle2Arc();
  EXPECT_EQ(a.CX, 1);
  EXPECT_EQ(a.CZ, 3);
  EXPECT_EQ(a.R, 4);
  EXPECT_EQ(a.SA, 0);
  EXPECT_EQ(a.EA, 360);
  EXPECT_EQ(a.ExtrX, 0.6);
  EXPECT_EQ(a.Id, 9);
  EXPECT_EQ(a.Layer, 2);
  EXPECT_EQ(a.Color, c.Color);
  EXPECT_EQ(a.ArcMaximumDeviationFactor, 0.01);
}

TEST(Circle, RecordLayout) {
  EXPECT_EQ(Vessik_Circle::ToString(1, "A", 2, 3, 10, 20, 30, 0.5),
            "1\t75\tA\t2\t3\t9.5\t19.5\t30\t10.5\t20.5\t30\t10\t20\t30\t0.5\t0\t0\t\r\n");
}

}  // namespace
}  // namespace vessik

namespace vessik {
namespace {

TEST(Circle, ExtrusionMinusYKeepsTheOwnZ) {
  // (0, -1, 0) would mirror Z, but a circle record carries the circle's own Z.
  EXPECT_EQ(ParseDrawing(CirclePairs(3, 4, 5, 2, {{220, "-1"}, {230, "0"}})),
            "0\t75\tNoName\t0\t16777215\t1\t2\t5\t5\t6\t5\t3\t4\t5\t2\t0\t0\t\r\n");
}

TEST(Circle, ExtrusionMinusXMirrorsYWholeRecord) {
  // Centre (3, -4): box from (1, -6) to (5, -2), at the circle's own Z 5.
  EXPECT_EQ(ParseDrawing(CirclePairs(3, 4, 5, 2, {{210, "-1"}, {230, "0"}})),
            "0\t75\tNoName\t0\t16777215\t1\t-6\t5\t5\t-2\t5\t3\t-4\t5\t2\t0\t0\t\r\n");
}

TEST(Circle, MirroringComesAfterTheBlockChain) {
  // Placed at (10, 20, 30) the centre is (13, 24), and then mirrored: (13, -24) for
  // (-1, 0, 0), and (-13, 24) for (0, 0, -1). Z stays the circle's own.
  EXPECT_EQ(InBlock(CirclePairs(3, 4, 5, 2, {{210, "-1"}, {230, "0"}}), 1, 1, 1, 10, 20, 30),
            "0\t75\t0\t0\t16777215\t11\t-26\t5\t15\t-22\t5\t13\t-24\t5\t2\t0\t0\t\r\n");
  EXPECT_EQ(InBlock(CirclePairs(3, 4, 5, 2, {{230, "-1"}}), 1, 1, 1, 10, 20, 30),
            "0\t75\t0\t0\t16777215\t-15\t22\t5\t-11\t26\t5\t-13\t24\t5\t2\t0\t0\t\r\n");
}

}  // namespace
}  // namespace vessik
