// A large file's pairs built by two threads, the back part on its own: the pairs,
// and every failure with its line, are those of one thread reading it all.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "parser/GroupPairs.h"
#include "parser/Vessik_Error.h"
#include "parser/Vessik_Parser.h"
#include "parser/Vessik_Utils.h"
#include "support/TestSupport.h"

namespace vessik {
namespace {

using Pairs = std::vector<std::pair<int, std::string>>;

// The pairs, or the failure's number and words.
struct Outcome {
  Pairs pairs;
  int32_t number = 0;
  std::string description;
  bool operator==(const Outcome&) const = default;
};

Outcome LoadWith(const std::string& path, size_t splitFrom) {
  SetSplitLoadFrom(splitFrom);
  Outcome out;
  try {
    Vessik_Parser::LoadDXF(path);
    const GroupPairTable& t = GroupPairs();
    for (int32_t i = 0; i < t.Count(); ++i) {
      out.pairs.emplace_back(t.Code(i), std::string(t.Value(i)));
    }
  } catch (const Vessik_Error& e) {
    out.number = e.Number();
    out.description = e.Description();
  }
  SetSplitLoadFrom(0);
  GroupPairs().Clear();
  return out;
}

// Loads the text split and whole; expects the same outcome and returns it.
Outcome LoadSplitAndWhole(const std::string& text, bool expectSplit = true) {
  test::TempFile f(text);
  const Outcome whole = LoadWith(f.Path(), SIZE_MAX);
  const int64_t before = SplitLoads();
  const Outcome split = LoadWith(f.Path(), 1);
  EXPECT_EQ(SplitLoads() - before, expectSplit ? 1 : 0);
  EXPECT_EQ(split, whole);
  return split;
}

// Lines numbered so that any pair out of place shows: "SECTION" and then
// `count` pairs of code 1 with their number.
std::string Numbered(int count, const std::string& eol = "\n") {
  std::string text = "0" + eol + "SECTION" + eol;
  for (int k = 0; k < count; ++k) text += "1" + eol + "v" + std::to_string(k) + eol;
  return text + "0" + eol + "EOF" + eol;
}

TEST(SplitLoad, GivesEveryPairInOrder) {
  const Outcome out = LoadSplitAndWhole(Numbered(1000));
  ASSERT_EQ(out.pairs.size(), 1002u);
  EXPECT_EQ(out.pairs[0], (std::pair<int, std::string>{0, "SECTION"}));
  for (int k = 0; k < 1000; ++k) {
    ASSERT_EQ(out.pairs[static_cast<size_t>(k) + 1],
              (std::pair<int, std::string>{1, "v" + std::to_string(k)}));
  }
  EXPECT_EQ(out.pairs.back(), (std::pair<int, std::string>{0, "EOF"}));
}

TEST(SplitLoad, EveryLineEndAndEveryPlaceOfTheSplit) {
  // Growing the text line by line moves the middle across codes and values alike,
  // so the back part starts with either.
  for (const std::string eol : {"\n", "\r\n", "\r"}) {
    for (int extra = 0; extra < 12; ++extra) {
      std::string text = Numbered(200, eol);
      for (int k = 0; k < extra; ++k) text += "999" + eol;
      const Outcome out = LoadSplitAndWhole(text);
      EXPECT_EQ(out.number, 0);
      EXPECT_EQ(out.pairs.size(), 202u + static_cast<size_t>(extra / 2));
    }
  }
}

TEST(SplitLoad, EmptyLinesAroundTheMiddleDropTheirPairs) {
  for (int at = 90; at < 110; ++at) {
    std::string text = "0\nSECTION\n";
    for (int k = 0; k < 200; ++k) {
      // An empty code, then an empty value, near the middle.
      if (k == at) {
        text += "\nlost\n";
      } else if (k == at + 3) {
        text += "1\n\n";
      } else {
        text += "1\nv" + std::to_string(k) + "\n";
      }
    }
    const Outcome out = LoadSplitAndWhole(text + "0\nEOF\n");
    EXPECT_EQ(out.pairs.size(), 200u);
  }
}

TEST(SplitLoad, ACodeThatDoesNotConvertFailsWithItsLineInEitherPart) {
  for (const int bad : {3, 50, 97, 98, 99, 100, 101, 102, 103, 150, 198}) {
    std::string text = "0\nSECTION\n";
    for (int k = 0; k < 200; ++k) {
      text += (k == bad ? std::string("99999999999") : std::string("1")) + "\nv" +
              std::to_string(k) + "\n";
    }
    const Outcome out = LoadSplitAndWhole(text);
    EXPECT_NE(out.number, 0);
    // The line of the code: two for "0" and "SECTION", two for each pair in front.
    EXPECT_NE(out.description.find(std::to_string(2 + 2 * bad)), std::string::npos)
        << out.description;
  }
}

TEST(SplitLoad, TheFirstOfTwoBadCodesWins) {
  std::string text = "0\nSECTION\n";
  for (int k = 0; k < 200; ++k) {
    const bool bad = k == 20 || k == 180;
    text += (bad ? std::string("1E99") : std::string("1")) + "\nv" + std::to_string(k) + "\n";
  }
  const Outcome out = LoadSplitAndWhole(text);
  EXPECT_NE(out.description.find("42"), std::string::npos) << out.description;
}

TEST(SplitLoad, JunkInFrontOfTheFirstSectionAndATailWithoutLineEnd) {
  // A short last line without its end is dropped, its code with it.
  std::string text = "junk\nmore junk\n999\n" + Numbered(300) + "0\nshort tail";
  Outcome out = LoadSplitAndWhole(text);
  EXPECT_EQ(out.number, 0);
  EXPECT_EQ(out.pairs.size(), 302u);
  // A last line longer than the last block read is kept.
  text = Numbered(20000) + "0\n" + std::string(70000, 'y');
  out = LoadSplitAndWhole(text);
  ASSERT_EQ(out.pairs.size(), 20003u);
  EXPECT_EQ(out.pairs.back(), (std::pair<int, std::string>{0, std::string(70000, 'y')}));
}

TEST(SplitLoad, SmallFilesAndFilesWithoutAMiddleLineEndAreNotSplit) {
  test::TempFile f(Numbered(1000));
  const int64_t before = SplitLoads();
  (void)LoadWith(f.Path(), SIZE_MAX);
  (void)LoadWith(f.Path(), 0);
  EXPECT_EQ(SplitLoads(), before);
  // One long value from the middle to the end: no line starts there.
  LoadSplitAndWhole("0\nSECTION\n1\n" + std::string(10000, 'x') + "\n", false);
}

TEST(SplitLoad, TheHostsMessagesRunWhileTheBackPartIsWaitedFor) {
  test::TempFile f(Numbered(20000));
  int runs = 0;
  SetPumpHook([&] { ++runs; });
  LastPumpTick() = TickCount() - 1000;
  const Outcome out = LoadWith(f.Path(), 1);
  SetPumpHook(nullptr);
  EXPECT_EQ(out.pairs.size(), 20002u);
  EXPECT_GE(runs, 1);
}

}  // namespace
}  // namespace vessik
