#include "entities/EntityFactory.h"

#include "entities/Vessik_Arc.h"
#include "entities/Vessik_Circle.h"
#include "entities/Vessik_Ellipse.h"
#include "entities/Vessik_Insert.h"
#include "entities/Vessik_Line.h"
#include "entities/Vessik_LwPolyline.h"
#include "entities/Vessik_Polyline.h"
#include "entities/Vessik_Spline.h"

namespace vessik {

int KeywordIndex(std::string_view value) {
  // Most values are numbers or names that begin otherwise: a cheap first test.
  if (value.size() < 3 || value.size() > 10) return -1;
  for (int k = 0; k < static_cast<int>(std::size(kEntityKeywords)); ++k) {
    if (value == kEntityKeywords[k]) return k;
  }
  return -1;
}

std::unique_ptr<Vessik_IEntity> CreateEntity(int keywordIndex) {
  switch (keywordIndex) {
    case 0:
      return std::make_unique<Vessik_Line>();
    case 1:
      return std::make_unique<Vessik_Circle>();
    case 2:
      return std::make_unique<Vessik_Arc>();
    case 3:
      return std::make_unique<Vessik_LwPolyline>();
    case 4:
      return std::make_unique<Vessik_Polyline>();
    case 5:
      return std::make_unique<Vessik_Ellipse>();
    case 6:
      return std::make_unique<Vessik_Spline>();
    case 7:
      return std::make_unique<Vessik_Insert>();
    default:
      return nullptr;
  }
}

}  // namespace vessik
