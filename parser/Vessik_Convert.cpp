#include "parser/Vessik_Convert.h"

#include <array>
#include <bit>
#include <charconv>
#include <clocale>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#ifdef __SSE2__
#include <emmintrin.h>
#endif

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

// The powers of ten as integers, up to 10^18.
constexpr auto kPow10 = [] {
  std::array<uint64_t, 19> powers{};
  uint64_t p = 1;
  for (uint64_t& x : powers) {
    x = p;
    p *= 10;
  }
  return powers;
}();

constexpr double kPowersOfTen[] = {1e0, 1e1, 1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                   1e8, 1e9, 1e10, 1e11, 1e12, 1e13, 1e14, 1e15};

// The n (1 to 8) bytes at p in one word, the first in the lowest byte; the bytes
// above them are zero. No byte outside [p, p + n) is read.
uint64_t LoadUpToEight(const char* p, size_t n) {
  if (n >= 4) {
    // Two four-byte loads that overlap where n < 8; the overlap holds the same bytes.
    uint32_t low;
    uint32_t high;
    std::memcpy(&low, p, 4);
    std::memcpy(&high, p + n - 4, 4);
    return low | static_cast<uint64_t>(high) << (8 * (n - 4));
  }
  const auto byte = [p](size_t k) {
    return static_cast<uint64_t>(static_cast<unsigned char>(p[k]));
  };
  return byte(0) | byte(n / 2) << (8 * (n / 2)) | byte(n - 1) << (8 * (n - 1));
}

// One word of a plain decimal, its n (1 to 8) bytes in the low bytes of w: the
// integer of its digits, how many digits there are, how many of them lie behind
// the point and whether there is one; false when a byte is neither a digit nor
// the only point. The characters are checked and put together eight at a time,
// without a branch for each: the lengths of a drawing's numbers vary too much for
// a loop's exit to be foreseen.
[[gnu::always_inline]] inline bool ReadDecimalWord(uint64_t w, size_t n, uint64_t& value,
                                                   int& count, int& decimals, bool& point) {
  constexpr uint64_t kOnes = 0x0101010101010101ULL;
  constexpr uint64_t kHigh = 0x8080808080808080ULL;
  const uint64_t inText = n == 8 ? kHigh : kHigh & ((uint64_t{1} << (8 * n)) - 1);
  if ((w & kHigh) != 0) return false;
  // High bit of each byte that is '.', found exactly (no carry between bytes).
  const uint64_t x = w ^ (kOnes * '.');
  const uint64_t points = ~(((x & ~kHigh) + ~kHigh) | x) & inText;
  if ((points & (points - 1)) != 0) return false;
  // Every other byte of the text is a digit: at most '9' and at least '0'.
  const uint64_t digitBytes = inText & ~points;
  if (((w + kOnes * (0x7F - '9')) & digitBytes) != 0) return false;
  if ((((w | kHigh) - kOnes * '0') & digitBytes) != digitBytes) return false;
  count = static_cast<int>(n);
  uint64_t digits = w;
  decimals = 0;
  point = points != 0;
  if (point) {
    const int at = std::countr_zero(points) / 8;
    const uint64_t below = (uint64_t{1} << (8 * at)) - 1;
    // The point taken out: the bytes above it move down one.
    digits = (w & below) | ((w >> 8) & ~below);
    decimals = static_cast<int>(n) - at - 1;
    --count;
  }
  if (count == 0) {
    value = 0;
    return true;
  }
  // Right-aligned in eight digits behind zeros, then summed in pairs, fours, eights.
  const uint64_t zeros = count == 8 ? 0 : (kOnes * '0') >> (8 * count);
  uint64_t v = (count == 8 ? digits : (digits << (8 * (8 - count)) | zeros)) - kOnes * '0';
  v = v * 10 + (v >> 8);
  v = (((v & 0x000000FF000000FFULL) * (100 + (1000000ULL << 32))) +
       (((v >> 16) & 0x000000FF000000FFULL) * (1 + (10000ULL << 32)))) >>
      32;
  value = v;
  return true;
}

