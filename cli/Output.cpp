#include "cli/Output.h"

#include <cstdint>
#include <cstdio>
#include <memory>

namespace vessik::cli {

std::string LayersText(const Vessik_Layers& layers) {
  std::string text;
  for (const auto& layer : layers) {
    if (!layer) continue;
    const int32_t aci = layer->Color ? layer->Color->ColorACI() : 0;
    const int32_t rgb = layer->Color ? layer->Color->ColorRGB() : 0;
    text += layer->Name;
    text += '\t';
    text += std::to_string(aci);
    text += '\t';
    text += std::to_string(rgb);
    text += '\n';
  }
  return text;
}

namespace {

struct FileCloser {
  void operator()(std::FILE* f) const { std::fclose(f); }
};

bool WriteAll(std::FILE* f, const std::string& text) {
  if (!text.empty() && std::fwrite(text.data(), 1, text.size(), f) != text.size()) return false;
  return std::fflush(f) == 0 && std::ferror(f) == 0;
}

}  // namespace

void WriteOutput(const std::string& text, const std::string& file) {
  if (file.empty()) {
    if (!WriteAll(stdout, text)) RaisePlatformError(errnum::PathFileAccess);
    return;
  }
  std::unique_ptr<std::FILE, FileCloser> f(std::fopen(file.c_str(), "wb"));
  if (!f) RaisePlatformError(errnum::PathFileAccess);
  if (!WriteAll(f.get(), text)) RaisePlatformError(errnum::PathFileAccess);
  if (std::fclose(f.release()) != 0) RaisePlatformError(errnum::PathFileAccess);
}

std::string ErrorText(const Vessik_Error& error) {
  char hex[16];
  std::snprintf(hex, sizeof hex, "%08X",
                static_cast<unsigned>(static_cast<uint32_t>(error.Number())));
  std::string description = error.Description();
  // The failure is told on exactly one line.
  for (char& c : description) {
    if (c == '\n' || c == '\r') c = ' ';
  }
  return "error " + std::to_string(error.Number()) + " (0x" + hex + "): " + description;
}

std::string ErrorLine(const Vessik_Error& error) {
  return "vessik: " + ErrorText(error) + "\n";
}

}  // namespace vessik::cli
