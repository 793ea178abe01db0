// Hashed lookups of layers and blocks by name: the first of a name wins, layers
// added while reading are found, and a lookup serves only its own list.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "entities/EntityTestUtil.h"
#include "geometry/Vessik_Math.h"
#include "parser/NameLookup.h"

namespace vessik {
namespace {

Vessik_Layers LayersNamed(const std::vector<std::string>& names) {
  Vessik_Layers layers;
  for (const std::string& n : names) {
    layers.push_back(std::make_shared<Vessik_Layer>());
    layers.back()->Name = n;
  }
  return layers;
}

Vessik_Block BlockNamed(const std::string& name, int32_t start) {
  Vessik_Block b;
  b.Name = name;
  b.StartLine = start;
  return b;
}

TEST(LayerLookup, FirstOfANameWins) {
  Vessik_Layers layers = LayersNamed({"0", "A", "B", "A"});
  LayerLookup lookup(layers);
  EXPECT_EQ(lookup.Find("A"), 1);
  EXPECT_EQ(lookup.Find("B"), 2);
  EXPECT_EQ(lookup.Find("0"), 0);
  EXPECT_EQ(lookup.Find("a"), LayerLookup::kNone);
  EXPECT_EQ(lookup.Find(""), LayerLookup::kNone);
}

TEST(LayerLookup, LayerIndexAddsOnceAndFindsWhatItAdded) {
  Vessik_Layers layers = LayersNamed({"0", "A"});
  LayerLookup lookup(layers);
  EXPECT_EQ(LayerIndex(layers, "A"), 1);
  EXPECT_EQ(LayerIndex(layers, "NEW"), 2);
  EXPECT_EQ(LayerIndex(layers, "NEW"), 2);
  EXPECT_EQ(LayerIndex(layers, "OTHER"), 3);
  ASSERT_EQ(layers.size(), 4u);
  EXPECT_EQ(layers[2]->Name, "NEW");
  EXPECT_EQ(layers[3]->Name, "OTHER");
}

TEST(LayerLookup, ServesOnlyItsOwnListAndOnlyWhileItLives) {
  Vessik_Layers mine = LayersNamed({"X"});
  Vessik_Layers other = LayersNamed({"Y", "X"});
  {
    LayerLookup lookup(mine);
    EXPECT_EQ(LayerLookup::For(mine), &lookup);
    EXPECT_EQ(LayerLookup::For(other), nullptr);
    // A list without a lookup is scanned from the front, as before.
    EXPECT_EQ(LayerIndex(other, "X"), 1);
  }
  EXPECT_EQ(LayerLookup::For(mine), nullptr);
  EXPECT_EQ(LayerIndex(mine, "X"), 0);
}

TEST(LayerLookup, AnInnerLookupGivesBackTheOuterOne) {
  Vessik_Layers outer = LayersNamed({"A"});
  Vessik_Layers inner = LayersNamed({"B"});
  LayerLookup outerLookup(outer);
  {
    LayerLookup innerLookup(inner);
    EXPECT_EQ(LayerLookup::For(inner), &innerLookup);
    EXPECT_EQ(LayerLookup::For(outer), nullptr);
  }
  EXPECT_EQ(LayerLookup::For(outer), &outerLookup);
  EXPECT_EQ(outerLookup.Find("A"), 0);
}

TEST(LayerLookup, AListCutBackIsTakenInAnew) {
  Vessik_Layers layers = LayersNamed({"A", "B", "C"});
  LayerLookup lookup(layers);
  EXPECT_EQ(lookup.Find("C"), 2);
  layers.resize(1);
  layers.push_back(std::make_shared<Vessik_Layer>());
  layers.back()->Name = "D";
  EXPECT_EQ(lookup.Find("C"), LayerLookup::kNone);
  EXPECT_EQ(lookup.Find("D"), 1);
}

TEST(LayerLookup, ANameAskedForAgainKeepsItsFirstPosition) {
  Vessik_Layers layers = LayersNamed({"A"});
  LayerLookup lookup(layers);
  EXPECT_EQ(lookup.Find("A"), 0);
  // A later layer of the same name, and others, do not move it.
  layers.push_back(std::make_shared<Vessik_Layer>());
  layers.back()->Name = "A";
  layers.push_back(std::make_shared<Vessik_Layer>());
  layers.back()->Name = "B";
  EXPECT_EQ(lookup.Find("A"), 0);
  EXPECT_EQ(lookup.Find("B"), 2);
  EXPECT_EQ(lookup.Find("B"), 2);
  EXPECT_EQ(lookup.Find("A"), 0);
  EXPECT_EQ(lookup.Find("AB"), LayerLookup::kNone);
  EXPECT_EQ(lookup.Find("A"), 0);
}

TEST(LayerLookup, ManyNamesSharingRecentEntriesAreEachFoundAtTheirPlace) {
  std::vector<std::string> names;
  for (int k = 0; k < 1000; ++k) names.push_back("L" + std::to_string(k));
  names.push_back("L7");
  Vessik_Layers layers = LayersNamed(names);
  LayerLookup lookup(layers);
  for (int round = 0; round < 3; ++round) {
    for (int k = 0; k < 1000; ++k) {
      const int32_t index = (k * 389 + round) % 1000;
      ASSERT_EQ(lookup.Find("L" + std::to_string(index)), index);
    }
  }
  EXPECT_EQ(lookup.Find("L1000"), LayerLookup::kNone);
  EXPECT_EQ(lookup.Find("L7"), 7);
}

TEST(BlockLookup, FirstOfANameWinsAndMissingIsNone) {
  const std::vector<Vessik_Block> blocks{BlockNamed("A", 10), BlockNamed("B", 20),
                                         BlockNamed("A", 30)};
  BlockLookup lookup(blocks);
  ASSERT_NE(lookup.Find("A"), nullptr);
  EXPECT_EQ(lookup.Find("A")->StartLine, 10);
  EXPECT_EQ(lookup.Find("B")->StartLine, 20);
  EXPECT_EQ(lookup.Find("b"), nullptr);
  EXPECT_EQ(BlockLookup::For(blocks), &lookup);
  const std::vector<Vessik_Block> other{BlockNamed("A", 1)};
  EXPECT_EQ(BlockLookup::For(other), nullptr);
}

TEST(BlockLookup, RemembersTheItemCountOfEachBlockOfTheList) {
  const std::vector<Vessik_Block> blocks{BlockNamed("A", 10), BlockNamed("B", 20),
                                         BlockNamed("A", 30)};
  BlockLookup lookup(blocks);
  EXPECT_EQ(lookup.ItemCount(blocks[0]), 0);
  lookup.NoteItemCount(blocks[0], 7);
  lookup.NoteItemCount(blocks[1], 3);
  EXPECT_EQ(lookup.ItemCount(blocks[0]), 7);
  EXPECT_EQ(lookup.ItemCount(blocks[1]), 3);
  // The second block of a name is a block of its own.
  EXPECT_EQ(lookup.ItemCount(blocks[2]), 0);
}

// Every reference to a block after the first makes room for the items the first
// gave: the items, and so the text, are those of the block all the same, whatever
// the references around it.
TEST(NameLookupInParse, EveryReferenceToABlockGivesAllItsItems) {
  using test::Pairs;
  const Pairs blocks = test::Concat(
      {test::Block("B", {{0, "LINE"},
                         {8, "L"},
                         {10, "1"},
                         {20, "1"},
                         {11, "2"},
                         {21, "2"},
                         {0, "LINE"},
                         {8, "L"},
                         {10, "3"},
                         {20, "3"},
                         {11, "4"},
                         {21, "4"},
                         {0, "INSERT"},
                         {2, "C"},
                         {10, "5"},
                         {20, "0"}}),
       test::Block("C", {{0, "LINE"}, {8, "L"}, {10, "0"}, {20, "0"}, {11, "1"}, {21, "0"}})});
  Pairs entities;
  for (int k = 0; k < 3; ++k) {
    const Pairs reference{
        {0, "INSERT"}, {8, "L"}, {2, "B"}, {10, std::to_string(10 * k)}, {20, "0"}};
    entities.insert(entities.end(), reference.begin(), reference.end());
  }
  const std::string text = test::ParseDrawing(entities, {{"L", 1}}, blocks);
  std::string expected;
  for (int k = 0; k < 3; ++k) {
    const auto at = [&](int dx) { return std::to_string(10 * k + dx); };
    expected +=
        "0\t83\tL\t0\t255\t" + at(1) + "\t1\t0\t" + at(2) + "\t2\t0\t0\t0\t0\t0\t0\t0\t\r\n";
    expected +=
        "0\t83\tL\t0\t255\t" + at(3) + "\t3\t0\t" + at(4) + "\t4\t0\t0\t0\t0\t0\t0\t0\t\r\n";
    expected +=
        "0\t83\tL\t0\t255\t" + at(5) + "\t0\t0\t" + at(6) + "\t0\t0\t0\t0\t0\t0\t0\t0\t\r\n";
  }
  EXPECT_EQ(text, expected);
}

// Through a whole parse: two blocks of one name, the first is drawn; a layer
// listed twice in the table, the first position is the entity's.
TEST(NameLookupInParse, FirstBlockAndFirstLayerOfANameCount) {
  using test::Pairs;
  const Pairs blocks = test::Concat(
      {test::Block("B", {{0, "LINE"}, {8, "L"}, {10, "1"}, {20, "1"}, {11, "2"}, {21, "2"}}),
       test::Block("B", {{0, "LINE"}, {8, "L"}, {10, "7"}, {20, "7"}, {11, "8"}, {21, "8"}})});
  const std::string text =
      test::ParseDrawing({{0, "INSERT"}, {5, "A"}, {8, "L"}, {2, "B"}, {10, "0"}, {20, "0"}},
                         {{"L", 1}, {"L", 3}}, blocks);
  EXPECT_EQ(text, "0\t83\tL\t0\t255\t1\t1\t0\t2\t2\t0\t0\t0\t0\t0\t0\t0\t\r\n");
}

}  // namespace
}  // namespace vessik
