// Storage for the few very large arrays of a parse (the file's bytes, the group
// pairs). Filling hundreds of megabytes of fresh memory page by page costs more
// than the work done in it, so large blocks are aligned for huge pages.
#pragma once

#include <cstddef>
#include <cstring>
#include <new>
#include <type_traits>
#include <utility>

namespace vessik {

// Raises std::bad_alloc when the memory cannot be had. Free with FreeLarge.
void* AllocateLarge(size_t size);
void FreeLarge(void* block) noexcept;

// A growable array of a trivially copyable type in large-block storage.
template <class T>
class LargeArray {
  static_assert(std::is_trivially_copyable_v<T>);

 public:
  LargeArray() = default;
  ~LargeArray() { FreeLarge(data_); }
  LargeArray(LargeArray&& o) noexcept
      : data_(std::exchange(o.data_, nullptr)),
        size_(std::exchange(o.size_, 0)),
        capacity_(std::exchange(o.capacity_, 0)) {}
  LargeArray& operator=(LargeArray&& o) noexcept {
    if (this != &o) {
      FreeLarge(data_);
      data_ = std::exchange(o.data_, nullptr);
      size_ = std::exchange(o.size_, 0);
      capacity_ = std::exchange(o.capacity_, 0);
    }
    return *this;
  }
  LargeArray(const LargeArray&) = delete;
  LargeArray& operator=(const LargeArray&) = delete;

  size_t size() const { return size_; }
  const T& operator[](size_t i) const { return data_[i]; }
  void reserve(size_t n) {
    if (n <= capacity_) return;
    T* fresh = static_cast<T*>(AllocateLarge(n * sizeof(T)));
    if (size_ > 0) std::memcpy(fresh, data_, size_ * sizeof(T));
    FreeLarge(data_);
    data_ = fresh;
    capacity_ = n;
  }
  void push_back(const T& value) {
    if (size_ == capacity_) reserve(capacity_ < 16 ? 16 : capacity_ * 2);
    data_[size_++] = value;
  }

 private:
  T* data_ = nullptr;
  size_t size_ = 0;
  size_t capacity_ = 0;
};

}  // namespace vessik
