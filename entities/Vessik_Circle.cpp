#include "entities/Vessik_Circle.h"

#include <algorithm>
#include <cmath>
#include <iterator>

#include "entities/CircleGroups.h"
#include "entities/RecordText.h"
#include "geometry/Vessik_Math.h"
#include "geometry/Vessik_Point.h"
#include "parser/Vessik_Convert.h"
#include "parser/Vessik_Utils.h"

namespace vessik {
namespace {

// The bounding box, then the circle itself.
void BoxAndCircle(double CX, double CY, double CZ, double R, double (&columns)[12]) {
  const double values[12] = {CX - R, CY - R, CZ, CX + R, CY + R, CZ, CX, CY, CZ, R, 0, 0};
  std::copy(std::begin(values), std::end(values), std::begin(columns));
}

}  // namespace

Vessik_Circle::~Vessik_Circle() {
  PumpMessages();
}

int32_t Vessik_Circle::Vessik_IEntity_Read(int32_t StartLine, Vessik_Layers& Layers) {
  return ReadGroups(StartLine, [&](int32_t code, std::string_view value) {
    ReadCircleGroup(*this, code, value, Layers);
  });
}

void Vessik_Circle::AppendText(Vessik_Concat& Text, Vessik_Layers& Layers) {
  double sx, sy, sz;
  AbsScales(parent_, sx, sy, sz);
  // Scales compared without their signs: a mirroring reference keeps a circle.
  const bool toArc = std::fabs(sy) != std::fabs(sx) || std::fabs(sz) != std::fabs(sy) ||
                     !IsAxisComponent(ExtrX) || !IsAxisComponent(ExtrY) || !IsAxisComponent(ExtrZ);
  if (toArc) return Circle2Arc().AppendText(Text, Layers);
  // The centre goes in at Z 0 and the record carries the circle's own CZ: the block
  // chain does not reach the Z of a circle record.
  Vessik_Point C = Vessik_Point(CX, CY, 0).rot_sca_abs(parent_);
  const double r = std::fabs(AbsXScale(R, parent_));
  if (ExtrX == -1) C.Y = -C.Y;
  if (ExtrY == -1) C.Z = -C.Z;
  if (ExtrZ == -1) C.X = -C.X;
  double columns[12];
  BoxAndCircle(C.X, C.Y, CZ, r, columns);
  AppendRecord(Text, Layers, 75, columns);
}

Vessik_Arc Vessik_Circle::Circle2Arc() const {
  Vessik_Arc A;
  A.CX = CX;
  A.CY = CY;
  A.CZ = CZ;
  A.R = R;
  A.SA = 0;
  A.EA = 360;
  A.ExtrX = ExtrX;
  A.ExtrY = ExtrY;
  A.ExtrZ = ExtrZ;
  A.Id = Id;
  A.Layer = Layer;
  A.Color = Color;
  A.Vessik_IEntity_Parent(parent_);
  A.Vessik_IEntity_Init(data_);
  return A;
}

std::string Vessik_Circle::ToString(int32_t Id, std::string_view LayerName, int32_t LayerId,
                                    int32_t LayerColor, double CX, double CY, double CZ, double R) {
  double columns[12];
  BoxAndCircle(CX, CY, CZ, R, columns);
  return RecordText(Id, 75, LayerName, LayerId, LayerColor, columns);
}

}  // namespace vessik
