// vessik_gen_drawing SIZE_MB OUT.dxf [--no-curves]: writes a generated drawing of
// about SIZE_MB megabytes (10^6 bytes).
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "DrawingGenerator.h"

int main(int argc, char** argv) {
  bool curves = true;
  const char* sizeArg = nullptr;
  const char* outArg = nullptr;
  for (int i = 1; i < argc; ++i) {
    if (std::strcmp(argv[i], "--no-curves") == 0) {
      curves = false;
    } else if (sizeArg == nullptr) {
      sizeArg = argv[i];
    } else if (outArg == nullptr) {
      outArg = argv[i];
    } else {
      sizeArg = nullptr;
      break;
    }
  }
  char* end = nullptr;
  const double mb = sizeArg != nullptr ? std::strtod(sizeArg, &end) : 0.0;
  if (sizeArg == nullptr || outArg == nullptr || end == sizeArg || *end != '\0' ||
      !std::isfinite(mb) || mb <= 0 || mb > 100000) {
    std::fprintf(stderr, "usage: vessik_gen_drawing SIZE_MB OUT.dxf [--no-curves]\n");
    return 2;
  }
  vessik::bench::DrawingOptions options;
  options.targetBytes = static_cast<std::size_t>(mb * 1e6);
  options.curves = curves;
  std::FILE* out = std::fopen(outArg, "wb");
  if (out == nullptr) {
    std::perror(outArg);
    return 1;
  }
  const std::size_t bytes = vessik::bench::WriteDrawing(out, options);
  if (std::fclose(out) != 0 || bytes == 0) {
    std::fprintf(stderr, "vessik_gen_drawing: cannot write %s\n", outArg);
    return 1;
  }
  std::printf("%s: %zu bytes\n", outArg, bytes);
  return 0;
}
