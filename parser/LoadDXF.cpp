// Loading: the file becomes the group pairs, from its first "SECTION" on.
#include <cstring>
#include <limits>

#include "parser/GroupPairs.h"
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

}  // namespace

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
    pairs.Reset(lines.MaxLines() / 2 + 2);
    const char* base = lines.Bytes().data();
    auto addPair = [&](std::string_view code, std::string_view value) {
      if (code.empty() || value.empty()) return;
      pairs.Add(ReadGroupCode(code), static_cast<size_t>(value.data() - base), value.size());
      PumpMessages();
      PollCancelWhileLoading();
    };
    // The line in front of a "SECTION" on the very first line does not exist: it
    // counts as empty, which drops that pair.
    addPair(index > 0 ? previous : std::string_view(), line);
    codeIndex = index + 1;
    std::string_view code = next;
    std::string_view value;
    while (lines.Next(value)) {
      addPair(code, value);
      codeIndex += 2;
      if (!lines.Next(code)) break;
    }
  } catch (...) {
    pairs.Clear();
    // A cancel is no failure, and memory that runs out fails the parse with 7.
    if (InFlightEndsTheParse()) throw;
    // Whatever else failed (a code beyond 32 bits), the words say where.
    ShowMessageBox("Fail:0");
    RaiseCatalogued(CataloguedError("ParsingFailed"), std::to_string(codeIndex));
  }
  pairs.AdoptBytes(lines.TakeBytes());
}

}  // namespace vessik
