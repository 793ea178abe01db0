#pragma once

#include <cstdint>
#include <string>

namespace vessik {

/// Where one DXF section lies in the group pairs.
class Vessik_Section {
 public:
  /// Index of the pair of its "SECTION" keyword.
  int32_t BeginLine = 0;
  /// Index of the pair of its "ENDSEC" keyword.
  int32_t EndLine = 0;
  /// The section's name, such as "ENTITIES".
  std::string Name;
  /// Its position among the sections, from 1.
  int32_t Number = 0;
};

}  // namespace vessik
