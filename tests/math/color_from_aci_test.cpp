// The colour numbers 10 to 249: every brightness and every hue step, as packed RGB.
//
// A colour number a of that range has its hue from the tens, H = (a - d - 10) × 1.5
// with d the last digit, its brightness from the last digit (1, 0.8, 0.6, 0.5 and
// 0.3 for the pairs 0-1, 2-3, 4-5, 6-7, 8-9), and its saturation from the parity
// (1 for even, 0.5 for odd, which pulls each channel half way up to the strongest
// one). Each channel ends as (m - (m - c) × S) × V × 255, rounded half to even.
#include <gtest/gtest.h>

#include "geometry/Vessik_Math.h"

namespace vessik {
namespace {

int32_t Rgb(int r, int g, int b) {
  return r + 256 * g + 65536 * b;
}

// The decade 20 to 29 has the hue H = 15: r = 105 / 60 = 1.75, limited to 1,
// g = 15 / 60 = 0.25, b = 0; the strongest channel m is 1.
//   even: (1, 0.25, 0) × V × 255
//   odd:  (1, 1 - 0.75 / 2, 1 - 1 / 2) = (1, 0.625, 0.5) × V × 255
TEST(ColorFromACI, AllTenBrightnessesOfOneHue) {
  // V = 1: 0.25 × 255 = 63.75.
  EXPECT_EQ(ColorFromACI(20), Rgb(255, 64, 0));
  EXPECT_EQ(ColorFromACI(20), 16639);
  // 0.625 × 255 = 159.375; 0.5 × 255 = 127.5 goes to the even 128.
  EXPECT_EQ(ColorFromACI(21), Rgb(255, 159, 128));
  EXPECT_EQ(ColorFromACI(21), 8429567);
  // V = 0.8: 204; 0.25 × 204 = 51.
  EXPECT_EQ(ColorFromACI(22), Rgb(204, 51, 0));
  // 0.625 × 204 = 127.5 -> 128; 0.5 × 204 = 102.
  EXPECT_EQ(ColorFromACI(23), Rgb(204, 128, 102));
  // V = 0.6: 153; 0.25 × 153 = 38.25.
  EXPECT_EQ(ColorFromACI(24), Rgb(153, 38, 0));
  // 0.625 × 153 = 95.625; 0.5 × 153 = 76.5 goes to the even 76.
  EXPECT_EQ(ColorFromACI(25), Rgb(153, 96, 76));
  // V = 0.5: 127.5 -> 128; 0.25 × 127.5 = 31.875.
  EXPECT_EQ(ColorFromACI(26), Rgb(128, 32, 0));
  EXPECT_EQ(ColorFromACI(26), 8320);
  // 0.625 × 127.5 = 79.6875; 0.5 × 127.5 = 63.75.
  EXPECT_EQ(ColorFromACI(27), Rgb(128, 80, 64));
  EXPECT_EQ(ColorFromACI(27), 4214912);
  // V = 0.3: 76.5 -> 76; 0.25 × 76.5 = 19.125.
  EXPECT_EQ(ColorFromACI(28), Rgb(76, 19, 0));
  // 0.625 × 76.5 = 47.8125; 0.5 × 76.5 = 38.25.
  EXPECT_EQ(ColorFromACI(29), Rgb(76, 48, 38));
  EXPECT_EQ(ColorFromACI(29), 2502732);
}

// Pure colours of the even numbers, one decade apart: each step of 10 turns the hue
// by 15 degrees. The three bands meet at H = 120 (index 90) and H = 240 (170).
TEST(ColorFromACI, EveryHueStepAtFullBrightness) {
  EXPECT_EQ(ColorFromACI(10), Rgb(255, 0, 0));     // H 0: r = 2 -> 1
  EXPECT_EQ(ColorFromACI(30), Rgb(255, 128, 0));   // H 30: g = 0.5, 127.5 -> 128
  EXPECT_EQ(ColorFromACI(40), Rgb(255, 191, 0));   // H 45: g = 0.75, 191.25
  EXPECT_EQ(ColorFromACI(50), Rgb(255, 255, 0));   // H 60: r = g = 1
  EXPECT_EQ(ColorFromACI(60), Rgb(191, 255, 0));   // H 75: r = 0.75
  EXPECT_EQ(ColorFromACI(70), Rgb(128, 255, 0));   // H 90: r = 0.5
  EXPECT_EQ(ColorFromACI(80), Rgb(64, 255, 0));    // H 105: r = 0.25, 63.75
  EXPECT_EQ(ColorFromACI(90), Rgb(0, 255, 0));     // H 120: second band, g = 2 -> 1
  EXPECT_EQ(ColorFromACI(100), Rgb(0, 255, 64));   // H 135: b = 0.25
  EXPECT_EQ(ColorFromACI(110), Rgb(0, 255, 128));  // H 150: b = 0.5
  EXPECT_EQ(ColorFromACI(120), Rgb(0, 255, 191));  // H 165: b = 0.75
  EXPECT_EQ(ColorFromACI(130), Rgb(0, 255, 255));  // H 180: g = b = 1
  EXPECT_EQ(ColorFromACI(140), Rgb(0, 191, 255));  // H 195: g = 0.75
  EXPECT_EQ(ColorFromACI(150), Rgb(0, 128, 255));  // H 210: g = 0.5
  EXPECT_EQ(ColorFromACI(160), Rgb(0, 64, 255));   // H 225: g = 0.25
  EXPECT_EQ(ColorFromACI(170), Rgb(0, 0, 255));    // H 240: third band, b = 2 -> 1
  EXPECT_EQ(ColorFromACI(180), Rgb(64, 0, 255));   // H 255: r = 0.25
  EXPECT_EQ(ColorFromACI(190), Rgb(128, 0, 255));  // H 270: r = 0.5
  EXPECT_EQ(ColorFromACI(200), Rgb(191, 0, 255));  // H 285: r = 0.75
  EXPECT_EQ(ColorFromACI(210), Rgb(255, 0, 255));  // H 300: r = b = 1
  EXPECT_EQ(ColorFromACI(220), Rgb(255, 0, 191));  // H 315: b = 0.75
  EXPECT_EQ(ColorFromACI(230), Rgb(255, 0, 128));  // H 330: b = 0.5
  EXPECT_EQ(ColorFromACI(240), Rgb(255, 0, 64));   // H 345: b = 0.25
}

// The middle brightness (last digit 6 or 7) on other hues, where two channels are
// full or a channel is zero.
TEST(ColorFromACI, HalfBrightnessOnOtherHues) {
  // H 60, odd: (1, 1, 0.5) × 127.5 = (127.5, 127.5, 63.75).
  EXPECT_EQ(ColorFromACI(57), Rgb(128, 128, 64));
  // H 120, even: (0, 1, 0) × 127.5.
  EXPECT_EQ(ColorFromACI(96), Rgb(0, 128, 0));
  EXPECT_EQ(ColorFromACI(96), 32768);
  // H 180, even and odd: (0, 1, 1), and (0.5, 1, 1) × 127.5.
  EXPECT_EQ(ColorFromACI(136), Rgb(0, 128, 128));
  EXPECT_EQ(ColorFromACI(137), Rgb(64, 128, 128));
  // H 240, even: (0, 0, 1) × 127.5.
  EXPECT_EQ(ColorFromACI(176), Rgb(0, 0, 128));
  // H 300, even: (1, 0, 1) × 127.5.
  EXPECT_EQ(ColorFromACI(216), Rgb(128, 0, 128));
}

// The odd numbers at full brightness: the channels are pulled half way up to 1.
TEST(ColorFromACI, HalfSaturationOnOtherHues) {
  // H 180: (0, 1, 1) -> (0.5, 1, 1).
  EXPECT_EQ(ColorFromACI(131), Rgb(128, 255, 255));
  // H 240: (0, 0, 1) -> (0.5, 0.5, 1).
  EXPECT_EQ(ColorFromACI(171), Rgb(128, 128, 255));
  // H 105: (0.25, 1, 0) -> (0.625, 1, 0.5): 159.375 and 127.5.
  EXPECT_EQ(ColorFromACI(81), Rgb(159, 255, 128));
}

// The dark end: the same hue at 0.3 against the 0.5 and 0.6 of its neighbours.
TEST(ColorFromACI, DarkestBrightnessesOnOtherHues) {
  // H 120: g = 1: 0.3 × 255 = 76.5 -> 76, 0.6 × 255 = 153.
  EXPECT_EQ(ColorFromACI(98), Rgb(0, 76, 0));
  EXPECT_EQ(ColorFromACI(94), Rgb(0, 153, 0));
  // Odd at 0.3: (0.5, 1, 0.5) × 76.5 = (38.25, 76.5, 38.25).
  EXPECT_EQ(ColorFromACI(99), Rgb(38, 76, 38));
  // 0.8 × 255 = 204.
  EXPECT_EQ(ColorFromACI(92), Rgb(0, 204, 0));
}

}  // namespace
}  // namespace vessik
