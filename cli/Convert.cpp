#include "cli/Convert.h"

#include <string>

#include "cli/SvgOutput.h"

namespace vessik::cli {

std::string ConvertOne(Vessik_Parser& parser, const std::string& path, OutputKind kind,
                       Vessik_CommonData settings, Vessik_Progress& progress) {
  // Each drawing gets its own copy of the settings, which Parse2 takes by
  // reference, so that every drawing of the batch starts from the same ones.
  switch (kind) {
    case OutputKind::Svg:
      return SvgForDrawing(parser, path, settings, progress);
    case OutputKind::Text:
      break;
  }
  return parser.Parse2(path, settings, progress);
}

}  // namespace vessik::cli
