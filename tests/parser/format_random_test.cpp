// The number-to-text rule is C's %.15G in the "C" locale, with "0", "inf", "-inf"
// and "nan" for the special values: checked on many doubles of every kind.
#include <gtest/gtest.h>

#include <clocale>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>
#include <string>

#include "parser/Vessik_Convert.h"

namespace vessik {
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
