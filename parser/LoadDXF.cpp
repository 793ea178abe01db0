// Loading: the file becomes the group pairs, from its first "SECTION" on.
#include <cstring>
#include <exception>
#include <limits>
#include <optional>
#ifndef _WIN32
#include <thread>
#endif

#include "parser/GroupPairs.h"
#include "parser/HelperThread.h"
#include "parser/Lickety.h"
#include "parser/ParseLimits.h"
#include "parser/Vessik_Convert.h"
#include "parser/Vessik_Error.h"
#include "parser/Vessik_Parser.h"
#include "parser/Vessik_Types.h"
#include "parser/Vessik_Utils.h"

namespace vessik {
namespace {

// The line end of the file, judged from its first 1001 bytes.
std::string DetectLineDelim(std::string_view head) {
  int32_t pairCount = InStrCount(head, "\r\n", 1, 0);
  int32_t crCount = InStrCount(head, "\r", 1, 0);
  int32_t lfCount = InStrCount(head, "\n", 1, 0);
  std::string delim = "\r\n";
  if (pairCount == 0) {
    if (lfCount < crCount) delim = "\r";
    if (lfCount > crCount) delim = "\n";
  }
  return delim;
}

// A group code line as a 32-bit integer: the number reader without the comma rule,
// rounded half to even. Plain digits take a shortcut with the same result.
int32_t ReadGroupCode(std::string_view line) {
  size_t i = 0;
  while (i < line.size() && line[i] == ' ') ++i;
  bool negative = false;
  if (i < line.size() && (line[i] == '-' || line[i] == '+')) {
    negative = line[i] == '-';
    ++i;
  }
  size_t start = i;
  int64_t value = 0;
  while (i < line.size() && i - start < 9 && line[i] >= '0' && line[i] <= '9') {
    value = value * 10 + (line[i] - '0');
    ++i;
  }
  if (i > start && i == line.size()) return static_cast<int32_t>(negative ? -value : value);
  return DoubleToLong(ReadNumber(line, false));
}

// Pairs from this many bytes of the file on are built by two threads.
constexpr size_t kSplitLoadFrom = size_t{8} << 20;
thread_local size_t splitLoadFrom = kSplitLoadFrom;
thread_local int64_t splitLoads = 0;

#ifndef _WIN32

// The pairs of the back part of the file, built on a thread of its own. The lines
// of the front part, from the first code to the split, are counted first: their
// number tells whether the back part starts with a code, or with the value of
// the front part's last code (which the front takes itself).
class BackPairs {
 public:
  BackPairs(Lickety::Lines back, size_t frontFrom, size_t frontTo, const char* base,
            GroupPairTable::Part& part)
      : back_(std::move(back)), frontFrom_(frontFrom), frontTo_(frontTo), base_(base), part_(part) {
    // Without a thread, the front's thread builds them when it is done.
    helper_.Start([this] { Build(); });
  }

  // Waits for the part, with the host's messages and the cancel kept going. Its
  // failure, if any, is raised with the index of its code line, counted from the
  // first line of the back part.
  void Finish(int64_t& frontLines, int64_t& failedCodeLine) {
    if (!helper_.Started()) {
      Build();
    } else {
      helper_.Wait([] {
        PumpMessages();
        PollCancelWhileLoading();
      });
    }
    frontLines = frontLines_;
    failedCodeLine = codeLine_;
    if (failure_) std::rethrow_exception(failure_);
  }

 private:
  void Build() {
    try {
      frontLines_ = static_cast<int64_t>(back_.CountDelimiters(frontFrom_, frontTo_));
      std::string_view code;
      std::string_view value;
      // An even number of front lines leaves the front's last code waiting for the
      // first line here.
      if (frontLines_ % 2 == 0) {
        codeLine_ = 1;
        if (!back_.Next(value)) return;
      }
      for (uint32_t k = 1; back_.Next(code) && back_.Next(value); ++k) {
        if (!code.empty() && !value.empty()) {
          part_.Add(ReadGroupCode(code), static_cast<size_t>(value.data() - base_), value);
        }
        codeLine_ += 2;
        if (k % 65536 == 0 && helper_.Stopping()) break;
      }
    } catch (...) {
      failure_ = std::current_exception();
    }
  }

