#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace vessik {

// Append-only accumulator of the drawing's text: the storage more than doubles when
// it runs out, so that appending stays linear in the total length. Every printer
// writes its records straight into one of these, so a record is copied once.
class Vessik_Concat {
 public:
  Vessik_Concat() = default;
  ~Vessik_Concat();
  Vessik_Concat(Vessik_Concat&& other) noexcept;
  Vessik_Concat& operator=(Vessik_Concat&& other) noexcept;
  void Clear() { buffer_.clear(); }
  void Concat(std::string_view text) {
    if (text.size() > buffer_.capacity() - buffer_.size()) Grow(text.size());
    buffer_.append(text);
  }
  // Makes room for this many bytes at once.
  void Reserve(int64_t bytes);
  // Number of characters (bytes) held.
  int64_t length() const { return static_cast<int64_t>(buffer_.size()); }
  // Drops what was appended after the text had this length.
  void Truncate(int64_t length) { buffer_.resize(static_cast<size_t>(length)); }
  std::string value() const { return buffer_; }
  std::string_view View() const { return buffer_; }
  // Takes the text out, leaving the accumulator empty.
  std::string TakeValue();

 private:
  void Grow(size_t more);

  std::string buffer_;
  // The storage counted against the running parse's memory.
  size_t charged_ = 0;
};

}  // namespace vessik
