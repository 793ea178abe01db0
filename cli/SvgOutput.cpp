#include "cli/SvgOutput.h"

#include "host/svg/RecordsSvg.h"

namespace vessik::cli {

std::string SvgForDrawing(Vessik_Parser& parser, const std::string& path,
                          Vessik_CommonData& settings, Vessik_Progress& progress) {
  const Vessik_Records records = ParseRecords(parser, path, settings, progress);
  if (progress.IsCanceled()) return std::string();
  return RecordsSvg(records, parser.Layers());
}

}  // namespace vessik::cli
