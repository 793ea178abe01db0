#include "parser/Vessik_Utils.h"

#include <chrono>
#include <utility>

#include "parser/Vessik_Convert.h"

namespace vessik {
namespace {

struct PumpState {
  std::function<void()> hook;
  std::function<void(const std::string&)> messageBox;
  int32_t lastTick = 0;
  // The clock is read once every few calls: the long loops call the pump per pair,
  // and a clock read per pair would cost more than the pair itself.
  uint32_t countdown = 0;
};

PumpState& State() {
  thread_local PumpState state;
  return state;
}

constexpr uint32_t kCallsPerClockRead = 64;

}  // namespace

double ParseDouble(std::string_view text) {
  return ReadNumber(text, true);
}

int32_t TickCount() {
  auto ms = std::chrono::duration_cast<std::chrono::milliseconds>(
                std::chrono::steady_clock::now().time_since_epoch())
                .count();
  return static_cast<int32_t>(static_cast<uint32_t>(static_cast<uint64_t>(ms)));
}

void PumpMessages() {
  PumpState& s = State();
  if (!s.hook) return;
  if (s.countdown > 0) {
    --s.countdown;
    return;
  }
  s.countdown = kCallsPerClockRead - 1;
  int32_t tick = TickCount();
  int32_t elapsed =
      static_cast<int32_t>(static_cast<uint32_t>(tick) - static_cast<uint32_t>(s.lastTick));
  if (elapsed >= 100) {
    s.lastTick = tick;
    s.hook();
  }
}

void SetPumpHook(std::function<void()> hook) {
  State().hook = std::move(hook);
  State().countdown = 0;
}

void SetMessageBoxHook(std::function<void(const std::string&)> hook) {
  State().messageBox = std::move(hook);
}

void ShowMessageBox(const std::string& text) {
  PumpState& s = State();
  if (s.messageBox) s.messageBox(text);
}

int32_t& LastPumpTick() {
  return State().lastTick;
}

}  // namespace vessik
