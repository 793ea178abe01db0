// The --svg output: the picture of a drawing's records instead of their text.
#pragma once

#include <string>

#include "parser/parser.h"

namespace vessik::cli {

// Parses the drawing and returns the SVG of its records; the same failures as
// Parse2, and an empty text for a cancelled parse.
std::string SvgForDrawing(Vessik_Parser& parser, const std::string& path,
                          Vessik_CommonData& settings, Vessik_Progress& progress);

}  // namespace vessik::cli
