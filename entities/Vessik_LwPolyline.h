// The LWPOLYLINE entity. Its vertices live only while it reads: at the end of Read
// they have become one segment each, keeping its bulge, that prints as a
// Vessik_Line.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "entities/Vessik_Entity.h"
#include "entities/Vessik_Line.h"
#include "entities/Vessik_PolySegment.h"
#include "parser/ParseLimits.h"

namespace vessik {

class Vessik_LwPolyline : public Vessik_Entity {
 public:
  ~Vessik_LwPolyline() override;

  int32_t Vessik_IEntity_Read(int32_t StartLine, Vessik_Layers& Layers) override;
  void AppendText(Vessik_Concat& Text, Vessik_Layers& Layers) override;
  void Vessik_IEntity_Release() override;

  // The line entities of the segments, in order.
  std::vector<Vessik_Line> Lines() const;

 private:
  void AddLine(int32_t Index, double X1, double Y1, double X2, double Y2, double Bulge);

  BudgetVector<Vessik_PolySegment> lines_;
};

}  // namespace vessik
