#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace vessik {

// Splits a file into lines at a delimiter, block by block as the file is read.
// The text behind the last delimiter is kept as a last line only when the last
// block read holds no delimiter at all; otherwise it is dropped.
class Lickety {
 public:
  // Iterates the lines of bytes already in memory, with the same block rule.
  class Lines {
   public:
    Lines(std::string&& bytes, int64_t BlockSize, std::string_view LineDelim);
    // The next line, a view into Bytes(); false when there is none.
    bool Next(std::string_view& line);
    const std::string& Bytes() const { return bytes_; }
    std::string TakeBytes() { return std::move(bytes_); }
    // An upper bound of the number of lines, cheap to compute.
    size_t MaxLines() const;

   private:
    std::string bytes_;
    std::string delim_;
    size_t pos_ = 0;
    size_t end_ = 0;  // behind the last delimiter
    bool keepTail_ = false;
    bool done_ = false;
  };

  // The block size that SplitFile chooses for Remaining bytes when asked for 0.
  static int64_t ChooseBlockSize(int64_t Remaining);

  // Reads the whole file as bytes; raises 53 or 75 when it cannot.
  static std::string ReadFileBytes(const std::string& FileName);

  // The lines of the file. Unicode and SkipBOM together skip the first two bytes.
  std::vector<std::string> SplitFile(const std::string& FileName, int32_t BlockSize,
                                     std::string_view LineDelim, bool Unicode, bool SkipBOM);
};

}  // namespace vessik
