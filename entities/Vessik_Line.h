// A straight segment: the LINE entity of a drawing, one segment of a polyline
// (where a non-zero Bulge makes it an arc), and the carrier of the straight-segment
// record that every other class prints through.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "entities/Vessik_Entity.h"

namespace vessik {

class Vessik_Line : public Vessik_Entity {
 public:
  double X1 = 0, Y1 = 0, Z1 = 0;
  double X2 = 0, Y2 = 0, Z2 = 0;
  // Tangent of a quarter of the included angle of the arc this segment stands for;
  // positive runs counter-clockwise from start to end, 0 is a straight segment.
  double Bulge = 0;

  Vessik_Line() = default;
  Vessik_Line(const Vessik_Line&) = default;
  Vessik_Line(Vessik_Line&&) = default;
  Vessik_Line& operator=(const Vessik_Line&) = default;
  Vessik_Line& operator=(Vessik_Line&&) = default;
  ~Vessik_Line() override;

  int32_t Vessik_IEntity_Read(int32_t StartLine, Vessik_Layers& Layers) override;
  void AppendText(Vessik_Concat& Text, Vessik_Layers& Layers) override;

  // One straight-segment record (type 83) of values already in world coordinates.
  static std::string ToString(int32_t Id, std::string_view LayerName, int32_t LayerId,
                              int32_t LayerColor, double X1, double Y1, double Z1, double X2,
                              double Y2, double Z2);

 private:
  void AppendBulgeText(Vessik_Concat& Text, Vessik_Layers& Layers);
};

}  // namespace vessik
