#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <new>
#include <stdexcept>
#include <utility>

#include "EntityTestUtil.h"
#include "entities/Vessik_Insert.h"
#include "entities/Vessik_Line.h"
#include "geometry/Vessik_Math.h"
#include "parser/Vessik_Concat.h"

namespace vessik {
namespace {

using test::Pairs;
using test::ParseDrawing;
using test::Records;

const Pairs kLine{{0, "LINE"}, {10, "1"}, {20, "2"}, {11, "3"}, {21, "4"}};

TEST(Insert, MissingBlockGivesNothing) {
  EXPECT_EQ(ParseDrawing({{0, "INSERT"}, {2, "NONE"}}, {{"0", 7}}, test::Block("B", kLine)), "");
}

TEST(Insert, NoBlocksSectionGivesNothing) {
  auto rec = Records(ParseDrawing(test::Concat({{{0, "INSERT"}, {2, "B"}}, kLine})));
  ASSERT_EQ(rec.size(), 1u);
  EXPECT_EQ(rec[0][5], "1");
}

TEST(Insert, NoScaleGroupsMeanScaleOne) {
  auto rec = Records(
      ParseDrawing({{0, "INSERT"}, {2, "B"}, {10, "5"}}, {{"0", 7}}, test::Block("B", kLine)));
  ASSERT_EQ(rec.size(), 1u);
  EXPECT_EQ(rec[0][5], "6");
  EXPECT_EQ(rec[0][6], "2");
  EXPECT_EQ(rec[0][8], "8");
  EXPECT_EQ(rec[0][9], "4");
}

TEST(Insert, BasePointIsTakenOut) {
  auto rec = Records(ParseDrawing({{0, "INSERT"}, {2, "B"}, {10, "5"}}, {{"0", 7}},
                                  test::Block("B", kLine, 1, 1, 0)));
  EXPECT_EQ(rec[0][5], "5");
  EXPECT_EQ(rec[0][6], "1");
}

TEST(Insert, NestedBlockAppliesBothPlacements) {
  Pairs blocks = test::Concat(
      {test::Block("INNER", kLine),
       test::Block("OUTER", {{0, "INSERT"}, {2, "INNER"}, {10, "10"}, {41, "2"}, {42, "2"}})});
  auto rec = Records(
      ParseDrawing({{0, "INSERT"}, {2, "OUTER"}, {10, "100"}, {50, "90"}}, {{"0", 7}}, blocks));
  ASSERT_EQ(rec.size(), 1u);
  // Inner: (1 × 2 + 10, 2 × 2) = (12, 4); outer turns by 90 and adds 100.
  EXPECT_EQ(rec[0][5],
            DoubleToText(100 + (std::cos(Deg2Rad(90)) * 12 - std::sin(Deg2Rad(90)) * 4)));
  EXPECT_EQ(rec[0][6], DoubleToText(0 + (std::sin(Deg2Rad(90)) * 12 + std::cos(Deg2Rad(90)) * 4)));
}

TEST(Insert, TwoReferencesGiveTwoSets) {
  auto rec = Records(ParseDrawing(
      {{0, "INSERT"}, {2, "B"}, {10, "5"}, {0, "INSERT"}, {2, "B"}, {20, "7"}, {41, "3"}},
      {{"0", 7}}, test::Block("B", kLine)));
  ASSERT_EQ(rec.size(), 2u);
  EXPECT_EQ(rec[0][5], "6");
  EXPECT_EQ(rec[0][6], "2");
  EXPECT_EQ(rec[1][5], "3");
  EXPECT_EQ(rec[1][6], "9");
}

TEST(Insert, TextWhoseValueIsLineStartsALine) {
  auto rec = Records(ParseDrawing(
      {{0, "TEXT"}, {8, "0"}, {1, "LINE"}, {10, "5"}, {20, "6"}, {0, "POINT"}, {10, "9"}}));
  ASSERT_EQ(rec.size(), 1u);
  EXPECT_EQ(rec[0][5], "5");
  EXPECT_EQ(rec[0][6], "6");
  EXPECT_EQ(rec[0][8], "0");
}

TEST(Insert, BlockNamedLikeAKeywordStartsAFalseEntityAtItsHeader) {
  // The block's own name pair reads as a LINE from its base point on to its first
  // code 0; the content follows.
  auto rec = Records(
      ParseDrawing({{0, "INSERT"}, {2, "LINE"}}, {{"0", 7}}, test::Block("LINE", kLine, 4, 5, 0)));
  ASSERT_EQ(rec.size(), 2u);
  EXPECT_EQ(rec[0][5], "0");
  EXPECT_EQ(rec[0][6], "0");
  EXPECT_EQ(rec[0][8], "-4");
  EXPECT_EQ(rec[0][9], "-5");
  EXPECT_EQ(rec[1][5], "-3");
}

TEST(Insert, SelfReferenceFailsWithOutOfStackSpace) {
  try {
    ParseDrawing({{0, "INSERT"}, {2, "SELF"}}, {{"0", 7}},
                 test::Block("SELF", {{0, "INSERT"}, {2, "SELF"}}));
    FAIL() << "no failure";
  } catch (const Vessik_Error& e) {
    EXPECT_EQ(e.Number(), 28);
    EXPECT_EQ(e.Description(), "Out of stack space");
    EXPECT_EQ(e.Source(), "");
  }
}

// Blocks B1 to Bn, each holding a reference to the next and the last a line.
// "B" and the number, built by appending (a literal + string trips a false
// warning of one compiler).
std::string BlockName(int k) {
  std::string name = "B";
  name += std::to_string(k);
  return name;
}

Pairs Chain(int n) {
  Pairs blocks;
  for (int k = 1; k <= n; ++k) {
    Pairs content = k < n ? Pairs{{0, "INSERT"}, {2, BlockName(k + 1)}, {10, "1"}} : kLine;
    Pairs b = test::Block(BlockName(k), content);
    blocks.insert(blocks.end(), b.begin(), b.end());
  }
  return blocks;
}

TEST(Insert, TwoHundredFiftySixLevelsStillWork) {
  auto rec = Records(ParseDrawing({{0, "INSERT"}, {2, "B1"}}, {{"0", 7}}, Chain(256)));
  ASSERT_EQ(rec.size(), 1u);
  // 255 references inside the first each move the line by 1.
  EXPECT_EQ(rec[0][5], "256");
}

TEST(Insert, TwoHundredFiftySevenLevelsFail) {
  try {
    ParseDrawing({{0, "INSERT"}, {2, "B1"}}, {{"0", 7}}, Chain(257));
    FAIL() << "no failure";
  } catch (const Vessik_Error& e) {
    EXPECT_EQ(e.Number(), 28);
  }
}

TEST(Progress, EmptyEntitiesSection) {
  std::vector<int> values;
  EXPECT_EQ(test::ParseText(test::Drawing({}), &values), "");
  EXPECT_EQ(values, (std::vector<int>{62, 75, 50, 50}));
}

TEST(Progress, SmallDrawing) {
  // Pairs 0 to 5: SECTION, ENTITIES, LINE, 10, 20, ENDSEC. The line is read at
  // pair 2 and ends at pair 4.
  std::vector<int> values;
  test::ParseText(test::Drawing({{0, "LINE"}, {10, "1"}, {20, "2"}}), &values);
  EXPECT_EQ(values, (std::vector<int>{55, 70, 75, 50, 50, 100}));
}

TEST(Progress, EachValueAtMostOnceWhileReading) {
  Pairs many;
  for (int k = 0; k < 300; ++k) many.insert(many.end(), {{0, "POINT"}, {10, "1"}});
  std::vector<int> values;
  test::ParseText(test::Drawing(many), &values);
  // The test is on Percent: with more pairs than steps every Percent from 1 to 50
  // is reported once, and its value Percent / 2 + 50, rounded half to even, can
  // repeat. Then 50 twice, with no items to print.
  std::vector<int> expected;
  for (int p = 1; p <= 50; ++p) expected.push_back(static_cast<int>(std::nearbyint(p / 2.0 + 50)));
  expected.push_back(50);
  expected.push_back(50);
  EXPECT_EQ(values, expected);
  // The first ten reports, for Percent 1 to 10: 50.5, 51, 51.5, 52, 52.5, ... with
  // the halves going to the even neighbour, so 52 comes three times.
  ASSERT_EQ(values.size(), 52u);
  EXPECT_EQ(std::vector<int>(values.begin(), values.begin() + 10),
            (std::vector<int>{50, 51, 52, 52, 52, 53, 54, 54, 54, 55}));
  EXPECT_EQ(values[2], 52);
  EXPECT_EQ(values[4], 52);
  // Percent 50 gives 75, then the two reports of 50.
  EXPECT_EQ(values[49], 75);
  EXPECT_EQ(values[50], 50);
  EXPECT_EQ(values[51], 50);
}

TEST(Cancel, FromTheProgressHandler) {
  test::TempFile f(test::Drawing({{0, "LINE"}, {10, "1"}, {0, "LINE"}, {10, "2"}}));
  Vessik_Parser parser;
  Vessik_CommonData data = test::TestData();
  Vessik_Progress progress;
  std::vector<int> values;
  progress.Connect([&](int32_t v) {
    values.push_back(v);
    progress.IsCanceled(true);
  });
  EXPECT_EQ(parser.Parse2(f.Path(), data, progress), "");
  // The first report cancels; the stages after still report 50 twice.
  ASSERT_EQ(values.size(), 3u);
  EXPECT_EQ(values[1], 50);
  EXPECT_EQ(values[2], 50);
  EXPECT_TRUE(progress.IsCanceled());
}

TEST(Cancel, BeforeTheCall) {
  test::TempFile f(test::Drawing({{0, "LINE"}, {10, "1"}}));
  Vessik_Parser parser;
  Vessik_CommonData data = test::TestData();
  Vessik_Progress progress;
  progress.IsCanceled(true);
  std::vector<int> values;
  progress.Connect([&](int32_t v) { values.push_back(v); });
  EXPECT_EQ(parser.Parse2(f.Path(), data, progress), "");
  EXPECT_EQ(values, (std::vector<int>{50, 50}));
}

TEST(Cancel, RootKeepsAnEmptyCollection) {
  test::TempFile f(test::Drawing({{0, "LINE"}, {10, "1"}}));
  Vessik_Parser::LoadDXF(f.Path());
  auto sections = Vessik_Parser::ParseSections();
  Vessik_Layers layers;
  Vessik_Parser parser;
  Vessik_CommonData data = test::TestData();
  Vessik_Progress progress;
  progress.IsCanceled(true);
  auto root = parser.ParseEntities(sections, {}, layers, &data, &progress);
  ASSERT_TRUE(root);
  ASSERT_TRUE(root->Entities);
  EXPECT_EQ(root->Entities->Count(), 0);
}

TEST(Insert, FailingItemIsLeftOutOfTheText) {
  // The first arc has a direction without an object X axis and fails to print.
  auto rec = Records(ParseDrawing(
      {{0, "ARC"}, {40, "1"}, {51, "90"}, {220, "0.01"}, {230, "0"}, {0, "LINE"}, {10, "8"}}));
  ASSERT_EQ(rec.size(), 1u);
  EXPECT_EQ(rec[0][5], "8");
}

}  // namespace
}  // namespace vessik

