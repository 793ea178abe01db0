// What the tool writes: the records or the layer list, byte for byte, and the one
// line that tells of a failure.
#pragma once

#include <string>

#include "parser/Vessik_Error.h"
#include "parser/Vessik_Layer.h"

namespace vessik::cli {

// One line per layer: name TAB colour number TAB RGB value LF.
std::string LayersText(const Vessik_Layers& layers);

// Writes the bytes unchanged to the file, or to standard output when the name is
// empty. Raises 75 (Path/File access error) when they cannot be written.
void WriteOutput(const std::string& text, const std::string& file);

// "error NUMBER (0xHEX): DESCRIPTION" on one line, without a line feed.
std::string ErrorText(const Vessik_Error& error);

// "vessik: error NUMBER (0xHEX): DESCRIPTION" and a line feed; HEX is the number's
// 32-bit pattern in eight upper-case digits.
std::string ErrorLine(const Vessik_Error& error);

}  // namespace vessik::cli
