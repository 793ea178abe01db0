// An ordered list whose positions count from 1, as the drawing's collections do.
// Reading a position outside 1 to Count raises 9.
#pragma once

#include <cstdint>
#include <utility>
#include <vector>

#include "parser/ParseLimits.h"
#include "parser/Vessik_Error.h"

namespace vessik {

template <class T>
class Vessik_Collection {
 public:
  // A collection made on its own (the items of a block reference) counts against
  // the parse's memory like its items.
  static void* operator new(size_t size) {
    ChargeMemory(HeapFootprint(size));
    try {
      return ::operator new(size);
    } catch (...) {
      RefundMemory(HeapFootprint(size));
      throw;
    }
  }
  static void operator delete(void* p, size_t size) noexcept {
    ::operator delete(p);
    RefundMemory(HeapFootprint(size));
  }

  int32_t Count() const { return static_cast<int32_t>(items_.size()); }
  void Add(T item) { items_.push_back(std::move(item)); }
  T& Item(int32_t position) { return items_[Index(position)]; }
  const T& Item(int32_t position) const { return items_[Index(position)]; }
  void Remove(int32_t position) {
    items_.erase(items_.begin() + static_cast<std::ptrdiff_t>(Index(position)));
  }
  void Clear() { items_.clear(); }
  // Room for this many items, for a collection whose size is known in advance.
  void Reserve(int32_t count) {
    if (count > 0) items_.reserve(static_cast<size_t>(count));
  }

  // Plain iteration, for loops that need no position.
  auto begin() { return items_.begin(); }
  auto end() { return items_.end(); }
  auto begin() const { return items_.begin(); }
  auto end() const { return items_.end(); }

 private:
  size_t Index(int32_t position) const {
    if (position < 1 || position > Count()) RaisePlatformError(errnum::SubscriptOutOfRange);
    return static_cast<size_t>(position - 1);
  }
  // Counted against the running parse's memory: a drawing's collections grow with it.
  BudgetVector<T> items_;
};

}  // namespace vessik
