// The SVG picture of the records: elements, colours, groups and the view box.
#include <gtest/gtest.h>

#include <cstring>
#include <limits>
#include <string>

#include "entities/RecordText.h"
#include "host/svg/RecordsSvg.h"
#include "parser/parser.h"
#include "support/Settings.h"
#include "support/TestSupport.h"

namespace vessik {
namespace {

struct Picture {
  std::string svg;
  size_t records = 0;
};

Picture Draw(const std::string& dxf) {
  test::TempFile file(dxf);
  Vessik_Parser parser;
  Vessik_CommonData data = test::ToolDefaults();
  Vessik_Progress progress;
  const Vessik_Records records = ParseRecords(parser, file.Path(), data, progress);
  return {RecordsSvg(records, parser.Layers()), records.size()};
}

std::vector<std::pair<int, std::string>> Arc(const std::string& layer, const std::string& sa,
                                             const std::string& ea) {
  return {{0, "ARC"}, {8, layer}, {10, "0"}, {20, "0"}, {30, "0"}, {40, "1"}, {50, sa}, {51, ea}};
}

bool Has(const std::string& svg, const std::string& piece) {
  return svg.find(piece) != std::string::npos;
}

TEST(RecordsSvg, DrawsEachRecordTypeInItsLayersGroup) {
  std::vector<std::pair<int, std::string>> entities = {
      {0, "LINE"},   {8, "0"}, {10, "0"}, {20, "0"}, {30, "0"}, {11, "10"}, {21, "5"}, {31, "0"},
      {0, "CIRCLE"}, {8, "0"}, {62, "1"}, {10, "5"}, {20, "5"}, {30, "0"},  {40, "2"}};
  for (const auto& pair : Arc("WALLS", "0", "90")) entities.push_back(pair);
  const Picture p = Draw(test::Drawing(entities, {{"0", 7}, {"WALLS", 3}}));
  ASSERT_EQ(p.records, 3u);
  // White is drawn black; the circle's own red; the arc takes its layer's green.
  EXPECT_TRUE(Has(p.svg,
                  "<g data-layer=\"0\">\n"
                  "<line x1=\"0\" y1=\"0\" x2=\"10\" y2=\"-5\" stroke=\"#000000\"/>\n"
                  "<circle cx=\"5\" cy=\"-5\" r=\"2\" stroke=\"#ff0000\"/>\n"
                  "</g>\n"
                  "<g data-layer=\"WALLS\">\n"
                  "<path d=\"M1,0A1,1 0 0 0 6.123233995736766e-17,-1\" stroke=\"#00ff00\"/>\n"
                  "</g>\n</svg>\n"))
      << p.svg;
  // x from 0 to 10, y from 0 to 7 (the circle's top), a margin of 5% of 10.
  EXPECT_TRUE(Has(p.svg, "width=\"1024\" height=\"745\" viewBox=\"-0.5 -7.5 11 8\"")) << p.svg;
  EXPECT_TRUE(Has(p.svg, "vector-effect:non-scaling-stroke")) << p.svg;
  EXPECT_TRUE(
      Has(p.svg, "<rect x=\"-0.5\" y=\"-7.5\" width=\"11\" height=\"8\" fill=\"#ffffff\"/>"))
      << p.svg;
}

TEST(RecordsSvg, ByLayerAndByBlockTakeTheLayersColour) {
  std::vector<std::pair<int, std::string>> entities;
  for (const char* colour : {"256", "0"}) {
    for (const auto& pair : Arc("WALLS", "0", "90")) entities.push_back(pair);
    entities.push_back({62, colour});
  }
  const Picture p = Draw(test::Drawing(entities, {{"0", 7}, {"WALLS", 5}}));
  ASSERT_EQ(p.records, 2u);
  size_t blue = 0;
  for (size_t at = p.svg.find("stroke=\"#0000ff\""); at != std::string::npos;
       at = p.svg.find("stroke=\"#0000ff\"", at + 1)) {
    ++blue;
  }
  EXPECT_EQ(blue, 2u) << p.svg;
}

TEST(RecordsSvg, ArcsTurnCounterClockwise) {
  std::vector<std::pair<int, std::string>> entities;
  for (const auto& pair : Arc("0", "0", "270")) entities.push_back(pair);
  for (const auto& pair : Arc("0", "270", "0")) entities.push_back(pair);
  for (const auto& pair : Arc("0", "30", "30")) entities.push_back(pair);
  const Picture p = Draw(test::Drawing(entities, {{"0", 1}}));
  ASSERT_EQ(p.records, 3u);
  // Three quarters: the large-arc flag.
  EXPECT_TRUE(Has(p.svg, "<path d=\"M1,0A1,1 0 1 0 -1.8369701987210297e-16,1\"")) << p.svg;
  // From 270 round to 0 is one quarter.
  EXPECT_TRUE(Has(p.svg, "<path d=\"M-1.8369701987210297e-16,1A1,1 0 0 0 1,0\"")) << p.svg;
  // Equal angles: a full turn, drawn as two halves.
  EXPECT_TRUE(Has(p.svg,
                  "<path d=\"M0.8660254037844387,-0.49999999999999994A1,1 0 0 0 "
                  "-0.8660254037844387,0.49999999999999994A1,1 0 0 0 "
                  "0.8660254037844387,-0.49999999999999994\""))
      << p.svg;
  // The box holds the whole circle.
  EXPECT_TRUE(Has(p.svg, "viewBox=\"-1.1 -1.1 2.2 2.2\"")) << p.svg;
}

TEST(RecordsSvg, LayerNamesAreEscaped) {
  const Picture p = Draw(test::Drawing({{0, "LINE"}, {8, "A&B<\"\xE9\">"}, {11, "1"}}));
  EXPECT_TRUE(Has(p.svg, "<g data-layer=\"A&amp;B&lt;&quot;\xC3\xA9&quot;&gt;\">")) << p.svg;
}

TEST(RecordsSvg, EmptyDrawingIsAnEmptyPicture) {
  const Picture p = Draw(test::Drawing({}));
  EXPECT_EQ(p.records, 0u);
  EXPECT_TRUE(Has(p.svg, "viewBox=\"-1 -1 2 2\"")) << p.svg;
  EXPECT_FALSE(Has(p.svg, "<g ")) << p.svg;
}

TEST(RecordsSvg, RecordsWithoutFiniteNumbersAreLeftOut) {
  auto numbers = [](double x2) {
    const RecordHead head{7, 83, 0, 255, 1};
    const double columns[12] = {0, 0, 0, x2, 1, 0, 0, 0, 0, 0, 0, 0};
    std::string bytes(kRecordHeadBytes + kRecordColumnsBytes + 1, '0');
    std::memcpy(bytes.data(), &head, kRecordHeadBytes);
    std::memcpy(bytes.data() + kRecordHeadBytes, columns, kRecordColumnsBytes);
    return bytes;
  };
  const Vessik_Records records =
      Vessik_Records::FromNumbers(numbers(std::numeric_limits<double>::infinity()) + numbers(2));
  ASSERT_EQ(records.size(), 2u);
  const std::string svg = RecordsSvg(records, {});
  EXPECT_TRUE(Has(svg, "<g data-layer=\"0\">\n<line x1=\"0\" y1=\"0\" x2=\"2\" y2=\"-1\"")) << svg;
  EXPECT_FALSE(Has(svg, "inf")) << svg;
}

}  // namespace
}  // namespace vessik
