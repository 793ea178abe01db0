#include "parser/Lickety.h"

#include <algorithm>
#include <bit>
#include <cstring>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace vessik {
namespace {

// Bit k set where p[k] == c, for the n (at most 64) bytes at p.
uint64_t MatchMask(const char* p, size_t n, char c) {
  uint64_t mask = 0;
#if defined(__SSE2__)
  if (n == 64) {
    const __m128i needle = _mm_set1_epi8(c);
    for (int k = 0; k < 4; ++k) {
      __m128i chunk = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p + 16 * k));
      uint32_t bits = static_cast<uint32_t>(_mm_movemask_epi8(_mm_cmpeq_epi8(chunk, needle)));
      mask |= static_cast<uint64_t>(bits) << (16 * k);
    }
    return mask;
  }
#endif
  for (size_t k = 0; k < n; ++k) {
    if (p[k] == c) mask |= uint64_t{1} << k;
  }
  return mask;
}

}  // namespace

int64_t Lickety::ChooseBlockSize(int64_t Remaining) {
  return Remaining > 3276800 ? Remaining / 50 : 65536;
}

Lickety::Lines::Lines(FileBytes&& bytes, int64_t BlockSize, std::string_view LineDelim)
    : bytes_(std::move(bytes)), delim_(LineDelim) {
  const size_t size = bytes_.size();
  if (delim_.empty()) {
    // No delimiter: the whole text is one line.
    keepTail_ = size > 0;
    return;
  }
  if (BlockSize <= static_cast<int64_t>(delim_.size())) {
    BlockSize = ChooseBlockSize(static_cast<int64_t>(size));
  }
  // The last read takes what is left behind the full blocks.
  const size_t block = static_cast<size_t>(BlockSize);
  const size_t lastSize = size == 0 ? 0 : (size % block == 0 ? block : size % block);
  const size_t lastStart = size - lastSize;
  // The last delimiter of the file. Occurrences count from left to right without
  // overlap; for a delimiter that cannot overlap itself (a line end) that is simply
  // the last one, found from the end. One that can ("aa" in "aaa") needs the scan
  // from the start, or the last occurrence found would not be one of the scan's.
  const size_t n = delim_.size();
  bool selfOverlapping = false;
  for (size_t k = 1; k < n; ++k) {
    if (std::memcmp(delim_.data(), delim_.data() + n - k, k) == 0) selfOverlapping = true;
  }
  size_t lastEnd = 0;  // 0: none
  const char* data = bytes_.data();
  if (selfOverlapping) {
    const std::string_view text(data, size);
    for (size_t p = text.find(delim_); p != std::string_view::npos; p = text.find(delim_, p)) {
      p += n;
      lastEnd = p;
    }
  } else {
    for (size_t p = size; p >= n; --p) {
      if (std::memcmp(data + p - n, delim_.data(), n) == 0) {
        lastEnd = p;
        break;
      }
    }
  }
  end_ = lastEnd;
  // A delimiter counts for the last block when its last byte lies there.
  const bool lastBlockHasDelimiter = lastEnd > 0 && lastEnd - 1 >= lastStart;
  keepTail_ = !lastBlockHasDelimiter && lastEnd < size;
}

size_t Lickety::Lines::FindLast() {
  const char c = delim_.back();
  for (;;) {
    if (!scanned_) {
      blockBase_ = pos_ & ~size_t{63};
      mask_ = MatchMask(bytes_.data() + blockBase_, std::min<size_t>(64, end_ - blockBase_), c);
      scanned_ = true;
    }
    // Positions in front of pos_ are spent.
    size_t skip = pos_ > blockBase_ ? pos_ - blockBase_ : 0;
    uint64_t live = skip >= 64 ? 0 : mask_ & (~uint64_t{0} << skip);
    if (live != 0) return blockBase_ + static_cast<size_t>(std::countr_zero(live));
    if (blockBase_ + 64 >= end_) return end_;
    blockBase_ += 64;
    mask_ = MatchMask(bytes_.data() + blockBase_, std::min<size_t>(64, end_ - blockBase_), c);
  }
}

bool Lickety::Lines::IsDelimiterEnd(const char* data, size_t at) const {
  // The byte at `at` is the delimiter's last one; line ends are checked inline.
  const size_t n = delim_.size();
  if (n == 1) return true;
  if (n == 2) return data[at - 1] == delim_[0];
  return std::memcmp(data + at + 1 - n, delim_.data(), n) == 0;
}

bool Lickety::Lines::Next(std::string_view& line) {
  if (done_) return false;
  const char* data = bytes_.data();
  const size_t n = delim_.size();
  while (pos_ < end_) {
    // Occurrences are taken from left to right without overlap: look for the
    // delimiter's last byte and check the bytes in front of it.
    size_t from = pos_;
    for (;;) {
      size_t at = FindLast();
      if (at >= end_) break;
      if (at + 1 >= from + n && IsDelimiterEnd(data, at)) {
        line = std::string_view(data + from, at + 1 - n - from);
        pos_ = at + 1;
        return true;
      }
      pos_ = at + 1;  // not a delimiter: search on behind it
    }
    pos_ = end_;
  }
  done_ = true;
  if (keepTail_) {
    line = std::string_view(data + end_, bytes_.size() - end_);
    return true;
  }
  return false;
}

size_t Lickety::Lines::MaxLines() const {
  if (delim_.empty()) return 1;
  const char c = delim_.back();
  size_t count = 0;
  const char* data = bytes_.data();
  for (size_t base = 0; base < end_; base += 64) {
    count += static_cast<size_t>(
        std::popcount(MatchMask(data + base, std::min<size_t>(64, end_ - base), c)));
  }
  return count + 1;
}

std::vector<std::string> Lickety::SplitFile(const std::string& FileName, int32_t BlockSize,
                                            std::string_view LineDelim, bool Unicode,
                                            bool SkipBOM) {
  FileBytes bytes = FileBytes::ReadFile(FileName);
  if (Unicode && SkipBOM) bytes.DropFront(2);
  Lines lines(std::move(bytes), BlockSize, LineDelim);
  std::vector<std::string> result;
  std::string_view line;
  while (lines.Next(line)) result.emplace_back(line);
  return result;
}

}  // namespace vessik
