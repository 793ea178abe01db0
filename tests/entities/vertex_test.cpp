#include <gtest/gtest.h>

#include <memory>

#include "entities/Vessik_Vertex.h"
#include "parser/GroupPairs.h"
#include "parser/Vessik_Layer.h"

namespace vessik {
namespace {

TEST(Vertex, ReadReturnsTheEndingCodeZeroAndResetsBulge) {
  GroupPairs().Assign({{42, "0.5"}, {8, "B"}, {10, "4"}, {0, "VERTEX"}});
  Vessik_Layers layers{std::make_shared<Vessik_Layer>(), std::make_shared<Vessik_Layer>()};
  layers[1]->Name.assign(1, 'B');
  Vessik_Vertex v;
  v.Bulge = 9;
  EXPECT_EQ(v.Read(0, layers), 3);
  EXPECT_EQ(v.Bulge, 0.5);
  EXPECT_EQ(v.Layer, 1);
  EXPECT_EQ(v.X, 4);
  GroupPairs().Assign({{8, "NONE"}, {0, "SEQEND"}});
  EXPECT_EQ(v.Read(0, layers), 1);
  EXPECT_EQ(v.Bulge, 0);
  EXPECT_EQ(v.Layer, 1);
  EXPECT_EQ(layers.size(), 2u);
  GroupPairs().Clear();
}

}  // namespace
}  // namespace vessik
