#pragma once

#include <cstdint>

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
  Vessik_Point Neg() const;
  Vessik_Point Add(const Vessik_Point& Pt) const;
  // This point less Pt, computed as this + (-1 × Pt).
  Vessik_Point Substr(const Vessik_Point& Pt) const;
  Vessik_Point RMul(double u) const;
  // Dot product.
  double Mul(const Vessik_Point& Pt) const;
  double Distance(const Vessik_Point& Pt) const;
  // Direction of the step to Pt in the XY plane, radians, from -Pi to Pi.
  double NormAngle(const Vessik_Point& Pt) const;
  // One-sided: each difference Pt - this strictly below Tol.
  bool IsInTol(const Vessik_Point& Pt, double Tol) const;
  // This point carried out of a block definition through Parent and all its
  // ancestors into world coordinates.
  Vessik_Point rot_sca_abs(const Vessik_IParent* Parent) const;
  Vessik_Point unit_vector(const Vessik_Point& Pt) const;
};

}  // namespace vessik
