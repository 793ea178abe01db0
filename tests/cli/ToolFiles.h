// What the tests of the tool share: the built program, the example drawing and
// reading a file whole.
#pragma once

#include <fstream>
#include <iterator>
#include <string>

namespace vessik::test {

#ifdef VESSIK_CLI_PATH
inline constexpr const char* kTool = VESSIK_CLI_PATH;
#else
inline constexpr const char* kTool = nullptr;
#endif

inline const std::string kShapes = std::string(VESSIK_EXAMPLES_DIR) + "/shapes.dxf";

inline std::string ReadFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

}  // namespace vessik::test
