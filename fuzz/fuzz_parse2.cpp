// Fuzz target: Parse2 on arbitrary bytes, as a host would call it.
//
// The input is the drawing file. When its first byte is 0x80 or above, that byte
// picks the settings and the mode (0x40: true geometry) and the rest is the file;
// otherwise the whole input is the file, parsed with the tool's defaults in the
// default mode, so that real drawings serve as seeds unchanged. A Vessik_Error is an ordinary end
// of a parse; any other exception escaping Parse2, a crash or a sanitizer report is a finding.
//
// Each parse runs as a careful host runs it: with a memory budget of 512 MB, so
// that a drawing that asks for more fails with 7 rather than exhausting the
// fuzzer, and cancelled after 5 seconds, half of the fuzzer's time limit. Work
// that does not see the cancel within that half is still reported as a timeout.
#include <unistd.h>

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <mutex>
#include <string>
#include <thread>
#include <typeinfo>

#include "parser/parser.h"
#include "support/Settings.h"

namespace {

// One temporary file per process, written anew for every input: Parse2 reads a
// file by name. The file is unlinked as soon as it is made and reached through
// /proc/self/fd, so nothing is left behind however libFuzzer ends the process
// (it leaves through _Exit, which runs no atexit handler).
int InputFd() {
  static const int fd = [] {
    const char* dir = std::getenv("TMPDIR");
    std::string pattern = std::string(dir != nullptr && *dir != '\0' ? dir : "/tmp") +
                          "/vessik_fuzz_parse2_XXXXXX.dxf";
    const int made = mkstemps(pattern.data(), 4);
    if (made < 0 || unlink(pattern.c_str()) != 0) {
      std::perror("fuzz_parse2: temporary input file");
      std::abort();
    }
    return made;
  }();
  return fd;
}

const std::string& InputPath() {
  static const std::string path = "/proc/self/fd/" + std::to_string(InputFd());
  return path;
}

void WriteInput(const uint8_t* data, size_t size) {
  const int fd = InputFd();
  size_t done = 0;
  bool ok = ftruncate(fd, 0) == 0;
  while (ok && done < size) {
    const ssize_t n = pwrite(fd, data + done, size - done, static_cast<off_t>(done));
    ok = n > 0;
    if (ok) done += static_cast<size_t>(n);
  }
  if (!ok) {
    std::perror("fuzz_parse2: writing the input file");
    std::abort();
  }
}

// The settings a selector byte stands for: the tool's defaults or the fine
// settings of the corpus tests, with the spline check and a tolerance varied.
// Tolerances stay at 1e-4 and above: finer ones only make a parse slower.
vessik::Vessik_CommonData SettingsFor(uint8_t selector) {
  vessik::Vessik_CommonData d =
      (selector & 1) != 0 ? vessik::test::FineSettings() : vessik::test::ToolDefaults();
  d.Check = (selector >> 1) & 3;
  static constexpr double kTolerances[] = {0, 0.01, 0.0001, 1, 0.1, 0.001, 5, 0.05};
  const double tol = kTolerances[(selector >> 3) & 7];
  if (tol > 0) {
    d.Tolerance = tol;
    d.ArcMaximumDeviationFactor = tol;
  }
  return d;
}

// Cancels the parse through its progress object once the time is up.
class Watchdog {
 public:
  explicit Watchdog(vessik::Vessik_Progress& progress)
      : thread_([this, &progress] {
          std::unique_lock<std::mutex> lock(mutex_);
          if (!wake_.wait_for(lock, std::chrono::seconds(5), [this] { return done_; })) {
            progress.IsCanceled(true);
          }
        }) {}
  ~Watchdog() {
    {
      std::lock_guard<std::mutex> lock(mutex_);
      done_ = true;
    }
    wake_.notify_one();
    thread_.join();
  }

 private:
  std::mutex mutex_;
  std::condition_variable wake_;
  bool done_ = false;
  std::thread thread_;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  vessik::Vessik_CommonData settings = vessik::test::ToolDefaults();
  bool trueGeometry = false;
  if (size > 0 && data[0] >= 0x80) {
    settings = SettingsFor(data[0]);
    trueGeometry = (data[0] & 0x40) != 0;
    ++data;
    --size;
  }
  vessik::SetTrueGeometry(trueGeometry);
  WriteInput(data, size);

  vessik::SetMemoryBudget(size_t{512} << 20);
  vessik::Vessik_Parser parser;
  vessik::Vessik_Progress progress;
  Watchdog watchdog(progress);
  try {
    const std::string text = parser.Parse2(InputPath(), settings, progress);
    // The layers of a finished parse must be readable.
    for (const auto& layer : parser.Layers()) {
      if (layer == nullptr) std::abort();
    }
    (void)text;
  } catch (const vessik::Vessik_Error&) {
    // A failed parse: the normal answer to a bad drawing.
  } catch (const std::exception& e) {
    std::fprintf(stderr, "fuzz_parse2: %s escaped Parse2: %s\n", typeid(e).name(), e.what());
    std::abort();
  } catch (...) {
    std::fprintf(stderr, "fuzz_parse2: an unknown exception escaped Parse2\n");
    std::abort();
  }
  return 0;
}
