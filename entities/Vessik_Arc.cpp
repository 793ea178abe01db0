#include "entities/Vessik_Arc.h"

#include <cmath>

#include "entities/CircleGroups.h"
#include "entities/RecordText.h"
#include "geometry/Vessik_Aaa.h"
#include "geometry/Vessik_Math.h"
#include "parser/ParseLimits.h"
#include "parser/Vessik_CommonData.h"
#include "parser/Vessik_Convert.h"
#include "parser/Vessik_Error.h"
#include "parser/Vessik_Utils.h"

namespace vessik {

Vessik_Arc::~Vessik_Arc() {
  PumpMessages();
}

int32_t Vessik_Arc::Vessik_IEntity_Read(int32_t StartLine, Vessik_Layers& Layers) {
  return ReadGroups(StartLine, [&](int32_t code, std::string_view value) {
    if (ReadCircleGroup(*this, code, value, Layers)) return;
    if (code == 50) SA = ParseDouble(value);
    if (code == 51) EA = ParseDouble(value);
  });
}

void Vessik_Arc::Vessik_IEntity_Init(Vessik_CommonData* Data) {
  if (Data == nullptr) RaisePlatformError(errnum::ObjectNotSet);
  ArcMaximumDeviationFactor = Data->ArcMaximumDeviationFactor;
  ArcMinimumSegmentLengthFactor = Data->ArcMinimumSegmentLengthFactor;
  ArcMaximumSegmentLengthFactor = Data->ArcMaximumSegmentLengthFactor;
}

void Vessik_Arc::AppendText(Vessik_Concat& Text, Vessik_Layers& Layers) {
  double sx, sy, sz;
  AbsScales(parent_, sx, sy, sz);
  // Signed and exact: a mirroring scale (-1, 1, 1) counts as non-uniform.
  const bool cut = !IsAxisComponent(ExtrX) || !IsAxisComponent(ExtrY) || !IsAxisComponent(ExtrZ) ||
                   sx != sy || sy != sz;
  if (cut) {
    AppendSegments(Text, Layers);
  } else {
    AppendArc(Text, Layers);
  }
}

void Vessik_Arc::AppendSegments(Vessik_Concat& Text, Vessik_Layers& Layers) {
  // Cut in object coordinates with the unscaled radius, then extrusion, then the
  // block chain: the deviation of the output scales with the chain.
  const Vessik_Point N(ExtrX, ExtrY, ExtrZ);
  BudgetVector<Vessik_Line> L = Arc2Polyline();
  Vessik_Aaa aaa;
  size_t done = 0;
  for (Vessik_Line& line : L) {
    aaa.PlaceEnds(line, N, parent_);
    PumpMessages();
    if (++done % 4096 == 0) PollCancel();
  }
  for (Vessik_Line& line : L) {
    // The segments have no parent: they print as they stand.
    line.AppendText(Text, Layers);
    PumpMessages();
    if (++done % 4096 == 0) PollCancel();
  }
}

void Vessik_Arc::AppendArc(Vessik_Concat& Text, Vessik_Layers& Layers) {
  Vessik_Arc T = Arc2TransformedArc();
  // A mirroring extrusion mirrors the placed arc by a change of sign, after the
  // block chain, and swaps the angles since mirroring reverses the direction. A
  // full circle (0 to 360 as read) is left alone, centre included.
  const bool full = SA == 0 && EA == 360;
  if (ExtrX == -1 && !full) {
    T.CY = -T.CY;
    double s = AddTurnsUntilPositive(-T.SA);
    double e = AddTurnsUntilPositive(-T.EA);
    T.SA = e;
    T.EA = s;
  }
  if (ExtrY == -1 && !full) T.CZ = -T.CZ;
  if (ExtrZ == -1 && !full) {
    T.CX = -T.CX;
    double s = AddTurnsUntilPositive((90 - T.SA) + 90);
    double e = AddTurnsUntilPositive((90 - T.EA) + 90);
    T.SA = e;
    T.EA = s;
  }
  AppendRecord(Text, Layers, 66, {0, 0, 0, 0, 0, 0, T.CX, T.CY, T.CZ, T.R, T.SA, T.EA});
}

Vessik_Arc Vessik_Arc::Arc2TransformedArc() const {
  const Vessik_Point P = Vessik_Point(CX, CY, CZ).rot_sca_abs(parent_);
  Vessik_Arc T;
  T.CX = P.X;
  T.CY = P.Y;
  T.CZ = P.Z;
  // Only uniform scales come here, so XScale stands for all three, sign included.
  T.R = AbsXScale(R, parent_);
  T.SA = AbsRotation(SA, parent_);
  T.EA = AbsRotation(EA, parent_);
  return T;
}

BudgetVector<Vessik_Line> Vessik_Arc::Arc2Polyline() const {
  BudgetVector<Vessik_Line> L;
  double a = SA;
  double e = EA;
  if (e < a) e = e + 360;
  const double step = StepAngle(e - a, R, ArcMaximumDeviationFactor, ArcMinimumSegmentLengthFactor,
                                ArcMaximumSegmentLengthFactor);
  // A run that is sure to pass the limit fails before it makes a point. While |a|
  // stays below 2^50 steps, each addition advances the angle by 7/8 to 9/8 of a
  // step, so the limit's 2^20 + 1 points are made before the end angle when the
  // end lies twice the limit in steps away.
  constexpr double kSurelyPast = 2.0 * kMaxSegments;
  if (step > 0 && std::isfinite(a) && std::isfinite(e) && (e - a) / step > kSurelyPast &&
      std::fabs(a) + kSurelyPast * step < step * 0x1p50) {
    RaisePlatformError(errnum::OutOfMemory);
  }
  // Room for the expected number of segments, so that the list grows once.
  const double expected = (e - a) / step + 2;
  if (expected > 0 && expected < kMaxSegments) L.reserve(static_cast<size_t>(expected));
  Vessik_Point prev;
  for (int32_t i = 0; !(a > e); ++i) {
    Vessik_Point Q(std::cos(Deg2Rad(a)) * R + CX, std::sin(Deg2Rad(a)) * R + CY, CZ);
    if (i > 0) {
      if (i > kMaxSegments) RaisePlatformError(errnum::OutOfMemory);
      if (i % 4096 == 0) PollCancel();
      Vessik_Line& line = L.emplace_back();
      line.X1 = prev.X;
      line.Y1 = prev.Y;
      line.Z1 = prev.Z;
      line.X2 = Q.X;
      line.Y2 = Q.Y;
      line.Z2 = Q.Z;
      line.Id = Id;
      line.Layer = Layer;
      line.Color = Color;
    }
    prev = Q;
    if (a == e) break;
    // An angle that is not a number ends the run after its first point.
    if (std::isnan(a) || std::isnan(e)) break;
    double next = a + step;
    // A step that does not advance the angle (too small to count, or not a
    // number) jumps to the end angle, so that the run always ends.
    if (!(next > a)) next = e;
    a = next;
    if (a > e) a = e;
  }
  return L;
}

double Vessik_Arc::StepAngle(double Angle, double R, double MaxDev, double MinLength,
                             double MaxLength) {
  if (MaxDev > R) MaxDev = R;
  const double L = (R * 6.28318530717958) * (Angle / 360);
  if (R <= 0 || MinLength <= 0 || MaxLength <= 0) return 1.0;
  // Most segments that stay no shorter than MinLength, fewest near MaxLength.
  int32_t nMax = CeilToLong(L / MinLength);
  int32_t nMin = RoundToLong(L / MaxLength);
  // Half the angle and the chord of a segment whose sagitta is MaxDev.
  const double h = ArcCos((R - MaxDev) / R);
  const double s = (R - MaxDev) * 2 * std::tan(h);
  if (s <= 0) return 1.0;
  int32_t n = CeilToLong(L / s);
  if (n > nMax) n = nMax;
  // Last, so that MaxLength wins over MinLength.
  if (n < nMin) n = nMin;
  return Angle / n;
}

Vessik_Point Vessik_Arc::Point2Plane(double PtX, double PtY, double ExtrX, double ExtrY,
                                     double ExtrZ) {
  double a = ArcSin(ExtrX);
  const double b = ArcSin(ExtrY);
  if (ExtrZ < 0) {
    if (a > 0) {
      a = Pi - a;
    } else {
      a = a - Pi;
    }
  }
  const Vessik_Point Q(std::cos(a) * PtX, PtY, (PtX * -1.0) * std::sin(a));
  return Vessik_Point(Q.X, std::cos(b) * Q.Y - std::sin(b) * Q.Z,
                      std::sin(b) * Q.Y + std::cos(b) * Q.Z);
}

std::string Vessik_Arc::ToString(int32_t Id, std::string_view LayerName, int32_t LayerId,
                                 int32_t LayerColor, double CX, double CY, double CZ, double R,
                                 double SA, double EA) {
  return RecordText(Id, 66, LayerName, LayerId, LayerColor,
                    {0, 0, 0, 0, 0, 0, CX, CY, CZ, R, SA, EA});
}

double AddTurnsUntilPositive(double v) {
  // Within one binary exponent range of v every addition of 360 adds the same
  // rounded amount, so a long run of additions there is one exact multiplication.
  // Only the steps near a range boundary are taken one by one; the result is the
  // one the plain loop would give, without its run time for very large angles.
  constexpr double kTurn = 360;
  double lastStep = 0;
  int lastExp = 0;
  while (!(v > 0)) {
    const double n = v + kTurn;
    if (std::isnan(n) || n == v) break;
    int expBefore = 0;
    std::frexp(v, &expBefore);
    const double d = n - v;
    v = n;
    if (v > 0) break;
    int expAfter = 0;
    std::frexp(v, &expAfter);
    if (d == lastStep && expBefore == expAfter && lastExp == expAfter) {
      // Every value down to the boundary of this range takes the step d; stop two
      // steps short of it so that no exact sum falls across the boundary.
      const double boundary = -std::ldexp(1.0, expAfter - 1);
      const double j = std::floor((boundary - v) / d) - 2;
      if (j > 0) v = v + j * d;
    }
    lastStep = d;
    lastExp = expBefore;
  }
  return v;
}

}  // namespace vessik
