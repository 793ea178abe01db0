#include <gtest/gtest.h>

#include <array>

#include "EntityTestUtil.h"
#include "entities/Vessik_Insert.h"
#include "entities/Vessik_LwPolyline.h"
#include "entities/Vessik_Polyline.h"
#include "entities/Vessik_Vertex.h"
#include "parser/GroupPairs.h"

namespace vessik {
namespace {

using test::Pairs;
using test::ParseDrawing;
using test::Records;

// An LWPOLYLINE with flag 70 and (x, y, bulge) vertices.
Pairs Lw(const std::string& flag, const std::vector<std::array<double, 3>>& v) {
  Pairs p{{0, "LWPOLYLINE"}, {8, "0"}, {90, std::to_string(v.size())}, {70, flag}};
  for (const auto& q : v) {
    p.push_back({10, DoubleToText(q[0])});
    p.push_back({20, DoubleToText(q[1])});
    if (q[2] != 0) p.push_back({42, DoubleToText(q[2])});
  }
  return p;
}

// A POLYLINE with flag 70 and (x, y, z, bulge) vertices, ended by SEQEND.
Pairs Poly(const std::string& flag, const std::vector<std::array<double, 4>>& v,
           const Pairs& head = {}) {
  Pairs p{{0, "POLYLINE"}, {8, "0"}, {66, "1"}, {10, "0"}, {20, "0"}, {30, "0"}};
  p.insert(p.end(), head.begin(), head.end());
  p.push_back({70, flag});
  for (const auto& q : v) {
    p.insert(p.end(), {{0, "VERTEX"},
                       {8, "0"},
                       {10, DoubleToText(q[0])},
                       {20, DoubleToText(q[1])},
                       {30, DoubleToText(q[2])}});
    if (q[3] != 0) p.push_back({42, DoubleToText(q[3])});
  }
  p.insert(p.end(), {{0, "SEQEND"}, {8, "0"}});
  return p;
}

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

TEST(Bulge, PlusOneIsTheLowerHalfCircle) {
  auto rec = Records(ParseDrawing(Lw("0", {{0, 0, 1}, {2, 0, 0}})));
  ASSERT_EQ(rec.size(), 1u);
  EXPECT_EQ(rec[0][1], "66");
  EXPECT_EQ(rec[0][11], "1");
  EXPECT_EQ(rec[0][12], "0");
  EXPECT_EQ(rec[0][14], "1");
  EXPECT_EQ(rec[0][15], "180");
  EXPECT_EQ(rec[0][16], "0");
}

TEST(Bulge, MinusOneSwapsTheEnds) {
  auto rec = Records(ParseDrawing(Lw("0", {{0, 0, -1}, {2, 0, 0}})));
  ASSERT_EQ(rec.size(), 1u);
  EXPECT_EQ(rec[0][11], "1");
  EXPECT_EQ(rec[0][12], "0");
  EXPECT_EQ(rec[0][15], "0");
  EXPECT_EQ(rec[0][16], "180");
}

TEST(Bulge, SegmentAboveThePlanePrintsAtZZero) {
  auto rec = Records(ParseDrawing(Poly("0", {{0, 0, 5, 1}, {2, 0, 5, 0}})));
  ASSERT_EQ(rec.size(), 1u);
  EXPECT_EQ(rec[0][1], "66");
  EXPECT_EQ(rec[0][13], "0");
}

TEST(Polyline, NoVerticesAndTwoVertices) {
  EXPECT_EQ(ParseDrawing(Poly("0", {})), "");
  auto rec = Records(ParseDrawing(Poly("0", {{1, 2, 3, 0}, {4, 5, 6, 0}})));
  ASSERT_EQ(rec.size(), 1u);
  EXPECT_EQ(rec[0][5], "1");
  EXPECT_EQ(rec[0][7], "3");
  EXPECT_EQ(rec[0][8], "4");
  EXPECT_EQ(rec[0][10], "6");
}

TEST(Polyline, ClosingSegmentLiesAtZZero) {
  auto rec = Records(ParseDrawing(Poly("1", {{0, 0, 5, 0}, {1, 0, 5, 0}, {1, 1, 5, 0}})));
  ASSERT_EQ(rec.size(), 3u);
  EXPECT_EQ(rec[0][7], "5");
  EXPECT_EQ(rec[1][10], "5");
  EXPECT_EQ(rec[2][5], "1");
  EXPECT_EQ(rec[2][6], "1");
  EXPECT_EQ(rec[2][7], "0");
  EXPECT_EQ(rec[2][8], "0");
  EXPECT_EQ(rec[2][9], "0");
  EXPECT_EQ(rec[2][10], "0");
}

TEST(Polyline, BulgeIsResetForEachVertex) {
  auto rec = Records(ParseDrawing(Poly("0", {{0, 0, 0, 1}, {2, 0, 0, 0}, {4, 0, 0, 0}})));
  ASSERT_EQ(rec.size(), 2u);
  EXPECT_EQ(rec[0][1], "66");
  EXPECT_EQ(rec[1][1], "83");
}

TEST(Polyline, MissingVertexCoordinateKeepsThePreviousValue) {
  Pairs p{{0, "POLYLINE"}, {70, "0"},     {0, "VERTEX"}, {10, "1"},
          {20, "7"},       {0, "VERTEX"}, {10, "2"},     {0, "SEQEND"}};
  auto rec = Records(ParseDrawing(p));
  ASSERT_EQ(rec.size(), 1u);
  EXPECT_EQ(rec[0][9], "7");
}

TEST(Polyline, VertexLayerIsNeitherUsedNorAdded) {
  Pairs p = Poly("0", {{0, 0, 0, 0}, {1, 0, 0, 0}});
  p[1].second = "X";
  for (auto& q : p) {
    if (q.first == 8 && q.second == "0") q.second = "Y";
  }
  test::TempFile f(test::Drawing(p));
  Vessik_Parser parser;
  Vessik_CommonData data = test::TestData();
  Vessik_Progress progress;
  auto rec = Records(parser.Parse2(f.Path(), data, progress));
  EXPECT_EQ(rec[0][2], "X");
  ASSERT_EQ(parser.Layers().size(), 1u);
  EXPECT_EQ(parser.Layers()[0]->Name, "X");
}

TEST(Polyline, FlagBitZeroCloses) {
  const std::vector<std::array<double, 4>> v{{0, 0, 0, 0}, {1, 0, 0, 0}, {1, 1, 0, 0}};
  for (const char* closes : {"1", "9", "129", " 1 "}) {
    EXPECT_EQ(Records(ParseDrawing(Poly(closes, v))).size(), 3u) << closes;
  }
  // Only bit 0 closes: 2 (curve fit), 4, 6 and 130 leave the polyline open.
  for (const char* open : {"8", "0", "40000", "abc", "2", "4", "6", "130"}) {
    EXPECT_EQ(Records(ParseDrawing(Poly(open, v))).size(), 2u) << open;
  }
}

TEST(Polyline, ExtrusionMinusZMirrorsThroughTheAxisRule) {
  auto rec = Records(
      ParseDrawing(Poly("0", {{1, 2, 3, 0}, {4, 5, 6, 0}}, {{210, "0"}, {220, "0"}, {230, "-1"}})));
  ASSERT_EQ(rec.size(), 1u);
  EXPECT_EQ(rec[0][5], "-1");
  EXPECT_EQ(rec[0][6], "2");
  EXPECT_EQ(rec[0][7], "-3");
  EXPECT_EQ(rec[0][8], "-4");
}

TEST(Polyline, PlacementAppliesTwiceInsideABlock) {
  Pairs block = test::Block("B", Poly("0", {{1, 0, 0, 0}, {2, 0, 0, 0}}));
  auto rec = Records(ParseDrawing({{0, "INSERT"}, {2, "B"}, {10, "10"}}, {{"0", 7}}, block));
  ASSERT_EQ(rec.size(), 1u);
  EXPECT_EQ(rec[0][5], "21");
  EXPECT_EQ(rec[0][8], "22");
}

TEST(Polyline, SegmentsInABlockPlacedTwice) {
  Pairs block = test::Block("B", Poly("0", {{1, 0, 0, 0}, {2, 0, 0, 0}}));
  auto rec = Records(ParseDrawing(
      {{0, "INSERT"}, {2, "B"}, {10, "10"}, {0, "INSERT"}, {2, "B"}, {10, "100"}, {41, "2"}},
      {{"0", 7}}, block));
  ASSERT_EQ(rec.size(), 2u);
  EXPECT_EQ(rec[0][5], "21");
  // Scale 2 and offset 100, twice: (1 × 2 + 100) × 2 + 100.
  EXPECT_EQ(rec[1][5], "304");
  EXPECT_EQ(rec[1][8], "308");
}

TEST(Polyline, ZeroExtrusionPlacesOnce) {
  Pairs block = test::Block(
      "B", Poly("0", {{1, 0, 0, 0}, {2, 0, 0, 0}}, {{210, "0"}, {220, "0"}, {230, "0"}}));
  auto rec = Records(ParseDrawing({{0, "INSERT"}, {2, "B"}, {10, "10"}}, {{"0", 7}}, block));
  EXPECT_EQ(rec[0][5], "11");
}

TEST(Polyline, ClosedWithOneVertexHasNoClosingSegment) {
  EXPECT_EQ(ParseDrawing(Poly("1", {{1, 0, 0, 0}})), "");
  EXPECT_EQ(ParseDrawing(Poly("1", {})), "");
}

TEST(Polyline, BadColourAfterTheFlagIsColourZero) {
  Pairs p{{0, "POLYLINE"}, {70, "0"},     {62, "red"}, {0, "VERTEX"},
          {10, "1"},       {0, "VERTEX"}, {10, "2"},   {0, "SEQEND"}};
  auto rec = Records(ParseDrawing(p, {{"0", 3}}));
  ASSERT_EQ(rec.size(), 1u);
  EXPECT_EQ(rec[0][4], "0");
}

TEST(Polyline, BadColourBeforeTheFlagFails) {
  try {
    ParseDrawing({{0, "POLYLINE"}, {62, "red"}, {70, "0"}, {0, "SEQEND"}});
    FAIL() << "no failure";
  } catch (const Vessik_Error& e) {
    EXPECT_EQ(e.Number(), 13);
  }
}

TEST(Polyline, RunningOutOfPairsAfterTheFlagReturnsTheLastPair) {
  GroupPairs().Assign({{70, "1"}, {0, "VERTEX"}, {10, "1"}});
  Vessik_Polyline p;
  Vessik_Layers layers;
  EXPECT_EQ(p.Vessik_IEntity_Read(0, layers), 2);
  EXPECT_TRUE(p.Lines().empty());
  GroupPairs().Assign({{70, "0"}, {10, "5"}});
  Vessik_Polyline q;
  EXPECT_EQ(q.Vessik_IEntity_Read(0, layers), 1);
  GroupPairs().Clear();
}

TEST(Polyline, RunningOutOfPairsBeforeTheFlagFails) {
  GroupPairs().Assign({{8, "0"}, {0, "VERTEX"}, {10, "1"}});
  Vessik_Polyline p;
  Vessik_Layers layers;
  try {
    p.Vessik_IEntity_Read(0, layers);
    FAIL() << "no failure";
  } catch (const Vessik_Error& e) {
    EXPECT_EQ(e.Number(), 9);
  }
  GroupPairs().Clear();
}

TEST(Polyline, FailedVertexStillMakesItsSegment) {
  // The section ends on a pair whose code is not 0, and the file ends there: the
  // last vertex runs out of pairs, still gives its segment, and the read ends.
  std::string dxf = test::DxfText({{0, "SECTION"},
                                   {2, "ENTITIES"},
                                   {0, "POLYLINE"},
                                   {70, "0"},
                                   {0, "VERTEX"},
                                   {10, "1"},
                                   {0, "VERTEX"},
                                   {10, "2"},
                                   {1, "ENDSEC"}});
  auto rec = Records(test::ParseText(dxf));
  ASSERT_EQ(rec.size(), 1u);
  EXPECT_EQ(rec[0][5], "1");
  EXPECT_EQ(rec[0][8], "2");
}

}  // namespace
}  // namespace vessik

namespace vessik {
namespace {

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

TEST(Polyline, ReleaseClearsTheParentOfEveryLine) {
  GroupPairs().Assign({{70, "1"},
                       {0, "VERTEX"},
                       {10, "1"},
                       {0, "VERTEX"},
                       {10, "2"},
                       {0, "VERTEX"},
                       {20, "3"},
                       {0, "SEQEND"}});
  Vessik_Insert parent;
  Vessik_Polyline p;
  p.Vessik_IEntity_Parent(&parent);
  Vessik_Layers layers;
  EXPECT_EQ(p.Vessik_IEntity_Read(0, layers), 6);
  // Two segments and the closing one; the third vertex keeps X 2 of the second.
  ASSERT_EQ(p.Lines().size(), 3u);
  EXPECT_EQ(p.Lines()[1].X2, 2);
  EXPECT_EQ(p.Lines()[1].Y2, 3);
  EXPECT_EQ(p.Lines()[2].X1, 2);
  EXPECT_EQ(p.Lines()[2].X2, 1);
  p.Vessik_IEntity_Release();
  for (const Vessik_Line& l : p.Lines()) EXPECT_EQ(l.Vessik_IEntity_Parent(), nullptr);
  GroupPairs().Clear();
}

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
