#include "entities/Vessik_Line.h"

#include "entities/RecordText.h"
#include "geometry/Vessik_ArcGeo.h"
#include "geometry/Vessik_Math.h"
#include "geometry/Vessik_Point.h"
#include "parser/Vessik_Convert.h"
#include "parser/Vessik_Utils.h"

namespace vessik {

Vessik_Line::~Vessik_Line() {
  PumpMessages();
}

int32_t Vessik_Line::Vessik_IEntity_Read(int32_t StartLine, Vessik_Layers& Layers) {
  return ReadGroups(StartLine, [&](int32_t code, std::string_view value) {
    if (ReadSharedGroup(code, value, Layers)) return;
    switch (code) {
      case 10:
        X1 = ParseDouble(value);
        break;
      case 20:
        Y1 = ParseDouble(value);
        break;
      case 30:
        Z1 = ParseDouble(value);
        break;
      case 11:
        X2 = ParseDouble(value);
        break;
      case 21:
        Y2 = ParseDouble(value);
        break;
      case 31:
        Z2 = ParseDouble(value);
        break;
      default:
        break;
    }
  });
}

void Vessik_Line::AppendText(Vessik_Concat& Text, Vessik_Layers& Layers) {
  if (Bulge != 0) return AppendBulgeText(Text, Layers);
  // Placement is applied at print time; the fields keep the values read, so a line
  // in a block placed twice prints twice, differently.
  const Vessik_Point p0 = Vessik_Point(X1, Y1, Z1).rot_sca_abs(parent_);
  const Vessik_Point p1 = Vessik_Point(X2, Y2, Z2).rot_sca_abs(parent_);
  AppendRecord(Text, Layers, 83, {p0.X, p0.Y, p0.Z, p1.X, p1.Y, p1.Z, 0, 0, 0, 0, 0, 0});
}

void Vessik_Line::AppendBulgeText(Vessik_Concat& Text, Vessik_Layers& Layers) {
  // The arc through both ends: its centre lies on the chord's left normal, h times
  // half the chord away from the midpoint. Only X and Y count; the arc lies at Z 0.
  const double b = Bulge;
  const double h = (1 / b - b) / 2;
  Vessik_ArcGeo arc;
  arc.O.X = ((X1 + X2) - (Y2 - Y1) * h) / 2;
  arc.O.Y = ((X2 - X1) * h + (Y1 + Y2)) / 2;
  // The arc always runs counter-clockwise from Pa to Pe: a negative bulge swaps ends.
  if (!(b > 0)) {
    arc.Pe = Vessik_Point(X1, Y1, 0);
    arc.Pa = Vessik_Point(X2, Y2, 0);
  } else {
    arc.Pa = Vessik_Point(X1, Y1, 0);
    arc.Pe = Vessik_Point(X2, Y2, 0);
  }
  arc.R = arc.O.Distance(arc.Pa);
  arc.SA = arc.O.NormAngle(arc.Pa);
  arc.EA = arc.O.NormAngle(arc.Pe);
  arc.Vessik_IEntity_Parent(parent_);
  arc.Init(Id, Layer, Color, 1.0);
  arc.AppendText(Text, Layers);
}

std::string Vessik_Line::ToString(int32_t Id, std::string_view LayerName, int32_t LayerId,
                                  int32_t LayerColor, double X1, double Y1, double Z1, double X2,
                                  double Y2, double Z2) {
  return RecordText(Id, 83, LayerName, LayerId, LayerColor,
                    {X1, Y1, Z1, X2, Y2, Z2, 0, 0, 0, 0, 0, 0});
}

}  // namespace vessik
