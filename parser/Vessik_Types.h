#pragma once

#include <cstdint>
#include <string_view>

namespace vessik {

// Counts the non-overlapping occurrences of find in text from position Start (from
// 1). Compare non-zero folds ASCII letter case. Raises 5 for a Start below 1.
int32_t InStrCount(std::string_view text, std::string_view find, int32_t Start, int32_t Compare);

}  // namespace vessik
