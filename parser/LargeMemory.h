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

// Blocks from this size on are aligned for huge pages and take them.
inline constexpr size_t kLargeBlock = size_t{1} << 20;

// Raises std::bad_alloc when the memory cannot be had, or when it does not fit in
// the running parse's budget. Free with FreeLarge, giving the same size.
void* AllocateLarge(size_t size);
void FreeLarge(void* block, size_t size) noexcept;

// Asks for huge pages in the whole 2 MB pages of a large block that someone else
// allocated; does nothing where that is not available.
void AdviseHugePages(void* block, size_t size) noexcept;

// Gives back the memory of the whole pages inside [begin, end) of a large block:
// its content is no longer needed (it would read as zeros).
void ReleasePages(void* begin, void* end) noexcept;

// Gets the whole pages inside [begin, end) of a block ready to be written, without
// changing what any of them holds: the first touch of fresh memory is paid by the
// caller instead of by whoever writes there next. Does nothing where that is not
// available.
void PreparePages(const void* begin, const void* end) noexcept;

// Hands the free pages of the general allocator back to the system, where the
// allocator can do that.
void ReturnFreedMemory() noexcept;

// A growable array of a trivially copyable type in large-block storage.
template <class T>
class LargeArray {
  static_assert(std::is_trivially_copyable_v<T>);

 public:
  LargeArray() = default;
  ~LargeArray() { FreeLarge(data_, capacity_ * sizeof(T)); }
  LargeArray(LargeArray&& o) noexcept
      : data_(std::exchange(o.data_, nullptr)),
        size_(std::exchange(o.size_, 0)),
        capacity_(std::exchange(o.capacity_, 0)) {}
  LargeArray& operator=(LargeArray&& o) noexcept {
    if (this != &o) {
      FreeLarge(data_, capacity_ * sizeof(T));
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
  T* data() { return data_; }
  void reserve(size_t n) {
    if (n <= capacity_) return;
    T* fresh = static_cast<T*>(AllocateLarge(n * sizeof(T)));
    if (size_ > 0) std::memcpy(fresh, data_, size_ * sizeof(T));
    FreeLarge(data_, capacity_ * sizeof(T));
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
