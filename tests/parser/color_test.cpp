// Vessik_Color and the colours that reach the host: a layer's number and an
// entity's own group 62, through the RGB rule of the colour numbers.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "parser/Vessik_Color.h"
#include "parser/Vessik_Parser.h"
#include "support/TestSupport.h"

namespace vessik {
namespace {

using test::FailureNumber;

int32_t Rgb(int r, int g, int b) {
  return r + 256 * g + 65536 * b;
}

// The decade 20 to 29 (hue 15: r 1, g 0.25, b 0) at each brightness; the odd ones
// have their channels pulled half way up to 1: (1, 0.625, 0.5).
TEST(VessikColor, NumberSetsTheRgbOfEachBrightness) {
  const std::vector<std::pair<int32_t, int32_t>> expected{
      {20, Rgb(255, 64, 0)},    {21, Rgb(255, 159, 128)}, {22, Rgb(204, 51, 0)},
      {23, Rgb(204, 128, 102)}, {24, Rgb(153, 38, 0)},    {25, Rgb(153, 96, 76)},
      {26, Rgb(128, 32, 0)},    {27, Rgb(128, 80, 64)},   {28, Rgb(76, 19, 0)},
      {29, Rgb(76, 48, 38)}};
  for (const auto& [aci, rgb] : expected) {
    Vessik_Color c;
    c.ColorACI(aci);
    EXPECT_EQ(c.ColorACI(), aci);
    EXPECT_EQ(c.ColorRGB(), rgb) << aci;
    // A switched-off layer's negative number keeps its sign and has the same RGB.
    c.ColorACI(-aci);
    EXPECT_EQ(c.ColorACI(), -aci);
    EXPECT_EQ(c.ColorRGB(), rgb) << -aci;
  }
}

std::vector<std::vector<std::string>> ParseRecords(const std::string& dxf,
                                                   Vessik_Layers* layersOut = nullptr) {
  test::TempFile f(dxf);
  Vessik_Parser parser;
  Vessik_CommonData data;
  data.Tolerance = 0.01;
  Vessik_Progress progress;
  auto rec = test::Records(parser.Parse2(f.Path(), data, progress));
  if (layersOut != nullptr) *layersOut = parser.Layers();
  return rec;
}

TEST(VessikColor, LayerAndEntityColoursReachTheRecord) {
  // Layer DIM has 26, layer OFF has -27 (switched off); the third line has its own
  // 96 (hue 120 at half brightness: (0, 127.5, 0)).
  Vessik_Layers layers;
  auto rec = ParseRecords(test::Drawing({{0, "LINE"},
                                         {8, "DIM"},
                                         {11, "1"},
                                         {0, "LINE"},
                                         {8, "OFF"},
                                         {11, "2"},
                                         {0, "LINE"},
                                         {8, "DIM"},
                                         {62, "96"},
                                         {11, "3"}},
                                        {{"DIM", 26}, {"OFF", -27}}),
                          &layers);
  ASSERT_EQ(rec.size(), 3u);
  EXPECT_EQ(rec[0][4], "8320");
  EXPECT_EQ(rec[1][4], "4214912");
  EXPECT_EQ(rec[2][4], "32768");
  ASSERT_EQ(layers.size(), 2u);
  EXPECT_EQ(layers[0]->Color->ColorACI(), 26);
  EXPECT_EQ(layers[0]->Color->ColorRGB(), 8320);
  EXPECT_EQ(layers[1]->Color->ColorACI(), -27);
  EXPECT_EQ(layers[1]->Color->ColorRGB(), 4214912);
}

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

}  // namespace
}  // namespace vessik
