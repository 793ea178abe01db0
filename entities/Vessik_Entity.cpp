#include "entities/Vessik_Entity.h"

#include "entities/RecordText.h"
#include "geometry/Vessik_Math.h"
#include "parser/Vessik_Convert.h"
#include "parser/Vessik_Error.h"

namespace vessik {

int32_t EntityColor(const Vessik_Color* Color, int32_t Layer, const Vessik_Layers& Layers) {
  if (Color != nullptr) return Color->ColorRGB();
  if (!Layers.empty() && Layer >= 0) {
    if (static_cast<size_t>(Layer) >= Layers.size()) {
      RaisePlatformError(errnum::SubscriptOutOfRange);
    }
    const auto& layer = Layers[static_cast<size_t>(Layer)];
    if (!layer->Color) RaisePlatformError(errnum::ObjectNotSet);
    return layer->Color->ColorRGB();
  }
  return 16777215;
}

std::string_view EntityLayerName(int32_t Layer, const Vessik_Layers& Layers) {
  if (!Layers.empty() && Layer >= 0) {
    if (static_cast<size_t>(Layer) >= Layers.size()) {
      RaisePlatformError(errnum::SubscriptOutOfRange);
    }
    return Layers[static_cast<size_t>(Layer)]->Name;
  }
  return "NoName";
}

bool Vessik_Entity::ReadSharedGroup(int32_t code, std::string_view value, Vessik_Layers& Layers) {
  switch (code) {
    case 5:
      Id = HandleToId(value);
      return true;
    case 8:
      Layer = LayerIndex(Layers, value);
      return true;
    case 62:
      ReadColor(Color, value);
      return true;
    default:
      return false;
  }
}

std::string Vessik_Entity::Vessik_IEntity_ToString(Vessik_Layers& Layers) {
  Vessik_Concat text;
  AppendText(text, Layers);
  return text.TakeValue();
}

void Vessik_Entity::AppendRecord(Vessik_Concat& Text, Vessik_Layers& Layers, int32_t RecordType,
                                 const double (&Columns)[12]) {
  // Layer name and colour are asked for in this order, as the record lists them.
  const std::string_view layerName = EntityLayerName(Layer, Layers);
  vessik::AppendRecord(Text, Id, RecordType, layerName, Layer, Vessik_IEntity_Color(Layers),
                       Columns);
}

void ReadColor(std::shared_ptr<Vessik_Color>& Color, std::string_view Value) {
  Color = std::make_shared<Vessik_Color>();
  Color->ColorACI(TextToLong(Value));
}

}  // namespace vessik
