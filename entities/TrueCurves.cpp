#include "entities/TrueCurves.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>

#include "entities/RecordText.h"
#include "parser/ParseLimits.h"
#include "parser/Vessik_Error.h"
#include "parser/Vessik_Utils.h"

namespace vessik {
namespace {

constexpr double kTwoPi = 2 * std::numbers::pi;
// Samples inside each piece at which the fit is held against the curve.
constexpr int kSamples = 16;
// Halvings of one piece before its chords are taken as they are.
constexpr int kMaxDepth = 24;
// Relative size under which two lengths, or a length and zero, count as equal.
constexpr double kRelative = 1e-9;

double Degrees(double radians) {
  double d = std::fmod(radians * (180 / std::numbers::pi), 360.0);
  if (d < 0) d += 360;
  if (d >= 360) d -= 360;
  return d;
}

// The angle from a to b counter-clockwise, in [0, 2 pi).
double TurnFrom(double a, double b) {
  double d = std::fmod(b - a, kTwoPi);
  if (d < 0) d += kTwoPi;
  return d;
}

double DistanceToSegment(const Vec3& p, const Vec3& a, const Vec3& b) {
  const Vec3 d = b - a;
  const double dd = Dot(d, d);
  double t = dd > 0 ? Dot(p - a, d) / dd : 0;
  t = std::clamp(t, 0.0, 1.0);
  return Length(p - (a + t * d));
}

bool Finite(const Vec3& p) {
  return std::isfinite(p.x) && std::isfinite(p.y) && std::isfinite(p.z);
}

// The circle through three points of the XY plane; false when they are (nearly)
// on one line.
bool CircleThrough(const Vec3& a, const Vec3& b, const Vec3& c, Vec3& centre, double& r) {
  const double bx = b.x - a.x, by = b.y - a.y, cx = c.x - a.x, cy = c.y - a.y;
  const double d = 2 * (bx * cy - by * cx);
  const double scale = std::max({std::abs(bx), std::abs(by), std::abs(cx), std::abs(cy)});
  if (!(std::abs(d) > kRelative * scale * scale)) return false;
  const double b2 = bx * bx + by * by, c2 = cx * cx + cy * cy;
  centre = {a.x + (cy * b2 - by * c2) / d, a.y + (bx * c2 - cx * b2) / d, a.z};
  r = std::hypot(a.x - centre.x, a.y - centre.y);
  return std::isfinite(r);
}

struct ConicCurve {
  Vec3 c, u, v;
  Vec3 operator()(double t) const { return c + std::cos(t) * u + std::sin(t) * v; }
};

// A rational B-spline, evaluated by de Boor's algorithm on homogeneous points.
class NurbsCurve {
 public:
  NurbsCurve(int32_t degree, const std::vector<double>& knots, const std::vector<double>& weights,
             const std::vector<Vec3>& points)
      : p_(degree), knots_(knots) {
    homogeneous_.reserve(points.size());
    for (size_t i = 0; i < points.size(); ++i) {
      const double w = i < weights.size() ? weights[i] : 1.0;
      homogeneous_.push_back({w * points[i].x, w * points[i].y, w * points[i].z, w});
    }
    work_.resize(static_cast<size_t>(degree) + 1);
  }
  double Begin() const { return knots_[static_cast<size_t>(p_)]; }
  double End() const { return knots_[homogeneous_.size()]; }
  Vec3 operator()(double t) const {
    const size_t n = homogeneous_.size();
    const size_t p = static_cast<size_t>(p_);
    // The span k with knots[k] <= t < knots[k + 1], within [p, n - 1].
    size_t k =
        static_cast<size_t>(std::upper_bound(knots_.begin() + static_cast<std::ptrdiff_t>(p),
                                             knots_.begin() + static_cast<std::ptrdiff_t>(n), t) -
                            knots_.begin());
    k = std::clamp(k, p + 1, n) - 1;
    for (size_t j = 0; j <= p; ++j) work_[j] = homogeneous_[j + k - p];
    for (size_t r = 1; r <= p; ++r) {
      for (size_t j = p; j >= r; --j) {
        const double left = knots_[j + k - p];
        const double right = knots_[j + 1 + k - r];
        const double alpha = right > left ? (t - left) / (right - left) : 0;
        for (int c = 0; c < 4; ++c) {
          work_[j][c] = (1 - alpha) * work_[j - 1][c] + alpha * work_[j][c];
        }
      }
    }
    const auto& h = work_[p];
    return {h[0] / h[3], h[1] / h[3], h[2] / h[3]};
  }