namespace vessik {
namespace {

TEST(Insert, EmptyEntitiesSectionGivesARootWithAnEmptyCollection) {
  test::TempFile f(test::Drawing({}));
  Vessik_Parser::LoadDXF(f.Path());
  auto sections = Vessik_Parser::ParseSections();
  Vessik_Layers layers;
  Vessik_Parser parser;
  Vessik_CommonData data = test::TestData();
  Vessik_Progress progress;
  auto root = parser.ParseEntities(sections, {}, layers, &data, &progress);
  ASSERT_TRUE(root);
  ASSERT_TRUE(root->Entities);
  EXPECT_EQ(root->Entities->Count(), 0);
  EXPECT_EQ(root->Vessik_IEntity_Parent(), nullptr);
  EXPECT_EQ(root->XScale(), 1);
  EXPECT_EQ(root->Vessik_IEntity_ToString(layers), "");
  root->Vessik_IEntity_Release();
}

}  // namespace
}  // namespace vessik

namespace vessik {
namespace {

TEST(Insert, ReleaseWithoutEntitiesFailsWithItsOwnNumber) {
  Vessik_Insert ins;
  Vessik_Layers layers;
  EXPECT_EQ(ins.Vessik_IEntity_Color(layers), 0);
  try {
    ins.Vessik_IEntity_Release();
    FAIL() << "no failure";
  } catch (const Vessik_Error& e) {
    EXPECT_EQ(e.Number(), static_cast<int32_t>(0x80040064u));
    EXPECT_EQ(e.Source(), "Rendak.Vessik_Insert.Vessik_IEntity_Release");
    EXPECT_EQ(e.Description(), "Vessik_Insert component failure");
  }
}

TEST(Insert, RepeatAndExtrusionGroupsHaveNoEffect) {
  auto rec = Records(ParseDrawing({{0, "INSERT"},
                                   {2, "B"},
                                   {10, "5"},
                                   {70, "3"},
                                   {71, "2"},
                                   {44, "10"},
                                   {45, "10"},
                                   {210, "0"},
                                   {220, "0"},
                                   {230, "-1"}},
                                  {{"0", 7}}, test::Block("B", kLine)));
  ASSERT_EQ(rec.size(), 1u);
  EXPECT_EQ(rec[0][5], "6");
  EXPECT_EQ(rec[0][6], "2");
}

// An entity whose printing fails after its first record is written.
class FailsHalfWay : public Vessik_Line {
 public:
  void AppendText(Vessik_Concat& Text, Vessik_Layers& Layers) override {
    Vessik_Line::AppendText(Text, Layers);
    throw std::runtime_error("half way");
  }
};

// An entity whose printing runs out of memory.
class RunsOutOfMemory : public Vessik_Line {
 public:
  void AppendText(Vessik_Concat& Text, Vessik_Layers& Layers) override {
    Vessik_Line::AppendText(Text, Layers);
    throw std::bad_alloc();
  }
};

// Leaving such an item out would give a text silently short: the failure goes on
// up, and Parse2 turns it into 7.
TEST(EntityText, RunningOutOfMemoryIsNoItemsFailure) {
  Vessik_Insert root;
  root.Entities = std::make_unique<Vessik_Entities>();
  auto first = std::make_unique<Vessik_Line>();
  auto failing = std::make_unique<RunsOutOfMemory>();
  first->Vessik_IEntity_Parent(&root);
  failing->Vessik_IEntity_Parent(&root);
  root.Entities->Add(std::move(first));
  root.Entities->Add(std::move(failing));
  Vessik_Layers layers;
  EXPECT_THROW(root.Vessik_IEntity_ToString(layers), std::bad_alloc);
}

TEST(EntityText, ItemFailingHalfWayLeavesNoPartOfItsText) {
  Vessik_Insert root;
  root.Entities = std::make_unique<Vessik_Entities>();
  auto first = std::make_unique<Vessik_Line>();
  first->X1 = 1;
  auto failing = std::make_unique<FailsHalfWay>();
  failing->X1 = 2;
  auto last = std::make_unique<Vessik_Line>();
  last->X1 = 3;
  for (Vessik_Line* l : {first.get(), static_cast<Vessik_Line*>(failing.get()), last.get()}) {
    l->Vessik_IEntity_Parent(&root);
  }
  root.Entities->Add(std::move(first));
  root.Entities->Add(std::move(failing));
  root.Entities->Add(std::move(last));
  Vessik_Layers layers;
  const auto rec = test::Records(root.Vessik_IEntity_ToString(layers));
  ASSERT_EQ(rec.size(), 2u);
  EXPECT_EQ(rec[0][5], "1");
  EXPECT_EQ(rec[1][5], "3");
}

}  // namespace
}  // namespace vessik
