#include "entities/Vessik_Vertex.h"

#include "geometry/Vessik_Math.h"
#include "parser/GroupPairs.h"
#include "parser/Vessik_Utils.h"

namespace vessik {

int32_t Vessik_Vertex::Read(int32_t StartLine, const Vessik_Layers& Layers) {
  Bulge = 0;
  const GroupPairTable& pairs = GroupPairs();
  int32_t i = StartLine;
  for (;; ++i) {
    const int32_t code = pairs.Code(i);
    if (code == 0) break;
    const std::string_view value = pairs.Value(i);
    switch (code) {
      case 5:
        Id = HandleToId(value);
        break;
      case 8:
        for (size_t k = 0; k < Layers.size(); ++k) {
          if (Layers[k]->Name == value) {
            Layer = static_cast<int32_t>(k);
            break;
          }
        }
        break;
      case 10:
        X = ParseDouble(value);
        break;
      case 20:
        Y = ParseDouble(value);
        break;
      case 30:
        Z = ParseDouble(value);
        break;
      case 42:
        Bulge = ParseDouble(value);
        break;
      default:
        // Group 70 among them: every kind of vertex counts as a plain one.
        break;
    }
  }
  return i;
}

}  // namespace vessik
