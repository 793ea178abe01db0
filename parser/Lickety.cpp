#include "parser/Lickety.h"

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <system_error>

#include "parser/Vessik_Error.h"

namespace vessik {

int64_t Lickety::ChooseBlockSize(int64_t Remaining) {
  return Remaining > 3276800 ? Remaining / 50 : 65536;
}

Lickety::Lines::Lines(std::string&& bytes, int64_t BlockSize, std::string_view LineDelim)
    : bytes_(std::move(bytes)), delim_(LineDelim) {
  const size_t size = bytes_.size();
  if (delim_.empty()) {
    // No delimiter: the whole text is one line.
    end_ = 0;
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
  if (selfOverlapping) {
    const std::string_view text(bytes_);
    for (size_t p = text.find(delim_); p != std::string_view::npos; p = text.find(delim_, p)) {
      p += n;
      lastEnd = p;
    }
  } else {
    for (size_t p = size; p >= n; --p) {
      if (std::memcmp(bytes_.data() + p - n, delim_.data(), n) == 0) {
        lastEnd = p;
        break;
      }
    }
  }
  end_ = lastEnd;
  // A delimiter is seen in the last block when its last byte lies there.
  const bool lastBlockHasDelimiter = lastEnd > 0 && lastEnd - 1 >= lastStart;
  keepTail_ = !lastBlockHasDelimiter && lastEnd < size;
}

bool Lickety::Lines::Next(std::string_view& line) {
  if (done_) return false;
  const char* data = bytes_.data();
  if (pos_ < end_) {
    size_t found;
    if (delim_.size() == 1) {
      const void* hit = std::memchr(data + pos_, delim_[0], end_ - pos_);
      found = static_cast<const char*>(hit) - data;
    } else {
      // Non-overlapping occurrences from left to right; for CR LF look for LF and
      // check the byte in front of it.
      found = pos_;
      const char last = delim_.back();
      const size_t n = delim_.size();
      for (;;) {
        const void* hit = std::memchr(data + found + n - 1, last, end_ - (found + n - 1));
        size_t at = static_cast<const char*>(hit) - data;
        if (std::memcmp(data + at + 1 - n, delim_.data(), n) == 0) {
          found = at + 1 - n;
          break;
        }
        found = at + 2 - n;
      }
    }
    line = std::string_view(data + pos_, found - pos_);
    pos_ = found + delim_.size();
    return true;
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
  const char last = delim_.back();
  return static_cast<size_t>(std::count(bytes_.begin(), bytes_.end(), last)) + 1;
}

std::string Lickety::ReadFileBytes(const std::string& FileName) {
  std::filesystem::path path(
      std::u8string(reinterpret_cast<const char8_t*>(FileName.data()), FileName.size()));
  std::error_code ec;
  auto status = std::filesystem::status(path, ec);
  if (FileName.empty() || !std::filesystem::exists(status)) {
    RaisePlatformError(errnum::FileNotFound);
  }
  if (std::filesystem::is_directory(status)) RaisePlatformError(errnum::PathFileAccess);
  std::ifstream in(path, std::ios::binary);
  if (!in) RaisePlatformError(errnum::PathFileAccess);
  in.seekg(0, std::ios::end);
  std::streamoff size = in.tellg();
  if (size < 0) RaisePlatformError(errnum::PathFileAccess);
  in.seekg(0, std::ios::beg);
  std::string bytes;
  bytes.resize(static_cast<size_t>(size));
  if (size > 0 && !in.read(bytes.data(), size)) RaisePlatformError(errnum::PathFileAccess);
  return bytes;
}

std::vector<std::string> Lickety::SplitFile(const std::string& FileName, int32_t BlockSize,
                                            std::string_view LineDelim, bool Unicode,
                                            bool SkipBOM) {
  std::string bytes = ReadFileBytes(FileName);
  if (Unicode && SkipBOM) bytes.erase(0, std::min<size_t>(2, bytes.size()));
  Lines lines(std::move(bytes), BlockSize, LineDelim);
  std::vector<std::string> result;
  std::string_view line;
  while (lines.Next(line)) result.emplace_back(line);
  return result;
}

}  // namespace vessik
