#include <gtest/gtest.h>

#include "EntityTestUtil.h"
#include "entities/Vessik_Insert.h"
#include "entities/Vessik_LwPolyline.h"
#include "parser/GroupPairs.h"

namespace vessik {
namespace {

using test::Lw;
using test::Pairs;
using test::ParseDrawing;
using test::Records;

TEST(LwPolyline, NoVertices) {
  EXPECT_EQ(ParseDrawing(Lw("0", {})), "");
  EXPECT_EQ(ParseDrawing(Lw("1", {})), "");
}

TEST(LwPolyline, OneVertex) {
  EXPECT_EQ(ParseDrawing(Lw("0", {{1, 2, 0}})), "");
  auto rec = Records(ParseDrawing(Lw("1", {{1, 2, 0}})));
  ASSERT_EQ(rec.size(), 1u);
  EXPECT_EQ(rec[0][5], "1");
  EXPECT_EQ(rec[0][6], "2");
  EXPECT_EQ(rec[0][8], "1");
  EXPECT_EQ(rec[0][9], "2");
}

TEST(LwPolyline, ThreeVerticesClosedLastCarriesThirdBulge) {
  auto rec = Records(ParseDrawing(Lw("1", {{0, 0, 0}, {2, 0, 0}, {2, 2, 1}})));
  ASSERT_EQ(rec.size(), 3u);
  EXPECT_EQ(rec[0][1], "83");
  EXPECT_EQ(rec[1][1], "83");
  // From (2, 2) to (0, 0) with bulge 1: centre (1, 1), a half circle.
  EXPECT_EQ(rec[2][1], "66");
  EXPECT_EQ(rec[2][11], "1");
  EXPECT_EQ(rec[2][12], "1");
  EXPECT_EQ(rec[2][15], "45");
  EXPECT_EQ(rec[2][16], "225");
}

TEST(LwPolyline, ClosingFlagTexts) {
  for (const char* closes : {"1", "  1", "129", "1  "}) {
    EXPECT_EQ(Records(ParseDrawing(Lw(closes, {{0, 0, 0}, {1, 0, 0}, {1, 1, 0}}))).size(), 3u)
        << closes;
  }
  for (const char* open : {"0", "128", "3", "\t1"}) {
    EXPECT_EQ(Records(ParseDrawing(Lw(open, {{0, 0, 0}, {1, 0, 0}, {1, 1, 0}}))).size(), 2u)
        << open;
  }
}

TEST(LwPolyline, LaterFlagOverridesEarlier) {
  Pairs p = Lw("1", {{0, 0, 0}, {1, 0, 0}, {1, 1, 0}});
  p.push_back({70, "0"});
  EXPECT_EQ(Records(ParseDrawing(p)).size(), 2u);
}

TEST(LwPolyline, BulgeBelongsToTheLeavingSegment) {
  auto rec = Records(ParseDrawing(Lw("0", {{0, 0, 0}, {2, 0, 1}, {4, 0, 0}})));
  ASSERT_EQ(rec.size(), 2u);
  EXPECT_EQ(rec[0][1], "83");
  EXPECT_EQ(rec[1][1], "66");
  EXPECT_EQ(rec[1][11], "3");
}

TEST(LwPolyline, LiesAtZZeroWhateverTheElevation) {
  Pairs p = Lw("0", {{0, 0, 0}, {1, 0, 0}});
  p.insert(p.begin() + 1, {38, "5"});
  auto rec = Records(ParseDrawing(p));
  EXPECT_EQ(rec[0][7], "0");
  EXPECT_EQ(rec[0][10], "0");
}

TEST(LwPolyline, UnlistedLayerIsCreated) {
  Pairs p = Lw("0", {{0, 0, 0}, {1, 0, 0}});
  p[1].second = "POLY";
  auto rec = Records(ParseDrawing(p, {{"0", 7}}));
  EXPECT_EQ(rec[0][2], "POLY");
  EXPECT_EQ(rec[0][3], "1");
}

TEST(LwPolyline, CoordinateBeforeTheFirstVertexFails) {
  for (int code : {20, 42}) {
    try {
      ParseDrawing({{0, "LWPOLYLINE"}, {code, "1"}, {10, "0"}});
      FAIL() << "no failure";
    } catch (const Vessik_Error& e) {
      EXPECT_EQ(e.Number(), 91);
      EXPECT_EQ(e.Description(), "Object variable or With block variable not set");
    }
  }
}

TEST(LwPolyline, VertexCountThatIsNoNumberFails) {
  try {
    ParseDrawing({{0, "LWPOLYLINE"}, {90, "many"}});
    FAIL() << "no failure";
  } catch (const Vessik_Error& e) {
    EXPECT_EQ(e.Number(), 13);
  }
}

TEST(LwPolyline, ReleaseClearsTheParentOfEveryLine) {
  GroupPairs().Assign(
      {{10, "0"}, {20, "0"}, {10, "1"}, {20, "0"}, {10, "1"}, {20, "1"}, {0, "SEQEND"}});
  Vessik_Insert parent;
  Vessik_LwPolyline p;
  p.Vessik_IEntity_Parent(&parent);
  Vessik_Layers layers;
  EXPECT_EQ(p.Vessik_IEntity_Read(0, layers), 5);
  ASSERT_EQ(p.Lines().size(), 2u);
  EXPECT_EQ(p.Lines()[1].Vessik_IEntity_Parent(), &parent);
  p.Vessik_IEntity_Release();
  EXPECT_EQ(p.Vessik_IEntity_Parent(), nullptr);
  EXPECT_EQ(p.Lines()[0].Vessik_IEntity_Parent(), nullptr);
  EXPECT_EQ(p.Lines()[1].Vessik_IEntity_Parent(), nullptr);
  GroupPairs().Clear();
}

}  // namespace
}  // namespace vessik
