// Helpers shared by the test programs: temporary drawings and group pairs.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "parser/Vessik_Error.h"

namespace vessik::test {

// A file in a fresh temporary folder, removed when the object ends.
class TempFile {
 public:
  explicit TempFile(const std::string& content, const std::string& name = "drawing.dxf");
  ~TempFile();
  TempFile(const TempFile&) = delete;
  TempFile& operator=(const TempFile&) = delete;
  const std::string& Path() const { return path_; }

 private:
  std::string dir_;
  std::string path_;
};

// Joins code and value lines into DXF text with the given line end.
std::string DxfText(const std::vector<std::pair<int, std::string>>& pairs,
                    const std::string& eol = "\n");

// A whole drawing: ENTITIES section around the given pairs, optionally with a
// TABLES section of layers (name, colour) and a BLOCKS section (raw pairs).
std::string Drawing(const std::vector<std::pair<int, std::string>>& entities,
                    const std::vector<std::pair<std::string, int>>& layers = {},
                    const std::vector<std::pair<int, std::string>>& blocks = {});

// Switches LC_NUMERIC to a locale whose decimal separator is a comma and returns
// its name; restores the previous one when the object ends. When no such locale
// is installed, one is compiled into a temporary folder (localedef, with the
// sources of the "locales" package).
class CommaLocale {
 public:
  CommaLocale();
  ~CommaLocale();
  CommaLocale(const CommaLocale&) = delete;
  CommaLocale& operator=(const CommaLocale&) = delete;
  // Empty when no such locale could be had.
  const std::string& Name() const { return name_; }

 private:
  std::string saved_;
  std::string name_;
};

// The number of the library failure the call raises; a test failure when it
// raises none.
template <class F>
int32_t FailureNumber(F&& f) {
  try {
    f();
  } catch (const Vessik_Error& e) {
    return e.Number();
  }
  ADD_FAILURE() << "no failure raised";
  return 0;
}

// Splits the text of Parse2 into records and each record into its 17 columns.
std::vector<std::vector<std::string>> Records(const std::string& text);

}  // namespace vessik::test
