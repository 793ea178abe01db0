#include "support/Hostile.h"

#include <cmath>
#include <utility>
#include <vector>

#include "support/TestSupport.h"

namespace vessik::test {

using Pairs = std::vector<std::pair<int, std::string>>;

std::string DoublingBlocks(int levels) {
  Pairs blocks;
  auto reference = [](Pairs& to, const std::string& name) {
    to.insert(to.end(), {{0, "INSERT"}, {8, "0"}, {2, name}, {10, "0"}, {20, "0"}, {30, "0"}});
  };
  for (int k = 0; k < levels; ++k) {
    const std::string name = "B" + std::to_string(k);
    blocks.insert(blocks.end(), {{0, "BLOCK"}, {2, name}, {10, "0"}, {20, "0"}, {30, "0"}});
    if (k + 1 == levels) {
      blocks.insert(blocks.end(), {{0, "LINE"},
                                   {8, "0"},
                                   {10, "0"},
                                   {20, "0"},
                                   {30, "0"},
                                   {11, "1"},
                                   {21, "1"},
                                   {31, "0"}});
    } else {
      reference(blocks, "B" + std::to_string(k + 1));
      reference(blocks, "B" + std::to_string(k + 1));
    }
    blocks.push_back({0, "ENDBLK"});
  }
  Pairs entities;
  reference(entities, "B0");
  return Drawing(entities, {}, blocks);
}

std::string HighDegreeSpline(int degree) {
  Pairs e = {{0, "SPLINE"},
             {8, "0"},
             {70, "8"},
             {71, std::to_string(degree)},
             {72, std::to_string(2 * (degree + 1))},
             {73, std::to_string(degree + 1)}};
  for (int i = 0; i < 2 * (degree + 1); ++i) e.push_back({40, i <= degree ? "0" : "1"});
  for (int i = 0; i <= degree; ++i) {
    e.push_back({10, std::to_string(i)});
    e.push_back({20, std::to_string(std::sin(i))});
    e.push_back({30, "0"});
  }
  return Drawing(e);
}

}  // namespace vessik::test
