// The text handed to a sink as it is made, on every drawing of the corpus: the
// pieces joined are the pinned text, or the parse fails with the pinned failure.
// The curves are fitted one at a time by the reading thread here, so that this and
// the main corpus test (a curve thread per core) pin both ways of fitting; and the
// pairs of every file are built by two threads, as only large files are there.
#include <gtest/gtest.h>
#include <openssl/evp.h>

#include <algorithm>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>

#include "parser/GroupPairs.h"
#include "parser/Vessik_Hooks.h"
#include "parser/parser.h"
#include "support/Corpus.h"
#include "support/Settings.h"

namespace vessik {
namespace {

using test::Outcome;
using test::PinnedDrawing;

// Counts the lines and hashes the bytes as they come, holding none of them.
class HashingSink : public TextSink {
 public:
  HashingSink() : md_(EVP_MD_CTX_new(), EVP_MD_CTX_free) {
    EVP_DigestInit_ex(md_.get(), EVP_sha256(), nullptr);
  }
  void Write(std::string_view bytes) override {
    lines_ += static_cast<long>(std::count(bytes.begin(), bytes.end(), '\n'));
    EVP_DigestUpdate(md_.get(), bytes.data(), bytes.size());
  }
  Outcome Finish() {
    unsigned char digest[EVP_MAX_MD_SIZE];
    unsigned int length = 0;
    EVP_DigestFinal_ex(md_.get(), digest, &length);
    static const char kHex[] = "0123456789abcdef";
    Outcome o;
    o.count = lines_;
    for (unsigned int i = 0; i < length; ++i) {
      o.sha256 += kHex[digest[i] >> 4];
      o.sha256 += kHex[digest[i] & 15];
    }
    return o;
  }

 private:
  std::unique_ptr<EVP_MD_CTX, void (*)(EVP_MD_CTX*)> md_;
  long lines_ = 0;
};

class CorpusStreamed : public testing::TestWithParam<PinnedDrawing> {};

TEST_P(CorpusStreamed, PiecesMakeThePinnedText) {
  const PinnedDrawing& d = GetParam();
  const std::string path = test::CorpusDir() + "/" + d.file;
  ASSERT_TRUE(std::filesystem::exists(path)) << path;
  SetCurveThreads(1);
  SetSplitLoadFrom(1);
  Vessik_Parser parser;
  Vessik_CommonData data = test::ToolDefaults();
  Vessik_Progress progress;
  HashingSink sink;
  Outcome outcome;
  try {
    EXPECT_TRUE(parser.Parse2To(path, &data, &progress, sink));
    outcome = sink.Finish();
  } catch (const Vessik_Error& e) {
    outcome.failed = true;
    outcome.number = e.Number();
  }
  SetCurveThreads(0);
  SetSplitLoadFrom(0);
  EXPECT_TRUE(outcome == d.defaults)
      << d.file << ": got " << test::Describe(outcome) << ", pinned " << test::Describe(d.defaults);
}

INSTANTIATE_TEST_SUITE_P(Files, CorpusStreamed, testing::ValuesIn(test::PinnedDrawings()),
                         test::PinnedDrawingName);
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(CorpusStreamed);

}  // namespace
}  // namespace vessik
