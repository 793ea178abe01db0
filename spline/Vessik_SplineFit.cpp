// The fitting flow of a spline: sections between tangent breaks, the march of
// biarcs along each section, and the collection of their segments.
#include <cmath>
#include <utility>

#include "entities/Vessik_Spline.h"
#include "geometry/Vessik_ArcGeo.h"
#include "geometry/Vessik_LineGeo.h"
#include "geometry/Vessik_Math.h"
#include "parser/ParseLimits.h"
#include "parser/Vessik_Error.h"
#include "parser/Vessik_Utils.h"
#include "spline/Vessik_CurvePointValid.h"

namespace vessik {

namespace {

// Keeps the march off the very ends of a section.
constexpr double kEndGap = 1e-9;
constexpr int32_t kMaxIterations = 10000;

// Whether the fitting error of a built biarc, or of one only worked out, is Limit
// or more at Pt: the same answer for the same piece.
bool MissesBy(const Vessik_BiArc& B, const Vessik_Point& Pt, double Limit) {
  return B.get_biarc_fitting_error(Pt) >= Limit;
}

bool MissesBy(const Vessik_BiArcArcs& B, const Vessik_Point& Pt, double Limit) {
  return B.MissesBy(Pt, Limit);
}

double LastOf(const std::vector<double>& Knots) {
  if (Knots.empty()) RaisePlatformError(errnum::SubscriptOutOfRange);
  return Knots.back();
}

}  // namespace

Vessik_Collection<Vessik_Spline::Section> Vessik_Spline::SplitSections(
    const std::vector<double>& Knots, Vessik_Collection<Section>& Ignore,
    Vessik_Collection<double>& knt_m_change) {
  Vessik_Collection<Section> Result;
  if (Knots.empty()) RaisePlatformError(errnum::SubscriptOutOfRange);
  double Start = Knots[0];
  double End = Knots[0];
  const int32_t k = 0;
  while (End < LastOf(Knots)) {
    PumpMessages();
    PollCancel();
    Start = End;
    // Position 0 does not exist: any stretch to skip fails here, so a curve with
    // anything in Ignore can not be fitted.
    if (Ignore.Count() > k) (void)Ignore.Item(k);
    End = LastOf(Knots);
    if (knt_m_change.Count() > 0 && knt_m_change.Item(1) < End) {
      End = knt_m_change.Item(1);
      knt_m_change.Remove(1);
    }
    if (Start == End) continue;
    Section S;
    S.Add(Start);
    S.Add(End);
    Result.Add(std::move(S));
  }
  return Result;
}

void Vessik_Spline::FitSections(Vessik_Collection<BiArcList>& BiArcs,
                                Vessik_Collection<NodeList>& Nodes) {
  Vessik_Collection<Section> Sections = SplitSections(knots_, nurbs_->Ignore, nurbs_->knt_m_change);
  // The greatest step: |last knot| / n, but at least 1 / n. The first knot plays
  // no part.
  const double s = 1.0 / initialSegments_;
  const double t = std::abs(s * LastOf(knots_));
  maxStep_ = t;
  if (t < s) maxStep_ = s;
  for (const Section& S : Sections) {
    NodeList nodeList;
    BiArcList biArcList;
    int32_t Iterations = 0;
    FitSection(S, tolerance_, fitTolerance_, nodeList, biArcList, Iterations);
    BiArcs.Add(std::move(biArcList));
    Nodes.Add(std::move(nodeList));
    PumpMessages();
    PollCancel();
  }
}

void Vessik_Spline::FitSection(const Section& S, double Tolerance, double FitTolerance,
                               NodeList& Nodes, BiArcList& BiArcs, int32_t& Iterations) {
  const double sectionEnd = S.Item(2);
  double u = S.Item(1) + kEndGap;
  double Step = maxStep_;
  Iterations = 0;
  Nodes = NodeList();
  BiArcs = BiArcList();

  Vessik_Point Pt;
  double Tangent = 0;
  CurvePointValid() = true;
  nurbs_->Evaluate(1, u, Pt, Tangent);
  Pt.Valid = CurvePointValid();
  Nodes.Add(Node{Pt, Tangent});

  while (u < sectionEnd - kEndGap) {
    PumpMessages();
    PollCancel();
    u = u + Step;
    Iterations = Iterations + 1;
    if (u > sectionEnd) {
      // The last step ends just before the section's end.
      const double Prev = u - Step;
      Step = (sectionEnd - Prev) - kEndGap;
      u = sectionEnd - kEndGap;
    }
    CurvePointValid() = true;
    nurbs_->Evaluate(1, u, Pt, Tangent);
    Pt.Valid = CurvePointValid();

    const Node& last = Nodes.Item(Nodes.Count());
    Vessik_BiArc B;
    B.Pa = last.Pt;
    B.Pb = Pt;
    B.Tana = last.Tangent;
    B.Tanb = Tangent;
    B.MinR = Tolerance * 0.5;
    B.Parent = parent_;
    // The biarc is worked out, with any failure of its Init, but its segments are
    // built only once it is kept: a rejected attempt costs no segments.
    Vessik_BiArcArcs arcs;
    B.Trial(arcs);

    if (B.Shape == "Zero") {
      // Nothing to lay: keep the old node and reach further.
      Step = MinOf(2 * Step, maxStep_);
    } else if (B.Shape == "LineGeo") {
      // A straight piece is taken without a test.
      B.Init(Id, Layer, Color, arcs);
      B.Valid = Pt.Valid;
      BiArcs.Add(std::move(B));
      Step = MinOf(2 * Step, maxStep_);
      Nodes.Add(Node{Pt, Tangent});
    } else if (BiarcFits(arcs, FitTolerance, u - Step, u, &Pt)) {
      Nodes.Add(Node{Pt, Tangent});
      B.Init(Id, Layer, Color, arcs);
      B.Valid = Pt.Valid;
      BiArcs.Add(std::move(B));
      Step = MinOf(Step / 0.7, maxStep_);
    } else {
      u = u - Step;
      Step = Step * 0.7;
    }
    PumpMessages();
    PollCancel();
    if (Iterations > kMaxIterations) {
      RaiseCatalogued(CataloguedError("TooManyIterations"));
    }
  }
}

bool Vessik_Spline::BiarcFits(const Vessik_BiArc& BiArc, double Limit, double U0, double U1) {
  return WorstMissBelow(BiArc, Limit, U0, U1, nullptr);
}

bool Vessik_Spline::BiarcFits(const Vessik_BiArcArcs& Arcs, double Limit, double U0, double U1,
                              const Vessik_Point* PointAtU1) {
  return WorstMissBelow(Arcs, Limit, U0, U1, PointAtU1);
}

template <class Piece>
bool Vessik_Spline::WorstMissBelow(const Piece& BiArc, double Limit, double U0, double U1,
                                   const Vessik_Point* PointAtU1) {
  // The greatest error, starting from MostNegative, is below Limit exactly when
  // MostNegative is and no error reaches Limit: an error that is not a number
  // is never the greatest. All five points are evaluated whatever the first
  // ones show, as an evaluation may fail.
  const double du = (U1 - U0) / 5.0;
  bool fits = MostNegative < Limit;
  Vessik_Point Pt;
  double Dummy = 0;
  for (int32_t i = 1; i <= 5; ++i) {
    const double u = i * du + U0;
    if (PointAtU1 != nullptr && u == U1) {
      // The last point often lands exactly on U1 again: the same evaluation,
      // which gave its point and raised nothing before.
      if (MissesBy(BiArc, *PointAtU1, Limit)) fits = false;
      continue;
    }
    nurbs_->Evaluate(0, u, Pt, Dummy);
    if (MissesBy(BiArc, Pt, Limit)) fits = false;
  }
  return fits;
}

Vessik_Spline::GeoList Vessik_Spline::Biarcs2Geos(const Vessik_Collection<BiArcList>& BiArcs) {
  GeoList Result;
  GeoList W;
  for (const BiArcList& S : BiArcs) {
    W.Clear();
    for (const Vessik_BiArc& B : S) {
      // A biarc whose end could not be evaluated brings nothing; its gap stays.
      for (int32_t k = 1; k <= B.Geos.Count(); ++k) {
        if (B.Valid) W.Add(B.Geos.Item(k));
      }
    }
    W = JoinArcs(JoinLines(std::move(W)));
    for (Vessik_Geo& g : W) Result.Add(std::move(g));
  }
  return Result;
}

}  // namespace vessik
