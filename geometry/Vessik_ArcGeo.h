// The directed circular arc of the curve approximation and of bulged polyline
// segments: angles in radians in the order of travel, Dir for the way round. It
// prints by becoming a Vessik_Arc, which places it in the block chain.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "entities/Vessik_Arc.h"
#include "entities/Vessik_Entity.h"
#include "geometry/Vessik_Point.h"

namespace vessik {

class Vessik_ArcGeo : public Vessik_Entity {
 public:
  // Start and end in the order of travel; read by the arc joining, not by Init.
  Vessik_Point Pa;
  Vessik_Point Pe;
  Vessik_Point O;
  double R = 0;
  // Radians, of Pa and Pe as seen from O.
  double SA = 0;
  double EA = 0;
  // Signed sweep in radians, set by Init.
  double Ext = 0;
  double length = 0;
  // Only the sign counts: above 0 counter-clockwise, 0 or below clockwise.
  double Dir = 0;

  Vessik_ArcGeo() = default;
  Vessik_ArcGeo(const Vessik_ArcGeo&) = default;
  Vessik_ArcGeo(Vessik_ArcGeo&&) = default;
  Vessik_ArcGeo& operator=(const Vessik_ArcGeo&) = default;
  Vessik_ArcGeo& operator=(Vessik_ArcGeo&&) = default;
  ~Vessik_ArcGeo() override;

  // SA and EA in degrees, in [0, 360).
  double SAA() const;
  double EAA() const;
  // Assign O, R, SA, EA and the parent first.
  void Init(int32_t pId, int32_t pLayer, std::shared_ptr<Vessik_Color> pColor, double pDir);
  // The signed sweep that Init gives Ext for these end angles and direction; an
  // angle that is not a number raises 6 as in Init.
  static double Sweep(double SA, double EA, double pDir);
  // The counter-clockwise arc entity of this arc, in the frame of its block, with
  // the parent set; its settings stay 0.
  Vessik_Arc GenerateArc() const;

  // A segment has no file form: reads nothing.
  int32_t Vessik_IEntity_Read(int32_t, Vessik_Layers&) override { return 0; }
  void AppendText(Vessik_Concat& Text, Vessik_Layers& Layers) override;
  void Vessik_IEntity_Init(Vessik_CommonData*) override { Layer = -1; }
};

}  // namespace vessik
