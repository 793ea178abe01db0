#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>

#include "parser/FileBytes.h"
#include "parser/Vessik_Utils.h"
#include "parser/parser.h"
#include "support/FileChanges.h"
#include "support/TestSupport.h"

namespace vessik {
namespace {

using test::LargeText;
using test::SetOldTimes;

// Reads the file while the pump runs the change once, between the first two pieces.
int32_t ReadWhile(const std::string& path, const std::function<void()>& change) {
  return test::LoadWhile(path, change);
}

// Large enough to be read by two threads: numbered lines, so that a piece read to
// the wrong place shows.
std::string SplitReadText() {
  std::string text;
  text.reserve(41 << 20);
  for (int n = 0; text.size() < (40u << 20) + 12345; ++n) {
    text += std::to_string(n);
    text += '\n';
  }
  return text;
}

TEST(FileBytes, ReadsAWholeLargeFile) {
  const std::string text = LargeText();
  test::TempFile f(text);
  FileBytes bytes = FileBytes::ReadFile(f.Path());
  ASSERT_EQ(bytes.size(), text.size());
  EXPECT_EQ(std::string(bytes.data(), bytes.size()), text);
}

TEST(FileBytes, ReadsAFileLargeEnoughToBeReadInTwoHalves) {
  const std::string text = SplitReadText();
  test::TempFile f(text);
  FileBytes bytes = FileBytes::ReadFile(f.Path());
  ASSERT_EQ(bytes.size(), text.size());
  EXPECT_TRUE(std::string_view(bytes.data(), bytes.size()) == text);
}

TEST(FileBytes, AFileTruncatedWhileReadInTwoHalvesFailsWith75) {
  test::TempFile f(SplitReadText());
  EXPECT_EQ(ReadWhile(f.Path(), [&] { std::filesystem::resize_file(f.Path(), 1000); }), 75);
}

TEST(FileBytes, AFileThatGrowsWhileReadInTwoHalvesFailsWith75) {
  test::TempFile f(SplitReadText());
  SetOldTimes(f.Path());
  EXPECT_EQ(ReadWhile(f.Path(), [&] { std::ofstream(f.Path(), std::ios::app) << "999\nmore\n"; }),
            75);
}

TEST(FileBytes, ACancelWhileReadingInTwoHalvesEndsTheParse) {
  test::TempFile f(SplitReadText());
  // The host's messages run between the pieces of the front half.
  test::ExpectCancelWhileLoadingEndsTheParse(f.Path());
}

TEST(FileBytes, AFileTruncatedWhileReadFailsWith75) {
  test::TempFile f(LargeText());
  EXPECT_EQ(ReadWhile(f.Path(), [&] { std::filesystem::resize_file(f.Path(), 1000); }), 75);
}

TEST(FileBytes, AFileReplacedWhileReadFailsWith75) {
  test::TempFile f(LargeText());
  const std::string other = f.Path() + ".new";
  EXPECT_EQ(ReadWhile(f.Path(),
                      [&] {
                        std::ofstream(other) << LargeText();
                        std::filesystem::rename(other, f.Path());
                      }),
            75);
}

TEST(FileBytes, AFileRewrittenInPlaceWhileReadFailsWith75) {
  const std::string text = LargeText();
  test::TempFile f(text);
  SetOldTimes(f.Path());
  // The same length, other bytes at the end: only the time of change tells.
  EXPECT_EQ(ReadWhile(f.Path(),
                      [&] {
                        std::fstream out(f.Path(), std::ios::in | std::ios::out);
                        out.seekp(-10, std::ios::end);
                        out << "0\nEOF\n\n\n\n";
                      }),
            75);
}

TEST(FileBytes, AFileThatGrowsWhileReadFailsWith75) {
  test::TempFile f(LargeText());
  SetOldTimes(f.Path());
  EXPECT_EQ(ReadWhile(f.Path(), [&] { std::ofstream(f.Path(), std::ios::app) << "999\nmore\n"; }),
            75);
}

TEST(FileBytes, AnUnreadableFileFailsWith75) {
  test::TempFile f("0\nSECTION\n");
  std::filesystem::permissions(f.Path(), std::filesystem::perms::none);
  // The superuser may read any file whatever its mode; a file of the kernel's that
  // is for writing only refuses even it.
  const std::string path = geteuid() == 0 ? "/proc/sys/vm/drop_caches" : f.Path();
  ASSERT_TRUE(std::filesystem::is_regular_file(path));
  EXPECT_EQ(test::FailureNumber([&] { FileBytes::ReadFile(path); }), 75);
}

TEST(FileBytes, Parse2OfAFileTruncatedWhileReadFailsWith75) {
  test::TempFile f(LargeText());
  Vessik_Parser parser;
  Vessik_CommonData data;
  Vessik_Progress progress;
  SetPumpHook([&] { std::filesystem::resize_file(f.Path(), 10); });
  LastPumpTick() = TickCount() - 1000;
  EXPECT_EQ(test::FailureNumber([&] { parser.Parse2(f.Path(), data, progress); }), 75);
  SetPumpHook(nullptr);
}

}  // namespace
}  // namespace vessik
