#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "parser/FileBytes.h"

namespace vessik {

// Splits a file into lines at a delimiter, block by block as the file is read.
// The text behind the last delimiter is kept as a last line only when the last
// block read holds no delimiter at all; otherwise it is dropped.
class Lickety {
 public:
  // Iterates the lines of bytes already in memory, with the same block rule.
  class Lines {
   public:
    Lines(FileBytes&& bytes, int64_t BlockSize, std::string_view LineDelim);
    // The next line, a view into Bytes(); false when there is none. Inline for
    // the usual case, a line end of one or two bytes found in the 64 bytes
    // already scanned: loading asks for every line of the file.
    bool Next(std::string_view& line) {
      const size_t skip = pos_ - blockBase_;
      if (scanned_ && pos_ >= blockBase_ && skip < 64 && delim_.size() <= 2 && !done_) {
        const uint64_t live = mask_ & (~uint64_t{0} << skip);
        if (live != 0) {
          const size_t at = blockBase_ + static_cast<size_t>(std::countr_zero(live));
          const size_t n = delim_.size();
          if (at < end_ && (n == 1 || (at > pos_ && data_[at - 1] == delim_[0]))) {
            line = std::string_view(data_ + pos_, at + 1 - n - pos_);
            pos_ = at + 1;
            return true;
          }
        }
      }
      return NextScanning(line);
    }
    const FileBytes& Bytes() const { return bytes_; }
    FileBytes TakeBytes() { return std::move(bytes_); }
    // Number of lines that Next will give, at most.
    size_t MaxLines() const { return MaxLines(0, end_); }
    // The same for the lines that start in [from, to), to at most the end of the
    // last delimiter.
    size_t MaxLines(size_t from, size_t to) const;

    // Splitting the lines for two threads: where the next line starts from `at`
    // on such that both parts hold whole lines, or 0 where the delimiter does not
    // allow a split there (one that can overlap itself must be scanned from the
    // start).
    size_t LineStartFrom(size_t at) const;
    // The lines from `at` (a line start from LineStartFrom) on, as an iterator of
    // their own over the same bytes, which it does not own; this one then ends in
    // front of `at`. Copies of the one returned iterate alike.
    Lines SplitAt(size_t at);
    // The position of the next line, and the number of delimiters in [from, to).
    size_t Position() const { return pos_; }
    size_t CountDelimiters(size_t from, size_t to) const;

    Lines(const Lines& other) : Lines(other, nullptr) {}
    Lines(Lines&& other) noexcept = default;

   private:
    // A copy of the iteration state, without the bytes.
    Lines(const Lines& other, std::nullptr_t);

    // Next, scanning on for the delimiter.
    bool NextScanning(std::string_view& line);
    // Position of the next byte equal to the delimiter's last byte, from pos_ on,
    // before end_; end_ when there is none.
    size_t FindLast();
    // Number of bytes equal to the delimiter's last byte in [from, to).
    size_t CountLastBytes(size_t from, size_t to) const;
    // Whether a delimiter ends at `at` (which holds its last byte).
    bool IsDelimiterEnd(const char* data, size_t at) const;

    FileBytes bytes_;
    // The bytes iterated: bytes_, or the bytes of the iterator split from.
    const char* data_ = nullptr;
    size_t size_ = 0;
    std::string delim_;
    bool selfOverlapping_ = false;
    size_t pos_ = 0;
    size_t end_ = 0;  // behind the last delimiter
    bool keepTail_ = false;
    bool done_ = false;
    // Positions of the delimiter's last byte in the 64 bytes from blockBase_.
    size_t blockBase_ = 0;
    uint64_t mask_ = 0;
    bool scanned_ = false;
  };

  // The block size that SplitFile chooses for Remaining bytes when asked for 0.
  static int64_t ChooseBlockSize(int64_t Remaining);

  // The lines of the file. Unicode and SkipBOM together skip the first two bytes.
  std::vector<std::string> SplitFile(const std::string& FileName, int32_t BlockSize,
                                     std::string_view LineDelim, bool Unicode, bool SkipBOM);
};

}  // namespace vessik
