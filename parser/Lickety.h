#pragma once

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
    // The next line, a view into Bytes(); false when there is none.
    bool Next(std::string_view& line);
    const FileBytes& Bytes() const { return bytes_; }
    FileBytes TakeBytes() { return std::move(bytes_); }
    // Number of lines that Next will give, at most.
    size_t MaxLines() const;

   private:
    // Position of the next byte equal to the delimiter's last byte, from pos_ on,
    // before end_; end_ when there is none.
    size_t FindLast();
    // Whether a delimiter ends at `at` (which holds its last byte).
    bool IsDelimiterEnd(const char* data, size_t at) const;

    FileBytes bytes_;
    std::string delim_;
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
