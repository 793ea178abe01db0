#include "support/Corpus.h"

#include <openssl/evp.h>

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>

namespace vessik::test {

bool SkipsAreFailures() {
  const char* v = std::getenv("VESSIK_NO_SKIP");
  return v != nullptr && *v != '\0' && std::string_view(v) != "0";
}

std::string CorpusDir() {
  if (const char* env = std::getenv("VESSIK_CORPUS_DIR"); env != nullptr && *env != '\0') {
    return env;
  }
  return VESSIK_CORPUS_DIR;
}

std::string Describe(const Outcome& o) {
  if (o.failed) return "error " + std::to_string(o.number);
  return "text of " + std::to_string(o.count) + " lines, SHA-256 " + o.sha256;
}

namespace {

std::vector<std::string> Columns(const std::string& line) {
  std::vector<std::string> cols;
  std::stringstream ss(line);
  std::string col;
  while (std::getline(ss, col, '\t')) cols.push_back(col);
  return cols;
}

// outcome, count, sha256: "text N HASH" or "error NUMBER -" ("error - -" for the
// layers of a drawing that fails).
Outcome OutcomeOf(const std::vector<std::string>& cols) {
  Outcome o;
  if (cols.size() < 5) return o;
  o.failed = cols[2] == "error";
  if (o.failed) {
    if (cols[3] != "-") o.number = static_cast<int32_t>(std::stol(cols[3]));
  } else {
    o.count = std::stol(cols[3]);
    o.sha256 = cols[4];
  }
  return o;
}

}  // namespace

std::string PinnedDrawingName(const testing::TestParamInfo<PinnedDrawing>& info) {
  std::string name = "f" + std::to_string(info.index) + "_";
  for (char c : info.param.file) {
    name += (std::isalnum(static_cast<unsigned char>(c)) != 0) ? c : '_';
  }
  return name;
}

std::vector<PinnedDrawing> PinnedDrawings() {
  std::vector<PinnedDrawing> drawings;
  std::ifstream in(CorpusDir() + "/EXPECTED.tsv");
  std::string line;
  bool header = true;
  while (std::getline(in, line)) {
    if (header) {
      header = false;
      continue;
    }
    const std::vector<std::string> cols = Columns(line);
    if (cols.size() < 5) continue;
    if (drawings.empty() || drawings.back().file != cols[0])
      drawings.push_back({cols[0], {}, {}, {}});
    PinnedDrawing& d = drawings.back();
    if (cols[1] == "defaults") d.defaults = OutcomeOf(cols);
    if (cols[1] == "fine") d.fine = OutcomeOf(cols);
    if (cols[1] == "layers") d.layers = OutcomeOf(cols);
  }
  return drawings;
}

std::string Sha256Hex(std::string_view bytes) {
  unsigned char digest[EVP_MAX_MD_SIZE];
  unsigned int length = 0;
  EVP_Digest(bytes.data(), bytes.size(), digest, &length, EVP_sha256(), nullptr);
  std::string hex;
  char buf[3];
  for (unsigned int i = 0; i < length; ++i) {
    std::snprintf(buf, sizeof buf, "%02x", digest[i]);
    hex += buf;
  }
  return hex;
}

std::string LayersText(const Vessik_Layers& layers) {
  std::string text;
  for (const auto& layer : layers) {
    if (!layer) continue;
    text += layer->Name;
    text += '\t';
    text += std::to_string(layer->Color ? layer->Color->ColorACI() : 0);
    text += '\t';
    text += std::to_string(layer->Color ? layer->Color->ColorRGB() : 0);
    text += '\n';
  }
  return text;
}

Outcome ParseOutcome(const std::string& path, Vessik_CommonData data, Outcome* layers) {
  Vessik_Parser parser;
  Vessik_Progress progress;
  Outcome o;
  std::string text;
  try {
    text = parser.Parse2(path, data, progress);
  } catch (const Vessik_Error& e) {
    o.failed = true;
    o.number = e.Number();
    if (layers != nullptr) *layers = Outcome{true, 0, 0, {}};
    return o;
  }
  o.count = static_cast<long>(std::count(text.begin(), text.end(), '\n'));
  o.sha256 = Sha256Hex(text);
  if (layers != nullptr) {
    const std::string layerText = LayersText(parser.Layers());
    *layers =
        Outcome{false, 0, static_cast<long>(std::count(layerText.begin(), layerText.end(), '\n')),
                Sha256Hex(layerText)};
  }
  return o;
}

}  // namespace vessik::test
