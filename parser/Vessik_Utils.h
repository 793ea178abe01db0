// The message pump and the number reader that every stage shares, and the hooks
// through which a host lends its message loop and its message box.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

namespace vessik {

// Text to double, independent of the locale: "," and "." both count as the decimal
// point. No number reads 0; nothing fails.
double ParseDouble(std::string_view text);

// Lets the host's pending messages run, at most once every 100 milliseconds.
void PumpMessages();

// For a thread of the library's own, which no host can give messages to: its pump
// does nothing at all, not even read the clock.
void SilencePump();

// The host's message loop for this thread; empty to remove it.
void SetPumpHook(std::function<void()> hook);

// The host's modal message box for this thread (the text it shows; returns when
// dismissed); empty to remove it.
void SetMessageBoxHook(std::function<void(const std::string&)> hook);

// Shows the text through the message box hook of this thread, if one is set.
void ShowMessageBox(const std::string& text);

// Tick of the last pumped messages, per thread; starts at 0.
int32_t& LastPumpTick();

// A monotonic millisecond counter, as a 32-bit value that wraps.
int32_t TickCount();

}  // namespace vessik
