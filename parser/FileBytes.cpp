#include "parser/FileBytes.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <new>
#include <system_error>
#include <utility>

#include "parser/LargeMemory.h"
#include "parser/Vessik_Error.h"

#ifdef __linux__
#include <sys/mman.h>
#endif
#ifdef __GLIBC__
#include <malloc.h>
#endif

namespace vessik {
namespace {

constexpr size_t kHugePage = size_t{2} << 20;

char* Allocate(size_t size) {
  return static_cast<char*>(AllocateLarge(size));
}

}  // namespace

void* AllocateLarge(size_t size) {
  if (size == 0) return nullptr;
  void* p = nullptr;
#ifdef __linux__
  if (size >= 4 * kHugePage) {
    size_t rounded = (size + kHugePage - 1) & ~(kHugePage - 1);
    p = std::aligned_alloc(kHugePage, rounded);
    if (p != nullptr) madvise(p, rounded, MADV_HUGEPAGE);
  }
#endif
  if (p == nullptr) p = std::malloc(size);
  if (p == nullptr) throw std::bad_alloc();
  return p;
}

void FreeLarge(void* block) noexcept {
  std::free(block);
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

FileBytes::FileBytes(size_t size) : block_(Allocate(size)), data_(block_), size_(size) {}

FileBytes::FileBytes(const std::string& text) : FileBytes(text.size()) {
  if (!text.empty()) std::memcpy(data_, text.data(), text.size());
}

FileBytes::~FileBytes() {
  Release();
}

FileBytes::FileBytes(FileBytes&& other) noexcept
    : block_(std::exchange(other.block_, nullptr)),
      data_(std::exchange(other.data_, nullptr)),
      size_(std::exchange(other.size_, 0)) {}

FileBytes& FileBytes::operator=(FileBytes&& other) noexcept {
  if (this != &other) {
    Release();
    block_ = std::exchange(other.block_, nullptr);
    data_ = std::exchange(other.data_, nullptr);
    size_ = std::exchange(other.size_, 0);
  }
  return *this;
}

void FileBytes::Release() {
  FreeLarge(block_);
  block_ = nullptr;
  data_ = nullptr;
  size_ = 0;
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
  std::ifstream in(path, std::ios::binary);
  if (!in) RaisePlatformError(errnum::PathFileAccess);
  in.seekg(0, std::ios::end);
  std::streamoff size = in.tellg();
  if (size < 0) RaisePlatformError(errnum::PathFileAccess);
  in.seekg(0, std::ios::beg);
  FileBytes bytes(static_cast<size_t>(size));
  if (size > 0 && !in.read(bytes.data(), size)) RaisePlatformError(errnum::PathFileAccess);
  return bytes;
}

}  // namespace vessik
