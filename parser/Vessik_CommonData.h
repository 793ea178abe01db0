#pragma once

#include <cstdint>

namespace vessik {

/// The settings of a parse. All 0 when new: the library supplies no defaults.
class Vessik_CommonData {
 public:
  /// Largest deviation of the arcs and lines that replace an ellipse or a spline.
  double Tolerance = 0;
  /// Checks of a spline before it is fitted: 0 none, 1 cuts it where its tangent
  /// jumps, 2 and 3 fail on any spline of two or more control points.
  int32_t Check = 0;
  /// Largest sagitta of the segments that replace a deformed arc or circle.
  double ArcMaximumDeviationFactor = 0;
  /// Shortest such segment wished for; 0 or less gives steps of one degree.
  double ArcMinimumSegmentLengthFactor = 0;
  /// Longest such segment wished for; 0 or less gives steps of one degree.
  double ArcMaximumSegmentLengthFactor = 0;
  /// The fitting of a spline steps at most 1/N of its knot range (0 means 2).
  double InitialSegments = 0;
};

}  // namespace vessik
