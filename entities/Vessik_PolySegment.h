// One segment of a polyline as stored: its two ends and the bulge of the segment.
// A polyline keeps only these; the Vessik_Line that prints a segment is made from
// them and the polyline's own Id, Layer, Colour and parent, which every segment
// shares. That holds a long polyline in about half the memory of full lines.
#pragma once

#include "entities/Vessik_Line.h"

namespace vessik {

struct Vessik_PolySegment {
  double X1 = 0, Y1 = 0, Z1 = 0;
  double X2 = 0, Y2 = 0, Z2 = 0;
  double Bulge = 0;

  // The line entity of this segment, with the owner's Id, Layer, Colour and parent.
  Vessik_Line ToLine(const Vessik_Entity& Owner) const {
    Vessik_Line line;
    line.Vessik_IEntity_Parent(Owner.Vessik_IEntity_Parent());
    line.Id = Owner.Id;
    line.Layer = Owner.Layer;
    line.Color = Owner.Color;
    line.X1 = X1;
    line.Y1 = Y1;
    line.Z1 = Z1;
    line.X2 = X2;
    line.Y2 = Y2;
    line.Z2 = Z2;
    line.Bulge = Bulge;
    return line;
  }
};

}  // namespace vessik
