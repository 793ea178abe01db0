// One progress bar for a whole batch, on standard error when it is a terminal.
#pragma once

#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <memory>
#include <mutex>
#include <thread>

namespace vessik::cli {

// The bar shows (drawings finished + each running drawing's figure / 100) / total.
// The workers only store numbers; a thread of its own redraws the bar ten times a
// second, so that workers never wait for the terminal.
class BatchProgress {
 public:
  // Draws nothing when show is false.
  BatchProgress(size_t total, size_t workers, bool show);
  ~BatchProgress();
  BatchProgress(const BatchProgress&) = delete;
  BatchProgress& operator=(const BatchProgress&) = delete;

  // The worker's running drawing has come this far, from 0 to 100.
  void Update(size_t worker, int figure);
  // The worker's drawing is finished, converted or failed.
  void Done(size_t worker);

  // Stops redrawing and removes the bar, so that what follows starts clean.
  void Finish();

 private:
  void Draw();

  const size_t total_;
  const size_t workers_;
  std::unique_ptr<std::atomic<int>[]> figures_;
  std::atomic<size_t> finished_{0};
  int percent_ = -1;
  size_t finishedShown_ = 0;
  bool shown_ = false;

  std::mutex mutex_;
  std::condition_variable wake_;
  bool stopping_ = false;
  std::thread drawer_;
};

}  // namespace vessik::cli
