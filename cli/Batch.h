// "vessik batch": many drawings converted on several threads at once.
#pragma once

#include "cli/BatchOptions.h"

namespace vessik::cli {

// Converts every drawing of the options, writes one failure line per failed
// drawing and a summary to standard error, and returns the exit status: 0 when
// every drawing was converted, 1 when any failed.
int RunBatch(const BatchOptions& options);

}  // namespace vessik::cli
