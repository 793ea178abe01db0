// The entities of the true-geometry mode: each entity's groups read into a plain
// description, and the description printed through a TrueSink.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "entities/TrueCurves.h"
#include "geometry/Affine.h"
#include "parser/Vessik_Color.h"
#include "parser/Vessik_Layer.h"

namespace vessik {

enum class TrueKind { None, Line, Circle, Arc, LwPolyline, Polyline, Ellipse, Spline, Insert };

struct TrueVertex {
  Vec3 p;
  double bulge = 0;
  int32_t flags = 0;
};

struct TrueEntity {
  TrueKind kind = TrueKind::None;
  int64_t id = 0;
  int32_t layer = 0;
  std::shared_ptr<Vessik_Color> color;
  Vec3 extrusion{0, 0, 1};
  int32_t flags = 0;
  // Points: LINE ends; ARC, CIRCLE and ELLIPSE centre (a); ELLIPSE major axis (b);
  // POLYLINE elevation point (a); INSERT insertion point (a).
  Vec3 a;
  Vec3 b;
  // Radius, ellipse ratio; angles (degrees) or parameters (radians).
  double r = 0;
  double start = 0;
  double end = 0;
  double elevation = 0;
  std::vector<TrueVertex> vertices;
  // SPLINE.
  int32_t degree = 0;
  std::vector<double> knots;
  std::vector<double> weights;
  // INSERT: block name, scales, rotation (degrees), grid.
  std::string name;
  Vec3 scale{1, 1, 1};
  double rotation = 0;
  int32_t columns = 1;
  int32_t rows = 1;
  double columnSpacing = 0;
  double rowSpacing = 0;
};

// Reads the entity of this keyword from the pair first on (the pair behind its
// code 0) and returns the index of the next code 0 that is not its own (a
// POLYLINE's VERTEX and SEQEND pairs are its own), or end + 1. Entities of other
// kinds, or polyface and mesh polylines, come back as None.
int32_t ReadTrueEntity(std::string_view keyword, int32_t first, int32_t end, Vessik_Layers& layers,
                       TrueEntity& entity);

// Prints a drawing entity (not a reference) placed by place.
void PrintTrueEntity(const TrueEntity& entity, const Affine& place, const Vessik_Layers& layers,
                     TrueSink& sink);

// Calls copy with the placement of each copy of a block reference, its grid
// expanded: block coordinates (base point at base) to those of the frame holding
// the reference.
void ForEachPlacement(const TrueEntity& insert, const Vec3& base,
                      const std::function<void(const Affine&)>& copy);

// A handle as an unsigned hexadecimal number; 0 for one that is none or too long.
int64_t UnsignedHandle(std::string_view text);

}  // namespace vessik
