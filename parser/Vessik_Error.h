// The one failure type of the library: a number, a source and a description,
// the way a host sees every failure of Parse2.
#pragma once

#include <cstdint>
#include <exception>
#include <span>
#include <string>
#include <string_view>

namespace vessik {

/// Numbers of the failures that the library raises. Each has its row in
/// ErrorCatalogue(), which also gives its name, source, words and cause.
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

/// The failure of a parse: every error the library raises is one of these.
class Vessik_Error : public std::exception {
 public:
  /// Makes a failure with this number, source and description.
  Vessik_Error(int32_t number, std::string source, std::string description);

  /// The failure's number (see ErrorCatalogue()).
  int32_t Number() const noexcept { return number_; }
  /// Where it was raised, for the few failures that say; mostly empty.
  const std::string& Source() const noexcept { return source_; }
  /// The failure's words.
  const std::string& Description() const noexcept { return description_; }
  /// The description.
  const char* what() const noexcept override { return description_.c_str(); }

 private:
  int32_t number_;
  std::string source_;
  std::string description_;
};

/// One failure the library can raise: its number, a name for code, the source
/// and words a host receives, and when it is raised.
struct ErrorInfo {
  /// The number a host receives.
  int32_t Number;
  /// A name for code and tables; unique, unlike the number.
  std::string_view Name;
  /// The source a host receives; mostly empty.
  std::string_view Source;
  /// The description; for ParsingFailed the line number follows it.
  std::string_view Text;
  /// When the library raises it, in a few words.
  std::string_view RaisedWhen;
};

/// Every failure of the library, one row each, ordered by number. The C header,
/// the Python module, the COM server and the README take their numbers and words
/// from here, and the tests hold them to it.
std::span<const ErrorInfo> ErrorCatalogue();

/// The row of the catalogue with this name; throws std::out_of_range if none.
const ErrorInfo& CataloguedError(std::string_view name);

/// The words of a runtime failure ("Subscript out of range" for 9 and so on), or
/// "Application-defined or object-defined error" for a number of no runtime failure.
std::string PlatformErrorText(int32_t number);

/// Raises a runtime failure with its standard words and no source.
[[noreturn]] void RaisePlatformError(int32_t number);

/// Raises the failure of that catalogue row, with its source and words and the
/// detail (if any) appended to the words.
[[noreturn]] void RaiseCatalogued(const ErrorInfo& error, std::string_view detail = {});

/// Whether the exception in flight is memory running out: std::bad_alloc, or
/// std::length_error (a container asked for more than it can ever hold). Call
/// only inside a catch block.
bool InFlightIsOutOfMemory();

/// Turns any exception in flight into a Vessik_Error: std::bad_alloc becomes 7,
/// anything unknown becomes 5. Call only inside a catch block.
Vessik_Error CurrentErrorAsVessik();

}  // namespace vessik
