// Writing a file so that it appears whole or not at all.
#pragma once

#include <sys/types.h>

#include <string>

namespace vessik::cli {

// The permissions a new file gets under the process's umask (0666 less the mask).
// Reads the umask by setting it, so call it before other threads make files.
mode_t NewFileMode();

// Writes the bytes to a temporary file in the file's folder (made, with its
// parents, when missing) and renames it to the file once it is written in full,
// replacing any file of that name. On any failure the temporary file is removed,
// the file is left as it was, and 75 (Path/File access error) is raised.
void WriteFileAtomically(const std::string& file, const std::string& bytes, mode_t mode);

}  // namespace vessik::cli
