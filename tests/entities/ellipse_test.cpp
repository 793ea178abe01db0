#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include "entities/Vessik_Ellipse.h"
#include "geometry/Vessik_ArcGeo.h"
#include "geometry/Vessik_LineGeo.h"
#include "geometry/Vessik_Math.h"
#include "parser/GroupPairs.h"
#include "parser/Vessik_CommonData.h"
#include "parser/Vessik_Error.h"

namespace vessik {
namespace {

Vessik_Ellipse Make(double cx2, double cy2, double ratio, double sa, double ea) {
  Vessik_Ellipse e;
  e.CX1 = 10;
  e.CY1 = 20;
  e.CX2 = cx2;
  e.CY2 = cy2;
  e.Ratio = ratio;
  e.SA = sa;
  e.EA = ea;
  e.SetBackgroundValues();
  return e;
}

TEST(Ellipse, ReadTakesItsGroupsAndStopsBeforeCodeZero) {
  GroupPairs().Assign({{5, "1F"},
                       {8, "Curves"},
                       {10, "1.5"},
                       {20, "2.5"},
                       {30, "3.5"},
                       {11, "4"},
                       {21, "0"},
                       {31, "9"},
                       {40, "0.5"},
                       {41, "0.25"},
                       {42, "1.25"},
                       {210, "0"},
                       {220, "0"},
                       {230, "-1"},
                       {62, "3"},
                       {0, "ENDSEC"}});
  Vessik_Ellipse e;
  Vessik_Layers layers;
  EXPECT_EQ(e.Vessik_IEntity_Read(0, layers), 14);
  EXPECT_EQ(e.Id, 31);
  ASSERT_EQ(layers.size(), 1u);
  EXPECT_EQ(layers[0]->Name, "Curves");
  EXPECT_EQ(e.CX1, 1.5);
  EXPECT_EQ(e.CY1, 2.5);
  EXPECT_EQ(e.CZ1, 3.5);
  EXPECT_EQ(e.CX2, 4);
  EXPECT_EQ(e.CZ2, 9);
  EXPECT_EQ(e.Ratio, 0.5);
  EXPECT_EQ(e.SA, 0.25);
  EXPECT_EQ(e.EA, 1.25);
  ASSERT_NE(e.Color, nullptr);
  EXPECT_EQ(e.Color->ColorACI(), 3);
}

TEST(Ellipse, BackgroundValues) {
  Vessik_Ellipse e = Make(0, 4, 0.5, 1, 0.5);
  EXPECT_EQ(e.AxisAngle(), Pi / 2);
  EXPECT_EQ(e.MajorRadius(), 4);
  EXPECT_EQ(e.MinorRadius(), 2);
  EXPECT_EQ(e.Ext(), -0.5);
}

TEST(Ellipse, CircleFitsWithTwoHalfCircles) {
  Vessik_Ellipse e = Make(5, 0, 1, 0, 6.28318530717958);
  e.Ellipse2Arcs(0.01);
  ASSERT_EQ(e.BiArcs().size(), 2u);
  for (const Vessik_BiArc& B : e.BiArcs()) {
    EXPECT_EQ(B.Shape, "C-shaped");
    ASSERT_EQ(B.Geos.Count(), 2);
    EXPECT_NEAR(B.Geos.Item(1).Arc()->R, 5, 1e-9);
    EXPECT_NEAR(B.Geos.Item(2).Arc()->R, 5, 1e-9);
    EXPECT_NEAR(B.Geos.Item(1).Arc()->O.X, 10, 1e-9);
    EXPECT_NEAR(B.Geos.Item(1).Arc()->O.Y, 20, 1e-9);
  }
  // Neighbouring biarcs share their joint.
  EXPECT_EQ(e.BiArcs()[0].Pb.X, e.BiArcs()[1].Pa.X);
  EXPECT_EQ(e.BiArcs()[0].Pb.Y, e.BiArcs()[1].Pa.Y);
}

TEST(Ellipse, EqualStartAndEndGiveNothing) {
  Vessik_Ellipse e = Make(5, 0, 0.5, 0, 0);
  e.Ellipse2Arcs(0.01);
  ASSERT_EQ(e.BiArcs().size(), 2u);
  EXPECT_EQ(e.BiArcs()[0].Shape, "Zero");
  EXPECT_EQ(e.BiArcs()[1].Shape, "Zero");
  Vessik_Layers layers;
  EXPECT_EQ(e.Vessik_IEntity_ToString(layers), "");
}

TEST(Ellipse, EndBelowStartWalksBackwards) {
  Vessik_Ellipse e = Make(5, 0, 0.5, 1, 0.5);
  e.Ellipse2Arcs(0.01);
  ASSERT_FALSE(e.BiArcs().empty());
  const Vessik_BiArc& first = e.BiArcs().front();
  const Vessik_BiArc& last = e.BiArcs().back();
  Vessik_Point pStart = e.EllipsePoint(1);
  Vessik_Point pEnd = e.EllipsePoint(0.5);
  EXPECT_EQ(first.Pa.X, pStart.X);
  EXPECT_EQ(first.Pa.Y, pStart.Y);
  EXPECT_NEAR(last.Pb.X, pEnd.X, 1e-12);
  EXPECT_NEAR(last.Pb.Y, pEnd.Y, 1e-12);
  // Only the short piece: every joint lies between the parameters 0.5 and 1.
  for (const Vessik_BiArc& B : e.BiArcs()) {
    double t = std::atan2((B.Pb.Y - 20) / 2.5, (B.Pb.X - 10) / 5);
    EXPECT_GE(t, 0.5 - 1e-9);
    EXPECT_LE(t, 1 + 1e-9);
  }
}

TEST(Ellipse, FlatRatioZeroGivesLinesWithoutFailure) {
  Vessik_Ellipse e = Make(5, 0, 0, 0, 6.28318530717958);
  EXPECT_NO_THROW(e.Ellipse2Arcs(0.01));
  int lines = 0;
  for (const Vessik_BiArc& B : e.BiArcs()) {
    if (B.Shape == "LineGeo") ++lines;
  }
  EXPECT_GT(lines, 0);
  // The flat ellipse runs along y = 20 from x = 15 to 5 and back. Its tangent is
  // the negative X direction on the way there and the positive one on the way
  // back, so every piece between two such points is a straight segment. Only at
  // the two turning points, t = 0 and t = Pi, does the tangent stand upright
  // (ArcTan2 of two zeros is 0, plus Pi / 2): the first piece of each half is a
  // biarc that starts upwards and turns round, and its bump has to fit within the
  // tolerance at the quarter points. That takes n = 50 pieces of 7.2 degrees.
  ASSERT_EQ(e.BiArcs().size(), 50u);
  EXPECT_EQ(lines, 48);
  EXPECT_NE(e.BiArcs()[0].Shape, "LineGeo");
  EXPECT_NE(e.BiArcs()[25].Shape, "LineGeo");
  // Each piece ends on the line, at x = 10 + 5 cos(k × 2 Pi / 50).
  for (size_t k = 0; k < 50; ++k) {
    const Vessik_BiArc& B = e.BiArcs()[k];
    EXPECT_NEAR(B.Pb.X, 10 + 5 * std::cos(static_cast<double>(k + 1) * 6.28318530717958 / 50),
                1e-12)
        << k;
    EXPECT_NEAR(B.Pb.Y, 20, 1e-12) << k;
  }
  // 49 pieces are too few: the first piece's biarc, from t = 0 to 2 Pi / 49, misses
  // one of its quarter points by the tolerance or more. With 50 all three are in.
  for (int n : {49, 50}) {
    const double t1 = 6.28318530717958 / n;
    Vessik_BiArc B;
    B.Pa = e.EllipsePoint(0);
    B.Pb = e.EllipsePoint(t1);
    B.Tana = e.EllipseTangent(0);
    B.Tanb = e.EllipseTangent(t1);
    B.MinR = 0.01 / 100;
    B.Init(0, 0, nullptr);
    double worst = 0;
    for (int i = 1; i <= 3; ++i) {
      worst = std::max(worst, B.get_biarc_fitting_error(e.EllipsePoint(i * t1 / 4)));
    }
    if (n == 49) {
      EXPECT_GE(worst, 0.01);
    } else {
      EXPECT_LT(worst, 0.01);
    }
  }
  // The first piece as records: an arc about (15 - r1, 20) from 0 to 135 degrees
  // that leaves (15, 20) upwards, and one about (x1, 20 + r2) that comes down to
  // (x1, 20) at 270 degrees, travelling to the left; x1 = 10 + 5 cos 7.2°.
  Vessik_Layers layers;
  const std::string first = e.BiArcs()[0].ToString(layers);
  EXPECT_EQ(first,
            "0\t66\tNoName\t0\t16777215\t0\t0\t0\t0\t0\t0\t14.9884522474335\t20\t0\t"
            "0.0115477525665403\t0\t135\t\r\n"
            "0\t66\tNoName\t0\t16777215\t0\t0\t0\t0\t0\t0\t14.9605735065724\t"
            "20.0278787408611\t0\t0.0278787408610703\t269.999999999996\t314.999999999997\t\r\n");
  // 52 records in all: two arcs at each turning point, 24 segments on each way.
  const std::string text = e.Vessik_IEntity_ToString(layers);
  size_t records = 0;
  for (size_t p = text.find("\r\n"); p != std::string::npos; p = text.find("\r\n", p + 1)) {
    ++records;
  }
  EXPECT_EQ(records, 52u);
}

// The worst miss of each piece of an n-piece pass at its quarter points 1, 2 and 3,
// with the biarcs built from the ellipse's own points and tangents.
std::vector<std::array<double, 3>> QuarterMisses(const Vessik_Ellipse& e, double sa, double ea,
                                                 int n, double tol) {
  std::vector<std::array<double, 3>> misses;
  double t = sa;
  for (int i = 1; i <= n; ++i) {
    const double t1 = (ea - sa) / n + t;
    Vessik_BiArc B;
    B.Pa = e.EllipsePoint(t);
    B.Pb = e.EllipsePoint(t1);
    B.Tana = e.EllipseTangent(t);
    B.Tanb = e.EllipseTangent(t1);
    B.MinR = tol / 100;
    B.Init(0, 0, nullptr);
    std::array<double, 3> m{};
    for (int q = 1; q <= 3; ++q) {
      m[static_cast<size_t>(q - 1)] =
          B.get_biarc_fitting_error(e.EllipsePoint(q * ((t1 - t) / 4) + t));
    }
    misses.push_back(m);
    t = t1;
  }
  return misses;
}

TEST(Ellipse, EachQuarterPointCounts) {
  // Half axes 5 and 2.5, parameters 0.3 to 2: with two pieces the first one misses
  // only at its first quarter point, so three pieces are needed.
  Vessik_Ellipse e = Make(5, 0, 0.5, 0.3, 2.0);
  auto two = QuarterMisses(e, 0.3, 2.0, 2, 0.01);
  EXPECT_GE(two[0][0], 0.01);
  EXPECT_LT(two[0][1], 0.01);
  EXPECT_LT(two[0][2], 0.01);
  EXPECT_LT(std::max({two[1][0], two[1][1], two[1][2]}), 0.01);
  for (const auto& m : QuarterMisses(e, 0.3, 2.0, 3, 0.01)) {
    EXPECT_LT(std::max({m[0], m[1], m[2]}), 0.01);
  }
  e.Ellipse2Arcs(0.01);
  EXPECT_EQ(e.BiArcs().size(), 3u);
}

TEST(Ellipse, QuarterPointsAndNotOthers) {
  // Ratio 0.7, parameters 1 to 4, tolerance 0.1: three pieces miss at a quarter
  // point, four fit, so the pass ends with four. Points at fifths instead of
  // quarters would judge otherwise.
  Vessik_Ellipse e = Make(5, 0, 0.7, 1, 4);
  double worst3 = 0;
  for (const auto& m : QuarterMisses(e, 1, 4, 3, 0.1))
    worst3 = std::max({worst3, m[0], m[1], m[2]});
  EXPECT_GE(worst3, 0.1);
  for (const auto& m : QuarterMisses(e, 1, 4, 4, 0.1)) {
    EXPECT_LT(std::max({m[0], m[1], m[2]}), 0.1);
  }
  e.Ellipse2Arcs(0.1);
  EXPECT_EQ(e.BiArcs().size(), 4u);
}

TEST(Ellipse, NoAxisGivesEmptyOutput) {
  Vessik_Ellipse e = Make(0, 0, 0.5, 0, 6.28318530717958);
  EXPECT_EQ(e.AxisAngle(), 0);
  EXPECT_EQ(e.MajorRadius(), 0);
  e.Ellipse2Arcs(0.01);
  Vessik_Layers layers;
  EXPECT_EQ(e.Vessik_IEntity_ToString(layers), "");
}

TEST(Ellipse, FlatEllipseTakesMorePieces) {
  Vessik_Ellipse flat = Make(10, 0, 0.1, 0, 6.28318530717958);
  flat.Ellipse2Arcs(0.001);
  Vessik_Ellipse round = Make(10, 0, 0.9, 0, 6.28318530717958);
  round.Ellipse2Arcs(0.001);
  EXPECT_GT(flat.BiArcs().size(), round.BiArcs().size());
}

TEST(Ellipse, ExtrusionGroupsAreIgnored) {
  auto read = [](bool mirrored) {
    std::vector<std::pair<int32_t, std::string>> pairs{
        {10, "0"}, {20, "0"}, {11, "5"}, {21, "0"}, {40, "0.5"}, {41, "0"}, {42, "1.5"}};
    if (mirrored) pairs.push_back({230, "-1"});
    pairs.push_back({0, "EOF"});
    GroupPairs().Assign(pairs);
    Vessik_Ellipse e;
    Vessik_Layers layers;
    e.Vessik_IEntity_Read(0, layers);
    Vessik_CommonData data;
    data.Tolerance = 0.01;
    e.Vessik_IEntity_Init(&data);
    return e.Vessik_IEntity_ToString(layers);
  };
  EXPECT_EQ(read(false), read(true));
  EXPECT_NE(read(false), "");
}

TEST(Ellipse, ZeroToleranceHitsTheIterationGuard) {
  Vessik_Ellipse e = Make(5, 0, 0.5, 0, 1);
  try {
    e.Ellipse2Arcs(0);
    FAIL() << "no failure";
  } catch (const Vessik_Error& err) {
    EXPECT_EQ(err.Number(), -2147221403);
    EXPECT_EQ(err.Description(), "Iterations above 10000 reduce tolerance.");
    EXPECT_EQ(err.Source(), "");
  }
}

TEST(Ellipse, QuarterPointsLieWithinTolerance) {
  const double tol = 0.005;
  Vessik_Ellipse e = Make(30, 10, 0.4, 0.3, 5.5);
  e.Ellipse2Arcs(tol);
  const size_t n = e.BiArcs().size();
  ASSERT_GE(n, 2u);
  const double step = e.Ext() / static_cast<double>(n);
  for (size_t i = 0; i < n; ++i) {
    const Vessik_BiArc& B = e.BiArcs()[i];
    for (int q = 1; q <= 3; ++q) {
      Vessik_Point P = e.EllipsePoint(e.SA + step * (static_cast<double>(i) + q / 4.0));
      EXPECT_LT(B.get_biarc_fitting_error(P), tol) << i << " " << q;
    }
    // And the joints lie on the ellipse.
    Vessik_Point J = e.EllipsePoint(e.SA + step * static_cast<double>(i + 1));
    EXPECT_NEAR(B.Pb.X, J.X, 1e-9);
    EXPECT_NEAR(B.Pb.Y, J.Y, 1e-9);
  }
}

TEST(Ellipse, PieceCountOfAQuarterEllipse) {
  // Semi-axes 8 and 4, a quarter. Each piece is tested at a quarter, half and
  // three quarters of its parameter range; the count grows from 2 until all pass.
  Vessik_Ellipse e = Make(8, 0, 0.5, 0, 1.5707963267949);
  e.Ellipse2Arcs(0.01);
  EXPECT_EQ(e.BiArcs().size(), 3u);
  Vessik_Ellipse fine = Make(8, 0, 0.5, 0, 1.5707963267949);
  fine.Ellipse2Arcs(0.001);
  EXPECT_EQ(fine.BiArcs().size(), 6u);
}

TEST(Ellipse, TangentIsDirectionOfIncreasingParameter) {
  Vessik_Ellipse e = Make(5, 0, 0.5, 0, 1);
  EXPECT_DOUBLE_EQ(e.EllipseTangent(0), Pi / 2);
  Vessik_Point p = e.EllipsePoint(0);
  EXPECT_EQ(p.X, 15);
  EXPECT_EQ(p.Y, 20);
}

TEST(Ellipse, ToStringBeforeFittingIsEmpty) {
  Vessik_Ellipse e;
  Vessik_Layers layers;
  EXPECT_FALSE(e.BiArcsDimensioned());
  EXPECT_EQ(e.Vessik_IEntity_ToString(layers), "");
  e.Vessik_IEntity_Release();
}

// Drawings meant to hurt: numbers at the ends of the range, not-a-number, a
// tolerance that can never be met. Each one's outcome is held here exactly, the
// failure or the whole text, so that the search for n may get faster but never
// different.

Vessik_Ellipse MakeAt(double cx1, double cy1, double cx2, double ratio, double sa, double ea) {
  Vessik_Ellipse e;
  e.CX1 = cx1;
  e.CY1 = cy1;
  e.CX2 = cx2;
  e.Ratio = ratio;
  e.SA = sa;
  e.EA = ea;
  e.SetBackgroundValues();
  return e;
}

// The failure number of Ellipse2Arcs, or 0 when it finishes.
int32_t FitFailure(Vessik_Ellipse& e, double tolerance) {
  try {
    e.Ellipse2Arcs(tolerance);
  } catch (const Vessik_Error& err) {
    EXPECT_EQ(err.Description(), "Iterations above 10000 reduce tolerance.");
    return err.Number();
  }
  return 0;
}

std::string FitText(Vessik_Ellipse& e, double tolerance) {
  e.Ellipse2Arcs(tolerance);
  Vessik_Layers layers;
  return e.Vessik_IEntity_ToString(layers);
}

constexpr int32_t kTooManyIterations = -2147221403;

TEST(EllipseHostile, CentreAtTheTopOfTheRangeHitsTheGuard) {
  // Every point has y = 1e308: the ellipse of half axes 1 and 0.5 is squashed
  // onto a line, while its tangents still turn. Each pass misses about a quarter
  // of the way round, up to the guard.
  Vessik_Ellipse e = MakeAt(0, 1e308, 1, 0.5, 0, 6.28318530717958);
  EXPECT_EQ(FitFailure(e, 0.01), kTooManyIterations);
  // The failure leaves the pass of 10000 pieces up to the piece that missed.
  ASSERT_EQ(e.BiArcs().size(), 2451u);
  int zero = 0;
  for (const Vessik_BiArc& B : e.BiArcs()) {
    if (B.Shape == "Zero") ++zero;
  }
  EXPECT_EQ(zero, 1678);
  Vessik_Layers layers;
  EXPECT_EQ(e.BiArcs().back().Shape, "S-shaped");
  EXPECT_EQ(e.BiArcs().back().ToString(layers),
            "0\t66\tNoName\t0\t16777215\t0\t0\t0\t0\t0\t0\t0.0312529661365465\t1E+308\t0\t"
            "0.0100433452680925\t0\t180\t\r\n"
            "0\t66\tNoName\t0\t16777215\t0\t0\t0\t0\t0\t0\t0.0309389507921879\t1E+308\t0\t"
            "0.0101453494680606\t180\t0\t\r\n");
  EXPECT_EQ(e.Vessik_IEntity_ToString(layers).size(), 139715u);
}

TEST(EllipseHostile, HugeParametersHitTheGuard) {
  // A step of -2e300 / n: every point is not a number, and the first piece of
  // every pass misses.
  Vessik_Ellipse e = MakeAt(0, 0, 10, 0.5, 1e300, -1e300);
  EXPECT_EQ(FitFailure(e, 0.01), kTooManyIterations);
  EXPECT_EQ(e.BiArcs().size(), 1u);
  Vessik_Ellipse far = MakeAt(0, 0, 10, 0.5, 0, 1e20);
  EXPECT_EQ(FitFailure(far, 0.01), kTooManyIterations);
  EXPECT_EQ(far.BiArcs().size(), 1u);
}

TEST(EllipseHostile, ToleranceThatCanNotBeMetHitsTheGuard) {
  Vessik_Ellipse nan = MakeAt(0, 0, 5, 0.5, 0, 1);
  EXPECT_EQ(FitFailure(nan, std::numeric_limits<double>::quiet_NaN()), kTooManyIterations);
  EXPECT_EQ(nan.BiArcs().size(), 1u);
  Vessik_Ellipse negative = MakeAt(0, 0, 5, 0.5, 0, 1);
  EXPECT_EQ(FitFailure(negative, -1), kTooManyIterations);
  EXPECT_EQ(negative.BiArcs().size(), 1u);
}

TEST(EllipseHostile, HugeMajorAxisGivesLinesOfNotANumber) {
  // The square of the axis overflows: both radii are infinite, every point is not a
  // number, and the two pieces come out as lines, which pass at once.
  Vessik_Ellipse e = MakeAt(0, 0, 1e300, 0.5, 0, 6.28318530717958);
  const std::string nanLine =
      "0\t83\tNoName\t0\t16777215\tnan\tnan\t0\tnan\tnan\t0\t0\t0\t0\t0\t0\t0\t\r\n";
  EXPECT_EQ(FitText(e, 0.01), nanLine + nanLine);
  Vessik_Ellipse nanRatio = MakeAt(0, 0, 1, std::numeric_limits<double>::quiet_NaN(), 0, 1);
  EXPECT_EQ(FitText(nanRatio, 0.01), nanLine + nanLine);
  Vessik_Ellipse nanAxis = MakeAt(0, 0, std::numeric_limits<double>::quiet_NaN(), 0.5, 0, 1);
  EXPECT_EQ(FitText(nanAxis, 0.01), nanLine + nanLine);
}

TEST(EllipseHostile, LargeMajorAxisFitsWithTwoLines) {
  Vessik_Ellipse e = MakeAt(0, 0, 1e12, 0.5, 0, 6.28318530717958);
  EXPECT_EQ(FitText(e, 0.01),
            "0\t83\tNoName\t0\t16777215\t1000000000000\t0\t0\t-1000000000000\t"
            "0.00161554457443259\t0\t0\t0\t0\t0\t0\t0\t\r\n"
            "0\t83\tNoName\t0\t16777215\t-1000000000000\t0.00161554457443259\t0\t"
            "1000000000000\t-0.00323108914886517\t0\t0\t0\t0\t0\t0\t0\t\r\n");
  EXPECT_EQ(e.BiArcs().size(), 2u);
}

TEST(EllipseHostile, TinyRatioFitsWithFivePieces) {
  Vessik_Ellipse e = MakeAt(0, 0, 10, 1e-300, 0, 6.28318530717958);
  EXPECT_EQ(FitText(e, 0.01),
            "0\t83\tNoName\t0\t16777215\t10\t0\t0\t3.09016994374949\t9.51056516295153E-300\t0\t0\t"
            "0\t0\t0\t0\t0\t\r\n"
            "0\t83\tNoName\t0\t16777215\t3.09016994374949\t9.51056516295153E-300\t0\t"
            "-8.09016994374946\t5.87785252292475E-300\t0\t0\t0\t0\t0\t0\t0\t\r\n"
            "0\t83\tNoName\t0\t16777215\t-8.0901699437495\t-5.8778525229247E-300\t0\t"
            "3.09016994374942\t-9.51056516295155E-300\t0\t0\t0\t0\t0\t0\t0\t\r\n"
            "0\t83\tNoName\t0\t16777215\t3.09016994374942\t-9.51056516295155E-300\t0\t10\t"
            "-7.35035671732941E-314\t0\t0\t0\t0\t0\t0\t0\t\r\n");
  EXPECT_EQ(e.BiArcs().size(), 5u);
}

TEST(EllipseHostile, CentresOutOfReachOfTheAxis) {
  // An infinite centre: the points are infinite in y and the pieces lines.
  Vessik_Ellipse inf =
      MakeAt(0, std::numeric_limits<double>::infinity(), 1, 0.5, 0, 6.28318530717958);
  EXPECT_EQ(FitText(inf, 0.01),
            "0\t83\tNoName\t0\t16777215\t1\tinf\t0\t-1\tinf\t0\t0\t0\t0\t0\t0\t0\t\r\n"
            "0\t83\tNoName\t0\t16777215\t-1\tinf\t0\t1\tinf\t0\t0\t0\t0\t0\t0\t0\t\r\n");
  // A centre at 1e20 swallows an axis of 1: both pieces are points, and nothing is
  // written.
  Vessik_Ellipse far = MakeAt(1e20, 0, 1, 0.5, 0, 6.28318530717958);
  EXPECT_EQ(FitText(far, 0.01), "");
  ASSERT_EQ(far.BiArcs().size(), 2u);
  EXPECT_EQ(far.BiArcs()[0].Shape, "Zero");
}

}  // namespace
}  // namespace vessik
