#include "geometry/Vessik_Point.h"

#include <cmath>

#include "entities/Vessik_IParent.h"
#include "geometry/Vessik_Math.h"

namespace vessik {

Vessik_Point Vessik_Point::Neg() const {
  return Vessik_Point(X * -1.0, Y * -1.0, Z * -1.0);
}

Vessik_Point Vessik_Point::Add(const Vessik_Point& Pt) const {
  return Vessik_Point(Pt.X + X, Pt.Y + Y, Pt.Z + Z);
}

Vessik_Point Vessik_Point::Substr(const Vessik_Point& Pt) const {
  return Add(Pt.Neg());
}

Vessik_Point Vessik_Point::RMul(double u) const {
  return Vessik_Point(X * u, Y * u, Z * u);
}

double Vessik_Point::Mul(const Vessik_Point& Pt) const {
  return Pt.Y * Y + Pt.X * X + Pt.Z * Z;
}

double Vessik_Point::Distance(const Vessik_Point& Pt) const {
  double dy = Pt.Y - Y;
  double dx = Pt.X - X;
  double dz = Pt.Z - Z;
  return std::sqrt(dy * dy + dx * dx + dz * dz);
}

double Vessik_Point::NormAngle(const Vessik_Point& Pt) const {
  double u = Pt.X - X;
  double w = Pt.Y - Y;
  double a = ArcTan2(u, w);
  if (a > 3.14159265358979) a = a - 6.28318530717958;
  if (a < -3.14159265358979) a = a + 6.28318530717958;
  return a;
}

bool Vessik_Point::IsInTol(const Vessik_Point& Pt, double Tol) const {
  return Pt.X - X < Tol && Pt.Y - Y < Tol && Pt.Z - Z < Tol;
}

Vessik_Point Vessik_Point::rot_sca_abs(const Vessik_IParent* Parent) const {
  Vessik_Point R(X, Y, Z);
  // Innermost reference first: base point out, scale, rotate about Z, insertion
  // point in; then the same with the next reference out.
  Vessik_Placement p;
  for (; Parent != nullptr; Parent = Parent->Parent()) {
    Parent->Placement(p);
    R.X = (R.X - p.XBlock) * p.XScale;
    R.Y = (R.Y - p.YBlock) * p.YScale;
    R.Z = R.Z - p.ZBlock;
    double x = p.Cos * R.X - p.Sin * R.Y;
    double y = p.Sin * R.X + p.Cos * R.Y;
    double z = R.Z * p.ZScale;
    R.X = p.X + x;
    R.Y = p.Y + y;
    R.Z = p.Z + z;
  }
  return R;
}

Vessik_Point Vessik_Point::unit_vector(const Vessik_Point& Pt) const {
  Vessik_Point v(Pt.X - X, Pt.Y - Y, Pt.Z - Z);
  double d = v.Distance(PointZero());
  if (d > 0) {
    v.X = v.X / d;
    v.Y = v.Y / d;
    v.Z = v.Z / d;
  }
  return v;
}

}  // namespace vessik
