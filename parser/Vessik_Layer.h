#pragma once

#include <memory>
#include <string>
#include <vector>

#include "parser/Vessik_Color.h"

namespace vessik {

// A layer of the drawing: its name and its colour (7, white, unless the table says
// otherwise).
class Vessik_Layer {
 public:
  Vessik_Layer();
  std::string Name;
  std::shared_ptr<Vessik_Color> Color;
};

// The layer array: shared with the host, and grown by entities on unlisted layers.
using Vessik_Layers = std::vector<std::shared_ptr<Vessik_Layer>>;

}  // namespace vessik
