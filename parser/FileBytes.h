#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "parser/MappedFile.h"

namespace vessik {

// The bytes of a loaded file, held once: read into memory, or mapped where the
// thread asked for that (SetMapFiles). A large buffer is aligned for huge
// pages: filling hundreds of megabytes of fresh memory page by page costs more than
// the reading itself.
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

  // Whether the bytes are still those of the file as it was read. Bytes read into
  // memory always are; a mapped file is read from its pages for as long as it is
  // held, so it must not have changed (been written to, or got shorter) since.
  bool Unchanged() const;

  // The identity and version of a file: its device, inode, length and time of
  // change.
  struct Version {
    uint64_t device = 0;
    uint64_t inode = 0;
    int64_t size = 0;
    int64_t seconds = 0;
    int64_t nanoseconds = 0;
    bool operator==(const Version&) const = default;
  };

  // Takes over a whole mapped file of size bytes, open as fd, at the version given;
  // charged to the parse's memory by the caller, refunded on release.
  static FileBytes Adopt(const FileMapping& mapping, size_t size, int fd, const Version& version);
  // The descriptor of a mapped file; -1 for bytes read.
  int FileDescriptor() const { return fd_; }

 private:
  void Release();

  char* block_ = nullptr;
  char* data_ = nullptr;
  size_t size_ = 0;
  // What the block holds, counted against the parse's memory.
  size_t allocated_ = 0;
  // A mapped file: its mapping, its descriptor and the version mapped.
  FileMapping mapping_;
  int fd_ = -1;
  Version version_;
};

}  // namespace vessik
