#pragma once

#include <cstdint>

namespace vessik {

/// A colour as its DXF colour number and as packed RGB (red + 256 × green +
/// 65536 × blue).
class Vessik_Color {
 public:
  /// The DXF colour number.
  int32_t ColorACI() const { return aci_; }
  /// Sets the colour number, and the RGB value that it stands for.
  void ColorACI(int32_t value);
  /// The packed RGB value.
  int32_t ColorRGB() const { return rgb_; }
  /// Sets the packed RGB value alone.
  void ColorRGB(int32_t value) { rgb_ = value; }

 private:
  int32_t aci_ = 0;
  int32_t rgb_ = 0;
};

}  // namespace vessik
