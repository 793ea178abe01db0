#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "parser/TextSink.h"

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
  // From now on the text goes to the sink as it grows, at the points Drain is
  // called; only the part not handed over yet is held.
  void StreamTo(TextSink* sink) { sink_ = sink; }
  // With a sink, hands over what is held once it is large. Call it only where no
  // Truncate to a length before this point can follow.
  void Drain() {
    if (sink_ != nullptr && buffer_.size() >= kDrainSize) Flush();
  }
  // With a sink, hands over all that is held.
  void Flush();
  void Concat(std::string_view text) {
    if (text.size() > buffer_.capacity() - buffer_.size()) Grow(text.size());
    buffer_.append(text);
  }
  // Makes room for this many bytes at once.
  void Reserve(int64_t bytes);
  // Number of characters (bytes) held.
  int64_t length() const { return handedOver_ + static_cast<int64_t>(buffer_.size()); }
  // Drops what was appended after the text had this length, which is not before
  // what went to the sink.
  void Truncate(int64_t length);
  std::string value() const { return buffer_; }
  std::string_view View() const { return buffer_; }
  // The storage the held text lies in, with room for Capacity() bytes.
  const char* Storage() const { return buffer_.data(); }
  size_t Capacity() const { return buffer_.capacity(); }
  // Takes the text out, leaving the accumulator empty.
  std::string TakeValue();

 private:
  void Grow(size_t more);

  // Held text handed to the sink at once: large writes, little memory.
  static constexpr size_t kDrainSize = size_t{1} << 20;

  std::string buffer_;
  TextSink* sink_ = nullptr;
  // Bytes already handed to the sink.
  int64_t handedOver_ = 0;
  // The storage counted against the running parse's memory.
  size_t charged_ = 0;
};

}  // namespace vessik
