#pragma once

#include <cstdint>
#include <string>

namespace vessik {

/// Where one block definition lies in the group pairs, and its base point.
class Vessik_Block {
 public:
  /// The block's name, as the file writes it.
  std::string Name;
  /// Index of the pair of its "BLOCK" keyword.
  int32_t StartLine = 0;
  /// Index of the pair of its "ENDBLK" keyword.
  int32_t EndLine = 0;
  /// Base point X.
  double X = 0;
  /// Base point Y.
  double Y = 0;
  /// Base point Z.
  double Z = 0;
};

}  // namespace vessik
