// Every drawing of the shared corpus goes through Parse2 at the tool's defaults
// and at fine settings, and must give exactly its pinned outcome: the same text
// byte for byte (by record count and SHA-256), the same layers, or the same
// failure number. The pins were made independently of this code, so any change
// of the default text shows here, named by drawing and setting.
#include "support/Corpus.h"

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <set>
#include <string>
#include <vector>

#include "support/Settings.h"

namespace vessik {
namespace {

using test::Outcome;
using test::PinnedDrawing;

// The drawings of the manifest, a path relative to the corpus folder each.
std::set<std::string> ManifestFiles() {
  std::set<std::string> files;
  std::ifstream in(test::CorpusDir() + "/MANIFEST.tsv");
  std::string line;
  bool header = true;
  while (std::getline(in, line)) {
    if (!header && line.find('\t') != std::string::npos)
      files.insert(line.substr(0, line.find('\t')));
    header = false;
  }
  return files;
}

void ExpectOutcome(const PinnedDrawing& d, const char* setting, const Outcome& actual,
                   const Outcome& pinned) {
  EXPECT_TRUE(actual == pinned) << d.file << " at " << setting << ": got " << test::Describe(actual)
                                << ", pinned " << test::Describe(pinned);
}

class Corpus : public testing::TestWithParam<PinnedDrawing> {};

TEST_P(Corpus, GivesItsPinnedOutcome) {
  const PinnedDrawing& d = GetParam();
  const std::string path = test::CorpusDir() + "/" + d.file;
  ASSERT_TRUE(std::filesystem::exists(path)) << path;

  const auto start = std::chrono::steady_clock::now();
  Outcome layers;
  ExpectOutcome(d, "defaults", test::ParseOutcome(path, test::ToolDefaults(), &layers), d.defaults);
  ExpectOutcome(d, "layers", layers, d.layers);
  ExpectOutcome(d, "fine", test::ParseOutcome(path, test::FineSettings()), d.fine);
  // No drawing of the corpus may take long, even at fine settings.
  const double seconds =
      std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  EXPECT_LT(seconds, 120.0) << d.file;
}

INSTANTIATE_TEST_SUITE_P(Files, Corpus, testing::ValuesIn(test::PinnedDrawings()),
                         test::PinnedDrawingName);
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(Corpus);

TEST(CorpusPins, EveryManifestDrawingIsPinned) {
  if (!std::filesystem::exists(test::CorpusDir() + "/EXPECTED.tsv")) {
    VESSIK_SKIP_OR_FAIL("corpus not found at " << test::CorpusDir());
  }
  std::set<std::string> pinned;
  for (const PinnedDrawing& d : test::PinnedDrawings()) pinned.insert(d.file);
  EXPECT_GT(pinned.size(), 300u);
  EXPECT_EQ(pinned, ManifestFiles());
}

}  // namespace
}  // namespace vessik
