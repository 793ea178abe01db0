#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "parser/FileBytes.h"
#include "parser/Vessik_Utils.h"
#include "parser/parser.h"
#include "support/FileChanges.h"
#include "support/TestSupport.h"

namespace vessik {
namespace {

// The parses and reads of this thread map their files while it lives.
struct MappingOn {
  MappingOn() { SetMapFiles(true); }
  ~MappingOn() { SetMapFiles(false); }
};

constexpr size_t kPage = 4096;

using test::LargeText;
using test::SetOldTimes;

// The same length, other bytes at the end; with old times set before, only the time
// of change tells.
void RewriteEnd(const std::string& path) {
  std::fstream out(path, std::ios::in | std::ios::out);
  out.seekp(-10, std::ios::end);
  out << "0\nEOF\n\n\n\n";
}

void Replace(const std::string& path, const std::string& content) {
  const std::string other = path + ".new";
  std::ofstream(other) << content;
  std::filesystem::rename(other, path);
}

// Maps the file while the pump runs the change once, between the first two pieces.
int32_t MapWhile(const std::string& path, const std::function<void()>& change) {
  MappingOn mapping;
  return test::LoadWhile(path, change);
}

// A drawing of many lines, so that its parse reads pages long after the load.
std::string ManyLines(int count) {
  std::vector<std::pair<int, std::string>> entities;
  for (int i = 0; i < count; ++i) {
    const std::string x = std::to_string(i) + ".25";
    entities.insert(entities.end(), {{0, "LINE"},
                                     {8, "CUT"},
                                     {62, "1"},
                                     {10, x},
                                     {20, "1.5"},
                                     {30, "0"},
                                     {11, x},
                                     {21, "7.75"},
                                     {31, "0"}});
  }
  return test::Drawing(entities, {{"CUT", 1}});
}

std::string ParseText(const std::string& path, bool map) {
  SetMapFiles(map);
  Vessik_Parser parser;
  Vessik_CommonData data;
  Vessik_Progress progress;
  std::string text = parser.Parse2(path, data, progress);
  SetMapFiles(false);
  return text;
}

// Parses the mapped file with the change made at the first progress value, which
// comes once the file is loaded and its entities are being read. The failure
// number, or -1 with the text in text.
int32_t ParseWhile(const std::string& path, const std::function<void()>& change,
                   std::string& text) {
  MappingOn mapping;
  Vessik_Parser parser;
  Vessik_CommonData data;
  Vessik_Progress progress;
  bool done = false;
  progress.Connect([&](int32_t) {
    if (!done) change();
    done = true;
  });
  int32_t number = -1;
  try {
    text = parser.Parse2(path, data, progress);
  } catch (const Vessik_Error& e) {
    number = e.Number();
  }
  EXPECT_TRUE(done);
  return number;
}

TEST(MappedFile, AMappedFileHoldsTheWholeFile) {
  MappingOn mapping;
  const std::string text = LargeText();
  test::TempFile f(text);
  FileBytes bytes = FileBytes::ReadFile(f.Path());
  EXPECT_GE(bytes.FileDescriptor(), 0);
  ASSERT_EQ(bytes.size(), text.size());
  EXPECT_TRUE(std::string_view(bytes.data(), bytes.size()) == text);
  EXPECT_TRUE(bytes.Unchanged());
}

TEST(MappedFile, BytesReadIntoMemoryAreNotMapped) {
  test::TempFile f(LargeText());
  FileBytes bytes = FileBytes::ReadFile(f.Path());
  EXPECT_EQ(bytes.FileDescriptor(), -1);
  EXPECT_TRUE(bytes.Unchanged());
}

TEST(MappedFile, AnEmptyFileIsNotMapped) {
  MappingOn mapping;
  test::TempFile f("");
  FileBytes bytes = FileBytes::ReadFile(f.Path());
  EXPECT_TRUE(bytes.empty());
  EXPECT_EQ(bytes.FileDescriptor(), -1);
}

TEST(MappedFile, MovedBytesTakeTheMappingAlong) {
  MappingOn mapping;
  const std::string text = LargeText();
  test::TempFile f(text);
  FileBytes first = FileBytes::ReadFile(f.Path());
  FileBytes second(std::move(first));
  EXPECT_EQ(first.FileDescriptor(), -1);
  FileBytes third;
  third = std::move(second);
  EXPECT_GE(third.FileDescriptor(), 0);
  EXPECT_TRUE(std::string_view(third.data(), third.size()) == text);
}

TEST(MappedFile, AFileTruncatedWhileMappedFailsWith75) {
  test::TempFile f(LargeText());
  EXPECT_EQ(MapWhile(f.Path(), [&] { std::filesystem::resize_file(f.Path(), 1000); }), 75);
}

TEST(MappedFile, AFileReplacedWhileMappedFailsWith75) {
  test::TempFile f(LargeText());
  EXPECT_EQ(MapWhile(f.Path(), [&] { Replace(f.Path(), LargeText()); }), 75);
}

TEST(MappedFile, AFileRewrittenInPlaceWhileMappedFailsWith75) {
  test::TempFile f(LargeText());
  SetOldTimes(f.Path());
  EXPECT_EQ(MapWhile(f.Path(), [&] { RewriteEnd(f.Path()); }), 75);
}

TEST(MappedFile, AFileThatGrowsWhileMappedFailsWith75) {
  test::TempFile f(LargeText());
  SetOldTimes(f.Path());
  EXPECT_EQ(MapWhile(f.Path(), [&] { std::ofstream(f.Path(), std::ios::app) << "999\nmore\n"; }),
            75);
}

TEST(MappedFile, ACancelWhileMappingEndsTheParse) {
  MappingOn mapping;
  test::TempFile f(LargeText());
  test::ExpectCancelWhileLoadingEndsTheParse(f.Path());
}

TEST(MappedFile, APageLostToAShorterFileReadsAsZerosAndMarksTheBytesChanged) {
  MappingOn mapping;
  test::TempFile f(std::string(5 * kPage, 'x'));
  FileBytes bytes = FileBytes::ReadFile(f.Path());
  ASSERT_GE(bytes.FileDescriptor(), 0);
  EXPECT_TRUE(bytes.Unchanged());
  std::filesystem::resize_file(f.Path(), 100);
  // The read of a page the file no longer has would kill the process without the
  // handler.
  EXPECT_EQ(bytes.data()[3 * kPage], '\0');
  EXPECT_EQ(bytes.data()[5 * kPage - 1], '\0');
  EXPECT_EQ(bytes.data()[50], 'x');
  EXPECT_FALSE(bytes.Unchanged());
}

TEST(MappedFile, AFileRewrittenInPlaceAfterMappingMarksTheBytesChanged) {
  MappingOn mapping;
  test::TempFile f(LargeText());
  SetOldTimes(f.Path());
  FileBytes bytes = FileBytes::ReadFile(f.Path());
  EXPECT_TRUE(bytes.Unchanged());
  RewriteEnd(f.Path());
  EXPECT_FALSE(bytes.Unchanged());
}

TEST(MappedFile, AFileReplacedUnderItsNameAfterMappingLeavesTheBytesAsTheyWere) {
  MappingOn mapping;
  const std::string text = LargeText();
  test::TempFile f(text);
  FileBytes bytes = FileBytes::ReadFile(f.Path());
  Replace(f.Path(), "0\nEOF\n");
  EXPECT_TRUE(bytes.Unchanged());
  EXPECT_TRUE(std::string_view(bytes.data(), bytes.size()) == text);
}

TEST(MappedFile, PastTheMappingsWatchedAFileIsRead) {
  MappingOn mapping;
  const std::string text = LargeText();
  test::TempFile f(text);
  std::vector<FileBytes> held;
  while (held.size() < 200) {
    held.push_back(FileBytes::ReadFile(f.Path()));
    if (held.back().FileDescriptor() < 0) break;
  }
  // Some slots may be taken by others: at most 64 in all.
  ASSERT_LE(held.size(), 65u);
  EXPECT_EQ(held.back().FileDescriptor(), -1);
  EXPECT_TRUE(std::string_view(held.back().data(), held.back().size()) == text);
  held.clear();
  EXPECT_GE(FileBytes::ReadFile(f.Path()).FileDescriptor(), 0);
}

TEST(MappedFile, AParseOfAMappedFileGivesTheTextOfARead) {
  test::TempFile f(ManyLines(3000));
  const std::string read = ParseText(f.Path(), false);
  ASSERT_FALSE(read.empty());
  EXPECT_EQ(ParseText(f.Path(), true), read);
}

TEST(MappedFile, AFileShortenedDuringTheParseFailsWith75) {
  test::TempFile f(ManyLines(30000));
  std::string text;
  EXPECT_EQ(ParseWhile(
                f.Path(), [&] { std::filesystem::resize_file(f.Path(), 1000); }, text),
            75);
}

TEST(MappedFile, AFileRewrittenDuringTheParseFailsWith75) {
  test::TempFile f(ManyLines(30000));
  SetOldTimes(f.Path());
  std::string text;
  EXPECT_EQ(ParseWhile(
                f.Path(), [&] { RewriteEnd(f.Path()); }, text),
            75);
}

TEST(MappedFile, AFailureOfAFileRewrittenDuringTheParseIsThatOfTheChange) {
  const std::string drawing = ManyLines(30000);
  test::TempFile f(drawing);
  SetOldTimes(f.Path());
  std::string text;
  // The numbers of the back half turn to letters: the colour of the first entity
  // there fails to read, and the change of the file is the cause reported.
  EXPECT_EQ(ParseWhile(
                f.Path(),
                [&] {
                  std::string back = drawing.substr(drawing.size() / 2);
                  for (char& c : back) {
                    if (c >= '0' && c <= '9') c = 'x';
                  }
                  std::fstream out(f.Path(), std::ios::in | std::ios::out);
                  out.seekp(static_cast<std::streamoff>(drawing.size() / 2));
                  out << back;
                },
                text),
            75);
}

TEST(MappedFile, AFileReplacedDuringTheParseGivesTheTextOfTheFileRead) {
  const std::string drawing = ManyLines(30000);
  test::TempFile f(drawing);
  const std::string read = ParseText(f.Path(), false);
  std::string text;
  EXPECT_EQ(ParseWhile(
                f.Path(), [&] { Replace(f.Path(), ManyLines(10)); }, text),
            -1);
  EXPECT_EQ(text, read);
}

// Parses the mapped file with the change made while its pairs are built. A hook
// that takes the pump's 100 ms itself runs again at the next call: the mapping
// calls it once a megabyte (two here), the loading once a line or pair after that,
// so that the sixth call comes while the pairs are built.
int32_t ParseWhilePairsAreBuilt(const std::string& path, const std::function<void()>& change) {
  MappingOn mapping;
  Vessik_Parser parser;
  Vessik_CommonData data;
  Vessik_Progress progress;
  int calls = 0;
  SetPumpHook([&] {
    if (++calls < 6) std::this_thread::sleep_for(std::chrono::milliseconds(101));
    if (calls == 6) change();
  });
  LastPumpTick() = TickCount() - 1000;
  const int32_t number = test::FailureNumber([&] { parser.Parse2(path, data, progress); });
  SetPumpHook(nullptr);
  EXPECT_GE(calls, 6);
  return number;
}

TEST(MappedFile, AFileShortenedWhileItsPairsAreBuiltFailsWith75) {
  test::TempFile f(ManyLines(30000));
  EXPECT_EQ(
      ParseWhilePairsAreBuilt(f.Path(), [&] { std::filesystem::resize_file(f.Path(), 1000); }), 75);
}

TEST(MappedFile, AFileRewrittenWhileItsPairsAreBuiltFailsWith75) {
  const std::string drawing = ManyLines(30000);
  test::TempFile f(drawing);
  SetOldTimes(f.Path());
  // Codes too large for 32 bits from the middle on: the loading fails on them,
  // and the change of the file is the cause it reports.
  EXPECT_EQ(ParseWhilePairsAreBuilt(f.Path(),
                                    [&] {
                                      std::fstream out(f.Path(), std::ios::in | std::ios::out);
                                      out.seekp(static_cast<std::streamoff>(drawing.size() / 2));
                                      std::string codes;
                                      while (codes.size() < drawing.size() / 2 - 21)
                                        codes += "99999999999999999999\n";
                                      out << codes;
                                    }),
            75);
}

TEST(MappedFile, AMappedFileCountsAgainstTheMemoryBudget) {
  MappingOn mapping;
  const std::string drawing = ManyLines(30000);
  test::TempFile f(drawing);
  SetMemoryBudget(drawing.size() / 2);
  Vessik_Parser parser;
  Vessik_CommonData data;
  Vessik_Progress progress;
  const int32_t number = test::FailureNumber([&] { parser.Parse2(f.Path(), data, progress); });
  SetMemoryBudget(0);
  EXPECT_EQ(number, 7);
}

// A bus fault in a mapping of someone else's: the file is shortened under it and
// a lost page read.
void FaultElsewhere() {
  test::TempFile f(std::string(4 * kPage, 'y'));
  const int fd = open(f.Path().c_str(), O_RDONLY);
  auto* p = static_cast<volatile char*>(mmap(nullptr, 4 * kPage, PROT_READ, MAP_SHARED, fd, 0));
  std::filesystem::resize_file(f.Path(), 0);
  std::printf("%d\n", p[2 * kPage]);
}

// Maps a file, so that the handler is there.
void MapOnce() {
  MappingOn mapping;
  test::TempFile f(LargeText());
  FileBytes bytes = FileBytes::ReadFile(f.Path());
  if (bytes.FileDescriptor() < 0) std::abort();
}

TEST(MappedFileDeathTest, ABusFaultElsewhereStillEndsTheProcess) {
  EXPECT_DEATH(
      {
        MapOnce();
        FaultElsewhere();
      },
      "");
}

TEST(MappedFileDeathTest, ABusSignalSentStillEndsTheProcess) {
  EXPECT_DEATH(
      {
        MapOnce();
        raise(SIGBUS);
      },
      "");
}

void ExitWith42(int) {
  _exit(42);
}

TEST(MappedFileDeathTest, ABusFaultElsewhereGoesToTheHandlerThatWasThereBefore) {
  // A process of its own, in which the handler of the mappings comes after this one.
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(
      {
        struct sigaction before {};
        before.sa_handler = ExitWith42;
        sigemptyset(&before.sa_mask);
        sigaction(SIGBUS, &before, nullptr);
        MapOnce();
        FaultElsewhere();
      },
      testing::ExitedWithCode(42), "");
}

}  // namespace
}  // namespace vessik
