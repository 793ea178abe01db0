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
    : bytes_(std::move(bytes)), data_(bytes_.data()), size_(bytes_.size()), delim_(LineDelim) {
  const size_t size = size_;
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
  selfOverlapping_ = selfOverlapping;
  size_t lastEnd = 0;  // 0: none
  const char* data = data_;
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
      mask_ = MatchMask(data_ + blockBase_, std::min<size_t>(64, end_ - blockBase_), c);
      scanned_ = true;
    }
    // Positions in front of pos_ are spent.
    size_t skip = pos_ > blockBase_ ? pos_ - blockBase_ : 0;
    uint64_t live = skip >= 64 ? 0 : mask_ & (~uint64_t{0} << skip);
    if (live != 0) return blockBase_ + static_cast<size_t>(std::countr_zero(live));
    if (blockBase_ + 64 >= end_) return end_;
    blockBase_ += 64;
    mask_ = MatchMask(data_ + blockBase_, std::min<size_t>(64, end_ - blockBase_), c);
  }
}

bool Lickety::Lines::IsDelimiterEnd(const char* data, size_t at) const {
  // The byte at `at` is the delimiter's last one; line ends are checked inline.
  const size_t n = delim_.size();
  if (n == 1) return true;
  if (n == 2) return data[at - 1] == delim_[0];
  return std::memcmp(data + at + 1 - n, delim_.data(), n) == 0;
}

bool Lickety::Lines::NextScanning(std::string_view& line) {
  if (done_) return false;
  const char* data = data_;
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
    line = std::string_view(data + end_, size_ - end_);
    return true;
  }
  return false;
}

size_t Lickety::Lines::CountLastBytes(size_t from, size_t to) const {
  const char c = delim_.back();
  size_t count = 0;
  for (size_t base = from; base < to; base += 64) {
    count += static_cast<size_t>(
        std::popcount(MatchMask(data_ + base, std::min<size_t>(64, to - base), c)));
  }
  return count;
}

size_t Lickety::Lines::MaxLines(size_t from, size_t to) const {
  if (delim_.empty()) return 1;
  return CountLastBytes(from, std::min(to, end_)) + 1;
}

Lickety::Lines::Lines(const Lines& other, std::nullptr_t)
    : data_(other.data_),
      size_(other.size_),
      delim_(other.delim_),
      selfOverlapping_(other.selfOverlapping_),
      pos_(other.pos_),
      end_(other.end_),
      keepTail_(other.keepTail_),
      done_(other.done_),
      blockBase_(other.blockBase_),
      mask_(other.mask_),
      scanned_(other.scanned_) {}

size_t Lickety::Lines::LineStartFrom(size_t at) const {
  // Occurrences of a delimiter that cannot overlap itself are the same whether
  // the scan starts at the front or anywhere else.
  if (delim_.empty() || selfOverlapping_ || done_ || at < pos_) return 0;
  const size_t found = std::string_view(data_, end_).find(delim_, at);
  if (found == std::string_view::npos || found + delim_.size() >= end_) return 0;
  return found + delim_.size();
}

Lickety::Lines Lickety::Lines::SplitAt(size_t at) {
  Lines back(*this, nullptr);
  back.pos_ = at;
  back.scanned_ = false;
  end_ = at;
  keepTail_ = false;
  return back;
}

size_t Lickety::Lines::CountDelimiters(size_t from, size_t to) const {
  const size_t n = delim_.size();
  if (n == 0) return 0;
  if (n == 1) return CountLastBytes(from, to);
  const char c = delim_.back();
  size_t count = 0;
  if (n == 2) {
    // A last byte counts where the first lies right in front of it, inside the
    // range: the first's mask moved up one, with the bit carried over from the
    // block before.
    uint64_t carry = 0;
    for (size_t base = from; base < to; base += 64) {
      const size_t len = std::min<size_t>(64, to - base);
      const uint64_t first = MatchMask(data_ + base, len, delim_[0]);
      const uint64_t last = MatchMask(data_ + base, len, c);
      count += static_cast<size_t>(std::popcount(last & (first << 1 | carry)));
      carry = first >> 63;
    }
    return count;
  }
  // Each byte equal to the delimiter's last that ends a whole delimiter inside
  // the range.
  for (size_t base = from; base < to; base += 64) {
    uint64_t mask = MatchMask(data_ + base, std::min<size_t>(64, to - base), c);
    while (mask != 0) {
      const size_t at = base + static_cast<size_t>(std::countr_zero(mask));
      mask &= mask - 1;
      if (at + 1 >= from + n && IsDelimiterEnd(data_, at)) ++count;
    }
  }
  return count;
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
