// The bytes one drawing of a batch becomes.
#pragma once

#include <string>

#include "cli/BatchOptions.h"
#include "parser/parser.h"

namespace vessik::cli {

// Parses the drawing and returns its result of that kind: the records of Parse2,
// or the SVG document. Failures of the parse are raised as they are; a cancel
// through progress gives whatever the parse returns then (the empty text).
std::string ConvertOne(Vessik_Parser& parser, const std::string& path, OutputKind kind,
                       Vessik_CommonData settings, Vessik_Progress& progress);

}  // namespace vessik::cli
