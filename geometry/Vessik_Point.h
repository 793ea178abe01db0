#pragma once

#include <cmath>
#include <cstdint>

#include "geometry/Vessik_Math.h"

namespace vessik {

class Vessik_IParent;

// A point of the plane or of space, which serves as a free vector too. Every
// operation returns a new point that carries only X, Y and Z: Id, Layer, Valid and
// Bulge of a result are always the defaults.
class Vessik_Point {
 public:
  int32_t Id = 0;
  int32_t Layer = 0;
  double X = 0;
  double Y = 0;
  double Z = 0;
  bool Valid = false;
  double Bulge = 0;

  Vessik_Point() = default;
  Vessik_Point(double x, double y, double z) : X(x), Y(y), Z(z) {}

  Vessik_Point PointZero() const { return Vessik_Point(); }
  // The small operations are defined here, so that the curve fitting, which
  // calls them millions of times, pays no call for them.
  Vessik_Point Neg() const { return Vessik_Point(X * -1.0, Y * -1.0, Z * -1.0); }
  Vessik_Point Add(const Vessik_Point& Pt) const {
    return Vessik_Point(Pt.X + X, Pt.Y + Y, Pt.Z + Z);
  }
  // This point less Pt, computed as this + (-1 × Pt).
  Vessik_Point Substr(const Vessik_Point& Pt) const { return Add(Pt.Neg()); }
  Vessik_Point RMul(double u) const { return Vessik_Point(X * u, Y * u, Z * u); }
  // Dot product.
  double Mul(const Vessik_Point& Pt) const { return Pt.Y * Y + Pt.X * X + Pt.Z * Z; }
  double Distance(const Vessik_Point& Pt) const {
    double dy = Pt.Y - Y;
    double dx = Pt.X - X;
    double dz = Pt.Z - Z;
    return std::sqrt(dy * dy + dx * dx + dz * dz);
  }
  // Direction of the step to Pt in the XY plane, radians, from -Pi to Pi.
  double NormAngle(const Vessik_Point& Pt) const {
    double u = Pt.X - X;
    double w = Pt.Y - Y;
    double a = ArcTan2(u, w);
    if (a > 3.14159265358979) a = a - 6.28318530717958;
    if (a < -3.14159265358979) a = a + 6.28318530717958;
    return a;
  }
  // One-sided: each difference Pt - this strictly below Tol.
  bool IsInTol(const Vessik_Point& Pt, double Tol) const;
  // This point carried out of a block definition through Parent and all its
  // ancestors into world coordinates.
  Vessik_Point rot_sca_abs(const Vessik_IParent* Parent) const;
  Vessik_Point unit_vector(const Vessik_Point& Pt) const;
};

}  // namespace vessik
