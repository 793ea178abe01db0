#include "geometry/Affine.h"

#include <numbers>

namespace vessik {

Affine Affine::FromColumns(const Vec3& x, const Vec3& y, const Vec3& z, const Vec3& t) {
  Affine a;
  const Vec3 columns[4] = {x, y, z, t};
  for (int c = 0; c < 4; ++c) {
    a.m_[0][c] = columns[c].x;
    a.m_[1][c] = columns[c].y;
    a.m_[2][c] = columns[c].z;
  }
  return a;
}

Affine Affine::RotationZ(double degrees) {
  const double r = degrees * (std::numbers::pi / 180);
  const double c = std::cos(r);
  const double s = std::sin(r);
  return FromColumns({c, s, 0}, {-s, c, 0}, {0, 0, 1}, {});
}

Affine Affine::FromOcs(const Vec3& extrusion) {
  const double length = Length(extrusion);
  if (!(length > 0) || !std::isfinite(length)) return Identity();
  const Vec3 n = (1 / length) * extrusion;
  // Near the world Z axis the object X axis comes from world Y, elsewhere from Z.
  constexpr double kNearZ = 1.0 / 64;
  const Vec3 helper =
      (std::abs(n.x) < kNearZ && std::abs(n.y) < kNearZ) ? Vec3{0, 1, 0} : Vec3{0, 0, 1};
  Vec3 ax = Cross(helper, n);
  ax = (1 / Length(ax)) * ax;
  Vec3 ay = Cross(n, ax);
  ay = (1 / Length(ay)) * ay;
  return FromColumns(ax, ay, n, {});
}

Vec3 Affine::Point(const Vec3& p) const {
  return {m_[0][0] * p.x + m_[0][1] * p.y + m_[0][2] * p.z + m_[0][3],
          m_[1][0] * p.x + m_[1][1] * p.y + m_[1][2] * p.z + m_[1][3],
          m_[2][0] * p.x + m_[2][1] * p.y + m_[2][2] * p.z + m_[2][3]};
}

Vec3 Affine::Vector(const Vec3& v) const {
  return {m_[0][0] * v.x + m_[0][1] * v.y + m_[0][2] * v.z,
          m_[1][0] * v.x + m_[1][1] * v.y + m_[1][2] * v.z,
          m_[2][0] * v.x + m_[2][1] * v.y + m_[2][2] * v.z};
}

Affine Affine::operator*(const Affine& inner) const {
  Affine r;
  for (int i = 0; i < 3; ++i) {
    for (int j = 0; j < 4; ++j) {
      double sum = j == 3 ? m_[i][3] : 0;
      for (int k = 0; k < 3; ++k) sum += m_[i][k] * inner.m_[k][j];
      r.m_[i][j] = sum;
    }
  }
  return r;
}

}  // namespace vessik
