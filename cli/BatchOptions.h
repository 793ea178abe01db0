// The command line of "vessik batch": the drawings and folders to convert, where
// the results go, and the settings every parse of the batch uses.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "parser/Vessik_CommonData.h"

namespace vessik::cli {

// What each drawing of a batch becomes.
enum class OutputKind { Text, Svg };

struct BatchOptions {
  std::vector<std::string> inputs;  // drawings and folders, in the order given
  std::string outputDir;
  unsigned jobs = 1;  // worker threads; the command line defaults it to every core
  OutputKind kind = OutputKind::Text;
  uint64_t maxMemory = 0;     // bytes per drawing; 0: the default shared among workers
  double timeoutSeconds = 0;  // per drawing; 0: no limit
  bool trueGeometry = false;
  bool noMap = false;  // read the drawings instead of mapping them
  Vessik_CommonData settings;
};

// Parses the arguments that follow the word "batch" (argv[0] stands for the
// subcommand). Returns the options, or the exit status when the tool is done
// already: --help or a usage error, whose message CLI11 printed.
struct BatchParseResult {
  BatchOptions options;
  std::optional<int> exitStatus;
};

BatchParseResult ParseBatchCommandLine(int argc, char** argv);

// Whether the arguments ask for a batch: the first one is the word "batch".
bool AsksForBatch(int argc, char** argv);

}  // namespace vessik::cli
