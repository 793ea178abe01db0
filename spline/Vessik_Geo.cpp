#include "spline/Vessik_Geo.h"

#include "geometry/Vessik_ArcGeo.h"
#include "geometry/Vessik_LineGeo.h"

namespace vessik {

std::string Vessik_Geo::ToString(Vessik_Layers& Layers) const {
  Vessik_Concat text;
  AppendText(text, Layers);
  return text.TakeValue();
}

void Vessik_Geo::AppendText(Vessik_Concat& Text, Vessik_Layers& Layers) const {
  if (line_) line_->AppendText(Text, Layers);
  if (arc_) arc_->AppendText(Text, Layers);
}

void Vessik_Geo::Release() const {
  if (line_) line_->Vessik_IEntity_Release();
  if (arc_) arc_->Vessik_IEntity_Release();
}

}  // namespace vessik
