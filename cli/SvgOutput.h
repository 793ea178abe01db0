// A drawing as an SVG picture.
#pragma once

#include <string>

#include "parser/parser.h"

namespace vessik::cli {

// Parses the drawing with the parser, the settings and the progress, and returns
// the SVG document of its geometry. Failures of the parse are raised as they are.
std::string SvgForDrawing(Vessik_Parser& parser, const std::string& path,
                          Vessik_CommonData& settings, Vessik_Progress& progress);

}  // namespace vessik::cli
