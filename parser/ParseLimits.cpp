#include "parser/ParseLimits.h"

#include "parser/Vessik_Error.h"
#include "parser/Vessik_Hooks.h"
#include "parser/Vessik_Progress.h"

#ifdef _WIN32
#include <windows.h>
#else
#include <sys/resource.h>
#include <unistd.h>
#endif

namespace vessik {

namespace poll {
thread_local constinit ParseLimits* current = nullptr;
thread_local constinit const std::atomic<bool>* stopFlag = nullptr;

void RaiseCanceled() {
  throw ParseCanceled();
}
}  // namespace poll

namespace {

using poll::current;
using poll::stopFlag;
// Bytes this thread has charged to the current limits ahead of its use: small
// charges and refunds are settled here, and only whole slices reach the counter
// that the threads of a parse share.
thread_local size_t credit = 0;

// Hands the credit back before the thread's limits change.
void ReturnCredit() noexcept {
  if (current != nullptr && credit > 0) current->Refund(credit);
  credit = 0;
}
// What this thread's host asked for; 0 for the default.
thread_local uint64_t budgetSetting = 0;

uint64_t PhysicalMemory() noexcept {
#ifdef _WIN32
  MEMORYSTATUSEX status;
  status.dwLength = sizeof status;
  if (GlobalMemoryStatusEx(&status) != 0) return status.ullTotalPhys;
  return 0;
#else
  const long pages = sysconf(_SC_PHYS_PAGES);
  const long pageSize = sysconf(_SC_PAGESIZE);
  if (pages <= 0 || pageSize <= 0) return 0;
  return static_cast<uint64_t>(pages) * static_cast<uint64_t>(pageSize);
#endif
}

}  // namespace

ParseLimits::ParseLimits(uint64_t budget, const Vessik_Progress* progress)
    : budget_(budget),
      progress_(progress),
      canceledAtStart_(progress != nullptr && progress->IsCanceled()) {}

bool ParseLimits::TryCharge(size_t bytes) noexcept {
  const auto amount = static_cast<int64_t>(bytes > INT64_MAX ? INT64_MAX : bytes);
  const int64_t before = used_.fetch_add(amount, std::memory_order_relaxed);
  // Compared in unsigned: a count gone below 0 by foreign frees counts as 0.
  const uint64_t base = before < 0 ? 0 : static_cast<uint64_t>(before);
  if (static_cast<uint64_t>(amount) > budget_ || base > budget_ - static_cast<uint64_t>(amount)) {
    used_.fetch_sub(amount, std::memory_order_relaxed);
    return false;
  }
  return true;
}

void ParseLimits::Charge(size_t bytes) {
  if (!TryCharge(bytes)) throw std::bad_alloc();
}

void ParseLimits::Refund(size_t bytes) noexcept {
  used_.fetch_sub(static_cast<int64_t>(bytes > INT64_MAX ? INT64_MAX : bytes),
                  std::memory_order_relaxed);
}

ParseLimitsScope::ParseLimitsScope(ParseLimits* limits) noexcept : outer_(current) {
  ReturnCredit();
  current = limits;
}

ParseLimitsScope::~ParseLimitsScope() {
  ReturnCredit();
  current = outer_;
}

ParseLimits* CurrentParseLimits() noexcept {
  return current;
}

void ChargeMemory(size_t bytes) {
  if (current == nullptr) return;
  if (bytes <= credit) {
    credit -= bytes;
    return;
  }
  // What is missing, plus a slice for the charges to come; near the budget, only
  // what is missing.
  const size_t missing = bytes - credit;
  size_t taken = missing + kChargeSlice;
  if (missing > SIZE_MAX - kChargeSlice || !current->TryCharge(taken)) {
    taken = missing;
    current->Charge(taken);
  }
  credit = credit + taken - bytes;
}

void RefundMemory(size_t bytes) noexcept {
  if (current == nullptr) return;
  credit += bytes < SIZE_MAX - credit ? bytes : SIZE_MAX - credit;
  if (credit > 2 * kChargeSlice) {
    current->Refund(credit - kChargeSlice);
    credit = kChargeSlice;
  }
}

StopFlagScope::StopFlagScope(const std::atomic<bool>* flag) noexcept : outer_(stopFlag) {
  stopFlag = flag;
}

StopFlagScope::~StopFlagScope() {
  stopFlag = outer_;
}

bool InFlightEndsTheParse() {
  try {
    throw;
  } catch (const ParseCanceled&) {
    return true;
  } catch (const TextSinkFailed&) {
    return true;
  } catch (...) {
    return InFlightIsOutOfMemory();
  }
}

uint64_t DefaultMemoryBudget() noexcept {
  uint64_t memory = PhysicalMemory();
#ifndef _WIN32
  struct rlimit limit;
  if (getrlimit(RLIMIT_AS, &limit) == 0 && limit.rlim_cur != RLIM_INFINITY) {
    const auto space = static_cast<uint64_t>(limit.rlim_cur);
    if (memory == 0 || space < memory) memory = space;
  }
#endif
  // Without any figure, no budget is assumed: the allocator's own failure still
  // ends the parse with 7.
  if (memory == 0) return UINT64_MAX;
  return memory / 2;
}

void SetMemoryBudget(uint64_t bytes) {
  budgetSetting = bytes;
}

uint64_t MemoryBudget() {
  return budgetSetting != 0 ? budgetSetting : DefaultMemoryBudget();
}

}  // namespace vessik
