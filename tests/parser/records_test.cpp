// The records as numbers: the same records as the text, at full precision.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <string>

#include "entities/Vessik_Line.h"
#include "parser/Vessik_Records.h"
#include "parser/parser.h"
#include "support/Corpus.h"
#include "support/Settings.h"
#include "support/TestSupport.h"

namespace vessik {
namespace {

const std::string kShapes = std::string(VESSIK_EXAMPLES_DIR) + "/shapes.dxf";

// The small drawing of the text format's description: a line, a circle with its
// own colour, an arc on a second layer.
std::string ThreeRecordDrawing() {
  return test::Drawing(
      {{0, "LINE"}, {5, "2A"}, {8, "0"},      {10, "0"},  {20, "0"}, {30, "0"},    {11, "10"},
       {21, "5"},   {31, "0"}, {0, "CIRCLE"}, {5, "2B"},  {8, "0"},  {62, "1"},    {10, "5"},
       {20, "5"},   {30, "0"}, {40, "2"},     {0, "ARC"}, {5, "2C"}, {8, "WALLS"}, {10, "0"},
       {20, "0"},   {30, "0"}, {40, "1"},     {50, "0"},  {51, "90"}},
      {{"0", 7}, {"WALLS", 3}});
}

Vessik_Records Read(const std::string& path, Vessik_Parser& parser) {
  Vessik_CommonData data = test::ToolDefaults();
  Vessik_Progress progress;
  return ParseRecords(parser, path, data, progress);
}

std::string Text(const std::string& path) {
  Vessik_Parser parser;
  Vessik_CommonData data = test::ToolDefaults();
  Vessik_Progress progress;
  return parser.Parse2(path, data, progress);
}

TEST(ParseRecords, GivesEachRecordsColumns) {
  test::TempFile file(ThreeRecordDrawing());
  Vessik_Parser parser;
  const Vessik_Records records = Read(file.Path(), parser);
  ASSERT_EQ(records.size(), 3u);

  const Vessik_Record& line = records.Items[0];
  EXPECT_EQ(line.Id, 42);
  EXPECT_EQ(line.RecordType, 83);
  EXPECT_EQ(line.LayerId, 0);
  EXPECT_EQ(line.LayerColor, 16777215);
  EXPECT_EQ(records.LayerName(0), "0");
  EXPECT_EQ(line.X2, 10);
  EXPECT_EQ(line.Y2, 5);
  EXPECT_EQ(line.R, 0);

  const Vessik_Record& circle = records.Items[1];
  EXPECT_EQ(circle.Id, 43);
  EXPECT_EQ(circle.RecordType, 75);
  EXPECT_EQ(circle.LayerColor, 255);
  // The box of the circle, as its text shows it.
  EXPECT_EQ(circle.X1, 3);
  EXPECT_EQ(circle.Y1, 3);
  EXPECT_EQ(circle.X2, 7);
  EXPECT_EQ(circle.Y2, 7);
  EXPECT_EQ(circle.CX, 5);
  EXPECT_EQ(circle.R, 2);

  const Vessik_Record& arc = records.Items[2];
  EXPECT_EQ(arc.Id, 44);
  EXPECT_EQ(arc.RecordType, 66);
  EXPECT_EQ(arc.LayerId, 1);
  EXPECT_EQ(arc.LayerColor, 65280);
  EXPECT_EQ(records.LayerName(2), "WALLS");
  EXPECT_EQ(arc.SA, 0);
  EXPECT_EQ(arc.EA, 90);
  ASSERT_EQ(parser.Layers().size(), 2u);
  EXPECT_EQ(parser.Layers()[1]->Name, "WALLS");
}

TEST(ParseRecords, TextIsParse2sTextByteForByte) {
  Vessik_Parser parser;
  const Vessik_Records records = Read(kShapes, parser);
  EXPECT_GT(records.size(), 20u);
  EXPECT_EQ(records.Text(), Text(kShapes));
}

TEST(ParseRecords, NumbersAreTheTextsAtFullPrecision) {
  // An arc end of a fitted curve has more digits than the text's 15: the text
  // shows the record's number rounded to 15 significant digits.
  Vessik_Parser parser;
  const Vessik_Records records = Read(kShapes, parser);
  const auto lines = test::Records(records.Text());
  ASSERT_EQ(lines.size(), records.size());
  bool sawRounding = false;
  for (size_t i = 0; i < records.size(); ++i) {
    const double* numbers = &records.Items[i].X1;
    for (int c = 0; c < 12; ++c) {
      char printed[40];
      std::snprintf(printed, sizeof printed, "%.15g", numbers[c]);
      EXPECT_EQ(std::strtod(printed, nullptr), std::strtod(lines[i][5 + c].c_str(), nullptr))
          << "record " << i << " column " << 6 + c;
      if (std::strtod(lines[i][5 + c].c_str(), nullptr) != numbers[c]) sawRounding = true;
    }
  }
  EXPECT_TRUE(sawRounding);
}

TEST(ParseRecords, NoEntitiesGiveNoRecords) {
  test::TempFile file(test::Drawing({}));
  Vessik_Parser parser;
  EXPECT_EQ(Read(file.Path(), parser).size(), 0u);
}

TEST(ParseRecords, FailsAsParse2Does) {
  Vessik_Parser parser;
  EXPECT_EQ(test::FailureNumber([&] { Read("/nonexistent/drawing.dxf", parser); }),
            test::FailureNumber([&] { Text("/nonexistent/drawing.dxf"); }));
  test::TempFile badColour(test::Drawing({{0, "LINE"}, {62, "red"}}));
  EXPECT_EQ(test::FailureNumber([&] { Read(badColour.Path(), parser); }), errnum::TypeMismatch);
}

TEST(ParseRecords, CancelledParseGivesNoRecords) {
  Vessik_Parser parser;
  Vessik_CommonData data = test::ToolDefaults();
  Vessik_Progress progress;
  progress.Connect([&](int32_t) { progress.IsCanceled(true); });
  EXPECT_EQ(ParseRecords(parser, kShapes, data, progress).size(), 0u);
}

TEST(ParseRecords, TextUsesTheLocalesSeparatorLikeParse2) {
  test::CommaLocale comma;
  if (comma.Name().empty()) VESSIK_SKIP_OR_FAIL("no locale with a decimal comma");
  Vessik_Parser parser;
  const std::string text = Read(kShapes, parser).Text();
  EXPECT_NE(text.find(','), std::string::npos);
  EXPECT_EQ(text, Text(kShapes));
}

TEST(ParseRecords, LeavesTheTextFormOfThisThreadAlone) {
  Vessik_Parser parser;
  Read(kShapes, parser);
  EXPECT_EQ(Vessik_Line().ToString(1, "0", 0, 255, 0, 0, 0, 1, 2, 3),
            "1\t83\t0\t0\t255\t0\t0\t0\t1\t2\t3\t0\t0\t0\t0\t0\t0\t\r\n");
}

}  // namespace
}  // namespace vessik
