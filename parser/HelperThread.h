// A part of a parse's work done on a thread of its own while the parse's thread
// does the rest. The host's messages and the cancel stay with the parse's thread,
// which waits for the part with them kept going.
#pragma once

#ifndef _WIN32

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <system_error>
#include <thread>
#include <utility>

namespace vessik {

class HelperThread {
 public:
  HelperThread() = default;
  // Tells the work to stop and waits for it: what it works on may go after this.
  ~HelperThread() {
    stop_.store(true, std::memory_order_relaxed);
    if (worker_.joinable()) worker_.join();
  }
  HelperThread(const HelperThread&) = delete;
  HelperThread& operator=(const HelperThread&) = delete;

  // Runs work, which must not throw, on a thread of its own. False, with nothing
  // started, where no thread can be had.
  bool Start(std::function<void()> work) {
    try {
      worker_ = std::thread([this, work = std::move(work)] {
        work();
        std::lock_guard<std::mutex> lock(mutex_);
        done_ = true;
        finished_.notify_all();
      });
    } catch (const std::system_error&) {
      return false;
    }
    return true;
  }
  bool Started() const { return worker_.joinable(); }
  // Set once the owner goes: long work looks at it now and then and ends early.
  bool Stopping() const { return stop_.load(std::memory_order_relaxed); }
  // Waits until the work is done, running between() every 20 ms meanwhile; what
  // between() raises ends the wait.
  template <class Between>
  void Wait(Between between) {
    std::unique_lock<std::mutex> lock(mutex_);
    while (!finished_.wait_for(lock, std::chrono::milliseconds(20), [this] { return done_; })) {
      lock.unlock();
      between();
      lock.lock();
    }
  }

 private:
  std::atomic<bool> stop_{false};
  std::mutex mutex_;
  std::condition_variable finished_;
  bool done_ = false;
  std::thread worker_;
};

}  // namespace vessik

#endif
