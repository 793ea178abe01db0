// Parse2 gives back memory as it goes (the pairs it has walked past, the items it
// has printed). That must not change the text: the stages driven one by one, which
// keep everything, give the same.
#include <gtest/gtest.h>

#include <string>

#include "entities/Vessik_Insert.h"
#include "parser/parser.h"
#include "support/TestSupport.h"

namespace vessik {
namespace {

// A drawing of several megabytes: many lines, and references to a block that
// lies in front of the entities.
std::string LargeDrawing() {
  std::vector<std::pair<int, std::string>> blocks = {
      {0, "BLOCK"}, {2, "B"},  {10, "1"}, {20, "2"},    {30, "0"},   {0, "LINE"},
      {8, "IN"},    {10, "0"}, {20, "0"}, {11, "3.25"}, {21, "1.5"}, {0, "ENDBLK"}};
  std::vector<std::pair<int, std::string>> entities;
  for (int i = 0; i < 60000; ++i) {
    const std::string a = std::to_string(i * 0.37);
    const std::string b = std::to_string(i % 977 * 1.13);
    if (i % 50 == 0) {
      entities.insert(entities.end(), {{0, "INSERT"}, {2, "B"}, {10, a}, {20, b}, {50, "30"}});
    } else {
      entities.insert(entities.end(),
                      {{0, "LINE"}, {5, "1F"}, {8, "L1"}, {10, a}, {20, b}, {11, b}, {21, a}});
    }
  }
  return test::Drawing(entities, {{"L1", 3}}, blocks);
}

// The text of the stages driven one by one, which print after reading everything.
std::string ByHand(const std::string& path) {
  Vessik_CommonData data;
  Vessik_Progress progress;
  Vessik_Parser::LoadDXF(path);
  auto sections = Vessik_Parser::ParseSections();
  Vessik_Layers layers = Vessik_Parser::ParseLayers(sections);
  auto blocks = Vessik_Parser::ParseBlocks(sections);
  Vessik_Parser byHand;
  auto root = byHand.ParseEntities(sections, blocks, layers, &data, &progress);
  if (!root) return "no root";
  return root->Vessik_IEntity_ToString(layers);
}

std::string ByParse2(const std::string& path) {
  Vessik_CommonData data;
  Vessik_Progress progress;
  Vessik_Parser parser;
  return parser.Parse2(path, data, progress);
}

TEST(OneShot, Parse2GivesTheTextOfTheStagesDrivenByHand) {
  test::TempFile f(LargeDrawing());
  Vessik_CommonData data;
  Vessik_Progress progress;

  Vessik_Parser::LoadDXF(f.Path());
  auto sections = Vessik_Parser::ParseSections();
  Vessik_Layers layers = Vessik_Parser::ParseLayers(sections);
  auto blocks = Vessik_Parser::ParseBlocks(sections);
  Vessik_Parser byHand;
  auto root = byHand.ParseEntities(sections, blocks, layers, &data, &progress);
  ASSERT_TRUE(root);
  const std::string expected = root->Vessik_IEntity_ToString(layers);
  ASSERT_GT(expected.size(), 3000000u);

  Vessik_Parser parser;
  EXPECT_EQ(parser.Parse2(f.Path(), data, progress), expected);
}

TEST(OneShot, ItemsBeforeTheFirstLayerNameTheLayerAddedLater) {
  // No layer table: the first thousand lines have no layer while they are read,
  // and print with the one a later line adds.
  std::vector<std::pair<int, std::string>> entities;
  for (int i = 0; i < 1000; ++i) entities.insert(entities.end(), {{0, "LINE"}, {10, "1"}});
  entities.insert(entities.end(), {{0, "LINE"}, {8, "LATE"}, {10, "2"}});
  for (int i = 0; i < 1000; ++i) entities.insert(entities.end(), {{0, "LINE"}, {10, "3"}});
  test::TempFile f(test::Drawing(entities));
  const std::string text = ByParse2(f.Path());
  EXPECT_EQ(text, ByHand(f.Path()));
  const auto records = test::Records(text);
  ASSERT_EQ(records.size(), 2001u);
  EXPECT_EQ(records.front()[2], "LATE");
  EXPECT_EQ(records.back()[2], "LATE");
}

TEST(OneShot, ManyLayersAddedByEntitiesGiveTheSameText) {
  std::vector<std::pair<int, std::string>> entities;
  for (int i = 0; i < 3000; ++i) {
    entities.insert(entities.end(),
                    {{0, "LINE"}, {8, "L" + std::to_string(i % 1500)}, {10, std::to_string(i)}});
  }
  test::TempFile f(test::Drawing(entities, {{"0", 7}}));
  const std::string text = ByParse2(f.Path());
  EXPECT_EQ(text, ByHand(f.Path()));
  EXPECT_EQ(test::Records(text).size(), 3000u);
}

TEST(OneShot, ItemsThatFailToPrintAreLeftOutAlike) {
  // Every tenth arc has a direction without an object X axis and fails to print.
  std::vector<std::pair<int, std::string>> entities;
  for (int i = 0; i < 3000; ++i) {
    if (i % 10 == 0) {
      entities.insert(entities.end(),
                      {{0, "ARC"}, {40, "1"}, {51, "90"}, {220, "0.01"}, {230, "0"}});
    } else {
      entities.insert(entities.end(), {{0, "LINE"}, {10, std::to_string(i)}});
    }
  }
  test::TempFile f(test::Drawing(entities, {{"0", 7}}));
  const std::string text = ByParse2(f.Path());
  EXPECT_EQ(text, ByHand(f.Path()));
  EXPECT_EQ(test::Records(text).size(), 2700u);
}

}  // namespace
}  // namespace vessik
