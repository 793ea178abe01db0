// Reaches the fitting steps of a spline one by one, so that each can be tested
// with lists made by hand.
#pragma once

#include <memory>

#include "entities/Vessik_Spline.h"
#include "geometry/Vessik_ArcGeo.h"
#include "geometry/Vessik_LineGeo.h"
#include "geometry/Vessik_Math.h"

namespace vessik {

class Vessik_SplineTestAccess {
 public:
  using GeoList = Vessik_Spline::GeoList;
  using ArcList = Vessik_Spline::ArcList;
  using PointList = Vessik_Spline::PointList;
  using Section = Vessik_Spline::Section;

  static void SetTolerance(Vessik_Spline& s, double tol) { s.tolerance_ = tol; }
  static GeoList JoinLines(const Vessik_Spline& s, const GeoList& l) { return s.JoinLines(l); }
  static GeoList JoinArcs(const Vessik_Spline& s, const GeoList& l) { return s.JoinArcs(l); }
  static void MergeArcs(ArcList& a) { Vessik_Spline::MergeArcs(a); }
  static void SwapLong(int32_t& a, int32_t& b) { Vessik_Spline::SwapLong(a, b); }
  static void Rising(const Vessik_Spline& s, const ArcList& trio, double tol,
                     std::shared_ptr<Vessik_ArcGeo>& a1, std::shared_ptr<Vessik_ArcGeo>& a2) {
    s.ThreeArcs2TwoRising(trio, tol, a1, a2);
  }
  static void Falling(const Vessik_Spline& s, const ArcList& trio, double tol,
                      std::shared_ptr<Vessik_ArcGeo>& a1, std::shared_ptr<Vessik_ArcGeo>& a2) {
    s.ThreeArcs2TwoFalling(trio, tol, a1, a2);
  }
  static double Deviation(PointList& p, const Vessik_ArcGeo& a1, const Vessik_ArcGeo& a2) {
    return Vessik_Spline::ArcPairDeviation(p, a1, a2);
  }
  static double BudgetRising(double tol, const ArcList& trio, const Vessik_ArcGeo& a1,
                             const Vessik_ArcGeo& a2) {
    return Vessik_Spline::NextBudgetRising(tol, trio, a1, a2);
  }
  static double BudgetFalling(double tol, const ArcList& trio, const Vessik_ArcGeo& a1,
                              const Vessik_ArcGeo& a2) {
    return Vessik_Spline::NextBudgetFalling(tol, trio, a1, a2);
  }
  static Vessik_Collection<Section> Split(const std::vector<double>& knots,
                                          Vessik_Collection<Section>& ignore,
                                          Vessik_Collection<double>& breaks) {
    return Vessik_Spline::SplitSections(knots, ignore, breaks);
  }
  static bool Fits(Vessik_Spline& s, const Vessik_BiArc& b, double limit, double u0, double u1) {
    return s.BiarcFits(b, limit, u0, u1);
  }
  static bool FitsArcs(Vessik_Spline& s, const Vessik_BiArcArcs& b, double limit, double u0,
                       double u1, const Vessik_Point* atU1) {
    return s.BiarcFits(b, limit, u0, u1, atU1);
  }
  static Vessik_Nurbs& Nurbs(Vessik_Spline& s) { return *s.nurbs_; }
};

// A directed arc on the circle (cx, cy, r) from sa to ea degrees, with its end
// points, built the way the biarc builds its arcs.
inline std::shared_ptr<Vessik_ArcGeo> MakeArc(double cx, double cy, double r, double saDeg,
                                              double eaDeg, double dir) {
  auto a = std::make_shared<Vessik_ArcGeo>();
  const double sa = saDeg * Pi / 180;
  const double ea = eaDeg * Pi / 180;
  a->O = Vessik_Point(cx, cy, 0);
  a->R = r;
  a->Pa = Vessik_Point(cx + r * std::cos(sa), cy + r * std::sin(sa), 0);
  a->Pe = Vessik_Point(cx + r * std::cos(ea), cy + r * std::sin(ea), 0);
  a->SA = a->O.NormAngle(a->Pa);
  a->EA = a->O.NormAngle(a->Pe);
  a->Init(1, 0, nullptr, dir);
  return a;
}

inline std::shared_ptr<Vessik_LineGeo> MakeLine(double x1, double y1, double x2, double y2) {
  auto l = std::make_shared<Vessik_LineGeo>();
  l->Pa = Vessik_Point(x1, y1, 0);
  l->Pe = Vessik_Point(x2, y2, 0);
  l->Init(1, 0, nullptr);
  return l;
}

}  // namespace vessik
