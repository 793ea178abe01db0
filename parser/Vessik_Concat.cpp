#include "parser/Vessik_Concat.h"

#include "parser/LargeMemory.h"

namespace vessik {

void Vessik_Concat::Grow(size_t more) {
  // The storage grows by the new length again. It is only reserved, not filled:
  // memory that is never written costs nothing.
  Reserve(static_cast<int64_t>(buffer_.capacity() + buffer_.size() + more));
}

void Vessik_Concat::Reserve(int64_t bytes) {
  if (bytes <= static_cast<int64_t>(buffer_.capacity())) return;
  buffer_.reserve(static_cast<size_t>(bytes));
  if (buffer_.capacity() >= (size_t{8} << 20)) AdviseHugePages(buffer_.data(), buffer_.capacity());
}

std::string Vessik_Concat::TakeValue() {
  std::string result = std::move(buffer_);
  buffer_ = std::string();
  return result;
}

}  // namespace vessik
