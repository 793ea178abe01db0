#include "parser/Vessik_Types.h"

#include "parser/Vessik_Error.h"

namespace vessik {

int32_t InStrCount(std::string_view text, std::string_view find, int32_t Start, int32_t Compare) {
  if (static_cast<int64_t>(Start) > static_cast<int64_t>(text.size()) || text.empty() ||
      find.empty()) {
    return 0;
  }
  if (Start < 1) {
    RaiseCatalogued(CataloguedError("InStrCountStart"));
  }
  // Characters are compared by their low byte; with Compare the bit of letter case
  // (32) is masked out on both sides.
  const unsigned mask = Compare != 0 ? 223u : 255u;
  auto same = [mask](char a, char b) {
    return (static_cast<unsigned char>(a) & mask) == (static_cast<unsigned char>(b) & mask);
  };
  int32_t count = 0;
  size_t i = static_cast<size_t>(Start - 1);
  if (find.size() == 1) {
    for (; i < text.size(); ++i) {
      if (same(text[i], find[0])) ++count;
    }
    return count;
  }
  size_t matched = 0;
  size_t begin = i;
  while (i < text.size()) {
    if (same(text[i], find[matched])) {
      if (matched == 0) begin = i;
      ++matched;
      ++i;
      if (matched == find.size()) {
        ++count;
        matched = 0;
      }
    } else if (matched > 0) {
      i = begin + 1;
      matched = 0;
    } else {
      ++i;
    }
  }
  return count;
}

}  // namespace vessik
