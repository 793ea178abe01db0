#include "cli/BatchOptions.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstring>
#include <string>
#include <thread>

#include "cli/Options.h"

namespace vessik::cli {

namespace {

unsigned AllCores() {
  return std::max(1u, std::thread::hardware_concurrency());
}

}  // namespace

bool AsksForBatch(int argc, char** argv) {
  return argc >= 2 && std::strcmp(argv[1], "batch") == 0;
}

BatchParseResult ParseBatchCommandLine(int argc, char** argv) {
  BatchParseResult result;
  BatchOptions& o = result.options;
  o.settings = DefaultSettings();
  o.jobs = AllCores();

  CLI::App app{
      "Converts many DXF drawings at once: each drawing named, and every .dxf file found in\n"
      "the folders named (and their subfolders), becomes one file in OUTDIR that holds what\n"
      "the single-drawing tool prints for it.",
      "vessik batch"};

  app.add_option("DRAWING_OR_FOLDER", o.inputs,
                 "Drawings to convert whatever their extension, and folders whose .dxf files "
                 "(any case) are converted, subfolders included")
      ->required();
  app.add_option("-o,--output-dir", o.outputDir,
                 "Folder for the results, made when missing: a drawing found in a folder keeps "
                 "its path below that folder, a drawing named directly its file name, with the "
                 "extension .txt (or .svg)")
      ->type_name("OUTDIR")
      ->required();
  app.add_option("-j,--jobs", o.jobs, "Drawings converted at the same time, each on its own thread")
      ->type_name("N")
      ->default_str("every core (" + std::to_string(o.jobs) + ")")
      ->check(CLI::PositiveNumber);
  bool svg = false;
  app.add_flag("--svg", svg, "Write each drawing as SVG (.svg) instead of the records (.txt)");
  AddMaxMemoryOption(app, o.maxMemory,
                     "Most memory the parse of one drawing may hold, in bytes or with a K, M or "
                     "G suffix (512M, 2G); past it that drawing fails with 7. Default: half of "
                     "the physical memory, shared equally among the threads (0 also means that)");
  app.add_option("--timeout", o.timeoutSeconds,
                 "Stop the parse of a drawing after this many seconds; that drawing fails "
                 "and the others go on (0: no limit)")
      ->type_name("SECONDS")
      ->capture_default_str()
      ->check(CLI::NonNegativeNumber);
  AddSettingOptions(app, o.settings);
  AddTrueGeometryOption(app, o.trueGeometry);
  AddNoMapOption(app, o.noMap);

  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& e) {
    result.exitStatus = app.exit(e);
  }
  o.kind = svg ? OutputKind::Svg : OutputKind::Text;
  return result;
}

}  // namespace vessik::cli
