#include "parser/Vessik_Error.h"

#include <new>
#include <utility>

namespace vessik {

Vessik_Error::Vessik_Error(int32_t number, std::string source, std::string description)
    : number_(number), source_(std::move(source)), description_(std::move(description)) {}

std::string PlatformErrorText(int32_t number) {
  switch (number) {
    case errnum::InvalidProcedureCall:
      return "Invalid procedure call or argument";
    case errnum::Overflow:
      return "Overflow";
    case errnum::OutOfMemory:
      return "Out of memory";
    case errnum::SubscriptOutOfRange:
      return "Subscript out of range";
    case errnum::DivisionByZero:
      return "Division by zero";
    case errnum::TypeMismatch:
      return "Type mismatch";
    case errnum::OutOfStackSpace:
      return "Out of stack space";
    case errnum::FileNotFound:
      return "File not found";
    case errnum::PathFileAccess:
      return "Path/File access error";
    case errnum::ObjectNotSet:
      return "Object variable or With block variable not set";
    default:
      return "Application-defined or object-defined error";
  }
}

void RaisePlatformError(int32_t number) {
  throw Vessik_Error(number, std::string(), PlatformErrorText(number));
}

void RaiseError(int32_t number, std::string source, std::string description) {
  throw Vessik_Error(number, std::move(source), std::move(description));
}

Vessik_Error CurrentErrorAsVessik() {
  try {
    throw;
  } catch (const Vessik_Error& e) {
    return e;
  } catch (const std::bad_alloc&) {
    return Vessik_Error(errnum::OutOfMemory, std::string(), PlatformErrorText(errnum::OutOfMemory));
  } catch (...) {
    return Vessik_Error(errnum::InvalidProcedureCall, std::string(),
                        PlatformErrorText(errnum::InvalidProcedureCall));
  }
}

}  // namespace vessik
