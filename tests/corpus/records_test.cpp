// The records as numbers, on every drawing of the corpus: their text is the
// pinned text, and each record's layer index names the layer it prints.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "parser/parser.h"
#include "support/Corpus.h"
#include "support/Settings.h"

namespace vessik {
namespace {

using test::Outcome;
using test::PinnedDrawing;

class CorpusRecords : public testing::TestWithParam<PinnedDrawing> {};

TEST_P(CorpusRecords, TextIsThePinnedText) {
  const PinnedDrawing& d = GetParam();
  const std::string path = test::CorpusDir() + "/" + d.file;
  ASSERT_TRUE(std::filesystem::exists(path)) << path;
  Vessik_Parser parser;
  Vessik_CommonData data = test::ToolDefaults();
  Vessik_Progress progress;
  Outcome outcome;
  try {
    const Vessik_Records records = ParseRecords(parser, path, data, progress);
    const std::string text = records.Text();
    outcome.count = static_cast<long>(records.size());
    outcome.sha256 = test::Sha256Hex(text);
    const Vessik_Layers layers = parser.Layers();
    for (size_t i = 0; i < records.size(); ++i) {
      const Vessik_Record& r = records.Items[i];
      const std::string_view expected =
          layers.empty() ? std::string_view("NoName")
                         : std::string_view(layers.at(static_cast<size_t>(r.LayerId))->Name);
      ASSERT_EQ(records.LayerName(i), expected) << d.file << " record " << i;
    }
  } catch (const Vessik_Error& e) {
    outcome.failed = true;
    outcome.number = e.Number();
  }
  EXPECT_TRUE(outcome == d.defaults)
      << d.file << ": got " << test::Describe(outcome) << ", pinned " << test::Describe(d.defaults);
}

INSTANTIATE_TEST_SUITE_P(Files, CorpusRecords, testing::ValuesIn(test::PinnedDrawings()),
                         test::PinnedDrawingName);
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(CorpusRecords);

}  // namespace
}  // namespace vessik
