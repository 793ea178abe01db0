#include "parser/Vessik_Concat.h"

#include <utility>

#include "parser/LargeMemory.h"
#include "parser/ParseLimits.h"
#include "parser/Vessik_Error.h"

namespace vessik {

Vessik_Concat::~Vessik_Concat() {
  RefundMemory(charged_);
}

Vessik_Concat::Vessik_Concat(Vessik_Concat&& other) noexcept
    : buffer_(std::move(other.buffer_)),
      sink_(std::exchange(other.sink_, nullptr)),
      handedOver_(std::exchange(other.handedOver_, 0)),
      charged_(std::exchange(other.charged_, 0)) {
  other.buffer_ = std::string();
}

Vessik_Concat& Vessik_Concat::operator=(Vessik_Concat&& other) noexcept {
  if (this != &other) {
    RefundMemory(charged_);
    buffer_ = std::move(other.buffer_);
    other.buffer_ = std::string();
    sink_ = std::exchange(other.sink_, nullptr);
    handedOver_ = std::exchange(other.handedOver_, 0);
    charged_ = std::exchange(other.charged_, 0);
  }
  return *this;
}

void Vessik_Concat::Grow(size_t more) {
  // The storage grows by the new length again. It is only reserved, not filled:
  // memory that is never written costs nothing.
  Reserve(static_cast<int64_t>(buffer_.capacity() + buffer_.size() + more));
}

void Vessik_Concat::Reserve(int64_t bytes) {
  if (bytes <= static_cast<int64_t>(buffer_.capacity())) return;
  // The whole storage counts, written or not: it is held all the same.
  const auto wanted = static_cast<size_t>(bytes);
  if (wanted > charged_) {
    ChargeMemory(wanted - charged_);
    charged_ = wanted;
  }
  buffer_.reserve(wanted);
  if (buffer_.capacity() >= (size_t{8} << 20)) AdviseHugePages(buffer_.data(), buffer_.capacity());
}

void Vessik_Concat::Truncate(int64_t length) {
  // Text handed over can not be taken back; the callers never ask it.
  if (length < handedOver_) {
    try {
      RaisePlatformError(errnum::InvalidProcedureCall);
    } catch (...) {
      throw TextSinkFailed{std::current_exception()};
    }
  }
  buffer_.resize(static_cast<size_t>(length - handedOver_));
}

void Vessik_Concat::Flush() {
  if (sink_ == nullptr || buffer_.empty()) return;
  try {
    sink_->Write(buffer_);
  } catch (...) {
    throw TextSinkFailed{std::current_exception()};
  }
  handedOver_ += static_cast<int64_t>(buffer_.size());
  buffer_.clear();
}

std::string Vessik_Concat::TakeValue() {
  std::string result = std::move(buffer_);
  buffer_ = std::string();
  // The text is the caller's from here on.
  RefundMemory(std::exchange(charged_, 0));
  return result;
}

}  // namespace vessik
