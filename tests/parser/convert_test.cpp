// Text to number and number to text, as every stage reads and writes them.
#include <gtest/gtest.h>

#include <algorithm>
#include <clocale>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <optional>
#include <random>
#include <string>

#include "parser/Vessik_Convert.h"
#include "parser/Vessik_Error.h"
#include "parser/Vessik_Utils.h"
#include "support/TestSupport.h"

namespace vessik {
namespace {

template <class F>
void ExpectFailure(F&& f, int32_t number, const std::string& words) {
  try {
    f();
    ADD_FAILURE() << "no failure raised, expected " << number;
  } catch (const Vessik_Error& e) {
    EXPECT_EQ(e.Number(), number);
    EXPECT_EQ(e.Description(), words);
    EXPECT_EQ(e.Source(), "");
  }
}

const double kInf = std::numeric_limits<double>::infinity();

}  // namespace

// ParseDouble

TEST(ParseDouble, CommaAndPointReadAlike) {
  EXPECT_EQ(ParseDouble("1,5"), 1.5);
  EXPECT_EQ(ParseDouble("1.5"), 1.5);
  EXPECT_EQ(ParseDouble("-0,25"), -0.25);
  EXPECT_EQ(ParseDouble("3,14159265358979"), 3.14159265358979);
  // Every comma becomes a point: the second one ends the number.
  EXPECT_EQ(ParseDouble("1,5,3"), 1.5);
}

TEST(ParseDouble, PlainDecimals) {
  EXPECT_EQ(ParseDouble("0"), 0);
  EXPECT_EQ(ParseDouble("42"), 42);
  EXPECT_EQ(ParseDouble("-3.25"), -3.25);
  EXPECT_EQ(ParseDouble("+4"), 4);
  EXPECT_EQ(ParseDouble(".5"), 0.5);
  EXPECT_EQ(ParseDouble("-.5"), -0.5);
  EXPECT_EQ(ParseDouble("5."), 5);
  EXPECT_EQ(ParseDouble("0.1"), 0.1);
  EXPECT_EQ(ParseDouble("1e3"), 1000);
  EXPECT_EQ(ParseDouble("1E+3"), 1000);
  EXPECT_EQ(ParseDouble("2.5e-1"), 0.25);
  EXPECT_EQ(ParseDouble("-1.79769313486231E+308"), -1.79769313486231E+308);
}

TEST(ParseDouble, BlanksTabsAndLineFeedsAreSkippedEverywhere) {
  EXPECT_EQ(ParseDouble("1 2 3"), 123);
  EXPECT_EQ(ParseDouble("  12.5  "), 12.5);
  EXPECT_EQ(ParseDouble("\t1\t2"), 12);
  EXPECT_EQ(ParseDouble("1\n2"), 12);
  EXPECT_EQ(ParseDouble("- 1 . 5 E 2"), -150);
  // A carriage return is no blank: it ends the number.
  EXPECT_EQ(ParseDouble("12\r3"), 12);
  EXPECT_EQ(ParseDouble("\r12"), 0);
}

TEST(ParseDouble, HexadecimalSixteenAndThirtyTwoBits) {
  EXPECT_EQ(ParseDouble("&HFFFF"), -1);
  EXPECT_EQ(ParseDouble("&H8000"), -32768);
  EXPECT_EQ(ParseDouble("&H7FFF"), 32767);
  EXPECT_EQ(ParseDouble("&H0000FFFF"), -1);
  EXPECT_EQ(ParseDouble("&H10000"), 65536);
  EXPECT_EQ(ParseDouble("&HFFFFFFFF"), -1);
  EXPECT_EQ(ParseDouble("&H80000000"), -2147483648.0);
  EXPECT_EQ(ParseDouble("&H3B05000004F137"), 323895);
  EXPECT_EQ(ParseDouble("&hff"), 255);
  EXPECT_EQ(ParseDouble("&H1F"), 31);
  EXPECT_EQ(ParseDouble("&H"), 0);
  EXPECT_EQ(ParseDouble("&HG1"), 0);
  EXPECT_EQ(ParseDouble("&H1G1"), 1);
  EXPECT_EQ(ParseDouble("&H 1 F"), 31);
  EXPECT_EQ(ParseDouble(" &H10"), 16);
}

TEST(ParseDouble, Octal) {
  EXPECT_EQ(ParseDouble("&O17"), 15);
  EXPECT_EQ(ParseDouble("&o17"), 15);
  EXPECT_EQ(ParseDouble("&O177777"), -1);
  EXPECT_EQ(ParseDouble("&O100000"), -32768);
  EXPECT_EQ(ParseDouble("&O200000"), 65536);
  EXPECT_EQ(ParseDouble("&O78"), 7);
  EXPECT_EQ(ParseDouble("&O"), 0);
  EXPECT_EQ(ParseDouble("&O9"), 0);
}

TEST(ParseDouble, AmpersandWithoutRadixLetterReadsZero) {
  EXPECT_EQ(ParseDouble("&"), 0);
  EXPECT_EQ(ParseDouble("&X12"), 0);
  EXPECT_EQ(ParseDouble("&12"), 0);
}

TEST(ParseDouble, DExponent) {
  EXPECT_EQ(ParseDouble("1.5D3"), 1500);
  EXPECT_EQ(ParseDouble("1.5d-2"), 0.015);
  EXPECT_EQ(ParseDouble("2D+1"), 20);
}

TEST(ParseDouble, ExponentLetterWithoutDigitsIsIgnored) {
  EXPECT_EQ(ParseDouble("2E"), 2);
  EXPECT_EQ(ParseDouble("2E+"), 2);
  EXPECT_EQ(ParseDouble("2e-"), 2);
  EXPECT_EQ(ParseDouble("2Ex"), 2);
  EXPECT_EQ(ParseDouble("2.5D"), 2.5);
}

TEST(ParseDouble, NoNumberReadsZero) {
  EXPECT_EQ(ParseDouble(""), 0);
  EXPECT_EQ(ParseDouble("abc"), 0);
  EXPECT_EQ(ParseDouble("-"), 0);
  EXPECT_EQ(ParseDouble("+"), 0);
  EXPECT_EQ(ParseDouble("."), 0);
  EXPECT_EQ(ParseDouble("E5"), 0);
  EXPECT_EQ(ParseDouble("   "), 0);
  EXPECT_EQ(ParseDouble("inf"), 0);
  EXPECT_EQ(ParseDouble("nan"), 0);
  EXPECT_EQ(ParseDouble("0x10"), 0);
}

TEST(ParseDouble, StopsAtTheFirstOtherCharacter) {
  EXPECT_EQ(ParseDouble("12abc"), 12);
  EXPECT_EQ(ParseDouble("1.5.3"), 1.5);
  EXPECT_EQ(ParseDouble("7-3"), 7);
  EXPECT_EQ(ParseDouble("3e2e1"), 300);
}

TEST(ParseDouble, BeyondTheRangeIsAnInfinity) {
  EXPECT_EQ(ParseDouble("1e400"), kInf);
  EXPECT_EQ(ParseDouble("-1e400"), -kInf);
  EXPECT_EQ(ParseDouble("1E308"), 1e308);
  EXPECT_EQ(ParseDouble("1" + std::string(400, '0')), kInf);
  EXPECT_EQ(ParseDouble("1e-400"), 0);
}

TEST(ParseDouble, LongExponentsAndDigitRuns) {
  EXPECT_EQ(ParseDouble("1e0000000000000000000005"), 1e5);
  EXPECT_EQ(ParseDouble("1e99999999999999999999"), kInf);
  EXPECT_EQ(ParseDouble("1e-99999999999999999999"), 0);
  EXPECT_EQ(ParseDouble("0." + std::string(500, '0') + "1e600"), 1e99);
  EXPECT_EQ(ParseDouble(std::string(500, '9') + "e-600"), 1e-100);
}

TEST(ParseDouble, CorrectlyRounded) {
  EXPECT_EQ(ParseDouble("0.1"), 0.1);
  EXPECT_EQ(ParseDouble("2.2250738585072014e-308"), 2.2250738585072014e-308);
  EXPECT_EQ(ParseDouble("4.9406564584124654e-324"), std::numeric_limits<double>::denorm_min());
  EXPECT_EQ(ParseDouble("9007199254740993"), 9007199254740992.0);
  EXPECT_EQ(ParseDouble("0.30000000000000004"), 0.30000000000000004);
  // A long run of digits is read whole.
  EXPECT_EQ(ParseDouble("0." + std::string(100, '0') + "1"), 1e-101);
  EXPECT_EQ(ParseDouble(std::string(100, '1')), 1.1111111111111111e99);
}

TEST(ParseDouble, SixteenDigitDecimalsAreCorrectlyRounded) {
  // Up to 15 digits the digits and the power of ten are both exact doubles and
  // their quotient is the correctly rounded value. Sixteen digits can exceed 2^53:
  // rounding them to a double first and dividing then rounds twice, and these
  // values come out one unit in the last place off that way.
  EXPECT_EQ(ParseDouble("9.513282814504773"), 9.513282814504773);
  EXPECT_EQ(ParseDouble("9999.383683404875"), 9999.383683404875);
  EXPECT_EQ(ParseDouble("-92696.28426007691"), -92696.28426007691);
  EXPECT_EQ(ParseDouble("990997441.4579967"), 990997441.4579967);
  EXPECT_EQ(ReadNumber("984390.6647860465", false), 984390.6647860465);
  // Fifteen digits take the short way, with the same result.
  EXPECT_EQ(ParseDouble("9.51328281450477"), 9.51328281450477);
  EXPECT_EQ(ParseDouble("999999999999999"), 999999999999999.0);
  EXPECT_EQ(ParseDouble("0.000000000000001"), 1e-15);
}

TEST(ParseDouble, IndependentOfTheLocale) {
  const char* candidates[] = {"de_DE.UTF-8", "de_DE.utf8", "fr_FR.UTF-8", "de_DE", "C.UTF-8"};
  std::string saved = std::setlocale(LC_NUMERIC, nullptr);
  for (const char* name : candidates) {
    if (std::setlocale(LC_NUMERIC, name) == nullptr) continue;
    EXPECT_EQ(ParseDouble("1,5"), 1.5) << name;
    EXPECT_EQ(ParseDouble("1.5"), 1.5) << name;
  }
  std::setlocale(LC_NUMERIC, saved.c_str());
  EXPECT_EQ(ParseDouble("1,5"), 1.5);
}

// The group code reader: the same rules, without the comma step.

TEST(ReadNumber, WithoutCommaStep) {
  EXPECT_EQ(ReadNumber("1,5", false), 1);
  EXPECT_EQ(ReadNumber("1,5", true), 1.5);
  EXPECT_EQ(ReadNumber(" 10", false), 10);
  EXPECT_EQ(ReadNumber("&H1F", false), 31);
}

// Text to a 32-bit integer

namespace {

// What counts as a plain decimal, told from the whole text: an optional leading
// minus, then only digits and at most one point, with 1 to 15 digits; its value is
// then the correctly rounded one, as strtod reads it.
bool PlainDecimalByShape(const std::string& text, double& value) {
  const std::string body = !text.empty() && text[0] == '-' ? text.substr(1) : text;
  const auto digits =
      std::count_if(body.begin(), body.end(), [](char c) { return c >= '0' && c <= '9'; });
  const auto points = std::count(body.begin(), body.end(), '.');
  if (digits < 1 || digits > 15 || points > 1 ||
      static_cast<size_t>(digits + points) != body.size()) {
    return false;
  }
  value = std::strtod(text.c_str(), nullptr);
  return true;
}

}  // namespace

TEST(ReadShortDecimal, AcceptsThePlainShapesAndReadsThemAsStrtod) {
  // Short texts of characters that come close: digits, points, signs, blanks, an
  // exponent letter, a comma, a zero byte and a byte above 127.
  const std::string alphabet = std::string("0123456789..-+ e,\x80") + '\0' + "9";
  std::mt19937 random(11);
  int accepted = 0;
  int refused = 0;
  for (int round = 0; round < 400000; ++round) {
    const size_t length = random() % 11;
    std::string text;
    for (size_t k = 0; k < length; ++k) text += alphabet[random() % alphabet.size()];
    double expected = 12345;
    double got = 12345;
    const bool plain = PlainDecimalByShape(text, expected);
    ASSERT_EQ(ReadShortDecimal(text, got), plain) << '"' << text << '"';
    if (plain) {
      ++accepted;
      ASSERT_EQ(std::signbit(got), std::signbit(expected)) << text;
      ASSERT_EQ(got, expected) << text;
    } else {
      ++refused;
      ASSERT_EQ(got, 12345) << text;
    }
  }
  EXPECT_GT(accepted, 20000);
  EXPECT_GT(refused, 20000);
}

TEST(ReadShortDecimal, LongTextsOfMostlyDigitsAreReadAsStrtod) {
  // Nine to eighteen characters, read as two words: now and then a byte that is
  // no digit, in either word or where they meet.
  const std::string others = std::string(".-+ e,\x80") + '\0' + "/:";
  std::mt19937 random(12);
  int accepted = 0;
  int refused = 0;
  for (int round = 0; round < 400000; ++round) {
    const size_t length = 9 + random() % 10;
    std::string text;
    for (size_t k = 0; k < length; ++k) {
      const bool digit = random() % 16 != 0;
      text += digit ? static_cast<char>('0' + random() % 10) : others[random() % others.size()];
    }
    if (random() % 4 == 0) text[random() % length] = '.';
    if (random() % 4 == 0) text[0] = '-';
    double expected = 12345;
    double got = 12345;
    const bool plain = PlainDecimalByShape(text, expected);
    ASSERT_EQ(ReadShortDecimal(text, got), plain) << '"' << text << '"';
    if (plain) {
      ++accepted;
      ASSERT_EQ(got, expected) << text;
    } else {
      ++refused;
      ASSERT_EQ(got, 12345) << text;
    }
  }
  EXPECT_GT(accepted, 20000);
  EXPECT_GT(refused, 20000);
}

TEST(ReadShortDecimal, EveryLengthAndPointPlace) {
  // One to fifteen digits with the point before, between and behind them, and
  // without one, with and without a minus.
  for (int digits = 1; digits <= 15; ++digits) {
    const std::string run = std::string("987654321012345").substr(0, static_cast<size_t>(digits));
    for (int at = 0; at <= digits; ++at) {
      for (const std::string sign : {"", "-"}) {
        const std::string text = sign + run.substr(0, static_cast<size_t>(at)) + "." +
                                 run.substr(static_cast<size_t>(at));
        double got = 0;
        ASSERT_TRUE(ReadShortDecimal(text, got)) << text;
        EXPECT_EQ(got, std::strtod(text.c_str(), nullptr)) << text;
        ASSERT_TRUE(ReadShortDecimal(sign + run, got));
        EXPECT_EQ(got, std::strtod((sign + run).c_str(), nullptr)) << run;
      }
    }
  }
  double v = 1;
  EXPECT_TRUE(ReadShortDecimal("-0", v));
  EXPECT_TRUE(std::signbit(v));
  EXPECT_EQ(v, 0);
  EXPECT_TRUE(ReadShortDecimal("5.", v));
  EXPECT_EQ(v, 5);
  EXPECT_TRUE(ReadShortDecimal(".25", v));
  EXPECT_EQ(v, 0.25);
  for (const char* no : {"", "-", ".", "-.", "1.2.3", "1..", "+1", " 1", "1 ", "1e5", "1,5",
                         "1234567890123456", "12345678.90123456"}) {
    EXPECT_FALSE(ReadShortDecimal(no, v)) << no;
  }
}

TEST(ReadShortDecimal, EverySingleByte) {
  for (int b = 0; b < 256; ++b) {
    const std::string text(1, static_cast<char>(b));
    double got = 12345;
    const bool digit = b >= '0' && b <= '9';
    ASSERT_EQ(ReadShortDecimal(text, got), digit) << b;
    EXPECT_EQ(got, digit ? b - '0' : 12345) << b;
    EXPECT_FALSE(std::signbit(got)) << b;
  }
}

TEST(TextToLong, PlainNumbers) {
  EXPECT_EQ(TextToLong("42"), 42);
  EXPECT_EQ(TextToLong("+7"), 7);
  EXPECT_EQ(TextToLong("-7"), -7);
  EXPECT_EQ(TextToLong("0"), 0);
  EXPECT_EQ(TextToLong("2147483647"), 2147483647);
  EXPECT_EQ(TextToLong("-2147483648"), -2147483647 - 1);
}

TEST(TextToLong, BlanksAndTabsAroundAllowed) {
  EXPECT_EQ(TextToLong("  42"), 42);
  EXPECT_EQ(TextToLong("42  "), 42);
  EXPECT_EQ(TextToLong("\t-3\t "), -3);
}

TEST(TextToLong, FractionsRoundHalfToEven) {
  EXPECT_EQ(TextToLong(".5"), 0);
  EXPECT_EQ(TextToLong("5."), 5);
  EXPECT_EQ(TextToLong("1.5"), 2);
  EXPECT_EQ(TextToLong("2.5"), 2);
  EXPECT_EQ(TextToLong("3.5"), 4);
  EXPECT_EQ(TextToLong("-2.5"), -2);
  EXPECT_EQ(TextToLong("2.51"), 3);
  EXPECT_EQ(TextToLong("1e3"), 1000);
  EXPECT_EQ(TextToLong("1E+2"), 100);
  EXPECT_EQ(TextToLong("25e-1"), 2);
  EXPECT_EQ(TextToLong("1e-400"), 0);
  // Many zeros after the point against a positive exponent: still a tiny fraction.
  EXPECT_EQ(TextToLong("0." + std::string(400, '0') + "1e+50"), 0);
}

TEST(TextToLong, HexAndOctalAsThirtyTwoBitPattern) {
  EXPECT_EQ(TextToLong("&HF060"), 61536);
  EXPECT_EQ(TextToLong("&HFFFF"), 65535);
  EXPECT_EQ(TextToLong("&HFFFFFFFF"), -1);
  EXPECT_EQ(TextToLong("&hff"), 255);
  EXPECT_EQ(TextToLong("&O17"), 15);
  EXPECT_EQ(TextToLong("-&H10"), -16);
  EXPECT_EQ(TextToLong(" &H10 "), 16);
}

TEST(TextToLong, OverflowIsSix) {
  ExpectFailure([] { TextToLong("2147483648"); }, errnum::Overflow, "Overflow");
  ExpectFailure([] { TextToLong("-2147483649"); }, errnum::Overflow, "Overflow");
  ExpectFailure([] { TextToLong("2147483647.5"); }, errnum::Overflow, "Overflow");
  ExpectFailure([] { TextToLong("1e10"); }, errnum::Overflow, "Overflow");
  ExpectFailure([] { TextToLong("1e400"); }, errnum::Overflow, "Overflow");
  ExpectFailure([] { TextToLong("&H100000000"); }, errnum::Overflow, "Overflow");
  ExpectFailure([] { TextToLong("99999999999999999999"); }, errnum::Overflow, "Overflow");
  // Many digits against a negative exponent: still far beyond a double.
  ExpectFailure([] { TextToLong(std::string(400, '9') + "e-50"); }, errnum::Overflow, "Overflow");
}

TEST(TextToLong, NoNumberIsTypeMismatch) {
  const char* bad[] = {"",   "abc", "12abc", "1,5", " ",    "1 2", "1e",  "1D3",
                       "+",  "-",   ".",     "&H",  "&HG",  "&X1", "--1", "1.2.3",
                       "\r", "5\r", "inf",   "nan", "0x10", "1 e3"};
  for (const char* text : bad) {
    SCOPED_TRACE(text);
    ExpectFailure([&] { TextToLong(text); }, errnum::TypeMismatch, "Type mismatch");
  }
}

TEST(TextToInteger, SixteenBitRange) {
  EXPECT_EQ(TextToInteger("32767"), 32767);
  EXPECT_EQ(TextToInteger("-32768"), -32768);
  EXPECT_EQ(TextToInteger(" 1 "), 1);
  EXPECT_EQ(TextToInteger("2.5"), 2);
  EXPECT_EQ(TextToInteger(".5"), 0);
  EXPECT_EQ(TextToInteger("5."), 5);
  ExpectFailure([] { TextToInteger("32768"); }, errnum::Overflow, "Overflow");
  ExpectFailure([] { TextToInteger("-32769"); }, errnum::Overflow, "Overflow");
  ExpectFailure([] { TextToInteger("32767.5"); }, errnum::Overflow, "Overflow");
  ExpectFailure([] { TextToInteger(""); }, errnum::TypeMismatch, "Type mismatch");
  ExpectFailure([] { TextToInteger("abc"); }, errnum::TypeMismatch, "Type mismatch");
  ExpectFailure([] { TextToInteger("12abc"); }, errnum::TypeMismatch, "Type mismatch");
  ExpectFailure([] { TextToInteger("1,5"); }, errnum::TypeMismatch, "Type mismatch");
}

// Double to integer

TEST(DoubleToLong, HalfToEvenAndOverflow) {
  EXPECT_EQ(DoubleToLong(2.5), 2);
  EXPECT_EQ(DoubleToLong(3.5), 4);
  EXPECT_EQ(DoubleToLong(-0.5), 0);
  EXPECT_EQ(DoubleToLong(2147483647.4), 2147483647);
  EXPECT_EQ(DoubleToLong(-2147483648.4), -2147483647 - 1);
  ExpectFailure([] { DoubleToLong(2147483648.0); }, errnum::Overflow, "Overflow");
  ExpectFailure([] { DoubleToLong(std::nan("")); }, errnum::Overflow, "Overflow");
  ExpectFailure([] { DoubleToLong(-kInf); }, errnum::Overflow, "Overflow");
}

// Number to text

TEST(DoubleToText, ShortestFormUpToFifteenDigits) {
  EXPECT_EQ(DoubleToText(10), "10");
  EXPECT_EQ(DoubleToText(0.5), "0.5");
  EXPECT_EQ(DoubleToText(1.0 / 3), "0.333333333333333");
  EXPECT_EQ(DoubleToText(2.0 / 3), "0.666666666666667");
  EXPECT_EQ(DoubleToText(-1.5), "-1.5");
  EXPECT_EQ(DoubleToText(123.456), "123.456");
  EXPECT_EQ(DoubleToText(0), "0");
  EXPECT_EQ(DoubleToText(90), "90");
  EXPECT_EQ(DoubleToText(16777215), "16777215");
  EXPECT_EQ(DoubleToText(0.0001), "0.0001");
  EXPECT_EQ(DoubleToText(100000000000000.0), "100000000000000");
}

TEST(DoubleToText, FifteenDigitRounding) {
  EXPECT_EQ(DoubleToText(0.1 + 0.2), "0.3");
  EXPECT_EQ(DoubleToText(3.14159265358979), "3.14159265358979");
  EXPECT_EQ(DoubleToText(3.141592653589793), "3.14159265358979");
  EXPECT_EQ(DoubleToText(1.0000000000000002), "1");
  EXPECT_EQ(DoubleToText(123456789012345678.0), "1.23456789012346E+17");
  EXPECT_EQ(DoubleToText(999999999999999.9), "1E+15");
  EXPECT_EQ(DoubleToText(0.1234567890123456), "0.123456789012346");
  EXPECT_EQ(DoubleToText(std::numeric_limits<double>::max()), "1.79769313486232E+308");
  EXPECT_EQ(DoubleToText(std::numeric_limits<double>::denorm_min()), "4.94065645841247E-324");
}

TEST(DoubleToText, FifteenDigitTiesRoundToEven) {
  // Binary fractions with sixteen significant digits ending in 5 lie exactly
  // half-way between two fifteen-digit numbers: the even one is taken.
  EXPECT_EQ(DoubleToText(12345678901234.25), "12345678901234.2");
  EXPECT_EQ(DoubleToText(12345678901234.75), "12345678901234.8");
  EXPECT_EQ(DoubleToText(-12345678901234.25), "-12345678901234.2");
  EXPECT_EQ(DoubleToText(1234567890123.125), "1234567890123.12");
  EXPECT_EQ(DoubleToText(1234567890123.375), "1234567890123.38");
  // Just off the half-way point the nearer one is taken.
  EXPECT_EQ(DoubleToText(12345678901234.251953125), "12345678901234.3");
}

TEST(DoubleToText, ExponentForm) {
  EXPECT_EQ(DoubleToText(1E+20), "1E+20");
  EXPECT_EQ(DoubleToText(0.00001), "1E-05");
  EXPECT_EQ(DoubleToText(1.5E-07), "1.5E-07");
  EXPECT_EQ(DoubleToText(-2.5E-05), "-2.5E-05");
  EXPECT_EQ(DoubleToText(1E+15), "1E+15");
  EXPECT_EQ(DoubleToText(1E+100), "1E+100");
  EXPECT_EQ(DoubleToText(1E-100), "1E-100");
  EXPECT_EQ(DoubleToText(-1.79769313486231E+308), "-1.79769313486231E+308");
}

TEST(DoubleToText, NegativeZeroAndNonFinite) {
  EXPECT_EQ(DoubleToText(-0.0), "0");
  EXPECT_EQ(DoubleToText(kInf), "inf");
  EXPECT_EQ(DoubleToText(-kInf), "-inf");
  EXPECT_EQ(DoubleToText(std::numeric_limits<double>::quiet_NaN()), "nan");
  EXPECT_EQ(DoubleToText(-std::numeric_limits<double>::quiet_NaN()), "nan");
}

TEST(DoubleToText, AppendsToWhatIsThere) {
  std::string s = "x\t";
  AppendDouble(s, 2.5);
  AppendLong(s, -12);
  EXPECT_EQ(s, "x\t2.5-12");
}

TEST(AppendLong, PlainDecimalDigits) {
  std::string s;
  AppendLong(s, 0);
  s += '|';
  AppendLong(s, 16777215);
  s += '|';
  AppendLong(s, -1);
  s += '|';
  AppendLong(s, -2147483647 - 1);
  EXPECT_EQ(s, "0|16777215|-1|-2147483648");
}

TEST(DoubleToText, PointInTheDefaultLocale) {
  EXPECT_EQ(DecimalSeparator(), ".");
  EXPECT_EQ(DoubleToText(0.5), "0.5");
}

TEST(DoubleToText, LocaleDecimalComma) {
  std::optional<test::CommaLocale> comma(std::in_place);
  ASSERT_FALSE(comma->Name().empty())
      << "no locale with a decimal comma, and none could be compiled (package locales)";
  EXPECT_EQ(DecimalSeparator(), ",");
  EXPECT_EQ(DoubleToText(0.5), "0,5");
  EXPECT_EQ(DoubleToText(1.5E-07), "1,5E-07");
  EXPECT_EQ(DoubleToText(1E+20), "1E+20");
  EXPECT_EQ(DoubleToText(10), "10");
  std::string ints;
  AppendLong(ints, -1234567);
  EXPECT_EQ(ints, "-1234567");
  // Reading stays independent of the locale.
  EXPECT_EQ(ParseDouble("0,5"), 0.5);
  EXPECT_EQ(ParseDouble("0.5"), 0.5);
  comma.reset();
  EXPECT_EQ(DoubleToText(0.5), "0.5");
}

// Number to text and text to number on many doubles of every kind, against C's
// %.15G in the "C" locale and strtod.

namespace {

std::string Reference(double x) {
  char buf[64];
  std::snprintf(buf, sizeof buf, "%.15G", x);
  std::string r = buf;
  if (r == "-0") return "0";
  if (r == "INF") return "inf";
  if (r == "-INF") return "-inf";
  if (r == "NAN" || r == "-NAN") return "nan";
  return r;
}

// Compares the text of each value with the reference, reporting the first few
// mismatches.
struct TextCheck {
  int mismatches = 0;
  void operator()(double x) {
    std::string text;
    AppendDouble(text, x);
    if (text != Reference(x) && ++mismatches <= 5) {
      ADD_FAILURE() << "value " << x << ": " << text << " instead of " << Reference(x);
    }
  }
};

TEST(NumberToText, MatchesFifteenSignificantDigitsOnRandomDoubles) {
  ASSERT_STREQ(std::setlocale(LC_NUMERIC, nullptr), "C");
  std::mt19937_64 random(20261122);
  std::uniform_real_distribution<double> coordinate(-5000, 5000);
  TextCheck check;
  for (int i = 0; i < 200000; ++i) {
    uint64_t bits = random();
    double x;
    std::memcpy(&x, &bits, sizeof x);
    check(x);
    const double c = coordinate(random);
    check(c);
    check(c * std::cos(c));
    check(std::round(c * 1000) / 1000);
  }
  // Values next to the midpoints between two 15-digit numbers.
  for (int e = -20; e < 25; ++e) {
    for (int i = 0; i < 2000; ++i) {
      const double m = (std::floor(coordinate(random) * 1e11) + 0.5) * std::pow(10.0, e - 14);
      check(m);
      check(std::nextafter(m, 0));
      check(std::nextafter(m, 1e300));
    }
  }
  EXPECT_EQ(check.mismatches, 0);
}

// Magnitudes from 1E-5 to 1E+16, where most coordinates lie, with the values next to
// every power of ten and binary values exactly halfway between two 15-digit numbers.
TEST(NumberToText, MatchesFifteenSignificantDigitsAroundEveryDecade) {
  ASSERT_STREQ(std::setlocale(LC_NUMERIC, nullptr), "C");
  std::mt19937_64 random(22112026);
  std::uniform_real_distribution<double> exponent(-5, 16);
  TextCheck one;
  auto check = [&](double x) {
    one(x);
    one(-x);
  };
  for (int i = 0; i < 300000; ++i) check(std::pow(10.0, exponent(random)));
  for (int e = -6; e <= 16; ++e) {
    double p = std::pow(10.0, e);
    for (int step = 0; step < 40; ++step) {
      check(p);
      check(std::nextafter(p, 0));
      p = std::nextafter(p, 1e300);
    }
    check(p * (1 - 5e-16));
    check(p * (1 - 5e-15));
  }
  // n + 0.5 has 16 significant digits ending in 5 for n of 15 digits, and is exact
  // in binary below 2^52: a true tie, rounded to the even neighbour.
  for (int i = 0; i < 20000; ++i) {
    const double n = static_cast<double>(100000000000000ull + random() % 900000000000000ull);
    check(n + 0.5);
    check((n + 0.5) / 1024);
    check((n + 0.25) / 65536);
  }
  EXPECT_EQ(one.mismatches, 0);
}

// The fifteen digits are made four at a time: every value of every group of four,
// in each of the four places a group takes, among random other digits.
TEST(NumberToText, MatchesFifteenSignificantDigitsForEveryGroupOfFourDigits) {
  ASSERT_STREQ(std::setlocale(LC_NUMERIC, nullptr), "C");
  std::mt19937_64 random(24112026);
  TextCheck check;
  // The digits are made as 1-3, 4-7, 8-11 and 12-15; the first is never 0.
  constexpr uint64_t kPlaces[] = {1000000000000, 100000000, 10000, 1};
  for (uint64_t group = 0; group < 10000; ++group) {
    for (int place = 0; place < 4; ++place) {
      const uint64_t unit = kPlaces[place];
      uint64_t n = 100000000000000ull + random() % 900000000000000ull;
      if (place == 0) {
        n = (100 + group % 900) * unit + random() % unit;
      } else {
        n = n - n / unit % 10000 * unit + group * unit;
      }
      // The 15 digits, with the point before the last one, two, five and eight.
      for (double scale : {10.0, 100.0, 1e5, 1e8}) check(static_cast<double>(n) / scale);
    }
  }
  EXPECT_EQ(check.mismatches, 0);
}

// Every count of digits from 1 to 15 with the point in every place, from
// 0.0001... up to the whole numbers, as drawings hold them.
TEST(NumberToText, MatchesFifteenSignificantDigitsForEveryPlaceOfThePoint) {
  ASSERT_STREQ(std::setlocale(LC_NUMERIC, nullptr), "C");
  std::mt19937_64 random(23112026);
  TextCheck check;
  for (int digits = 1; digits <= 15; ++digits) {
    for (int point = -4; point <= 15; ++point) {
      for (int i = 0; i < 200; ++i) {
        std::string text = std::to_string(1 + random() % 9);
        while (static_cast<int>(text.size()) < digits)
          text += static_cast<char>('0' + random() % 10);
        const double x =
            std::strtod((text + "E" + std::to_string(point - digits + 1)).c_str(), nullptr);
        check(x);
        check(-x);
      }
    }
  }
  EXPECT_EQ(check.mismatches, 0);
}

// The text and any scratch stay within MaxDoubleChars characters.
TEST(NumberToText, WritesWithinItsRoom) {
  std::mt19937_64 random(24112026);
  std::uniform_real_distribution<double> exponent(-6, 17);
  for (const std::string_view sep : {std::string_view("."), std::string_view(",,")}) {
    for (int i = 0; i < 20000; ++i) {
      double x = std::pow(10.0, exponent(random));
      if (i % 2 == 1) x = -x;
      char buf[64];
      std::memset(buf, 'x', sizeof buf);
      const char* end = WriteDouble(buf, x, sep);
      ASSERT_LE(end - buf, static_cast<ptrdiff_t>(MaxDoubleChars(sep)));
      for (size_t k = MaxDoubleChars(sep); k < sizeof buf; ++k) ASSERT_EQ(buf[k], 'x') << x;
    }
  }
}

// Plain decimals of every length up to 17 digits, and with up to 17 decimals, read
// as C's strtod reads them: the correctly rounded double.
TEST(TextToNumber, PlainDecimalsReadAsTheCorrectlyRoundedDouble) {
  ASSERT_STREQ(std::setlocale(LC_NUMERIC, nullptr), "C");
  std::mt19937_64 random(11222026);
  int mismatches = 0;
  for (int i = 0; i < 300000; ++i) {
    const int digits = 1 + static_cast<int>(random() % 17);
    std::string text = random() % 2 ? "-" : "";
    for (int d = 0; d < digits; ++d) text += static_cast<char>('0' + random() % 10);
    const int point = static_cast<int>(random() % static_cast<uint64_t>(digits + 1));
    if (point < digits) text.insert(text.size() - static_cast<size_t>(point), ".");
    const double expected = std::strtod(text.c_str(), nullptr);
    const double got = ReadNumber(text, false);
    if (std::memcmp(&got, &expected, sizeof got) != 0 && ++mismatches <= 5) {
      ADD_FAILURE() << text << " read as " << got << " instead of " << expected;
    }
  }
  EXPECT_EQ(mismatches, 0);
}

}  // namespace
}  // namespace vessik
