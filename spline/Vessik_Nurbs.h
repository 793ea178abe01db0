// The rational curve over the B-spline evaluator: homogeneous control points,
// curve point and tangent direction at a parameter, and the inspection of the
// curve for tangent breaks and runs of coincident control points.
#pragma once

#include <cstdint>
#include <vector>

#include "geometry/Vessik_Point.h"
#include "parser/Vessik_Collection.h"
#include "spline/Vessik_BSpline.h"

namespace vessik {

class Vessik_Nurbs {
 public:
  // Parameter stretches to skip, each a collection of two values.
  Vessik_Collection<Vessik_Collection<double>> Ignore;
  // Knots at which the tangent direction jumps, in rising order.
  Vessik_Collection<double> knt_m_change;

  void Init(int32_t IniDegree, const std::vector<double>& IniKnots,
            const std::vector<double>& IniWeights, const std::vector<Vessik_Point>& IniCPoints);
  // Check 1: knot check; 2: control-point check; 3: both; anything else: none.
  void CheckParameters(double Tolerance, int32_t Check);
  // Point at u; for n above 0 also the tangent direction in radians, which is
  // otherwise left as the caller passed it.
  void Evaluate(int32_t n, double u, Vessik_Point& Point, double& tangent);
  // Gives back the memory of the evaluator's work arrays once the fit is done.
  void FreeWorkArrays() { Evaluator.FreeWorkArrays(); }

 private:
  void CPoints2HCPoints();
  // The homogeneous coordinates (x*w, y*w, w) back to a plane point.
  static Vessik_Point HCPoint2Point(double X, double Y, double W);
  // The point from row 0 of the homogeneous derivatives and, for n above 0, the
  // tangent direction from rows 0 and 1.
  static void PointAndTangent(int32_t n, const double (&CK0)[3], const double (&CK1)[3],
                              Vessik_Point& Point, double& tangent);
  double Knot(int32_t i) const;
  void KnotCheck();
  void ControlPointCheck(double Tolerance);

  int32_t Degree = 0;
  std::vector<double> Knots;
  std::vector<double> Weights;
  std::vector<Vessik_Point> CPoints;
  std::vector<Vessik_Point> HCPoints;
  Vessik_BSpline Evaluator;
  // Work list of knot groups of the knot check.
  std::vector<std::vector<double>> groups_;
};

}  // namespace vessik
