// The splitting of a file into lines with the block rule.
#include "parser/Lickety.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "parser/Vessik_Error.h"
#include "support/TestSupport.h"

namespace vessik {
namespace {

std::vector<std::string> Split(const std::string& content, int32_t blockSize,
                               const std::string& delim, bool unicode = false,
                               bool skipBOM = false) {
  test::TempFile f(content);
  Lickety l;
  return l.SplitFile(f.Path(), blockSize, delim, unicode, skipBOM);
}

using Lines = std::vector<std::string>;

}  // namespace

TEST(Lickety, ChooseBlockSize) {
  EXPECT_EQ(Lickety::ChooseBlockSize(0), 65536);
  EXPECT_EQ(Lickety::ChooseBlockSize(1000), 65536);
  EXPECT_EQ(Lickety::ChooseBlockSize(3276800), 65536);
  EXPECT_EQ(Lickety::ChooseBlockSize(3276801), 65536);
  EXPECT_EQ(Lickety::ChooseBlockSize(3276850), 65537);
  EXPECT_EQ(Lickety::ChooseBlockSize(5000000), 100000);
  EXPECT_EQ(Lickety::ChooseBlockSize(5000049), 100000);
}

TEST(Lickety, TailDroppedWhenTheLastBlockHasADelimiter) {
  EXPECT_EQ(Split("ab\ncd\nef", 4, "\n"), (Lines{"ab", "cd"}));
  EXPECT_EQ(Split("ab\ncd\nef\n", 4, "\n"), (Lines{"ab", "cd", "ef"}));
}

TEST(Lickety, TailKeptWhenTheLastBlockHasNoDelimiter) {
  // Blocks "ab\nc" and "def": the carry "c" grows to "cdef".
  EXPECT_EQ(Split("ab\ncdef", 4, "\n"), (Lines{"ab", "cdef"}));
  // Several blocks without a delimiter: the carry spans them all.
  EXPECT_EQ(Split("ab\ncdefghijkl", 4, "\n"), (Lines{"ab", "cdefghijkl"}));
  EXPECT_EQ(Split("abcdefgh", 3, "\n"), (Lines{"abcdefgh"}));
}

TEST(Lickety, LineAcrossABlockBoundaryComesOutWhole) {
  EXPECT_EQ(Split("abcdef\ngh\n", 4, "\n"), (Lines{"abcdef", "gh"}));
  // A CR LF cut in two by the boundary is still one delimiter; it lies partly in
  // the last block, so the tail behind it goes.
  EXPECT_EQ(Split("ab\r\ncd", 3, "\r\n"), (Lines{"ab"}));
  EXPECT_EQ(Split("ab\r\ncd\r\n", 3, "\r\n"), (Lines{"ab", "cd"}));
}

TEST(Lickety, DelimiterEndingWhereTheLastBlockStartsKeepsTheTail) {
  // Blocks "abc\n" and "def": the last block holds no delimiter, so its text is
  // the carry at the end of the file and comes out as a last line.
  EXPECT_EQ(Split("abc\ndef", 4, "\n"), (Lines{"abc", "def"}));
  // Blocks "ab\r\n" and "cd": the whole CR LF lies in the block before.
  EXPECT_EQ(Split("ab\r\ncd", 4, "\r\n"), (Lines{"ab", "cd"}));
  // Blocks "ab<=>" and "cd", with a delimiter of three bytes.
  EXPECT_EQ(Split("ab<=>cd", 5, "<=>"), (Lines{"ab", "cd"}));
  // Blocks "a\nb\n", "cd\ne", "fgh": a delimiter two blocks back changes nothing.
  EXPECT_EQ(Split("a\nb\ncd\nefgh", 4, "\n"), (Lines{"a", "b", "cd", "efgh"}));
}

TEST(Lickety, DelimiterStraddlingTheLastBoundaryDropsTheTail) {
  // Blocks "abc\r" and "\nde": the CR LF is found only once the last block is
  // read, so that block has a delimiter and "de" behind it goes.
  EXPECT_EQ(Split("abc\r\nde", 4, "\r\n"), (Lines{"abc"}));
  // Blocks "abc<" and "=>d": the same with three bytes, two of them in the last
  // block.
  EXPECT_EQ(Split("abc<=>d", 4, "<=>"), (Lines{"abc"}));
  // Blocks "abc<=" and ">d": only the delimiter's last byte in the last block.
  EXPECT_EQ(Split("abc<=>d", 5, "<=>"), (Lines{"abc"}));
  // Blocks "ab<=", ">cde" and "fg": the delimiter straddles the boundary before
  // the last one; the last block "fg" holds none, so "cdefg" is kept.
  EXPECT_EQ(Split("ab<=>cdefg", 4, "<=>"), (Lines{"ab", "cdefg"}));
}

TEST(Lickety, BlockSizeNotAboveTheDelimiterIsChosen) {
  // 1 and 2 are not above the length of CR LF: 64 KiB blocks, one block only.
  EXPECT_EQ(Split("ab\r\ncd", 2, "\r\n"), (Lines{"ab"}));
  EXPECT_EQ(Split("ab\ncd", 1, "\n"), (Lines{"ab"}));
  EXPECT_EQ(Split("ab\ncd", 0, "\n"), (Lines{"ab"}));
  EXPECT_EQ(Split("ab\ncd", -5, "\n"), (Lines{"ab"}));
}

TEST(Lickety, EmptyLinesAndEmptyFile) {
  EXPECT_EQ(Split("\n\na\n", 0, "\n"), (Lines{"", "", "a"}));
  EXPECT_EQ(Split("", 0, "\n"), Lines{});
  EXPECT_EQ(Split("abc", 0, "\n"), (Lines{"abc"}));
}

TEST(Lickety, EmptyDelimiterGivesTheWholeText) {
  EXPECT_EQ(Split("ab\ncd", 0, ""), (Lines{"ab\ncd"}));
}

TEST(Lickety, BomSkippedOnlyWithBothFlags) {
  EXPECT_EQ(Split("XYab\ncd\n", 0, "\n", true, true), (Lines{"ab", "cd"}));
  EXPECT_EQ(Split("XYab\ncd\n", 0, "\n", false, true), (Lines{"XYab", "cd"}));
  EXPECT_EQ(Split("XYab\ncd\n", 0, "\n", true, false), (Lines{"XYab", "cd"}));
}

TEST(Lickety, SplitsOnTheExactDelimiterOnly) {
  EXPECT_EQ(Split("a\nb\r\nc\rd\r\n", 0, "\r\n"), (Lines{"a\nb", "c\rd"}));
  EXPECT_EQ(Split("a\r\nb\n", 0, "\n"), (Lines{"a\r", "b"}));
}

TEST(Lickety, DelimiterThatOverlapsItself) {
  // Occurrences from left to right without overlap: "aaa" holds one "aa".
  EXPECT_EQ(Split("aaa", 0, "aa"), (Lines{""}));
  EXPECT_EQ(Split("xaaay", 0, "aa"), (Lines{"x"}));
  EXPECT_EQ(Split("aaaa", 0, "aa"), (Lines{"", ""}));
  EXPECT_EQ(Split("xabababy", 0, "aba"), (Lines{"x"}));
  // Blocks "aaa" and "b": the last one holds no delimiter, so "ab" is kept.
  EXPECT_EQ(Split("aaab", 3, "aa"), (Lines{"", "ab"}));
}

TEST(Lickety, MissingFile) {
  Lickety l;
  try {
    l.SplitFile("/nonexistent/vessik/none.dxf", 0, "\n", false, false);
    ADD_FAILURE() << "no failure";
  } catch (const Vessik_Error& e) {
    EXPECT_EQ(e.Number(), 53);
    EXPECT_EQ(e.Description(), "File not found");
  }
}

}  // namespace vessik

