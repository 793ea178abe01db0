// Shows the Progress event of a parse on standard error: as plain values, one per
// line, and/or as a bar that redraws itself on a terminal.
#pragma once

#include <cstdint>

#include "parser/Vessik_Progress.h"

namespace vessik::cli {

class ProgressReport {
 public:
  ProgressReport(Vessik_Progress& progress, bool values, bool bar);
  ~ProgressReport();
  ProgressReport(const ProgressReport&) = delete;
  ProgressReport& operator=(const ProgressReport&) = delete;

  // Removes the bar from the terminal line, so that what follows starts clean.
  void Finish();

 private:
  void OnProgress(int32_t value);
  void DrawBar(int32_t value);

  Vessik_Progress& progress_;
  int cookie_ = 0;
  bool values_;
  bool bar_;
  bool barShown_ = false;
  bool writing_ = false;
  int32_t lastValue_ = 0;
  int percent_ = -1;
};

// Whether standard error is a terminal, where a bar can redraw itself.
bool StandardErrorIsTerminal();

}  // namespace vessik::cli
