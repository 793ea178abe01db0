// A deterministic generator of large DXF drawings, for benchmarks and for trying
// the tool on big input.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>

namespace vessik::bench {

struct DrawingOptions {
  // The file grows until it holds at least this many bytes (it ends a little after).
  std::size_t targetBytes = 1 << 20;
  // Without curves: no ARC, CIRCLE, ELLIPSE, SPLINE and no bulges; only straight
  // segments, in LINEs, polylines and block references.
  bool curves = true;
  // The same seed and size give the same bytes.
  uint64_t seed = 1;
};

// Writes the drawing with LF line ends. Returns the number of bytes written, or 0
// when writing failed.
std::size_t WriteDrawing(std::FILE* out, const DrawingOptions& options);

// The whole drawing as one text.
std::string GenerateDrawing(const DrawingOptions& options);

// The path of a generated drawing in a temporary folder, written the first time it
// is asked for in this process and removed when the process ends. Empty on failure.
const std::string& GeneratedDrawing(std::size_t targetBytes, bool curves);

}  // namespace vessik::bench
