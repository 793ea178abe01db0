// What a running parse may spend, and whether its host wants it stopped.
//
// Parse2 makes one ParseLimits and installs it on its thread; the printing thread
// installs the same one. The work that grows with the input (the file's bytes, the
// group pairs, entity objects, the work arrays of the fits, the text) charges its
// memory here, and the long loops poll for a cancel. Outside a parse both do
// nothing, so the stages can still be driven alone.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <memory>
#include <new>
#include <vector>

#include "parser/LargeMemory.h"
#include "parser/Vessik_Progress.h"

namespace vessik {

class Vessik_Progress;

// Thrown by PollCancel when the host asked the running parse to stop. It is no
// failure: Parse2 turns it into the empty text, as it does a cancel seen between
// two top-level items.
struct ParseCanceled {};

// Thrown when the text going to a sink can not go on: the sink failed (its failure
// is kept), or text already handed over would have to be taken back. No item may
// leave itself out for it; Parse2 ends with the kept failure.
struct TextSinkFailed {
  std::exception_ptr failure;
};

class ParseLimits {
 public:
  // budget: bytes the parse may hold at once. progress: the host's cancel flag,
  // or null for none.
  ParseLimits(uint64_t budget, const Vessik_Progress* progress);
  ParseLimits(const ParseLimits&) = delete;
  ParseLimits& operator=(const ParseLimits&) = delete;

  // Counts bytes against the budget; raises std::bad_alloc, without counting them,
  // when they do not fit. TryCharge tells instead of raising.
  void Charge(size_t bytes);
  bool TryCharge(size_t bytes) noexcept;
  void Refund(size_t bytes) noexcept;
  bool Canceled() const noexcept { return progress_ != nullptr && progress_->IsCanceled(); }
  // Whether the host had asked for the cancel before the parse began. Such a
  // cancel ends the parse at its first top-level item, as it always has; only a
  // cancel that comes while it runs also stops the stages before that.
  bool CanceledAtStart() const noexcept { return canceledAtStart_; }
  uint64_t Budget() const noexcept { return budget_; }
  // Bytes counted now. Frees of memory counted elsewhere can take it below 0.
  int64_t Used() const noexcept { return used_.load(std::memory_order_relaxed); }

 private:
  const uint64_t budget_;
  const Vessik_Progress* const progress_;
  const bool canceledAtStart_;
  std::atomic<int64_t> used_{0};
};

// Makes limits the current ones of this thread while it lives, and puts back the
// ones before (a parse started from a progress handler has limits of its own).
class ParseLimitsScope {
 public:
  explicit ParseLimitsScope(ParseLimits* limits) noexcept;
  ~ParseLimitsScope();
  ParseLimitsScope(const ParseLimitsScope&) = delete;
  ParseLimitsScope& operator=(const ParseLimitsScope&) = delete;

 private:
  ParseLimits* outer_;
};

// The current limits of this thread, or null outside a parse.
ParseLimits* CurrentParseLimits() noexcept;

// Charge and refund through the current limits, if any. Each thread settles them in
// slices of this size with the counter its parse shares, so a thread may hold up
// to two slices charged ahead of its use.
inline constexpr size_t kChargeSlice = size_t{64} << 10;
void ChargeMemory(size_t bytes);
void RefundMemory(size_t bytes) noexcept;

namespace poll {
// This thread's current limits and the flag that calls off its work, if any. The
// loops poll them for every pair and every item, so the polls sit inline.
extern thread_local constinit ParseLimits* current;
extern thread_local constinit const std::atomic<bool>* stopFlag;
[[noreturn]] void RaiseCanceled();
}  // namespace poll

// Raises ParseCanceled when the current parse was asked to stop, or when the work
// of this thread was called off (see StopFlagScope).
inline void PollCancel() {
  const ParseLimits* limits = poll::current;
  const std::atomic<bool>* stop = poll::stopFlag;
  if ((limits != nullptr && limits->Canceled()) ||
      (stop != nullptr && stop->load(std::memory_order_relaxed))) {
    poll::RaiseCanceled();
  }
}

// While one lives, the cancel polls of this thread also stop the work under way
// once the flag is set: a worker whose result is no longer wanted ends early.
class StopFlagScope {
 public:
  explicit StopFlagScope(const std::atomic<bool>* flag) noexcept;
  ~StopFlagScope();
  StopFlagScope(const StopFlagScope&) = delete;
  StopFlagScope& operator=(const StopFlagScope&) = delete;

 private:
  const std::atomic<bool>* outer_;
};
// The same, for the stages before the entities: a cancel that was already set
// when the parse began is left to the first top-level item.
inline void PollCancelWhileLoading() {
  const ParseLimits* limits = poll::current;
  if (limits != nullptr && !limits->CanceledAtStart() && limits->Canceled()) {
    poll::RaiseCanceled();
  }
}

// Whether the exception in flight ends the whole parse however it is caught: a
// cancel, memory that runs out, or a text sink that failed. Call only inside a catch block.
bool InFlightEndsTheParse();

// The budget a parse gets when its thread set none: half of the physical memory,
// or half of the address space where that is capped lower.
uint64_t DefaultMemoryBudget() noexcept;

// What a block of this size from the general allocator really holds: its header,
// rounded to 16 bytes, 32 at least. Small blocks cost twice their size and more.
constexpr size_t HeapFootprint(size_t bytes) {
  if (bytes > SIZE_MAX - 32) return SIZE_MAX;
  const size_t rounded = (bytes + 8 + 15) & ~size_t{15};
  return rounded < 32 ? 32 : rounded;
}

// An allocator for the containers that grow with the drawing: it charges what it
// takes to the current parse.
template <class T>
struct BudgetAllocator {
  using value_type = T;
  BudgetAllocator() noexcept = default;
  template <class U>
  BudgetAllocator(const BudgetAllocator<U>&) noexcept {}
  T* allocate(size_t n) {
    if (n > SIZE_MAX / sizeof(T)) throw std::bad_array_new_length();
    // A list as long as a drawing's items would otherwise be filled 4 KB at a time.
    if (n * sizeof(T) >= kLargeBlock) return static_cast<T*>(AllocateLarge(n * sizeof(T)));
    ChargeMemory(HeapFootprint(n * sizeof(T)));
    try {
      return std::allocator<T>().allocate(n);
    } catch (...) {
      RefundMemory(HeapFootprint(n * sizeof(T)));
      throw;
    }
  }
  void deallocate(T* p, size_t n) noexcept {
    if (n * sizeof(T) >= kLargeBlock) return FreeLarge(p, n * sizeof(T));
    std::allocator<T>().deallocate(p, n);
    RefundMemory(HeapFootprint(n * sizeof(T)));
  }
  template <class U>
  bool operator==(const BudgetAllocator<U>&) const noexcept {
    return true;
  }
};

template <class T>
using BudgetVector = std::vector<T, BudgetAllocator<T>>;

}  // namespace vessik
