#include <gtest/gtest.h>

#include "entities/Vessik_Insert.h"
#include "geometry/Vessik_LineGeo.h"
#include "support/TestSupport.h"

namespace vessik {
namespace {

TEST(LineGeo, InitSetsFieldsAndLength) {
  Vessik_LineGeo g;
  g.Pa = Vessik_Point(0, 0, 0);
  g.Pe = Vessik_Point(3, 4, 0);
  auto color = std::make_shared<Vessik_Color>();
  g.Init(7, 2, color);
  EXPECT_EQ(g.Id, 7);
  EXPECT_EQ(g.Layer, 2);
  EXPECT_EQ(g.Color, color);
  EXPECT_EQ(g.length, 5);
}

TEST(LineGeo, DegenerateSegment) {
  Vessik_LineGeo g;
  g.Pa = Vessik_Point(1, 1, 1);
  g.Pe = Vessik_Point(1, 1, 1);
  g.Init(0, 0, nullptr);
  EXPECT_EQ(g.length, 0);
  EXPECT_EQ(g.distance2point(Vessik_Point(1, 1, 1)), 10000000000.0);
  EXPECT_EQ(g.distance2point(Vessik_Point(5, 0, 0)), 1E+10);
}

TEST(LineGeo, DistanceToCarrierLine) {
  Vessik_LineGeo g;
  g.Pa = Vessik_Point(0, 0, 0);
  g.Pe = Vessik_Point(10, 0, 0);
  EXPECT_NEAR(g.distance2point(Vessik_Point(3, 4, 0)), 4, 1e-12);
  // Beyond Pe but on the carrier: 0, not the distance to the segment.
  EXPECT_EQ(g.distance2point(Vessik_Point(20, 0, 0)), 0);
}

TEST(LineGeo, ReadReturnsZero) {
  Vessik_LineGeo g;
  Vessik_Layers layers;
  EXPECT_EQ(g.Vessik_IEntity_Read(5, layers), 0);
  EXPECT_EQ(g.Id, 0);
  EXPECT_EQ(g.Layer, 0);
}

TEST(LineGeo, EntityInitSetsLayerMinusOne) {
  Vessik_LineGeo g;
  g.Vessik_IEntity_Init(nullptr);
  EXPECT_EQ(g.Layer, -1);
}

TEST(LineGeo, NoLayerPrintsNoNameWhite) {
  Vessik_LineGeo g;
  g.Pa = Vessik_Point(1, 2, 7);
  g.Pe = Vessik_Point(3, 4, 9);
  g.Init(5, -1, nullptr);
  Vessik_Layers layers{std::make_shared<Vessik_Layer>()};
  layers[0]->Name.assign(1, '0');
  // Z of the ends is dropped with no parent too.
  EXPECT_EQ(g.Vessik_IEntity_ToString(layers),
            "5\t83\tNoName\t-1\t16777215\t1\t2\t0\t3\t4\t0\t0\t0\t0\t0\t0\t0\t\r\n");
  Vessik_Layers none;
  g.Layer = 0;
  EXPECT_EQ(test::Records(g.Vessik_IEntity_ToString(none))[0][2], "NoName");
  EXPECT_EQ(test::Records(g.Vessik_IEntity_ToString(none))[0][4], "16777215");
}

TEST(LineGeo, RaisedBlockStillWritesZZero) {
  Vessik_Insert ins;
  ins.X(10);
  ins.Z(100);
  Vessik_LineGeo g;
  g.Pa = Vessik_Point(1, 2, 3);
  g.Pe = Vessik_Point(3, 4, 5);
  g.Vessik_IEntity_Parent(&ins);
  g.Init(1, -1, nullptr);
  Vessik_Line l = g.GenerateLine();
  EXPECT_EQ(l.X1, 11);
  EXPECT_EQ(l.Y1, 2);
  EXPECT_EQ(l.Z1, 0);
  EXPECT_EQ(l.X2, 13);
  EXPECT_EQ(l.Z2, 0);
  EXPECT_EQ(l.Id, 0);
  EXPECT_EQ(l.Vessik_IEntity_Parent(), nullptr);
  Vessik_Layers layers;
  auto rec = test::Records(g.Vessik_IEntity_ToString(layers));
  ASSERT_EQ(rec.size(), 1u);
  EXPECT_EQ(rec[0][7], "0");
  EXPECT_EQ(rec[0][10], "0");
}

}  // namespace
}  // namespace vessik
