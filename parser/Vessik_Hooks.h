// The hooks through which a host lends the library its message loop and its
// message box. Both are kept per thread: parses on different threads do not meet.
#pragma once

#include <functional>
#include <string>

namespace vessik {

/// Sets the host's message loop for this thread, which long parses call at most
/// every 100 milliseconds; an empty function removes it.
void SetPumpHook(std::function<void()> hook);

/// Sets the host's modal message box for this thread, which receives the text to
/// show and returns when dismissed; an empty function removes it.
void SetMessageBoxHook(std::function<void(const std::string&)> hook);

}  // namespace vessik
