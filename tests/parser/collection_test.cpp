#include <gtest/gtest.h>

#include "parser/Vessik_Collection.h"
#include "support/TestSupport.h"

namespace vessik {
namespace {

using test::FailureNumber;

}  // namespace

TEST(VessikCollection, PositionsFromOne) {
  Vessik_Collection<int> c;
  EXPECT_EQ(c.Count(), 0);
  EXPECT_EQ(FailureNumber([&] { c.Item(1); }), 9);
  c.Add(10);
  c.Add(20);
  c.Add(30);
  EXPECT_EQ(c.Count(), 3);
  EXPECT_EQ(c.Item(1), 10);
  EXPECT_EQ(c.Item(3), 30);
  EXPECT_EQ(FailureNumber([&] { c.Item(0); }), 9);
  EXPECT_EQ(FailureNumber([&] { c.Item(4); }), 9);
  c.Remove(1);
  EXPECT_EQ(c.Count(), 2);
  EXPECT_EQ(c.Item(1), 20);
  EXPECT_EQ(FailureNumber([&] { c.Remove(3); }), 9);
  EXPECT_EQ(c.Count(), 2);
}

}  // namespace vessik
