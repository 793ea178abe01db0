#include <gtest/gtest.h>

#include "parser/Vessik_Color.h"
#include "parser/Vessik_Layer.h"

namespace vessik {

TEST(VessikLayer, NewLayerIsWhiteWithoutName) {
  Vessik_Layer l;
  EXPECT_EQ(l.Name, "");
  ASSERT_NE(l.Color, nullptr);
  EXPECT_EQ(l.Color->ColorACI(), 7);
  EXPECT_EQ(l.Color->ColorRGB(), 16777215);
}

}  // namespace vessik
