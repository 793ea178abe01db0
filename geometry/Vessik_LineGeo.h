// The straight segment of the curve approximation. Its ends stay in the frame of
// the block definition and go to world coordinates only when it prints, through
// the straight-segment record of Vessik_Line.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "entities/Vessik_Entity.h"
#include "entities/Vessik_Line.h"
#include "geometry/Vessik_Point.h"

namespace vessik {

class Vessik_LineGeo : public Vessik_Entity {
 public:
  Vessik_Point Pa;
  Vessik_Point Pe;
  // Set by Init; not kept up to date when a point changes later.
  double length = 0;

  Vessik_LineGeo() = default;
  Vessik_LineGeo(const Vessik_LineGeo&) = default;
  Vessik_LineGeo(Vessik_LineGeo&&) = default;
  Vessik_LineGeo& operator=(const Vessik_LineGeo&) = default;
  Vessik_LineGeo& operator=(Vessik_LineGeo&&) = default;
  ~Vessik_LineGeo() override;

  // Assign Pa, Pe and the parent first.
  void Init(int32_t pId, int32_t pLayer, std::shared_ptr<Vessik_Color> pColor);
  // The segment in world coordinates as a line with only X1, Y1, X2, Y2 set: the
  // ends enter the block chain at Z 0 and the line keeps Z 0.
  Vessik_Line GenerateLine() const;
  // Distance of Pt from the infinite carrier line through Pa and Pe; 1E+10 for a
  // segment of length 0, so that any tolerance test fails.
  double distance2point(const Vessik_Point& Pt) const;

  // A segment has no file form: reads nothing.
  int32_t Vessik_IEntity_Read(int32_t, Vessik_Layers&) override { return 0; }
  void AppendText(Vessik_Concat& Text, Vessik_Layers& Layers) override;
  void Vessik_IEntity_Init(Vessik_CommonData*) override { Layer = -1; }
};

}  // namespace vessik
