#include <gtest/gtest.h>

#include <cstring>
#include <limits>

#include "entities/Vessik_Insert.h"
#include "geometry/Vessik_ArcGeo.h"
#include "geometry/Vessik_Math.h"
#include "support/TestSupport.h"

namespace vessik {
namespace {

double Ext(double sa, double ea, double dir) {
  Vessik_ArcGeo g;
  g.SA = sa;
  g.EA = ea;
  g.R = 2;
  g.Init(0, 0, nullptr, dir);
  return g.Ext;
}

TEST(ArcGeo, QuarterCounterClockwise) {
  EXPECT_DOUBLE_EQ(Ext(0, Pi / 2, 1), Pi / 2);
}

TEST(ArcGeo, QuarterClockwiseGoesTheLongWay) {
  EXPECT_DOUBLE_EQ(Ext(0, Pi / 2, -1), -3 * Pi / 2);
  EXPECT_DOUBLE_EQ(Ext(Pi / 2, 0, -1), -Pi / 2);
}

TEST(ArcGeo, HalfTurnTieGoesToZero) {
  EXPECT_EQ(Ext(0, Pi, 1), -Pi);
}

TEST(ArcGeo, LongCounterClockwiseGetsNegativeComplement) {
  Vessik_ArcGeo g;
  g.SA = 0;
  g.EA = 3 * Pi / 2;
  g.R = 2;
  g.Init(0, 0, nullptr, 1);
  EXPECT_DOUBLE_EQ(g.Ext, -Pi / 2);
  EXPECT_DOUBLE_EQ(g.length, Pi / 2 * 2);
}

TEST(ArcGeo, CoincidentEndsAreAFullPositiveTurn) {
  EXPECT_EQ(Ext(1, 1, 1), 6.28318530717958);
  EXPECT_EQ(Ext(1, 1, -1), 6.28318530717958);
}

TEST(ArcGeo, DirectionZeroIsClockwise) {
  EXPECT_DOUBLE_EQ(Ext(0, Pi / 2, 0), -3 * Pi / 2);
  Vessik_ArcGeo g;
  g.SA = 0;
  g.EA = Pi / 2;
  g.Init(0, 0, nullptr, 0);
  Vessik_Arc a = g.GenerateArc();
  EXPECT_DOUBLE_EQ(a.SA, 90);
  EXPECT_EQ(a.EA, 0);
}

TEST(ArcGeo, InitStoresFields) {
  Vessik_ArcGeo g;
  auto color = std::make_shared<Vessik_Color>();
  g.R = 3;
  g.Init(4, 5, color, -0.5);
  EXPECT_EQ(g.Id, 4);
  EXPECT_EQ(g.Layer, 5);
  EXPECT_EQ(g.Color, color);
  EXPECT_EQ(g.Dir, -0.5);
  EXPECT_EQ(g.length, 6.28318530717958 * 3);
}

TEST(ArcGeo, ZeroRadiusHasZeroLength) {
  Vessik_ArcGeo g;
  g.SA = 0;
  g.EA = 1;
  g.Init(0, 0, nullptr, 1);
  EXPECT_EQ(g.length, 0);
}

TEST(ArcGeo, GenerateArcAngles) {
  Vessik_ArcGeo g;
  g.O = Vessik_Point(1, 2, 3);
  g.R = 4;
  g.SA = -Pi / 2;
  g.EA = Pi / 2;
  g.Init(9, 1, nullptr, 1);
  Vessik_Arc a = g.GenerateArc();
  EXPECT_DOUBLE_EQ(a.SA, 270);
  EXPECT_DOUBLE_EQ(a.EA, 90);
  EXPECT_EQ(a.CX, 1);
  EXPECT_EQ(a.CY, 2);
  EXPECT_EQ(a.CZ, 0);
  EXPECT_EQ(a.R, 4);
  EXPECT_EQ(a.Id, 9);
  EXPECT_EQ(a.Layer, 1);
  EXPECT_EQ(a.ExtrZ, 1);
  EXPECT_EQ(a.ArcMaximumDeviationFactor, 0);
  g.Dir = -1;
  a = g.GenerateArc();
  EXPECT_DOUBLE_EQ(a.SA, 90);
  EXPECT_DOUBLE_EQ(a.EA, 270);
}

TEST(ArcGeo, SaaAndEaaNormalise) {
  Vessik_ArcGeo g;
  g.SA = -Pi / 2;
  g.EA = 2 * Pi;
  EXPECT_DOUBLE_EQ(g.SAA(), 270);
  EXPECT_NEAR(g.EAA(), 0, 1e-9);
}

TEST(ArcGeo, ReadAndEntityInit) {
  Vessik_ArcGeo g;
  Vessik_Layers layers;
  EXPECT_EQ(g.Vessik_IEntity_Read(3, layers), 0);
  g.Vessik_IEntity_Init(nullptr);
  EXPECT_EQ(g.Layer, -1);
}

TEST(ArcGeo, PrintsThroughTheArcWithItsParent) {
  Vessik_Insert ins;
  ins.X(10);
  ins.Z(5);
  Vessik_ArcGeo g;
  g.O = Vessik_Point(1, 0, 9);
  g.R = 1;
  g.SA = 0;
  g.EA = Pi / 2;
  g.Vessik_IEntity_Parent(&ins);
  g.Init(3, -1, nullptr, 1);
  Vessik_Layers layers;
  // O.Z is not read; the block chain then raises the arc's centre to Z 5.
  EXPECT_EQ(g.Vessik_IEntity_ToString(layers),
            "3\t66\tNoName\t-1\t16777215\t0\t0\t0\t0\t0\t0\t11\t0\t5\t1\t0\t90\t\r\n");
}

TEST(ArcGeo, NonUniformParentCutsWithOneDegreeSteps) {
  Vessik_Insert ins;
  ins.XScale(2);
  Vessik_ArcGeo g;
  g.R = 1;
  g.SA = 0;
  g.EA = Pi / 2;
  g.Vessik_IEntity_Parent(&ins);
  g.Init(0, -1, nullptr, 1);
  Vessik_Layers layers;
  // The settings of a generated arc stay 0: steps of one degree.
  EXPECT_EQ(test::Records(g.Vessik_IEntity_ToString(layers)).size(), 90u);
}

TEST(ArcGeo, SweepIsTheExtOfInit) {
  const double angles[] = {0, 1, -1, Pi / 2, Pi, -Pi, 3 * Pi / 2, 2.9, -3.1, 1e-17, 6.3};
  for (double sa : angles) {
    for (double ea : angles) {
      for (double dir : {1.0, -1.0, 0.0}) {
        const double sweep = Vessik_ArcGeo::Sweep(sa, ea, dir);
        const double ext = Ext(sa, ea, dir);
        EXPECT_EQ(std::memcmp(&sweep, &ext, sizeof sweep), 0) << sa << " " << ea << " " << dir;
      }
    }
  }
}

TEST(ArcGeo, SweepOfAngleThatIsNotANumberOverflowsAsInit) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  EXPECT_EQ(test::FailureNumber([&] { Vessik_ArcGeo::Sweep(nan, 0, 1); }), 6);
  EXPECT_EQ(test::FailureNumber([&] { Vessik_ArcGeo::Sweep(0, nan, -1); }), 6);
  EXPECT_EQ(test::FailureNumber([&] { Ext(nan, 0, 1); }), 6);
  EXPECT_EQ(test::FailureNumber([&] { Ext(0, nan, -1); }), 6);
}

}  // namespace
}  // namespace vessik
