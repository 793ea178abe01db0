// The message pump and the number reader that every stage shares.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "parser/Vessik_Convert.h"
#include "parser/Vessik_Hooks.h"

namespace vessik {

// Text to double, independent of the locale: "," and "." both count as the decimal
// point. No number reads 0; nothing fails. Plain decimals, nearly every number of
// a drawing, are read without the general reader's set-up.
inline double ParseDouble(std::string_view text) {
  double value;
  if (ReadShortDecimal(text, value)) return value;
  return ReadNumber(text, true);
}

namespace pump {
// Set on the library's own threads. Those call the pump millions of times while
// fitting curves, so the test that ends each call sits inline.
extern thread_local constinit bool silenced;
// Tick of the last pumped messages on this thread.
extern thread_local constinit int32_t lastTick;
void Run();
}  // namespace pump

// Lets the host's pending messages run, at most once every 100 milliseconds.
inline void PumpMessages() {
  if (!pump::silenced) pump::Run();
}

// For a thread of the library's own, which no host can give messages to: its pump
// does nothing at all, not even read the clock.
void SilencePump();

// Shows the text through the message box hook of this thread, if one is set.
void ShowMessageBox(const std::string& text);

// Tick of the last pumped messages, per thread; starts at 0.
int32_t& LastPumpTick();

// A monotonic millisecond counter, as a 32-bit value that wraps.
int32_t TickCount();

}  // namespace vessik
