// The double columns of a record use the decimal separator of the C library's
// current locale; the integer columns never hold one.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>

#include "entities/RecordText.h"
#include "parser/parser.h"
#include "support/TestSupport.h"

namespace vessik {
namespace {

TEST(RecordFormat, DoubleColumnsTakeTheLocaleDecimalComma) {
  test::TempFile f(test::Drawing(
      {{0, "LINE"}, {5, "3E8"}, {8, "0"}, {10, "0.5"}, {20, "-1234.25"}, {11, "10"}, {21, "1E-07"}},
      {{"0", 7}}));
  Vessik_CommonData data;
  Vessik_Progress progress;
  Vessik_Parser parser;
  std::string text;
  {
    test::CommaLocale comma;
    ASSERT_FALSE(comma.Name().empty())
        << "no locale with a decimal comma, and none could be compiled (package locales)";
    text = parser.Parse2(f.Path(), data, progress);
  }
  EXPECT_EQ(text,
            "1000\t83\t0\t0\t16777215\t0,5\t-1234,25\t0\t10\t1E-07\t0\t0\t0\t0\t0\t0\t0\t\r\n");
  // Back in the "C" locale the same drawing prints points.
  EXPECT_EQ(parser.Parse2(f.Path(), data, progress),
            "1000\t83\t0\t0\t16777215\t0.5\t-1234.25\t0\t10\t1E-07\t0\t0\t0\t0\t0\t0\t0\t\r\n");
}

TEST(RecordFormat, IntegerColumnsOfEveryLengthAndSign) {
  // One and two digits take a short way; everything else the general one.
  const double columns[12] = {};
  const int64_t ids[] = {
      0,        1,  9,   10,  11,   99,         100,           101,          999,
      -1,       -9, -10, -99, -100, 2147483647, -2147483648LL, 4294967295LL, INT64_MAX,
      INT64_MIN};
  const int32_t small[] = {0, 5, 9, 10, 42, 99, 100, 256, -1, -10, 16777215, INT32_MIN};
  for (int64_t id : ids) {
    for (int32_t v : small) {
      Vessik_Concat text;
      AppendRecord(text, id, v, "L", v, v, columns);
      const std::string n = std::to_string(v);
      EXPECT_EQ(text.TakeValue(), std::to_string(id) + "\t" + n + "\tL\t" + n + "\t" + n +
                                      "\t0\t0\t0\t0\t0\t0\t0\t0\t0\t0\t0\t0\t\r\n");
    }
  }
}

}  // namespace
}  // namespace vessik
