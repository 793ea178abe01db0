// Loading: the line end, the splitting into lines, and the group pairs from the
// first "SECTION" on.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdint>
#include <filesystem>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "parser/GroupPairs.h"
#include "parser/Lickety.h"
#include "parser/Vessik_Error.h"
#include "parser/Vessik_Parser.h"
#include "parser/Vessik_Utils.h"
#include "support/TestSupport.h"

namespace vessik {
namespace {

using Pairs = std::vector<std::pair<int, std::string>>;

Pairs Loaded() {
  Pairs out;
  const GroupPairTable& t = GroupPairs();
  for (int32_t i = 0; i < t.Count(); ++i) out.emplace_back(t.Code(i), std::string(t.Value(i)));
  return out;
}

Pairs Load(const std::string& content) {
  test::TempFile f(content);
  Vessik_Parser::LoadDXF(f.Path());
  return Loaded();
}

Vessik_Error LoadFailure(const std::string& path) {
  try {
    Vessik_Parser::LoadDXF(path);
  } catch (const Vessik_Error& e) {
    return e;
  }
  ADD_FAILURE() << "loading did not fail";
  return Vessik_Error(0, "", "");
}

const Pairs kSmall = {{0, "SECTION"}, {2, "ENTITIES"}, {0, "POINT"}, {8, "0"},
                      {10, "1.5"},    {0, "ENDSEC"},   {0, "EOF"}};

}  // namespace

TEST(LoadDXF, CrLfLfAndCrGiveTheSamePairs) {
  Pairs crlf = Load(test::DxfText(kSmall, "\r\n"));
  Pairs lf = Load(test::DxfText(kSmall, "\n"));
  Pairs cr = Load(test::DxfText(kSmall, "\r"));
  EXPECT_EQ(crlf, kSmall);
  EXPECT_EQ(lf, kSmall);
  EXPECT_EQ(cr, kSmall);
}

TEST(LoadDXF, OneCrLfInTheHeadKeepsCrLf) {
  // One CR LF and more LF: the pairs of CR LF decide, and a lone LF stays inside
  // its line.
  EXPECT_EQ(Load("0\r\nSECTION\r\n1\r\na\nb\nc\r\n0\r\nENDSEC\r\n"),
            (Pairs{{0, "SECTION"}, {1, "a\nb\nc"}, {0, "ENDSEC"}}));
}

TEST(LoadDXF, MoreCrThanLfSplitsOnCr) {
  // No CR LF pair; LF CR LF ... counts two CR against one LF.
  EXPECT_EQ(Load("0\rSECTION\r2\rA\nB\r0\rENDSEC\r"),
            (Pairs{{0, "SECTION"}, {2, "A\nB"}, {0, "ENDSEC"}}));
}

TEST(LoadDXF, HeadWithoutLineEndSplitsOnCrLf) {
  // The first 1001 bytes hold no line end: CR LF is chosen. A file with CR LF
  // loads; the same with LF only has no CR LF at all and fails.
  std::string longLine(1200, 'x');
  Pairs body = {{0, "SECTION"}, {2, "ENTITIES"}, {0, "ENDSEC"}, {0, "EOF"}};
  EXPECT_EQ(Load(longLine + "\r\n" + test::DxfText(body, "\r\n")), body);
  test::TempFile f(longLine + "\n" + test::DxfText(body, "\n"));
  Vessik_Error e = LoadFailure(f.Path());
  EXPECT_EQ(e.Number(), -2147221503);
  EXPECT_EQ(e.Description(), "SECTION tag not found. DXF file is invalid.");
}

TEST(LoadDXF, HeadIsTheFirst1001Bytes) {
  Pairs body = {{0, "SECTION"}, {2, "ENTITIES"}, {0, "ENDSEC"}};
  // LF at byte 1000, the last of the head: LF is chosen.
  EXPECT_EQ(Load(std::string(1000, 'x') + "\n" + test::DxfText(body, "\n")), body);
  // LF at byte 1001, behind the head: CR LF is chosen, and an LF file fails.
  test::TempFile f(std::string(1001, 'x') + "\n" + test::DxfText(body, "\n"));
  EXPECT_EQ(LoadFailure(f.Path()).Number(), -2147221503);
}

TEST(LoadDXF, CrLfCutByTheEndOfTheHeadSplitsOnCr) {
  // The head ends with the CR of a CR LF: one CR and no LF, so CR is chosen. Every
  // line then begins with an LF, no line is "SECTION", and the file fails.
  Pairs body = {{0, "SECTION"}, {2, "ENTITIES"}, {0, "ENDSEC"}};
  test::TempFile f(std::string(1000, 'x') + "\r\n" + test::DxfText(body, "\r\n"));
  Vessik_Error e = LoadFailure(f.Path());
  EXPECT_EQ(e.Number(), -2147221503);
  EXPECT_EQ(e.Description(), "SECTION tag not found. DXF file is invalid.");
}

TEST(LoadDXF, EqualCrAndLfCountsKeepCrLf) {
  // LF CR line ends: no CR LF pair, as many CR as LF, so CR LF stays and the whole
  // file is one line.
  test::TempFile f(test::DxfText(kSmall, "\n\r"));
  EXPECT_EQ(LoadFailure(f.Path()).Number(), -2147221503);
}

TEST(LoadDXF, HeaderCommentsBeforeSectionAreDropped) {
  Pairs withComment = {{999, "made by hand"}, {999, "second"}};
  withComment.insert(withComment.end(), kSmall.begin(), kSmall.end());
  EXPECT_EQ(Load(test::DxfText(withComment)), kSmall);
  // Any lines at all in front, even an odd number of them.
  EXPECT_EQ(Load("junk\n" + test::DxfText(kSmall)), kSmall);
}

TEST(LoadDXF, SectionOnTheFirstLineLosesItsPair) {
  // No code line in front of it: that pair counts as empty and is dropped.
  EXPECT_EQ(Load("SECTION\n2\nENTITIES\n0\nENDSEC\n"), (Pairs{{2, "ENTITIES"}, {0, "ENDSEC"}}));
}

TEST(LoadDXF, EmptyValueOrCodeLineDropsThePair) {
  EXPECT_EQ(Load("0\nSECTION\n2\n\n2\nENTITIES\n\nX\n0\nENDSEC\n"),
            (Pairs{{0, "SECTION"}, {2, "ENTITIES"}, {0, "ENDSEC"}}));
}

TEST(LoadDXF, ValuesKeepTheirBlanks) {
  EXPECT_EQ(Load("0\nSECTION\n  2\n ENTITIES \n0\nENDSEC\n"),
            (Pairs{{0, "SECTION"}, {2, " ENTITIES "}, {0, "ENDSEC"}}));
}

TEST(LoadDXF, GroupCodesByTheNumberReaderRoundedHalfToEven) {
  EXPECT_EQ(
      Load("0\nSECTION\n10.5\na\n11.5\nb\n1,5\nc\nabc\nd\n&H1F\ne\n-3\nf\n"),
      (Pairs{{0, "SECTION"}, {10, "a"}, {12, "b"}, {1, "c"}, {0, "d"}, {31, "e"}, {-3, "f"}}));
}

TEST(LoadDXF, AStrayLineShiftsEveryLaterPair) {
  EXPECT_EQ(Load("0\nSECTION\nstray\n2\nENTITIES\n0\nENDSEC\n"),
            (Pairs{{0, "SECTION"}, {0, "2"}, {0, "0"}}));
}

TEST(LoadDXF, OddLineCountDropsTheLastCode) {
  EXPECT_EQ(Load("0\nSECTION\n2\nENTITIES\n0\n"), (Pairs{{0, "SECTION"}, {2, "ENTITIES"}}));
}

TEST(LoadDXF, LastLineWithoutLineEndIsLost) {
  EXPECT_EQ(Load("0\nSECTION\n2\nENTITIES\n0\nENDSEC\n0\nEOF"),
            (Pairs{{0, "SECTION"}, {2, "ENTITIES"}, {0, "ENDSEC"}}));
}

TEST(LoadDXF, ReplacesThePairsOfTheLastLoad) {
  Load(test::DxfText(kSmall));
  EXPECT_EQ(Load("0\nSECTION\n2\nX\n"), (Pairs{{0, "SECTION"}, {2, "X"}}));
}

TEST(LoadDXF, NoSectionLine) {
  for (const std::string& text :
       {std::string("0\nTEXT\n1\nhello\n"), std::string("0\nSECTION \n2\nENTITIES\n"),
        std::string("0\nsection\n"), std::string("x"), std::string("\n")}) {
    test::TempFile f(text);
    Vessik_Error e = LoadFailure(f.Path());
    EXPECT_EQ(e.Number(), -2147221503) << text;
    EXPECT_EQ(e.Description(), "SECTION tag not found. DXF file is invalid.");
    EXPECT_EQ(e.Source(), "");
  }
}

TEST(LoadDXF, SectionOnTheLastLineCountsAsNotFound) {
  for (const std::string& text : {std::string("0\nSECTION\n"), std::string("0\nSECTION"),
                                  std::string("SECTION\n"), std::string("1\n2\n0\nSECTION\n")}) {
    test::TempFile f(text);
    EXPECT_EQ(LoadFailure(f.Path()).Number(), -2147221503) << text;
  }
}

TEST(LoadDXF, CodeOutOfRangeFailsWithItsLine) {
  std::vector<std::string> shown;
  SetMessageBoxHook([&](const std::string& text) { shown.push_back(text); });
  test::TempFile f("999\nhello\n0\nSECTION\n2\nENTITIES\n99999999999\nx\n0\nENDSEC\n");
  Vessik_Error e = LoadFailure(f.Path());
  SetMessageBoxHook(nullptr);
  EXPECT_EQ(e.Number(), -2147221501);
  EXPECT_EQ(e.Description(), "Error during parsing of DXF file at line #6");
  EXPECT_EQ(e.Source(), "");
  EXPECT_EQ(shown, (std::vector<std::string>{"Fail:0"}));
}

TEST(LoadDXF, FirstCodeOutOfRangeFailsAtItsLine) {
  test::TempFile f("2147483648\nSECTION\n2\nENTITIES\n");
  Vessik_Error e = LoadFailure(f.Path());
  EXPECT_EQ(e.Number(), -2147221501);
  EXPECT_EQ(e.Description(), "Error during parsing of DXF file at line #0");
}

TEST(LoadDXF, EmptyValueDropsThePairBeforeItsCodeIsRead) {
  int shown = 0;
  SetMessageBoxHook([&](const std::string&) { ++shown; });
  EXPECT_EQ(Load("0\nSECTION\n99999999999\n\n2\nA\n"), (Pairs{{0, "SECTION"}, {2, "A"}}));
  SetMessageBoxHook(nullptr);
  EXPECT_EQ(shown, 0);
}

TEST(LoadDXF, PairsBelongToTheThread) {
  Load(test::DxfText(kSmall));
  Pairs other;
  std::thread t([&] { other = Load("0\nSECTION\n2\nOTHER\n"); });
  t.join();
  EXPECT_EQ(other, (Pairs{{0, "SECTION"}, {2, "OTHER"}}));
  EXPECT_EQ(Loaded(), kSmall);
}

TEST(LoadDXF, NegativeLimitAndHexCodesFit) {
  EXPECT_EQ(Load("0\nSECTION\n-2147483648\na\n2147483647\nb\n"),
            (Pairs{{0, "SECTION"}, {-2147483647 - 1, "a"}, {2147483647, "b"}}));
}

TEST(LoadDXF, EmptyFile) {
  test::TempFile f("");
  Vessik_Error e = LoadFailure(f.Path());
  EXPECT_EQ(e.Number(), 9);
  EXPECT_EQ(e.Description(), "Subscript out of range");
}

TEST(LoadDXF, MissingFile) {
  Vessik_Error e = LoadFailure("/nonexistent/vessik/none.dxf");
  EXPECT_EQ(e.Number(), 53);
  EXPECT_EQ(e.Description(), "File not found");
  EXPECT_EQ(e.Source(), "");
}

TEST(LoadDXF, FolderGivenAsTheFile) {
  test::TempFile f("x");
  std::string folder = f.Path().substr(0, f.Path().rfind('/'));
  Vessik_Error e = LoadFailure(folder);
  EXPECT_EQ(e.Number(), 75);
  EXPECT_EQ(e.Description(), "Path/File access error");
}

// A file of more than 3276800 bytes: about 50 blocks.

namespace {

// ENTITIES full of numbered comments, padded so that the size modulo 50 is known.
// The last line has no line end and is longer than the last block.
std::string BigDrawing(bool lastBlockHasDelimiter, Pairs& expected) {
  expected = {{0, "SECTION"}, {2, "ENTITIES"}};
  int n = 0;
  std::string text = "0\nSECTION\n2\nENTITIES\n";
  while (text.size() < 3400000) {
    std::string value = "POINT" + std::to_string(n++) + std::string(20, 'p');
    text += "999\n" + value + "\n";
    expected.emplace_back(999, value);
  }
  text += "0\nENDSEC\n";
  expected.emplace_back(0, "ENDSEC");
  std::string tail(200, 'T');
  // Size 50 * b + r with r = 10: the last block is 10 bytes.
  size_t size = text.size() + 2 + tail.size();
  size_t pad = (50 + 10 - size % 50) % 50;
  text += "0\n" + std::string(pad, 'E') + tail;
  if (lastBlockHasDelimiter) {
    // A line end inside the last 10 bytes: the 4 bytes behind it are lost.
    text.replace(text.size() - 5, 1, "\n");
    expected.emplace_back(0, std::string(pad, 'E') + std::string(195, 'T'));
  } else {
    expected.emplace_back(0, std::string(pad, 'E') + tail);
  }
  return text;
}

}  // namespace

TEST(LoadDXF, BigFileTailKeptWhenTheLastBlockHasNoDelimiter) {
  Pairs expected;
  std::string text = BigDrawing(false, expected);
  ASSERT_GT(text.size(), 3276800u);
  EXPECT_EQ(text.size() % 50, 10u);
  Pairs loaded = Load(text);
  ASSERT_EQ(loaded.size(), expected.size());
  EXPECT_EQ(loaded, expected);
  // The last value went whole across block boundaries.
  EXPECT_EQ(loaded.back().second.size(), expected.back().second.size());
}

TEST(LoadDXF, BigFileTailLostWhenTheLastBlockHasADelimiter) {
  Pairs expected;
  std::string text = BigDrawing(true, expected);
  ASSERT_GT(text.size(), 3276800u);
  EXPECT_EQ(text.substr(text.size() - 5), "\nTTTT");
  Pairs loaded = Load(text);
  ASSERT_EQ(loaded.size(), expected.size());
  EXPECT_EQ(loaded, expected);
}

TEST(LoadDXF, BigFileLinesAcrossEveryBlockBoundaryComeOutWhole) {
  Pairs expected;
  std::string text = BigDrawing(false, expected);
  const size_t block =
      static_cast<size_t>(Lickety::ChooseBlockSize(static_cast<int64_t>(text.size())));
  EXPECT_EQ(block, text.size() / 50);
  // Every boundary cuts some line: the values around it must be intact.
  int cutLines = 0;
  for (size_t b = block; b < text.size(); b += block) {
    if (text[b - 1] != '\n') ++cutLines;
  }
  EXPECT_GT(cutLines, 40);
  Pairs loaded = Load(text);
  EXPECT_EQ(loaded, expected);
}

TEST(LoadDXF, BigFileWithCrLfCutBetweenCrAndLf) {
  Pairs body = {};
  std::string rest;
  int n = 0;
  while (rest.size() < 3300000) {
    std::string value(1, 'V');
    value += std::to_string(n++);
    rest += "999\r\n" + value + "\r\n";
    body.emplace_back(999, value);
  }
  rest += "0\r\nENDSEC\r\n";
  // A first comment of some length puts a CR right in front of the first block
  // boundary, with its LF behind it.
  const std::string start = "0\r\nSECTION\r\n2\r\nENTITIES\r\n999\r\n";
  size_t found = 0;
  for (size_t pad = 1; pad < 1000 && found == 0; ++pad) {
    const size_t head = start.size() + pad + 2;
    const size_t size = head + rest.size();
    const size_t block = size / 50;
    if (rest[block - 1 - head] == '\r') found = pad;
  }
  ASSERT_GT(found, 0u);
  std::string text = start;
  text.append(found, 'c');
  text.append("\r\n");
  text.append(rest);
  const size_t block = text.size() / 50;
  ASSERT_EQ(text.substr(block - 1, 2), "\r\n");
  Pairs expected = {{0, "SECTION"}, {2, "ENTITIES"}, {999, std::string(found, 'c')}};
  expected.insert(expected.end(), body.begin(), body.end());
  expected.emplace_back(0, "ENDSEC");
  EXPECT_EQ(Load(text), expected);
}

}  // namespace vessik

namespace vessik {
namespace {

// What is no regular file is refused before it is opened, with 75: a folder,
// a FIFO with no writer (which would block the open for ever) and a device that
// never ends.
TEST(LoadDXF, FolderFifoAndEndlessDeviceFailWith75) {
  const std::string dir =
      (std::filesystem::temp_directory_path() / ("vessik-fifo-" + std::to_string(::getpid())))
          .string();
  std::filesystem::create_directories(dir);
  const std::string fifo = dir + "/drawing.dxf";
  ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
  EXPECT_EQ(LoadFailure(dir).Number(), errnum::PathFileAccess);
  EXPECT_EQ(LoadFailure(fifo).Number(), errnum::PathFileAccess);
  EXPECT_EQ(LoadFailure("/dev/zero").Number(), errnum::PathFileAccess);
  EXPECT_EQ(LoadFailure(dir + "/missing.dxf").Number(), errnum::FileNotFound);
  std::filesystem::remove_all(dir);
}

}  // namespace
}  // namespace vessik
