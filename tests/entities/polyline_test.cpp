#include <gtest/gtest.h>

#include <array>
#include <string>
#include <vector>

#include "EntityTestUtil.h"
#include "entities/Vessik_Insert.h"
#include "entities/Vessik_Polyline.h"
#include "parser/GroupPairs.h"

namespace vessik {
namespace {

using test::Pairs;
using test::ParseDrawing;
using test::Poly;
using test::Records;

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

}  // namespace
}  // namespace vessik
