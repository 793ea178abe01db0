// Simplification of the fitted segments of one section: chains of straight
// segments become longer segments, and three arcs of monotone radius become two.
#include <cmath>
#include <utility>

#include "entities/Vessik_Spline.h"
#include "geometry/Vessik_ArcGeo.h"
#include "geometry/Vessik_LineGeo.h"
#include "geometry/Vessik_Math.h"
#include "parser/ParseLimits.h"
#include "parser/Vessik_Utils.h"

namespace vessik {

namespace {

// A chain of straight segments ends after this many points, however straight.
constexpr int32_t kMaxChainPoints = 1000;

}  // namespace

Vessik_Spline::GeoList Vessik_Spline::JoinLines(GeoList List) const {
  GeoList Out;
  PointList Points;
  for (int32_t i = 1; i <= List.Count(); ++i) {
    Out.Add(std::move(List.Item(i)));
    if (Out.Count() >= 2) {
      const Vessik_LineGeo* Last = Out.Item(Out.Count()).Line();
      const Vessik_LineGeo* Prev = Out.Item(Out.Count() - 1).Line();
      if (Last == nullptr || Prev == nullptr) {
        Points.Clear();
      } else {
        // The item just added; a copy, as the item may go below.
        const Vessik_Point itemEnd = Last->Pe;
        Points.Add(itemEnd);
        auto New = std::make_shared<Vessik_LineGeo>();
        New->Pa = Prev->Pa;
        New->Pe = Last->Pe;
        New->Vessik_IEntity_Parent(parent_);
        New->Init(Id, Layer, Color);
        double Worst = MostNegative;
        for (const Vessik_Point& P : Points) {
          const double d = New->distance2point(P);
          if (Worst < d) Worst = d;
        }
        if (Points.Count() >= kMaxChainPoints || !(Worst < tolerance_)) {
          // The chain starts afresh with the segment just added.
          Points.Clear();
          Points.Add(itemEnd);
        } else {
          Out.Remove(Out.Count());
          Out.Remove(Out.Count());
          Out.Add(Vessik_Geo(std::move(New)));
        }
      }
    }
    PumpMessages();
    PollCancel();
  }
  return Out;
}

Vessik_Spline::GeoList Vessik_Spline::JoinArcs(GeoList List) const {
  double Budget = tolerance_;
  GeoList Out;
  PointList Points;
  for (int32_t i = 1; i <= List.Count(); ++i) {
    Out.Add(std::move(List.Item(i)));
    const int32_t n = Out.Count();
    if (n >= 3) {
      const Vessik_Geo& g1 = Out.Item(n - 2);
      const Vessik_Geo& g2 = Out.Item(n - 1);
      const Vessik_Geo& g3 = Out.Item(n);
      if (g1.Arc() == nullptr || g2.Arc() == nullptr || g3.Arc() == nullptr) {
        // A straight segment ends the chain of points; the budget stays.
        Points.Clear();
      } else {
        const Vessik_ArcGeo& A1 = *g1.Arc();
        const Vessik_ArcGeo& A2 = *g2.Arc();
        const Vessik_ArcGeo& A3 = *g3.Arc();
        Points.Add(A3.Pe);
        const bool sameTurn = A2.Ext * A1.Ext >= 0 && A3.Ext * A2.Ext >= 0;
        const bool rising = A1.R <= A2.R && A2.R <= A3.R && sameTurn;
        const bool falling = !rising && A1.R > A2.R && A2.R > A3.R && sameTurn;
        if (rising || falling) {
          const ArcTrio Trio{{&A1, &A2, &A3}};
          std::shared_ptr<Vessik_ArcGeo> Arc1;
          std::shared_ptr<Vessik_ArcGeo> Arc2;
          ThreeArcs2Two(rising, Trio, Budget, Arc1, Arc2);
          if (Arc1 && Arc2) {
            const double Dev = ArcPairDeviation(Points, *Arc1, *Arc2);
            if (Dev < tolerance_) {
              // Worked out from the tolerance afresh, not from the old budget.
              Budget = rising ? NextBudgetRising(tolerance_, Trio, *Arc1, *Arc2)
                              : NextBudgetFalling(tolerance_, Trio, *Arc1, *Arc2);
              Out.Remove(Out.Count());
              Out.Remove(Out.Count());
              Out.Remove(Out.Count());
              Out.Add(Vessik_Geo(std::move(Arc1)));
              Out.Add(Vessik_Geo(std::move(Arc2)));
            }
          }
        }
      }
    }
    PumpMessages();
    PollCancel();
  }

  // All arcs move behind the straight segments, each kind in its order, the arcs
  // merged where they share a circle.
  GeoList Sorted;
  ArcList Arcs;
  for (Vessik_Geo& g : Out) {
    if (g.Arc() != nullptr) {
      Arcs.Add(g.TakeArc());
    } else {
      Sorted.Add(std::move(g));
    }
  }
  MergeArcs(Arcs);
  for (std::shared_ptr<Vessik_ArcGeo>& A : Arcs) Sorted.Add(Vessik_Geo(std::move(A)));
  return Sorted;
}

Vessik_Spline::ArcTrio Vessik_Spline::TrioOf(const ArcList& Trio) {
  return ArcTrio{{Trio.Item(1).get(), Trio.Item(2).get(), Trio.Item(3).get()}};
}

void Vessik_Spline::ThreeArcs2TwoRising(const ArcList& Trio, double Tol,
                                        std::shared_ptr<Vessik_ArcGeo>& Arc1,
                                        std::shared_ptr<Vessik_ArcGeo>& Arc2) const {
  ThreeArcs2Two(true, TrioOf(Trio), Tol, Arc1, Arc2);
}

void Vessik_Spline::ThreeArcs2TwoFalling(const ArcList& Trio, double Tol,
                                         std::shared_ptr<Vessik_ArcGeo>& Arc1,
                                         std::shared_ptr<Vessik_ArcGeo>& Arc2) const {
  ThreeArcs2Two(false, TrioOf(Trio), Tol, Arc1, Arc2);
}

void Vessik_Spline::ThreeArcs2Two(bool Rising, const ArcTrio& Trio, double Tol,
                                  std::shared_ptr<Vessik_ArcGeo>& Arc1,
                                  std::shared_ptr<Vessik_ArcGeo>& Arc2) const {
  Arc1.reset();
  Arc2.reset();
  const Vessik_ArcGeo& A1 = *Trio.Item(1);
  const Vessik_ArcGeo& A2 = *Trio.Item(2);
  const Vessik_ArcGeo& A3 = *Trio.Item(3);
  // B is the base arc, which grows by a; F the far arc, which shrinks by b. In
  // rising the small first arc grows, in falling the small third one.
  const Vessik_ArcGeo& B = Rising ? A1 : A3;
  const Vessik_Point& PB = Rising ? A1.Pa : A3.Pe;
  const Vessik_ArcGeo& F = Rising ? A3 : A1;
  const Vessik_Point& PF = Rising ? A3.Pe : A1.Pa;

  const Vessik_Point nB = PB.unit_vector(B.O);
  const Vessik_Point nF = PF.unit_vector(F.O);
  const double d = F.R - B.R;
  const Vessik_Point D = F.O.Substr(B.O);
  const double K0 = d * d - D.Mul(D);
  const double K1 = 2 * (D.Mul(nB) - d);
  const double K2 = 2 * (d - D.Mul(nF));
  const double K3 = 2 * (nB.Mul(nF) - 1);
  const Vessik_Point E = A2.O.Substr(B.O);
  const double g = A2.R - B.R + Tol;
  const double Limit1 = (g * g - E.Mul(E)) / (2 * (g + E.Mul(nB)));
  double p = d * d - D.Mul(D);
  double q = 2 * (d - D.Mul(nB));
  // Only the rising variant guards its quotient; falling lets a zero run on.
  if (Rising) {
    if (p == 0) p = 0.00001;
    if (q == 0) q = 0.00001;
  }
  const double Limit2 = p / q;
  const double a = MinOf(Limit1, Limit2);
  // With this b the grown circle of B and the shrunk circle of F touch inside.
  const double b = (K1 * a + K0) / (K3 * a + K2);
  const Vessik_Point CB = B.O.Add(nB.RMul(a));
  const double RB = B.R + a;
  const Vessik_Point CF = F.O.Substr(nF.RMul(b));
  const double RF = F.R - b;
  const Vessik_Point V = CF.unit_vector(CB);
  const Vessik_Point J = Rising ? CF.Add(V.RMul(RF)) : CB.Add(V.RMul(RB));
  const double Jd = Rad2Deg(ArcTan2(V.X, V.Y), 0);

  // The junction's direction must lie in the sweep of one of the old arcs.
  bool found = false;
  for (int32_t k = 1; k <= 3; ++k) {
    const Vessik_ArcGeo& A = *Trio.Item(k);
    const double s = A.Dir > 0 ? A.SA : A.EA;
    const double e = A.Dir > 0 ? A.EA : A.SA;
    if (AngleInRange(Jd, Rad2Deg(s, 0), Rad2Deg(e, 0), 0)) found = true;
  }
  if (!found) return;

  auto first = std::make_shared<Vessik_ArcGeo>();
  first->Pa = A1.Pa;
  first->Pe = J;
  first->O = Rising ? CB : CF;
  first->R = Rising ? RB : RF;
  first->SA = first->O.NormAngle(first->Pa);
  first->EA = first->O.NormAngle(first->Pe);
  first->Vessik_IEntity_Parent(parent_);
  first->Init(Id, Layer, Color, A1.Ext);

  auto second = std::make_shared<Vessik_ArcGeo>();
  second->Pa = J;
  second->Pe = A3.Pe;
  second->O = Rising ? CF : CB;
  second->R = Rising ? RF : RB;
  second->SA = second->O.NormAngle(second->Pa);
  second->EA = second->O.NormAngle(second->Pe);
  second->Vessik_IEntity_Parent(parent_);
  second->Init(Id, Layer, Color, A3.Ext);

  Arc1 = std::move(first);
  Arc2 = std::move(second);
}

double Vessik_Spline::ArcPairDeviation(PointList& Points, const Vessik_ArcGeo& Arc1,
                                       const Vessik_ArcGeo& Arc2) {
  double Worst = MostNegative;
  int32_t i = 1;
  while (i <= Points.Count()) {
    const Vessik_Point& P = Points.Item(i);
    // Ranges from the smaller to the greater angle, whatever the direction: an
    // arc across the angle Pi counts as its complement. The angle from the second
    // centre is only needed when the first arc does not claim the point.
    const double a1 = Arc1.O.NormAngle(P);
    if (MinOf(Arc1.SA, Arc1.EA) <= a1 && MaxOf(Arc1.SA, Arc1.EA) >= a1) {
      const double dev = std::abs(P.Distance(Arc1.O) - std::abs(Arc1.R));
      if (Worst < dev) Worst = dev;
    } else if (const double a2 = Arc2.O.NormAngle(P);
               MinOf(Arc2.SA, Arc2.EA) <= a2 && MaxOf(Arc2.SA, Arc2.EA) >= a2) {
      const double dev = std::abs(P.Distance(Arc2.O) - std::abs(Arc2.R));
      if (Worst < dev) Worst = dev;
    } else {
      // Outside both arcs: the point no longer counts in this chain.
      Points.Remove(i);
      continue;
    }
    ++i;
  }
  return Worst;
}

double Vessik_Spline::NextBudgetRising(double Tol, const ArcList& Trio, const Vessik_ArcGeo& Arc1,
                                       const Vessik_ArcGeo& Arc2) {
  return NextBudgetRising(Tol, TrioOf(Trio), Arc1, Arc2);
}

double Vessik_Spline::NextBudgetFalling(double Tol, const ArcList& Trio, const Vessik_ArcGeo& Arc1,
                                        const Vessik_ArcGeo& Arc2) {
  return NextBudgetFalling(Tol, TrioOf(Trio), Arc1, Arc2);
}

double Vessik_Spline::NextBudgetRising(double Tol, const ArcTrio& Trio, const Vessik_ArcGeo& Arc1,
                                       const Vessik_ArcGeo& Arc2) {
  const Vessik_ArcGeo& A1 = *Trio.Item(1);
  const Vessik_ArcGeo& A2 = *Trio.Item(2);
  const Vessik_Point n = A1.Pa.unit_vector(A1.O);
  const Vessik_Point m = Arc2.Pa.unit_vector(Arc2.O);
  const double x = (Tol * Tol + 2 * A1.R * Tol) / (2 * (m.Mul(n.RMul(A1.R + Tol)) + A1.R));
  const Vessik_Point Cn = A1.O.Add(n.RMul(x));
  const Vessik_Point gap = Arc1.Pe.Substr(Cn);
  const double g = A1.R + x - gap.Distance(gap.PointZero());
  const double t = A2.O.Distance(Arc1.Pe) - std::abs(A2.R);
  const double h = t >= 0 ? Tol - t : Tol;
  const double r = MinOf(MinOf(g, h), Tol);
  return r < 0 ? 0 : r;
}

double Vessik_Spline::NextBudgetFalling(double Tol, const ArcTrio& Trio, const Vessik_ArcGeo& Arc1,
                                        const Vessik_ArcGeo& Arc2) {
  (void)Arc2;
  const Vessik_ArcGeo& A2 = *Trio.Item(2);
  const double t = std::abs(A2.R) - A2.O.Distance(Arc1.Pe);
  const double h = t >= 0 ? Tol - t : Tol;
  const double r = MinOf(MinOf(Tol, h), Tol);
  return r < 0 ? 0 : r;
}

}  // namespace vessik
