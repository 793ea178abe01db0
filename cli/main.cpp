// vessik: reads a DXF drawing and prints the text of Vessik_Parser::Parse2;
// "vessik batch" converts many drawings into files.
#include <cstdio>
#include <exception>
#include <memory>
#include <string>

#include "cli/Batch.h"
#include "cli/BatchOptions.h"
#include "cli/Convert.h"
#include "cli/Deadline.h"
#include "cli/Options.h"
#include "cli/Output.h"
#include "cli/ProgressReport.h"
#include "cli/TextDestination.h"
#include "parser/parser.h"

namespace vessik::cli {

namespace {

// Where the records go: to the file or standard output as the parse makes them,
// or nowhere when only the layers are wanted.
std::unique_ptr<TextDestination> RecordsDestination(const Options& options) {
  if (options.layers) return DiscardingDestination();
  if (options.outputFile.empty()) return StandardOutputDestination();
  return FileDestination(options.outputFile);
}

void TimedOut(const Options& options) {
  std::fprintf(stderr, "vessik: timed out after %g seconds; nothing written\n",
               options.timeoutSeconds);
}

int Run(const Options& options) {
  Vessik_Progress progress;
  ProgressReport report(progress, options.progressValues,
                        !options.progressValues && StandardErrorIsTerminal());
  SetMemoryBudget(options.maxMemory);
  SetTrueGeometry(options.trueGeometry);
  SetCurveThreads(options.curveThreads);
  SetMapFiles(!options.noMap);
  try {
    Vessik_Parser parser;
    if (options.svg) {
      std::string svg;
      {
        Deadline deadline(progress, options.timeoutSeconds);
        svg = ConvertOne(parser, options.drawing, OutputKind::Svg, options.settings, progress);
        if (deadline.Expired()) {
          // The parse saw the cancel and gave the empty text, or ended just then:
          // either way the time was up, and nothing is written.
          report.Finish();
          TimedOut(options);
          return kTimedOutStatus;
        }
      }
      report.Finish();
      WriteOutput(svg, options.outputFile);
      return 0;
    }
    std::unique_ptr<TextDestination> out = RecordsDestination(options);
    {
      Deadline deadline(progress, options.timeoutSeconds);
      Vessik_CommonData settings = options.settings;
      const bool whole = parser.Parse2To(options.drawing, &settings, &progress, *out);
      if (deadline.Expired()) {
        // As above; what reached the destination goes with it.
        report.Finish();
        TimedOut(options);
        return kTimedOutStatus;
      }
      if (!whole) out->Restart();
    }
    report.Finish();
    if (options.layers) {
      WriteOutput(LayersText(parser.Layers()), options.outputFile);
    } else {
      out->Commit();
    }
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
