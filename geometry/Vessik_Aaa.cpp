#include "geometry/Vessik_Aaa.h"

#include <cmath>
#include <cstring>

#include "parser/Vessik_Error.h"

namespace vessik {

void Vessik_Aaa::trans(Vessik_Point& O, const Vessik_Point& Pt, const Vessik_Point& vector) const {
  const double v[3] = {vector.X, vector.Y, vector.Z};
  // Compared bit for bit: a zero's sign, or a NaN's bits, may change the matrix.
  if (!known_ || std::memcmp(v, knownVector_, sizeof v) != 0) {
    // A direction that fails leaves nothing kept, and fails again when asked again.
    known_ = false;
    matrix_from_normal(vector, knownMatrix_);
    std::memcpy(knownVector_, v, sizeof v);
    known_ = true;
  }
  const Matrix& M = knownMatrix_;
  // Built in a local point first, so that O and Pt may be one object.
  Vessik_Point T;
  T.X = Pt.Y * M[0][1] + Pt.X * M[0][0] + Pt.Z * M[0][2] + M[0][3];
  T.Y = Pt.Y * M[1][1] + Pt.X * M[1][0] + Pt.Z * M[1][2] + M[1][3];
  T.Z = Pt.Y * M[2][1] + Pt.X * M[2][0] + Pt.Z * M[2][2] + M[2][3];
  O.X = T.X;
  O.Y = T.Y;
  O.Z = T.Z;
}

void Vessik_Aaa::axis_x(Vessik_Point& Ax, const Vessik_Point& N) const {
  // Near the world Z axis the world Y axis is the helper, elsewhere the Z axis;
  // the threshold is 1/64 on each of X and Y.
  const Vessik_Point& W = (std::fabs(N.X) < 0.015625 && std::fabs(N.Y) < 0.015625) ? Wy : Wz;
  vector_cross(Ax, W, N);
  vector_normalize(Ax, Ax);
}

void Vessik_Aaa::matrix_from_normal(const Vessik_Point& N, Matrix& M) const {
  // The Z axis keeps the length the file gave it: it is not normalised.
  Vessik_Point Az;
  vector_copy(Az, N);
  Vessik_Point Ax;
  axis_x(Ax, Az);
  Vessik_Point Ay;
  vector_cross(Ay, Az, Ax);
  vector_normalize(Ay, Ay);
  matrix_set3(M, Ax.X, Ax.Y, Ax.Z, Ay.X, Ay.Y, Ay.Z, Az.X, Az.Y, Az.Z);
}

void Vessik_Aaa::matrix_identity(Matrix& M) {
  for (int i = 0; i < 4; ++i) {
    for (int j = 0; j < 4; ++j) M[i][j] = i == j ? 1 : 0;
  }
}

void Vessik_Aaa::matrix_set3(Matrix& M, double a0, double a1, double a2, double b0, double b1,
                             double b2, double c0, double c1, double c2) {
  matrix_identity(M);
  M[0][0] = a0;
  M[1][0] = a1;
  M[2][0] = a2;
  M[0][1] = b0;
  M[1][1] = b1;
  M[2][1] = b2;
  M[0][2] = c0;
  M[1][2] = c1;
  M[2][2] = c2;
}

void Vessik_Aaa::vector_copy(Vessik_Point& D, const Vessik_Point& S) {
  D.X = S.X;
  D.Y = S.Y;
  D.Z = S.Z;
}

void Vessik_Aaa::vector_cross(Vessik_Point& C, const Vessik_Point& A, const Vessik_Point& B) {
  Vessik_Point r;
  r.X = A.Y * B.Z - A.Z * B.Y;
  r.Y = A.Z * B.X - A.X * B.Z;
  r.Z = A.X * B.Y - A.Y * B.X;
  C = r;
}

double Vessik_Aaa::vector_length(const Vessik_Point& A) {
  return std::sqrt(A.Y * A.Y + A.X * A.X + A.Z * A.Z);
}

void Vessik_Aaa::vector_normalize(Vessik_Point& D, const Vessik_Point& A) {
  double len = vector_length(A);
  if (len == 0) RaisePlatformError(errnum::DivisionByZero);
  double k = 1 / len;
  vector_scale(D, A, k);
}

void Vessik_Aaa::vector_scale(Vessik_Point& D, const Vessik_Point& A, double k) {
  Vessik_Point r(A.X * k, A.Y * k, A.Z * k);
  D = r;
}

}  // namespace vessik
