#include "cli/AtomicFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <string>
#include <system_error>
#include <vector>

#include "parser/Vessik_Error.h"

namespace vessik::cli {

namespace fs = std::filesystem;

namespace {

bool WriteAll(int fd, const std::string& bytes) {
  size_t done = 0;
  while (done < bytes.size()) {
    const ssize_t n = ::write(fd, bytes.data() + done, bytes.size() - done);
    if (n < 0) {
      if (errno == EINTR) continue;
      return false;
    }
    done += static_cast<size_t>(n);
  }
  return true;
}

}  // namespace

mode_t NewFileMode() {
  const mode_t mask = ::umask(0);
  ::umask(mask);
  return static_cast<mode_t>(0666 & ~mask);
}

void WriteFileAtomically(const std::string& file, const std::string& bytes, mode_t mode) {
  const fs::path target(file);
  if (target.filename().empty()) RaisePlatformError(errnum::PathFileAccess);
  const fs::path folder = target.parent_path();
  std::error_code ec;
  if (!folder.empty()) fs::create_directories(folder, ec);
  if (ec) RaisePlatformError(errnum::PathFileAccess);

  // A hidden name beside the file, unique by mkstemp: the rename within one
  // folder is what makes the file appear whole.
  const std::string pattern =
      (folder / ("." + target.filename().string() + ".tmp-XXXXXX")).string();
  std::vector<char> name(pattern.begin(), pattern.end());
  name.push_back('\0');
  const int fd = ::mkstemp(name.data());
  if (fd < 0) RaisePlatformError(errnum::PathFileAccess);

  // mkstemp makes the file for its owner alone; a result gets the usual rights.
  bool ok = ::fchmod(fd, mode) == 0 && WriteAll(fd, bytes) && ::fsync(fd) == 0;
  ok = (::close(fd) == 0) && ok;
  ok = ok && std::rename(name.data(), file.c_str()) == 0;
  if (!ok) {
    ::unlink(name.data());
    RaisePlatformError(errnum::PathFileAccess);
  }
}

}  // namespace vessik::cli
