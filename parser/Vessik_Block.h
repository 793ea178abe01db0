#pragma once

#include <cstdint>
#include <string>

namespace vessik {

// Where one block definition lies in the group pairs, and its base point.
class Vessik_Block {
 public:
  std::string Name;
  int32_t StartLine = 0;
  int32_t EndLine = 0;
  double X = 0;
  double Y = 0;
  double Z = 0;
};

}  // namespace vessik
