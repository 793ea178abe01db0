#pragma once

#include <cstddef>
#include <string>

namespace vessik {

// The bytes of a loaded file, held once. A large buffer is aligned for huge pages:
// filling hundreds of megabytes of fresh memory page by page costs more than the
// reading itself.
class FileBytes {
 public:
  FileBytes() = default;
  explicit FileBytes(size_t size);
  explicit FileBytes(const std::string& text);
  ~FileBytes();
  FileBytes(FileBytes&& other) noexcept;
  FileBytes& operator=(FileBytes&& other) noexcept;
  FileBytes(const FileBytes&) = delete;
  FileBytes& operator=(const FileBytes&) = delete;

  char* data() { return data_; }
  const char* data() const { return data_; }
  size_t size() const { return size_; }
  bool empty() const { return size_ == 0; }
  // Forgets the first n bytes (without moving the rest).
  void DropFront(size_t n);

  // Reads a whole file; raises 53 when it does not exist, 75 when it cannot be read.
  static FileBytes ReadFile(const std::string& FileName);

 private:
  void Release();
  char* block_ = nullptr;
  char* data_ = nullptr;
  size_t size_ = 0;
  // What the block holds, counted against the parse's memory.
  size_t allocated_ = 0;
};

}  // namespace vessik
