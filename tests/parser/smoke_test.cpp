#include <gtest/gtest.h>

#include "parser/parser.h"
#include "support/TestSupport.h"

namespace vessik {

TEST(Smoke, EmptyEntitiesGivesEmptyText) {
  test::TempFile f(test::Drawing({}, {{"0", 7}, {"WALLS", 3}}));
  Vessik_Parser parser;
  Vessik_CommonData data;
  Vessik_Progress progress;
  EXPECT_EQ(parser.Parse2(f.Path(), data, progress), "");
  ASSERT_EQ(parser.Layers().size(), 2u);
  EXPECT_EQ(parser.Layers()[1]->Name, "WALLS");
  EXPECT_EQ(parser.Layers()[1]->Color->ColorRGB(), 65280);
}

}  // namespace vessik
