// The one failure type of the library: a number, a source and a description,
// the way a host sees every failure of Parse2.
#pragma once

#include <cstdint>
#include <exception>
#include <string>

namespace vessik {

// Numbers of the failures that the library raises.
namespace errnum {
constexpr int32_t InvalidProcedureCall = 5;
constexpr int32_t Overflow = 6;
constexpr int32_t OutOfMemory = 7;
constexpr int32_t SubscriptOutOfRange = 9;
constexpr int32_t DivisionByZero = 11;
constexpr int32_t TypeMismatch = 13;
constexpr int32_t OutOfStackSpace = 28;
constexpr int32_t FileNotFound = 53;
constexpr int32_t PathFileAccess = 75;
constexpr int32_t ObjectNotSet = 91;
constexpr int32_t SectionNotFound = static_cast<int32_t>(0x80040001u);
constexpr int32_t ParsingFailed = static_cast<int32_t>(0x80040003u);
constexpr int32_t InsertComponent = static_cast<int32_t>(0x80040064u);
constexpr int32_t TooManyIterations = static_cast<int32_t>(0x80040065u);
constexpr int32_t InvalidSpan = static_cast<int32_t>(0x80040066u);
}  // namespace errnum

class Vessik_Error : public std::exception {
 public:
  Vessik_Error(int32_t number, std::string source, std::string description);

  int32_t Number() const noexcept { return number_; }
  const std::string& Source() const noexcept { return source_; }
  const std::string& Description() const noexcept { return description_; }
  const char* what() const noexcept override { return description_.c_str(); }

 private:
  int32_t number_;
  std::string source_;
  std::string description_;
};

// The words of a runtime failure ("Subscript out of range" for 9 and so on).
std::string PlatformErrorText(int32_t number);

// Raises a runtime failure with its standard words and no source.
[[noreturn]] void RaisePlatformError(int32_t number);

[[noreturn]] void RaiseError(int32_t number, std::string source, std::string description);

// Turns any exception in flight into a Vessik_Error: std::bad_alloc becomes 7,
// anything unknown becomes 5. Call only inside a catch block.
Vessik_Error CurrentErrorAsVessik();

}  // namespace vessik
