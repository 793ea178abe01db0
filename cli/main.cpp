// vessik: reads a DXF drawing and prints the text of Vessik_Parser::Parse2;
// "vessik batch" converts many drawings into files.
#include <cstdio>
#include <exception>
#include <string>

#include "cli/Batch.h"
#include "cli/BatchOptions.h"
#include "cli/Convert.h"
#include "cli/Deadline.h"
#include "cli/Options.h"
#include "cli/Output.h"
#include "cli/ProgressReport.h"
#include "parser/parser.h"

namespace vessik::cli {

namespace {

int Run(const Options& options) {
  Vessik_Progress progress;
  ProgressReport report(progress, options.progressValues,
                        !options.progressValues && StandardErrorIsTerminal());
  SetMemoryBudget(options.maxMemory);
  SetTrueGeometry(options.trueGeometry);
  try {
    Vessik_Parser parser;
    std::string text;
    {
      Deadline deadline(progress, options.timeoutSeconds);
      text = ConvertOne(parser, options.drawing, options.svg ? OutputKind::Svg : OutputKind::Text,
                        options.settings, progress);
      if (deadline.Expired()) {
        // The parse saw the cancel and gave the empty text, or ended just then:
        // either way the time was up, and nothing is written.
        report.Finish();
        std::fprintf(stderr, "vessik: timed out after %g seconds; nothing written\n",
                     options.timeoutSeconds);
        return kTimedOutStatus;
      }
    }
    report.Finish();
    if (options.layers) text = LayersText(parser.Layers());
    WriteOutput(text, options.outputFile);
    return 0;
  } catch (...) {
    const Vessik_Error error = CurrentErrorAsVessik();
    report.Finish();
    std::fputs(ErrorLine(error).c_str(), stderr);
    std::fflush(stderr);
    return 1;
  }
}

}  // namespace

}  // namespace vessik::cli

int main(int argc, char** argv) {
  if (vessik::cli::AsksForBatch(argc, argv)) {
    // The batch has a command line of its own, after the word "batch".
    const vessik::cli::BatchParseResult parsed =
        vessik::cli::ParseBatchCommandLine(argc - 1, argv + 1);
    if (parsed.exitStatus) return *parsed.exitStatus;
    return vessik::cli::RunBatch(parsed.options);
  }
  const vessik::cli::ParseResult parsed = vessik::cli::ParseCommandLine(argc, argv);
  if (parsed.exitStatus) return *parsed.exitStatus;
  return vessik::cli::Run(parsed.options);
}
