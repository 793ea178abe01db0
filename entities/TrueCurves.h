// Records of the true-geometry mode: world geometry in, the three record types
// out. Segments pass as they are; circles and arcs that stay circles in a plane
// parallel to XY print exactly; every other curve (an arc seen askew, an ellipse,
// a spline) is approximated by arcs and segments, each checked against the curve
// on dense samples and split until it lies within the tolerance.
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "geometry/Affine.h"
#include "parser/Vessik_CommonData.h"
#include "parser/Vessik_Concat.h"

namespace vessik {

// What every record of one entity carries.
struct RecordOwner {
  int64_t id = 0;
  int32_t layer = 0;
  int32_t colour = 0;
  std::string_view layerName;
};

class TrueSink {
 public:
  // The tolerance is the settings' Tolerance; a fit without settings fails with 91.
  TrueSink(Vessik_Concat& text, const Vessik_CommonData* data) : text_(text), data_(data) {}

  void Segment(const RecordOwner& owner, const Vec3& a, const Vec3& b);
  // A circle (full) or an arc counter-clockwise from a0 to a1 degrees, of centre c
  // and radius r in an entity's object coordinates, which place takes to the world.
  void CircleArc(const RecordOwner& owner, const Affine& place, const Vec3& c, double r, double a0,
                 double a1, bool full);
  // The curve c + cos t u + sin t v for t from t0 to t1 (radians), in the world.
  void Conic(const RecordOwner& owner, const Vec3& c, const Vec3& u, const Vec3& v, double t0,
             double t1);
  // A rational B-spline whose control points are already in the world. A curve
  // whose knots, weights or degree do not make one is left out.
  void Nurbs(const RecordOwner& owner, int32_t degree, const std::vector<double>& knots,
             const std::vector<double>& weights, const std::vector<Vec3>& points);

 private:
  template <class Curve>
  void Fit(const RecordOwner& owner, const Curve& curve, const std::vector<double>& breaks,
           bool planar);
  template <class Curve>
  void FitPiece(const RecordOwner& owner, const Curve& curve, double a, double b, bool planar,
                int depth);
  void Arc(const RecordOwner& owner, const Vec3& centre, double r, double startRad, double endRad);
  void Circle(const RecordOwner& owner, const Vec3& centre, double r);
  // Prints c + cos t u + sin t v exactly when it is a circle in a plane parallel
  // to XY; false when it is not one.
  bool ExactCircle(const RecordOwner& owner, const Vec3& c, const Vec3& u, const Vec3& v, double t0,
                   double t1);
  // Takes the tolerance for a fit: raises when there are no settings or no fit
  // can meet it.
  void CheckTolerance();

  Vessik_Concat& text_;
  const Vessik_CommonData* data_;
  double tolerance_ = 0;
  int64_t pieces_ = 0;
};

}  // namespace vessik