  Lickety::Lines back_;
  const size_t frontFrom_;
  const size_t frontTo_;
  const char* const base_;
  GroupPairTable::Part& part_;
  int64_t frontLines_ = 0;
  int64_t codeLine_ = 0;
  std::exception_ptr failure_;
  // Last: it ends the work before the fields the work uses go.
  HelperThread helper_;
};

// Whether a second thread may be worth starting.
bool TwoProcessors() {
  return std::thread::hardware_concurrency() > 1;
}

#else

// The toolchain there may have no threads of its own: one thread loads it all.
class BackPairs {
 public:
  BackPairs(Lickety::Lines, size_t, size_t, const char*, GroupPairTable::Part&) {}
  void Finish(int64_t&, int64_t&) {}
};

bool TwoProcessors() {
  return false;
}

#endif

}  // namespace

void SetSplitLoadFrom(size_t bytes) {
  splitLoadFrom = bytes != 0 ? bytes : kSplitLoadFrom;
}

int64_t SplitLoads() {
  return splitLoads;
}

void Vessik_Parser::LoadDXF(const std::string& TheFile) {
  // The pairs of the drawing before go first: their memory is needed now, and the
  // host's messages that run while the file is read must not see them.
  GroupPairTable& pairs = GroupPairs();
  pairs.Clear();
  FileBytes bytes = FileBytes::ReadFile(TheFile);
  // The head of at most 1001 bytes: an empty file cannot size it.
  if (bytes.empty()) RaisePlatformError(errnum::SubscriptOutOfRange);
  if (bytes.size() > std::numeric_limits<uint32_t>::max()) {
    RaisePlatformError(errnum::OutOfMemory);
  }
  std::string delim =
      DetectLineDelim(std::string_view(bytes.data(), std::min<size_t>(bytes.size(), 1001)));

  Lickety::Lines lines(std::move(bytes), 0, delim);

  // Find the first line "SECTION" that has a line behind it; everything in front of
  // the line before it is thrown away.
  std::string_view previous;
  std::string_view line;
  int64_t index = 0;
  bool found = false;
  while (lines.Next(line)) {
    if (line == "SECTION") {
      found = true;
      break;
    }
    previous = line;
    ++index;
    PumpMessages();
    PollCancelWhileLoading();
  }
  std::string_view next;
  if (!found || !lines.Next(next)) {
    RaiseCatalogued(CataloguedError("SectionNotFound"));
  }

  // Lines from here on are taken in pairs. A pair with an empty line is dropped; a
  // code that does not convert ends the load with the index of its line.
  int64_t codeIndex = index - 1;
  try {
    const char* base = lines.Bytes().data();
    auto addPair = [&](std::string_view code, std::string_view value) {
      if (code.empty() || value.empty()) return;
      pairs.Add(ReadGroupCode(code), static_cast<size_t>(value.data() - base), value);
      PumpMessages();
      PollCancelWhileLoading();
    };
    // A large file is split where a line starts near the middle of the pairs.
    const size_t front = lines.Position();
    const size_t end = lines.Bytes().size();
    size_t split = 0;
    if (end - front >= splitLoadFrom && TwoProcessors()) {
      split = lines.LineStartFrom(front + (end - front) / 2);
    }
    GroupPairTable::Part backPart;
    std::optional<Lickety::Lines> backFirst;
    std::optional<BackPairs> back;
    if (split != 0) {
      pairs.Reset(lines.MaxLines(0, split) / 2 + 2);
      backPart.Reserve(lines.MaxLines(split, end) / 2 + 2);
      backFirst.emplace(lines.SplitAt(split));
      back.emplace(*backFirst, front, split, base, backPart);
      ++splitLoads;
    } else {
      pairs.Reset(lines.MaxLines() / 2 + 2);
    }
    // The line in front of a "SECTION" on the very first line does not exist: it
    // counts as empty, which drops that pair.
    addPair(index > 0 ? previous : std::string_view(), line);
    codeIndex = index + 1;
    std::string_view code = next;
    std::string_view value;
    bool waiting = true;  // a code read without its value
    while (lines.Next(value)) {
      addPair(code, value);
      codeIndex += 2;
      if (!lines.Next(code)) {
        waiting = false;
        break;
      }
    }
    if (back) {
      // The front's last code takes the first line of the back part as its value.
      if (waiting && backFirst->Next(value)) {
        addPair(code, value);
        codeIndex += 2;
      }
      int64_t frontLines = 0;
      int64_t failedCodeLine = 0;
      try {
        back->Finish(frontLines, failedCodeLine);
      } catch (...) {
        // Lines of the back part follow the code line "next" and the front's.
        codeIndex = index + 2 + frontLines + failedCodeLine;
        throw;
      }
      pairs.Join(std::move(backPart));
    }
  } catch (...) {
    pairs.Clear();
    // A cancel is no failure, and memory that runs out fails the parse with 7.
    if (InFlightEndsTheParse()) throw;
    // A mapped file that changed while its pairs were built fails as a read would.
    if (!lines.Bytes().Unchanged()) RaisePlatformError(errnum::PathFileAccess);
    // Whatever else failed (a code beyond 32 bits), the words say where.
    ShowMessageBox("Fail:0");
    RaiseCatalogued(CataloguedError("ParsingFailed"), std::to_string(codeIndex));
  }
  pairs.AdoptBytes(lines.TakeBytes());
}

}  // namespace vessik
