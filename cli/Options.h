// The command line of the vessik tool: what the person asked for, and the
// settings that go into the parse.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "parser/Vessik_CommonData.h"

namespace CLI {
class App;
}

namespace vessik::cli {

// Defaults for a person at a terminal, in drawing units where a unit applies.
inline constexpr double kDefaultTolerance = 0.01;
inline constexpr int32_t kDefaultCheck = 0;
inline constexpr double kDefaultArcMaxDeviation = 0.01;
inline constexpr double kDefaultArcMinSegmentLength = 0.1;
inline constexpr double kDefaultArcMaxSegmentLength = 10.0;
inline constexpr double kDefaultInitialSegments = 4.0;

struct Options {
  std::string drawing;
  std::string outputFile;  // empty: standard output
  bool layers = false;
  bool svg = false;
  bool progressValues = false;
  uint64_t maxMemory = 0;     // bytes; 0 for the library's default
  double timeoutSeconds = 0;  // 0: no limit
  bool trueGeometry = false;
  int32_t curveThreads = 0;  // 0: one per usable core
  bool noMap = false;        // read the drawing instead of mapping it
  Vessik_CommonData settings;
};

// The six parse settings with the tool's defaults.
Vessik_CommonData DefaultSettings();

// Adds --tolerance, --check, --arc-max-deviation, --arc-min-segment-length,
// --arc-max-segment-length and --initial-segments, which write into s.
void AddSettingOptions(CLI::App& app, Vessik_CommonData& s);

// Adds --true-geometry.
void AddTrueGeometryOption(CLI::App& app, bool& on);
void AddNoMapOption(CLI::App& app, bool& on);

// Adds --max-memory, a size as ParseSize reads it, with the help text given.
void AddMaxMemoryOption(CLI::App& app, uint64_t& maxMemory, const std::string& help);

// Parses the arguments. Returns the options, or the exit status when the tool is
// done already: --help, --version or a usage error, whose message CLI11 printed.
struct ParseResult {
  Options options;
  std::optional<int> exitStatus;
};

ParseResult ParseCommandLine(int argc, char** argv);

// A size in bytes, with an optional K, M or G (powers of 1024; upper or lower case)
// behind a whole number. Nothing for text that is no such size, or too large.
std::optional<uint64_t> ParseSize(const std::string& text);

// Exit status of a parse stopped by --timeout.
inline constexpr int kTimedOutStatus = 3;

}  // namespace vessik::cli
