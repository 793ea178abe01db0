#include "parser/Vessik_Progress.h"

namespace vessik {

void Vessik_Progress::DoProgress(int32_t value) {
  // A copy, so that a handler may connect or disconnect while the event runs.
  auto handlers = handlers_;
  for (auto& h : handlers) h.second(value);
}

int Vessik_Progress::Connect(Handler handler) {
  int cookie = nextCookie_++;
  handlers_.emplace_back(cookie, std::move(handler));
  return cookie;
}

void Vessik_Progress::Disconnect(int cookie) {
  for (auto it = handlers_.begin(); it != handlers_.end(); ++it) {
    if (it->first == cookie) {
      handlers_.erase(it);
      return;
    }
  }
}

}  // namespace vessik
