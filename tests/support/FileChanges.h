// Files changed while the library loads them: the texts and the changes shared by
// the tests of reading and of mapping.
#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdint>
#include <fstream>
#include <functional>
#include <string>

#include "parser/FileBytes.h"
#include "parser/Vessik_Utils.h"
#include "parser/parser.h"
#include "support/TestSupport.h"

namespace vessik::test {

// More than one piece of the loading, so that the host's messages run in between.
inline std::string LargeText() {
  std::string text;
  text.reserve(3 << 20);
  while (text.size() < (3u << 20)) text += "999\nsome comment of a drawing\n";
  return text;
}

// A time of change long past, so that any write gives the file a new one.
inline void SetOldTimes(const std::string& path) {
  struct timespec times[2] = {{946684800, 0}, {946684800, 0}};
  ASSERT_EQ(utimensat(AT_FDCWD, path.c_str(), times, 0), 0);
}

// Loads the file while the pump runs the change once, between the first two pieces.
inline int32_t LoadWhile(const std::string& path, const std::function<void()>& change) {
  bool done = false;
  SetPumpHook([&] {
    if (!done) change();
    done = true;
  });
  LastPumpTick() = TickCount() - 1000;
  const int32_t number = FailureNumber([&] { FileBytes::ReadFile(path); });
  SetPumpHook(nullptr);
  EXPECT_TRUE(done);
  return number;
}

// A parse of the file canceled while it is loaded gives the empty text.
inline void ExpectCancelWhileLoadingEndsTheParse(const std::string& path) {
  Vessik_Parser parser;
  Vessik_CommonData data;
  Vessik_Progress progress;
  SetPumpHook([&] { progress.IsCanceled(true); });
  LastPumpTick() = TickCount() - 1000;
  EXPECT_EQ(parser.Parse2(path, data, progress), "");
  SetPumpHook(nullptr);
  EXPECT_TRUE(progress.IsCanceled());
}

}  // namespace vessik::test
