// Plain 3D vectors and affine maps for the true-geometry mode, which carries every
// entity through its object coordinate system and each block reference with one
// matrix, rather than point by point through the reference chain.
#pragma once

#include <cmath>

namespace vessik {

struct Vec3 {
  double x = 0;
  double y = 0;
  double z = 0;
};

inline Vec3 operator+(const Vec3& a, const Vec3& b) {
  return {a.x + b.x, a.y + b.y, a.z + b.z};
}
inline Vec3 operator-(const Vec3& a, const Vec3& b) {
  return {a.x - b.x, a.y - b.y, a.z - b.z};
}
inline Vec3 operator*(double k, const Vec3& a) {
  return {k * a.x, k * a.y, k * a.z};
}
inline double Dot(const Vec3& a, const Vec3& b) {
  return a.x * b.x + a.y * b.y + a.z * b.z;
}
inline Vec3 Cross(const Vec3& a, const Vec3& b) {
  return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}
inline double Length(const Vec3& a) {
  return std::sqrt(Dot(a, a));
}

// x' = L x + t, with the linear part L in the first three columns and t in the last.
class Affine {
 public:
  static Affine Identity() { return FromColumns({1, 0, 0}, {0, 1, 0}, {0, 0, 1}, {}); }
  static Affine FromColumns(const Vec3& x, const Vec3& y, const Vec3& z, const Vec3& t);
  static Affine Translation(const Vec3& t) {
    return FromColumns({1, 0, 0}, {0, 1, 0}, {0, 0, 1}, t);
  }
  static Affine Scaling(double sx, double sy, double sz) {
    return FromColumns({sx, 0, 0}, {0, sy, 0}, {0, 0, sz}, {});
  }
  // Counter-clockwise about Z, seen with Z pointing at the viewer.
  static Affine RotationZ(double degrees);
  // From the object coordinate system of an extrusion direction to the frame that
  // holds the entity, by the format's arbitrary axis rule. A zero direction is
  // taken as +Z.
  static Affine FromOcs(const Vec3& extrusion);

  Vec3 Point(const Vec3& p) const;
  Vec3 Vector(const Vec3& v) const;
  // This map after inner: (this * inner)(p) = this(inner(p)).
  Affine operator*(const Affine& inner) const;

 private:
  double m_[3][4] = {};
};

}  // namespace vessik
