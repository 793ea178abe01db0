// The LWPOLYLINE entity. Its vertices live only while it reads: at the end of Read
// they have become one Vessik_Line per segment, each keeping its bulge.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "entities/Vessik_Entity.h"
#include "entities/Vessik_Line.h"

namespace vessik {

class Vessik_LwPolyline : public Vessik_Entity {
 public:
  ~Vessik_LwPolyline() override;

  int32_t Vessik_IEntity_Read(int32_t StartLine, Vessik_Layers& Layers) override;
  std::string Vessik_IEntity_ToString(Vessik_Layers& Layers) override;
  void Vessik_IEntity_Release() override;

  const std::vector<Vessik_Line>& Lines() const { return lines_; }

 private:
  void AddLine(int32_t Index, double X1, double Y1, double X2, double Y2, double Bulge);

  std::vector<Vessik_Line> lines_;
};

}  // namespace vessik
