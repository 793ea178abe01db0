#include "parser/Vessik_Layer.h"

namespace vessik {

Vessik_Layer::Vessik_Layer() : Color(std::make_shared<Vessik_Color>()) {
  Color->ColorACI(7);
}

}  // namespace vessik
