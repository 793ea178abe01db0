#include "parser/FileBytes.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <new>
#include <optional>
#include <system_error>
#include <utility>

#include "parser/LargeMemory.h"
#include "parser/MappedFile.h"
#include "parser/ParseLimits.h"
#include "parser/Vessik_Error.h"
#include "parser/Vessik_Hooks.h"
#include "parser/Vessik_Utils.h"

#ifdef __linux__
#include <sys/mman.h>
#endif
#ifndef _WIN32
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <thread>

#include "parser/HelperThread.h"
#endif
#ifdef __GLIBC__
#include <malloc.h>
#endif

namespace vessik {
namespace {

constexpr size_t kHugePage = size_t{2} << 20;

// The file is read in pieces of this size, between which the host's messages run
// and a cancel is seen.
constexpr size_t kReadPiece = size_t{1} << 20;

char* Allocate(size_t size) {
  return static_cast<char*>(AllocateLarge(size));
}

// Between two pieces of a long read.
void BetweenPieces() {
  PumpMessages();
  PollCancelWhileLoading();
}

#ifdef _WIN32

FileBytes ReadRegularFile(const std::filesystem::path& path) {
  std::ifstream in(path, std::ios::binary);
  if (!in) RaisePlatformError(errnum::PathFileAccess);
  in.seekg(0, std::ios::end);
  std::streamoff size = in.tellg();
  if (size < 0) RaisePlatformError(errnum::PathFileAccess);
  in.seekg(0, std::ios::beg);
  FileBytes bytes(static_cast<size_t>(size));
  for (size_t done = 0; done < bytes.size();) {
    const size_t piece = std::min(kReadPiece, bytes.size() - done);
    // Fewer bytes than the length promised: the file got shorter while it was read.
    if (!in.read(bytes.data() + done, static_cast<std::streamsize>(piece))) {
      RaisePlatformError(errnum::PathFileAccess);
    }
    done += piece;
    BetweenPieces();
  }
  return bytes;
}

#else

struct Descriptor {
  int fd;
  ~Descriptor() {
    if (fd >= 0) close(fd);
  }
};

FileBytes::Version VersionOf(const struct stat& s) {
  return FileBytes::Version{static_cast<uint64_t>(s.st_dev), static_cast<uint64_t>(s.st_ino),
                            static_cast<int64_t>(s.st_size), static_cast<int64_t>(s.st_mtim.tv_sec),
                            static_cast<int64_t>(s.st_mtim.tv_nsec)};
}

// A drawing written to or replaced while it was read would come out as a mix of
// two files that never existed as such: the same file must still be there, at the
// same length and time of change, with nothing behind what was read.
void CheckStillTheSame(int fd, const std::filesystem::path& path, const struct stat& before) {
  struct stat after;
  struct stat named;
  char beyond;
  if (fstat(fd, &after) != 0 || VersionOf(after) != VersionOf(before) ||
      stat(path.c_str(), &named) != 0 || VersionOf(named) != VersionOf(before) ||
      pread(fd, &beyond, 1, static_cast<off_t>(before.st_size)) != 0) {
    RaisePlatformError(errnum::PathFileAccess);
  }
}

// Reads [from, to) of the file at its own offsets, in pieces with `between` run
// after each; `between` returns false to stop. False when the file ended before
// `to`, could not be read, or the reading was stopped.
template <class Between>
bool ReadRange(int fd, char* data, size_t from, size_t to, Between between) {
  for (size_t done = from; done < to;) {
    const size_t piece = std::min(kReadPiece, to - done);
    const ssize_t n = pread(fd, data + done, piece, static_cast<off_t>(done));
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) return false;
    done += static_cast<size_t>(n);
    if (!between()) return false;
  }
  return true;
}

// A file from this size on is read by two threads, each filling its half: the
// cost of a large read lies as much in the first touch of the fresh memory as in
// the copying, and both go at once on two cores.
constexpr size_t kSplitReadFrom = size_t{16} << 20;

// The back half of a large file, read on a thread of its own while the parse's
// thread reads the front half.
class BackHalfReader {
 public:
  BackHalfReader(int fd, char* data, size_t from, size_t to) {
    // Without a thread, the parse's thread reads it all.
    helper_.Start([this, fd, data, from, to] {
      ok_ = ReadRange(fd, data, from, to, [this] { return !helper_.Stopping(); });
    });
  }

  bool Started() const { return helper_.Started(); }
  // Waits for the half, pumping; whether all of it was read.
  bool Finish() {
    helper_.Wait([] { PumpMessages(); });
    return ok_;
  }

