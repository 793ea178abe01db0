#pragma once

#include <cstdint>
#include <string>

namespace vessik {

// Where one DXF section lies in the group pairs.
class Vessik_Section {
 public:
  int32_t BeginLine = 0;
  int32_t EndLine = 0;
  std::string Name;
  int32_t Number = 0;
};

}  // namespace vessik
