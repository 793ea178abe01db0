#pragma once

#include <cstdint>

namespace vessik {

// The settings of a parse. All 0 when new: the library supplies no defaults.
class Vessik_CommonData {
 public:
  double Tolerance = 0;
  int32_t Check = 0;
  double ArcMaximumDeviationFactor = 0;
  double ArcMinimumSegmentLengthFactor = 0;
  double ArcMaximumSegmentLengthFactor = 0;
  double InitialSegments = 0;
};

}  // namespace vessik
