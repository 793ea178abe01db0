// The fitting of a spline: its sections, the march of biarcs along them, and
// the lines and arcs that come out.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <random>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "SplineTestAccess.h"
#include "entities/Vessik_Ellipse.h"
#include "parser/GroupPairs.h"
#include "parser/Vessik_CommonData.h"
#include "parser/Vessik_Error.h"
#include "support/SplineTestUtil.h"

namespace vessik {
namespace {

using Access = Vessik_SplineTestAccess;
using test::ExpectFailure;
using test::Fit;
using test::kQuadKnots;
using test::kQuadPts;
using test::Num;
using test::Pairs;
using test::SplinePairs;

TEST(SplineFlow, EqualFirstAndLastKnotGiveNothing) {
  Vessik_Spline s;
  Fit(s, SplinePairs(1, {1, 1, 1, 1}, {{0, 0}, {1, 0}}), 0.01);
  EXPECT_EQ(s.BiArcs().Count(), 0);
  EXPECT_EQ(s.Geos().Count(), 0);
  Vessik_Layers layers;
  EXPECT_EQ(s.Vessik_IEntity_ToString(layers), "");
}

TEST(SplineFlow, ControlPointCheckEndsTheFit) {
  for (int32_t check : {2, 3}) {
    Vessik_Spline s;
    ExpectFailure([&] { Fit(s, SplinePairs(2, kQuadKnots, kQuadPts), 0.01, 0, check); }, 13,
                  "Type mismatch");
  }
}

// Two cubic pieces meeting in a corner at (3, 0).
Pairs CornerSpline() {
  return SplinePairs(3, {0, 0, 0, 0, 1, 1, 1, 1, 2, 2, 2, 2},
                     {{0, 3}, {1, 2}, {2, 1}, {3, 0}, {3, 0}, {4, 1}, {5, 2}, {6, 3}});
}

TEST(SplineFlow, KnotCheckCutsAtTheCorner) {
  Vessik_Spline s;
  Fit(s, CornerSpline(), 0.01, 0, 1);
  ASSERT_EQ(s.BiArcs().Count(), 2);
  ASSERT_EQ(s.Nodes().Count(), 2);
  const auto& first = s.BiArcs().Item(1);
  const auto& second = s.BiArcs().Item(2);
  EXPECT_NEAR(first.Item(first.Count()).Pb.X, 3, 1e-6);
  EXPECT_NEAR(first.Item(first.Count()).Pb.Y, 0, 1e-6);
  EXPECT_NEAR(second.Item(1).Pa.X, 3, 1e-6);
  // Each section is a straight run, joined into one line of its own.
  ASSERT_EQ(s.Geos().Count(), 2);
  EXPECT_NE(s.Geos().Item(1).Line(), nullptr);
  EXPECT_NE(s.Geos().Item(2).Line(), nullptr);
}

TEST(SplineFlow, WithoutCheckOneSection) {
  Vessik_Spline s;
  Fit(s, CornerSpline(), 0.01, 0, 0);
  EXPECT_EQ(s.BiArcs().Count(), 1);
  EXPECT_EQ(s.Nodes().Count(), 1);
}

TEST(SplineFlow, SplitSectionsCases) {
  Vessik_Collection<Access::Section> ignore;
  Vessik_Collection<double> breaks;
  auto one = Access::Split({0, 0, 1, 2, 2}, ignore, breaks);
  ASSERT_EQ(one.Count(), 1);
  EXPECT_EQ(one.Item(1).Item(1), 0);
  EXPECT_EQ(one.Item(1).Item(2), 2);
  breaks.Add(1);
  auto two = Access::Split({0, 0, 1, 2, 2}, ignore, breaks);
  ASSERT_EQ(two.Count(), 2);
  EXPECT_EQ(two.Item(1).Item(2), 1);
  EXPECT_EQ(two.Item(2).Item(1), 1);
  EXPECT_EQ(two.Item(2).Item(2), 2);
  EXPECT_EQ(breaks.Count(), 0);
  EXPECT_EQ(Access::Split({3, 3}, ignore, breaks).Count(), 0);
}

TEST(SplineFlow, AnythingInIgnoreFails) {
  Vessik_Collection<Access::Section> ignore;
  Access::Section stretch;
  stretch.Add(0.5);
  stretch.Add(1.5);
  ignore.Add(stretch);
  Vessik_Collection<double> breaks;
  ExpectFailure(
      [&] {
        Access::Split({0, 0, 1, 2, 2}, ignore, breaks);
      },
      9, "Subscript out of range");
}

double MaxStepOf(const std::vector<double>& knots, double segments) {
  Vessik_Spline s;
  const double a = knots.front();
  const double b = knots.back();
  Fit(s, SplinePairs(1, knots, {{a, 0}, {b, 0}}), 0.01, segments);
  return s.MaxStep();
}

TEST(SplineFlow, MaxStepExamples) {
  EXPECT_EQ(MaxStepOf({0, 0, 1, 1}, 4), 0.25);
  EXPECT_EQ(MaxStepOf({0, 0, 8, 8}, 4), 2);
  EXPECT_EQ(MaxStepOf({-1, -1, 0, 0}, 4), 0.25);
  EXPECT_EQ(MaxStepOf({10, 10, 20, 20}, 4), 5);
  // A negative count makes s negative: |last knot| / |n| wins.
  EXPECT_EQ(MaxStepOf({0, 0, 8, 8}, -4), 2);
}

TEST(SplineFlow, ZeroMaxStepRunsIntoTheIterationLimit) {
  Vessik_Spline s;
  ExpectFailure(
      [&] {
        Fit(s, SplinePairs(1, {-1, -1, 0, 0}, {{0, 0}, {1, 0}}), 0.01, -4);
      },
      -2147221403, "Iterations above 10000 reduce tolerance.");
  EXPECT_EQ(s.MaxStep(), 0);
}

TEST(SplineMarch, StraightRunIsAllLines) {
  Vessik_Spline s;
  Fit(s, SplinePairs(2, {0, 0, 0, 1, 2, 3, 3, 3}, {{0, 0}, {1, 1}, {2, 2}, {3, 3}, {5, 5}}), 0.01,
      8);
  ASSERT_EQ(s.BiArcs().Count(), 1);
  const auto& list = s.BiArcs().Item(1);
  ASSERT_GT(list.Count(), 1);
  for (const Vessik_BiArc& B : list) EXPECT_EQ(B.Shape, "LineGeo");
  EXPECT_EQ(s.Nodes().Item(1).Count(), list.Count() + 1);
  // The step doubles up to MaxStep at once, so the pieces are MaxStep long apart
  // from the cut last one.
  ASSERT_EQ(s.Geos().Count(), 1);
  const Vessik_LineGeo& L = *s.Geos().Item(1).Line();
  EXPECT_NEAR(L.Pa.X, 0, 1e-6);
  EXPECT_NEAR(L.Pe.X, 5, 1e-6);
  EXPECT_NEAR(L.Pe.Y, 5, 1e-6);
}

TEST(SplineMarch, CoincidentRunKeepsTheOldNode) {
  Vessik_Spline s;
  // The first span does not move: its biarcs are "Zero" and leave no node.
  Fit(s, SplinePairs(1, {0, 0, 1, 2, 2}, {{0, 0}, {0, 0}, {5, 0}}), 0.01, 4);
  const auto& list = s.BiArcs().Item(1);
  const auto& nodes = s.Nodes().Item(1);
  EXPECT_EQ(nodes.Count(), list.Count() + 1);
  for (const Vessik_BiArc& B : list) EXPECT_NE(B.Shape, "Zero");
  ASSERT_GE(list.Count(), 1);
  EXPECT_EQ(list.Item(1).Pa.X, nodes.Item(1).Pt.X);
  EXPECT_EQ(list.Item(1).Pa.Y, nodes.Item(1).Pt.Y);
  ASSERT_EQ(s.Geos().Count(), 1);
  EXPECT_NEAR(s.Geos().Item(1).Line()->Pe.X, 5, 1e-6);
}

TEST(SplineMarch, FirstStepIsCutToAShortSection) {
  Vessik_Spline s;
  // MaxStep is 1 / 2, the section only 0.1 long: one piece up to 1e-9 before its end.
  Fit(s, SplinePairs(1, {0, 0, 0.1, 0.1}, {{0, 0}, {3, 4}}), 0.01);
  EXPECT_EQ(s.MaxStep(), 0.5);
  ASSERT_EQ(s.BiArcs().Item(1).Count(), 1);
  EXPECT_EQ(s.Nodes().Item(1).Count(), 2);
  const Vessik_BiArc& B = s.BiArcs().Item(1).Item(1);
  EXPECT_EQ(B.Shape, "LineGeo");
  EXPECT_NEAR(B.Pb.X, 3, 1e-6);
  EXPECT_NEAR(B.Pb.Y, 4, 1e-6);
  EXPECT_LT(B.Pb.X, 3);
}

TEST(SplineMarch, SectionShorterThanTwoGapsHasNoBiarc) {
  Vessik_Spline s;
  Fit(s, SplinePairs(1, {0, 0, 1.5e-9, 1.5e-9}, {{0, 0}, {1, 0}}), 0.01);
  ASSERT_EQ(s.BiArcs().Count(), 1);
  EXPECT_EQ(s.BiArcs().Item(1).Count(), 0);
  EXPECT_EQ(s.Nodes().Item(1).Count(), 1);
  EXPECT_EQ(s.Geos().Count(), 0);
}

TEST(SplineMarch, ToleranceFarTooSmallFails) {
  Vessik_Spline s;
  ExpectFailure(
      [&] {
        Fit(s, SplinePairs(2, kQuadKnots, {{0, 0}, {50, 50}, {100, 0}}), 1e-13);
      },
      -2147221403, "Iterations above 10000 reduce tolerance.");
}

TEST(SplineMarch, ErrorEqualToLimitIsRejected) {
  Vessik_Spline s;
  Fit(s, SplinePairs(2, kQuadKnots, kQuadPts), 0.01);
  Vessik_Nurbs& n = Access::Nurbs(s);
  Vessik_Point P0;
  Vessik_Point P1;
  double t0 = 0;
  double t1 = 0;
  n.Evaluate(1, 0.1, P0, t0);
  n.Evaluate(1, 0.4, P1, t1);
  Vessik_BiArc B;
  B.Pa = P0;
  B.Pb = P1;
  B.Tana = t0;
  B.Tanb = t1;
  B.Init(0, 0, nullptr);
  ASSERT_EQ(B.Geos.Count(), 2);
  // The worst of the five samples, the way the test takes them.
  const double du = (0.4 - 0.1) / 5.0;
  double worst = MostNegative;
  for (int i = 1; i <= 5; ++i) {
    Vessik_Point P;
    double d = 0;
    n.Evaluate(0, i * du + 0.1, P, d);
    worst = std::max(worst, B.get_biarc_fitting_error(P));
  }
  ASSERT_GT(worst, 0);
  EXPECT_FALSE(Access::Fits(s, B, worst, 0.1, 0.4));
  EXPECT_TRUE(Access::Fits(s, B, std::nextafter(worst, 1.0), 0.1, 0.4));
}

// The point already evaluated at the end of a step stands in for the last sample
// where that sample lands on the end again: the answer is the same either way.
TEST(SplineMarch, EndPointEvaluatedOnceGivesTheSameAnswer) {
  Vessik_Spline s;
  Fit(s, CornerSpline(), 0.01);
  Vessik_Nurbs& n = Access::Nurbs(s);
  std::mt19937_64 random(25112026);
  std::uniform_real_distribution<double> start(0.001, 1.7);
  std::uniform_real_distribution<double> step(1e-6, 0.3);
  int landed = 0;
  for (int i = 0; i < 3000; ++i) {
    const double u0 = start(random);
    const double u1 = u0 + step(random);
    Vessik_Point P0;
    Vessik_Point P1;
    double t0 = 0;
    double t1 = 0;
    n.Evaluate(1, u0, P0, t0);
    n.Evaluate(1, u1, P1, t1);
    Vessik_BiArc B;
    B.Pa = P0;
    B.Pb = P1;
    B.Tana = t0;
    B.Tanb = t1;
    Vessik_BiArcArcs arcs;
    B.Trial(arcs);
    if ((u1 - u0) / 5.0 * 5 + u0 == u1) ++landed;
    for (double limit : {1e-9, 1e-6, 1e-4, 3e-4, 1e-3, 1e-2}) {
      ASSERT_EQ(Access::FitsArcs(s, arcs, limit, u0, u1, &P1),
                Access::FitsArcs(s, arcs, limit, u0, u1, nullptr))
          << u0 << " " << u1 << " " << limit;
    }
  }
  EXPECT_GT(landed, 100);
}

TEST(SplineGeometry, RationalCircleComesOutAsArcsOfItsRadius) {
  const double w = std::sqrt(2.0) / 2;
  Vessik_Spline s;
  // A full circle of radius 5 about (2, 3) from four rational quarters.
  std::vector<std::array<double, 2>> pts{{7, 3},   {7, 8},  {2, 8},  {-3, 8}, {-3, 3},
                                         {-3, -2}, {2, -2}, {7, -2}, {7, 3}};
  Fit(s, SplinePairs(2, {0, 0, 0, 1, 1, 2, 2, 3, 3, 4, 4, 4}, pts, {1, w, 1, w, 1, w, 1, w, 1}),
      0.01);
  ASSERT_GT(s.Geos().Count(), 0);
  for (const Vessik_Geo& g : s.Geos()) {
    ASSERT_NE(g.Arc(), nullptr);
    EXPECT_NEAR(g.Arc()->R, 5, 0.01);
    EXPECT_NEAR(g.Arc()->O.X, 2, 0.01);
    EXPECT_NEAR(g.Arc()->O.Y, 3, 0.01);
  }
}

TEST(SplineGeometry, ClosedFlagAddsNothing) {
  auto text = [](const std::string& flag) {
    Pairs p = SplinePairs(2, {0, 0, 0, 1, 2, 2, 2}, {{0, 0}, {4, 4}, {8, 0}, {0, -5}});
    p[2] = {70, flag};
    Vessik_Spline s;
    Fit(s, p, 0.01);
    Vessik_Layers layers;
    return s.Vessik_IEntity_ToString(layers);
  };
  EXPECT_EQ(text("1"), text("8"));
}

TEST(SplineGeometry, StraightSegmentsComeBeforeArcs) {
  Vessik_Spline s;
  // A straight stretch, then a bend.
  Fit(s, SplinePairs(2, {0, 0, 0, 1, 2, 3, 3, 3}, {{0, 0}, {5, 0}, {10, 0}, {15, 0}, {15, 10}}),
      0.01);
  bool seenArc = false;
  for (const Vessik_Geo& g : s.Geos()) {
    if (g.Arc() != nullptr) seenArc = true;
    if (g.Line() != nullptr) {
      EXPECT_FALSE(seenArc);
    }
  }
  EXPECT_TRUE(seenArc);
}

TEST(SplineGeometry, DroppingTheFitWorkKeepsTheText) {
  Vessik_Spline s;
  Fit(s, CornerSpline(), 0.01, 0, 1);
  Vessik_Layers layers;
  const std::string before = s.Vessik_IEntity_ToString(layers);
  ASSERT_FALSE(before.empty());
  s.DropInitWork();
  EXPECT_TRUE(s.Knots().empty());
  EXPECT_TRUE(s.CPoints().empty());
  EXPECT_EQ(s.BiArcs().Count(), 0);
  EXPECT_EQ(s.Nodes().Count(), 0);
  EXPECT_EQ(s.Vessik_IEntity_ToString(layers), before);
  s.Vessik_IEntity_Release();
  EXPECT_EQ(s.Vessik_IEntity_ToString(layers), before);
}

TEST(SplineGeometry, ReleaseAfterFit) {
  Vessik_Spline s;
  Fit(s, SplinePairs(2, kQuadKnots, kQuadPts), 0.01);
  s.Vessik_IEntity_Release();
  EXPECT_EQ(s.Vessik_IEntity_Parent(), nullptr);
  EXPECT_GT(s.Geos().Count(), 0);
}

}  // namespace
}  // namespace vessik

