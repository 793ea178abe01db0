#include "parser/Vessik_Concat.h"

#include <cstring>

#include "parser/LargeMemory.h"

namespace vessik {

void Vessik_Concat::Concat(std::string_view text) {
  int64_t end = pos_ + static_cast<int64_t>(text.size());
  if (end > capacity_) {
    // The storage grows by the new length again, so appending stays linear. It is
    // only reserved, not filled: memory that is never written costs nothing.
    buffer_.reserve(static_cast<size_t>(capacity_ + end));
    capacity_ = static_cast<int64_t>(buffer_.capacity());
    if (capacity_ >= (int64_t{8} << 20)) AdviseHugePages(buffer_.data(), buffer_.capacity());
  }
  buffer_.resize(static_cast<size_t>(pos_ - 1));
  buffer_.append(text);
  pos_ = end;
}

void Vessik_Concat::Reserve(int64_t bytes) {
  if (bytes <= capacity_) return;
  buffer_.reserve(static_cast<size_t>(bytes));
  capacity_ = static_cast<int64_t>(buffer_.capacity());
  if (capacity_ >= (int64_t{8} << 20)) AdviseHugePages(buffer_.data(), buffer_.capacity());
}

std::string Vessik_Concat::TakeValue() {
  buffer_.resize(static_cast<size_t>(pos_ - 1));
  std::string result = std::move(buffer_);
  buffer_.clear();
  capacity_ = 0;
  pos_ = 1;
  return result;
}

}  // namespace vessik
