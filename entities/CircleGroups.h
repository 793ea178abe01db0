// The groups that ARC and CIRCLE share, read into an entity with the fields CX, CY,
// CZ, R, ExtrX, ExtrY and ExtrZ besides those of every entity.
#pragma once

#include <cmath>
#include <cstdint>
#include <string_view>

#include "entities/Vessik_Entity.h"
#include "parser/Vessik_Utils.h"

namespace vessik {

// Extrusion components below 0.001 in size count as 0, each by itself; the vector
// is not normalised.
inline double ExtrusionComponent(std::string_view value) {
  double v = ParseDouble(value);
  return std::fabs(v) < 0.001 ? 0.0 : v;
}

// Takes one of the shared groups; false when the code is none of them.
template <class Entity>
bool ReadCircleGroup(Entity& e, int32_t code, std::string_view value, Vessik_Layers& Layers) {
  if (e.ReadSharedGroup(code, value, Layers)) return true;
  switch (code) {
    case 10:
      e.CX = ParseDouble(value);
      return true;
    case 20:
      e.CY = ParseDouble(value);
      return true;
    case 30:
      e.CZ = ParseDouble(value);
      return true;
    case 40:
      e.R = ParseDouble(value);
      return true;
    case 210:
      e.ExtrX = ExtrusionComponent(value);
      return true;
    case 220:
      e.ExtrY = ExtrusionComponent(value);
      return true;
    case 230:
      e.ExtrZ = ExtrusionComponent(value);
      return true;
    default:
      return false;
  }
}

}  // namespace vessik