// Digits with at most one point, 1 to 8 characters at p, as the integer of the
// digits and the number of them behind the point; false for anything else.
bool ReadEightCharDecimal(const char* p, size_t n, uint64_t& mantissa, int& decimals) {
  int count = 0;
  bool point = false;
  return ReadDecimalWord(LoadUpToEight(p, n), n, mantissa, count, decimals, point) && count > 0;
}

// The same for 9 to 16 characters, as two words: up to 15 digits.
bool ReadSixteenCharDecimal(const char* p, size_t n, uint64_t& mantissa, int& decimals) {
  uint64_t front = 0;
  uint64_t back = 0;
  int frontCount = 0;
  int backCount = 0;
  int frontDecimals = 0;
  int backDecimals = 0;
  bool frontPoint = false;
  bool backPoint = false;
  if (!ReadDecimalWord(LoadUpToEight(p, 8), 8, front, frontCount, frontDecimals, frontPoint) ||
      !ReadDecimalWord(LoadUpToEight(p + 8, n - 8), n - 8, back, backCount, backDecimals,
                       backPoint) ||
      (frontPoint && backPoint) || frontCount + backCount > 15) {
    return false;
  }
  mantissa = front * kPow10[backCount] + back;
  decimals = frontPoint ? frontDecimals + backCount : backDecimals;
  return true;
}

}  // namespace

// The digits as an integer and a power of ten are both exact doubles, so their
// quotient is the correctly rounded value.
bool ReadShortDecimal(std::string_view text, double& value) {
  // A single digit, most often the "0" of a flat drawing's Z, needs none of that.
  if (text.size() == 1 && IsDigit(text[0])) {
    value = text[0] - '0';
    return true;
  }
  const bool negative = !text.empty() && text[0] == '-';
  if (negative) text.remove_prefix(1);
  uint64_t mantissa = 0;
  int decimals = 0;
  // Sixteen characters at most: more hold sixteen digits or more.
  const size_t n = text.size();
  if (n == 0 || n > 16) return false;
  const bool plain = n <= 8 ? ReadEightCharDecimal(text.data(), n, mantissa, decimals)
                            : ReadSixteenCharDecimal(text.data(), n, mantissa, decimals);
  if (!plain) return false;
  const double v = static_cast<double>(mantissa) / kPowersOfTen[decimals];
  value = negative ? -v : v;
  return true;
}

