// Shows the Progress event of a parse on standard error: as plain values, one per
// line, and/or as a bar that redraws itself on a terminal.
#pragma once

#include <cstdint>
#include <string>

#include "parser/Vessik_Progress.h"

namespace vessik::cli {

// Turns the values of one parse's Progress event into one rising figure from 0 to
// 100: reading the drawing fills the first half, writing the records the second.
class ProgressFigure {
 public:
  // The figure after this value; it never falls.
  int Next(int32_t value);

 private:
  bool writing_ = false;
  int32_t lastValue_ = 0;
  int figure_ = 0;
};

// The bar for a figure from 0 to 100, from the start of the line: "\rvessik [##..] 40%",
// followed by the note when there is one.
std::string BarText(int percent, const std::string& note = {});

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
  ProgressFigure figure_;
  int percent_ = -1;
};

// Whether standard error is a terminal, where a bar can redraw itself.
bool StandardErrorIsTerminal();

// Removes a bar from the terminal line of standard error.
void EraseBar();

}  // namespace vessik::cli
