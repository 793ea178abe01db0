// How dear fresh memory is on this machine at this minute. A large drawing
// touches a few hundred megabytes of memory the process never used; a virtual
// machine may hand such memory out slowly, and then the same build takes a third
// longer than a minute before. This touches 100 MB in huge pages, as the tool
// takes its large blocks, once fresh and once more just after giving it back (the
// system then hands the same pages out again): print it next to every timing.
#include <sys/mman.h>

#include <chrono>
#include <cstddef>
#include <cstdio>

namespace {

constexpr size_t kBytes = size_t{100} << 20;

// Milliseconds to map 100 MB and write one byte of each page, or -1.
double TouchMs() {
  const auto start = std::chrono::steady_clock::now();
  void* block = mmap(nullptr, kBytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (block == MAP_FAILED) return -1;
  madvise(block, kBytes, MADV_HUGEPAGE);
  auto* p = static_cast<volatile char*>(block);
  for (size_t i = 0; i < kBytes; i += 4096) p[i] = 1;
  const auto end = std::chrono::steady_clock::now();
  munmap(block, kBytes);
  return std::chrono::duration<double, std::milli>(end - start).count();
}

}  // namespace

int main() {
  const double fresh = TouchMs();
  const double reused = TouchMs();
  if (fresh < 0 || reused < 0) {
    std::perror("memory_probe: mmap");
    return 1;
  }
  std::printf(
      "fresh memory: 100 MB first touched in %.0f ms; touched again after a free in %.0f ms\n",
      fresh, reused);
  return 0;
}
