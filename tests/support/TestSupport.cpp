#include "support/TestSupport.h"

#include <unistd.h>

#include <atomic>
#include <clocale>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>

namespace vessik::test {

TempFile::TempFile(const std::string& content, const std::string& name) {
  static std::atomic<int> counter{0};
  auto base = std::filesystem::temp_directory_path() /
              ("vessik-test-" + std::to_string(::getpid()) + "-" + std::to_string(counter++));
  std::filesystem::create_directories(base);
  dir_ = base.string();
  path_ = (base / name).string();
  std::ofstream out(path_, std::ios::binary);
  out << content;
}

TempFile::~TempFile() {
  std::error_code ec;
  std::filesystem::remove_all(dir_, ec);
}

std::string DxfText(const std::vector<std::pair<int, std::string>>& pairs, const std::string& eol) {
  std::string s;
  for (const auto& p : pairs) {
    s += std::to_string(p.first) + eol + p.second + eol;
  }
  return s;
}

std::string Drawing(const std::vector<std::pair<int, std::string>>& entities,
                    const std::vector<std::pair<std::string, int>>& layers,
                    const std::vector<std::pair<int, std::string>>& blocks) {
  std::vector<std::pair<int, std::string>> p;
  if (!layers.empty()) {
    p.insert(p.end(), {{0, "SECTION"}, {2, "TABLES"}, {0, "TABLE"}, {2, "LAYER"}});
    for (const auto& l : layers) {
      p.insert(p.end(), {{0, "LAYER"}, {2, l.first}, {70, "0"}, {62, std::to_string(l.second)}});
    }
    p.insert(p.end(), {{0, "ENDTAB"}, {0, "ENDSEC"}});
  }
  if (!blocks.empty()) {
    p.insert(p.end(), {{0, "SECTION"}, {2, "BLOCKS"}});
    p.insert(p.end(), blocks.begin(), blocks.end());
    p.insert(p.end(), {{0, "ENDSEC"}});
  }
  p.insert(p.end(), {{0, "SECTION"}, {2, "ENTITIES"}});
  p.insert(p.end(), entities.begin(), entities.end());
  p.insert(p.end(), {{0, "ENDSEC"}, {0, "EOF"}});
  return DxfText(p);
}

namespace {

bool TrySetCommaLocale(const char* name) {
  return std::setlocale(LC_NUMERIC, name) != nullptr &&
         std::strcmp(std::localeconv()->decimal_point, ",") == 0;
}

// A German locale compiled once per process into a temporary folder, which
// setlocale then finds through LOCPATH.
bool CompileCommaLocale() {
  static const bool compiled = [] {
    auto dir =
        std::filesystem::temp_directory_path() / ("vessik-locale-" + std::to_string(::getpid()));
    std::filesystem::create_directories(dir);
    const std::string command =
        "localedef -i de_DE -f UTF-8 '" + (dir / "de_DE.UTF-8").string() + "' > /dev/null 2>&1";
    if (std::system(command.c_str()) != 0) return false;
    ::setenv("LOCPATH", dir.c_str(), 1);
    return true;
  }();
  return compiled;
}

}  // namespace

CommaLocale::CommaLocale() : saved_(std::setlocale(LC_NUMERIC, nullptr)) {
  for (const char* name : {"de_DE.UTF-8", "de_DE.utf8", "fr_FR.UTF-8", "nl_NL.UTF-8"}) {
    if (TrySetCommaLocale(name)) {
      name_ = name;
      return;
    }
  }
  if (CompileCommaLocale() && TrySetCommaLocale("de_DE.UTF-8")) name_ = "de_DE.UTF-8";
}

CommaLocale::~CommaLocale() {
  std::setlocale(LC_NUMERIC, saved_.c_str());
}

std::vector<std::vector<std::string>> Records(const std::string& text) {
  std::vector<std::vector<std::string>> out;
  size_t pos = 0;
  while (pos < text.size()) {
    size_t end = text.find("\r\n", pos);
    if (end == std::string::npos) end = text.size();
    std::string line = text.substr(pos, end - pos);
    std::vector<std::string> cols;
    size_t c = 0;
    while (c <= line.size()) {
      size_t tab = line.find('\t', c);
      if (tab == std::string::npos) {
        cols.push_back(line.substr(c));
        break;
      }
      cols.push_back(line.substr(c, tab - c));
      c = tab + 1;
    }
    // Every column is closed by a tab, so the last piece is empty.
    if (!cols.empty() && cols.back().empty()) cols.pop_back();
    out.push_back(cols);
    pos = end + 2;
  }
  return out;
}

}  // namespace vessik::test
