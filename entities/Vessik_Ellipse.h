// An ELLIPSE entity, replaced at Init by a chain of biarcs. The ellipse lies in
// the XY plane of its block; the chain grows from two pieces until every piece
// stays within the tolerance at its quarter points.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "entities/Vessik_Entity.h"
#include "geometry/Vessik_Point.h"
#include "spline/Vessik_BiArc.h"

namespace vessik {

class Vessik_Ellipse : public Vessik_Entity {
 public:
  // Centre, and end of the major axis relative to the centre.
  double CX1 = 0, CY1 = 0, CZ1 = 0;
  double CX2 = 0, CY2 = 0, CZ2 = 0;
  // Minor over major axis.
  double Ratio = 0;
  // Start and end parameter, radians.
  double SA = 0;
  double EA = 0;
  // Public and never used.
  double X1 = 0, Y1 = 0, Z1 = 0, X2 = 0, Y2 = 0, Z2 = 0;

  void SetBackgroundValues();
  void Ellipse2Arcs(double Tolerance);

  // The approximation; empty before Ellipse2Arcs.
  const std::vector<Vessik_BiArc>& BiArcs() const { return biArcs_; }
  bool BiArcsDimensioned() const { return dimensioned_; }
  double AxisAngle() const { return axisAngle_; }
  double MajorRadius() const { return majorRadius_; }
  double MinorRadius() const { return minorRadius_; }
  double Ext() const { return ext_; }

  int32_t Vessik_IEntity_Read(int32_t StartLine, Vessik_Layers& Layers) override;
  void Vessik_IEntity_Init(Vessik_CommonData* Data) override;
  void AppendText(Vessik_Concat& Text, Vessik_Layers& Layers) override;
  void Vessik_IEntity_Release() override;

  Vessik_Point EllipsePoint(double t) const;
  double EllipseTangent(double t) const;

 private:
  // EllipsePoint and EllipseTangent from the cosine and sine of t.
  Vessik_Point PointAt(double cost, double sint) const;
  double TangentAt(double cost, double sint) const;
  // One pass of n pieces judged on trial pieces: true if every piece stays within
  // the tolerance, and the chain is then built. trialArcs keeps what the trial
  // works out for each piece.
  bool TrialPass(int32_t n, double Tolerance, std::vector<Vessik_BiArcArcs>& trialArcs);
  // One pass of n pieces built into the chain, up to the first piece that misses;
  // true if none misses.
  bool BuildPass(int32_t n, double Tolerance);
  // True if the piece from t0 to t1 misses the ellipse by less than the tolerance
  // at its three quarter points.
  template <class Piece>
  bool CheckQuarterPoints(const Piece& B, double Tolerance, double t0, double t1) const;
  static bool PieceMisses(const Vessik_BiArc& B, const Vessik_Point& Pt, double Limit);
  static bool PieceMisses(const Vessik_BiArcArcs& B, const Vessik_Point& Pt, double Limit);

  double axisAngle_ = 0;
  double cosAxis_ = 1;
  double sinAxis_ = 0;
  double majorRadius_ = 0;
  double minorRadius_ = 0;
  double ext_ = 0;
  std::vector<Vessik_BiArc> biArcs_;
  bool dimensioned_ = false;
};

}  // namespace vessik
