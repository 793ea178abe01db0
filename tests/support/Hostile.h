// Small drawings that ask for a great deal of work or memory: each stands for a
// way a stranger's file could take a host down.
#pragma once

#include <string>

namespace vessik::test {

// Block k holds two references to block k + 1; the last holds one LINE, and the
// ENTITIES section one reference to the first. The drawing has 2^(levels - 1)
// lines, in a few hundred bytes per level.
std::string DoublingBlocks(int levels);

// One clamped SPLINE of this degree with degree + 1 control points on a wave:
// every point of its fit costs work in the square of the degree.
std::string HighDegreeSpline(int degree);

}  // namespace vessik::test
