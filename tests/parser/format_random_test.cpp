// The number-to-text rule is C's %.15G in the "C" locale, with "0", "inf", "-inf"
// and "nan" for the special values: checked on many doubles of every kind.
#include <gtest/gtest.h>

#include <clocale>
#include <cmath>
#include <cstdio>
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

TEST(NumberToText, MatchesFifteenSignificantDigitsOnRandomDoubles) {
  ASSERT_STREQ(std::setlocale(LC_NUMERIC, nullptr), "C");
  std::mt19937_64 random(20261122);
  std::uniform_real_distribution<double> coordinate(-5000, 5000);
  int mismatches = 0;
  auto check = [&](double x) {
    std::string text;
    AppendDouble(text, x);
    if (text != Reference(x) && ++mismatches <= 5) {
      ADD_FAILURE() << "value " << x << ": " << text << " instead of " << Reference(x);
    }
  };
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
  EXPECT_EQ(mismatches, 0);
}

}  // namespace
}  // namespace vessik