 private:
  bool ok_ = false;
  // Last: it ends the reading before the fields the reading uses go.
  HelperThread helper_;
};

// The file mapped, its pages faulted in by pieces with the host's messages and the
// cancel in between, as a read would; nothing when it cannot be mapped.
std::optional<FileBytes> MapRegularFile(Descriptor& file, const std::filesystem::path& path,
                                        const struct stat& before) {
  const auto size = static_cast<size_t>(before.st_size);
  if (size == 0) return std::nullopt;
  ChargeMemory(size);
  FileMapping mapping;
  if (!MapFile(file.fd, size, mapping)) {
    RefundMemory(size);
    return std::nullopt;
  }
  // From here the bytes own the mapping, the descriptor and the charge.
  FileBytes bytes = FileBytes::Adopt(mapping, size, std::exchange(file.fd, -1), VersionOf(before));
  for (size_t done = 0; done < size;) {
    const size_t piece = std::min(kReadPiece, size - done);
    PopulateMapping(mapping.data + done, mapping.data + done + piece);
    done += piece;
    BetweenPieces();
  }
  CheckStillTheSame(bytes.FileDescriptor(), path, before);
  return bytes;
}

FileBytes ReadRegularFile(const std::filesystem::path& path) {
  // Not blocking: should the name become a FIFO after it was looked at, the open
  // must not wait for a writer.
  Descriptor file{open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK)};
  if (file.fd < 0) RaisePlatformError(errnum::PathFileAccess);
  struct stat before;
  if (fstat(file.fd, &before) != 0 || !S_ISREG(before.st_mode) || before.st_size < 0) {
    RaisePlatformError(errnum::PathFileAccess);
  }
  if (MapFiles()) {
    if (std::optional<FileBytes> mapped = MapRegularFile(file, path, before))
      return *std::move(mapped);
  }
  FileBytes bytes(static_cast<size_t>(before.st_size));
  const size_t size = bytes.size();
  auto between = [] {
    BetweenPieces();
    return true;
  };
  // An end before the length seen at the start means the file got shorter.
  if (size >= kSplitReadFrom && std::thread::hardware_concurrency() > 1) {
    // Split on a huge page, so that each thread fills pages of its own.
    const size_t half = (size / 2) & ~(kHugePage - 1);
    BackHalfReader back(file.fd, bytes.data(), half, size);
    const size_t frontEnd = back.Started() ? half : size;
    if (!ReadRange(file.fd, bytes.data(), 0, frontEnd, between)) {
      RaisePlatformError(errnum::PathFileAccess);
    }
    if (back.Started() && !back.Finish()) RaisePlatformError(errnum::PathFileAccess);
  } else if (!ReadRange(file.fd, bytes.data(), 0, size, between)) {
    RaisePlatformError(errnum::PathFileAccess);
  }
  CheckStillTheSame(file.fd, path, before);
  return bytes;
}

#endif

}  // namespace

void* AllocateLarge(size_t size) {
  if (size == 0) return nullptr;
  ChargeMemory(size);
  void* p = nullptr;
#ifdef __linux__
  // From 1 MB on: filling a block page by page costs a fault for every 4 KB, which
  // on a virtual machine takes longer than clearing a whole huge page; rounding up
  // to whole huge pages costs at most one of them.
  if (size >= kLargeBlock) {
    size_t rounded = (size + kHugePage - 1) & ~(kHugePage - 1);
    p = std::aligned_alloc(kHugePage, rounded);
    if (p != nullptr) madvise(p, rounded, MADV_HUGEPAGE);
  }
#endif
  if (p == nullptr) p = std::malloc(size);
  if (p == nullptr) {
    RefundMemory(size);
    throw std::bad_alloc();
  }
  return p;
}

void FreeLarge(void* block, size_t size) noexcept {
  if (block == nullptr) return;
  std::free(block);
  RefundMemory(size);
}

void AdviseHugePages(void* block, size_t size) noexcept {
#ifdef __linux__
  uintptr_t begin = (reinterpret_cast<uintptr_t>(block) + kHugePage - 1) & ~(kHugePage - 1);
  uintptr_t end = (reinterpret_cast<uintptr_t>(block) + size) & ~(kHugePage - 1);
  if (end > begin) madvise(reinterpret_cast<void*>(begin), end - begin, MADV_HUGEPAGE);
#else
  (void)block;
  (void)size;
#endif
}

