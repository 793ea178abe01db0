#include "entities/Vessik_Ellipse.h"

#include <cmath>

#include "geometry/Vessik_Math.h"
#include "parser/ParseLimits.h"
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
  // Every point needs these two; they depend on the axis alone.
  cosAxis_ = std::cos(axisAngle_);
  sinAxis_ = std::sin(axisAngle_);
  majorRadius_ = std::sqrt(CX2 * CX2 + CY2 * CY2);
  minorRadius_ = majorRadius_ * Ratio;
  // No normalisation: an end below the start walks the ellipse backwards.
  ext_ = EA - SA;
}

Vessik_Point Vessik_Ellipse::EllipsePoint(double t) const {
  return PointAt(std::cos(t), std::sin(t));
}

double Vessik_Ellipse::EllipseTangent(double t) const {
  return TangentAt(std::cos(t), std::sin(t));
}

Vessik_Point Vessik_Ellipse::PointAt(double cost, double sint) const {
  const double x = cost * majorRadius_ * cosAxis_ - sint * minorRadius_ * sinAxis_ + CX1;
  const double y = sint * minorRadius_ * cosAxis_ + cost * majorRadius_ * sinAxis_ + CY1;
  return Vessik_Point(x, y, 0);
}

double Vessik_Ellipse::TangentAt(double cost, double sint) const {
  // Direction of increasing t, also for a negative sweep; the biarc normalises it.
  return ArcTan2(cost * minorRadius_, sint * majorRadius_) + axisAngle_ + 3.14159265358979 / 2;
}

void Vessik_Ellipse::Ellipse2Arcs(double Tolerance) {
  // The number of pieces n is the first, counting from 2, for which every piece of
  // an n-piece pass stays within the tolerance; a pass that misses is thrown away
  // whole. So each pass is first judged on trial pieces that build no segments;
  // only the pass that fits gets its segments, from the trial's own values, and
  // the last pass the guard allows is built in full for the guard's failure to
  // leave behind.
  //
  // A trial piece does the very arithmetic of a built one, so it passes or misses
  // alike. A failure inside a trial (a direction or sweep that is not a number)
  // would fail the built pass as well; that pass and all after it are then built,
  // so that the failure is raised where building raises it.
  int32_t n = 2;
  dimensioned_ = false;
  biArcs_.clear();
  // What the trial worked out for each piece of the pass under way.
  std::vector<Vessik_BiArcArcs> trialArcs;
  bool trials = true;
  for (;;) {
    if (trials) {
      bool fits = false;
      try {
        fits = TrialPass(n, Tolerance, trialArcs);
      } catch (...) {
        if (InFlightEndsTheParse()) throw;
        trials = false;
      }
      if (fits) return;
      if (trials) {
        if (n + 1 > kMaxPieces) {
          (void)BuildPass(n, Tolerance);
          RaiseCatalogued(CataloguedError("TooManyIterations"));
        }
        n = n + 1;
        continue;
      }
    }
    if (BuildPass(n, Tolerance)) return;
    if (n + 1 > kMaxPieces) {
      RaiseCatalogued(CataloguedError("TooManyIterations"));
    }
    n = n + 1;
  }
}

bool Vessik_Ellipse::TrialPass(int32_t n, double Tolerance,
                               std::vector<Vessik_BiArcArcs>& trialArcs) {
  PumpMessages();
  PollCancel();
  // The trial pieces stand in the chain itself, without segments, so that a pass
  // that fits needs only its segments built.
  double t = SA;
  Vessik_Point P = EllipsePoint(t);
  double T = EllipseTangent(t);
  for (int32_t i = 1; i <= n; ++i) {
    // Formed afresh each round: rounding adds up along the chain.
    const double step = ext_ / n;
    const double t1 = step + t;
    // Point and tangent share one cosine and sine of t1.
    const double cost1 = std::cos(t1);
    const double sint1 = std::sin(t1);
    Vessik_Point Q = PointAt(cost1, sint1);
    const double T1 = TangentAt(cost1, sint1);
    const size_t k = static_cast<size_t>(i - 1);
    if (biArcs_.size() <= k) biArcs_.emplace_back();
    if (trialArcs.size() <= k) trialArcs.emplace_back();
    Vessik_BiArc& B = biArcs_[k];
    Vessik_BiArcArcs& arcs = trialArcs[k];
    B.Pa = P;
    B.Pb = Q;
    B.Tana = T;
    B.Tanb = T1;
    B.Trial(arcs);
    P = Q;
    T = T1;
    // A line or nothing misses by 0 at every quarter point, so the points need not
    // be worked out: the worst miss is 0.
    const bool fits = arcs.Count < 2 ? 0.0 < Tolerance : CheckQuarterPoints(arcs, Tolerance, t, t1);
    if (!fits) return false;
    t = t1;
  }
  // Every piece fits: the chain is this pass, built from what the trial worked
  // out. Earlier passes were shorter, so the chain holds exactly n pieces.
  for (size_t k = 0; k < biArcs_.size(); ++k) {
    Vessik_BiArc& B = biArcs_[k];
    B.MinR = Tolerance / 100;
    B.Parent = parent_;
    B.Init(Id, Layer, Color, trialArcs[k]);
  }
  dimensioned_ = true;
  return true;
}

bool Vessik_Ellipse::BuildPass(int32_t n, double Tolerance) {
  PollCancel();
  double t = SA;
  Vessik_Point P = EllipsePoint(t);
  double T = EllipseTangent(t);
  biArcs_.clear();
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
    if (!CheckQuarterPoints(B, Tolerance, t, t1)) return false;
    t = t1;
  }
  return true;
}

bool Vessik_Ellipse::PieceMisses(const Vessik_BiArc& B, const Vessik_Point& Pt, double Limit) {
  return B.get_biarc_fitting_error(Pt) >= Limit;
}

bool Vessik_Ellipse::PieceMisses(const Vessik_BiArcArcs& B, const Vessik_Point& Pt, double Limit) {
  return B.MissesBy(Pt, Limit);
}

template <class Piece>
bool Vessik_Ellipse::CheckQuarterPoints(const Piece& B, double Tolerance, double t0,
                                        double t1) const {
  // The greatest error, starting from MostNegative, is below the tolerance
  // exactly when MostNegative is and no error reaches it.
  const double d = (t1 - t0) / 4;
  bool fits = MostNegative < Tolerance;
  for (int32_t i = 1; i <= 3; ++i) {
    if (PieceMisses(B, EllipsePoint(i * d + t0), Tolerance)) fits = false;
  }
  return fits;
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
