// The free routines of the geometry kernel: constants, colours, handles,
// trigonometry, rounding and angle normalisation.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <string>

#include "geometry/Vessik_Math.h"
#include "parser/Vessik_Error.h"

namespace vessik {
namespace {

int32_t Rgb(int r, int g, int b) {
  return r + 256 * g + 65536 * b;
}

template <class F>
void ExpectFailure(F&& f, int32_t number) {
  try {
    f();
    ADD_FAILURE() << "no failure raised, expected " << number;
  } catch (const Vessik_Error& e) {
    EXPECT_EQ(e.Number(), number);
  }
}

}  // namespace

TEST(MathConstants, FifteenDigitPi) {
  EXPECT_EQ(Pi, 3.14159265358979);
  EXPECT_NE(Pi, 3.141592653589793);
  EXPECT_EQ(TwoPi, 6.28318530717958);
  EXPECT_EQ(HalfPi, Pi / 2);
  EXPECT_EQ(HalfPi, 1.570796326794895);
  EXPECT_EQ(ThreeHalfPi, 4.712388980384685);
  EXPECT_EQ(MostNegative, -1.79769313486231E+308);
}

TEST(ColorFromACI, FixedTable) {
  EXPECT_EQ(ColorFromACI(0), 0);
  EXPECT_EQ(ColorFromACI(1), Rgb(255, 0, 0));
  EXPECT_EQ(ColorFromACI(1), 255);
  EXPECT_EQ(ColorFromACI(2), Rgb(255, 255, 0));
  EXPECT_EQ(ColorFromACI(3), Rgb(0, 255, 0));
  EXPECT_EQ(ColorFromACI(3), 65280);
  EXPECT_EQ(ColorFromACI(4), Rgb(0, 255, 255));
  EXPECT_EQ(ColorFromACI(5), Rgb(0, 0, 255));
  EXPECT_EQ(ColorFromACI(6), Rgb(255, 0, 255));
  EXPECT_EQ(ColorFromACI(7), 16777215);
  EXPECT_EQ(ColorFromACI(8), Rgb(128, 128, 128));
  EXPECT_EQ(ColorFromACI(9), Rgb(192, 192, 192));
  EXPECT_EQ(ColorFromACI(250), Rgb(51, 51, 51));
  EXPECT_EQ(ColorFromACI(251), Rgb(91, 91, 91));
  EXPECT_EQ(ColorFromACI(252), Rgb(132, 132, 132));
  EXPECT_EQ(ColorFromACI(253), Rgb(173, 173, 173));
  EXPECT_EQ(ColorFromACI(254), Rgb(214, 214, 214));
  EXPECT_EQ(ColorFromACI(255), Rgb(255, 255, 255));
}

TEST(ColorFromACI, ZeroByLayerAndAbove256) {
  EXPECT_EQ(ColorFromACI(0), 0);
  EXPECT_EQ(ColorFromACI(256), -1);
  EXPECT_EQ(ColorFromACI(257), 0);
  EXPECT_EQ(ColorFromACI(1000), 0);
  EXPECT_EQ(ColorFromACI(2147483647), 0);
}

TEST(ColorFromACI, NegativeIndexGivesThePositiveColour) {
  EXPECT_EQ(ColorFromACI(-1), 255);
  EXPECT_EQ(ColorFromACI(-7), 16777215);
  EXPECT_EQ(ColorFromACI(-256), -1);
  EXPECT_EQ(ColorFromACI(-11), ColorFromACI(11));
}

TEST(ColorFromACI, SmallestNumberOverflows) {
  ExpectFailure([] { ColorFromACI(std::numeric_limits<int32_t>::min()); }, errnum::Overflow);
}

TEST(ColorFromACI, HueRuleExamples) {
  EXPECT_EQ(ColorFromACI(10), Rgb(255, 0, 0));
  // 127.5 rounds to 128.
  EXPECT_EQ(ColorFromACI(11), Rgb(255, 128, 128));
  EXPECT_EQ(ColorFromACI(11), 8421631);
  EXPECT_EQ(ColorFromACI(12), Rgb(204, 0, 0));
  // H = 30: r = 1, g = 0.5, b = 0.
  EXPECT_EQ(ColorFromACI(30), Rgb(255, 128, 0));
  EXPECT_EQ(ColorFromACI(30), 33023);
}

TEST(ColorFromACI, Index249RoundsHalfToEven) {
  // (76.5, 38.25, 47.8125): 76.5 goes to 76.
  EXPECT_EQ(ColorFromACI(249), Rgb(76, 38, 48));
  EXPECT_EQ(ColorFromACI(249), 3155532);
}

TEST(ColorFromACI, HueBoundaries) {
  // Index 90: H = 120, the second band: r = 0, g = 2 -> 1, b = 0.
  EXPECT_EQ(ColorFromACI(90), Rgb(0, 255, 0));
  // Index 170: H = 240, the third band: r = 0, g = 0, b = 2 -> 1.
  EXPECT_EQ(ColorFromACI(170), Rgb(0, 0, 255));
  // Index 240: H = 345: r = 1.75 -> 1, g = 0, b = 0.25.
  EXPECT_EQ(ColorFromACI(240), Rgb(255, 0, 64));
  // Index 15: odd, d = 5, V = 0.6: (1 - 0.5 * 1) * 0.6 * 255 = 76.5 -> 76.
  EXPECT_EQ(ColorFromACI(15), Rgb(153, 76, 76));
}

// The colour numbers 10 to 249: every brightness and every hue step, as packed RGB.
//
// A colour number a of that range has its hue from the tens, H = (a - d - 10) × 1.5
// with d the last digit, its brightness from the last digit (1, 0.8, 0.6, 0.5 and
// 0.3 for the pairs 0-1, 2-3, 4-5, 6-7, 8-9), and its saturation from the parity
// (1 for even, 0.5 for odd, which pulls each channel half way up to the strongest
// one). Each channel ends as (m - (m - c) × S) × V × 255, rounded half to even.

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

TEST(MakeRGB, PacksWithoutMasking) {
  EXPECT_EQ(MakeRGB(1, 2, 3), 197121);
  EXPECT_EQ(MakeRGB(255, 255, 255), 16777215);
  EXPECT_EQ(MakeRGB(256, 0, 0), 256);
  EXPECT_EQ(MakeRGB(0, 256, 0), 65536);
}

TEST(MinMaxOf, FirstOnlyWhenStrictlyBetter) {
  EXPECT_EQ(MinOf(1, 2), 1);
  EXPECT_EQ(MinOf(2, 1), 1);
  EXPECT_EQ(MaxOf(1, 2), 2);
  EXPECT_EQ(MaxOf(2, 1), 2);
  const double nan = std::numeric_limits<double>::quiet_NaN();
  // A comparison with a NaN is false, so the second argument comes back.
  EXPECT_EQ(MinOf(nan, 1), 1);
  EXPECT_TRUE(std::isnan(MinOf(1, nan)));
  EXPECT_EQ(MaxOf(nan, 1), 1);
  EXPECT_TRUE(std::isnan(MaxOf(1, nan)));
  // Equal zeros of both signs: the second.
  EXPECT_TRUE(std::signbit(MinOf(0.0, -0.0)));
  EXPECT_FALSE(std::signbit(MaxOf(-0.0, 0.0)));
}

TEST(HandleToId, HexadecimalHandles) {
  EXPECT_EQ(HandleToId("2F"), 47);
  EXPECT_EQ(HandleToId("2f"), 47);
  EXPECT_EQ(HandleToId("2A"), 42);
  EXPECT_EQ(HandleToId(""), 0);
  EXPECT_EQ(HandleToId("0"), 0);
}

TEST(HandleToId, SixteenAndThirtyTwoBitRule) {
  EXPECT_EQ(HandleToId("FFFF"), -1);
  EXPECT_EQ(HandleToId("8000"), -32768);
  EXPECT_EQ(HandleToId("7FFF"), 32767);
  EXPECT_EQ(HandleToId("0000FFFF"), -1);
  EXPECT_EQ(HandleToId("10000"), 65536);
  EXPECT_EQ(HandleToId("FFFFFFFF"), -1);
  EXPECT_EQ(HandleToId("7FFFFFFF"), 2147483647);
  EXPECT_EQ(HandleToId("80000000"), -2147483647 - 1);
  // Nine digits and more: only the low 32 bits count.
  EXPECT_EQ(HandleToId("123456789"), 0x23456789);
  EXPECT_EQ(HandleToId("3B05000004F137"), 323895);
}

TEST(HandleToId, StopsAtNonDigitAndSkipsBlanks) {
  EXPECT_EQ(HandleToId("2G5"), 2);
  EXPECT_EQ(HandleToId("G"), 0);
  EXPECT_EQ(HandleToId(" 2F"), 47);
  EXPECT_EQ(HandleToId("2 F"), 47);
  EXPECT_EQ(HandleToId("2\tF\n"), 47);
  EXPECT_EQ(HandleToId("2F\r"), 47);
  EXPECT_EQ(HandleToId("2,F"), 2);
}

// The rule written out plainly: blanks, tabs and line feeds vanish, hex digits are
// taken up to the first other character, and the value is 16 bits wide until it
// passes 0xFFFF, then the low 32 bits.
int32_t HandleByTheRule(const std::string& text) {
  uint64_t value = 0;
  bool wide = false;
  for (const char c : text) {
    if (c == ' ' || c == '\t' || c == '\n') continue;
    int digit = -1;
    if (c >= '0' && c <= '9') digit = c - '0';
    if (c >= 'a' && c <= 'f') digit = c - 'a' + 10;
    if (c >= 'A' && c <= 'F') digit = c - 'A' + 10;
    if (digit < 0) break;
    value = value << 4 | static_cast<uint64_t>(digit);
    if (value > 0xFFFF) wide = true;
  }
  if (!wide) return static_cast<int16_t>(static_cast<uint16_t>(value));
  return static_cast<int32_t>(static_cast<uint32_t>(value));
}

TEST(HandleToId, RandomTextsFollowTheRule) {
  static constexpr char kChars[] = "0123456789abcdefABCDEF0000FFFF \t\ngG,.-";
  uint64_t state = 12345;
  const auto next = [&state] {
    state = state * 6364136223846793005ULL + 1442695040888963407ULL;
    return static_cast<uint32_t>(state >> 33);
  };
  for (int round = 0; round < 200000; ++round) {
    std::string text;
    const uint32_t length = next() % 13;
    // Mostly hex digits alone, as handles are; now and then anything.
    const uint32_t alphabet = next() % 4 == 0 ? sizeof(kChars) - 1 : 22;
    for (uint32_t k = 0; k < length; ++k) text += kChars[next() % alphabet];
    ASSERT_EQ(HandleToId(text), HandleByTheRule(text)) << "\"" << text << "\"";
  }
}

TEST(ArcTan2, XComesFirst) {
  EXPECT_EQ(ArcTan2(0, 0), 0);
  EXPECT_EQ(ArcTan2(-1, 0), Pi);
  EXPECT_EQ(ArcTan2(-1, 0), 3.14159265358979);
  EXPECT_EQ(ArcTan2(0, 1), 1.570796326794895);
  EXPECT_EQ(ArcTan2(0, 5), 1.570796326794895);
  EXPECT_EQ(ArcTan2(0, -1), -1.570796326794895);
  EXPECT_EQ(ArcTan2(1, 1), std::atan(1.0));
  EXPECT_EQ(ArcTan2(1, -1), -std::atan(1.0));
  // The left half-plane lies above Pi/2: up to but not including 3 Pi/2.
  EXPECT_EQ(ArcTan2(-1, 1), std::atan(-1.0) + Pi);
  EXPECT_EQ(ArcTan2(-1, -1), std::atan(1.0) + Pi);
  EXPECT_GT(ArcTan2(-1, -1), Pi);
  EXPECT_LT(ArcTan2(-1, -1), ThreeHalfPi);
}

TEST(ArcSin, EndsAndJump) {
  EXPECT_EQ(ArcSin(1), 1.570796326794895);
  EXPECT_EQ(ArcSin(-1), 4.712388980384685);
  EXPECT_EQ(ArcSin(0), 0);
  EXPECT_EQ(ArcSin(0.5), std::atan(0.5 / std::sqrt((-0.5) * 0.5 + 1)));
  EXPECT_TRUE(std::isnan(ArcSin(2)));
}

TEST(ArcCos, EndsAndPlatformArctangent) {
  EXPECT_EQ(ArcCos(1), 0);
  EXPECT_EQ(ArcCos(-1), Pi);
  // 2 * atan(1) from the platform, not the fifteen-digit Pi / 2.
  EXPECT_EQ(ArcCos(0), 2 * std::atan(1.0));
  EXPECT_EQ(ArcCos(0), 1.5707963267948966);
  EXPECT_NE(ArcCos(0), HalfPi);
  EXPECT_EQ(ArcCos(0.5), std::atan(-0.5 / std::sqrt((-0.5) * 0.5 + 1)) + 2 * std::atan(1.0));
  EXPECT_TRUE(std::isnan(ArcCos(-2)));
}

TEST(FloatMod, SignOfTheDivisor) {
  EXPECT_EQ(FloatMod(7, 3), (7.0 / 3 - std::floor(7.0 / 3)) * 3);
  EXPECT_EQ(FloatMod(6, 3), 0);
  const double negative = FloatMod(-1, 360);
  EXPECT_GT(negative, 0);
  EXPECT_EQ(negative, (-1.0 / 360 + 1) * 360);
  EXPECT_LT(FloatMod(1, -360), 0);
  EXPECT_EQ(FloatMod(1, -360), (1.0 / -360 + 1) * -360);
  EXPECT_TRUE(std::isnan(FloatMod(1, 0)));
}

TEST(RoundToLong, HalfToEven) {
  EXPECT_EQ(RoundToLong(2.5), 2);
  EXPECT_EQ(RoundToLong(3.5), 4);
  EXPECT_EQ(RoundToLong(0.5), 0);
  EXPECT_EQ(RoundToLong(1.5), 2);
  EXPECT_EQ(RoundToLong(-2.5), -2);
  EXPECT_EQ(RoundToLong(-3.5), -4);
  EXPECT_EQ(RoundToLong(2.4999), 2);
  EXPECT_EQ(RoundToLong(2147483647.4), 2147483647);
  EXPECT_EQ(RoundToLong(-2147483648.5), -2147483647 - 1);
}

TEST(RoundToLong, OutOfRangeOverflows) {
  ExpectFailure([] { RoundToLong(2147483647.5); }, errnum::Overflow);
  ExpectFailure([] { RoundToLong(-2147483649.0); }, errnum::Overflow);
  ExpectFailure([] { RoundToLong(std::numeric_limits<double>::quiet_NaN()); }, errnum::Overflow);
  ExpectFailure([] { RoundToLong(std::numeric_limits<double>::infinity()); }, errnum::Overflow);
}

TEST(CeilToLong, Examples) {
  EXPECT_EQ(CeilToLong(2), 2);
  // i = 2 and a positive rest.
  EXPECT_EQ(CeilToLong(2.5), 3);
  // i = 4 and a negative rest.
  EXPECT_EQ(CeilToLong(3.5), 4);
  EXPECT_EQ(CeilToLong(2.1), 3);
  EXPECT_EQ(CeilToLong(-2.5), -2);
  EXPECT_EQ(CeilToLong(-2.7), -2);
  EXPECT_EQ(CeilToLong(0), 0);
}

TEST(CeilToLong, AboveTheLargestIntegerOverflows) {
  EXPECT_EQ(CeilToLong(2147483646.5), 2147483647);
  EXPECT_EQ(CeilToLong(2147483647), 2147483647);
  // Rounds to the largest integer, and the one more does not fit.
  ExpectFailure([] { CeilToLong(2147483647.25); }, errnum::Overflow);
}

TEST(Deg2Rad, DivisionInTheBracketFirst) {
  EXPECT_EQ(Deg2Rad(180), 180 / (180 / Pi));
  EXPECT_EQ(Deg2Rad(90), 90 / (180 / Pi));
  EXPECT_EQ(Deg2Rad(0), 0);
}

TEST(Rad2Deg, MultiplicationFirstThenNormalised) {
  EXPECT_EQ(Rad2Deg(Pi, 0), Pi * 180 / Pi);
  EXPECT_EQ(Rad2Deg(Pi, 0), 180);
  EXPECT_EQ(Rad2Deg(-Pi / 2, 0), 270);
  EXPECT_EQ(Rad2Deg(-Pi / 2, -180), -90);
  EXPECT_EQ(Rad2Deg(0.1, 0), 0.1 * 180 / Pi);
}

TEST(NormDegrees, Examples) {
  EXPECT_EQ(NormDegrees(-720, 0), 360);
  EXPECT_EQ(NormDegrees(720, 0), 0);
  EXPECT_EQ(NormDegrees(365, 0), 5);
  EXPECT_EQ(NormDegrees(-5, 0), 355);
}

TEST(NormDegrees, EachPath) {
  // Step 1: already in range.
  EXPECT_EQ(NormDegrees(0, 0), 0);
  EXPECT_EQ(NormDegrees(359.5, 0), 359.5);
  // Step 2.
  EXPECT_EQ(NormDegrees(360, 0), 0);
  EXPECT_EQ(NormDegrees(719, 0), 359);
  // Step 3.
  EXPECT_EQ(NormDegrees(-360, 0), 0);
  // Step 4, not negative.
  EXPECT_EQ(NormDegrees(725, 0), 5);
  EXPECT_EQ(NormDegrees(1080, 0), 0);
  // Step 4, negative: a whole multiple more than one turn away lands on b + 360.
  EXPECT_EQ(NormDegrees(-725, 0), 355);
  EXPECT_EQ(NormDegrees(-1080, 0), 360);
  EXPECT_EQ(NormDegrees(-1085, 0), 355);
}

TEST(NormDegrees, OtherBase) {
  EXPECT_EQ(NormDegrees(10, 90), 370);
  EXPECT_EQ(NormDegrees(450, 90), 90);
  EXPECT_EQ(NormDegrees(-180, -180), -180);
  EXPECT_EQ(NormDegrees(270, -180), -90);
  EXPECT_EQ(NormDegrees(-630, 90), 450);
}

TEST(NormDegrees, NonFiniteEndsWithoutHanging) {
  EXPECT_TRUE(std::isnan(NormDegrees(std::numeric_limits<double>::infinity(), 0)));
  EXPECT_TRUE(std::isnan(NormDegrees(std::numeric_limits<double>::quiet_NaN(), 0)));
}

TEST(AngleInRange, PlainRange) {
  EXPECT_TRUE(AngleInRange(5, 0, 10, 0));
  EXPECT_TRUE(AngleInRange(0, 0, 10, 0));
  EXPECT_TRUE(AngleInRange(10, 0, 10, 0));
  EXPECT_FALSE(AngleInRange(15, 0, 10, 0));
  EXPECT_FALSE(AngleInRange(-0.5, 0, 10, 0));
  EXPECT_TRUE(AngleInRange(10.5, 0, 10, 1));
  EXPECT_TRUE(AngleInRange(-1, 0, 10, 1));
  EXPECT_FALSE(AngleInRange(11.5, 0, 10, 1));
}

TEST(AngleInRange, ThroughTheWrap) {
  EXPECT_TRUE(AngleInRange(350, 300, 20, 0));
  EXPECT_TRUE(AngleInRange(10, 300, 20, 0));
  EXPECT_FALSE(AngleInRange(100, 300, 20, 0));
  EXPECT_TRUE(AngleInRange(21, 300, 20, 1));
  EXPECT_TRUE(AngleInRange(299, 300, 20, 1));
  // Equal ends are no wrap.
  EXPECT_FALSE(AngleInRange(100, 20, 20, 0));
  EXPECT_TRUE(AngleInRange(20, 20, 20, 0));
}

TEST(LayerIndex, FindsOrAppends) {
  Vessik_Layers layers;
  EXPECT_EQ(LayerIndex(layers, "A"), 0);
  ASSERT_EQ(layers.size(), 1u);
  EXPECT_EQ(layers[0]->Name, "A");
  EXPECT_EQ(layers[0]->Color->ColorACI(), 7);
  EXPECT_EQ(layers[0]->Color->ColorRGB(), 16777215);
  EXPECT_EQ(LayerIndex(layers, "B"), 1);
  EXPECT_EQ(LayerIndex(layers, "A"), 0);
  // Exact, case-sensitive comparison.
  EXPECT_EQ(LayerIndex(layers, "a"), 2);
  EXPECT_EQ(LayerIndex(layers, "A "), 3);
  EXPECT_EQ(layers.size(), 4u);
  EXPECT_EQ(LayerIndex(layers, ""), 4);
}

TEST(LayerIndex, FirstOfTwoEqualNames) {
  Vessik_Layers layers;
  layers.push_back(std::make_shared<Vessik_Layer>());
  layers.push_back(std::make_shared<Vessik_Layer>());
  layers[0]->Name = std::string(1, 'X');
  layers[1]->Name = std::string(1, 'X');
  EXPECT_EQ(LayerIndex(layers, "X"), 0);
  EXPECT_EQ(layers.size(), 2u);
}

}  // namespace vessik
