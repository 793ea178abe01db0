#include "cli/BatchProgress.h"

#include <chrono>
#include <cstdio>
#include <string>

#include "cli/ProgressReport.h"

namespace vessik::cli {

BatchProgress::BatchProgress(size_t total, size_t workers, bool show)
    : total_(total), workers_(workers), figures_(new std::atomic<int>[workers]) {
  for (size_t i = 0; i < workers_; ++i) figures_[i].store(0);
  if (!show || total_ == 0) return;
  drawer_ = std::thread([this] {
    std::unique_lock<std::mutex> lock(mutex_);
    while (!stopping_) {
      Draw();
      wake_.wait_for(lock, std::chrono::milliseconds(100), [this] { return stopping_; });
    }
  });
}

BatchProgress::~BatchProgress() {
  Finish();
}

void BatchProgress::Update(size_t worker, int figure) {
  figures_[worker].store(figure, std::memory_order_relaxed);
}

void BatchProgress::Done(size_t worker) {
  // Counted as finished before its figure is cleared: a moment where the drawing
  // counts twice is better than one where it counts not at all, and the bar
  // never falls anyway.
  finished_.fetch_add(1);
  figures_[worker].store(0);
}

void BatchProgress::Draw() {
  const size_t finished = finished_.load();
  double sum = static_cast<double>(finished);
  for (size_t i = 0; i < workers_; ++i) sum += figures_[i].load(std::memory_order_relaxed) / 100.0;
  int percent = static_cast<int>(sum * 100.0 / static_cast<double>(total_));
  if (percent > 100) percent = 100;
  if (shown_ && percent <= percent_ && finished == finishedShown_) return;
  if (percent > percent_) percent_ = percent;
  finishedShown_ = finished;
  const std::string note = std::to_string(finished) + "/" + std::to_string(total_) + " drawings";
  std::fputs(BarText(percent_, note).c_str(), stderr);
  std::fflush(stderr);
  shown_ = true;
}

void BatchProgress::Finish() {
  if (!drawer_.joinable()) return;
  {
    std::lock_guard<std::mutex> lock(mutex_);
    stopping_ = true;
  }
  wake_.notify_one();
  drawer_.join();
  if (shown_) EraseBar();
}

}  // namespace vessik::cli
