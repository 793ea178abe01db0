#include "cli/DrawingFiles.h"

#include <algorithm>
#include <filesystem>
#include <map>
#include <string>
#include <system_error>
#include <vector>

#include "cli/Output.h"
#include "parser/Vessik_Error.h"

namespace vessik::cli {

namespace fs = std::filesystem;

namespace {

bool HasDrawingExtension(const fs::path& file) {
  const std::string ext = file.extension().string();
  if (ext.size() != 4 || ext[0] != '.') return false;
  std::string lower = ext;
  for (char& c : lower) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  }
  return lower == ".dxf";
}

// A drawing before its output is known: where it is read, and where its result
// goes below the output folder.
struct Found {
  std::string path;
  fs::path relative;
  std::string failure;
};

// The .dxf files below the folder, sorted by their paths below it, so that the
// order never depends on the file system's. Directories are walked, not taken,
// even when their names end in .dxf; links to folders are not followed, which
// keeps a link loop from walking forever.
void FindInFolder(const std::string& folder, std::vector<Found>& found) {
  std::vector<fs::path> relatives;
  std::error_code ec;
  fs::recursive_directory_iterator it(folder, ec);
  const fs::recursive_directory_iterator end;
  while (!ec && it != end) {
    std::error_code entryEc;
    if (!it->is_directory(entryEc) && HasDrawingExtension(it->path())) {
      relatives.push_back(it->path().lexically_relative(folder));
    }
    it.increment(ec);
  }
  std::sort(relatives.begin(), relatives.end(), [](const fs::path& a, const fs::path& b) {
    return a.generic_string() < b.generic_string();
  });
  for (const fs::path& relative : relatives) {
    found.push_back({(fs::path(folder) / relative).string(), relative, {}});
  }
  if (ec) {
    // The walk stopped early: say so for the folder, keeping what it found.
    const Vessik_Error error(errnum::PathFileAccess, {}, PlatformErrorText(errnum::PathFileAccess));
    found.push_back({folder, {}, ErrorText(error)});
  }
}

}  // namespace

const char* OutputExtension(OutputKind kind) {
  return kind == OutputKind::Svg ? ".svg" : ".txt";
}

std::vector<DrawingFile> FindDrawings(const std::vector<std::string>& inputs,
                                      const std::string& outputDir, OutputKind kind) {
  std::vector<Found> found;
  for (const std::string& input : inputs) {
    std::error_code ec;
    if (fs::is_directory(input, ec)) {
      FindInFolder(input, found);
    } else {
      found.push_back({input, fs::path(input).filename(), {}});
    }
  }

  std::vector<DrawingFile> drawings;
  std::map<std::string, std::string> claimedBy;  // output path -> drawing that has it
  for (Found& f : found) {
    DrawingFile d;
    d.path = f.path;
    d.failure = std::move(f.failure);
    // A name without a file name part ("folder/" that is no folder) leaves the
    // output empty: reading it fails, and so would writing a result.
    if (d.failure.empty() && !f.relative.empty()) {
      d.output = (fs::path(outputDir) / f.relative.replace_extension(OutputExtension(kind)))
                     .lexically_normal()
                     .string();
      const auto [it, isNew] = claimedBy.emplace(d.output, d.path);
      if (!isNew) d.failure = "not converted: " + d.output + " is the result of " + it->second;
    }
    drawings.push_back(std::move(d));
  }
  return drawings;
}

}  // namespace vessik::cli
