#include <gtest/gtest.h>

#include <cstdint>
#include <string>

#include "parser/Vessik_Concat.h"

namespace vessik {

TEST(VessikConcat, TwoAppendsThenValue) {
  Vessik_Concat c;
  c.Concat("abc");
  c.Concat("de\tf\r\n");
  EXPECT_EQ(c.value(), "abcde\tf\r\n");
  EXPECT_EQ(c.length(), 9);
}

TEST(VessikConcat, NewIsEmpty) {
  Vessik_Concat c;
  EXPECT_EQ(c.value(), "");
  EXPECT_EQ(c.length(), 0);
  c.Concat("");
  EXPECT_EQ(c.value(), "");
}

TEST(VessikConcat, ClearThenOneAppend) {
  Vessik_Concat c;
  c.Concat("first text");
  c.Concat(" and more");
  c.Clear();
  EXPECT_EQ(c.length(), 0);
  c.Concat("new");
  EXPECT_EQ(c.value(), "new");
  EXPECT_EQ(c.length(), 3);
}

TEST(VessikConcat, ManyAppendsKeepEverything) {
  Vessik_Concat c;
  std::string expected;
  for (int i = 0; i < 5000; ++i) {
    std::string piece = std::to_string(i) + "\t";
    c.Concat(piece);
    expected += piece;
  }
  EXPECT_EQ(c.value(), expected);
  EXPECT_EQ(c.length(), static_cast<int64_t>(expected.size()));
  EXPECT_EQ(c.TakeValue(), expected);
  EXPECT_EQ(c.value(), "");
}

}  // namespace vessik
