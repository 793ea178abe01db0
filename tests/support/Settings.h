// The settings the tests parse with when they stand for the tool's.
#pragma once

#include "parser/Vessik_CommonData.h"

namespace vessik::test {

// The settings the tool uses when no flag is given.
Vessik_CommonData ToolDefaults();

// The "fine" settings of the pinned corpus outcomes (--tolerance 0.001 --check 1
// --initial-segments 2 --arc-max-deviation 0.001 --arc-min-segment-length 0
// --arc-max-segment-length 0).
Vessik_CommonData FineSettings();

}  // namespace vessik::test
