#include <gtest/gtest.h>

#include <cstdint>

#include "parser/Vessik_Error.h"
#include "parser/Vessik_Types.h"

namespace vessik {

TEST(InStrCount, SingleCharacter) {
  EXPECT_EQ(InStrCount("abcabc", "a", 1, 0), 2);
  EXPECT_EQ(InStrCount("abcabc", "a", 2, 0), 1);
  EXPECT_EQ(InStrCount("abcabc", "c", 6, 0), 1);
  EXPECT_EQ(InStrCount("a\r\nb\r\n", "\r", 1, 0), 2);
  EXPECT_EQ(InStrCount("a\r\nb\r\n", "\n", 1, 0), 2);
}

TEST(InStrCount, SeveralCharactersWithoutOverlap) {
  EXPECT_EQ(InStrCount("a\r\nb\r\n", "\r\n", 1, 0), 2);
  EXPECT_EQ(InStrCount("aaaa", "aa", 1, 0), 2);
  EXPECT_EQ(InStrCount("aaa", "aa", 1, 0), 1);
  EXPECT_EQ(InStrCount("aab", "ab", 1, 0), 1);
  // A partial match that fails goes back to the character behind its start.
  EXPECT_EQ(InStrCount("abababc", "ababc", 1, 0), 1);
  EXPECT_EQ(InStrCount("xyz", "yzw", 1, 0), 0);
  EXPECT_EQ(InStrCount("abcabc", "bc", 3, 0), 1);
}

TEST(InStrCount, CompareFoldsByMasking223) {
  EXPECT_EQ(InStrCount("ABab", "a", 1, 0), 1);
  EXPECT_EQ(InStrCount("ABab", "a", 1, 1), 2);
  EXPECT_EQ(InStrCount("xAbxaB", "ab", 1, 1), 2);
  EXPECT_EQ(InStrCount("xAbxaB", "ab", 1, 0), 0);
  // The mask folds more than letters: "@" and "`", CR and "-" count as equal.
  EXPECT_EQ(InStrCount("@", "`", 1, 1), 1);
  EXPECT_EQ(InStrCount("a-b", "\r", 1, 1), 1);
  EXPECT_EQ(InStrCount("a-b", "\r", 1, 0), 0);
}

TEST(InStrCount, EarlyZeroBeforeTheStartTest) {
  EXPECT_EQ(InStrCount("abc", "a", 4, 0), 0);
  EXPECT_EQ(InStrCount("abc", "a", 100, 0), 0);
  // Empty text or empty find: 0, even with a Start below 1.
  EXPECT_EQ(InStrCount("", "a", 0, 0), 0);
  EXPECT_EQ(InStrCount("abc", "", 0, 0), 0);
  EXPECT_EQ(InStrCount("", "", -5, 0), 0);
}

TEST(InStrCount, StartBelowOneFails) {
  for (int32_t start : {0, -1}) {
    try {
      InStrCount("abc", "a", start, 0);
      ADD_FAILURE() << "no failure";
    } catch (const Vessik_Error& e) {
      EXPECT_EQ(e.Number(), 5);
      EXPECT_EQ(e.Source(), "InStrCount Function");
      EXPECT_EQ(e.Description(), "Start can't be smaller than 1");
    }
  }
}

}  // namespace vessik
