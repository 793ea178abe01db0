#include "spline/Vessik_Nurbs.h"

#include <cmath>

#include "geometry/Vessik_Math.h"
#include "parser/ParseLimits.h"
#include "parser/Vessik_Error.h"
#include "parser/Vessik_Utils.h"

namespace vessik {

void Vessik_Nurbs::Init(int32_t IniDegree, const std::vector<double>& IniKnots,
                        const std::vector<double>& IniWeights,
                        const std::vector<Vessik_Point>& IniCPoints) {
  Degree = IniDegree;
  Knots = IniKnots;
  Weights = IniWeights;
  CPoints = IniCPoints;
  CPoints2HCPoints();
  Evaluator.Init(Degree, Knots, HCPoints);
}

double Vessik_Nurbs::Knot(int32_t i) const {
  if (i < 0 || static_cast<size_t>(i) >= Knots.size()) {
    RaisePlatformError(errnum::SubscriptOutOfRange);
  }
  return Knots[static_cast<size_t>(i)];
}

void Vessik_Nurbs::CPoints2HCPoints() {
  HCPoints.assign(CPoints.size(), Vessik_Point());
  for (size_t i = 0; i < CPoints.size(); ++i) {
    // Too few weights for the points: the read past the end fails.
    if (i >= Weights.size()) RaisePlatformError(errnum::SubscriptOutOfRange);
    const double w = Weights[i];
    // The curve is plane: the third homogeneous coordinate is the weight, and the
    // Z of the control point is dropped.
    HCPoints[i] = Vessik_Point(CPoints[i].X * w, CPoints[i].Y * w, w);
  }
}

Vessik_Point Vessik_Nurbs::HCPoint2Point(double X, double Y, double W) {
  return Vessik_Point(X / W, Y / W, 0);
}

void Vessik_Nurbs::Evaluate(int32_t n, double u, Vessik_Point& Point, double& tangent) {
  double low[2][3];
  if (Evaluator.EvaluateLowOrder(n, u, low)) {
    PointAndTangent(n, low[0], low[1], Point, tangent);
    return;
  }
  const Vessik_Array2D& CK = Evaluator.bspline_ders_evaluate(n, u);
  const double row0[3] = {CK(0, 0), CK(0, 1), CK(0, 2)};
  if (n <= 0) {
    PointAndTangent(n, row0, row0, Point, tangent);
    return;
  }
  const double row1[3] = {CK(1, 0), CK(1, 1), CK(1, 2)};
  PointAndTangent(n, row0, row1, Point, tangent);
}

void Vessik_Nurbs::PointAndTangent(int32_t n, const double (&CK0)[3], const double (&CK1)[3],
                                   Vessik_Point& Point, double& tangent) {
  Point = HCPoint2Point(CK0[0], CK0[1], CK0[2]);
  if (n <= 0) return;
  // Quotient rule for x/w and y/w.
  const double w = CK0[2];
  const double dw = CK1[2];
  double d[2];
  for (int32_t c = 0; c <= 1; ++c) {
    d[c] = (CK1[c] * w - dw * CK0[c]) / (w * w);
  }
  tangent = ArcTan2(d[0], d[1]);
}

void Vessik_Nurbs::CheckParameters(double Tolerance, int32_t Check) {
  // The knot groups start with Knots(1), and the loop below starts at index 1
  // too: for a clamped vector that counts the first knot's true multiplicity.
  groups_.clear();
  groups_.push_back({Knot(1)});
  knt_m_change = Vessik_Collection<double>();
  Ignore = Vessik_Collection<Vessik_Collection<double>>();
  if (Check == 1 || Check == 3) KnotCheck();
  if (Check == 2 || Check == 3) ControlPointCheck(Tolerance);
}

void Vessik_Nurbs::KnotCheck() {
  const int32_t m = static_cast<int32_t>(Knots.size()) - 1;
  for (int32_t i = 1; i <= m; ++i) {
    PumpMessages();
    PollCancel();
    if (Knot(i) == groups_.back().back()) {
      groups_.back().push_back(Knot(i));
    } else {
      groups_.push_back({Knot(i)});
    }
  }
  const double first = groups_.front().front();
  const double last = groups_.back().back();
  for (const std::vector<double>& G : groups_) {
    PumpMessages();
    PollCancel();
    const int64_t c = static_cast<int64_t>(G.size());
    // A multiplicity above the valid limit is passed over without a word.
    if (c > static_cast<int64_t>(Degree) + 1) continue;
    if (c > Degree && G.back() > first && G.back() < last) {
      // An inner knot of full multiplicity: compare the tangents on both sides.
      const double v = G.front();
      Vessik_Point P;
      double t0 = 0;
      double t1 = 0;
      Evaluate(1, v - 0.000000000001, P, t0);
      Evaluate(1, v, P, t1);
      if (std::abs(t0 - t1) > 0.000001) knt_m_change.Add(v);
    }
  }
}

void Vessik_Nurbs::ControlPointCheck(double Tolerance) {
  std::vector<std::vector<int32_t>> groups{{0}};
  const int32_t upper = static_cast<int32_t>(CPoints.size()) - 1;
  for (int32_t i = 0; i <= upper - 1; ++i) {
    PumpMessages();
    PollCancel();
    // The last item of the last group is an index, and the proximity test wants a
    // point: the conversion of the number to a point fails, at the first round.
    RaisePlatformError(errnum::TypeMismatch);
  }
  (void)Tolerance;
  for (const std::vector<int32_t>& G : groups) {
    if (static_cast<int64_t>(G.size()) > static_cast<int64_t>(Degree) + 1) {
      Vessik_Collection<double> stretch;
      stretch.Add(G.front() + Degree / 2.0);
      stretch.Add(G.back() + Degree / 2.0);
      Ignore.Add(stretch);
    }
  }
}

}  // namespace vessik
