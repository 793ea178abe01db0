// Which files a batch converts, and where each result goes.
#pragma once

#include <string>
#include <vector>

#include "cli/BatchOptions.h"

namespace vessik::cli {

// One drawing of a batch.
struct DrawingFile {
  std::string path;    // as the drawing is read and named in messages
  std::string output;  // the file its result goes to
  // Set when the drawing fails before it is read: the rest of its failure line,
  // after "vessik: PATH: ".
  std::string failure;
};

// The drawings of the arguments, in order: a folder gives every .dxf file below it
// (extension in any case, subfolders included) sorted by their paths below the
// folder; anything else is taken as a drawing, even when it does not exist, so
// that reading it tells what is wrong. A folder that cannot be walked to the end
// gives one failed entry for itself.
//
// A drawing's result is outputDir plus its path below the folder it was found in,
// or its file name when it was named directly, with the extension replaced by
// that of the kind. A drawing whose result another one before it has claimed
// fails without being read, rather than overwriting that result.
std::vector<DrawingFile> FindDrawings(const std::vector<std::string>& inputs,
                                      const std::string& outputDir, OutputKind kind);

// ".txt" or ".svg".
const char* OutputExtension(OutputKind kind);

}  // namespace vessik::cli
