// Conversions between text and numbers, done the same way on every machine:
// reading never depends on the locale; writing uses the locale's decimal separator
// only, as hosts of the drawing text expect.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace vessik {

// The number reader behind ParseDouble, the group codes and HandleToId. Blanks, tabs
// and line feeds are skipped wherever they stand; "&H"/"&O" read hexadecimal and
// octal integers; otherwise the longest leading decimal number is read, with "E" or
// "D" exponents. No number reads 0 and nothing fails. With commaIsPoint, "," counts
// as the decimal point.
double ReadNumber(std::string_view text, bool commaIsPoint);

// The first way ReadNumber tries: a plain decimal ("-12.5", "7", ".25") of up to 15
// digits, with no other character. False, and value untouched, for anything else.
bool ReadShortDecimal(std::string_view text, double& value);

// ReadNumber of "&H" followed by digits, without building that text.
double ReadHexNumber(std::string_view digits);

// Strict text to 32-bit integer: raises 13 for text that is no number and 6 for a
// value out of range. Fractions are rounded half to even.
int32_t TextToLong(std::string_view text);

// The same for a 16-bit integer.
int16_t TextToInteger(std::string_view text);

// Round half to even to a 32-bit integer; raises 6 when out of range or not a number.
int32_t DoubleToLong(double value);

// Appends a double as text: 15 significant digits at most, shortest form, "E"
// exponent form where %G would use it, the locale's decimal separator.
void AppendDouble(std::string& out, double value);
std::string DoubleToText(double value);

// The same written at out, with sep as the decimal separator; returns the end.
// Uses at most MaxDoubleChars(sep) characters of room at out: the text, and
// scratch beyond its end.
char* WriteNumberText(char* out, double value, std::string_view sep);
// The same, with zero (and "-0", which prints "0" as well) written inline: most
// columns of a drawing's records are zeros.
inline char* WriteDouble(char* out, double value, std::string_view sep) {
  if (value == 0) {
    *out = '0';
    return out + 1;
  }
  return WriteNumberText(out, value, sep);
}
constexpr size_t MaxDoubleChars(std::string_view sep) {
  // "-d" and 14 more digits, "E-308" or the zeros after "0", and the separator.
  return 24 + sep.size();
}

void AppendLong(std::string& out, int32_t value);

// The decimal separator of the C library's current LC_NUMERIC locale.
std::string_view DecimalSeparator();

}  // namespace vessik
