// The POLYLINE entity with its VERTEX records. Segments are built vertex by vertex
// while reading, keep their Z, and take the extrusion at print time.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "entities/Vessik_Entity.h"
#include "entities/Vessik_Line.h"
#include "entities/Vessik_PolySegment.h"
#include "parser/ParseLimits.h"

namespace vessik {

class Vessik_Vertex;

class Vessik_Polyline : public Vessik_Entity {
 public:
  double ExtrX = 0, ExtrY = 0, ExtrZ = 1;

  ~Vessik_Polyline() override;

  // From the first group 70 on, a failing step is passed over and reading goes on;
  // when the pairs run out there, the index of the last pair is returned.
  int32_t Vessik_IEntity_Read(int32_t StartLine, Vessik_Layers& Layers) override;
  // Rewrites the segments into the holding frame: runs once per object.
  void AppendText(Vessik_Concat& Text, Vessik_Layers& Layers) override;
  void Vessik_IEntity_Release() override;

  // The line entities of the segments, in order.
  std::vector<Vessik_Line> Lines() const;

 private:
  struct VertexValues {
    double X = 0, Y = 0, Z = 0, Bulge = 0;
  };
  void AddSegment(const VertexValues& From, const Vessik_Vertex& To);
  void AddClosingSegment(double Bulge);

  BudgetVector<Vessik_PolySegment> lines_;
};

}  // namespace vessik
