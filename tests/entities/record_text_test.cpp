// The double columns of a record use the decimal separator of the C library's
// current locale; the integer columns never hold one.
#include <gtest/gtest.h>

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

}  // namespace
}  // namespace vessik
