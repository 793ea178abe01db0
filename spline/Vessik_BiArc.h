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
  // Radial distance of Pt from the arc in whose angle range it lies; 0 for a
  // biarc that has no second item.
  double get_biarc_fitting_error(const Vessik_Point& Pt) const;
  std::string ToString(Vessik_Layers& Layers) const;
  void AppendText(Vessik_Concat& Text, Vessik_Layers& Layers) const;

 private:
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
