// Every drawing of the shared corpus that holds an ELLIPSE or a SPLINE is parsed
// at tolerance 0.01: it must print, or fail with one of the library's failures,
// in reasonable time.
#include <gtest/gtest.h>

#include <cctype>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "parser/Vessik_CommonData.h"
#include "parser/Vessik_Error.h"
#include "parser/Vessik_Parser.h"
#include "parser/Vessik_Progress.h"

namespace vessik {
namespace {

// The build's corpus folder; a worktree that sits elsewhere can name the folder
// in the environment variable VESSIK_CORPUS_DIR instead.
std::string CorpusDir() {
  const char* env = std::getenv("VESSIK_CORPUS_DIR");
  if (env != nullptr && *env != '\0') return env;
  return VESSIK_CORPUS_DIR;
}

const std::string kCorpusDir = CorpusDir();

// The file names of the manifest rows with an ELLIPSE or SPLINE count above 0;
// a single empty name when the corpus is not there.
std::vector<std::string> CurveFiles() {
  std::vector<std::string> files;
  std::ifstream manifest(kCorpusDir + "/MANIFEST.tsv");
  std::string line;
  int ellipseCol = -1;
  int splineCol = -1;
  bool header = true;
  while (std::getline(manifest, line)) {
    std::vector<std::string> cols;
    std::stringstream ss(line);
    std::string col;
    while (std::getline(ss, col, '\t')) cols.push_back(col);
    if (header) {
      for (size_t i = 0; i < cols.size(); ++i) {
        if (cols[i] == "ELLIPSE") ellipseCol = static_cast<int>(i);
        if (cols[i] == "SPLINE") splineCol = static_cast<int>(i);
      }
      header = false;
      continue;
    }
    if (ellipseCol < 0 || splineCol < 0) break;
    if (static_cast<int>(cols.size()) <= std::max(ellipseCol, splineCol)) continue;
    if (std::stol(cols[static_cast<size_t>(ellipseCol)]) > 0 ||
        std::stol(cols[static_cast<size_t>(splineCol)]) > 0) {
      files.push_back(cols[0]);
    }
  }
  if (files.empty()) files.push_back("");
  return files;
}

bool KnownFailure(int32_t n) {
  static const std::set<int32_t> known{5,
                                       6,
                                       7,
                                       9,
                                       11,
                                       13,
                                       28,
                                       53,
                                       75,
                                       91,
                                       errnum::SectionNotFound,
                                       errnum::ParsingFailed,
                                       errnum::InsertComponent,
                                       errnum::TooManyIterations,
                                       errnum::InvalidSpan};
  return known.count(n) > 0;
}

class CurveCorpus : public ::testing::TestWithParam<std::string> {};

TEST_P(CurveCorpus, PrintsOrFailsCleanly) {
  const std::string& name = GetParam();
  if (name.empty()) GTEST_SKIP() << "corpus not found at " << kCorpusDir;
  const std::string path = kCorpusDir + "/" + name;
  if (!std::filesystem::exists(path)) GTEST_SKIP() << "missing corpus file " << path;

  Vessik_Parser parser;
  Vessik_CommonData data;
  data.Tolerance = 0.01;
  Vessik_Progress progress;
  const auto start = std::chrono::steady_clock::now();
  try {
    std::string text = parser.Parse2(path, data, progress);
    // Every record ends in CR LF.
    if (!text.empty()) {
      EXPECT_EQ(text.substr(text.size() - 2), "\r\n");
    }
  } catch (const Vessik_Error& e) {
    EXPECT_TRUE(KnownFailure(e.Number())) << e.Number() << " " << e.Description();
    RecordProperty("failure", std::to_string(e.Number()) + " " + e.Description());
  }
  const double seconds =
      std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  EXPECT_LT(seconds, 120.0) << name;
}

std::string TestName(const ::testing::TestParamInfo<std::string>& info) {
  if (info.param.empty()) return "CorpusAbsent";
  std::string s;
  for (char c : info.param) s += std::isalnum(static_cast<unsigned char>(c)) ? c : '_';
  return s + "_" + std::to_string(info.index);
}

INSTANTIATE_TEST_SUITE_P(Files, CurveCorpus, ::testing::ValuesIn(CurveFiles()), TestName);

}  // namespace
}  // namespace vessik
