// The arbitrary axis rule of the drawing format: an extrusion direction defines an
// object coordinate system, and trans takes a point out of it into the frame that
// holds the entity (block definition or model space). One direction only.
#pragma once

#include "geometry/Vessik_Point.h"

namespace vessik {

class Vessik_Aaa {
 public:
  // The world Y and Z axes, the two helpers of the object X axis.
  const Vessik_Point Wy{0, 1, 0};
  const Vessik_Point Wz{0, 0, 1};

  // M[r][c]: column 0 the object X axis, column 1 the Y axis, column 2 the Z axis;
  // column 3 the translation, which stays 0.
  using Matrix = double[4][4];

  // O = Pt taken in the object coordinates of the direction vector. O may be Pt.
  // The matrix of the last direction is kept: the segments of one entity share
  // theirs, and the same bits of a direction always give the same matrix.
  void trans(Vessik_Point& O, const Vessik_Point& Pt, const Vessik_Point& vector) const;

  void axis_x(Vessik_Point& Ax, const Vessik_Point& N) const;
  void matrix_from_normal(const Vessik_Point& N, Matrix& M) const;
  static void matrix_identity(Matrix& M);
  static void matrix_set3(Matrix& M, double a0, double a1, double a2, double b0, double b1,
                          double b2, double c0, double c1, double c2);
  static void vector_copy(Vessik_Point& D, const Vessik_Point& S);
  static void vector_cross(Vessik_Point& C, const Vessik_Point& A, const Vessik_Point& B);
  static double vector_length(const Vessik_Point& A);
  // The one checked division of the kernel: a vector of length 0 raises 11.
  static void vector_normalize(Vessik_Point& D, const Vessik_Point& A);
  static void vector_scale(Vessik_Point& D, const Vessik_Point& A, double k);

  // Both ends of a segment (fields X1 to Z2), given in the object coordinates of N,
  // carried into the holding frame and then through the block chain of Parent.
  template <class Segment>
  void PlaceEnds(Segment& segment, const Vessik_Point& N, const Vessik_IParent* Parent) const {
    Vessik_Point O;
    trans(O, Vessik_Point(segment.X1, segment.Y1, segment.Z1), N);
    O = O.rot_sca_abs(Parent);
    segment.X1 = O.X;
    segment.Y1 = O.Y;
    segment.Z1 = O.Z;
    trans(O, Vessik_Point(segment.X2, segment.Y2, segment.Z2), N);
    O = O.rot_sca_abs(Parent);
    segment.X2 = O.X;
    segment.Y2 = O.Y;
    segment.Z2 = O.Z;
  }

 private:
  // The last direction trans was given, and its matrix.
  mutable bool known_ = false;
  mutable double knownVector_[3] = {0, 0, 0};
  mutable Matrix knownMatrix_ = {};
};

}  // namespace vessik
