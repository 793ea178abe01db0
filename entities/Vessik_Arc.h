// The ARC entity, and the printing path of every circular arc of the system: one
// arc record where the placement keeps it a circle in the XY plane, straight
// segments where a non-uniform scale or a slanted extrusion would deform it.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "entities/Vessik_Entity.h"
#include "entities/Vessik_Line.h"
#include "geometry/Vessik_Point.h"
#include "parser/ParseLimits.h"

namespace vessik {

class Vessik_Arc : public Vessik_Entity {
 public:
  // Centre and radius in the object coordinates of the extrusion direction.
  double CX = 0, CY = 0, CZ = 0;
  double R = 0;
  // Degrees as in the file; the arc runs counter-clockwise from SA to EA.
  double SA = 0, EA = 0;
  double ExtrX = 0, ExtrY = 0, ExtrZ = 1;
  // Absolute lengths in drawing units, whatever the names say.
  double ArcMaximumDeviationFactor = 0;
  double ArcMinimumSegmentLengthFactor = 0;
  double ArcMaximumSegmentLengthFactor = 0;

  // Most segments one arc may become; a longer run fails as the allocation would.
  static constexpr int32_t kMaxSegments = 1 << 20;

  Vessik_Arc() = default;
  Vessik_Arc(const Vessik_Arc&) = default;
  Vessik_Arc(Vessik_Arc&&) = default;
  Vessik_Arc& operator=(const Vessik_Arc&) = default;
  Vessik_Arc& operator=(Vessik_Arc&&) = default;
  ~Vessik_Arc() override;

  int32_t Vessik_IEntity_Read(int32_t StartLine, Vessik_Layers& Layers) override;
  void AppendText(Vessik_Concat& Text, Vessik_Layers& Layers) override;
  void Vessik_IEntity_Init(Vessik_CommonData* Data) override;

  // One arc record (type 66) of values already in world coordinates.
  static std::string ToString(int32_t Id, std::string_view LayerName, int32_t LayerId,
                              int32_t LayerColor, double CX, double CY, double CZ, double R,
                              double SA, double EA);

  // The arc carried through the block chain: centre placed, radius times every
  // XScale, angles plus every rotation. Only CX to EA of the result are set.
  Vessik_Arc Arc2TransformedArc() const;
  // Straight segments from SA to EA in object coordinates, with the arc's Id, Layer
  // and Colour; empty when the arc has no length.
  BudgetVector<Vessik_Line> Arc2Polyline() const;
  // Angle step in degrees for an arc of Angle degrees.
  static double StepAngle(double Angle, double R, double MaxDev, double MinLength,
                          double MaxLength);
  // A point of the XY plane tilted by an extrusion direction.
  static Vessik_Point Point2Plane(double PtX, double PtY, double ExtrX, double ExtrY, double ExtrZ);

 private:
  void AppendSegments(Vessik_Concat& Text, Vessik_Layers& Layers);
  void AppendArc(Vessik_Concat& Text, Vessik_Layers& Layers);
};

// v + 360, repeated while v is not above 0; stops early when an addition no
// longer changes v (a value too large for 360 to count, or not a number).
double AddTurnsUntilPositive(double v);

// True for -1, 0 and 1: the extrusion components that keep an arc in a main plane.
inline bool IsAxisComponent(double v) {
  return v == -1 || v == 0 || v == 1;
}

}  // namespace vessik
