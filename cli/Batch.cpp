#include "cli/Batch.h"

#include <sys/types.h>

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <cstdio>
#include <string>
#include <thread>
#include <vector>

#include "cli/AtomicFile.h"
#include "cli/BatchProgress.h"
#include "cli/Convert.h"
#include "cli/Deadline.h"
#include "cli/DrawingFiles.h"
#include "cli/Output.h"
#include "cli/ProgressReport.h"
#include "parser/parser.h"

namespace vessik::cli {

namespace {

// "vessik: PATH: WHAT" on one line, with a line feed.
std::string FailureLine(const std::string& path, const std::string& what) {
  std::string line = "vessik: " + path + ": " + what;
  for (char& c : line) {
    if (c == '\n' || c == '\r') c = ' ';
  }
  return line + "\n";
}

std::string Seconds(double seconds) {
  char text[32];
  std::snprintf(text, sizeof text, "%g", seconds);
  return text;
}

// What the workers share: the drawings, the next one to take, and what became of
// each. A worker writes only the outcome of the drawing it took.
struct BatchRun {
  const BatchOptions& options;
  const std::vector<DrawingFile>& drawings;
  std::vector<std::string> failures;  // one per drawing; empty when it was converted
  std::atomic<size_t> next{0};
  BatchProgress& progress;
  uint64_t memoryBudget;
  mode_t fileMode;
  int32_t curveThreads;
};

// Converts one drawing and writes its result; returns the rest of its failure line,
// or the empty text when it was converted.
std::string ConvertAndWrite(BatchRun& run, Vessik_Parser& parser, size_t worker,
                            const DrawingFile& drawing) {
  if (!drawing.failure.empty()) return drawing.failure;
  Vessik_Progress progress;
  ProgressFigure figure;
  progress.Connect(
      [&run, &figure, worker](int32_t value) { run.progress.Update(worker, figure.Next(value)); });
  std::string bytes;
  std::string failure;
  bool expired = false;
  {
    Deadline deadline(progress, run.options.timeoutSeconds);
    try {
      bytes = ConvertOne(parser, drawing.path, run.options.kind, run.options.settings, progress);
    } catch (...) {
      failure = ErrorText(CurrentErrorAsVessik());
    }
    // A parse that ended just as the time ran out counts as timed out too, as
    // with a single drawing: the time was up, whatever the parse made of it.
    expired = deadline.Expired();
  }
  if (expired) return "timed out after " + Seconds(run.options.timeoutSeconds) + " seconds";
  if (!failure.empty()) return failure;
  try {
    WriteFileAtomically(drawing.output, bytes, run.fileMode);
  } catch (...) {
    return ErrorText(CurrentErrorAsVessik());
  }
  return {};
}

void Work(BatchRun& run, size_t worker) {
  // The budget and the parser belong to this thread: parses on other threads
  // neither see nor share them.
  SetMemoryBudget(run.memoryBudget);
  SetTrueGeometry(run.options.trueGeometry);
  SetCurveThreads(run.curveThreads);
  SetMapFiles(!run.options.noMap);
  Vessik_Parser parser;
  for (;;) {
    const size_t i = run.next.fetch_add(1);
    if (i >= run.drawings.size()) break;
    try {
      run.failures[i] = ConvertAndWrite(run, parser, worker, run.drawings[i]);
    } catch (...) {
      // Only memory running out outside any parse gets here; the drawing fails
      // with it rather than ending the whole batch.
      run.failures[i] = ErrorText(CurrentErrorAsVessik());
    }
    run.progress.Done(worker);
  }
}

// The budget of each worker's parses: the one asked for, or the default shared
// equally among the workers, so that together they hold no more than one parse
// alone would.
uint64_t WorkerBudget(const BatchOptions& options, size_t workers) {
  if (options.maxMemory != 0) return options.maxMemory;
  SetMemoryBudget(0);
  return std::max<uint64_t>(1, MemoryBudget() / workers);
}

std::string Summary(size_t total, size_t failed) {
  return "vessik: " + std::to_string(total) + (total == 1 ? " drawing: " : " drawings: ") +
         std::to_string(total - failed) + " converted, " + std::to_string(failed) + " failed\n";
}

}  // namespace

int RunBatch(const BatchOptions& options) {
  const std::vector<DrawingFile> drawings =
      FindDrawings(options.inputs, options.outputDir, options.kind);
  const size_t workers = std::max<size_t>(1, std::min<size_t>(options.jobs, drawings.size()));

  BatchProgress progress(drawings.size(), workers, StandardErrorIsTerminal());
  BatchRun run{options,
               drawings,
               std::vector<std::string>(drawings.size()),
               {0},
               progress,
               WorkerBudget(options, workers),
               NewFileMode(),
               // With several drawings in flight the cores are busy already; a
               // lone worker may still fit its curves on all of them.
               workers > 1 ? 1 : 0};
  std::vector<std::thread> threads;
  threads.reserve(workers);
  for (size_t w = 0; w < workers; ++w) threads.emplace_back(Work, std::ref(run), w);
  for (std::thread& t : threads) t.join();
  progress.Finish();

  size_t failed = 0;
  for (size_t i = 0; i < drawings.size(); ++i) {
    if (run.failures[i].empty()) continue;
    ++failed;
    std::fputs(FailureLine(drawings[i].path, run.failures[i]).c_str(), stderr);
  }
  std::fputs(Summary(drawings.size(), failed).c_str(), stderr);
  std::fflush(stderr);
  return failed == 0 ? 0 : 1;
}

}  // namespace vessik::cli
