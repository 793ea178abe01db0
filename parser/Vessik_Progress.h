#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <utility>
#include <vector>

namespace vessik {

/// The progress object that a host passes to Parse2: it raises the Progress event
/// and carries the host's cancel flag.
class Vessik_Progress {
 public:
  /// A receiver of the Progress event, given values from 50 to 100.
  using Handler = std::function<void(int32_t)>;

  /// Whether the host asked the parse to stop.
  bool IsCanceled() const { return canceled_.load(std::memory_order_relaxed); }
  /// Asks the parse to stop (true): it then returns the empty text. Any thread may
  /// set it; a running parse sees it within 100 milliseconds.
  void IsCanceled(bool value) { canceled_.store(value, std::memory_order_relaxed); }

  /// Raises Progress with this value, synchronously, to every connected handler.
  void DoProgress(int32_t value);

  /// Connects a handler; the result identifies it for Disconnect.
  int Connect(Handler handler);
  /// Disconnects the handler that Connect numbered so.
  void Disconnect(int cookie);
  /// Whether any handler is connected, that is, whether a Progress raised now
  /// would be heard.
  bool HasHandlers() const { return !handlers_.empty(); }

 private:
  std::atomic<bool> canceled_{false};
  int nextCookie_ = 1;
  std::vector<std::pair<int, Handler>> handlers_;
};

}  // namespace vessik
