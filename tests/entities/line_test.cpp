#include <gtest/gtest.h>

#include "EntityTestUtil.h"
#include "entities/Vessik_Line.h"
#include "parser/GroupPairs.h"

namespace vessik {
namespace {

using test::ParseDrawing;
using test::Records;

TEST(SmallDrawing, ThreeEntitiesByteForByte) {
  std::string text = ParseDrawing(
      {{0, "LINE"}, {5, "2A"}, {8, "0"},      {10, "0"},  {20, "0"}, {30, "0"},    {11, "10"},
       {21, "5"},   {31, "0"}, {0, "CIRCLE"}, {5, "2B"},  {8, "0"},  {62, "1"},    {10, "5"},
       {20, "5"},   {30, "0"}, {40, "2"},     {0, "ARC"}, {5, "2C"}, {8, "WALLS"}, {10, "0"},
       {20, "0"},   {30, "0"}, {40, "1"},     {50, "0"},  {51, "90"}},
      {{"0", 7}, {"WALLS", 3}});
  EXPECT_EQ(text,
            "42\t83\t0\t0\t16777215\t0\t0\t0\t10\t5\t0\t0\t0\t0\t0\t0\t0\t\r\n"
            "43\t75\t0\t0\t255\t3\t3\t0\t7\t7\t0\t5\t5\t0\t2\t0\t0\t\r\n"
            "44\t66\tWALLS\t1\t65280\t0\t0\t0\t0\t0\t0\t0\t0\t0\t1\t0\t90\t\r\n");
}

TEST(Line, RecordHasSeventeenColumnsEachClosedByATab) {
  std::string r = Vessik_Line::ToString(-5, "L", 3, -1, 0.5, 1E+20, 10, -0.0, 1.0 / 3, 1e-05);
  EXPECT_EQ(
      r, "-5\t83\tL\t3\t-1\t0.5\t1E+20\t10\t0\t0.333333333333333\t1E-05\t0\t0\t0\t0\t0\t0\t\r\n");
  EXPECT_EQ(std::count(r.begin(), r.end(), '\t'), 17);
}

TEST(Line, NoZGroupsInRaisedBlockTakeTheChainsZ) {
  std::string text =
      ParseDrawing({{0, "INSERT"}, {2, "B"}, {10, "100"}, {20, "200"}, {30, "7"}}, {{"0", 7}},
                   test::Block("B", {{0, "LINE"}, {10, "1"}, {20, "2"}, {11, "3"}, {21, "4"}}));
  auto rec = Records(text);
  ASSERT_EQ(rec.size(), 1u);
  EXPECT_EQ(rec[0][5], "101");
  EXPECT_EQ(rec[0][6], "202");
  EXPECT_EQ(rec[0][7], "7");
  EXPECT_EQ(rec[0][8], "103");
  EXPECT_EQ(rec[0][9], "204");
  EXPECT_EQ(rec[0][10], "7");
}

TEST(Line, ExtrusionGroupsAreIgnored) {
  auto rec = Records(ParseDrawing({{0, "LINE"},
                                   {10, "1"},
                                   {20, "2"},
                                   {30, "3"},
                                   {11, "4"},
                                   {21, "5"},
                                   {31, "6"},
                                   {210, "0"},
                                   {220, "0"},
                                   {230, "-1"}}));
  ASSERT_EQ(rec.size(), 1u);
  EXPECT_EQ(rec[0][5], "1");
  EXPECT_EQ(rec[0][8], "4");
  EXPECT_EQ(rec[0][10], "6");
}

TEST(Line, ColourByLayerNumberPrintsMinusOne) {
  auto rec = Records(ParseDrawing({{0, "LINE"}, {62, "256"}}, {{"0", 3}}));
  EXPECT_EQ(rec[0][4], "-1");
}

TEST(Line, ColourByBlockPrintsZero) {
  auto rec = Records(ParseDrawing({{0, "LINE"}, {62, "0"}}, {{"0", 3}}));
  EXPECT_EQ(rec[0][4], "0");
}

TEST(Line, NegativeColourPrintsItsAbsoluteValue) {
  auto rec = Records(ParseDrawing({{0, "LINE"}, {62, "-1"}}, {{"0", 3}}));
  EXPECT_EQ(rec[0][4], "255");
}

TEST(Line, NoGroup8TakesTheFirstLayer) {
  auto rec = Records(ParseDrawing({{0, "LINE"}}, {{"FIRST", 5}, {"SECOND", 1}}));
  EXPECT_EQ(rec[0][2], "FIRST");
  EXPECT_EQ(rec[0][3], "0");
  EXPECT_EQ(rec[0][4], "16711680");
}

TEST(Line, NoLayerTableNoGroup8PrintsNoNameWhite) {
  auto rec = Records(ParseDrawing({{0, "LINE"}}));
  ASSERT_EQ(rec.size(), 1u);
  EXPECT_EQ(rec[0][2], "NoName");
  EXPECT_EQ(rec[0][3], "0");
  EXPECT_EQ(rec[0][4], "16777215");
}

TEST(Line, NoLayerTableGroup8CreatesTheLayer) {
  auto rec = Records(ParseDrawing({{0, "LINE"}, {8, "NEW"}}));
  ASSERT_EQ(rec.size(), 1u);
  EXPECT_EQ(rec[0][2], "NEW");
  EXPECT_EQ(rec[0][3], "0");
  EXPECT_EQ(rec[0][4], "16777215");
}

TEST(Line, LayerNameIsLookedUpWhenPrinting) {
  // The layer that a later entity adds is there when the earlier one prints: the
  // line without group 8 then names the first layer, the new one.
  auto rec = Records(ParseDrawing({{0, "LINE"}, {0, "LINE"}, {8, "NEW"}}));
  ASSERT_EQ(rec.size(), 2u);
  EXPECT_EQ(rec[0][2], "NEW");
  EXPECT_EQ(rec[1][2], "NEW");
}

TEST(Line, UnknownLayerIsAddedWithItsIndex) {
  test::TempFile f(test::Drawing({{0, "LINE"}, {8, "EXTRA"}, {62, "2"}}, {{"0", 7}}));
  Vessik_Parser parser;
  Vessik_CommonData data = test::TestData();
  Vessik_Progress progress;
  auto rec = Records(parser.Parse2(f.Path(), data, progress));
  EXPECT_EQ(rec[0][2], "EXTRA");
  EXPECT_EQ(rec[0][3], "1");
  EXPECT_EQ(rec[0][4], "65535");
  ASSERT_EQ(parser.Layers().size(), 2u);
  EXPECT_EQ(parser.Layers()[1]->Name, "EXTRA");
  EXPECT_EQ(parser.Layers()[1]->Color->ColorRGB(), 16777215);
}

TEST(Line, ColourThatIsNoNumberFailsTheParse) {
  try {
    ParseDrawing({{0, "LINE"}, {62, "red"}});
    FAIL() << "no failure";
  } catch (const Vessik_Error& e) {
    EXPECT_EQ(e.Number(), 13);
    EXPECT_EQ(e.Description(), "Type mismatch");
  }
}

TEST(Line, RepeatedCodeOverwritesAndHandleIsHex) {
  auto rec = Records(ParseDrawing({{0, "LINE"}, {5, "FFFF"}, {10, "1"}, {10, "2,5"}}));
  EXPECT_EQ(rec[0][0], "-1");
  EXPECT_EQ(rec[0][5], "2.5");
}

TEST(Line, ReadStopsInFrontOfTheNextCodeZero) {
  GroupPairs().Assign({{10, "1"}, {20, "2"}, {0, "LINE"}});
  Vessik_Line line;
  Vessik_Layers layers;
  EXPECT_EQ(line.Vessik_IEntity_Read(0, layers), 1);
  EXPECT_EQ(line.X1, 1);
  EXPECT_EQ(line.Y1, 2);
  GroupPairs().Clear();
}

TEST(Line, RunningOffThePairsRaisesNine) {
  GroupPairs().Assign({{10, "1"}});
  Vessik_Line line;
  Vessik_Layers layers;
  try {
    line.Vessik_IEntity_Read(0, layers);
    FAIL() << "no failure";
  } catch (const Vessik_Error& e) {
    EXPECT_EQ(e.Number(), 9);
  }
  GroupPairs().Clear();
}

}  // namespace
}  // namespace vessik
