#include "parser/MappedFile.h"

#ifdef __linux__
#include <signal.h>
#include <sys/mman.h>
#include <unistd.h>

#include <atomic>
#include <cstdint>
#include <mutex>
#endif

namespace vessik {

#ifdef __linux__

namespace {

constexpr uintptr_t kPage = 4096;

// The mappings the handler watches. Read by the handler, which may run on any
// thread at any time: atomics only, no lock.
struct Slot {
  std::atomic<bool> used{false};
  std::atomic<uintptr_t> begin{0};
  std::atomic<uintptr_t> end{0};
  std::atomic<bool> lost{false};
};
constexpr int kSlots = 64;
Slot slots[kSlots];

struct sigaction previousBusAction;
bool handlerInstalled = false;

// A fault that is not one of ours: as if this handler had not been there.
void PassOn(int signal, siginfo_t* info, void* context) {
  const struct sigaction& previous = previousBusAction;
  if ((previous.sa_flags & SA_SIGINFO) != 0) {
    if (previous.sa_sigaction != nullptr) previous.sa_sigaction(signal, info, context);
    return;
  }
  if (previous.sa_handler != SIG_DFL && previous.sa_handler != SIG_IGN) {
    previous.sa_handler(signal);
    return;
  }
  const bool sent = info->si_code <= 0;
  if (previous.sa_handler == SIG_IGN && sent) return;
  // The default action: the faulting access runs again when this returns and
  // kills the process; a signal sent by someone is sent again.
  struct sigaction fallback {};
  fallback.sa_handler = SIG_DFL;
  sigemptyset(&fallback.sa_mask);
  sigaction(signal, &fallback, nullptr);
  if (sent) raise(signal);
}

void OnBusError(int signal, siginfo_t* info, void* context) {
  if (info->si_code > 0) {
    const auto at = reinterpret_cast<uintptr_t>(info->si_addr);
    for (Slot& slot : slots) {
      const uintptr_t begin = slot.begin.load(std::memory_order_acquire);
      const uintptr_t end = slot.end.load(std::memory_order_acquire);
      if (at < begin || at >= end) continue;
      // The file lost this page and those behind it: fresh zero pages take the
      // rest of the mapping over, and the access runs again on them.
      const uintptr_t page = at & ~(kPage - 1);
      void* zeros = mmap(reinterpret_cast<void*>(page), end - page, PROT_READ | PROT_WRITE,
                         MAP_PRIVATE | MAP_ANONYMOUS | MAP_FIXED, -1, 0);
      if (zeros != MAP_FAILED) {
        slot.lost.store(true, std::memory_order_release);
        return;
      }
    }
  }
  PassOn(signal, info, context);
}

bool InstallHandler() {
  static std::once_flag once;
  std::call_once(once, [] {
    // The handler there before is known before this one can run and pass it on.
    if (sigaction(SIGBUS, nullptr, &previousBusAction) != 0) return;
    struct sigaction action {};
    action.sa_sigaction = OnBusError;
    action.sa_flags = SA_SIGINFO | SA_ONSTACK;
    sigemptyset(&action.sa_mask);
    handlerInstalled = sigaction(SIGBUS, &action, nullptr) == 0;
  });
  return handlerInstalled;
}

int ClaimSlot(uintptr_t begin, uintptr_t end) {
  for (int i = 0; i < kSlots; ++i) {
    bool free = false;
    if (!slots[i].used.compare_exchange_strong(free, true)) continue;
    slots[i].lost.store(false, std::memory_order_relaxed);
    slots[i].begin.store(begin, std::memory_order_release);
    slots[i].end.store(end, std::memory_order_release);
    return i;
  }
  return -1;
}

}  // namespace

bool MapFile(int fd, size_t size, FileMapping& mapping) {
  if (size == 0 || !InstallHandler()) return false;
  const size_t length = (size + kPage - 1) & ~(kPage - 1);
  void* p = mmap(nullptr, length, PROT_READ | PROT_WRITE, MAP_PRIVATE, fd, 0);
  if (p == MAP_FAILED) return false;
  const auto begin = reinterpret_cast<uintptr_t>(p);
  const int slot = ClaimSlot(begin, begin + length);
  if (slot < 0) {
    munmap(p, length);
    return false;
  }
  mapping = FileMapping{static_cast<char*>(p), length, slot};
  return true;
}

void UnmapFile(FileMapping& mapping) noexcept {
  if (mapping.data == nullptr) return;
  // Out of the handler's sight before the pages go.
  Slot& slot = slots[mapping.slot];
  slot.end.store(0, std::memory_order_release);
  slot.begin.store(0, std::memory_order_release);
  munmap(mapping.data, mapping.length);
  slot.used.store(false, std::memory_order_release);
  mapping = FileMapping{};
}

bool MappingLost(const FileMapping& mapping) noexcept {
  return mapping.data != nullptr && slots[mapping.slot].lost.load(std::memory_order_acquire);
}

void PopulateMapping(const char* from, const char* to) noexcept {
#ifdef MADV_POPULATE_READ
  const uintptr_t b = reinterpret_cast<uintptr_t>(from) & ~(kPage - 1);
  const uintptr_t e = reinterpret_cast<uintptr_t>(to);
  // A failure (an older kernel, a file that got shorter) leaves the faults to the
  // reading, and the file's version check to tell a change.
  if (e > b) (void)madvise(reinterpret_cast<void*>(b), e - b, MADV_POPULATE_READ);
#else
  (void)from;
  (void)to;
#endif
}

#else

bool MapFile(int, size_t, FileMapping&) {
  return false;
}
void UnmapFile(FileMapping&) noexcept {}
bool MappingLost(const FileMapping&) noexcept {
  return false;
}
void PopulateMapping(const char*, const char*) noexcept {}

#endif

}  // namespace vessik
