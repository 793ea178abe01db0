#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace vessik {

// Append-only accumulator of the drawing's text: the storage more than doubles when
// it runs out, so that appending stays linear in the total length.
class Vessik_Concat {
 public:
  Vessik_Concat() { Clear(); }
  void Clear() { pos_ = 1; }
  void Concat(std::string_view text);
  // Makes room for this many bytes at once.
  void Reserve(int64_t bytes);
  // Number of characters (bytes) held.
  int64_t length() const { return pos_ - 1; }
  std::string value() const { return buffer_.substr(0, static_cast<size_t>(pos_ - 1)); }
  // Takes the text out, leaving the accumulator empty.
  std::string TakeValue();

 private:
  std::string buffer_;
  int64_t capacity_ = 0;
  int64_t pos_ = 1;
};

}  // namespace vessik
