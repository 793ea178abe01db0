// The CIRCLE entity: one circle record where the placement keeps it a circle, else
// a full arc that prints as straight segments.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "entities/Vessik_Arc.h"
#include "entities/Vessik_Entity.h"

namespace vessik {

class Vessik_Circle : public Vessik_Entity {
 public:
  // Centre and radius in the object coordinates of the extrusion direction.
  double CX = 0, CY = 0, CZ = 0;
  double R = 0;
  double ExtrX = 0, ExtrY = 0, ExtrZ = 1;

  Vessik_Circle() = default;
  Vessik_Circle(const Vessik_Circle&) = default;
  Vessik_Circle(Vessik_Circle&&) = default;
  Vessik_Circle& operator=(const Vessik_Circle&) = default;
  Vessik_Circle& operator=(Vessik_Circle&&) = default;
  ~Vessik_Circle() override;

  int32_t Vessik_IEntity_Read(int32_t StartLine, Vessik_Layers& Layers) override;
  void AppendText(Vessik_Concat& Text, Vessik_Layers& Layers) override;
  // Keeps the settings for the case that the circle has to become an arc.
  void Vessik_IEntity_Init(Vessik_CommonData* Data) override { data_ = Data; }

  // One circle record (type 75) of values already in world coordinates.
  static std::string ToString(int32_t Id, std::string_view LayerName, int32_t LayerId,
                              int32_t LayerColor, double CX, double CY, double CZ, double R);

  // The full arc (0 to 360 degrees) of this circle, with its settings and parent.
  Vessik_Arc Circle2Arc() const;

 private:
  Vessik_CommonData* data_ = nullptr;
};

}  // namespace vessik
