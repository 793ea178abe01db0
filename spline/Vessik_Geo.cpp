#include "spline/Vessik_Geo.h"

#include "geometry/Vessik_ArcGeo.h"
#include "geometry/Vessik_LineGeo.h"

namespace vessik {

std::string Vessik_Geo::ToString(Vessik_Layers& Layers) const {
  if (line_) return line_->Vessik_IEntity_ToString(Layers);
  if (arc_) return arc_->Vessik_IEntity_ToString(Layers);
  return std::string();
}

void Vessik_Geo::Release() const {
  if (line_) line_->Vessik_IEntity_Release();
  if (arc_) arc_->Vessik_IEntity_Release();
}

}  // namespace vessik
