#include <gtest/gtest.h>

#include "parser/Vessik_CommonData.h"

namespace vessik {

TEST(VessikCommonData, NewIsAllZero) {
  Vessik_CommonData d;
  EXPECT_EQ(d.Tolerance, 0);
  EXPECT_EQ(d.Check, 0);
  EXPECT_EQ(d.ArcMaximumDeviationFactor, 0);
  EXPECT_EQ(d.ArcMinimumSegmentLengthFactor, 0);
  EXPECT_EQ(d.ArcMaximumSegmentLengthFactor, 0);
  EXPECT_EQ(d.InitialSegments, 0);
}

}  // namespace vessik
