// Two tangent-continuous circular arcs from Pa to Pb with the given tangent
// directions, or a straight segment where the arcs would be flat, or nothing
// where the piece is too small. All curve approximation is built from these.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "geometry/Vessik_Point.h"
#include "parser/Vessik_Collection.h"
#include "parser/Vessik_Color.h"
#include "parser/Vessik_Layer.h"
#include "spline/Vessik_Geo.h"

namespace vessik {

class Vessik_IParent;

// The geometry of a biarc as plain values, worked out before any segment is
// built: how many segments it has and, for two arcs, their centres, radii and end
// angles. The fitting error needs nothing else, so a trial piece can be judged on
// these alone and dropped without ever allocating its segments.
struct Vessik_BiArcArcs {
  // 0 for "Zero", 1 for "LineGeo", 2 for two arcs; the fields below only count
  // for 2.
  int32_t Count = 0;
  Vessik_Point O1;
  Vessik_Point O2;
  // The junction of the two arcs.
  Vessik_Point J;
  // Radii without sign, as the arcs keep them.
  double R1 = 0;
  double R2 = 0;
  double SA1 = 0;
  double EA1 = 0;
  double SA2 = 0;
  double EA2 = 0;

  // The fitting error of the biarc these values describe: the same number that
  // get_biarc_fitting_error gives for the built biarc.
  double FittingError(const Vessik_Point& Pt) const;
  // FittingError(Pt) >= Limit. The angle of Pt, the costly part, is only worked
  // out when the two arcs' radial distances fall on different sides of Limit.
  bool MissesBy(const Vessik_Point& Pt, double Limit) const;
};

class Vessik_BiArc {
 public:
  int32_t Id = 0;
  int32_t Layer = 0;
  std::shared_ptr<Vessik_Color> Color;
  Vessik_Point Pa;
  Vessik_Point Pb;
  // Curve directions at Pa and Pb, radians.
  double Tana = 0;
  double Tanb = 0;
  // Turning angle of the first arc.
  double Teta = 0;
  // Stored by the creators and read by nothing: the radius limits are fixed.
  double MinR = 0;
  // Chord length.
  double l = 0;
  // "C-shaped", "S-shaped", "LineGeo" or "Zero".
  std::string Shape;
  bool Valid = false;
  Vessik_IParent* Parent = nullptr;
  // Empty for "Zero", one line for "LineGeo", two arcs otherwise.
  Vessik_Collection<Vessik_Geo> Geos;

  void Release();
  void Init(int32_t pId, int32_t pLayer, const std::shared_ptr<Vessik_Color>& pColor);
  // Init of a piece whose Trial gave Arcs, its points and tangents unchanged
  // since: the same biarc as Init builds, without working it out again.
  void Init(int32_t pId, int32_t pLayer, const std::shared_ptr<Vessik_Color>& pColor,
            const Vessik_BiArcArcs& Arcs);
  // Everything Init works out, with every failure Init would raise, but no segment
  // is built and Geos, Id, Layer, Color and Valid are left alone. Sets l, Teta and
  // Shape as Init does. For callers that try many pieces and keep few.
  void Trial(Vessik_BiArcArcs& Arcs);
  // Radial distance of Pt from the arc in whose angle range it lies; 0 for a
  // biarc that has no second item.
  double get_biarc_fitting_error(const Vessik_Point& Pt) const;
  std::string ToString(Vessik_Layers& Layers) const;
  void AppendText(Vessik_Concat& Text, Vessik_Layers& Layers) const;

 private:
  // Chord, shape, radii, centres and arc angles: the part of Init before the
  // segments.
  void Layout(Vessik_BiArcArcs& Arcs);
  void get_chord(double& a);
  void get_shape(double a, double TanA, double TanB, double Tol, double& alpha, double& beta);
  static void norm_tangent_angles(double& alpha, double& beta);
  void get_radii(double alpha, double beta, double theta, double& r1, double& r2) const;
  void get_centers(double r1, double r2, double T, double theta, Vessik_Point& O1, Vessik_Point& O2,
                   Vessik_Point& J) const;
  static void get_arc_angles(const Vessik_Point& P1, const Vessik_Point& O, const Vessik_Point& P2,
                             double& sa, double& ea);
  void AddLine();
};

}  // namespace vessik
