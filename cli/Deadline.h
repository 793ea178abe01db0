// The tool's --timeout: a watch that cancels the parse when its time is up.
#pragma once

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <thread>

#include "parser/Vessik_Progress.h"

namespace vessik::cli {

class Deadline {
 public:
  // Cancels through progress once seconds have passed; 0 or less never does.
  Deadline(Vessik_Progress& progress, double seconds);
  // Stops the watch; a parse that ended in time is no longer cancelled.
  ~Deadline();
  Deadline(const Deadline&) = delete;
  Deadline& operator=(const Deadline&) = delete;

  // Whether the time ran out and the parse was cancelled.
  bool Expired() const { return expired_.load(); }

 private:
  std::mutex mutex_;
  std::condition_variable wake_;
  bool done_ = false;
  std::atomic<bool> expired_{false};
  std::thread watch_;
};

}  // namespace vessik::cli
