#include "entities/Vessik_Ellipse.h"

#include <cmath>

#include "geometry/Vessik_Math.h"
#include "parser/Vessik_CommonData.h"
#include "parser/Vessik_Error.h"
#include "parser/Vessik_Utils.h"

namespace vessik {

namespace {

// Beyond this many pieces a tolerance can not be met by rounding any more; the
// chain would grow for ever.
constexpr int32_t kMaxPieces = 10000;

}  // namespace

int32_t Vessik_Ellipse::Vessik_IEntity_Read(int32_t StartLine, Vessik_Layers& Layers) {
  return ReadGroups(StartLine, [&](int32_t code, std::string_view value) {
    if (ReadSharedGroup(code, value, Layers)) return;
    switch (code) {
      case 10:
        CX1 = ParseDouble(value);
        break;
      case 20:
        CY1 = ParseDouble(value);
        break;
      case 30:
        CZ1 = ParseDouble(value);
        break;
      case 11:
        CX2 = ParseDouble(value);
        break;
      case 21:
        CY2 = ParseDouble(value);
        break;
      case 31:
        CZ2 = ParseDouble(value);
        break;
      case 40:
        Ratio = ParseDouble(value);
        break;
      case 41:
        SA = ParseDouble(value);
        break;
      case 42:
        EA = ParseDouble(value);
        break;
      default:
        break;
    }
  });
}

void Vessik_Ellipse::Vessik_IEntity_Init(Vessik_CommonData* Data) {
  if (Data == nullptr) RaisePlatformError(errnum::ObjectNotSet);
  SetBackgroundValues();
  Ellipse2Arcs(Data->Tolerance);
}

void Vessik_Ellipse::SetBackgroundValues() {
  axisAngle_ = ArcTan2(CX2, CY2);
  majorRadius_ = std::sqrt(CX2 * CX2 + CY2 * CY2);
  minorRadius_ = majorRadius_ * Ratio;
  // No normalisation: an end below the start walks the ellipse backwards.
  ext_ = EA - SA;
}

Vessik_Point Vessik_Ellipse::EllipsePoint(double t) const {
  const double x = std::cos(t) * majorRadius_ * std::cos(axisAngle_) -
                   std::sin(t) * minorRadius_ * std::sin(axisAngle_) + CX1;
  const double y = std::sin(t) * minorRadius_ * std::cos(axisAngle_) +
                   std::cos(t) * majorRadius_ * std::sin(axisAngle_) + CY1;
  return Vessik_Point(x, y, 0);
}

double Vessik_Ellipse::EllipseTangent(double t) const {
  // Direction of increasing t, also for a negative sweep; the biarc normalises it.
  return ArcTan2(std::cos(t) * minorRadius_, std::sin(t) * majorRadius_) + axisAngle_ +
         3.14159265358979 / 2;
}

void Vessik_Ellipse::Ellipse2Arcs(double Tolerance) {
  int32_t n = 2;
  dimensioned_ = false;
  for (;;) {
    double t = SA;
    Vessik_Point P = EllipsePoint(t);
    double T = EllipseTangent(t);
    biArcs_.clear();
    bool passed = true;
    for (int32_t i = 1; i <= n; ++i) {
      // Formed afresh each round: rounding adds up along the chain.
      const double step = ext_ / n;
      const double t1 = step + t;
      Vessik_Point Q = EllipsePoint(t1);
      const double T1 = EllipseTangent(t1);
      biArcs_.emplace_back();
      dimensioned_ = true;
      Vessik_BiArc& B = biArcs_.back();
      B.Pa = P;
      B.Pb = Q;
      B.Tana = T;
      B.Tanb = T1;
      B.MinR = Tolerance / 100;
      B.Parent = parent_;
      B.Init(Id, Layer, Color);
      P = Q;
      T = T1;
      if (!CheckBiArc(B, Tolerance, t, t1)) {
        passed = false;
        break;
      }
      t = t1;
    }
    if (passed) return;
    if (n + 1 > kMaxPieces) {
      RaiseCatalogued(CataloguedError("TooManyIterations"));
    }
    n = n + 1;
  }
}

bool Vessik_Ellipse::CheckBiArc(const Vessik_BiArc& B, double Tolerance, double t0,
                                double t1) const {
  const double d = (t1 - t0) / 4;
  double M = MostNegative;
  for (int32_t i = 1; i <= 3; ++i) {
    double e = B.get_biarc_fitting_error(EllipsePoint(i * d + t0));
    if (e > M) M = e;
  }
  return M < Tolerance;
}

void Vessik_Ellipse::AppendText(Vessik_Concat& Text, Vessik_Layers& Layers) {
  if (!dimensioned_) return;
  for (const Vessik_BiArc& B : biArcs_) {
    B.AppendText(Text, Layers);
    PumpMessages();
  }
}

void Vessik_Ellipse::Vessik_IEntity_Release() {
  if (dimensioned_) {
    for (Vessik_BiArc& B : biArcs_) B.Release();
  }
  parent_ = nullptr;
}

}  // namespace vessik
