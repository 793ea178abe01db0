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
// and reports up to 100 while it writes the records. The bar turns that into one
// rising figure: reading fills the first half, writing the second.
void ProgressReport::DrawBar(int32_t value) {
  if (value < lastValue_) writing_ = true;
  lastValue_ = value;
  const int32_t v = std::clamp<int32_t>(value, 50, 100);
  const int figure = static_cast<int>(writing_ ? v : std::min<int32_t>((v - 50) * 2, 50));
  if (figure <= percent_) return;
  percent_ = figure;
  const int filled = percent_ * kBarWidth / 100;
  std::string line = "\rvessik [";
  line.append(static_cast<size_t>(filled), '#');
  line.append(static_cast<size_t>(kBarWidth - filled), '.');
  line += "] ";
  line += std::to_string(percent_);
  line += "%";
  std::fputs(line.c_str(), stderr);
  std::fflush(stderr);
  barShown_ = true;
}

void ProgressReport::Finish() {
  if (!barShown_) return;
  // Carriage return, then erase to the end of the line.
  std::fputs("\r\033[K", stderr);
  std::fflush(stderr);
  barShown_ = false;
}

}  // namespace vessik::cli
