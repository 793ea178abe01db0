#include "parser/Vessik_Error.h"

#include <algorithm>
#include <array>
#include <new>
#include <stdexcept>
#include <utility>

namespace vessik {

Vessik_Error::Vessik_Error(int32_t number, std::string source, std::string description)
    : number_(number), source_(std::move(source)), description_(std::move(description)) {}

namespace {

// Numbers up to 91 are the runtime's; the others are the library's own.
constexpr std::array<ErrorInfo, 16> kCatalogue{{
    {errnum::InvalidProcedureCall, "InvalidProcedureCall", "", "Invalid procedure call or argument",
     "an argument outside what a routine accepts; any failure of no other kind"},
    {errnum::InvalidProcedureCall, "InStrCountStart", "InStrCount Function",
     "Start can't be smaller than 1", "counting occurrences in a text from a start below 1"},
    {errnum::Overflow, "Overflow", "", "Overflow",
     "a number that does not fit the 16- or 32-bit integer it must become"},
    {errnum::OutOfMemory, "OutOfMemory", "", "Out of memory",
     "an allocation fails or would pass the parse's memory budget, a file of 4 GiB or more, an "
     "arc cut into more than 2^20 segments, or a spline whose degree needs a work array of "
     "more than 2^28 numbers"},
    {errnum::SubscriptOutOfRange, "SubscriptOutOfRange", "", "Subscript out of range",
     "a position outside an array or collection, or a pair past the end of the drawing"},
    {errnum::DivisionByZero, "DivisionByZero", "", "Division by zero",
     "normalising a vector of length 0"},
    {errnum::TypeMismatch, "TypeMismatch", "", "Type mismatch",
     "text that is no number where an integer is expected"},
    {errnum::OutOfStackSpace, "OutOfStackSpace", "", "Out of stack space",
     "block references nested deeper than 256 levels, a block that holds itself included"},
    {errnum::FileNotFound, "FileNotFound", "", "File not found", "the drawing file does not exist"},
    {errnum::PathFileAccess, "PathFileAccess", "", "Path/File access error",
     "the drawing exists but is no regular file, cannot be opened or read, or is cut short, "
     "written to or replaced while it is read; or an output file cannot be written"},
    {errnum::ObjectNotSet, "ObjectNotSet", "", "Object variable or With block variable not set",
     "a call on a missing object: an ENDBLK with no BLOCK before it, a polyline Y before any X"},
    {errnum::SectionNotFound, "SectionNotFound", "", "SECTION tag not found. DXF file is invalid.",
     "the drawing has no SECTION keyword"},
    {errnum::ParsingFailed, "ParsingFailed", "", "Error during parsing of DXF file at line #",
     "the group pairs cannot be made (a group code that is no 32-bit number); the number of the "
     "failing code line follows the words"},
    {errnum::InsertComponent, "InsertComponent", "Rendak.Vessik_Insert.Vessik_IEntity_Release",
     "Vessik_Insert component failure", "releasing a block reference that holds no entities"},
    {errnum::TooManyIterations, "TooManyIterations", "", "Iterations above 10000 reduce tolerance.",
     "fitting a spline or an ellipse needs more than 10000 steps for its tolerance"},
    {errnum::InvalidSpan, "InvalidSpan", "", "Invalid span variable.",
     "a spline's knots are out of order, so that the search of a knot span does not end"},
}};

}  // namespace

std::span<const ErrorInfo> ErrorCatalogue() {
  return kCatalogue;
}

const ErrorInfo& CataloguedError(std::string_view name) {
  const auto it = std::find_if(kCatalogue.begin(), kCatalogue.end(),
                               [name](const ErrorInfo& e) { return e.Name == name; });
  if (it == kCatalogue.end()) throw std::out_of_range("no failure named " + std::string(name));
  return *it;
}

std::string PlatformErrorText(int32_t number) {
  // The first row of a number holds its runtime words.
  for (const ErrorInfo& e : kCatalogue) {
    if (e.Number == number && e.Source.empty() && number > 0 && number <= 91) {
      return std::string(e.Text);
    }
  }
  return "Application-defined or object-defined error";
}

void RaiseCatalogued(const ErrorInfo& error, std::string_view detail) {
  std::string text(error.Text);
  text += detail;
  throw Vessik_Error(error.Number, std::string(error.Source), std::move(text));
}

void RaisePlatformError(int32_t number) {
  throw Vessik_Error(number, std::string(), PlatformErrorText(number));
}

bool InFlightIsOutOfMemory() {
  try {
    throw;
  } catch (const std::bad_alloc&) {
    return true;
  } catch (const std::length_error&) {
    return true;
  } catch (...) {
    return false;
  }
}

Vessik_Error CurrentErrorAsVessik() {
  try {
    throw;
  } catch (const Vessik_Error& e) {
    return e;
  } catch (...) {
    const int32_t number =
        InFlightIsOutOfMemory() ? errnum::OutOfMemory : errnum::InvalidProcedureCall;
    return Vessik_Error(number, std::string(), PlatformErrorText(number));
  }
}

}  // namespace vessik