namespace vessik {
namespace {

TEST(SplineMarch, RejectedCutStepGoesBackToPrevAndShrinksTheCutStep) {
  // A strongly bent parabola with MaxStep 1: the first step overshoots the end of
  // the section and is cut, and its biarc is far too coarse for the tolerance.
  Vessik_Spline s;
  Fit(s, SplinePairs(2, {0, 0, 0, 1, 1, 1}, {{0, 0}, {5, 10}, {10, 0}}), 0.0001, 1);
  ASSERT_EQ(s.MaxStep(), 1);
  const auto& nodes = s.Nodes().Item(1);
  ASSERT_GE(nodes.Count(), 3);

  // The march's own arithmetic up to the cut step.
  const double start = 0 + 1e-9;
  const double overshoot = start + 1;
  const double prev = overshoot - 1;
  const double cutStep = (1 - prev) - 1e-9;
  const double cutU = 1 - 1e-9;
  // Rejected: back by the cut step, which lands on Prev up to rounding.
  const double back = cutU - cutStep;
  EXPECT_NEAR(back, prev, 1e-15);

  // Every later rejection shrinks the step by 0.7 again: the first accepted node
  // lies at one of these parameters.
  Vessik_Nurbs& nurbs = Vessik_SplineTestAccess::Nurbs(s);
  const Vessik_Point& second = nodes.Item(2).Pt;
  double u = back;
  double step = cutStep * 0.7;
  bool found = false;
  for (int k = 1; k < 60 && !found; ++k) {
    const double tried = u + step;
    Vessik_Point P;
    double tangent = 0;
    nurbs.Evaluate(1, tried, P, tangent);
    if (P.X == second.X && P.Y == second.Y) {
      found = true;
      EXPECT_EQ(tangent, nodes.Item(2).Tangent);
    }
    u = tried - step;
    step = step * 0.7;
  }
  EXPECT_TRUE(found) << "the first accepted node is not at Prev + 0.7^k of the cut step";
}

// Odd curves of every kind must end in a result or in one of the library's
// failures: never a crash, a hang or a read out of bounds.

bool Known(int32_t n) {
  static const std::set<int32_t> known{6, 9, 13, errnum::TooManyIterations, errnum::InvalidSpan};
  return known.count(n) > 0;
}

TEST(CurveRobustness, RandomSplinesEndCleanly) {
  std::mt19937 rng(20261122);
  std::uniform_int_distribution<int> degreeDist(-1, 5);
  std::uniform_int_distribution<int> countDist(0, 9);
  std::uniform_real_distribution<double> coord(-50, 50);
  std::uniform_int_distribution<int> coin(0, 9);
  int printed = 0;
  int failed = 0;
  for (int round = 0; round < 300; ++round) {
    const int degree = degreeDist(rng);
    const int points = countDist(rng);
    int knots = points + degree + 1;
    if (coin(rng) == 0) knots += countDist(rng) - 4;
    if (knots < 0) knots = 0;
    std::vector<std::pair<int32_t, std::string>> p{{71, std::to_string(degree)}};
    double k = 0;
    for (int i = 0; i < knots; ++i) {
      // Mostly rising knots with repeats, sometimes out of order.
      const int c = coin(rng);
      if (c >= 4) k += 1;
      if (c == 0) k -= 2;
      p.push_back({40, Num(k)});
    }
    const bool weights = coin(rng) < 3;
    for (int i = 0; i < points; ++i) {
      if (weights) p.push_back({41, Num(coin(rng) == 0 ? 0.0 : 0.5 + coin(rng) / 5.0)});
    }
    for (int i = 0; i < points; ++i) {
      const bool repeat = coin(rng) < 2;
      p.push_back({10, repeat ? "0" : Num(coord(rng))});
      p.push_back({20, repeat ? "0" : Num(coord(rng))});
      p.push_back({30, "0"});
    }
    p.push_back({0, "EOF"});
    GroupPairs().Assign(p);
    Vessik_Spline s;
    Vessik_Layers layers;
    Vessik_CommonData data;
    data.Tolerance = coin(rng) == 0 ? 0.0001 : 0.05;
    data.Check = coin(rng) < 3 ? 1 : 0;
    data.InitialSegments = coin(rng);
    try {
      s.Vessik_IEntity_Read(0, layers);
      s.Vessik_IEntity_Init(&data);
      s.Vessik_IEntity_ToString(layers);
      ++printed;
    } catch (const Vessik_Error& e) {
      EXPECT_TRUE(Known(e.Number())) << round << ": " << e.Number() << " " << e.Description();
      ++failed;
    }
  }
  EXPECT_GT(printed, 0);
  EXPECT_GT(failed, 0);
}

TEST(CurveRobustness, RandomEllipsesEndCleanly) {
  std::mt19937 rng(7);
  std::uniform_real_distribution<double> v(-20, 20);
  std::uniform_real_distribution<double> ratio(0, 1.5);
  std::uniform_real_distribution<double> angle(-10, 10);
  for (int round = 0; round < 100; ++round) {
    Vessik_Ellipse e;
    e.CX1 = v(rng);
    e.CY1 = v(rng);
    e.CX2 = v(rng);
    e.CY2 = v(rng);
    e.Ratio = ratio(rng);
    e.SA = angle(rng);
    e.EA = angle(rng);
    e.SetBackgroundValues();
    try {
      e.Ellipse2Arcs(0.05);
      Vessik_Layers layers;
      e.Vessik_IEntity_ToString(layers);
    } catch (const Vessik_Error& err) {
      EXPECT_TRUE(Known(err.Number())) << round << ": " << err.Number();
    }
  }
}

}  // namespace
}  // namespace vessik
