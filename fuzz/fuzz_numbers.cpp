// Fuzz target: reading numbers from text and writing them back.
//
// Every input is taken three ways: as the text of a number (read by ParseDouble,
// by the group-code reader and by the strict integer conversions), as the bytes
// of a double, and as the bytes of a 32-bit integer. Each result is held against
// a plain reading of the number rules built on the C library (strtod, snprintf),
// which is correctly rounded on the platforms we build for. A mismatch aborts
// with both values printed.
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <string>
#include <string_view>

#include "parser/Vessik_Convert.h"
#include "parser/Vessik_Error.h"
#include "parser/Vessik_Utils.h"

namespace {

using vessik::Vessik_Error;

[[noreturn]] void Fail(const char* what, std::string_view input, const std::string& got,
                       const std::string& want) {
  std::fprintf(stderr, "fuzz_numbers: %s\n  input: \"", what);
  for (unsigned char c : input) {
    if (c >= 0x20 && c < 0x7F && c != '"' && c != '\\') {
      std::fputc(c, stderr);
    } else {
      std::fprintf(stderr, "\\x%02X", c);
    }
  }
  std::fprintf(stderr, "\"\n  got:   %s\n  want:  %s\n", got.c_str(), want.c_str());
  std::abort();
}

std::string Show(double v) {
  char buf[64];
  std::snprintf(buf, sizeof buf, "%.17g (%a)", v, v);
  return buf;
}

bool SameDouble(double a, double b) {
  if (std::isnan(a) || std::isnan(b)) return std::isnan(a) && std::isnan(b);
  return std::memcmp(&a, &b, sizeof a) == 0;
}

bool IsDigit(char c) {
  return c >= '0' && c <= '9';
}

int HexValue(char c) {
  if (IsDigit(c)) return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

// The decimal text from position i of s in the form strtod reads: optional sign,
// digits, optional point and digits, optional exponent whose letter is written
// "e". Empty when there is no digit. Stops at the first character that does not fit.
std::string DecimalPrefix(const std::string& s, size_t& i) {
  std::string num;
  if (i < s.size() && (s[i] == '+' || s[i] == '-')) num += s[i++];
  size_t digits = 0;
  while (i < s.size() && IsDigit(s[i])) num += s[i++], ++digits;
  if (i < s.size() && s[i] == '.') {
    num += s[i++];
    while (i < s.size() && IsDigit(s[i])) num += s[i++], ++digits;
  }
  if (digits == 0) return {};
  if (i < s.size() && (s[i] == 'E' || s[i] == 'e' || s[i] == 'D' || s[i] == 'd')) {
    size_t j = i + 1;
    std::string exp = "e";
    if (j < s.size() && (s[j] == '+' || s[j] == '-')) exp += s[j++];
    size_t expDigits = 0;
    while (j < s.size() && IsDigit(s[j])) exp += s[j++], ++expDigits;
    if (expDigits > 0) {
      num += exp;
      i = j;
    }
  }
  return num;
}

// The reading of a number by the rules: commas optionally taken as the point,
// blanks, tabs and line feeds skipped anywhere, "&H"/"&O" integers, otherwise the
// longest decimal prefix, correctly rounded; no number reads 0.
double ReferenceRead(std::string_view text, bool commaIsPoint) {
  std::string s;
  for (char c : text) {
    if (c == ' ' || c == '\t' || c == '\n') continue;
    s += (commaIsPoint && c == ',') ? '.' : c;
  }
  if (s.size() >= 2 && s[0] == '&' && s[1] != '\0') {
    const char kind = s[1];
    const int base = (kind == 'H' || kind == 'h') ? 16 : (kind == 'O' || kind == 'o') ? 8 : 0;
    if (base == 0) return 0;
    uint64_t value = 0;
    bool wide = false;
    for (size_t i = 2; i < s.size(); ++i) {
      const int d = HexValue(s[i]);
      if (d < 0 || d >= base) break;
      value = value * static_cast<uint64_t>(base) + static_cast<uint64_t>(d);
      if (value > 0xFFFF) wide = true;
    }
    if (!wide) return static_cast<int16_t>(static_cast<uint16_t>(value));
    return static_cast<int32_t>(static_cast<uint32_t>(value));
  }
  size_t i = 0;
  const std::string num = DecimalPrefix(s, i);
  if (num.empty()) return 0;
  return std::strtod(num.c_str(), nullptr);
}

void CheckReading(std::string_view text) {
  const double groupValue = vessik::ReadNumber(text, false);
  const double groupWant = ReferenceRead(text, false);
  if (!SameDouble(groupValue, groupWant)) {
    Fail("ReadNumber differs from the rules", text, Show(groupValue), Show(groupWant));
  }
  const double parsed = vessik::ParseDouble(text);
  const double parsedWant = ReferenceRead(text, true);
  if (!SameDouble(parsed, parsedWant)) {
    Fail("ParseDouble differs from the rules", text, Show(parsed), Show(parsedWant));
  }
}

// The outcome of a strict integer conversion: a value or a failure number.
struct IntegerOutcome {
  int64_t value = 0;
  int32_t error = 0;
  // False where the rules leave the answer open.
  bool known = true;
};

std::string Show(const IntegerOutcome& o) {
  if (!o.known) return "(any)";
  if (o.error != 0) return "failure " + std::to_string(o.error);
  return std::to_string(o.value);
}

// Strict text to integer by the rules, in the range lo..hi.
IntegerOutcome ReferenceInteger(std::string_view text, int64_t lo, int64_t hi) {
  IntegerOutcome mismatch{0, vessik::errnum::TypeMismatch, true};
  IntegerOutcome overflow{0, vessik::errnum::Overflow, true};
  size_t b = 0;
  size_t e = text.size();
  while (b < e && (text[b] == ' ' || text[b] == '\t')) ++b;
  while (e > b && (text[e - 1] == ' ' || text[e - 1] == '\t')) --e;
  const std::string t(text.substr(b, e - b));
  size_t i = 0;
  const bool sign = i < t.size() && (t[i] == '+' || t[i] == '-');
  if (sign) ++i;
  if (i < t.size() && t[i] == '&') {
    if (i + 1 >= t.size()) return mismatch;
    const char kind = t[i + 1];
    const int base = (kind == 'H' || kind == 'h') ? 16 : (kind == 'O' || kind == 'o') ? 8 : 0;
    if (base == 0 || i + 2 >= t.size()) return mismatch;
    uint64_t value = 0;
    bool tooWide = false;
    for (size_t j = i + 2; j < t.size(); ++j) {
      const int d = HexValue(t[j]);
      // Too many digits and a character that is no digit: which of the two
      // failures comes first is not pinned down.
      if (d < 0 || d >= base) return tooWide ? IntegerOutcome{0, 0, false} : mismatch;
      if (!tooWide) value = value * static_cast<uint64_t>(base) + static_cast<uint64_t>(d);
      if (value > 0xFFFFFFFFull) tooWide = true;
    }
    if (tooWide) return overflow;
    // A sign in front of a bit pattern is not pinned down by the rules.
    if (sign) return {0, 0, false};
    const int64_t pattern = static_cast<int32_t>(static_cast<uint32_t>(value));
    if (pattern < lo || pattern > hi) return overflow;
    return {pattern, 0, true};
  }
  size_t j = i;
  size_t digits = 0;
  size_t significant = 0;
  bool nonZero = false;
  while (j < t.size() && IsDigit(t[j])) {
    nonZero = nonZero || t[j] != '0';
    significant += nonZero ? 1 : 0;
    ++j, ++digits;
  }
  if (j < t.size() && t[j] == '.') {
    ++j;
    while (j < t.size() && IsDigit(t[j])) {
      nonZero = nonZero || t[j] != '0';
      significant += nonZero ? 1 : 0;
      ++j, ++digits;
    }
  }
  if (digits == 0) return mismatch;
  if (j < t.size() && (t[j] == 'E' || t[j] == 'e')) {
    ++j;
    if (j < t.size() && (t[j] == '+' || t[j] == '-')) ++j;
    size_t expDigits = 0;
    while (j < t.size() && IsDigit(t[j])) ++j, ++expDigits;
    if (expDigits == 0) return mismatch;
  }
  if (j != t.size()) return mismatch;
  const double v = std::strtod(t.c_str(), nullptr);
  // With more digits than a double holds, the text may lie just beside a half
  // that the double lands on: which way it rounds is not pinned down.
  if (significant > 15 && std::fabs(v - std::trunc(v)) == 0.5) return {0, 0, false};
  const double r = std::nearbyint(v);
  if (!(r >= static_cast<double>(lo) && r <= static_cast<double>(hi))) return overflow;
  return {static_cast<int64_t>(r), 0, true};
}

template <typename Convert>
void CheckInteger(const char* name, std::string_view text, int64_t lo, int64_t hi,
                  Convert convert) {
  IntegerOutcome got;
  try {
    got.value = convert(text);
  } catch (const Vessik_Error& e) {
    got.error = e.Number();
  }
  const IntegerOutcome want = ReferenceInteger(text, lo, hi);
  if (!want.known) {
    if (got.error != 0 && got.error != vessik::errnum::Overflow &&
        got.error != vessik::errnum::TypeMismatch) {
      Fail(name, text, Show(got), "a value, 6 or 13");
    }
    return;
  }
  if (got.error != want.error || got.value != want.value) Fail(name, text, Show(got), Show(want));
}

// A double as the rules write it: %.15G without trailing zeros, "0" for
// negative zero, "inf", "-inf" and "nan" for the special values, and "." as the
// point (the fuzzer never sets a locale).
std::string ReferenceWrite(double v) {
  if (std::isnan(v)) return "nan";
  if (std::isinf(v)) return v < 0 ? "-inf" : "inf";
  if (v == 0) return "0";
  char buf[64];
  std::snprintf(buf, sizeof buf, "%.15G", v);
  std::string s = buf;
  const size_t ePos = s.find('E');
  std::string mantissa = s.substr(0, ePos);
  const std::string exponent = ePos == std::string::npos ? "" : s.substr(ePos);
  if (mantissa.find('.') != std::string::npos) {
    while (mantissa.back() == '0') mantissa.pop_back();
    if (mantissa.back() == '.') mantissa.pop_back();
  }
  return mantissa + exponent;
}

std::string Write(double v, std::string_view sep) {
  char buf[64];
  char* end = vessik::WriteDouble(buf, v, sep);
  if (end < buf || static_cast<size_t>(end - buf) > vessik::MaxDoubleChars(sep)) {
    Fail("WriteDouble wrote past its limit", {}, std::to_string(end - buf),
         std::to_string(vessik::MaxDoubleChars(sep)));
  }
  return std::string(buf, end);
}

void CheckWriting(double v, std::string_view input) {
  const std::string text = Write(v, ".");
  const std::string want = ReferenceWrite(v);
  if (text != want) Fail(("WriteDouble of " + Show(v)).c_str(), input, text, want);
  if (vessik::DoubleToText(v) != text) {
    Fail("DoubleToText differs from WriteDouble", input, vessik::DoubleToText(v), text);
  }
  std::string appended = "x";
  vessik::AppendDouble(appended, v);
  if (appended != "x" + text) Fail("AppendDouble differs", input, appended, "x" + text);

  if (std::isfinite(v)) {
    // Read back, the text gives the double nearest to the digits written, and that
    // double writes the same text again.
    const double back = vessik::ParseDouble(text);
    const double nearest = std::strtod(text.c_str(), nullptr);
    if (!SameDouble(back, nearest)) {
      Fail(("reading back " + text).c_str(), input, Show(back), Show(nearest));
    }
    // Near the largest double, the rounded digits may lie beyond it and read back
    // as an infinity (1.79769313486232E+308): the rules promise nothing more there.
    if (std::isfinite(back)) {
      const std::string again = Write(back, ".");
      if (again != text) Fail(("writing again " + Show(back)).c_str(), input, again, text);
    }
    // With a comma for the point, ParseDouble still reads the same number.
    const std::string comma = Write(v, ",");
    std::string expected = text;
    const size_t point = expected.find('.');
    if (point != std::string::npos) expected[point] = ',';
    if (comma != expected) Fail("WriteDouble with a comma", input, comma, expected);
    if (!SameDouble(vessik::ParseDouble(comma), back)) {
      Fail(("ParseDouble of " + comma).c_str(), input, Show(vessik::ParseDouble(comma)),
           Show(back));
    }
  }

  // Double to integer: round half to even, 6 out of range or for a non-number.
  IntegerOutcome got;
  try {
    got.value = vessik::DoubleToLong(v);
  } catch (const Vessik_Error& e) {
    got.error = e.Number();
  }
  IntegerOutcome want6;
  const double r = std::nearbyint(v);
  if (r >= -2147483648.0 && r <= 2147483647.0) {
    want6.value = static_cast<int64_t>(r);
  } else {
    want6.error = vessik::errnum::Overflow;
  }
  if (got.error != want6.error || got.value != want6.value) {
    Fail(("DoubleToLong of " + Show(v)).c_str(), input, Show(got), Show(want6));
  }
}

void CheckLong(int32_t v, std::string_view input) {
  std::string text;
  vessik::AppendLong(text, v);
  char want[32];
  std::snprintf(want, sizeof want, "%d", v);
  if (text != want) Fail("AppendLong", input, text, want);
  // And the strict reader takes it back.
  if (vessik::TextToLong(text) != v) Fail("TextToLong of AppendLong", input, text, want);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);

  CheckReading(text);
  CheckInteger("TextToLong", text, INT32_MIN, INT32_MAX,
               [](std::string_view t) -> int64_t { return vessik::TextToLong(t); });
  CheckInteger("TextToInteger", text, INT16_MIN, INT16_MAX,
               [](std::string_view t) -> int64_t { return vessik::TextToInteger(t); });

  // The number the text reads as, and the raw bytes taken as a double and as an
  // integer, through the writers.
  CheckWriting(vessik::ReadNumber(text, false), text);
  if (size >= sizeof(double)) {
    double raw;
    std::memcpy(&raw, data, sizeof raw);
    CheckWriting(raw, text);
  }
  if (size >= sizeof(int32_t)) {
    int32_t raw;
    std::memcpy(&raw, data, sizeof raw);
    CheckLong(raw, text);
  }
  return 0;
}
