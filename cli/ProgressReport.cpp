#include "cli/ProgressReport.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <string>

namespace vessik::cli {

namespace {
constexpr int kBarWidth = 40;
}

bool StandardErrorIsTerminal() {
  return ::isatty(STDERR_FILENO) == 1;
}

ProgressReport::ProgressReport(Vessik_Progress& progress, bool values, bool bar)
    : progress_(progress), values_(values), bar_(bar) {
  if (values_ || bar_) {
    cookie_ = progress_.Connect([this](int32_t value) { OnProgress(value); });
  }
}

ProgressReport::~ProgressReport() {
  Finish();
  if (cookie_ != 0) progress_.Disconnect(cookie_);
}

void ProgressReport::OnProgress(int32_t value) {
  if (values_) {
    std::fprintf(stderr, "%d\n", static_cast<int>(value));
    std::fflush(stderr);
  }
  if (bar_) DrawBar(value);
}

// The library reports 50 to 75 while it reads the drawing, then falls back to 50
// and reports up to 100 while it writes the records.
int ProgressFigure::Next(int32_t value) {
  if (value < lastValue_) writing_ = true;
  lastValue_ = value;
  const int32_t v = std::clamp<int32_t>(value, 50, 100);
  const int figure = static_cast<int>(writing_ ? v : std::min<int32_t>((v - 50) * 2, 50));
  figure_ = std::max(figure_, figure);
  return figure_;
}

std::string BarText(int percent, const std::string& note) {
  const int filled = std::clamp(percent, 0, 100) * kBarWidth / 100;
  std::string line = "\rvessik [";
  line.append(static_cast<size_t>(filled), '#');
  line.append(static_cast<size_t>(kBarWidth - filled), '.');
  line += "] ";
  line += std::to_string(percent);
  line += "%";
  if (!note.empty()) {
    line += ' ';
    line += note;
  }
  return line;
}

void EraseBar() {
  // Carriage return, then erase to the end of the line.
  std::fputs("\r\033[K", stderr);
  std::fflush(stderr);
}

void ProgressReport::DrawBar(int32_t value) {
  const int figure = figure_.Next(value);
  if (figure <= percent_) return;
  percent_ = figure;
  std::fputs(BarText(percent_).c_str(), stderr);
  std::fflush(stderr);
  barShown_ = true;
}

void ProgressReport::Finish() {
  if (!barShown_) return;
  EraseBar();
  barShown_ = false;
}

}  // namespace vessik::cli