double ReadNumber(std::string_view text, bool commaIsPoint) {
  // Most values are plain decimals ("-12.5"): read those directly.
  double shortValue;
  if (ReadShortDecimal(text, shortValue)) return shortValue;
  if (!text.empty() && text.size() < 40) {
    size_t i = text[0] == '-' ? 1 : 0;
    size_t digits = 0;
    bool point = false;
    for (; i < text.size(); ++i) {
      const char c = text[i];
      if (c >= '0' && c <= '9') {
        ++digits;
      } else if (c == '.' && !point) {
        point = true;
      } else {
        break;
      }
    }
    if (i == text.size() && digits > 0) {
      double value = 0;
      auto r = std::from_chars(text.data(), text.data() + text.size(), value);
      if (r.ec == std::errc() && r.ptr == text.data() + text.size()) return value;
    }
  }
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

double ReadHexNumber(std::string_view digits) {
  // A drawing's handles are a few hex digits with nothing around them: those need
  // no filtering. Up to eight digits fit in 32 bits, and the value only grows
  // digit by digit, so it passes 0xFFFF exactly when it ends above it.
  if (!digits.empty() && digits.size() <= 8) {
    uint32_t value = 0;
    size_t k = 0;
    for (; k < digits.size(); ++k) {
      const int digit = HexValue(digits[k]);
      if (digit < 0) break;
      value = value << 4 | static_cast<uint32_t>(digit);
    }
    if (k == digits.size()) {
      if (value <= 0xFFFF) return static_cast<int16_t>(static_cast<uint16_t>(value));
      return static_cast<int32_t>(value);
    }
  }
  Filtered in(digits, false);
  return ReadRadix(in, 4);
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
    // Either far too large or a fraction that rounds to 0. The sign of the
    // exponent alone does not tell which ("9...9e-50" with 400 nines is huge):
    // the number reader weighs the digits and the exponent together, and gives
    // an infinity for a value beyond the range of a double.
    if (std::isinf(ReadNumber(t, false))) RaisePlatformError(errnum::Overflow);
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

namespace {

// Splits to_chars' scientific form "[-]d.ddde[+-]x" into digits and exponent.
void SplitScientific(const char* begin, const char* end, char* digits, int& count, int& exp10,
                     bool& negative) {
  const char* p = begin;
  negative = *p == '-';
  if (negative) ++p;
  count = 0;
  for (; p < end && *p != 'e'; ++p) {
    if (*p != '.') digits[count++] = *p;
  }
  ++p;  // the 'e'
  const bool expNegative = *p == '-';
  exp10 = 0;
  for (++p; p < end; ++p) exp10 = exp10 * 10 + (*p - '0');
  if (expNegative) exp10 = -exp10;
}

__extension__ typedef unsigned __int128 UInt128;

// The value rounded to 15 significant digits as %.15G rounds it, for magnitudes
// from 1E-4 up to 1E+15, without a search for the shortest form: the value is
// m * 2^e with an integer m of 53 bits, so m * 10^k * 2^e is worked out exactly in
// 128-bit integers and rounded half to even to an integer n of 15 digits, the value
// being n * 10^(exp10 - 14). 0 outside that range.
[[gnu::always_inline]] inline uint64_t RoundTo15DigitInteger(double value, int& exp10) {
  // The doubles nearest the powers of ten from 1E-4 to 1E+15. The decade they give
  // is checked against the size of the 15-digit integer below all the same.
  static constexpr double kDecades[] = {1e-4, 1e-3, 1e-2, 1e-1, 1e0,  1e1,  1e2,  1e3,  1e4,  1e5,
                                        1e6,  1e7,  1e8,  1e9,  1e10, 1e11, 1e12, 1e13, 1e14, 1e15};
  const double a = std::fabs(value);
  if (!(a >= 1e-4 && a < 1e15)) return 0;
  uint64_t bits;
  std::memcpy(&bits, &value, sizeof bits);
  const uint64_t m = (bits & ((uint64_t{1} << 52) - 1)) | (uint64_t{1} << 52);
  const int binaryExponent = static_cast<int>((bits >> 52) & 0x7FF) - 1023;
  // a < 2^50 and a >= 2^-14, so the shift lies between 3 and 66.
  const int shift = 52 - binaryExponent;
  // a lies between 2^e and 2^(e+1), so its decade is floor(e * log10(2)) or the
  // one above: one comparison, without a branch, tells which. (Where the double
  // nearest a power of ten lies above it, the decade may come out one too high;
  // the size check of n below sends such a value to the general path.)
  int decade = ((binaryExponent * 1233) >> 12) + 4;
  if (decade < 0) decade = 0;
  decade += a >= kDecades[decade + 1] ? 1 : 0;
  exp10 = decade - 4;
  for (;;) {
    const int k = 14 - exp10;
    if (k < 0) return 0;
    const UInt128 product = static_cast<UInt128>(m) * kPow10[k];
    uint64_t n = static_cast<uint64_t>(product >> shift);
    if (n >= kPow10[15]) {
      // The guess was one decade low: once more with the next.
      ++exp10;
      continue;
    }
    if (n < kPow10[14]) return 0;
    // Half to even: adding half an ulp less one, plus one more where n is odd,
    // carries into n exactly when the rest is above the half, or at it with n odd.
    const UInt128 half = static_cast<UInt128>(1) << (shift - 1);
    n = static_cast<uint64_t>((product + (half - 1) + (n & 1)) >> shift);
    if (n == kPow10[15]) {
      // Rounded up to the next power of ten.
      n = kPow10[14];
      ++exp10;
    }
    return exp10 < 15 ? n : 0;
  }
}

#ifdef __SSE2__

// v < 10^8 as its eight digits in the 16-bit lanes of a vector, the first in the
// lowest. Each half of four digits is divided by 1000, 100, 10 and 1 at once, by
// multiplying with reciprocals that are exact for every number below 10^4; each
// quotient less ten times the one before is a digit.
[[gnu::always_inline]] inline __m128i EightDigitLanes(uint32_t v) {
  const uint32_t high = v / 10000;
  const uint32_t low = v % 10000;
  // Four times each half, in every lane of its own four.
  const __m128i both = _mm_cvtsi32_si128(static_cast<int>((high << 2) | (low << 18)));
  const __m128i pairs = _mm_unpacklo_epi16(both, both);
  const __m128i lanes = _mm_unpacklo_epi32(pairs, pairs);
  // 4x * 8389 >> 25 = x / 1000, 4x * 5243 >> 21 = x / 100, 4x * 13108 >> 19 = x / 10
  // and 4x * 32768 >> 17 = x, each in two high-half products.
  const __m128i reciprocals = _mm_setr_epi16(8389, 5243, 13108, -32768, 8389, 5243, 13108, -32768);
  const __m128i shifts =
      _mm_setr_epi16(1 << 7, 1 << 11, 1 << 13, -32768, 1 << 7, 1 << 11, 1 << 13, -32768);
  const __m128i quotients = _mm_mulhi_epu16(_mm_mulhi_epu16(lanes, reciprocals), shifts);
  const __m128i tens = _mm_slli_epi64(_mm_mullo_epi16(quotients, _mm_set1_epi16(10)), 16);
  return _mm_sub_epi16(quotients, tens);
}

// The digits of n, 10^14 <= n < 10^15, as character codes in one 128-bit word,
// the first digit in the lowest byte; count is the number of digits without the
// trailing zeros.
[[gnu::always_inline]] inline UInt128 FifteenDigitChars(uint64_t n, int& count) {
  const __m128i digits = _mm_packus_epi16(EightDigitLanes(static_cast<uint32_t>(n / 100000000)),
                                          EightDigitLanes(static_cast<uint32_t>(n % 100000000)));
  // The first byte is the '0' in front of the fifteen digits.
  const __m128i chars = _mm_srli_si128(_mm_add_epi8(digits, _mm_set1_epi8('0')), 1);
  const auto zeros =
      static_cast<uint32_t>(_mm_movemask_epi8(_mm_cmpeq_epi8(chars, _mm_set1_epi8('0'))));
  count = 32 - std::countl_zero(~zeros & 0x7FFFu);
  UInt128 word;
  std::memcpy(&word, &chars, sizeof word);
  return word;
}

#else

// v < 10^8 as the character codes of its eight digits, the first in the lowest
// byte, put together from four pairs in registers so that no byte goes through
// memory on its own.
uint64_t EightDigitChars(uint32_t v) {
  static constexpr auto kPairs = [] {
    std::array<uint16_t, 100> pairs{};
    for (int i = 0; i < 100; ++i)
      pairs[i] = static_cast<uint16_t>(('0' + i / 10) | ('0' + i % 10) << 8);
    return pairs;
  }();
  const uint32_t high = v / 10000;
  const uint32_t low = v % 10000;
  return kPairs[high / 100] | static_cast<uint64_t>(kPairs[high % 100]) << 16 |
         static_cast<uint64_t>(kPairs[low / 100]) << 32 |
         static_cast<uint64_t>(kPairs[low % 100]) << 48;
}

// The digits of n, 10^14 <= n < 10^15, as character codes in one 128-bit word,
// the first digit in the lowest byte; count is the number of digits without the
// trailing zeros.
[[gnu::always_inline]] inline UInt128 FifteenDigitChars(uint64_t n, int& count) {
  constexpr uint64_t kZeros = 0x3030303030303030ULL;
  const uint64_t high = EightDigitChars(static_cast<uint32_t>(n / 100000000));
  const uint64_t low = EightDigitChars(static_cast<uint32_t>(n % 100000000));
  // The first byte of high is the '0' before the seven leading digits.
  const uint64_t lowValues = low ^ kZeros;
  count = lowValues != 0 ? 8 + (63 - __builtin_clzll(lowValues)) / 8
                         : (63 - __builtin_clzll(high ^ kZeros)) / 8;
  return (static_cast<UInt128>(low) << 56) | (high >> 8);
}

#endif

// The same as digits: the 15 of them, count without the trailing zeros.
bool RoundTo15DigitsExactly(double value, char* digits, int& count, int& exp10, bool& negative) {
  const uint64_t n = RoundTo15DigitInteger(value, exp10);
  if (n == 0) return false;
  negative = value < 0;
  const UInt128 chars = FifteenDigitChars(n, count);
  // Byte k of the word is digit k, whatever the byte order of the machine.
  for (int k = 0; k < 15; ++k) digits[k] = static_cast<char>(chars >> (8 * k));
  return true;
}

// The same for every finite non-zero value. Outside the range of the integer path:
// the shortest form that reads back as the value is the closest of its length;
// with 15 digits or fewer it is already the rounded value. With 17 digits no
// 15-digit midpoint can lie between it and the value (that midpoint would be a
// shorter form that reads back), so rounding its digits gives the same result;
// with 16 digits the same holds unless its last digit is 5, when it may be the
// midpoint itself. That case, and subnormal values, are rounded from the exact
// binary value instead.
void RoundTo15Digits(double value, char* digits, int& count, int& exp10, bool& negative) {
  if (RoundTo15DigitsExactly(value, digits, count, exp10, negative)) return;
  char buf[48];
  auto res = std::to_chars(buf, buf + sizeof(buf), value, std::chars_format::scientific);
  SplitScientific(buf, res.ptr, digits, count, exp10, negative);
  const bool subnormal = std::fabs(value) < std::numeric_limits<double>::min();
  if (count > 15 && !subnormal && !(count == 16 && digits[15] == '5')) {
    const bool up =
        count == 16 ? digits[15] > '5' : (digits[15] - '0') * 10 + (digits[16] - '0') > 50;
    count = 15;
    if (up) {
      int k = 14;
      while (k >= 0 && digits[k] == '9') digits[k--] = '0';
      if (k >= 0) {
        ++digits[k];
      } else {
        digits[0] = '1';
        ++exp10;
      }
    }
  } else if (count > 15 || subnormal) {
    res = std::to_chars(buf, buf + sizeof(buf), value, std::chars_format::scientific, 14);
    SplitScientific(buf, res.ptr, digits, count, exp10, negative);
  }
  while (count > 1 && digits[count - 1] == '0') --count;
}

// The plain forms of a value from 1E-4 up to 1E+15 with a one-character separator,
// written with whole-word stores; this is where a drawing's coordinates go. Uses
// up to 24 characters of room at out. Null for anything else.
char* WritePlainDouble(char* out, double value, char sep) {
  if constexpr (std::endian::native != std::endian::little) return nullptr;
  int exp10 = 0;
  const uint64_t n = RoundTo15DigitInteger(value, exp10);
  if (n == 0 || exp10 < -4) return nullptr;
  if (value < 0) *out++ = '-';
  int count = 0;
  const UInt128 chars = FifteenDigitChars(n, count);
  if (exp10 >= 0) {
    // Digits 1 to 8 and 9 to 15, each in one word.
    const auto front = static_cast<uint64_t>(chars);
    const auto back = static_cast<uint64_t>(chars >> 64);
    const int whole = exp10 + 1;
    std::memcpy(out, &front, sizeof front);
    if (count <= whole) {
      // The digits beyond count are the zeros that fill up the whole part.
      std::memcpy(out + 8, &back, sizeof back);
      return out + whole;
    }
    // The separator goes in after the whole digits and the rest move up a byte:
    // the word they are in is written again one byte further on, then any word
    // behind it over that.
    if (whole < 8) {
      out[whole] = sep;
      const uint64_t rest = front >> (8 * whole);
      std::memcpy(out + whole + 1, &rest, sizeof rest);
      std::memcpy(out + 9, &back, sizeof back);
    } else {
      std::memcpy(out + 8, &back, sizeof back);
      out[whole] = sep;
      const uint64_t rest = back >> (8 * (whole - 8));
      std::memcpy(out + whole + 1, &rest, sizeof rest);
    }
    return out + count + 1;
  }
  const int zeros = -exp10 - 1;
  out[0] = '0';
  out[1] = sep;
  std::memcpy(out + 2, "000", 3);
  std::memcpy(out + 2 + zeros, &chars, sizeof chars);
  return out + 2 + zeros + count;
}

// Every value that WriteNumberText does not write itself: zero, not a number, the
// infinities, and fractions outside the range of the plain form or with a longer
// separator.
[[gnu::noinline]] char* WriteOtherNumberText(char* out, double value, std::string_view sep) {
  auto put = [&](const char* s, size_t len) {
    std::memcpy(out, s, len);
    out += len;
  };
  if (std::isnan(value)) {
    put("nan", 3);
    return out;
  }
  if (std::isinf(value)) {
    if (value < 0) *out++ = '-';
    put("inf", 3);
    return out;
  }
  if (value == 0) {
    *out++ = '0';
    return out;
  }
  // The significant digits of the value rounded to 15 of them, and its decimal
  // exponent.
  char digits[17];
  int count = 0;
  int exp10 = 0;
  bool negative = false;
  RoundTo15Digits(value, digits, count, exp10, negative);

  if (negative) *out++ = '-';
  if (exp10 < -4 || exp10 >= 15) {
    *out++ = digits[0];
    if (count > 1) {
      put(sep.data(), sep.size());
      put(digits + 1, static_cast<size_t>(count - 1));
    }
    *out++ = 'E';
    *out++ = exp10 < 0 ? '-' : '+';
    int ex = exp10 < 0 ? -exp10 : exp10;
    if (ex >= 100) *out++ = static_cast<char>('0' + ex / 100);
    *out++ = static_cast<char>('0' + ex / 10 % 10);
    *out++ = static_cast<char>('0' + ex % 10);
  } else if (exp10 >= 0) {
    const int whole = exp10 + 1;
    if (count <= whole) {
      put(digits, static_cast<size_t>(count));
      std::memset(out, '0', static_cast<size_t>(whole - count));
      out += whole - count;
    } else {
      put(digits, static_cast<size_t>(whole));
      put(sep.data(), sep.size());
      put(digits + whole, static_cast<size_t>(count - whole));
    }
  } else {
    *out++ = '0';
    put(sep.data(), sep.size());
    std::memset(out, '0', static_cast<size_t>(-exp10 - 1));
    out += -exp10 - 1;
    put(digits, static_cast<size_t>(count));
  }
  return out;
}

}  // namespace

char* WriteNumberText(char* out, double value, std::string_view sep) {
  // The coordinates of a drawing take a short way with nothing around it, the
  // rest goes out of line. (Not a number fails the comparison.)
  if (std::fabs(value) < 1e15 && value != 0) {
    // Whole numbers of at most 15 digits are their own 15-digit form. (Converted
    // to an integer and back, a value below 1E+15 is itself only when it is
    // whole: the same test as trunc, without a call into the C library.)
    const int64_t whole = static_cast<int64_t>(value);
    if (static_cast<double>(whole) == value) return std::to_chars(out, out + 24, whole).ptr;
    if (sep.size() == 1) {
      if (char* end = WritePlainDouble(out, value, sep[0])) return end;
    }
  }
  return WriteOtherNumberText(out, value, sep);
}

void AppendDouble(std::string& out, double value) {
  const std::string_view sep = DecimalSeparator();
  char room[64];
  std::string large;
  char* buf = room;
  if (MaxDoubleChars(sep) > sizeof room) {
    large.resize(MaxDoubleChars(sep));
    buf = large.data();
  }
  out.append(buf, WriteDouble(buf, value, sep));
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
