#include "cli/Deadline.h"

#include <chrono>

namespace vessik::cli {

Deadline::Deadline(Vessik_Progress& progress, double seconds) {
  if (!(seconds > 0)) return;
  // Beyond a year the watch would never fire in practice; the cap keeps the
  // conversion to a duration in range for any number given.
  const double capped = seconds < 3.2e7 ? seconds : 3.2e7;
  const auto limit = std::chrono::duration<double>(capped);
  watch_ = std::thread([this, &progress, limit] {
    std::unique_lock<std::mutex> lock(mutex_);
    if (wake_.wait_for(lock, limit, [this] { return done_; })) return;
    expired_.store(true);
    progress.IsCanceled(true);
  });
}

Deadline::~Deadline() {
  if (!watch_.joinable()) return;
  {
    std::lock_guard<std::mutex> lock(mutex_);
    done_ = true;
  }
  wake_.notify_one();
  watch_.join();
}

}  // namespace vessik::cli
