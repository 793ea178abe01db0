// The section index, the layer table, the block table and the small records of
// colours and layers.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "parser/GroupPairs.h"
#include "parser/Vessik_Collection.h"
#include "parser/Vessik_Color.h"
#include "parser/Vessik_Error.h"
#include "parser/Vessik_Layer.h"
#include "parser/Vessik_Parser.h"
#include "parser/Vessik_Utils.h"

namespace vessik {
namespace {

using Pairs = std::vector<std::pair<int32_t, std::string>>;

std::vector<Vessik_Section> Sections(const Pairs& pairs) {
  GroupPairs().Assign(pairs);
  return Vessik_Parser::ParseSections();
}

template <class F>
int32_t FailureNumber(F&& f) {
  try {
    f();
  } catch (const Vessik_Error& e) {
    return e.Number();
  }
  ADD_FAILURE() << "no failure raised";
  return 0;
}

Pairs Tables(const Pairs& inner) {
  Pairs p = {{0, "SECTION"}, {2, "TABLES"}};
  p.insert(p.end(), inner.begin(), inner.end());
  p.push_back({0, "ENDSEC"});
  return p;
}

Vessik_Layers Layers(const Pairs& pairs) {
  return Vessik_Parser::ParseLayers(Sections(pairs));
}

Pairs Blocks(const Pairs& inner) {
  Pairs p = {{0, "SECTION"}, {2, "BLOCKS"}};
  p.insert(p.end(), inner.begin(), inner.end());
  p.push_back({0, "ENDSEC"});
  return p;
}

std::vector<Vessik_Block> BlocksOf(const Pairs& pairs) {
  return Vessik_Parser::ParseBlocks(Sections(pairs));
}

uint64_t Bits(double d) {
  uint64_t b;
  std::memcpy(&b, &d, sizeof b);
  return b;
}

}  // namespace

// Sections

TEST(ParseSections, FiveSectionsInFileOrder) {
  auto s = Sections({{0, "SECTION"},
                     {2, "HEADER"},
                     {9, "$EXTMIN"},
                     {10, "0"},
                     {0, "ENDSEC"},
                     {0, "SECTION"},
                     {2, "TABLES"},
                     {0, "ENDSEC"},
                     {0, "SECTION"},
                     {2, "BLOCKS"},
                     {0, "ENDSEC"},
                     {0, "SECTION"},
                     {2, "ENTITIES"},
                     {0, "ENDSEC"},
                     {0, "SECTION"},
                     {2, "OBJECTS"},
                     {0, "ENDSEC"},
                     {0, "EOF"}});
  ASSERT_EQ(s.size(), 5u);
  const char* names[] = {"HEADER", "TABLES", "BLOCKS", "ENTITIES", "OBJECTS"};
  const int32_t begin[] = {0, 5, 8, 11, 14};
  const int32_t end[] = {4, 7, 10, 13, 16};
  for (size_t i = 0; i < 5; ++i) {
    EXPECT_EQ(s[i].Name, names[i]);
    EXPECT_EQ(s[i].BeginLine, begin[i]);
    EXPECT_EQ(s[i].EndLine, end[i]);
    EXPECT_EQ(s[i].Number, 0);
  }
}

TEST(ParseSections, OpenSectionAtTheEndIsNotRecorded) {
  auto s = Sections({{0, "SECTION"},
                     {2, "TABLES"},
                     {0, "ENDSEC"},
                     {0, "SECTION"},
                     {2, "ENTITIES"},
                     {0, "POINT"}});
  ASSERT_EQ(s.size(), 1u);
  EXPECT_EQ(s[0].Name, "TABLES");
}

TEST(ParseSections, UnfinishedSectionDroppedByTheNext) {
  auto s = Sections({{0, "SECTION"}, {2, "A"}, {0, "SECTION"}, {2, "B"}, {0, "ENDSEC"}});
  ASSERT_EQ(s.size(), 1u);
  EXPECT_EQ(s[0].Name, "B");
  EXPECT_EQ(s[0].BeginLine, 2);
  EXPECT_EQ(s[0].EndLine, 4);
}

TEST(ParseSections, TwoEntitiesSectionsFirstIsFound) {
  auto s = Sections({{0, "SECTION"},
                     {2, "ENTITIES"},
                     {0, "ENDSEC"},
                     {0, "SECTION"},
                     {2, "ENTITIES"},
                     {0, "POINT"},
                     {0, "ENDSEC"}});
  ASSERT_EQ(s.size(), 2u);
  EXPECT_EQ(Vessik_Parser::FindSection(s, "ENTITIES"), 0);
  EXPECT_EQ(s[0].EndLine, 2);
}

TEST(ParseSections, MissingGroup2LeavesTheNameEmpty) {
  auto s = Sections({{0, "SECTION"}, {0, "POINT"}, {0, "ENDSEC"}});
  ASSERT_EQ(s.size(), 1u);
  EXPECT_EQ(s[0].Name, "");
  EXPECT_EQ(Vessik_Parser::FindSection(s, ""), 0);
  EXPECT_EQ(Vessik_Parser::FindSection(s, "ENTITIES"), -1);
}

TEST(ParseSections, FirstGroup2InsideNamesASectionWithoutOne) {
  auto s = Sections({{0, "SECTION"}, {0, "INSERT"}, {2, "ENTITIES"}, {2, "OTHER"}, {0, "ENDSEC"}});
  ASSERT_EQ(s.size(), 1u);
  EXPECT_EQ(s[0].Name, "ENTITIES");
}

TEST(ParseSections, LaterGroup2DoesNotRename) {
  auto s = Sections({{0, "SECTION"}, {2, "BLOCKS"}, {0, "BLOCK"}, {2, "B1"}, {0, "ENDSEC"}});
  ASSERT_EQ(s.size(), 1u);
  EXPECT_EQ(s[0].Name, "BLOCKS");
}

TEST(ParseSections, ValuesDecideWhateverTheCode) {
  // A group 2 "SECTION" opens a section and names it on the same pair; a group 1
  // "ENDSEC" closes it.
  auto s = Sections({{2, "SECTION"}, {1, "ENDSEC"}, {2, "ENDSEC"}, {7, "SECTION"}, {2, "ENDSEC"}});
  ASSERT_EQ(s.size(), 2u);
  EXPECT_EQ(s[0].Name, "SECTION");
  EXPECT_EQ(s[0].BeginLine, 0);
  EXPECT_EQ(s[0].EndLine, 1);
  // A group 2 "ENDSEC" of an unnamed section names it and closes it.
  EXPECT_EQ(s[1].Name, "ENDSEC");
  EXPECT_EQ(s[1].BeginLine, 3);
  EXPECT_EQ(s[1].EndLine, 4);
}

TEST(ParseSections, EndsecWithoutSectionIsIgnored) {
  auto s = Sections({{0, "ENDSEC"}, {0, "SECTION"}, {2, "A"}, {0, "ENDSEC"}, {0, "ENDSEC"}});
  ASSERT_EQ(s.size(), 1u);
  EXPECT_EQ(s[0].BeginLine, 1);
}

TEST(ParseSections, KeywordsAreExact) {
  auto s = Sections({{0, "SECTION "}, {2, "A"}, {0, "ENDSEC"}, {0, "section"}, {0, "ENDSEC"}});
  EXPECT_TRUE(s.empty());
}

TEST(FindSection, ExactAndCaseSensitive) {
  auto s = Sections({{0, "SECTION"}, {2, "TABLES"}, {0, "ENDSEC"}});
  EXPECT_EQ(Vessik_Parser::FindSection(s, "TABLES"), 0);
  EXPECT_EQ(Vessik_Parser::FindSection(s, "tables"), -1);
  EXPECT_EQ(Vessik_Parser::FindSection(s, "TABLES "), -1);
  EXPECT_EQ(Vessik_Parser::FindSection(s, "BLOCKS"), -1);
}

TEST(FindSection, NoCompletedSectionFailsWith9) {
  std::vector<Vessik_Section> none;
  EXPECT_EQ(FailureNumber([&] { Vessik_Parser::FindSection(none, "ENTITIES"); }), 9);
}

// Layers

TEST(ParseLayers, ThreeLayersInFileOrderWithoutTheHeader) {
  auto layers = Layers(Tables({{0, "TABLE"},
                               {2, "LAYER"},
                               {70, "3"},
                               {0, "LAYER"},
                               {2, "0"},
                               {70, "0"},
                               {62, "7"},
                               {6, "CONTINUOUS"},
                               {0, "LAYER"},
                               {2, "WALLS"},
                               {62, "3"},
                               {0, "LAYER"},
                               {2, "Doors"},
                               {62, "-1"},
                               {0, "ENDTAB"}}));
  ASSERT_EQ(layers.size(), 3u);
  EXPECT_EQ(layers[0]->Name, "0");
  EXPECT_EQ(layers[0]->Color->ColorACI(), 7);
  EXPECT_EQ(layers[0]->Color->ColorRGB(), 16777215);
  EXPECT_EQ(layers[1]->Name, "WALLS");
  EXPECT_EQ(layers[1]->Color->ColorACI(), 3);
  EXPECT_EQ(layers[1]->Color->ColorRGB(), 65280);
  // Switched off: the negative number stays, the colour is that of 1.
  EXPECT_EQ(layers[2]->Name, "Doors");
  EXPECT_EQ(layers[2]->Color->ColorACI(), -1);
  EXPECT_EQ(layers[2]->Color->ColorRGB(), 255);
}

TEST(ParseLayers, NoGroup62KeepsWhite) {
  auto layers = Layers(
      Tables({{0, "TABLE"}, {2, "LAYER"}, {0, "LAYER"}, {2, "A"}, {70, "0"}, {0, "ENDTAB"}}));
  ASSERT_EQ(layers.size(), 1u);
  EXPECT_EQ(layers[0]->Name, "A");
  EXPECT_EQ(layers[0]->Color->ColorACI(), 7);
  EXPECT_EQ(layers[0]->Color->ColorRGB(), 16777215);
}

TEST(ParseLayers, EmptyLayerTableGivesNone) {
  auto layers = Layers(Tables({{0, "TABLE"},
                               {2, "LAYER"},
                               {70, "0"},
                               {0, "ENDTAB"},
                               {0, "TABLE"},
                               {2, "STYLE"},
                               {0, "STYLE"},
                               {2, "Standard"},
                               {0, "ENDTAB"}}));
  EXPECT_TRUE(layers.empty());
}

TEST(ParseLayers, SectionEndingWithoutEndtabLosesTheLastLayer) {
  auto layers = Layers(Tables(
      {{0, "TABLE"}, {2, "LAYER"}, {0, "LAYER"}, {2, "A"}, {0, "LAYER"}, {2, "B"}, {62, "5"}}));
  ASSERT_EQ(layers.size(), 1u);
  EXPECT_EQ(layers[0]->Name, "A");
}

TEST(ParseLayers, LayerNamedLayer) {
  auto layers = Layers(Tables({{0, "TABLE"},
                               {2, "LAYER"},
                               {70, "2"},
                               {0, "LAYER"},
                               {2, "A"},
                               {62, "1"},
                               {0, "LAYER"},
                               {2, "LAYER"},
                               {62, "3"},
                               {0, "ENDTAB"}}));
  ASSERT_EQ(layers.size(), 3u);
  EXPECT_EQ(layers[0]->Name, "A");
  EXPECT_EQ(layers[0]->Color->ColorACI(), 1);
  // The record in front of the name is stored without a name.
  EXPECT_EQ(layers[1]->Name, "");
  EXPECT_EQ(layers[1]->Color->ColorACI(), 7);
  EXPECT_EQ(layers[2]->Name, "LAYER");
  EXPECT_EQ(layers[2]->Color->ColorACI(), 3);
}

TEST(ParseLayers, OtherTablesInFrontArePassedOver) {
  auto layers = Layers(Tables({{0, "TABLE"},
                               {2, "LTYPE"},
                               {0, "LTYPE"},
                               {2, "CONTINUOUS"},
                               {0, "ENDTAB"},
                               {0, "TABLE"},
                               {2, "LAYER"},
                               {0, "LAYER"},
                               {2, "A"},
                               {62, "2"},
                               {0, "ENDTAB"},
                               {0, "TABLE"},
                               {2, "STYLE"},
                               {0, "STYLE"},
                               {2, "Standard"},
                               {62, "1"},
                               {0, "ENDTAB"}}));
  ASSERT_EQ(layers.size(), 1u);
  EXPECT_EQ(layers[0]->Name, "A");
  EXPECT_EQ(layers[0]->Color->ColorACI(), 2);
}

TEST(ParseLayers, ColourNumberConversions) {
  auto layers = Layers(Tables({{0, "TABLE"},
                               {2, "LAYER"},
                               {0, "LAYER"},
                               {2, "A"},
                               {62, " 5 "},
                               {0, "LAYER"},
                               {2, "B"},
                               {62, "2.5"},
                               {0, "LAYER"},
                               {2, "C"},
                               {62, "11"},
                               {62, "256"},
                               {0, "ENDTAB"}}));
  ASSERT_EQ(layers.size(), 3u);
  EXPECT_EQ(layers[0]->Color->ColorACI(), 5);
  EXPECT_EQ(layers[1]->Color->ColorACI(), 2);
  // Every group 62 of the record counts: the last one wins.
  EXPECT_EQ(layers[2]->Color->ColorACI(), 256);
  EXPECT_EQ(layers[2]->Color->ColorRGB(), -1);
}

TEST(ParseLayers, TextColourIsTypeMismatch) {
  EXPECT_EQ(
      FailureNumber([] {
        Layers(Tables(
            {{0, "TABLE"}, {2, "LAYER"}, {0, "LAYER"}, {2, "A"}, {62, "red"}, {0, "ENDTAB"}}));
      }),
      13);
}

TEST(ParseLayers, NoTablesSectionGivesNone) {
  auto layers = Layers({{0, "SECTION"}, {2, "ENTITIES"}, {0, "ENDSEC"}});
  EXPECT_TRUE(layers.empty());
}

// Blocks

TEST(ParseBlocks, BasePointAndRange) {
  auto blocks = BlocksOf(Blocks({{0, "BLOCK"},
                                 {8, "0"},
                                 {2, "B1"},
                                 {70, "0"},
                                 {10, "1"},
                                 {20, "2"},
                                 {30, "3"},
                                 {3, "B1"},
                                 {0, "ENDBLK"},
                                 {0, "BLOCK"},
                                 {2, "B2"},
                                 {10, "4,5"},
                                 {20, "5"},
                                 {0, "ENDBLK"}}));
  ASSERT_EQ(blocks.size(), 2u);
  EXPECT_EQ(blocks[0].Name, "B1");
  EXPECT_EQ(blocks[0].StartLine, 2);
  EXPECT_EQ(blocks[0].EndLine, 10);
  EXPECT_EQ(blocks[0].X, 1);
  EXPECT_EQ(blocks[0].Y, 2);
  EXPECT_EQ(blocks[0].Z, 3);
  // Without group 30 Z is 0.
  EXPECT_EQ(blocks[1].Name, "B2");
  EXPECT_EQ(blocks[1].X, 4.5);
  EXPECT_EQ(blocks[1].Y, 5);
  EXPECT_EQ(blocks[1].Z, 0);
  EXPECT_EQ(blocks[1].StartLine, 11);
  EXPECT_EQ(blocks[1].EndLine, 15);
}

TEST(ParseBlocks, NestedDataCannotChangeNameOrBasePoint) {
  auto blocks = BlocksOf(Blocks({{0, "BLOCK"},
                                 {2, "B"},
                                 {10, "1"},
                                 {20, "2"},
                                 {30, "3"},
                                 {0, "INSERT"},
                                 {2, "OTHER"},
                                 {10, "9"},
                                 {20, "9"},
                                 {30, "9"},
                                 {0, "ENDBLK"}}));
  ASSERT_EQ(blocks.size(), 1u);
  EXPECT_EQ(blocks[0].Name, "B");
  EXPECT_EQ(blocks[0].X, 1);
  EXPECT_EQ(blocks[0].Y, 2);
  EXPECT_EQ(blocks[0].Z, 3);
}

TEST(ParseBlocks, MissingHeaderValuesComeFromTheFirstEntity) {
  auto blocks = BlocksOf(Blocks({{0, "BLOCK"},
                                 {10, "1"},
                                 {0, "LINE"},
                                 {2, "FROMLINE"},
                                 {10, "8"},
                                 {20, "7"},
                                 {20, "6"},
                                 {0, "ENDBLK"}}));
  ASSERT_EQ(blocks.size(), 1u);
  EXPECT_EQ(blocks[0].Name, "FROMLINE");
  EXPECT_EQ(blocks[0].X, 1);
  EXPECT_EQ(blocks[0].Y, 7);
  EXPECT_EQ(blocks[0].Z, 0);
}

TEST(ParseBlocks, ExactUnsetValueInTheFileCountsAsNotSet) {
  auto blocks = BlocksOf(Blocks({{0, "BLOCK"},
                                 {2, "B"},
                                 {10, "-1.79769313486231E+308"},
                                 {20, "-1.79769313486231E+308"},
                                 {0, "POINT"},
                                 {10, "7"},
                                 {0, "ENDBLK"}}));
  ASSERT_EQ(blocks.size(), 1u);
  // The text of the file reads as exactly the bits of the marker.
  EXPECT_EQ(Bits(ParseDouble("-1.79769313486231E+308")), 0xFFEFFFFFFFFFFFE2ull);
  EXPECT_EQ(blocks[0].X, 7);
  // Still unset at "ENDBLK": 0.
  EXPECT_EQ(blocks[0].Y, 0);
  EXPECT_EQ(blocks[0].Z, 0);
}

TEST(ParseBlocks, NearlyUnsetValueIsKept) {
  auto blocks = BlocksOf(
      Blocks({{0, "BLOCK"}, {2, "B"}, {10, "-1.7976931348623E+308"}, {10, "5"}, {0, "ENDBLK"}}));
  ASSERT_EQ(blocks.size(), 1u);
  EXPECT_EQ(blocks[0].X, -1.7976931348623E+308);
}

TEST(ParseBlocks, TwoBlocksOfOneName) {
  auto blocks = BlocksOf(Blocks({{0, "BLOCK"},
                                 {2, "B"},
                                 {10, "1"},
                                 {0, "ENDBLK"},
                                 {0, "BLOCK"},
                                 {2, "B"},
                                 {10, "2"},
                                 {0, "ENDBLK"}}));
  ASSERT_EQ(blocks.size(), 2u);
  EXPECT_EQ(blocks[0].Name, "B");
  EXPECT_EQ(blocks[1].Name, "B");
  EXPECT_EQ(blocks[0].X, 1);
  EXPECT_EQ(blocks[1].X, 2);
}

TEST(ParseBlocks, BlockWithoutEndblkIsDropped) {
  auto blocks = BlocksOf(Blocks({{0, "BLOCK"},
                                 {2, "LOST"},
                                 {0, "BLOCK"},
                                 {2, "KEPT"},
                                 {0, "ENDBLK"},
                                 {0, "BLOCK"},
                                 {2, "OPEN"}}));
  ASSERT_EQ(blocks.size(), 1u);
  EXPECT_EQ(blocks[0].Name, "KEPT");
  EXPECT_EQ(blocks[0].StartLine, 4);
}

TEST(ParseBlocks, KeywordsCountOnlyWithCode0) {
  auto blocks = BlocksOf(
      Blocks({{2, "BLOCK"}, {0, "BLOCK"}, {2, "B"}, {1, "ENDBLK"}, {10, "3"}, {0, "ENDBLK"}}));
  ASSERT_EQ(blocks.size(), 1u);
  EXPECT_EQ(blocks[0].Name, "B");
  EXPECT_EQ(blocks[0].StartLine, 3);
  EXPECT_EQ(blocks[0].EndLine, 7);
  EXPECT_EQ(blocks[0].X, 3);
}

TEST(ParseBlocks, EndblkWithoutBlockIsNullReference) {
  EXPECT_EQ(FailureNumber([] { BlocksOf(Blocks({{0, "ENDBLK"}})); }), 91);
  EXPECT_EQ(FailureNumber([] {
              BlocksOf(Blocks({{0, "BLOCK"}, {2, "A"}, {0, "ENDBLK"}, {0, "ENDBLK"}}));
            }),
            91);
}

TEST(ParseBlocks, NoBlocksSectionGivesNone) {
  EXPECT_TRUE(BlocksOf({{0, "SECTION"}, {2, "ENTITIES"}, {0, "ENDSEC"}}).empty());
  EXPECT_TRUE(BlocksOf(Blocks({{0, "POINT"}})).empty());
}

// The pairs and the collections

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

TEST(VessikError, PlatformWords) {
  EXPECT_EQ(PlatformErrorText(5), "Invalid procedure call or argument");
  EXPECT_EQ(PlatformErrorText(6), "Overflow");
  EXPECT_EQ(PlatformErrorText(7), "Out of memory");
  EXPECT_EQ(PlatformErrorText(9), "Subscript out of range");
  EXPECT_EQ(PlatformErrorText(11), "Division by zero");
  EXPECT_EQ(PlatformErrorText(13), "Type mismatch");
  EXPECT_EQ(PlatformErrorText(28), "Out of stack space");
  EXPECT_EQ(PlatformErrorText(53), "File not found");
  EXPECT_EQ(PlatformErrorText(75), "Path/File access error");
  EXPECT_EQ(PlatformErrorText(91), "Object variable or With block variable not set");
  try {
    RaisePlatformError(13);
    ADD_FAILURE() << "no failure raised";
  } catch (const Vessik_Error& e) {
    EXPECT_EQ(e.Number(), 13);
    EXPECT_EQ(e.Source(), "");
    EXPECT_EQ(e.Description(), "Type mismatch");
    EXPECT_STREQ(e.what(), "Type mismatch");
  }
}

// Colour and layer records

TEST(VessikColor, NewIsZero) {
  Vessik_Color c;
  EXPECT_EQ(c.ColorACI(), 0);
  EXPECT_EQ(c.ColorRGB(), 0);
}

TEST(VessikColor, WritingTheNumberSetsTheRgb) {
  Vessik_Color c;
  c.ColorACI(3);
  EXPECT_EQ(c.ColorACI(), 3);
  EXPECT_EQ(c.ColorRGB(), 65280);
  c.ColorACI(-5);
  EXPECT_EQ(c.ColorACI(), -5);
  EXPECT_EQ(c.ColorRGB(), 16711680);
  c.ColorRGB(12345);
  EXPECT_EQ(c.ColorRGB(), 12345);
  EXPECT_EQ(c.ColorACI(), -5);
  c.ColorACI(256);
  EXPECT_EQ(c.ColorRGB(), -1);
}

TEST(VessikColor, SmallestNumberOverflows) {
  Vessik_Color c;
  EXPECT_EQ(FailureNumber([&] { c.ColorACI(-2147483647 - 1); }), 6);
}

TEST(VessikLayer, NewLayerIsWhiteWithoutName) {
  Vessik_Layer l;
  EXPECT_EQ(l.Name, "");
  ASSERT_NE(l.Color, nullptr);
  EXPECT_EQ(l.Color->ColorACI(), 7);
  EXPECT_EQ(l.Color->ColorRGB(), 16777215);
}

}  // namespace vessik
