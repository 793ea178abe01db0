// The fields and the conduct that the entity classes share: Id, Layer and Color
// first, a Parent link, and the colour and layer name rules.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "entities/Vessik_IEntity.h"
#include "parser/Vessik_Color.h"

namespace vessik {

// The colour an entity prints: its own, else its layer's, else white.
int32_t EntityColor(const Vessik_Color* Color, int32_t Layer, const Vessik_Layers& Layers);
// The name of the entity's layer, or "NoName" where there is none.
std::string_view EntityLayerName(int32_t Layer, const Vessik_Layers& Layers);

// A new colour whose number is the text converted to a 32-bit integer; the colour
// object exists even when the conversion fails.
void ReadColor(std::shared_ptr<Vessik_Color>& Color, std::string_view Value);

class Vessik_Entity : public Vessik_IEntity {
 public:
  int32_t Id = 0;
  int32_t Layer = 0;
  std::shared_ptr<Vessik_Color> Color;

  Vessik_IParent* Vessik_IEntity_Parent() const override { return parent_; }
  void Vessik_IEntity_Parent(Vessik_IParent* value) override { parent_ = value; }
  int32_t Vessik_IEntity_Color(Vessik_Layers& Layers) override {
    return EntityColor(Color.get(), Layer, Layers);
  }
  std::string Vessik_IEntity_LayerName(Vessik_Layers& Layers) override {
    return std::string(EntityLayerName(Layer, Layers));
  }
  void Vessik_IEntity_Release() override { parent_ = nullptr; }
  std::string Vessik_IEntity_ToString(Vessik_Layers& Layers) override;
  void Vessik_IEntity_Init(Vessik_CommonData*) override {}

  // Takes a group that every entity reads the same way: handle (5), layer (8) and
  // colour (62). False when the code is none of them.
  bool ReadSharedGroup(int32_t code, std::string_view value, Vessik_Layers& Layers);

 protected:
  // Prints one record of this entity's Id, layer and colour.
  void AppendRecord(Vessik_Concat& Text, Vessik_Layers& Layers, int32_t RecordType,
                    const double (&Columns)[12]);
  Vessik_IParent* parent_ = nullptr;
};

// Walks the pairs from StartLine up to the next code 0, handing each other pair to
// onGroup(code, value); returns the index in front of that code 0.
template <class OnGroup>
int32_t ReadGroups(int32_t StartLine, OnGroup&& onGroup);

}  // namespace vessik

#include "parser/GroupPairs.h"
#include "parser/ParseLimits.h"

namespace vessik {

template <class OnGroup>
int32_t ReadGroups(int32_t StartLine, OnGroup&& onGroup) {
  const GroupPairTable& pairs = GroupPairs();
  for (int32_t i = StartLine;; ++i) {
    const GroupPair pair = pairs[i];
    if (pair.Code == 0) return i - 1;
    onGroup(pair.Code, pair.Value);
    // One entity may hold millions of groups (a long polyline).
    if ((i & 0xFFFF) == 0) PollCancel();
  }
}

}  // namespace vessik
