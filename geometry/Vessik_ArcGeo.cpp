#include "geometry/Vessik_ArcGeo.h"

#include <cmath>
#include <utility>

#include "geometry/Vessik_Math.h"
#include "parser/Vessik_Utils.h"

namespace vessik {

Vessik_ArcGeo::~Vessik_ArcGeo() {
  PumpMessages();
}

double Vessik_ArcGeo::SAA() const {
  return Rad2Deg(SA, 0);
}

double Vessik_ArcGeo::EAA() const {
  return Rad2Deg(EA, 0);
}

void Vessik_ArcGeo::Init(int32_t pId, int32_t pLayer, std::shared_ptr<Vessik_Color> pColor,
                         double pDir) {
  Id = pId;
  Layer = pLayer;
  Color = std::move(pColor);
  Dir = pDir;
  Ext = Sweep(SA, EA, pDir);
  length = std::fabs(Ext) * R;
}

double Vessik_ArcGeo::Sweep(double SA, double EA, double pDir) {
  const double e = EA - SA;
  // The clockwise sweep from SA to EA, in (-2 Pi, 0].
  const double t = FloatMod(e, -6.28318530717958);
  double ext = 0;
  if (pDir > 0) {
    // Rounding where a floor would give the counter-clockwise sweep: a sweep of Pi
    // or more comes out as its negative complement. The writer never uses Ext.
    const int32_t n = RoundToLong(t / 6.28318530717958);
    ext = t - n * 6.28318530717958;
  } else {
    const int32_t n = CeilToLong(t / 6.28318530717958);
    ext = n * 6.28318530717958 + t;
  }
  // Coincident ends mean a full turn, positive whichever the direction.
  if (ext == 0) ext = 6.28318530717958;
  return ext;
}

Vessik_Arc Vessik_ArcGeo::GenerateArc() const {
  Vessik_Arc A;
  A.CX = O.X;
  A.CY = O.Y;
  A.R = R;
  // The arc entity always runs counter-clockwise: a clockwise arc swaps its ends.
  if (Dir > 0) {
    A.SA = Rad2Deg(SA, 0);
    A.EA = Rad2Deg(EA, 0);
  } else {
    A.SA = Rad2Deg(EA, 0);
    A.EA = Rad2Deg(SA, 0);
  }
  A.Id = Id;
  A.Layer = Layer;
  A.Color = Color;
  A.Vessik_IEntity_Parent(parent_);
  return A;
}

void Vessik_ArcGeo::AppendText(Vessik_Concat& Text, Vessik_Layers& Layers) {
  GenerateArc().AppendText(Text, Layers);
}

}  // namespace vessik
