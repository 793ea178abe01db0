// Whole drawings through Parse2 and its stages: the section index, the layer and
// block tables, the entities; results, failures, progress and cancellation; and
// the text of the stages driven one by one.
#include "parser/parser.h"

#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <iterator>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "entities/Vessik_Insert.h"
#include "parser/GroupPairs.h"
#include "parser/Vessik_Utils.h"
#include "support/Settings.h"
#include "support/TestSupport.h"

namespace vessik {
namespace {

using test::FailureNumber;

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

std::vector<Vessik_Section> Sections(const Pairs& pairs) {
  GroupPairs().Assign(pairs);
  return Vessik_Parser::ParseSections();
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

TEST(ParseSections, SameAsAPassOverEveryPairOnRandomDrawings) {
  // The sections as one pass over all pairs finds them, pair by pair.
  auto byEveryPair = [](const Pairs& p) {
    std::vector<Vessik_Section> result;
    bool open = false;
    Vessik_Section current;
    for (int32_t i = 0; i < static_cast<int32_t>(p.size()); ++i) {
      const std::string& value = p[static_cast<size_t>(i)].second;
      if (value == "SECTION") {
        current = Vessik_Section();
        current.BeginLine = i;
        open = true;
      }
      if (p[static_cast<size_t>(i)].first == 2 && open && current.Name.empty())
        current.Name = value;
      if (value == "ENDSEC" && open) {
        current.EndLine = i;
        result.push_back(current);
        open = false;
      }
    }
    return result;
  };
  const int codes[] = {0, 2, 2, 5, 8};
  const char* values[] = {"SECTION", "ENDSEC", "A", "B", "", "SECTIONS", "ENDSEC "};
  uint32_t seed = 12345;
  auto next = [&seed](uint32_t n) {
    seed = seed * 1103515245u + 12345u;
    return (seed >> 16) % n;
  };
  int sectionsSeen = 0;
  int laterNames = 0;
  for (int round = 0; round < 2000; ++round) {
    Pairs p;
    const uint32_t length = next(40);
    for (uint32_t k = 0; k < length; ++k) p.push_back({codes[next(5)], values[next(7)]});
    const std::vector<Vessik_Section> expected = byEveryPair(p);
    const std::vector<Vessik_Section> got = Sections(p);
    ASSERT_EQ(got.size(), expected.size()) << "round " << round;
    for (size_t k = 0; k < got.size(); ++k) {
      EXPECT_EQ(got[k].BeginLine, expected[k].BeginLine) << "round " << round;
      EXPECT_EQ(got[k].EndLine, expected[k].EndLine) << "round " << round;
      EXPECT_EQ(got[k].Name, expected[k].Name) << "round " << round;
      ++sectionsSeen;
      // Names found beyond the pair after the opening, past empty values.
      if (!got[k].Name.empty() &&
          p[static_cast<size_t>(got[k].BeginLine) + 1].second != got[k].Name) {
        ++laterNames;
      }
    }
  }
  EXPECT_GT(sectionsSeen, 1000);
  EXPECT_GT(laterNames, 100);
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

}  // namespace vessik

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

// References to a block of arcs, circles and bulged polylines print far slower
// than they read: the printing falls behind and takes long backlogs at once.
std::string BacklogOfBlocks(int items) {
  std::vector<std::pair<int, std::string>> blocks = {
      {0, "BLOCK"},  {2, "P"},   {10, "0"}, {20, "0"}, {30, "0"},    {0, "ARC"},
      {8, "A"},      {10, "1"},  {20, "2"}, {40, "3"}, {50, "10"},   {51, "250"},
      {0, "CIRCLE"}, {8, "C"},   {10, "4"}, {20, "1"}, {40, "2.5"},  {0, "LWPOLYLINE"},
      {8, "A"},      {90, "3"},  {10, "0"}, {20, "0"}, {42, "0.5"},  {10, "5"},
      {20, "0"},     {42, "-1"}, {10, "5"}, {20, "5"}, {0, "ENDBLK"}};
  std::vector<std::pair<int, std::string>> entities;
  for (int i = 0; i < items; ++i) {
    const std::string a = std::to_string(i * 0.37);
    if (i % 3 == 0) {
      entities.insert(entities.end(),
                      {{0, "INSERT"}, {2, "P"}, {10, a}, {20, "1"}, {50, std::to_string(i % 360)}});
    } else {
      entities.insert(entities.end(), {{0, "LINE"}, {8, "L"}, {10, a}, {11, "2"}});
    }
  }
  return test::Drawing(entities, {{"A", 1}, {"C", 3}, {"L", 5}}, blocks);
}

TEST(OneShot, ABacklogOfBlocksPrintsAsByHand) {
  test::TempFile f(BacklogOfBlocks(4000));
  const std::string expected = ByHand(f.Path());
  ASSERT_GT(test::Records(expected).size(), 6000u);
  EXPECT_EQ(ByParse2(f.Path()), expected);
}

TEST(OneShot, ReadingThatWaitsForTheSlowerPrintingGivesTheTextByHand) {
  // Enough items for the memory they take to grow many times over.
  test::TempFile f(BacklogOfBlocks(60000));
  const std::string expected = ByHand(f.Path());
  // A read-ahead so small that the reading waits again and again: for all it read
  // over the first 150,000 pairs, then for half of it, going on while the rest
  // prints; or for all of it to the end.
  for (const int32_t pairsBeforeOverlap : {150000, INT32_MAX}) {
    SCOPED_TRACE(pairsBeforeOverlap);
    SetReadAhead(64 << 10, pairsBeforeOverlap);
    const int64_t waits = ReadAheadWaits(false);
    const int64_t overlapping = ReadAheadWaits(true);
    EXPECT_EQ(ByParse2(f.Path()), expected);
    SetReadAhead(0, 0);
    EXPECT_GT(ReadAheadWaits(false), waits);
    if (pairsBeforeOverlap == 150000) {
      EXPECT_GT(ReadAheadWaits(true), overlapping);
    } else {
      EXPECT_EQ(ReadAheadWaits(true), overlapping);
    }
  }
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
  Vessik_CommonData data = test::ToolDefaults();
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

namespace vessik {
namespace {

// Each drawing's text made alone, at the tool's settings.
std::string TextAlone(const std::string& path) {
  Vessik_Parser parser;
  Vessik_CommonData data = test::ToolDefaults();
  Vessik_Progress progress;
  return parser.Parse2(path, data, progress);
}

// A host that pumps its messages from the progress handler can start another
// parse on the same thread: each keeps its own pairs, and both texts are those
// each drawing gives alone.
TEST(Parse2, AnotherParseFromTheProgressHandlerLeavesThisOneIntact) {
  test::TempFile outerFile(test::Drawing(
      {{0, "LINE"},   {5, "1"}, {8, "A"},  {10, "1"}, {20, "2"},  {11, "3"}, {21, "4"},
       {0, "CIRCLE"}, {5, "2"}, {8, "A"},  {10, "5"}, {20, "6"},  {40, "7"}, {0, "LINE"},
       {5, "3"},      {8, "B"}, {10, "8"}, {20, "9"}, {11, "10"}, {21, "11"}},
      {{"A", 1}, {"B", 2}}));
  test::TempFile innerFile(test::Drawing(
      {{0, "ARC"}, {5, "9"}, {8, "C"}, {10, "0"}, {20, "0"}, {40, "2"}, {50, "10"}, {51, "80"}},
      {{"C", 3}}));
  const std::string outerAlone = TextAlone(outerFile.Path());
  const std::string innerAlone = TextAlone(innerFile.Path());
  ASSERT_EQ(test::Records(outerAlone).size(), 3u);
  ASSERT_EQ(test::Records(innerAlone).size(), 1u);

  Vessik_Parser outer;
  Vessik_CommonData data = test::ToolDefaults();
  Vessik_Progress progress;
  std::vector<std::string> innerTexts;
  int sameParserFailure = 0;
  progress.Connect([&](int32_t value) {
    if (value < 60 || !innerTexts.empty()) return;
    innerTexts.push_back(TextAlone(innerFile.Path()));
    // The parser that is running cannot start again.
    Vessik_CommonData d = test::ToolDefaults();
    Vessik_Progress p;
    sameParserFailure = test::FailureNumber([&] { outer.Parse2(innerFile.Path(), d, p); });
  });
  EXPECT_EQ(outer.Parse2(outerFile.Path(), data, progress), outerAlone);
  ASSERT_EQ(innerTexts.size(), 1u);
  EXPECT_EQ(innerTexts[0], innerAlone);
  EXPECT_EQ(sameParserFailure, errnum::InvalidProcedureCall);
  ASSERT_EQ(outer.Layers().size(), 2u);
  EXPECT_EQ(outer.Layers()[1]->Name, "B");
}

}  // namespace
}  // namespace vessik

namespace vessik {
namespace {

// Parses on different threads do not meet: four threads parse four drawings at
// once, several times each, and every text equals the one made alone.
TEST(Parse2, FourThreadsAtOnceGiveTheTextsMadeAlone) {
  const std::string shapes = std::string(VESSIK_EXAMPLES_DIR) + "/shapes.dxf";
  test::TempFile lines(test::Drawing(
      {{0, "LINE"}, {5, "1"}, {8, "A"}, {10, "1"}, {20, "2"}, {11, "3"}, {21, "4"}}, {{"A", 1}}));
  test::TempFile polyline(test::Drawing({{0, "LWPOLYLINE"},
                                         {5, "2"},
                                         {8, "0"},
                                         {70, "1"},
                                         {10, "0"},
                                         {20, "0"},
                                         {42, "0.5"},
                                         {10, "4"},
                                         {20, "0"},
                                         {10, "4"},
                                         {20, "3"}}));
  test::TempFile block(test::Drawing(
      {{0, "INSERT"}, {5, "3"}, {8, "0"}, {2, "B"}, {10, "5"}, {20, "5"}, {50, "30"}}, {},
      {{0, "BLOCK"},
       {2, "B"},
       {10, "0"},
       {20, "0"},
       {0, "ARC"},
       {8, "0"},
       {10, "0"},
       {20, "0"},
       {40, "2"},
       {50, "0"},
       {51, "90"},
       {0, "CIRCLE"},
       {8, "0"},
       {10, "1"},
       {20, "1"},
       {40, "1"},
       {0, "ENDBLK"}}));
  const std::vector<std::string> paths{shapes, lines.Path(), polyline.Path(), block.Path()};
  std::vector<std::string> alone;
  for (const std::string& p : paths) alone.push_back(TextAlone(p));
  for (const std::string& t : alone) ASSERT_FALSE(t.empty());

  std::vector<std::vector<std::string>> got(paths.size());
  std::vector<std::thread> threads;
  for (size_t i = 0; i < paths.size(); ++i) {
    threads.emplace_back([&, i] {
      for (int round = 0; round < 5; ++round) got[i].push_back(TextAlone(paths[i]));
    });
  }
  for (std::thread& t : threads) t.join();
  for (size_t i = 0; i < paths.size(); ++i) {
    ASSERT_EQ(got[i].size(), 5u);
    for (const std::string& t : got[i]) EXPECT_EQ(t, alone[i]) << paths[i];
  }
}

}  // namespace
}  // namespace vessik
