#include "parser/Vessik_Color.h"

#include "geometry/Vessik_Math.h"

namespace vessik {

void Vessik_Color::ColorACI(int32_t value) {
  // The RGB rule can fail (the absolute value of the smallest number); the number
  // is stored only when it succeeds.
  int32_t rgb = ColorFromACI(value);
  aci_ = value;
  rgb_ = rgb;
}

}  // namespace vessik
