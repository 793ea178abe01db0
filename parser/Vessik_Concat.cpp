#include "parser/Vessik_Concat.h"

#include <cstring>

namespace vessik {

void Vessik_Concat::Concat(std::string_view text) {
  int64_t end = pos_ + static_cast<int64_t>(text.size());
  if (end > capacity_) {
    buffer_.append(static_cast<size_t>(end), ' ');
    capacity_ = static_cast<int64_t>(buffer_.size());
  }
  if (!text.empty()) std::memcpy(buffer_.data() + (pos_ - 1), text.data(), text.size());
  pos_ = end;
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
