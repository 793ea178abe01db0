// Waiting on another thread of the parse without starving the host: its message
// loop runs every 20 ms while the condition does not hold.
#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>

#include "parser/Vessik_Utils.h"

namespace vessik {

template <class Condition>
void WaitPumping(std::condition_variable& changed, std::unique_lock<std::mutex>& lock,
                 Condition condition) {
  while (!changed.wait_for(lock, std::chrono::milliseconds(20), condition)) {
    lock.unlock();
    PumpMessages();
    lock.lock();
  }
}

}  // namespace vessik
