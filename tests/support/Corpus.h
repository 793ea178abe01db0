// The shared drawing corpus and its pinned outcomes, for the tests that read it.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include "parser/parser.h"
#include "support/Settings.h"

namespace vessik::test {

// True when the environment variable VESSIK_NO_SKIP is set to anything but "" or
// "0": CI sets it, so that a missing corpus or an unbuilt tool fails the run
// instead of skipping tests quietly.
bool SkipsAreFailures();

// Skips the running test with the message, or fails it when skips are failures.
#define VESSIK_SKIP_OR_FAIL(message)                   \
  do {                                                 \
    if (::vessik::test::SkipsAreFailures()) {          \
      FAIL() << message << " (VESSIK_NO_SKIP is set)"; \
    } else {                                           \
      GTEST_SKIP() << message;                         \
    }                                                  \
  } while (0)

// The corpus folder: VESSIK_CORPUS_DIR from the environment, else the one the
// build was configured with.
std::string CorpusDir();

// One pinned outcome: the text (record or layer count and SHA-256 of the exact
// output) or the failure number. A failed parse pins no layer output.
struct Outcome {
  bool failed = false;
  int32_t number = 0;
  long count = 0;
  std::string sha256;
  bool operator==(const Outcome&) const = default;
};
std::string Describe(const Outcome& outcome);

// The pinned outcomes of one drawing, from EXPECTED.tsv.
struct PinnedDrawing {
  std::string file;  // relative to the corpus folder
  Outcome defaults;
  Outcome fine;
  Outcome layers;
};

// gtest names a failing drawing by its file.
inline void PrintTo(const PinnedDrawing& d, std::ostream* os) {
  *os << d.file;
}

// Every drawing of EXPECTED.tsv, in its order; empty when the file is missing.
std::vector<PinnedDrawing> PinnedDrawings();

// A test name for a drawing of a parameterised corpus test: its index and its
// file, with every character that is no letter or digit as "_".
std::string PinnedDrawingName(const testing::TestParamInfo<PinnedDrawing>& info);

// Lower-case hexadecimal SHA-256 of the bytes.
std::string Sha256Hex(std::string_view bytes);

// The layers as the tool's --layers prints them: name TAB colour number TAB RGB LF.
std::string LayersText(const Vessik_Layers& layers);

// Parses the drawing with the settings and returns what happened; the layer
// outcome of the same parse goes to *layers when given.
Outcome ParseOutcome(const std::string& path, Vessik_CommonData data, Outcome* layers = nullptr);

}  // namespace vessik::test
