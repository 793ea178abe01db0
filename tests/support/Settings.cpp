#include "support/Settings.h"

namespace vessik::test {

Vessik_CommonData ToolDefaults() {
  Vessik_CommonData d;
  d.Tolerance = 0.01;
  d.Check = 0;
  d.ArcMaximumDeviationFactor = 0.01;
  d.ArcMinimumSegmentLengthFactor = 0.1;
  d.ArcMaximumSegmentLengthFactor = 10;
  d.InitialSegments = 4;
  return d;
}

Vessik_CommonData FineSettings() {
  Vessik_CommonData d;
  d.Tolerance = 0.001;
  d.Check = 1;
  d.ArcMaximumDeviationFactor = 0.001;
  d.ArcMinimumSegmentLengthFactor = 0;
  d.ArcMaximumSegmentLengthFactor = 0;
  d.InitialSegments = 2;
  return d;
}

}  // namespace vessik::test
