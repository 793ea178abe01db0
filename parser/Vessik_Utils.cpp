#include "parser/Vessik_Utils.h"

#include <time.h>

#include <chrono>
#include <utility>

#include "parser/Vessik_Convert.h"

namespace vessik {
namespace {

struct PumpState {
  std::function<void()> hook;
  std::function<void(const std::string&)> messageBox;
};

PumpState& State() {
  thread_local PumpState state;
  return state;
}

}  // namespace

int32_t TickCount() {
#ifdef CLOCK_MONOTONIC_COARSE
  // The coarse clock costs a few nanoseconds, which matters since the long loops
  // read it for every pair; its resolution of a few milliseconds is finer than the
  // 100 ms that the pump asks for.
  timespec ts;
  if (clock_gettime(CLOCK_MONOTONIC_COARSE, &ts) == 0) {
    uint64_t ms =
        static_cast<uint64_t>(ts.tv_sec) * 1000u + static_cast<uint64_t>(ts.tv_nsec) / 1000000u;
    return static_cast<int32_t>(static_cast<uint32_t>(ms));
  }
#endif
  auto ms = std::chrono::duration_cast<std::chrono::milliseconds>(
                std::chrono::steady_clock::now().time_since_epoch())
                .count();
  return static_cast<int32_t>(static_cast<uint32_t>(static_cast<uint64_t>(ms)));
}

namespace pump {

thread_local constinit bool silenced = false;
thread_local constinit int32_t lastTick = 0;

namespace {

// The host's messages are the host's affair: nothing they raise may end a parse,
// and the pump also runs while the drawing is being freed.
void RunHook() {
  PumpState& s = State();
  if (s.hook) {
    try {
      s.hook();
    } catch (...) {
    }
  }
}

}  // namespace

void Run() {
  // Every call reads the tick; the host's messages run when 100 ms or more have
  // passed since the last run. Without a hook there is nothing to run, but the tick
  // is kept all the same.
  const int32_t tick = TickCount();
  const int32_t elapsed =
      static_cast<int32_t>(static_cast<uint32_t>(tick) - static_cast<uint32_t>(lastTick));
  if (elapsed >= 100) {
    RunHook();
    lastTick = tick;
  }
}

}  // namespace pump

void SilencePump() {
  pump::silenced = true;
}

void SetPumpHook(std::function<void()> hook) {
  State().hook = std::move(hook);
}

void SetMessageBoxHook(std::function<void(const std::string&)> hook) {
  State().messageBox = std::move(hook);
}

void ShowMessageBox(const std::string& text) {
  PumpState& s = State();
  if (s.messageBox) s.messageBox(text);
}

int32_t& LastPumpTick() {
  return pump::lastTick;
}

}  // namespace vessik
