// Whole drawings through Parse2: results, failures, progress and cancellation,
// the message pump, and the small classes of the front end.
#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <fstream>
#include <iterator>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "entities/Vessik_Insert.h"
#include "parser/GroupPairs.h"
#include "parser/Vessik_Concat.h"
#include "parser/Vessik_Utils.h"
#include "parser/parser.h"
#include "support/TestSupport.h"

namespace vessik {
namespace {

using Pairs = std::vector<std::pair<int, std::string>>;

struct Failure {
  int32_t number = 0;
  std::string source;
  std::string description;
};

Failure ParseFailure(Vessik_Parser& parser, const std::string& path) {
  Vessik_CommonData data;
  Vessik_Progress progress;
  try {
    std::string text = parser.Parse2(path, data, progress);
    ADD_FAILURE() << "Parse2 did not fail, gave: " << text;
  } catch (const Vessik_Error& e) {
    return Failure{e.Number(), e.Source(), e.Description()};
  }
  return Failure{};
}

Failure ParseFailure(const std::string& content) {
  test::TempFile f(content);
  Vessik_Parser parser;
  return ParseFailure(parser, f.Path());
}

std::string Parse(const std::string& content, Vessik_Progress& progress) {
  test::TempFile f(content);
  Vessik_Parser parser;
  Vessik_CommonData data;
  return parser.Parse2(f.Path(), data, progress);
}

// Records every progress value sent.
struct Recorder {
  std::vector<int32_t> values;
  void Attach(Vessik_Progress& p) {
    p.Connect([this](int32_t v) { values.push_back(v); });
  }
};

// Drawing pairs of only unknown entity kinds.
Pairs Points(int count) {
  Pairs p;
  for (int i = 0; i < count; ++i) {
    p.insert(p.end(), {{0, "POINT"}, {8, "0"}, {10, std::to_string(i)}, {20, "0"}, {30, "0"}});
  }
  return p;
}

const std::vector<std::pair<std::string, int>> kLayers = {{"0", 7}, {"WALLS", 3}};

}  // namespace

// Results

TEST(Parse2, EmptyEntitiesSectionGivesEmptyText) {
  test::TempFile f(test::Drawing({}, kLayers));
  Vessik_Parser parser;
  Vessik_CommonData data;
  Vessik_Progress progress;
  EXPECT_EQ(parser.Parse2(f.Path(), data, progress), "");
  ASSERT_EQ(parser.Layers().size(), 2u);
  EXPECT_EQ(parser.Layers()[0]->Name, "0");
  EXPECT_EQ(parser.Layers()[0]->Color->ColorRGB(), 16777215);
  EXPECT_EQ(parser.Layers()[1]->Name, "WALLS");
  EXPECT_EQ(parser.Layers()[1]->Color->ColorACI(), 3);
  EXPECT_EQ(parser.Layers()[1]->Color->ColorRGB(), 65280);
}

TEST(Parse2, UnknownEntitiesGiveEmptyText) {
  Pairs p = Points(3);
  p.insert(p.end(), {{0, "TEXT"}, {8, "0"}, {1, "hello"}, {0, "MTEXT"}, {1, "x"}});
  Vessik_Progress progress;
  EXPECT_EQ(Parse(test::Drawing(p, kLayers), progress), "");
}

TEST(Parse2, NoTablesAndNoBlocksParses) {
  test::TempFile f(test::Drawing(Points(2)));
  Vessik_Parser parser;
  Vessik_CommonData data;
  Vessik_Progress progress;
  EXPECT_EQ(parser.Parse2(f.Path(), data, progress), "");
  EXPECT_TRUE(parser.Layers().empty());
}

TEST(Parse2, LayersEmptyBeforeTheFirstParse) {
  Vessik_Parser parser;
  EXPECT_TRUE(parser.Layers().empty());
}

TEST(Parse2, LayersCopyHoldsTheSameObjects) {
  test::TempFile f(test::Drawing({}, kLayers));
  Vessik_Parser parser;
  Vessik_CommonData data;
  Vessik_Progress progress;
  parser.Parse2(f.Path(), data, progress);
  Vessik_Layers a = parser.Layers();
  Vessik_Layers b = parser.Layers();
  ASSERT_EQ(a.size(), 2u);
  EXPECT_EQ(a[1].get(), b[1].get());
  a.clear();
  EXPECT_EQ(parser.Layers().size(), 2u);
}

TEST(Parse2, CrLfLfAndCrFilesGiveTheSameResult) {
  Pairs all = {{0, "SECTION"},  {2, "TABLES"}, {0, "TABLE"},  {2, "LAYER"},  {0, "LAYER"},
               {2, "A"},        {62, "5"},     {0, "ENDTAB"}, {0, "ENDSEC"}, {0, "SECTION"},
               {2, "ENTITIES"}, {0, "POINT"},  {0, "ENDSEC"}, {0, "EOF"}};
  for (const char* eol : {"\r\n", "\n", "\r"}) {
    test::TempFile f(test::DxfText(all, eol));
    Vessik_Parser parser;
    Vessik_CommonData data;
    Vessik_Progress progress;
    EXPECT_EQ(parser.Parse2(f.Path(), data, progress), "");
    ASSERT_EQ(parser.Layers().size(), 1u);
    EXPECT_EQ(parser.Layers()[0]->Name, "A");
    EXPECT_EQ(parser.Layers()[0]->Color->ColorRGB(), 16711680);
  }
}

TEST(Parse2, HeaderCommentsBeforeSection) {
  std::string text =
      test::DxfText({{999, "comment one"}, {999, "comment two"}}) + test::Drawing({}, kLayers);
  test::TempFile f(text);
  Vessik_Parser parser;
  Vessik_CommonData data;
  Vessik_Progress progress;
  EXPECT_EQ(parser.Parse2(f.Path(), data, progress), "");
  EXPECT_EQ(parser.Layers().size(), 2u);
}

TEST(Parse2, InsertOfMissingBlockOrWithoutBlocksGivesNothing) {
  Pairs p = {{0, "INSERT"}, {2, "NONE"}, {10, "1"}, {0, "POINT"}};
  Vessik_Progress progress;
  EXPECT_EQ(Parse(test::Drawing(p), progress), "");
  Vessik_Progress progress2;
  EXPECT_EQ(Parse(test::Drawing(p, {}, {{0, "BLOCK"}, {2, "OTHER"}, {0, "ENDBLK"}}), progress2),
            "");
}

TEST(Parse2, EntityOnAnUnlistedLayerCreatesIt) {
  // No TABLES section: the layer of the reference is made on the fly, white.
  test::TempFile f(test::Drawing({{0, "INSERT"}, {8, "L1"}, {2, "NONE"}, {0, "POINT"}}));
  Vessik_Parser parser;
  Vessik_CommonData data;
  Vessik_Progress progress;
  EXPECT_EQ(parser.Parse2(f.Path(), data, progress), "");
  ASSERT_EQ(parser.Layers().size(), 1u);
  EXPECT_EQ(parser.Layers()[0]->Name, "L1");
  EXPECT_EQ(parser.Layers()[0]->Color->ColorACI(), 7);
  EXPECT_EQ(parser.Layers()[0]->Color->ColorRGB(), 16777215);
}

TEST(Parse2, UnlistedLayerIsAppendedBehindTheTable) {
  test::TempFile f(
      test::Drawing({{0, "INSERT"}, {8, "X"}, {2, "NONE"}, {0, "INSERT"}, {8, "WALLS"}}, kLayers));
  Vessik_Parser parser;
  Vessik_CommonData data;
  Vessik_Progress progress;
  EXPECT_EQ(parser.Parse2(f.Path(), data, progress), "");
  ASSERT_EQ(parser.Layers().size(), 3u);
  EXPECT_EQ(parser.Layers()[0]->Name, "0");
  EXPECT_EQ(parser.Layers()[1]->Name, "WALLS");
  EXPECT_EQ(parser.Layers()[2]->Name, "X");
}

// Failures

TEST(Parse2, NoSectionTag) {
  Failure f = ParseFailure("0\nTEXT\n1\nno sections here\n");
  EXPECT_EQ(f.number, -2147221503);
  EXPECT_EQ(f.number, static_cast<int32_t>(0x80040001u));
  EXPECT_EQ(f.description, "SECTION tag not found. DXF file is invalid.");
  EXPECT_EQ(f.source, "");
}

TEST(Parse2, PairsFailureShowsTheBoxAndNamesTheLine) {
  std::vector<std::string> shown;
  SetMessageBoxHook([&](const std::string& text) { shown.push_back(text); });
  Failure f = ParseFailure("0\nSECTION\n2\nENTITIES\n1e12\nx\n0\nENDSEC\n0\nEOF\n");
  SetMessageBoxHook(nullptr);
  EXPECT_EQ(f.number, -2147221501);
  EXPECT_EQ(f.number, static_cast<int32_t>(0x80040003u));
  EXPECT_EQ(f.description, "Error during parsing of DXF file at line #4");
  EXPECT_EQ(shown, (std::vector<std::string>{"Fail:0"}));
}

TEST(Parse2, PairsFailureWithoutBoxHookStillFails) {
  Failure f = ParseFailure("0\nSECTION\n2\nENTITIES\n-3000000000\nx\n");
  EXPECT_EQ(f.number, -2147221501);
  EXPECT_EQ(f.description, "Error during parsing of DXF file at line #4");
}

TEST(Parse2, NoEndsecIsSubscriptOutOfRange) {
  Failure f = ParseFailure(test::DxfText({{0, "SECTION"}, {2, "ENTITIES"}, {0, "POINT"}}));
  EXPECT_EQ(f.number, 9);
  EXPECT_EQ(f.description, "Subscript out of range");
  EXPECT_EQ(f.source, "");
}

TEST(Parse2, NoEntitiesSectionIsNullReferenceWithLayersRead) {
  Pairs p = {{0, "SECTION"}, {2, "TABLES"}, {0, "TABLE"},   {2, "LAYER"},  {0, "LAYER"},
             {2, "A"},       {62, "1"},     {0, "LAYER"},   {2, "B"},      {62, "2"},
             {0, "ENDTAB"},  {0, "ENDSEC"}, {0, "SECTION"}, {2, "BLOCKS"}, {0, "BLOCK"},
             {2, "X"},       {0, "ENDBLK"}, {0, "ENDSEC"},  {0, "EOF"}};
  test::TempFile file(test::DxfText(p));
  Vessik_Parser parser;
  Failure f = ParseFailure(parser, file.Path());
  EXPECT_EQ(f.number, 91);
  EXPECT_EQ(f.description, "Object variable or With block variable not set");
  ASSERT_EQ(parser.Layers().size(), 2u);
  EXPECT_EQ(parser.Layers()[0]->Name, "A");
  EXPECT_EQ(parser.Layers()[1]->Name, "B");
  EXPECT_EQ(parser.Layers()[1]->Color->ColorRGB(), 65535);
}

TEST(Parse2, TextInGroup62IsTypeMismatch) {
  Pairs p = {{0, "SECTION"}, {2, "TABLES"},   {0, "TABLE"},  {2, "LAYER"}, {0, "LAYER"},
             {2, "A"},       {62, "BYLAYER"}, {0, "ENDTAB"}, {0, "ENDSEC"}};
  Pairs all = p;
  all.insert(all.end(), {{0, "SECTION"}, {2, "ENTITIES"}, {0, "ENDSEC"}, {0, "EOF"}});
  Failure f = ParseFailure(test::DxfText(all));
  EXPECT_EQ(f.number, 13);
  EXPECT_EQ(f.description, "Type mismatch");
}

TEST(Parse2, EndblkWithoutBlockIsNullReference) {
  Failure f = ParseFailure(test::Drawing({}, {}, {{0, "ENDBLK"}}));
  EXPECT_EQ(f.number, 91);
  EXPECT_EQ(f.description, "Object variable or With block variable not set");
}

TEST(Parse2, EmptyFile) {
  Failure f = ParseFailure("");
  EXPECT_EQ(f.number, 9);
  EXPECT_EQ(f.description, "Subscript out of range");
}

TEST(Parse2, MissingFile) {
  Vessik_Parser parser;
  Failure f = ParseFailure(parser, "/nonexistent/vessik/missing.dxf");
  EXPECT_EQ(f.number, 53);
  EXPECT_EQ(f.description, "File not found");
  EXPECT_EQ(f.source, "");
}

TEST(Parse2, FolderAsTheFile) {
  test::TempFile file("x");
  Vessik_Parser parser;
  Failure f = ParseFailure(parser, file.Path().substr(0, file.Path().rfind('/')));
  EXPECT_EQ(f.number, 75);
  EXPECT_EQ(f.description, "Path/File access error");
}

TEST(Parse2, MissingProgressObjectIsNullReference) {
  test::TempFile f(test::Drawing({}));
  Vessik_Parser parser;
  Vessik_CommonData data;
  try {
    parser.Parse2(f.Path(), &data, nullptr);
    ADD_FAILURE() << "no failure";
  } catch (const Vessik_Error& e) {
    EXPECT_EQ(e.Number(), 91);
  }
}

TEST(Parse2, SecondParseAfterAFailedOneStartsClean) {
  Vessik_Parser parser;
  test::TempFile bad(test::DxfText({{0, "SECTION"},
                                    {2, "TABLES"},
                                    {0, "TABLE"},
                                    {2, "LAYER"},
                                    {0, "LAYER"},
                                    {2, "OLD"},
                                    {0, "ENDTAB"},
                                    {0, "ENDSEC"},
                                    {0, "EOF"}}));
  EXPECT_EQ(ParseFailure(parser, bad.Path()).number, 91);
  ASSERT_EQ(parser.Layers().size(), 1u);
  test::TempFile good(test::Drawing(Points(1), {{"NEW", 1}}));
  Vessik_CommonData data;
  Vessik_Progress progress;
  EXPECT_EQ(parser.Parse2(good.Path(), data, progress), "");
  ASSERT_EQ(parser.Layers().size(), 1u);
  EXPECT_EQ(parser.Layers()[0]->Name, "NEW");
  // And after a failure of loading itself.
  EXPECT_EQ(ParseFailure(parser, "/nonexistent/vessik/missing.dxf").number, 53);
  // Loading failed before the layers were read: the last ones stay.
  ASSERT_EQ(parser.Layers().size(), 1u);
  EXPECT_EQ(parser.Layers()[0]->Name, "NEW");
  EXPECT_EQ(parser.Parse2(good.Path(), data, progress), "");
  EXPECT_EQ(parser.Layers()[0]->Name, "NEW");
}

TEST(Parse2, SecondParseReplacesTheLayers) {
  Vessik_Parser parser;
  Vessik_CommonData data;
  Vessik_Progress progress;
  test::TempFile a(test::Drawing({}, kLayers));
  test::TempFile b(test::Drawing({}));
  parser.Parse2(a.Path(), data, progress);
  EXPECT_EQ(parser.Layers().size(), 2u);
  parser.Parse2(b.Path(), data, progress);
  EXPECT_TRUE(parser.Layers().empty());
}

// Progress and cancellation

TEST(Parse2Progress, EmptyEntitiesSectionReports62_75_50_50) {
  Vessik_Progress progress;
  Recorder r;
  r.Attach(progress);
  EXPECT_EQ(Parse(test::Drawing({}, kLayers), progress), "");
  EXPECT_EQ(r.values, (std::vector<int32_t>{62, 75, 50, 50}));
}

TEST(Parse2Progress, ManyPairsReportEachValueOnceWhileReading) {
  Vessik_Progress progress;
  Recorder r;
  r.Attach(progress);
  EXPECT_EQ(Parse(test::Drawing(Points(400)), progress), "");
  // Reading rises to 75; then 50 twice.
  ASSERT_GE(r.values.size(), 3u);
  std::vector<int32_t> reading(r.values.begin(), r.values.end() - 2);
  EXPECT_EQ(r.values[r.values.size() - 2], 50);
  EXPECT_EQ(r.values.back(), 50);
  // Percent runs 1 .. 50; Percent / 2 + 50 rounded half to even gives 50 for
  // Percent 1, then 51, 51, 52, 52, ...: rounded values may repeat, but each
  // Percent is sent at most once.
  std::vector<int32_t> fromPercent;
  for (int32_t percent = 1; percent <= 50; ++percent) {
    fromPercent.push_back(static_cast<int32_t>(std::nearbyint(percent / 2.0 + 50)));
  }
  EXPECT_EQ(reading, fromPercent);
  EXPECT_EQ(reading.front(), 50);
  EXPECT_EQ(reading[1], 51);
  EXPECT_EQ(reading.back(), 75);
}

TEST(Parse2Progress, CancelBeforeTheCallGivesEmptyText) {
  Vessik_Progress progress;
  progress.IsCanceled(true);
  Recorder r;
  r.Attach(progress);
  EXPECT_EQ(Parse(test::Drawing(Points(50), kLayers), progress), "");
  // The first pair ends the read: nothing of the reading scale, then 50 twice.
  EXPECT_EQ(r.values, (std::vector<int32_t>{50, 50}));
  // The flag is never reset.
  EXPECT_TRUE(progress.IsCanceled());
}

TEST(Parse2Progress, CancelInTheHandlerGivesEmptyText) {
  Vessik_Progress progress;
  std::vector<int32_t> values;
  progress.Connect([&](int32_t v) {
    values.push_back(v);
    progress.IsCanceled(true);
  });
  Pairs p = {{0, "INSERT"}, {2, "B"}};
  Pairs more = Points(100);
  p.insert(p.end(), more.begin(), more.end());
  EXPECT_EQ(Parse(test::Drawing(p, {}, {{0, "BLOCK"}, {2, "B"}, {0, "ENDBLK"}}), progress), "");
  // The first value sent (Percent 1, so 50.5 rounded to 50) cancels; then the two
  // 50 of the stages that follow.
  EXPECT_EQ(values, (std::vector<int32_t>{50, 50, 50}));
}

TEST(ParseEntities, EmptySectionGivesRootWithEmptyCollection) {
  test::TempFile f(test::Drawing({}));
  Vessik_Parser::LoadDXF(f.Path());
  auto sections = Vessik_Parser::ParseSections();
  auto blocks = Vessik_Parser::ParseBlocks(sections);
  Vessik_Layers layers;
  Vessik_CommonData data;
  Vessik_Progress progress;
  Recorder r;
  r.Attach(progress);
  Vessik_Parser parser;
  auto root = parser.ParseEntities(sections, blocks, layers, &data, &progress);
  ASSERT_NE(root, nullptr);
  ASSERT_NE(root->Entities, nullptr);
  EXPECT_EQ(root->Entities->Count(), 0);
  EXPECT_EQ(r.values, (std::vector<int32_t>{62, 75, 50}));
}

TEST(ParseEntities, AfterCancelRootExistsEmptyAndReports50) {
  Pairs p = {{0, "INSERT"}, {2, "B"}, {0, "INSERT"}, {2, "B"}};
  test::TempFile f(test::Drawing(p, {}, {{0, "BLOCK"}, {2, "B"}, {0, "ENDBLK"}}));
  Vessik_Parser::LoadDXF(f.Path());
  auto sections = Vessik_Parser::ParseSections();
  auto blocks = Vessik_Parser::ParseBlocks(sections);
  Vessik_Layers layers;
  Vessik_CommonData data;
  Vessik_Progress progress;
  progress.IsCanceled(true);
  Recorder r;
  r.Attach(progress);
  Vessik_Parser parser;
  auto root = parser.ParseEntities(sections, blocks, layers, &data, &progress);
  ASSERT_NE(root, nullptr);
  ASSERT_NE(root->Entities, nullptr);
  EXPECT_EQ(root->Entities->Count(), 0);
  EXPECT_EQ(r.values, (std::vector<int32_t>{50}));
}

TEST(ParseEntities, OfTwoBlocksOfOneNameTheFirstIsExpanded) {
  Pairs blocks = {{0, "BLOCK"}, {2, "B"},      {10, "1"},    {20, "2"}, {30, "3"}, {0, "INSERT"},
                  {2, "Z"},     {0, "ENDBLK"}, {0, "BLOCK"}, {2, "B"},  {10, "9"}, {0, "ENDBLK"}};
  test::TempFile f(test::Drawing({{0, "INSERT"}, {2, "B"}}, {}, blocks));
  Vessik_Parser::LoadDXF(f.Path());
  auto sections = Vessik_Parser::ParseSections();
  auto blockIndex = Vessik_Parser::ParseBlocks(sections);
  ASSERT_EQ(blockIndex.size(), 2u);
  Vessik_Layers layers;
  Vessik_CommonData data;
  Vessik_Progress progress;
  Vessik_Parser parser;
  auto root = parser.ParseEntities(sections, blockIndex, layers, &data, &progress);
  ASSERT_NE(root, nullptr);
  ASSERT_EQ(root->Entities->Count(), 1);
  auto* ref = dynamic_cast<Vessik_Insert*>(root->Entities->Item(1).get());
  ASSERT_NE(ref, nullptr);
  EXPECT_EQ(ref->XBlock(), 1);
  EXPECT_EQ(ref->YBlock(), 2);
  EXPECT_EQ(ref->ZBlock(), 3);
  ASSERT_NE(ref->Entities, nullptr);
  EXPECT_EQ(ref->Entities->Count(), 1);
}

TEST(ParseEntities, NoEntitiesSectionGivesNull) {
  test::TempFile f(test::DxfText({{0, "SECTION"}, {2, "TABLES"}, {0, "ENDSEC"}}));
  Vessik_Parser::LoadDXF(f.Path());
  auto sections = Vessik_Parser::ParseSections();
  Vessik_Layers layers;
  Vessik_CommonData data;
  Vessik_Progress progress;
  Vessik_Parser parser;
  EXPECT_EQ(parser.ParseEntities(sections, {}, layers, &data, &progress), nullptr);
}

// The message pump

TEST(PumpMessages, RunsTheHookWhen100MillisecondsHavePassed) {
  int calls = 0;
  SetPumpHook([&] { ++calls; });
  LastPumpTick() = TickCount();
  PumpMessages();
  EXPECT_EQ(calls, 0);
  LastPumpTick() = TickCount() - 100;
  const int32_t before = TickCount();
  PumpMessages();
  EXPECT_EQ(calls, 1);
  EXPECT_GE(LastPumpTick() - before, 0);
  // At once again: less than 100 ms since the last run.
  PumpMessages();
  EXPECT_EQ(calls, 1);
  LastPumpTick() = TickCount() - 250;
  PumpMessages();
  EXPECT_EQ(calls, 2);
  // A tick behind the current one counts as a negative difference.
  LastPumpTick() = TickCount() + 100000;
  PumpMessages();
  EXPECT_EQ(calls, 2);
  SetPumpHook(nullptr);
}

TEST(PumpMessages, WithoutHookKeepsTheTick) {
  SetPumpHook(nullptr);
  LastPumpTick() = TickCount() - 1000;
  const int32_t before = TickCount();
  PumpMessages();
  EXPECT_GE(LastPumpTick() - before, 0);
  EXPECT_LT(LastPumpTick() - before, 1000);
}

TEST(PumpMessages, HookIsPerThread) {
  int calls = 0;
  SetPumpHook([&] { ++calls; });
  std::thread other([] {
    LastPumpTick() = TickCount() - 1000;
    PumpMessages();
  });
  other.join();
  EXPECT_EQ(calls, 0);
  SetPumpHook(nullptr);
}

TEST(PumpMessages, SilencedThreadNeitherRunsTheHookNorKeepsTheTick) {
  std::thread own([] {
    int calls = 0;
    SetPumpHook([&] { ++calls; });
    SilencePump();
    LastPumpTick() = TickCount() - 1000;
    const int32_t stale = LastPumpTick();
    PumpMessages();
    EXPECT_EQ(calls, 0);
    EXPECT_EQ(LastPumpTick(), stale);
    SetPumpHook(nullptr);
  });
  own.join();
}

TEST(PumpMessages, NotCalledByTheTableStages) {
  Pairs p = {{0, "SECTION"}, {2, "TABLES"}, {0, "TABLE"}, {2, "LAYER"}};
  for (int i = 0; i < 2000; ++i) {
    std::string name(1, 'L');
    name += std::to_string(i);
    p.insert(p.end(), {{0, "LAYER"}, {2, name}});
  }
  p.insert(p.end(), {{0, "ENDTAB"}, {0, "ENDSEC"}, {0, "SECTION"}, {2, "BLOCKS"}});
  for (int i = 0; i < 2000; ++i) p.insert(p.end(), {{0, "BLOCK"}, {2, "B"}, {0, "ENDBLK"}});
  p.insert(p.end(), {{0, "ENDSEC"}});
  GroupPairs().Assign(std::vector<std::pair<int32_t, std::string>>(p.begin(), p.end()));
  int calls = 0;
  SetPumpHook([&] { ++calls; });
  LastPumpTick() = TickCount() - 1000;
  auto sections = Vessik_Parser::ParseSections();
  auto layers = Vessik_Parser::ParseLayers(sections);
  auto blocks = Vessik_Parser::ParseBlocks(sections);
  SetPumpHook(nullptr);
  EXPECT_EQ(layers.size(), 2000u);
  EXPECT_EQ(blocks.size(), 2000u);
  EXPECT_EQ(calls, 0);
}

TEST(PumpMessages, CalledDuringALongLoad) {
  std::string text = "0\nSECTION\n2\nENTITIES\n";
  while (text.size() < 1000000) text += "999\nsome comment of a drawing\n";
  text += "0\nENDSEC\n0\nEOF\n";
  test::TempFile f(text);
  int calls = 0;
  int32_t pairsSeen = -1;
  SetPumpHook([&] {
    if (calls++ == 0) pairsSeen = GroupPairs().Count();
  });
  LastPumpTick() = TickCount() - 1000;
  Vessik_Parser parser;
  Vessik_CommonData data;
  Vessik_Progress progress;
  EXPECT_EQ(parser.Parse2(f.Path(), data, progress), "");
  SetPumpHook(nullptr);
  EXPECT_GE(calls, 1);
  // The first run came during loading, before any pair was built.
  EXPECT_EQ(pairsSeen, 0);
}

// Vessik_Concat

TEST(VessikConcat, TwoAppendsThenValue) {
  Vessik_Concat c;
  c.Concat("abc");
  c.Concat("de\tf\r\n");
  EXPECT_EQ(c.value(), "abcde\tf\r\n");
  EXPECT_EQ(c.length(), 9);
}

TEST(VessikConcat, NewIsEmpty) {
  Vessik_Concat c;
  EXPECT_EQ(c.value(), "");
  EXPECT_EQ(c.length(), 0);
  c.Concat("");
  EXPECT_EQ(c.value(), "");
}

TEST(VessikConcat, ClearThenOneAppend) {
  Vessik_Concat c;
  c.Concat("first text");
  c.Concat(" and more");
  c.Clear();
  EXPECT_EQ(c.length(), 0);
  c.Concat("new");
  EXPECT_EQ(c.value(), "new");
  EXPECT_EQ(c.length(), 3);
}

TEST(VessikConcat, ManyAppendsKeepEverything) {
  Vessik_Concat c;
  std::string expected;
  for (int i = 0; i < 5000; ++i) {
    std::string piece = std::to_string(i) + "\t";
    c.Concat(piece);
    expected += piece;
  }
  EXPECT_EQ(c.value(), expected);
  EXPECT_EQ(c.length(), static_cast<int64_t>(expected.size()));
  EXPECT_EQ(c.TakeValue(), expected);
  EXPECT_EQ(c.value(), "");
}

// Vessik_Progress

TEST(VessikProgress, NewIsNotCanceled) {
  Vessik_Progress p;
  EXPECT_FALSE(p.IsCanceled());
  p.IsCanceled(true);
  EXPECT_TRUE(p.IsCanceled());
  p.IsCanceled(false);
  EXPECT_FALSE(p.IsCanceled());
}

TEST(VessikProgress, EventGoesToEveryHandler) {
  Vessik_Progress p;
  std::vector<int32_t> a;
  std::vector<int32_t> b;
  int ca = p.Connect([&](int32_t v) { a.push_back(v); });
  p.Connect([&](int32_t v) { b.push_back(v); });
  p.DoProgress(62);
  p.DoProgress(-5);
  p.DoProgress(1000);
  EXPECT_EQ(a, (std::vector<int32_t>{62, -5, 1000}));
  EXPECT_EQ(b, (std::vector<int32_t>{62, -5, 1000}));
  p.Disconnect(ca);
  p.DoProgress(7);
  EXPECT_EQ(a.size(), 3u);
  EXPECT_EQ(b.back(), 7);
}

TEST(VessikProgress, NoHandlerNoEvent) {
  Vessik_Progress p;
  p.DoProgress(50);
  int calls = 0;
  int cookie = p.Connect([&](int32_t) { ++calls; });
  p.Disconnect(cookie);
  p.DoProgress(50);
  EXPECT_EQ(calls, 0);
}

TEST(VessikCommonData, NewIsAllZero) {
  Vessik_CommonData d;
  EXPECT_EQ(d.Tolerance, 0);
  EXPECT_EQ(d.Check, 0);
  EXPECT_EQ(d.ArcMaximumDeviationFactor, 0);
  EXPECT_EQ(d.ArcMinimumSegmentLengthFactor, 0);
  EXPECT_EQ(d.ArcMaximumSegmentLengthFactor, 0);
  EXPECT_EQ(d.InitialSegments, 0);
}

}  // namespace vessik

