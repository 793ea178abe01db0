#include "cli/TextDestination.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <vector>

#include "cli/AtomicFile.h"
#include "parser/Vessik_Error.h"

namespace vessik::cli {

namespace fs = std::filesystem;

namespace {

// Text held in memory for standard output before it spills to a file.
constexpr size_t kSpillSize = size_t{16} << 20;

void Fail() {
  RaisePlatformError(errnum::PathFileAccess);
}

void WriteAll(int fd, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t n = ::write(fd, bytes.data(), bytes.size());
    if (n < 0) {
      if (errno == EINTR) continue;
      Fail();
    }
    bytes.remove_prefix(static_cast<size_t>(n));
  }
}

class File : public TextDestination {
 public:
  explicit File(std::string target) : target_(std::move(target)), mode_(NewFileMode()) {}
  ~File() override {
    if (fd_ >= 0) ::close(fd_);
    if (!temporary_.empty()) ::unlink(temporary_.c_str());
  }

  void Write(std::string_view bytes) override {
    Open();
    WriteAll(fd_, bytes);
  }

  void Restart() override {
    if (fd_ < 0) return;
    if (::ftruncate(fd_, 0) != 0 || ::lseek(fd_, 0, SEEK_SET) != 0) Fail();
  }

  void Commit() override {
    Open();
    const int fd = fd_;
    fd_ = -1;
    if (::close(fd) != 0) Fail();
    if (temporary_.empty()) return;
    if (!ReplaceAside() && std::rename(temporary_.c_str(), target_.c_str()) != 0) Fail();
    temporary_.clear();
  }

 private:
  void Open() {
    if (fd_ >= 0) return;
    struct stat st;
    if (::stat(target_.c_str(), &st) == 0 && !S_ISREG(st.st_mode)) {
      fd_ = ::open(target_.c_str(), O_WRONLY | O_TRUNC | O_CLOEXEC);
      if (fd_ < 0) Fail();
      return;
    }
    // A hidden name beside the file, unique by mkstemp: the rename within one
    // folder is what makes the file appear whole.
    const fs::path target(target_);
    if (target.filename().empty()) Fail();
    const std::string pattern =
        (target.parent_path() / ("." + target.filename().string() + ".tmp-XXXXXX")).string();
    std::vector<char> name(pattern.begin(), pattern.end());
    name.push_back('\0');
    fd_ = ::mkstemp(name.data());
    if (fd_ < 0) Fail();
    temporary_ = name.data();
    // mkstemp makes the file for its owner alone; a result gets the usual rights.
    if (::fchmod(fd_, mode_) != 0) Fail();
  }

  // A file renamed over an existing one is first forced to disk by some file
  // systems (ext4 does, so that the replace is safe), which for a large text
  // costs more than making it. The old file goes aside under a name of its own,
  // the new one takes its name, and the old one goes. False, with nothing
  // changed, where that cannot be done: the plain rename is left.
  bool ReplaceAside() {
#ifdef RENAME_NOREPLACE
    const std::string aside = temporary_ + "-old";
    if (::renameat2(AT_FDCWD, target_.c_str(), AT_FDCWD, aside.c_str(), RENAME_NOREPLACE) != 0) {
      return false;
    }
    if (::rename(temporary_.c_str(), target_.c_str()) != 0) {
      (void)::rename(aside.c_str(), target_.c_str());
      Fail();
    }
    ::unlink(aside.c_str());
    return true;
#else
    return false;
#endif
  }

  const std::string target_;
  // Taken before the parse starts its threads (reading it sets it).
  const mode_t mode_;
  int fd_ = -1;
  // The temporary file while it exists.
  std::string temporary_;
};

// An unnamed file for the spilled text, in TMPDIR or else /tmp: gone with the
// tool, whatever way it ends.
std::FILE* SpillFile() {
  const char* dir = std::getenv("TMPDIR");
  const std::string pattern =
      std::string(dir != nullptr && *dir != '\0' ? dir : "/tmp") + "/vessik-text-XXXXXX";
  std::vector<char> name(pattern.begin(), pattern.end());
  name.push_back('\0');
  const int fd = ::mkstemp(name.data());
  if (fd < 0) return nullptr;
  ::unlink(name.data());
  std::FILE* file = ::fdopen(fd, "w+b");
  if (file == nullptr) ::close(fd);
  return file;
}

class StandardOutput : public TextDestination {
 public:
  ~StandardOutput() override {
    if (spill_ != nullptr) std::fclose(spill_);
  }

  void Write(std::string_view bytes) override {
    if (spill_ == nullptr && held_.size() + bytes.size() <= kSpillSize) {
      held_.append(bytes);
      return;
    }
    if (spill_ == nullptr) {
      spill_ = SpillFile();
      if (spill_ == nullptr) Fail();
      Put(spill_, held_);
      held_ = std::string();
    }
    Put(spill_, bytes);
  }

  void Restart() override {
    held_.clear();
    if (spill_ != nullptr) {
      std::fclose(spill_);
      spill_ = nullptr;
    }
  }

  void Commit() override {
    if (spill_ == nullptr) {
      Put(stdout, held_);
    } else {
      if (std::fflush(spill_) != 0 || std::fseek(spill_, 0, SEEK_SET) != 0) Fail();
      std::vector<char> block(size_t{1} << 20);
      for (;;) {
        const size_t n = std::fread(block.data(), 1, block.size(), spill_);
        if (n > 0) Put(stdout, std::string_view(block.data(), n));
        if (n < block.size()) break;
      }
      if (std::ferror(spill_)) Fail();
    }
    if (std::fflush(stdout) != 0) Fail();
  }

 private:
  static void Put(std::FILE* f, std::string_view bytes) {
    if (!bytes.empty() && std::fwrite(bytes.data(), 1, bytes.size(), f) != bytes.size()) Fail();
  }

  std::string held_;
  std::FILE* spill_ = nullptr;
};

class Discarding : public TextDestination {
 public:
  void Write(std::string_view) override {}
  void Restart() override {}
  void Commit() override {}
};

}  // namespace

std::unique_ptr<TextDestination> FileDestination(const std::string& file) {
  return std::make_unique<File>(file);
}

std::unique_ptr<TextDestination> StandardOutputDestination() {
  return std::make_unique<StandardOutput>();
}

std::unique_ptr<TextDestination> DiscardingDestination() {
  return std::make_unique<Discarding>();
}

}  // namespace vessik::cli
