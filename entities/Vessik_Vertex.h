// One VERTEX record of a POLYLINE. A polyline reads all its vertices into one
// object, so a coordinate a vertex lacks keeps the value of the vertex before it.
#pragma once

#include <cstdint>

#include "parser/Vessik_Layer.h"

namespace vessik {

class Vessik_Vertex {
 public:
  // Read and never used.
  int32_t Id = 0;
  int32_t Layer = 0;
  double X = 0, Y = 0, Z = 0;
  double Bulge = 0;

  // Reads from StartLine to the next code 0 and returns the index of that code 0.
  // A layer name that the table lacks leaves Layer as it is and adds no layer.
  int32_t Read(int32_t StartLine, const Vessik_Layers& Layers);
};

}  // namespace vessik
