#pragma once

#include <memory>
#include <string>
#include <vector>

#include "Vessik_Color.h"

namespace vessik {

/// A layer of the drawing: its name and its colour.
class Vessik_Layer {
 public:
  /// Makes a layer with no name and colour 7, white.
  Vessik_Layer();
  /// The layer's name, as the file writes it.
  std::string Name;
  /// The layer's colour.
  std::shared_ptr<Vessik_Color> Color;
};

/// The layer array: shared with the host, and grown by entities on unlisted layers.
using Vessik_Layers = std::vector<std::shared_ptr<Vessik_Layer>>;

}  // namespace vessik
