#include "cli/SvgOutput.h"

#include <string>

namespace vessik::cli {

// The SVG writer is not part of the tool yet: every drawing asked for as SVG fails
// with 5, without being read.
std::string SvgForDrawing(Vessik_Parser& /*parser*/, const std::string& /*path*/,
                          Vessik_CommonData& /*settings*/, Vessik_Progress& /*progress*/) {
  RaiseCatalogued(CataloguedError("InvalidProcedureCall"), " (SVG output is not available yet)");
}

}  // namespace vessik::cli
