#include "spline/Vessik_CurvePointValid.h"

namespace vessik {

bool& CurvePointValid() {
  thread_local bool valid = false;
  return valid;
}

}  // namespace vessik
