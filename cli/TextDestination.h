// Where the tool's text goes while the parse makes it: piece by piece, so that
// the tool never holds the whole text, and still all or nothing. Nothing shows
// at the destination until Commit; a destination dropped uncommitted leaves no
// trace.
#pragma once

#include <cstdio>
#include <memory>
#include <string>
#include <string_view>

#include "parser/TextSink.h"

namespace vessik::cli {

class TextDestination : public TextSink {
 public:
  // Everything written so far is dropped: the text is the empty one after all.
  virtual void Restart() = 0;
  // Puts the text in place. Raises 75 (Path/File access error) when it can not.
  virtual void Commit() = 0;
};

// For -o FILE: the text goes to a temporary file beside FILE, renamed over it by
// Commit. A FILE that exists and is no regular file (a device, a pipe) is written
// directly, as it can not be replaced. The file is only made at the first write,
// so that a drawing that fails first fails with its own error.
std::unique_ptr<TextDestination> FileDestination(const std::string& file);

// For standard output: the text is held in memory up to a few megabytes and
// spills to an unnamed temporary file beyond; Commit copies it out.
std::unique_ptr<TextDestination> StandardOutputDestination();

// Takes the text and keeps none of it, for a parse run only for its layers.
std::unique_ptr<TextDestination> DiscardingDestination();

}  // namespace vessik::cli
