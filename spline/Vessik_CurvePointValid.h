// The flag through which the B-spline evaluator reports that a curve point was
// taken outside the knot range (extrapolated, or with a term left out). The march
// sets it before an evaluation and reads it afterwards. One flag per thread, so
// that parses on different threads do not meet.
#pragma once

namespace vessik {

bool& CurvePointValid();

}  // namespace vessik
