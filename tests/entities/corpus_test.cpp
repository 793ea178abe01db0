// Every drawing of the shared corpus goes through Parse2: each gives a text or a
// numbered failure, and never a crash, a hang or a sanitizer report.
#include <gtest/gtest.h>

#include <cctype>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "EntityTestUtil.h"

namespace vessik {
namespace {

// The corpus beside the repository; a worktree one level deeper finds it one
// folder further up, and VESSIK_CORPUS_DIR in the environment overrides both.
std::string CorpusDir() {
  namespace fs = std::filesystem;
  if (const char* env = std::getenv("VESSIK_CORPUS_DIR"); env != nullptr && *env != '\0') {
    return env;
  }
  const fs::path configured = VESSIK_CORPUS_DIR;
  const fs::path deeper = configured.parent_path().parent_path() / ".." / "shared" / "corpus";
  if (!fs::exists(configured) && fs::exists(deeper)) return deeper.lexically_normal().string();
  return configured.string();
}

// The file column of the manifest, a path relative to the corpus folder.
std::vector<std::string> CorpusFiles() {
  std::vector<std::string> files;
  std::ifstream in(CorpusDir() + "/MANIFEST.tsv");
  std::string line;
  bool header = true;
  while (std::getline(in, line)) {
    if (header) {
      header = false;
      continue;
    }
    std::string file = line.substr(0, line.find('\t'));
    if (!file.empty()) files.push_back(file);
  }
  return files;
}

class Corpus : public testing::TestWithParam<std::string> {};

TEST_P(Corpus, GivesTextOrNumberedFailure) {
  const std::string path = CorpusDir() + "/" + GetParam();
  ASSERT_TRUE(std::filesystem::exists(path)) << path;
  Vessik_Parser parser;
  Vessik_CommonData data = test::TestData();
  Vessik_Progress progress;
  std::string text;
  try {
    text = parser.Parse2(path, data, progress);
  } catch (const Vessik_Error& e) {
    EXPECT_NE(e.Number(), 0) << e.Description();
    return;
  }
  // Whatever comes back is whole records of the three kinds.
  for (const auto& rec : test::Records(text)) {
    ASSERT_EQ(rec.size(), 17u);
    EXPECT_TRUE(rec[1] == "83" || rec[1] == "66" || rec[1] == "75") << rec[1];
  }
  if (!text.empty()) {
    EXPECT_EQ(text.substr(text.size() - 3), "\t\r\n");
  }
}

std::string TestName(const testing::TestParamInfo<std::string>& info) {
  std::string name = "f";
  name += std::to_string(info.index);
  name += '_';
  for (char c : info.param) {
    name += (std::isalnum(static_cast<unsigned char>(c)) != 0) ? c : '_';
  }
  return name;
}

INSTANTIATE_TEST_SUITE_P(Files, Corpus, testing::ValuesIn(CorpusFiles()), TestName);
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(Corpus);

TEST(CorpusManifest, ListsFiles) {
  if (!std::filesystem::exists(CorpusDir() + "/MANIFEST.tsv")) {
    GTEST_SKIP() << "corpus directory not found at " << CorpusDir();
  }
  EXPECT_GT(CorpusFiles().size(), 300u);
}

}  // namespace
}  // namespace vessik
