// A SPLINE entity in control-point form. At Init the curve is replaced by arcs and
// straight segments within the tolerance: the parameter range is cut at tangent
// breaks, each section is marched with biarcs, and the result is simplified.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "entities/Vessik_Entity.h"
#include "geometry/Vessik_Point.h"
#include "parser/Vessik_Collection.h"
#include "spline/Vessik_BiArc.h"
#include "spline/Vessik_Geo.h"
#include "spline/Vessik_Nurbs.h"

namespace vessik {

class Vessik_ArcGeo;
class Vessik_SplineTestAccess;

class Vessik_Spline : public Vessik_Entity {
 public:
  // One accepted place of the march: the curve point and its tangent.
  struct Node {
    Vessik_Point Pt;
    double Tangent = 0;
  };
  using Section = Vessik_Collection<double>;
  using GeoList = Vessik_Collection<Vessik_Geo>;
  using PointList = Vessik_Collection<Vessik_Point>;
  using ArcList = Vessik_Collection<std::shared_ptr<Vessik_ArcGeo>>;
  using BiArcList = Vessik_Collection<Vessik_BiArc>;
  using NodeList = Vessik_Collection<Node>;

  // Group 70, kept and never looked at: closed and periodic curves are fitted as
  // the open curve of their knots.
  int32_t Flag = 0;
  int32_t Degree = 0;
  // Group 73, kept and never used for sizing.
  int32_t CPtsNum = 0;

  void Spline2Arcs(double Tolerance, int32_t InitialSegments, int32_t Check);

  int32_t Vessik_IEntity_Read(int32_t StartLine, Vessik_Layers& Layers) override;
  void Vessik_IEntity_Init(Vessik_CommonData* Data) override;
  void AppendText(Vessik_Concat& Text, Vessik_Layers& Layers) override;
  void Vessik_IEntity_Release() override;
  // All but the segments: the curve as read, the evaluator, the biarcs and the
  // nodes of the fit.
  void DropInitWork() override;

  const std::vector<double>& Knots() const { return knots_; }
  const std::vector<double>& Weights() const { return weights_; }
  const std::vector<Vessik_Point>& CPoints() const { return cPoints_; }
  double Tolerance() const { return tolerance_; }
  double FitTolerance() const { return fitTolerance_; }
  int32_t InitialSegments() const { return initialSegments_; }
  double MaxStep() const { return maxStep_; }
  const GeoList& Geos() const { return geos_; }
  const Vessik_Collection<BiArcList>& BiArcs() const { return biArcs_; }
  const Vessik_Collection<NodeList>& Nodes() const { return nodes_; }

 private:
  friend class Vessik_SplineTestAccess;

  // The fitting flow.
  void FitSections(Vessik_Collection<BiArcList>& BiArcs, Vessik_Collection<NodeList>& Nodes);
  static Vessik_Collection<Section> SplitSections(const std::vector<double>& Knots,
                                                  Vessik_Collection<Section>& Ignore,
                                                  Vessik_Collection<double>& knt_m_change);
  void FitSection(const Section& S, double Tolerance, double FitTolerance, NodeList& Nodes,
                  BiArcList& BiArcs, int32_t& Iterations);
  bool BiarcFits(const Vessik_BiArc& BiArc, double Limit, double U0, double U1);
  // PointAtU1, when given, is the curve point at U1, evaluated already.
  bool BiarcFits(const Vessik_BiArcArcs& Arcs, double Limit, double U0, double U1,
                 const Vessik_Point* PointAtU1 = nullptr);
  template <class Piece>
  bool WorstMissBelow(const Piece& BiArc, double Limit, double U0, double U1,
                      const Vessik_Point* PointAtU1);
  GeoList Biarcs2Geos(const Vessik_Collection<BiArcList>& BiArcs);

  // Simplification of the segments of one section.
  // Both take the list over: its items move on into the list returned.
  GeoList JoinLines(GeoList List) const;
  GeoList JoinArcs(GeoList List) const;
  void ThreeArcs2TwoRising(const ArcList& Trio, double Tol, std::shared_ptr<Vessik_ArcGeo>& Arc1,
                           std::shared_ptr<Vessik_ArcGeo>& Arc2) const;
  void ThreeArcs2TwoFalling(const ArcList& Trio, double Tol, std::shared_ptr<Vessik_ArcGeo>& Arc1,
                            std::shared_ptr<Vessik_ArcGeo>& Arc2) const;
  // Three arcs in a row, seen without holding them: the joining tries every
  // such three, and counting references for each try costs more than the try.
  struct ArcTrio {
    const Vessik_ArcGeo* Arcs[3];
    const Vessik_ArcGeo* Item(int32_t position) const { return Arcs[position - 1]; }
  };
  static ArcTrio TrioOf(const ArcList& Trio);
  void ThreeArcs2Two(bool Rising, const ArcTrio& Trio, double Tol,
                     std::shared_ptr<Vessik_ArcGeo>& Arc1,
                     std::shared_ptr<Vessik_ArcGeo>& Arc2) const;
  static double ArcPairDeviation(PointList& Points, const Vessik_ArcGeo& Arc1,
                                 const Vessik_ArcGeo& Arc2);
  static double NextBudgetRising(double Tol, const ArcList& Trio, const Vessik_ArcGeo& Arc1,
                                 const Vessik_ArcGeo& Arc2);
  static double NextBudgetFalling(double Tol, const ArcList& Trio, const Vessik_ArcGeo& Arc1,
                                  const Vessik_ArcGeo& Arc2);
  static double NextBudgetRising(double Tol, const ArcTrio& Trio, const Vessik_ArcGeo& Arc1,
                                 const Vessik_ArcGeo& Arc2);
  static double NextBudgetFalling(double Tol, const ArcTrio& Trio, const Vessik_ArcGeo& Arc1,
                                  const Vessik_ArcGeo& Arc2);
  static void MergeArcs(ArcList& Arcs);
  static void SwapLong(int32_t& A, int32_t& B);

  Vessik_Collection<double> knotList_;
  Vessik_Collection<double> weightList_;
  Vessik_Collection<Vessik_Point> cPointList_;
  std::vector<double> knots_;
  std::vector<double> weights_;
  std::vector<Vessik_Point> cPoints_;
  double tolerance_ = 0;
  double fitTolerance_ = 0;
  int32_t initialSegments_ = 0;
  double maxStep_ = 0;
  std::unique_ptr<Vessik_Nurbs> nurbs_;
  Vessik_Collection<BiArcList> biArcs_;
  Vessik_Collection<NodeList> nodes_;
  GeoList geos_;
};

}  // namespace vessik
