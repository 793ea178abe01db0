#include "geometry/Vessik_LineGeo.h"

#include <cmath>
#include <utility>

#include "parser/Vessik_Utils.h"

namespace vessik {

Vessik_LineGeo::~Vessik_LineGeo() {
  PumpMessages();
}

void Vessik_LineGeo::Init(int32_t pId, int32_t pLayer, std::shared_ptr<Vessik_Color> pColor) {
  Id = pId;
  Layer = pLayer;
  Color = std::move(pColor);
  length = Pa.Distance(Pe);
}

Vessik_Line Vessik_LineGeo::GenerateLine() const {
  const Vessik_Point A = Vessik_Point(Pa.X, Pa.Y, 0).rot_sca_abs(parent_);
  Vessik_Line L;
  L.X1 = A.X;
  L.Y1 = A.Y;
  const Vessik_Point B = Vessik_Point(Pe.X, Pe.Y, 0).rot_sca_abs(parent_);
  L.X2 = B.X;
  L.Y2 = B.Y;
  return L;
}

double Vessik_LineGeo::distance2point(const Vessik_Point& Pt) const {
  // Heron's formula on the triangle Pa, Pe, Pt.
  const double a = Pa.Distance(Pe);
  const double b = Pa.Distance(Pt);
  const double c = Pe.Distance(Pt);
  const double s = (a + b + c) / 2;
  if (a == 0) return 10000000000.0;
  // Rounding can take the product of a nearly flat triangle just below 0.
  const double area = std::sqrt(std::fabs((s - a) * s * (s - b) * (s - c)));
  return std::fabs(2 * area / a);
}

void Vessik_LineGeo::AppendText(Vessik_Concat& Text, Vessik_Layers& Layers) {
  const Vessik_Line L = GenerateLine();
  AppendRecord(Text, Layers, 83, {L.X1, L.Y1, L.Z1, L.X2, L.Y2, L.Z2, 0, 0, 0, 0, 0, 0});
}

}  // namespace vessik