namespace vessik {
namespace {

std::string ReadWholeFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  EXPECT_TRUE(in.good()) << path;
  return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

// The example drawing with the tool's default settings gives, byte for byte, the
// text kept next to it: lines, arcs, circles, bulges, an ellipse, a spline, and a
// block placed twice inside another.
TEST(Parse2, ShapesExampleGivesItsExpectedText) {
  const std::string dir = VESSIK_EXAMPLES_DIR;
  const std::string expected = ReadWholeFile(dir + "/shapes.expected.txt");
  Vessik_Parser parser;
  Vessik_CommonData data;
  data.Tolerance = 0.01;
  data.Check = 0;
  data.ArcMaximumDeviationFactor = 0.01;
  data.ArcMinimumSegmentLengthFactor = 0.1;
  data.ArcMaximumSegmentLengthFactor = 10;
  data.InitialSegments = 4;
  Vessik_Progress progress;
  const std::string text = parser.Parse2(dir + "/shapes.dxf", data, progress);
  const auto got = test::Records(text);
  const auto want = test::Records(expected);
  ASSERT_EQ(want.size(), 79u);
  ASSERT_EQ(got.size(), want.size());
  for (size_t i = 0; i < want.size(); ++i) EXPECT_EQ(got[i], want[i]) << "record " << i + 1;
  EXPECT_TRUE(text == expected);

  // A few records worked out by hand.
  // The bottom edge, on layer CONTOUR (index 1, colour 1: red).
  EXPECT_EQ(want[0], (std::vector<std::string>{"48", "83", "CONTOUR", "1", "255", "0", "0", "0",
                                               "100", "0", "0", "0", "0", "0", "0", "0", "0"}));
  // The LWPOLYLINE's bulge 1 from (60, 30) to (60, 40): centre (60, 35), radius 5,
  // from 270 round to 90.
  EXPECT_EQ(want[8], (std::vector<std::string>{"55", "66", "CONTOUR", "1", "255", "0", "0", "0",
                                               "0", "0", "0", "60", "35", "0", "5", "270", "90"}));
  // The POLYLINE's bulge tan(22.5°) from (90, 45) to (100, 55): a quarter circle
  // about (90, 55) of radius 10, from 270 to 0.
  EXPECT_EQ(want[12], (std::vector<std::string>{"56", "66", "CONTOUR", "1", "255", "0", "0", "0",
                                                "0", "0", "0", "90", "55", "0", "10", "270", "0"}));
  // The second FLANGE, at (150, 60), scale 0.5, turned by 90: its line from -10 to
  // 10 about the base point (5, 0) becomes (150, 55) to (150, 65); layer PARTS has
  // colour 30, (255, 128, 0).
  EXPECT_EQ(want[76], (std::vector<std::string>{"37", "83", "PARTS", "4", "33023", "150", "55", "0",
                                                "150", "65", "0", "0", "0", "0", "0", "0", "0"}));
  // Its BOLT at (10, 6) of the flange: (5, 6) from the base point, halved and turned
  // by 90, (-3, 2.5), placed at (147, 62.5); radius 2.5 × 0.5.
  EXPECT_EQ(want[77][11], "147");
  EXPECT_EQ(want[77][12], "62.5");
  EXPECT_EQ(want[77][14], "1.25");
}

}  // namespace
}  // namespace vessik
