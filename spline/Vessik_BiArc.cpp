#include "spline/Vessik_BiArc.h"

#include <cmath>
#include <utility>

#include "geometry/Vessik_ArcGeo.h"
#include "geometry/Vessik_LineGeo.h"
#include "geometry/Vessik_Math.h"
#include "parser/Vessik_Error.h"

namespace vessik {

void Vessik_BiArc::Release() {
  for (const Vessik_Geo& g : Geos) g.Release();
  Parent = nullptr;
}

namespace {

// The angle between tangent and radius, brought into (-Pi, Pi]: about +Pi/2 for
// a counter-clockwise arc, about -Pi/2 for a clockwise one.
double ArcDirection(double d) {
  double m = FloatMod(d, -6.28318530717958);
  int32_t n = CeilToLong(m / 3.14159265358979);
  return m - n * 6.28318530717958;
}

// Radial distance of Pt from the arc in whose angle range it lies. Raw angles,
// blind to the wrap at +-Pi: a first arc across the negative X axis claims the
// opposite side of its circle.
double ArcsFittingError(const Vessik_Point& O1, double R1, double SA1, double EA1,
                        const Vessik_Point& O2, double R2, const Vessik_Point& Pt) {
  double ang = O1.NormAngle(Pt);
  double lo = MinOf(SA1, EA1);
  double hi = MaxOf(SA1, EA1);
  double E =
      (lo <= ang && hi >= ang) ? std::abs(R1) - O1.Distance(Pt) : std::abs(R2) - O2.Distance(Pt);
  return std::abs(E);
}

}  // namespace

double Vessik_BiArcArcs::FittingError(const Vessik_Point& Pt) const {
  // A line or nothing always passes the fitting test.
  if (Count < 2) return 0;
  return ArcsFittingError(O1, R1, SA1, EA1, O2, R2, Pt);
}

bool Vessik_BiArcArcs::MissesBy(const Vessik_Point& Pt, double Limit) const {
  if (Count < 2) return 0 >= Limit;
  // The two candidates of ArcsFittingError, in its own arithmetic.
  const bool first = std::abs(std::abs(R1) - O1.Distance(Pt)) >= Limit;
  const bool second = std::abs(std::abs(R2) - O2.Distance(Pt)) >= Limit;
  if (first == second) return first;
  return ArcsFittingError(O1, R1, SA1, EA1, O2, R2, Pt) >= Limit;
}

void Vessik_BiArc::Init(int32_t pId, int32_t pLayer, const std::shared_ptr<Vessik_Color>& pColor) {
  // The layout does nothing but arithmetic on the points and tangents: it can
  // come before the fields that Init sets first.
  Vessik_BiArcArcs arcs;
  Layout(arcs);
  Init(pId, pLayer, pColor, arcs);
}

void Vessik_BiArc::Init(int32_t pId, int32_t pLayer, const std::shared_ptr<Vessik_Color>& pColor,
                        const Vessik_BiArcArcs& arcs) {
  Id = pId;
  Layer = pLayer;
  Color = pColor;
  Valid = true;
  Geos = Vessik_Collection<Vessik_Geo>();
  if (arcs.Count == 0) return;
  if (arcs.Count == 1) {
    AddLine();
    return;
  }
  Geos.Reserve(2);

  auto first = std::make_shared<Vessik_ArcGeo>();
  first->Pa = Pa;
  first->Pe = arcs.J;
  first->O = arcs.O1;
  first->R = arcs.R1;
  first->SA = arcs.SA1;
  first->EA = arcs.EA1;
  first->Vessik_IEntity_Parent(Parent);
  first->Init(Id, Layer, Color, ArcDirection(Tana - arcs.SA1));
  Geos.Add(Vessik_Geo(std::move(first)));

  auto second = std::make_shared<Vessik_ArcGeo>();
  second->Pa = arcs.J;
  second->Pe = Pb;
  second->O = arcs.O2;
  second->R = arcs.R2;
  second->SA = arcs.SA2;
  second->EA = arcs.EA2;
  second->Vessik_IEntity_Parent(Parent);
  second->Init(Id, Layer, Color, ArcDirection(Tanb - arcs.EA2));
  Geos.Add(Vessik_Geo(std::move(second)));
}

void Vessik_BiArc::Trial(Vessik_BiArcArcs& Arcs) {
  Layout(Arcs);
  if (Arcs.Count < 2) return;
  // What Init goes on to work out for the two arcs, in the same order, for the
  // failures alone: a direction or sweep that is not a number is an overflow.
  (void)Vessik_ArcGeo::Sweep(Arcs.SA1, Arcs.EA1, ArcDirection(Tana - Arcs.SA1));
  (void)Vessik_ArcGeo::Sweep(Arcs.SA2, Arcs.EA2, ArcDirection(Tanb - Arcs.EA2));
}

void Vessik_BiArc::Layout(Vessik_BiArcArcs& Arcs) {
  Arcs.Count = 0;
  double a = 0;
  get_chord(a);
  double alpha = 0;
  double beta = 0;
  get_shape(a, Tana, Tanb, 0.0001, alpha, beta);
  if (l < 0.000000001) {
    Shape = "Zero";
    return;
  }
  if (Shape == "LineGeo") {
    Arcs.Count = 1;
    return;
  }
  double r1 = 0;
  double r2 = 0;
  get_radii(alpha, beta, Teta, r1, r2);
  // Radii this large are flat enough to be a line.
  if (std::abs(r1) > 500000 || std::abs(r2) > 500000) {
    Shape = "LineGeo";
    Arcs.Count = 1;
    return;
  }
  // Both radii exactly 0: get_radii's signal for a degenerate angle sum.
  if (r1 == 0 && r2 == 0) {
    Shape = "LineGeo";
    Arcs.Count = 1;
    return;
  }
  // Only both radii small together drop the piece; one small radius still builds.
  if (std::abs(r1) < 0.0005 && std::abs(r2) < 0.0005) {
    Shape = "Zero";
    return;
  }

  get_centers(r1, r2, Tana, Teta, Arcs.O1, Arcs.O2, Arcs.J);
  get_arc_angles(Pa, Arcs.O1, Arcs.J, Arcs.SA1, Arcs.EA1);
  get_arc_angles(Arcs.J, Arcs.O2, Pb, Arcs.SA2, Arcs.EA2);
  Arcs.R1 = std::abs(r1);
  Arcs.R2 = std::abs(r2);
  Arcs.Count = 2;
}

void Vessik_BiArc::AddLine() {
  auto line = std::make_shared<Vessik_LineGeo>();
  line->Pa = Pa;
  line->Pe = Pb;
  line->Vessik_IEntity_Parent(Parent);
  line->Init(Id, Layer, Color);
  Geos.Add(Vessik_Geo(std::move(line)));
}

void Vessik_BiArc::get_chord(double& a) {
  a = Pa.NormAngle(Pb);
  l = Pa.Distance(Pb);
}

void Vessik_BiArc::get_shape(double a, double TanA, double TanB, double Tol, double& alpha,
                             double& beta) {
  alpha = a - TanA;
  beta = TanB - a;
  norm_tangent_angles(alpha, beta);
  if (alpha * beta > 0) {
    // Both tangents turn the same way.
    Shape = "C-shaped";
    Teta = alpha;
  } else if (!(std::abs(alpha - beta) >= Tol)) {
    // Both angles close to 0: the tangents lie along the chord. A difference that
    // is not a number counts as below Tol.
    Shape = "LineGeo";
    Teta = alpha;
  } else {
    Shape = "S-shaped";
    Teta = (3 * alpha - beta) / 2;
  }
}

void Vessik_BiArc::norm_tangent_angles(double& alpha, double& beta) {
  if (alpha < -3.14159265358979) alpha = alpha + TwoPi;
  if (alpha > Pi) alpha = alpha - TwoPi;
  if (beta < -3.14159265358979) beta = beta + TwoPi;
  if (beta > Pi) beta = beta - TwoPi;
  // Only alpha moves. A step that no longer changes alpha (a huge angle) ends the
  // loop instead of running forever.
  while (alpha - beta > Pi) {
    double next = alpha - TwoPi;
    if (next == alpha) break;
    alpha = next;
  }
  while (alpha - beta < -Pi) {
    double next = alpha + TwoPi;
    if (next == alpha) break;
    alpha = next;
  }
}

void Vessik_BiArc::get_radii(double alpha, double beta, double theta, double& r1,
                             double& r2) const {
  if (alpha + beta == 0 || theta == 0 || alpha + beta - theta == 0) {
    r1 = 0;
    r2 = 0;
    return;
  }
  double h = l / (2 * std::sin((alpha + beta) / 2));
  r1 = h * std::sin((beta - alpha + theta) / 2) / std::sin(theta / 2);
  r2 = h * std::sin((2 * alpha - theta) / 2) / std::sin((alpha + beta - theta) / 2);
}

void Vessik_BiArc::get_centers(double r1, double r2, double T, double theta, Vessik_Point& O1,
                               Vessik_Point& O2, Vessik_Point& J) const {
  O1 = Vessik_Point(Pa.X - r1 * std::sin(T), Pa.Y + r1 * std::cos(T), 0);
  J = Vessik_Point(Pa.X + r1 * (std::sin(T + theta) - std::sin(T)),
                   Pa.Y + r1 * (std::cos(T) - std::cos(T + theta)), 0);
  O2 = Vessik_Point(J.X - r2 * std::sin(T + theta), J.Y + r2 * std::cos(T + theta), 0);
}

void Vessik_BiArc::get_arc_angles(const Vessik_Point& P1, const Vessik_Point& O,
                                  const Vessik_Point& P2, double& sa, double& ea) {
  sa = O.NormAngle(P1);
  ea = O.NormAngle(P2);
}

double Vessik_BiArc::get_biarc_fitting_error(const Vessik_Point& Pt) const {
  // A biarc with fewer than two items has no item 2: a line or nothing always
  // passes the fitting test, with the error 0.
  if (Geos.Count() < 2) return 0;
  const Vessik_ArcGeo* A1 = Geos.Item(1).Arc();
  const Vessik_ArcGeo* A2 = Geos.Item(2).Arc();
  // Two items that are not both arcs: no measurement (never built).
  if (A1 == nullptr || A2 == nullptr) return std::abs(MostNegative);
  return ArcsFittingError(A1->O, A1->R, A1->SA, A1->EA, A2->O, A2->R, Pt);
}

std::string Vessik_BiArc::ToString(Vessik_Layers& Layers) const {
  Vessik_Concat text;
  AppendText(text, Layers);
  return text.TakeValue();
}

void Vessik_BiArc::AppendText(Vessik_Concat& Text, Vessik_Layers& Layers) const {
  if (!Valid) return;
  for (const Vessik_Geo& g : Geos) g.AppendText(Text, Layers);
}

}  // namespace vessik