void PreparePages(const void* begin, const void* end) noexcept {
#if defined(__linux__) && defined(MADV_POPULATE_WRITE)
  constexpr uintptr_t kPage = 4096;
  const uintptr_t from = (reinterpret_cast<uintptr_t>(begin) + kPage - 1) & ~(kPage - 1);
  const uintptr_t to = reinterpret_cast<uintptr_t>(end) & ~(kPage - 1);
  // Pages already there are left as they are; a failure (an older kernel) only
  // leaves the touch to the writer.
  if (to > from) (void)madvise(reinterpret_cast<void*>(from), to - from, MADV_POPULATE_WRITE);
#else
  (void)begin;
  (void)end;
#endif
}

void ReturnFreedMemory() noexcept {
#ifdef __GLIBC__
  malloc_trim(0);
#endif
}

void ReleasePages(void* begin, void* end) noexcept {
#ifdef __linux__
  // Whole huge pages only: splitting one would leave small pages that the memory
  // asked for next (the text, in huge pages) cannot use.
  constexpr uintptr_t kPage = kHugePage;
  uintptr_t b = (reinterpret_cast<uintptr_t>(begin) + kPage - 1) & ~(kPage - 1);
  uintptr_t e = reinterpret_cast<uintptr_t>(end) & ~(kPage - 1);
  if (e > b) madvise(reinterpret_cast<void*>(b), e - b, MADV_DONTNEED);
#else
  (void)begin;
  (void)end;
#endif
}

FileBytes::FileBytes(size_t size)
    : block_(Allocate(size)), data_(block_), size_(size), allocated_(size) {}

FileBytes::FileBytes(const std::string& text) : FileBytes(text.size()) {
  if (!text.empty()) std::memcpy(data_, text.data(), text.size());
}

FileBytes FileBytes::Adopt(const FileMapping& mapping, size_t size, int fd,
                           const Version& version) {
  FileBytes bytes;
  bytes.block_ = mapping.data;
  bytes.data_ = mapping.data;
  bytes.size_ = size;
  bytes.allocated_ = size;
  bytes.mapping_ = mapping;
  bytes.fd_ = fd;
  bytes.version_ = version;
  return bytes;
}

bool FileBytes::Unchanged() const {
  if (mapping_.data == nullptr) return true;
  if (MappingLost(mapping_)) return false;
#ifndef _WIN32
  // Only this file counts: one put in its place under its name leaves the bytes
  // mapped here as they were.
  struct stat now;
  return fstat(fd_, &now) == 0 && VersionOf(now) == version_;
#else
  return true;
#endif
}

FileBytes::~FileBytes() {
  Release();
}

FileBytes::FileBytes(FileBytes&& other) noexcept
    : block_(std::exchange(other.block_, nullptr)),
      data_(std::exchange(other.data_, nullptr)),
      size_(std::exchange(other.size_, 0)),
      allocated_(std::exchange(other.allocated_, 0)),
      mapping_(std::exchange(other.mapping_, FileMapping{})),
      fd_(std::exchange(other.fd_, -1)),
      version_(other.version_) {}

FileBytes& FileBytes::operator=(FileBytes&& other) noexcept {
  if (this != &other) {
    Release();
    block_ = std::exchange(other.block_, nullptr);
    data_ = std::exchange(other.data_, nullptr);
    size_ = std::exchange(other.size_, 0);
    allocated_ = std::exchange(other.allocated_, 0);
    mapping_ = std::exchange(other.mapping_, FileMapping{});
    fd_ = std::exchange(other.fd_, -1);
    version_ = other.version_;
  }
  return *this;
}

void FileBytes::Release() {
  if (mapping_.data != nullptr) {
    UnmapFile(mapping_);
#ifndef _WIN32
    close(fd_);
#endif
    fd_ = -1;
    RefundMemory(allocated_);
  } else {
    FreeLarge(block_, allocated_);
  }
  block_ = nullptr;
  data_ = nullptr;
  size_ = 0;
  allocated_ = 0;
}

void FileBytes::DropFront(size_t n) {
  if (n > size_) n = size_;
  data_ += n;
  size_ -= n;
}

FileBytes FileBytes::ReadFile(const std::string& FileName) {
  std::filesystem::path path(
      std::u8string(reinterpret_cast<const char8_t*>(FileName.data()), FileName.size()));
  std::error_code ec;
  auto status = std::filesystem::status(path, ec);
  if (FileName.empty() || !std::filesystem::exists(status)) {
    RaisePlatformError(errnum::FileNotFound);
  }
  // Only a regular file has a length to read: a folder cannot be read, a FIFO
  // would wait for a writer without end, and a device such as /dev/zero never
  // ends at all.
  if (!std::filesystem::is_regular_file(status)) RaisePlatformError(errnum::PathFileAccess);
  return ReadRegularFile(path);
}

}  // namespace vessik
