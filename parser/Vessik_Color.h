#pragma once

#include <cstdint>

namespace vessik {

// A colour as its DXF colour number and as packed RGB (red + 256 × green +
// 65536 × blue). Setting the number sets the RGB value too.
class Vessik_Color {
 public:
  int32_t ColorACI() const { return aci_; }
  void ColorACI(int32_t value);
  int32_t ColorRGB() const { return rgb_; }
  void ColorRGB(int32_t value) { rgb_ = value; }

 private:
  int32_t aci_ = 0;
  int32_t rgb_ = 0;
};

}  // namespace vessik
