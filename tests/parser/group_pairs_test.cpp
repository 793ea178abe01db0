#include <gtest/gtest.h>

#include "parser/GroupPairs.h"
#include "support/TestSupport.h"

namespace vessik {
namespace {

using test::FailureNumber;

}  // namespace

TEST(GroupPairTable, ReadingOutsideFails9) {
  GroupPairs().Assign({{0, "SECTION"}, {2, "X"}});
  EXPECT_EQ(GroupPairs().Count(), 2);
  EXPECT_EQ(GroupPairs().UBound(), 1);
  EXPECT_EQ(GroupPairs().Code(1), 2);
  EXPECT_EQ(GroupPairs().Value(1), "X");
  EXPECT_EQ(FailureNumber([] { GroupPairs().Code(2); }), 9);
  EXPECT_EQ(FailureNumber([] { GroupPairs().Value(-1); }), 9);
  GroupPairs().Clear();
  EXPECT_EQ(GroupPairs().UBound(), -1);
  EXPECT_EQ(FailureNumber([] { GroupPairs().Value(0); }), 9);
}

}  // namespace vessik
