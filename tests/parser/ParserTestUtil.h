// Helpers of the parser tests.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>

#include "parser/Vessik_Error.h"

namespace vessik::test {

// The number of the library failure the call raises; a test failure when it
// raises none.
template <class F>
int32_t FailureNumber(F&& f) {
  try {
    f();
  } catch (const Vessik_Error& e) {
    return e.Number();
  }
  ADD_FAILURE() << "no failure raised";
  return 0;
}

}  // namespace vessik::test
