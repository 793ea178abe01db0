#include "entities/EntityArena.h"

#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <new>

#include "parser/ParseLimits.h"

#ifdef __linux__
#include <sys/mman.h>
#endif
#ifdef _WIN32
#include <malloc.h>
#endif
#if defined(__SANITIZE_ADDRESS__)
#include <sanitizer/asan_interface.h>
#define VESSIK_POISON(p, n) ASAN_POISON_MEMORY_REGION(p, n)
#define VESSIK_UNPOISON(p, n) ASAN_UNPOISON_MEMORY_REGION(p, n)
#else
#define VESSIK_POISON(p, n) ((void)(p), (void)(n))
#define VESSIK_UNPOISON(p, n) ((void)(p), (void)(n))
#endif

namespace vessik {
namespace {

// Chunks are aligned to their size, so the chunk of an object is found from its
// address alone; 2 MB is one huge page where the system has them.
constexpr size_t kChunkSize = size_t{2} << 20;
constexpr size_t kAlign = alignof(std::max_align_t);
// Objects larger than this go to the general allocator.
constexpr size_t kLargest = 4096;

std::atomic<size_t> chunksHeld{0};

// Emptied chunks kept for the next ones, up to kKept of them: a drawing printed as
// it is read frees objects as fast as it makes new ones, and a chunk used again
// costs no fresh pages from the system.
constexpr size_t kKept = 8;

// Guards the kept chunks; taken once for each 2 MB of objects, so a spin is enough.
class SpinLock {
 public:
  void lock() noexcept {
    while (flag_.test_and_set(std::memory_order_acquire)) {
    }
  }
  void unlock() noexcept { flag_.clear(std::memory_order_release); }

 private:
  std::atomic_flag flag_ = ATOMIC_FLAG_INIT;
};

SpinLock keptLock;
void* kept[kKept];
size_t keptCount = 0;

void* TakeKeptChunk() noexcept {
  keptLock.lock();
  void* p = keptCount > 0 ? kept[--keptCount] : nullptr;
  keptLock.unlock();
  return p;
}

bool KeepChunk(void* p) noexcept {
  keptLock.lock();
  const bool room = keptCount < kKept;
  if (room) kept[keptCount++] = p;
  keptLock.unlock();
  return room;
}

void FreeChunk(void* p) noexcept {
  VESSIK_UNPOISON(p, kChunkSize);
#ifdef _WIN32
  _aligned_free(p);
#else
  std::free(p);
#endif
  chunksHeld.fetch_sub(1, std::memory_order_relaxed);
}

// While a thread fills a chunk it counts the objects it takes on its own, and the
// shared count holds kFilling instead; the two are settled when the chunk is full.
// A free before that cannot bring the shared count to 0.
constexpr int64_t kFilling = int64_t{1} << 40;

struct alignas(kAlign) ChunkHeader {
  // Objects still alive in the chunk, plus kFilling while the chunk takes new ones.
  std::atomic<int64_t> live{kFilling};
};

// A chunk in use counts whole against the running parse's memory, from when it is
// taken until its last object goes.
void* NewChunk() {
  ChargeMemory(kChunkSize);
  if (void* p = TakeKeptChunk()) return new (p) ChunkHeader;
#ifdef _WIN32
  void* p = _aligned_malloc(kChunkSize, kChunkSize);
#else
  void* p = std::aligned_alloc(kChunkSize, kChunkSize);
#endif
  if (p == nullptr) {
    RefundMemory(kChunkSize);
    throw std::bad_alloc();
  }
  chunksHeld.fetch_add(1, std::memory_order_relaxed);
#ifdef __linux__
  madvise(p, kChunkSize, MADV_HUGEPAGE);
#endif
  VESSIK_POISON(static_cast<char*>(p) + sizeof(ChunkHeader), kChunkSize - sizeof(ChunkHeader));
  return new (p) ChunkHeader;
}

// Takes count off the chunk's objects; the chunk goes when none are left.
void DropReferences(ChunkHeader* chunk, int64_t count) noexcept {
  if (chunk->live.fetch_sub(count, std::memory_order_acq_rel) != count) return;
  RefundMemory(kChunkSize);
  chunk->~ChunkHeader();
  if (!KeepChunk(chunk)) FreeChunk(chunk);
}

// The chunk this thread fills, and the free room left in it.
class Filling {
 public:
  ~Filling() { Settle(); }
  void* Take(size_t size) {
    if (chunk_ == nullptr || size > static_cast<size_t>(end_ - next_)) {
      ChunkHeader* fresh = static_cast<ChunkHeader*>(NewChunk());
      Settle();
      chunk_ = fresh;
      next_ = reinterpret_cast<char*>(chunk_) + sizeof(ChunkHeader);
      end_ = reinterpret_cast<char*>(chunk_) + kChunkSize;
    }
    void* p = next_;
    next_ += size;
    ++taken_;
    VESSIK_UNPOISON(p, size);
    return p;
  }

 private:
  // Gives up the chunk: its shared count becomes the number of objects alive.
  void Settle() noexcept {
    if (chunk_ == nullptr) return;
    DropReferences(chunk_, kFilling - taken_);
    chunk_ = nullptr;
    taken_ = 0;
  }

  ChunkHeader* chunk_ = nullptr;
  char* next_ = nullptr;
  char* end_ = nullptr;
  int64_t taken_ = 0;
};

// Frees counted together while an EntityFreeBatch lives on this thread: a run of
// objects from one chunk, as a drawing's items are freed, costs one update of the
// shared count instead of one for each object.
struct FreeRun {
  int depth = 0;
  ChunkHeader* chunk = nullptr;
  int64_t count = 0;
  void Flush() noexcept {
    if (chunk == nullptr) return;
    DropReferences(chunk, count);
    chunk = nullptr;
    count = 0;
  }
};

thread_local FreeRun freeRun;

thread_local Filling filling;

size_t Rounded(size_t size) {
  return (size + kAlign - 1) & ~(kAlign - 1);
}

}  // namespace

void* AllocateEntity(size_t size) {
  if (size > kLargest) {
    ChargeMemory(size);
    try {
      return ::operator new(size);
    } catch (...) {
      RefundMemory(size);
      throw;
    }
  }
  return filling.Take(Rounded(size));
}

void FreeEntity(void* block, size_t size) noexcept {
  if (block == nullptr) return;
  if (size > kLargest) {
    ::operator delete(block);
    RefundMemory(size);
    return;
  }
  VESSIK_POISON(block, Rounded(size));
  const auto address = reinterpret_cast<uintptr_t>(block);
  auto* chunk = reinterpret_cast<ChunkHeader*>(address & ~(uintptr_t{kChunkSize} - 1));
  FreeRun& run = freeRun;
  if (run.depth == 0) return DropReferences(chunk, 1);
  if (chunk != run.chunk) {
    run.Flush();
    run.chunk = chunk;
  }
  ++run.count;
}

EntityFreeBatch::EntityFreeBatch() noexcept {
  ++freeRun.depth;
}

EntityFreeBatch::~EntityFreeBatch() {
  FreeRun& run = freeRun;
  if (--run.depth == 0) run.Flush();
}

void FreeKeptEntityChunks() noexcept {
  for (;;) {
    void* p = TakeKeptChunk();
    if (p == nullptr) return;
    FreeChunk(p);
  }
}

size_t EntityChunks() noexcept {
  return chunksHeld.load(std::memory_order_relaxed);
}

}  // namespace vessik
