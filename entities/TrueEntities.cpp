#include "entities/TrueEntities.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <numbers>

#include "entities/Vessik_Entity.h"
#include "geometry/Vessik_Math.h"
#include "parser/GroupPairs.h"
#include "parser/ParseLimits.h"
#include "parser/Vessik_Convert.h"
#include "parser/Vessik_Error.h"
#include "parser/Vessik_Utils.h"

namespace vessik {
namespace {

TrueKind KindOf(std::string_view keyword) {
  if (keyword == "LINE") return TrueKind::Line;
  if (keyword == "CIRCLE") return TrueKind::Circle;
  if (keyword == "ARC") return TrueKind::Arc;
  if (keyword == "LWPOLYLINE") return TrueKind::LwPolyline;
  if (keyword == "POLYLINE") return TrueKind::Polyline;
  if (keyword == "ELLIPSE") return TrueKind::Ellipse;
  if (keyword == "SPLINE") return TrueKind::Spline;
  if (keyword == "INSERT") return TrueKind::Insert;
  return TrueKind::None;
}

// POLYLINE flags: a 3D polyline, a polygon mesh, a polyface mesh; VERTEX flag of a
// spline frame's control point, which is no point of the curve.
constexpr int32_t k3dPolyline = 8;
constexpr int32_t kMesh = 16;
constexpr int32_t kPolyface = 64;
constexpr int32_t kFrameControlPoint = 16;

// The groups of one entity, from first up to the next code 0 (or end): the
// shared ones go into the entity, the rest to onGroup. Returns the index of that
// code 0.
template <class OnGroup>
int32_t ReadGroupsOf(TrueEntity& e, int32_t first, int32_t end, Vessik_Layers& layers,
                     OnGroup&& onGroup) {
  const GroupPairTable& pairs = GroupPairs();
  int32_t i = first;
  for (; i <= end && pairs.Code(i) != 0; ++i) {
    if ((i & 0xFFFF) == 0) PollCancel();
    const int32_t code = pairs.Code(i);
    const std::string_view value = pairs.Value(i);
    switch (code) {
      case 5:
        e.id = UnsignedHandle(value);
        break;
      case 8:
        e.layer = LayerIndex(layers, value);
        break;
      case 62:
        ReadColor(e.color, value);
        break;
      case 210:
        e.extrusion.x = ParseDouble(value);
        break;
      case 220:
        e.extrusion.y = ParseDouble(value);
        break;
      case 230:
        e.extrusion.z = ParseDouble(value);
        break;
      default:
        onGroup(code, value);
    }
  }
  return i;
}

// Passes over the groups of an entity that draws nothing, without reading them:
// its layer is not added to the layers. Returns the index of the next code 0.
int32_t SkipGroups(int32_t first, int32_t end) {
  const GroupPairTable& pairs = GroupPairs();
  int32_t i = first;
  while (i <= end && pairs.Code(i) != 0) ++i;
  return i;
}

void SetX(Vec3& p, int32_t code, int32_t base, std::string_view value) {
  if (code == base) p.x = ParseDouble(value);
  if (code == base + 10) p.y = ParseDouble(value);
  if (code == base + 20) p.z = ParseDouble(value);
}

int32_t ReadPolylineVertices(TrueEntity& e, int32_t next, int32_t end, Vessik_Layers& layers) {
  const GroupPairTable& pairs = GroupPairs();
  while (next <= end && pairs.Value(next) == "VERTEX") {
    TrueEntity vertex;
    TrueVertex v;
    next = ReadGroupsOf(vertex, next + 1, end, layers, [&](int32_t code, std::string_view value) {
      SetX(v.p, code, 10, value);
      if (code == 42) v.bulge = ParseDouble(value);
      if (code == 70) v.flags = TextToLong(value);
    });
    e.vertices.push_back(v);
  }
  if (next <= end && pairs.Value(next) == "SEQEND") next = SkipGroups(next + 1, end);
  return next;
}

RecordOwner OwnerOf(const TrueEntity& e, const Vessik_Layers& layers) {
  return {e.id, e.layer, EntityColor(e.color.get(), e.layer, layers),
          EntityLayerName(e.layer, layers)};
}

// A polyline's vertices in its object coordinates, with their bulges: segments,
// and arcs where a bulge is not 0. Closed polylines come back to the first vertex.
void PrintVertices(const RecordOwner& owner, const std::vector<TrueVertex>& vertices, bool closed,
                   const Affine& place, bool bulges, TrueSink& sink) {
  const size_t n = vertices.size();
  if (n < 2) return;
  const size_t segments = closed ? n : n - 1;
  for (size_t i = 0; i < segments; ++i) {
    const TrueVertex& v0 = vertices[i];
    const Vec3& p0 = v0.p;
    const Vec3& p1 = vertices[(i + 1) % n].p;
    const double bulge = bulges ? v0.bulge : 0;
    const Vec3 chord = p1 - p0;
    const double c = std::hypot(chord.x, chord.y);
    if (bulge == 0 || !(c > 0) || !std::isfinite(bulge)) {
      sink.Segment(owner, place.Point(p0), place.Point(p1));
      continue;
    }
    // The arc turns by 4 atan(bulge), counter-clockwise for a positive bulge, and
    // its centre lies to the left of the chord for a turn below a half circle.
    const double theta = 4 * std::atan(bulge);
    const double r = c / (2 * std::sin(std::abs(theta) / 2));
    const double offset = (c / 2) / std::tan(theta / 2);
    const Vec3 centre{(p0.x + p1.x) / 2 - chord.y / c * offset,
                      (p0.y + p1.y) / 2 + chord.x / c * offset, p0.z};
    const double a0 = std::atan2(p0.y - centre.y, p0.x - centre.x) * (180 / std::numbers::pi);
    const double a1 = std::atan2(p1.y - centre.y, p1.x - centre.x) * (180 / std::numbers::pi);
    if (theta > 0) {
      sink.CircleArc(owner, place, centre, r, a0, a1, false);
    } else {
      sink.CircleArc(owner, place, centre, r, a1, a0, false);
    }
  }
}

}  // namespace

int64_t UnsignedHandle(std::string_view text) {
  uint64_t value = 0;
  size_t digits = 0;
  for (char ch : text) {
    int d;
    if (ch >= '0' && ch <= '9') {
      d = ch - '0';
    } else if (ch >= 'A' && ch <= 'F') {
      d = ch - 'A' + 10;
    } else if (ch >= 'a' && ch <= 'f') {
      d = ch - 'a' + 10;
    } else if (ch == ' ' || ch == '\t') {
      continue;
    } else {
      return 0;
    }
    if (digits == 0 && d == 0) continue;
    if (++digits > 15) return 0;  // past what a record's 64-bit column holds
    value = value * 16 + static_cast<uint64_t>(d);
  }
  return static_cast<int64_t>(value);
}

int32_t ReadTrueEntity(std::string_view keyword, int32_t first, int32_t end, Vessik_Layers& layers,
                       TrueEntity& e) {
  const TrueKind kind = KindOf(keyword);
  if (kind == TrueKind::None) return SkipGroups(first, end);
  Vec3 point;
  bool pointStarted = false;
  std::vector<Vec3> controlPoints;
  const int32_t next =
      ReadGroupsOf(e, first, end, layers, [&](int32_t code, std::string_view value) {
        switch (kind) {
          case TrueKind::Line:
            SetX(e.a, code, 10, value);
            SetX(e.b, code, 11, value);
            break;
          case TrueKind::Circle:
          case TrueKind::Arc:
            SetX(e.a, code, 10, value);
            if (code == 40) e.r = ParseDouble(value);
            if (code == 50) e.start = ParseDouble(value);
            if (code == 51) e.end = ParseDouble(value);
            break;
          case TrueKind::LwPolyline:
            if (code == 10) e.vertices.push_back({{ParseDouble(value), 0, 0}, 0, 0});
            if (code == 20 && !e.vertices.empty()) e.vertices.back().p.y = ParseDouble(value);
            if (code == 42 && !e.vertices.empty()) e.vertices.back().bulge = ParseDouble(value);
            if (code == 38) e.elevation = ParseDouble(value);
            if (code == 70) e.flags = TextToLong(value);
            break;
          case TrueKind::Polyline:
            SetX(e.a, code, 10, value);
            if (code == 70) e.flags = TextToLong(value);
            break;
          case TrueKind::Ellipse:
            SetX(e.a, code, 10, value);
            SetX(e.b, code, 11, value);
            if (code == 40) e.r = ParseDouble(value);
            if (code == 41) e.start = ParseDouble(value);
            if (code == 42) e.end = ParseDouble(value);
            break;
          case TrueKind::Spline:
            // Each group 10 starts a control point; 20 and 30 complete it.
            if (code == 10) {
              if (pointStarted) controlPoints.push_back(point);
              point = {ParseDouble(value), 0, 0};
              pointStarted = true;
            }
            if (code == 20) point.y = ParseDouble(value);
            if (code == 30) point.z = ParseDouble(value);
            if (code == 40) e.knots.push_back(ParseDouble(value));
            if (code == 41) e.weights.push_back(ParseDouble(value));
            if (code == 71) e.degree = TextToLong(value);
            if (code == 70) e.flags = TextToLong(value);
            break;
          case TrueKind::Insert:
            if (code == 2) e.name = std::string(value);
            SetX(e.a, code, 10, value);
            if (code == 41) e.scale.x = ParseDouble(value);
            if (code == 42) e.scale.y = ParseDouble(value);
            if (code == 43) e.scale.z = ParseDouble(value);
            if (code == 50) e.rotation = ParseDouble(value);
            if (code == 70) e.columns = TextToLong(value);
            if (code == 71) e.rows = TextToLong(value);
            if (code == 44) e.columnSpacing = ParseDouble(value);
            if (code == 45) e.rowSpacing = ParseDouble(value);
            break;
          case TrueKind::None:
            break;
        }
      });
  if (kind == TrueKind::Spline) {
    if (pointStarted) controlPoints.push_back(point);
    // A spline without knots or control points fails the parse as in the default
    // mode (one given by fit points alone among them).
    if (e.knots.empty() || controlPoints.empty()) RaisePlatformError(errnum::SubscriptOutOfRange);
    for (const Vec3& p : controlPoints) e.vertices.push_back({p, 0, 0});
  }
  e.kind = kind;
  if (kind != TrueKind::Polyline) return next;
  const int32_t after = ReadPolylineVertices(e, next, end, layers);
  if ((e.flags & (kMesh | kPolyface)) != 0) e.kind = TrueKind::None;
  return after;
}

void PrintTrueEntity(const TrueEntity& e, const Affine& place, const Vessik_Layers& layers,
                     TrueSink& sink) {
  const RecordOwner owner = OwnerOf(e, layers);
  const Affine ocs = place * Affine::FromOcs(e.extrusion);
  switch (e.kind) {
    case TrueKind::Line:
      return sink.Segment(owner, place.Point(e.a), place.Point(e.b));
    case TrueKind::Circle:
      return sink.CircleArc(owner, ocs, e.a, e.r, 0, 360, true);
    case TrueKind::Arc:
      return sink.CircleArc(owner, ocs, e.a, e.r, e.start, e.end, false);
    case TrueKind::LwPolyline: {
      std::vector<TrueVertex> vertices = e.vertices;
      for (TrueVertex& v : vertices) v.p.z = e.elevation;
      return PrintVertices(owner, vertices, (e.flags & 1) != 0, ocs, true, sink);
    }
    case TrueKind::Polyline: {
      std::vector<TrueVertex> vertices;
      for (const TrueVertex& v : e.vertices) {
        if ((v.flags & kFrameControlPoint) != 0) continue;
        vertices.push_back(v);
        // A 2D polyline's vertices lie at its elevation, in its object coordinates.
        if ((e.flags & k3dPolyline) == 0) vertices.back().p.z = e.a.z;
      }
      const bool is3d = (e.flags & k3dPolyline) != 0;
      return PrintVertices(owner, vertices, (e.flags & 1) != 0, is3d ? place : ocs, !is3d, sink);
    }
    case TrueKind::Ellipse: {
      // Centre and major axis are world coordinates of the holding frame; the minor
      // axis is the extrusion crossed with the major one, scaled by the ratio.
      const double length = Length(e.extrusion);
      const Vec3 n = length > 0 ? (1 / length) * e.extrusion : Vec3{0, 0, 1};
      const Vec3 minor = e.r * Cross(n, e.b);
      // Counter-clockwise about the extrusion from start to end; equal parameters
      // (after whole turns) are the whole ellipse.
      constexpr double kTwoPi = 2 * std::numbers::pi;
      double t0 = std::fmod(e.start, kTwoPi);
      if (t0 < 0) t0 += kTwoPi;
      double t1 = std::fmod(e.end, kTwoPi);
      if (t1 < 0) t1 += kTwoPi;
      if (std::abs(t1 - t0) <= 1e-9 * kTwoPi) {
        t0 = 0;
        t1 = kTwoPi;
      } else if (t1 < t0) {
        t1 += kTwoPi;
      }
      return sink.Conic(owner, place.Point(e.a), place.Vector(e.b), place.Vector(minor), t0, t1);
    }
    case TrueKind::Spline: {
      std::vector<Vec3> points;
      points.reserve(e.vertices.size());
      for (const TrueVertex& v : e.vertices) points.push_back(place.Point(v.p));
      return sink.Nurbs(owner, e.degree, e.knots, e.weights, points);
    }
    case TrueKind::Insert:
    case TrueKind::None:
      return;
  }
}

void ForEachPlacement(const TrueEntity& insert, const Vec3& base,
                      const std::function<void(const Affine&)>& copy) {
  // Block coordinates: less the base point, scaled, turned, moved to the
  // insertion point in the reference's object coordinates, then out of them.
  const Affine ocs = Affine::FromOcs(insert.extrusion);
  const Affine turn = Affine::RotationZ(insert.rotation);
  const Affine local = turn * Affine::Scaling(insert.scale.x, insert.scale.y, insert.scale.z) *
                       Affine::Translation(Vec3{} - base);
  // A count below 1 means one, as where the group is missing; a grid with a
  // spacing of 0 has its copies on top of each other: one is drawn.
  const int32_t rows = insert.rowSpacing == 0 ? 1 : std::max(insert.rows, 1);
  const int32_t columns = insert.columnSpacing == 0 ? 1 : std::max(insert.columns, 1);
  for (int32_t row = 0; row < rows; ++row) {
    for (int32_t column = 0; column < columns; ++column) {
      const Vec3 offset{column * insert.columnSpacing, row * insert.rowSpacing, 0};
      copy(ocs * Affine::Translation(insert.a + turn.Vector(offset)) * local);
    }
  }
}

}  // namespace vessik
