#include "geometry/Vessik_Point.h"

#include <cmath>

#include "entities/Vessik_IParent.h"
#include "geometry/Vessik_Math.h"

namespace vessik {

bool Vessik_Point::IsInTol(const Vessik_Point& Pt, double Tol) const {
  return Pt.X - X < Tol && Pt.Y - Y < Tol && Pt.Z - Z < Tol;
}

Vessik_Point Vessik_Point::rot_sca_abs(const Vessik_IParent* Parent) const {
  Vessik_Point R(X, Y, Z);
  // Innermost reference first: base point out, scale, rotate about Z, insertion
  // point in; then the same with the next reference out.
  for (; Parent != nullptr; Parent = Parent->Parent()) {
    const Vessik_Placement& p = Parent->Placement();
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
