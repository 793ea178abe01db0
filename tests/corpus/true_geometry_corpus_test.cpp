// Every corpus drawing in the true-geometry mode: it parses (under the sanitizers
// too) and fails exactly where the default text fails, but for the drawings whose
// failure comes from a reading the mode does not share.
#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <string>

#include "parser/parser.h"
#include "support/Corpus.h"
#include "support/Settings.h"

namespace vessik {
namespace {

using test::PinnedDrawing;

const std::map<std::string, std::string> kReadsWhereTheDefaultFails = {
    {"dxf-npm/test__resources__issue50.dxf",
     "the default fit of its spline gives up (0x80040065); the mode's fit meets the tolerance"},
    {"ezdxf/examples_dxf__uncommon.dxf",
     "in the default text a value SPLINE starts a false spline without knots (9); the mode "
     "starts entities at group 0 only"},
};

class CorpusTrueGeometry : public testing::TestWithParam<PinnedDrawing> {};

TEST_P(CorpusTrueGeometry, ParsesAndFailsAsTheDefaultText) {
  const PinnedDrawing& d = GetParam();
  const std::string path = test::CorpusDir() + "/" + d.file;
  ASSERT_TRUE(std::filesystem::exists(path)) << path;
  SetTrueGeometry(true);
  Vessik_Parser parser;
  Vessik_CommonData data = test::ToolDefaults();
  Vessik_Progress progress;
  bool failed = false;
  int32_t number = 0;
  try {
    parser.Parse2(path, data, progress);
  } catch (const Vessik_Error& e) {
    failed = true;
    number = e.Number();
  }
  SetTrueGeometry(false);
  if (kReadsWhereTheDefaultFails.count(d.file) != 0) {
    EXPECT_TRUE(d.defaults.failed) << d.file;
    EXPECT_FALSE(failed) << d.file << ": " << number;
    return;
  }
  EXPECT_EQ(failed, d.defaults.failed) << d.file << ": " << number;
  if (failed) {
    EXPECT_EQ(number, d.defaults.number) << d.file;
  }
}

INSTANTIATE_TEST_SUITE_P(Files, CorpusTrueGeometry, testing::ValuesIn(test::PinnedDrawings()),
                         test::PinnedDrawingName);
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(CorpusTrueGeometry);

}  // namespace
}  // namespace vessik