namespace vessik {
namespace {

std::vector<std::string> Rest(Lickety::Lines& lines) {
  std::vector<std::string> out;
  std::string_view line;
  while (lines.Next(line)) out.emplace_back(line);
  return out;
}

}  // namespace

TEST(LicketyLines, SplitAtALineStartGivesTheSameLinesInTwoParts) {
  const std::string text = "a\r\nbb\r\r\nccc\r\n\r\nd\r\ntail";
  Lickety::Lines whole(FileBytes(text), 0, "\r\n");
  const std::vector<std::string> all = Rest(whole);
  EXPECT_EQ(all, (std::vector<std::string>{"a", "bb\r", "ccc", "", "d"}));

  Lickety::Lines front(FileBytes(text), 0, "\r\n");
  // From byte 4 on, the next line starts behind "bb\r\r\n".
  const size_t at = front.LineStartFrom(4);
  EXPECT_EQ(at, 8u);
  EXPECT_EQ(front.CountDelimiters(0, at), 2u);
  EXPECT_EQ(front.MaxLines(0, at), 3u);
  Lickety::Lines back = front.SplitAt(at);
  Lickety::Lines backCopy = back;
  EXPECT_EQ(Rest(front), (std::vector<std::string>{"a", "bb\r"}));
  EXPECT_EQ(Rest(back), (std::vector<std::string>{"ccc", "", "d"}));
  EXPECT_EQ(Rest(backCopy), (std::vector<std::string>{"ccc", "", "d"}));
}

TEST(LicketyLines, NoSplitBehindTheLastLineEndOrForASelfOverlappingDelimiter) {
  Lickety::Lines lines(FileBytes(std::string("ab\nc\nlong tail")), 0, "\n");
  EXPECT_EQ(lines.LineStartFrom(0), 3u);
  // The next line end is the last one: nothing would be left behind it.
  EXPECT_EQ(lines.LineStartFrom(3), 0u);
  EXPECT_EQ(lines.LineStartFrom(6), 0u);
  Lickety::Lines overlapping(FileBytes(std::string("xaaayaaz")), 0, "aa");
  EXPECT_EQ(overlapping.LineStartFrom(0), 0u);
}

TEST(LicketyLines, CountDelimitersCountsWholeOnesInsideTheRange) {
  Lickety::Lines lines(FileBytes(std::string("\r\n\n\r\n\r\r\n")), 0, "\r\n");
  EXPECT_EQ(lines.CountDelimiters(0, 8), 3u);
  // A delimiter cut by the range's start does not count.
  EXPECT_EQ(lines.CountDelimiters(1, 8), 2u);
  EXPECT_EQ(lines.CountDelimiters(0, 4), 1u);
}

namespace {

// The lines of a text written out plainly: occurrences of the delimiter from left
// to right without overlap; the text behind the last one is a line of its own only
// when there is no delimiter at all (a text of one block).
std::vector<std::string> PlainLines(const std::string& text, const std::string& delim) {
  std::vector<std::string> out;
  size_t from = 0;
  for (size_t at = text.find(delim); at != std::string::npos; at = text.find(delim, from)) {
    out.push_back(text.substr(from, at - from));
    from = at + delim.size();
  }
  if (out.empty() && !text.empty()) out.push_back(text);
  return out;
}

// Whole delimiters whose last byte lies in [from, to), counted plainly.
size_t PlainCount(const std::string& text, const std::string& delim, size_t from, size_t to) {
  size_t count = 0;
  for (size_t at = from; at < to; ++at) {
    if (at + 1 >= from + delim.size() &&
        text.compare(at + 1 - delim.size(), delim.size(), delim) == 0) {
      ++count;
    }
  }
  return count;
}

}  // namespace

TEST(LicketyLines, RandomTextsSplitAndCountAsWrittenOutPlainly) {
  // Line ends of one and two bytes take the inline path and the counting by
  // masks; the others the general one. Texts span several 64-byte blocks.
  const std::vector<std::string> delims = {"\n", "\r", "\r\n", "\n\r", "ab", "\r\n\r"};
  uint64_t state = 0x9E3779B97F4A7C15ULL;
  auto next = [&state](uint64_t n) {
    state = state * 6364136223846793005ULL + 1442695040888963407ULL;
    return (state >> 33) % n;
  };
  const char alphabet[] = {'\r', '\n', 'a', 'b', 'x'};
  for (int round = 0; round < 3000; ++round) {
    const std::string& delim = delims[next(delims.size())];
    std::string text(next(400), ' ');
    for (char& ch : text) ch = alphabet[next(sizeof alphabet)];
    SCOPED_TRACE(testing::Message() << "round " << round);

    Lickety::Lines whole(FileBytes(text), 0, delim);
    const std::vector<std::string> plain = PlainLines(text, delim);
    ASSERT_EQ(Rest(whole), plain);

    const size_t from = next(text.size() + 1);
    const size_t to = from + next(text.size() - from + 1);
    ASSERT_EQ(whole.CountDelimiters(from, to), PlainCount(text, delim, from, to));

    // Split where a line starts, after a few lines are read (the block around the
    // split may be scanned already): the two parts give the same lines.
    Lickety::Lines front(FileBytes(text), 0, delim);
    std::vector<std::string> both;
    std::string_view line;
    for (uint64_t k = next(4); k > 0 && front.Next(line); --k) both.emplace_back(line);
    const size_t at = front.LineStartFrom(front.Position() + next(8));
    if (at == 0) continue;
    Lickety::Lines back = front.SplitAt(at);
    const std::vector<std::string> head = Rest(front);
    both.insert(both.end(), head.begin(), head.end());
    const std::vector<std::string> rest = Rest(back);
    both.insert(both.end(), rest.begin(), rest.end());
    ASSERT_EQ(both, plain);
  }
}

}  // namespace vessik
