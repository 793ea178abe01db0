#include "parser/Vessik_Convert.h"

#include <charconv>
#include <clocale>
#include <cmath>
#include <cstring>
#include <limits>

#include "parser/Vessik_Error.h"

#ifndef _WIN32
#include <langinfo.h>
#endif

namespace vessik {
namespace {

bool IsSkipped(char c) {
  return c == ' ' || c == '\t' || c == '\n';
}

int HexValue(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

// Walks the text as the number reader sees it: skipped characters vanish and a
// comma may stand for the point.
class Filtered {
 public:
  Filtered(std::string_view text, bool commaIsPoint) : text_(text), comma_(commaIsPoint) {}
  int Peek() {
    while (pos_ < text_.size() && IsSkipped(text_[pos_])) ++pos_;
    if (pos_ >= text_.size()) return -1;
    char c = text_[pos_];
    if (comma_ && c == ',') c = '.';
    return static_cast<unsigned char>(c);
  }
  void Next() { ++pos_; }

 private:
  std::string_view text_;
  bool comma_;
  size_t pos_ = 0;
};

// Integer of "&H" or "&O" digits: up to 0xFFFF a 16-bit signed number, beyond
// that the low 32 bits as a 32-bit signed number.
double ReadRadix(Filtered& in, int shift) {
  uint64_t value = 0;
  bool wide = false;
  for (;;) {
    int c = in.Peek();
    int digit = -1;
    if (c >= 0) {
      digit = HexValue(static_cast<char>(c));
      if (shift == 3 && (digit < 0 || digit > 7)) digit = -1;
    }
    if (digit < 0) break;
    value = (value << shift) | static_cast<uint64_t>(digit);
    if (value > 0xFFFF) wide = true;
    in.Next();
  }
  if (!wide) return static_cast<int16_t>(static_cast<uint16_t>(value));
  return static_cast<int32_t>(static_cast<uint32_t>(value));
}

// Decimal text to the correctly rounded double; beyond the range of a double it
// is an infinity of the number's sign, below it a zero.
double DecimalToDouble(const char* begin, const char* end, int64_t magnitude) {
  double value = 0;
  auto result = std::from_chars(begin, end, value);
  if (result.ec == std::errc::result_out_of_range) {
    bool negative = begin < end && *begin == '-';
    double big = magnitude > 0 ? std::numeric_limits<double>::infinity() : 0.0;
    return negative ? -big : big;
  }
  return value;
}

// Buffer for the characters of one decimal number, on the stack for the common case.
class NumberText {
 public:
  void Push(char c) {
    if (size_ < sizeof(small_)) {
      small_[size_++] = c;
      return;
    }
    if (large_.empty()) large_.assign(small_, size_);
    large_.push_back(c);
    ++size_;
  }
  const char* begin() const { return large_.empty() ? small_ : large_.data(); }
  const char* end() const { return begin() + size_; }
  size_t size() const { return size_; }
  void Resize(size_t n) {
    size_ = n;
    if (!large_.empty()) large_.resize(n);
  }

 private:
  char small_[64];
  std::string large_;
  size_t size_ = 0;
};

bool IsDigit(int c) {
  return c >= '0' && c <= '9';
}

}  // namespace

double ReadNumber(std::string_view text, bool commaIsPoint) {
  Filtered in(text, commaIsPoint);
  int c = in.Peek();
  if (c == '&') {
    in.Next();
    c = in.Peek();
    if (c == 'H' || c == 'h') {
      in.Next();
      return ReadRadix(in, 4);
    }
    if (c == 'O' || c == 'o') {
      in.Next();
      return ReadRadix(in, 3);
    }
    return 0;
  }
  NumberText num;
  if (c == '+' || c == '-') {
    if (c == '-') num.Push('-');
    in.Next();
    c = in.Peek();
  }
  // Counted in 64 bits: a value line may be longer than any int.
  int64_t digits = 0;
  int64_t intDigits = 0;     // significant digits before the point
  int64_t leadingZeros = 0;  // zeros right behind the point before the first digit
  bool seenNonZero = false;
  while (IsDigit(c)) {
    num.Push(static_cast<char>(c));
    ++digits;
    if (c != '0') seenNonZero = true;
    if (seenNonZero) ++intDigits;
    in.Next();
    c = in.Peek();
  }
  if (c == '.') {
    num.Push('.');
    in.Next();
    c = in.Peek();
    while (IsDigit(c)) {
      num.Push(static_cast<char>(c));
      ++digits;
      if (c != '0') seenNonZero = true;
      if (!seenNonZero) ++leadingZeros;
      in.Next();
      c = in.Peek();
    }
  }
  if (digits == 0) return 0;
  int64_t exponent = 0;
  if (c == 'E' || c == 'e' || c == 'D' || c == 'd') {
    size_t keep = num.size();
    num.Push('e');
    in.Next();
    c = in.Peek();
    bool negative = false;
    if (c == '+' || c == '-') {
      negative = c == '-';
      num.Push(static_cast<char>(c));
      in.Next();
      c = in.Peek();
    }
    bool any = false;
    while (IsDigit(c)) {
      num.Push(static_cast<char>(c));
      if (exponent < 100000) exponent = exponent * 10 + (c - '0');
      any = true;
      in.Next();
      c = in.Peek();
    }
    if (!any) {
      num.Resize(keep);
      exponent = 0;
    } else if (negative) {
      exponent = -exponent;
    }
  }
  int64_t magnitude = exponent + (intDigits > 0 ? intDigits : -leadingZeros);
  return DecimalToDouble(num.begin(), num.end(), magnitude);
}

namespace {

bool IsBlankOrTab(char c) {
  return c == ' ' || c == '\t';
}

// Reads the strict integer form shared by the 16- and 32-bit conversions, as an
// int64 (a radix pattern is already taken as 32 bits).
int64_t StrictInteger(std::string_view text) {
  size_t b = 0;
  size_t e = text.size();
  while (b < e && IsBlankOrTab(text[b])) ++b;
  while (e > b && IsBlankOrTab(text[e - 1])) --e;
  std::string_view t = text.substr(b, e - b);
  size_t i = 0;
  bool negative = false;
  if (i < t.size() && (t[i] == '+' || t[i] == '-')) {
    negative = t[i] == '-';
    ++i;
  }
  if (i + 1 < t.size() && t[i] == '&') {
    char kind = t[i + 1];
    int shift = (kind == 'H' || kind == 'h') ? 4 : (kind == 'O' || kind == 'o') ? 3 : 0;
    if (shift == 0) RaisePlatformError(errnum::TypeMismatch);
    i += 2;
    if (i >= t.size()) RaisePlatformError(errnum::TypeMismatch);
    uint64_t value = 0;
    for (; i < t.size(); ++i) {
      int digit = HexValue(t[i]);
      if (shift == 3 && digit > 7) digit = -1;
      if (digit < 0) RaisePlatformError(errnum::TypeMismatch);
      value = (value << shift) | static_cast<uint64_t>(digit);
      if (value > 0xFFFFFFFFull) RaisePlatformError(errnum::Overflow);
    }
    int64_t pattern = static_cast<int32_t>(static_cast<uint32_t>(value));
    return negative ? -pattern : pattern;
  }
  size_t digits = 0;
  while (i < t.size() && IsDigit(t[i])) ++i, ++digits;
  if (i < t.size() && t[i] == '.') {
    ++i;
    while (i < t.size() && IsDigit(t[i])) ++i, ++digits;
  }
  if (digits == 0) RaisePlatformError(errnum::TypeMismatch);
  if (i < t.size() && (t[i] == 'E' || t[i] == 'e')) {
    ++i;
    if (i < t.size() && (t[i] == '+' || t[i] == '-')) ++i;
    size_t expDigits = 0;
    while (i < t.size() && IsDigit(t[i])) ++i, ++expDigits;
    if (expDigits == 0) RaisePlatformError(errnum::TypeMismatch);
  }
  if (i != t.size()) RaisePlatformError(errnum::TypeMismatch);
  // from_chars takes no "+": skip it, keep "-".
  const char* first = t.data();
  if (*first == '+') ++first;
  double value = 0;
  auto result = std::from_chars(first, t.data() + t.size(), value);
  if (result.ec == std::errc::result_out_of_range) {
    // Either far too large or a fraction that rounds to 0.
    bool tiny = false;
    for (const char* p = first; p < t.data() + t.size(); ++p) {
      if (*p == 'e' || *p == 'E') {
        tiny = p + 1 < t.data() + t.size() && p[1] == '-';
        break;
      }
    }
    if (!tiny) RaisePlatformError(errnum::Overflow);
    return 0;
  }
  double rounded = std::nearbyint(value);
  if (!(rounded >= -9223372036854775808.0 && rounded < 9223372036854775808.0)) {
    RaisePlatformError(errnum::Overflow);
  }
  return static_cast<int64_t>(rounded);
}

}  // namespace

int32_t TextToLong(std::string_view text) {
  int64_t v = StrictInteger(text);
  if (v < INT32_MIN || v > INT32_MAX) RaisePlatformError(errnum::Overflow);
  return static_cast<int32_t>(v);
}

int16_t TextToInteger(std::string_view text) {
  int64_t v = StrictInteger(text);
  if (v < INT16_MIN || v > INT16_MAX) RaisePlatformError(errnum::Overflow);
  return static_cast<int16_t>(v);
}

int32_t DoubleToLong(double value) {
  double r = std::nearbyint(value);
  if (!(r >= -2147483648.0 && r <= 2147483647.0)) RaisePlatformError(errnum::Overflow);
  return static_cast<int32_t>(r);
}

std::string_view DecimalSeparator() {
#ifdef _WIN32
  const char* sep = std::localeconv()->decimal_point;
#else
  const char* sep = nl_langinfo(RADIXCHAR);
#endif
  if (sep == nullptr || *sep == '\0') return ".";
  return sep;
}

void AppendDouble(std::string& out, double value) {
  if (std::isnan(value)) {
    out += "nan";
    return;
  }
  if (std::isinf(value)) {
    out += value < 0 ? "-inf" : "inf";
    return;
  }
  if (value == 0) {
    out += '0';
    return;
  }
  char buf[64];
  auto res = std::to_chars(buf, buf + sizeof(buf), value, std::chars_format::scientific);
  // Significant digits of the shortest form; at most 15 of them are kept, and a
  // longer shortest form is rounded to 15 digits instead.
  auto split = [&](const char* end, char* digits, int& count, int& exp10, bool& negative) {
    const char* p = buf;
    negative = *p == '-';
    if (negative) ++p;
    count = 0;
    for (; p < end && *p != 'e'; ++p) {
      if (*p != '.') digits[count++] = *p;
    }
    exp10 = 0;
    std::from_chars(p + 1 + (p[1] == '+' ? 1 : 0), end, exp10);
  };
  char digits[32];
  int count = 0;
  int exp10 = 0;
  bool negative = false;
  split(res.ptr, digits, count, exp10, negative);
  // The shortest form of a normal double with at most 15 digits is also its value
  // rounded to 15 digits; a subnormal has fewer bits than 15 digits need, so its
  // shortest form can be shorter than the rounded one.
  if (count > 15 || std::fabs(value) < std::numeric_limits<double>::min()) {
    res = std::to_chars(buf, buf + sizeof(buf), value, std::chars_format::scientific, 14);
    split(res.ptr, digits, count, exp10, negative);
    while (count > 1 && digits[count - 1] == '0') --count;
  }
  std::string_view sep = DecimalSeparator();
  if (negative) out += '-';
  if (exp10 < -4 || exp10 >= 15) {
    out += digits[0];
    if (count > 1) {
      out += sep;
      out.append(digits + 1, count - 1);
    }
    out += 'E';
    out += exp10 < 0 ? '-' : '+';
    int e = exp10 < 0 ? -exp10 : exp10;
    if (e < 10) out += '0';
    char ebuf[8];
    auto er = std::to_chars(ebuf, ebuf + sizeof(ebuf), e);
    out.append(ebuf, er.ptr);
  } else if (exp10 >= 0) {
    int whole = exp10 + 1;
    if (count <= whole) {
      out.append(digits, count);
      out.append(static_cast<size_t>(whole - count), '0');
    } else {
      out.append(digits, whole);
      out += sep;
      out.append(digits + whole, count - whole);
    }
  } else {
    out += '0';
    out += sep;
    out.append(static_cast<size_t>(-exp10 - 1), '0');
    out.append(digits, count);
  }
}

std::string DoubleToText(double value) {
  std::string s;
  AppendDouble(s, value);
  return s;
}

void AppendLong(std::string& out, int32_t value) {
  char buf[16];
  auto r = std::to_chars(buf, buf + sizeof(buf), value);
  out.append(buf, r.ptr);
}

}  // namespace vessik
