#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <vector>

#include "geometry/Vessik_ArcGeo.h"
#include "geometry/Vessik_LineGeo.h"
#include "geometry/Vessik_Math.h"
#include "parser/Vessik_Error.h"
#include "spline/Vessik_BiArc.h"

namespace vessik {
namespace {

Vessik_BiArc Make(Vessik_Point a, Vessik_Point b, double ta, double tb) {
  Vessik_BiArc B;
  B.Pa = a;
  B.Pb = b;
  B.Tana = ta;
  B.Tanb = tb;
  B.Init(7, 0, nullptr);
  return B;
}

TEST(BiArc, EqualPointsAreZero) {
  Vessik_BiArc B = Make({1, 1, 0}, {1, 1, 0}, 0.3, 1.2);
  EXPECT_EQ(B.Shape, "Zero");
  EXPECT_EQ(B.Geos.Count(), 0);
  Vessik_Layers layers;
  EXPECT_EQ(B.ToString(layers), "");
  EXPECT_EQ(B.get_biarc_fitting_error({5, 5, 0}), 0.0);
  EXPECT_TRUE(B.Valid);
}

TEST(BiArc, TangentsAlongChordGiveLine) {
  Vessik_BiArc B = Make({0, 0, 0}, {10, 0, 0}, 0, 0);
  EXPECT_EQ(B.Shape, "LineGeo");
  ASSERT_EQ(B.Geos.Count(), 1);
  ASSERT_NE(B.Geos.Item(1).Line(), nullptr);
  EXPECT_EQ(B.Geos.Item(1).Line()->length, 10.0);
  EXPECT_EQ(B.l, 10.0);
  EXPECT_EQ(B.Teta, 0.0);
  // A line has no second item: the failing read gives 0, however far the point.
  EXPECT_EQ(B.get_biarc_fitting_error({5, 100, 0}), 0.0);
}

TEST(BiArc, TinySameSignAnglesStayCShaped) {
  Vessik_BiArc B = Make({0, 0, 0}, {10, 0, 0}, 0.00005, -0.00005);
  EXPECT_EQ(B.Shape, "C-shaped");
  ASSERT_EQ(B.Geos.Count(), 2);
  EXPECT_NEAR(B.Geos.Item(1).Arc()->R, 100000, 1);
  EXPECT_NEAR(B.Geos.Item(2).Arc()->R, 100000, 1);
}

TEST(BiArc, HugeRadiiBecomeLine) {
  Vessik_BiArc B = Make({0, 0, 0}, {10, 0, 0}, 0.000005, -0.000005);
  EXPECT_EQ(B.Shape, "LineGeo");
  ASSERT_EQ(B.Geos.Count(), 1);
  EXPECT_NE(B.Geos.Item(1).Line(), nullptr);
  EXPECT_EQ(B.Teta, -0.000005);
}

TEST(BiArc, HalfCircleOfTwoClockwiseQuarters) {
  Vessik_BiArc B = Make({0, 0, 0}, {2, 0, 0}, Pi / 2, -Pi / 2);
  EXPECT_EQ(B.Shape, "C-shaped");
  EXPECT_DOUBLE_EQ(B.Teta, -Pi / 2);
  ASSERT_EQ(B.Geos.Count(), 2);
  const Vessik_ArcGeo& A1 = *B.Geos.Item(1).Arc();
  const Vessik_ArcGeo& A2 = *B.Geos.Item(2).Arc();
  EXPECT_NEAR(A1.R, 1, 1e-12);
  EXPECT_NEAR(A2.R, 1, 1e-12);
  EXPECT_NEAR(A1.Pe.X, 1, 1e-12);
  EXPECT_NEAR(A1.Pe.Y, 1, 1e-12);
  EXPECT_EQ(A2.Pa.X, A1.Pe.X);
  EXPECT_EQ(A2.Pa.Y, A1.Pe.Y);
  EXPECT_NEAR(A1.O.X, 1, 1e-12);
  EXPECT_NEAR(A1.O.Y, 0, 1e-12);
  EXPECT_LE(A1.Dir, 0);
  EXPECT_LE(A2.Dir, 0);
  EXPECT_NEAR(A1.Dir, -Pi / 2, 1e-12);
  EXPECT_NEAR(A1.Ext, -Pi / 2, 1e-12);
}

TEST(BiArc, SShapedExample) {
  Vessik_BiArc B = Make({0, 0, 0}, {2, 0, 0}, 1, 0.5);
  EXPECT_EQ(B.Shape, "S-shaped");
  EXPECT_EQ(B.Teta, -1.75);
  ASSERT_EQ(B.Geos.Count(), 2);
  const Vessik_ArcGeo& A1 = *B.Geos.Item(1).Arc();
  const Vessik_ArcGeo& A2 = *B.Geos.Item(2).Arc();
  EXPECT_NEAR(A1.R, 0.6566, 0.0001);
  EXPECT_NEAR(A2.R, 0.8613, 0.0001);
  EXPECT_NEAR(A1.Pe.X, 1, 0.0001);
  EXPECT_NEAR(A1.Pe.Y, 0.1257, 0.0001);
  EXPECT_LE(A1.Dir, 0);
  EXPECT_GT(A2.Dir, 0);
}

TEST(BiArc, SymmetricSIsALine) {
  Vessik_BiArc B = Make({0, 0, 0}, {2, 0, 0}, 1, 1);
  EXPECT_EQ(B.Shape, "LineGeo");
  EXPECT_EQ(B.Teta, (3 * -1.0 - 1.0) / 2);
  ASSERT_EQ(B.Geos.Count(), 1);
  EXPECT_NE(B.Geos.Item(1).Line(), nullptr);
}

TEST(BiArc, TinyFirstRadiusStillBuildsTwoArcs) {
  // S-shape whose first arc nearly vanishes: only both radii small drop it.
  Vessik_BiArc B = Make({0, 0, 0}, {2, 0, 0}, 0.0003, -0.5);
  ASSERT_EQ(B.Geos.Count(), 2);
  const double r1 = B.Geos.Item(1).Arc()->R;
  const double r2 = B.Geos.Item(2).Arc()->R;
  EXPECT_LT(std::min(r1, r2), 0.01);
  EXPECT_GT(std::max(r1, r2), 0.5);
}

TEST(BiArc, BothRadiiTinyIsZero) {
  Vessik_BiArc B = Make({0, 0, 0}, {0.0001, 0, 0}, Pi / 2, -Pi / 2);
  EXPECT_EQ(B.Shape, "Zero");
  EXPECT_EQ(B.Geos.Count(), 0);
}

TEST(BiArc, InvalidWritesNothingButKeepsGeos) {
  Vessik_BiArc B = Make({0, 0, 0}, {2, 0, 0}, Pi / 2, -Pi / 2);
  B.Valid = false;
  Vessik_Layers layers;
  EXPECT_EQ(B.ToString(layers), "");
  EXPECT_EQ(B.Geos.Count(), 2);
  B.Valid = true;
  EXPECT_NE(B.ToString(layers), "");
}

TEST(BiArc, FittingErrorOnAndOffTheArc) {
  Vessik_BiArc B = Make({0, 0, 0}, {2, 0, 0}, Pi / 2, -Pi / 2);
  // On the first quarter (centre (1, 0), radius 1).
  const double c = std::cos(2.5);
  const double s = std::sin(2.5);
  EXPECT_NEAR(B.get_biarc_fitting_error({1 + c, s, 0}), 0, 1e-12);
  EXPECT_NEAR(B.get_biarc_fitting_error({1 + 1.1 * c, 1.1 * s, 0}), 0.1, 1e-12);
}

TEST(BiArc, NotANumberTangentIsLine) {
  Vessik_BiArc B = Make({0, 0, 0}, {2, 0, 0}, std::numeric_limits<double>::quiet_NaN(), 0);
  EXPECT_EQ(B.Shape, "LineGeo");
  EXPECT_EQ(B.Geos.Count(), 1);
}

TEST(BiArc, HugeTangentDoesNotHang) {
  // Adding 2 Pi no longer changes an angle of 1e300: the normalising loop stops.
  Vessik_BiArc B = Make({0, 0, 0}, {2, 0, 0}, 1e300, 0);
  EXPECT_EQ(B.Shape, "S-shaped");
  EXPECT_EQ(B.Teta, (3 * -1e300 - 0.0) / 2);
}

TEST(BiArc, ReleaseClearsParents) {
  Vessik_BiArc B;
  B.Pa = {0, 0, 0};
  B.Pb = {2, 0, 0};
  B.Tana = Pi / 2;
  B.Tanb = -Pi / 2;
  B.Init(1, 2, nullptr);
  B.Release();
  EXPECT_EQ(B.Parent, nullptr);
  EXPECT_EQ(B.Geos.Count(), 2);
}

// Bit for bit, so that two not-a-numbers count as equal and 0 and -0 do not.
bool Same(double a, double b) {
  return std::memcmp(&a, &b, sizeof a) == 0;
}

// Pieces of every kind: nothing, lines, flat arcs, C and S shapes, tiny and huge
// chords, tangents that are not numbers or far outside one turn.
std::vector<Vessik_BiArc> Pieces() {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  const double inf = std::numeric_limits<double>::infinity();
  struct In {
    Vessik_Point a, b;
    double ta, tb;
  };
  const std::vector<In> ins{
      {{1, 1, 0}, {1, 1, 0}, 0.3, 1.2},
      {{0, 0, 0}, {10, 0, 0}, 0, 0},
      {{0, 0, 0}, {10, 0, 0}, 0.00005, -0.00005},
      {{0, 0, 0}, {10, 0, 0}, 0.000005, -0.000005},
      {{0, 0, 0}, {2, 0, 0}, Pi / 2, -Pi / 2},
      {{0, 0, 0}, {2, 0, 0}, 1, 0.5},
      {{0, 0, 0}, {2, 0, 0}, 1, 1},
      {{0, 0, 0}, {2, 0, 0}, 0.0003, -0.5},
      {{0, 0, 0}, {0.0001, 0, 0}, Pi / 2, -Pi / 2},
      {{0, 0, 0}, {2, 0, 0}, nan, 0},
      {{0, 0, 0}, {2, 0, 0}, 1e300, 0},
      {{3, -2, 0}, {-1, 4, 0}, 2.5, -2.9},
      {{3, -2, 0}, {-1, 4, 0}, -7.5, 12.25},
      {{0, 1e308, 0}, {0.5, 1e308, 0}, 1.2, 2.2},
      {{0, 0, 0}, {1e-10, 0, 0}, 1, 2},
      {{0, 0, 0}, {1e300, 1e300, 0}, 0.3, 1.5},
      {{0, inf, 0}, {1, inf, 0}, 0.3, 1.5},
      {{nan, 0, 0}, {1, 0, 0}, 0.3, 1.5},
      {{-5, 7, 0}, {-5.001, 7.002, 0}, 2, 1.9},
      {{100, 100, 0}, {-100, -100, 0}, 4, 4.1},
  };
  std::vector<Vessik_BiArc> pieces;
  for (const In& in : ins) {
    Vessik_BiArc B;
    B.Pa = in.a;
    B.Pb = in.b;
    B.Tana = in.ta;
    B.Tanb = in.tb;
    pieces.push_back(B);
  }
  return pieces;
}

TEST(BiArcTrial, WorksOutWhatInitBuilds) {
  const std::vector<Vessik_Point> probes{
      {0, 0, 0},       {1, 1, 0},    {1.5, -0.3, 0}, {-2, 3, 0},  {10, 5, 0},
      {0.5, 1e308, 0}, {1e-3, 0, 0}, {-100, -99, 0}, {5, 0.2, 0}, {2, 0, 0}};
  for (const Vessik_BiArc& piece : Pieces()) {
    Vessik_BiArc built = piece;
    built.Init(3, 4, nullptr);
    Vessik_BiArc tried = piece;
    Vessik_BiArcArcs arcs;
    tried.Trial(arcs);
    SCOPED_TRACE(built.Shape + " " + std::to_string(piece.Tana) + " " + std::to_string(piece.Tanb));
    EXPECT_EQ(tried.Shape, built.Shape);
    EXPECT_TRUE(Same(tried.l, built.l));
    EXPECT_TRUE(Same(tried.Teta, built.Teta));
    // A trial builds nothing and leaves the rest as it found it.
    EXPECT_EQ(tried.Geos.Count(), 0);
    EXPECT_FALSE(tried.Valid);
    EXPECT_EQ(tried.Id, 0);
    ASSERT_EQ(arcs.Count, built.Geos.Count());
    if (arcs.Count == 2) {
      const Vessik_ArcGeo& A1 = *built.Geos.Item(1).Arc();
      const Vessik_ArcGeo& A2 = *built.Geos.Item(2).Arc();
      EXPECT_TRUE(Same(arcs.O1.X, A1.O.X) && Same(arcs.O1.Y, A1.O.Y));
      EXPECT_TRUE(Same(arcs.O2.X, A2.O.X) && Same(arcs.O2.Y, A2.O.Y));
      EXPECT_TRUE(Same(arcs.J.X, A1.Pe.X) && Same(arcs.J.Y, A1.Pe.Y));
      EXPECT_TRUE(Same(arcs.R1, A1.R) && Same(arcs.R2, A2.R));
      EXPECT_TRUE(Same(arcs.SA1, A1.SA) && Same(arcs.EA1, A1.EA));
      EXPECT_TRUE(Same(arcs.SA2, A2.SA) && Same(arcs.EA2, A2.EA));
    }
    for (const Vessik_Point& p : probes) {
      EXPECT_TRUE(Same(arcs.FittingError(p), built.get_biarc_fitting_error(p)))
          << p.X << " " << p.Y;
    }
  }
}

TEST(BiArcTrial, MissesByAnswersAsTheFittingErrorWould) {
  std::mt19937_64 random(23112026);
  std::uniform_real_distribution<double> coordinate(-3, 3);
  const double nan = std::numeric_limits<double>::quiet_NaN();
  int angleDecided = 0;
  for (const Vessik_BiArc& piece : Pieces()) {
    Vessik_BiArc tried = piece;
    Vessik_BiArcArcs arcs;
    tried.Trial(arcs);
    for (int i = 0; i < 2000; ++i) {
      const Vessik_Point p{coordinate(random), coordinate(random), 0};
      const double e = arcs.FittingError(p);
      // Limits at the error itself, on both sides of it, and odd ones.
      for (double limit : {e, std::nextafter(e, 0.0), std::nextafter(e, 1.0), 0.01, 0.0, -1.0, nan,
                           std::numeric_limits<double>::infinity()}) {
        ASSERT_EQ(arcs.MissesBy(p, limit), e >= limit) << p.X << " " << p.Y << " " << limit;
      }
      if (arcs.Count == 2) {
        const double e1 = std::abs(arcs.R1 - arcs.O1.Distance(p));
        const double e2 = std::abs(arcs.R2 - arcs.O2.Distance(p));
        if ((e1 >= 0.01) != (e2 >= 0.01)) ++angleDecided;
      }
    }
    // A point that is not a number misses nothing.
    EXPECT_FALSE(arcs.MissesBy({nan, 0, 0}, 0.01));
  }
  // The cases where the angle decides were met.
  EXPECT_GT(angleDecided, 20);
}

TEST(BiArcTrial, FailsWhereInitFails) {
  // An arc whose end angles are not numbers: its sweep is an overflow, in Init and
  // in the trial alike.
  Vessik_BiArc B;
  B.Pa = {0, 0, 0};
  B.Pb = {2, 0, 0};
  B.Tana = Pi / 2;
  B.Tanb = -Pi / 2;
  Vessik_BiArcArcs arcs;
  B.Trial(arcs);
  ASSERT_EQ(arcs.Count, 2);
  EXPECT_THROW(Vessik_ArcGeo::Sweep(std::numeric_limits<double>::quiet_NaN(), 0, 1), Vessik_Error);
}

TEST(BiArc, FittingErrorOfTwoItemsThatAreNotArcsIsNoMeasurement) {
  Vessik_BiArc B = Make({0, 0, 0}, {10, 0, 0}, 0, 0);
  B.Geos.Add(B.Geos.Item(1));
  EXPECT_EQ(B.get_biarc_fitting_error({5, 1, 0}), 1.79769313486231E+308);
}

}  // namespace
}  // namespace vessik