 private:
  int32_t p_;
  const std::vector<double>& knots_;
  std::vector<std::array<double, 4>> homogeneous_;
  mutable std::vector<std::array<double, 4>> work_;
};

}  // namespace

void TrueSink::CheckTolerance() {
  if (data_ == nullptr) RaisePlatformError(errnum::ObjectNotSet);
  tolerance_ = data_->Tolerance;
  // As the fits of the default mode: a tolerance no fit can meet is a failure
  // rather than an endless refinement.
  if (!(tolerance_ > 0) || !std::isfinite(tolerance_)) {
    RaiseCatalogued(CataloguedError("TooManyIterations"));
  }
}

void TrueSink::Segment(const RecordOwner& owner, const Vec3& a, const Vec3& b) {
  AppendRecord(text_, owner.id, 83, owner.layerName, owner.layer, owner.colour,
               {a.x, a.y, a.z, b.x, b.y, b.z, 0, 0, 0, 0, 0, 0});
}

void TrueSink::Arc(const RecordOwner& owner, const Vec3& centre, double r, double startRad,
                   double endRad) {
  AppendRecord(
      text_, owner.id, 66, owner.layerName, owner.layer, owner.colour,
      {0, 0, 0, 0, 0, 0, centre.x, centre.y, centre.z, r, Degrees(startRad), Degrees(endRad)});
}

void TrueSink::Circle(const RecordOwner& owner, const Vec3& c, double r) {
  AppendRecord(text_, owner.id, 75, owner.layerName, owner.layer, owner.colour,
               {c.x - r, c.y - r, c.z, c.x + r, c.y + r, c.z, c.x, c.y, c.z, r, 0, 0});
}

void TrueSink::CircleArc(const RecordOwner& owner, const Affine& place, const Vec3& c, double r,
                         double a0, double a1, bool full) {
  const Vec3 centre = place.Point(c);
  const Vec3 u = place.Vector({r, 0, 0});
  const Vec3 v = place.Vector({0, r, 0});
  double t0 = a0 * (std::numbers::pi / 180);
  double t1 = a1 * (std::numbers::pi / 180);
  if (full) {
    t1 = t0 + kTwoPi;
  } else {
    t1 = t0 + TurnFrom(t0, t1);
    if (t1 == t0) t1 = t0 + kTwoPi;  // equal angles: the whole circle
  }
  Conic(owner, centre, u, v, t0, t1);
}

bool TrueSink::ExactCircle(const RecordOwner& owner, const Vec3& c, const Vec3& u, const Vec3& v,
                           double t0, double t1) {
  const double lu = Length(u), lv = Length(v);
  const double size = std::max(lu, lv);
  const bool circle = std::abs(lu - lv) <= kRelative * size &&
                      std::abs(Dot(u, v)) <= kRelative * size * size &&
                      std::abs(u.z) <= kRelative * size && std::abs(v.z) <= kRelative * size;
  if (!circle) return false;
  if (t1 - t0 >= kTwoPi) {
    Circle(owner, c, lu);
    return true;
  }
  // With u and v turned the other way round (a mirroring placement, an extrusion
  // towards -Z) the curve runs clockwise: counter-clockwise from its end.
  const Vec3 s = std::cos(t0) * u + std::sin(t0) * v;
  const Vec3 e = std::cos(t1) * u + std::sin(t1) * v;
  const double as = std::atan2(s.y, s.x), ae = std::atan2(e.y, e.x);
  if (Cross(u, v).z > 0) {
    Arc(owner, c, lu, as, ae);
  } else {
    Arc(owner, c, lu, ae, as);
  }
  return true;
}

void TrueSink::Conic(const RecordOwner& owner, const Vec3& c, const Vec3& u, const Vec3& v,
                     double t0, double t1) {
  if (!(t1 > t0) || !Finite(c) || !Finite(u) || !Finite(v)) return;
  // A circle that stays a circle in a plane parallel to XY prints exactly.
  if (ExactCircle(owner, c, u, v, t0, t1)) return;
  CheckTolerance();
  const double size = std::max(Length(u), Length(v));
  const bool planar = std::abs(u.z) <= kRelative * size && std::abs(v.z) <= kRelative * size;
  // Pieces of at most an eighth of a turn to start with.
  const int pieces = std::max(1, static_cast<int>(std::ceil((t1 - t0) / (kTwoPi / 8))));
  std::vector<double> breaks;
  for (int i = 0; i <= pieces; ++i) breaks.push_back(t0 + (t1 - t0) * i / pieces);
  breaks.back() = t1;
  Fit(owner, ConicCurve{c, u, v}, breaks, planar);
}

void TrueSink::Nurbs(const RecordOwner& owner, int32_t degree, const std::vector<double>& knots,
                     const std::vector<double>& weights, const std::vector<Vec3>& points) {
  const size_t n = points.size();
  if (degree < 1 || degree > 64 || n < static_cast<size_t>(degree) + 1 ||
      knots.size() != n + static_cast<size_t>(degree) + 1) {
    return;
  }
  for (size_t i = 0; i < knots.size(); ++i) {
    if (!std::isfinite(knots[i]) || (i > 0 && knots[i] < knots[i - 1])) return;
  }
  for (size_t i = 0; i < n; ++i) {
    if (!Finite(points[i])) return;
    if (i < weights.size() && !(weights[i] > 0 && std::isfinite(weights[i]))) return;
  }
  const NurbsCurve curve(degree, knots, weights, points);
  if (!(curve.End() > curve.Begin())) return;
  CheckTolerance();
  double low = points[0].z, high = points[0].z, extent = 0;
  for (const Vec3& p : points) {
    low = std::min(low, p.z);
    high = std::max(high, p.z);
    extent = std::max({extent, std::abs(p.x), std::abs(p.y), std::abs(p.z)});
  }
  // The knots inside the range start the pieces: the curve is smooth between them.
  std::vector<double> breaks{curve.Begin()};
  for (double k : knots) {
    if (k > breaks.back() && k < curve.End()) breaks.push_back(k);
  }
  breaks.push_back(curve.End());
  Fit(owner, curve, breaks, high - low <= kRelative * std::max(extent, 1.0));
}

template <class Curve>
void TrueSink::Fit(const RecordOwner& owner, const Curve& curve, const std::vector<double>& breaks,
                   bool planar) {
  for (size_t i = 0; i + 1 < breaks.size(); ++i) {
    FitPiece(owner, curve, breaks[i], breaks[i + 1], planar, 0);
  }
}

template <class Curve>
void TrueSink::FitPiece(const RecordOwner& owner, const Curve& curve, double a, double b,
                        bool planar, int depth) {
  if ((++pieces_ & 0xFF) == 0) {
    PumpMessages();
    PollCancel();
  }
  const double m = a + (b - a) / 2;
  const Vec3 p0 = curve(a), pm = curve(m), p1 = curve(b);
  if (!Finite(p0) || !Finite(pm) || !Finite(p1)) return;
  Vec3 samples[kSamples];
  for (int k = 0; k < kSamples; ++k) samples[k] = curve(a + (b - a) * (k + 0.5) / kSamples);

  // One arc through the ends and the middle, where the curve lies in a plane
  // parallel to XY and every sample is on it, within its sweep.
  Vec3 centre;
  double r = 0;
  if (planar && CircleThrough(p0, pm, p1, centre, r)) {
    const double s0 = std::atan2(p0.y - centre.y, p0.x - centre.x);
    const double sm = std::atan2(pm.y - centre.y, pm.x - centre.x);
    const double s1 = std::atan2(p1.y - centre.y, p1.x - centre.x);
    const bool ccw = TurnFrom(s0, sm) < TurnFrom(s0, s1);
    const double sweep = ccw ? TurnFrom(s0, s1) : TurnFrom(s1, s0);
    bool fits = true;
    for (const Vec3& s : samples) {
      const double angle = std::atan2(s.y - centre.y, s.x - centre.x);
      const double along = ccw ? TurnFrom(s0, angle) : TurnFrom(angle, s0);
      if (along > sweep || std::abs(std::hypot(s.x - centre.x, s.y - centre.y) - r) > tolerance_ ||
          !Finite(s)) {
        fits = false;
        break;
      }
    }
    if (fits) return ccw ? Arc(owner, centre, r, s0, s1) : Arc(owner, centre, r, s1, s0);
  }
  // Else one segment, if every sample is near it.
  bool straight = true;
  for (const Vec3& s : samples) {
    if (!(DistanceToSegment(s, p0, p1) <= tolerance_)) {
      straight = false;
      break;
    }
  }
  if (straight) return Segment(owner, p0, p1);
  if (depth >= kMaxDepth || !(m > a && b > m)) {
    Segment(owner, p0, pm);
    return Segment(owner, pm, p1);
  }
  FitPiece(owner, curve, a, m, planar, depth + 1);
  FitPiece(owner, curve, m, b, planar, depth + 1);
}

}  // namespace vessik
