// Non-rational B-spline evaluation: knot span search, basis functions with their
// derivatives, and the curve with its derivatives at one parameter. Rational
// curves come here in homogeneous form (x*w, y*w, w) and are divided afterwards.
#pragma once

#include <cstdint>
#include <vector>

#include "geometry/Vessik_Point.h"
#include "parser/Vessik_Error.h"
#include "spline/Vessik_Array2D.h"

namespace vessik {

class Vessik_BSpline {
 public:
  void Init(int32_t IniDegree, const std::vector<double>& IniKnots,
            const std::vector<Vessik_Point>& IniHCPoints);

  // Row k holds the k-th derivative of the homogeneous curve (X, Y, weight) at u.
  // The array is owned by the evaluator and overwritten by the next call.
  const Vessik_Array2D& bspline_ders_evaluate(int32_t n, double u);
  int32_t findspan(double u);
  // Row k, column j: k-th derivative of the j-th basis function of the span.
  // Owned by the evaluator, overwritten by the next call.
  const Vessik_Array2D& ders_basis_functions(int32_t span, double u, int32_t n);
  // Gives back the memory of the work arrays; the next call sizes them again.
  void FreeWorkArrays();

  // Row 0 of bspline_ders_evaluate(n, u) and, for n = 1, row 1, into CK: the same
  // numbers by the same operations, for n of 0 or 1 and the usual degrees 2 and 3,
  // in fixed-size arrays the compiler unrolls. Where the span's knots or points do
  // not all lie within the vectors, the rows come from the general path, with its
  // marks and failures. False, with nothing done, for any other order or degree.
  bool EvaluateLowOrder(int32_t n, double u, double (&CK)[2][3]);

 private:
  // A knot by index; an index outside the vector raises 9.
  double Knot(int64_t i) const {
    if (i < 0 || i > LastKnot()) RaisePlatformError(errnum::SubscriptOutOfRange);
    return Knots[static_cast<size_t>(i)];
  }
  // bspline_ders_evaluate once the span is found, into the zeroed ck_.
  const Vessik_Array2D& DersAtSpan(int32_t n, double u, int32_t span);
  template <int P, int N>
  void FixedDegreeEvaluate(int32_t span, double u, double (&CK)[2][3]) const;
  int32_t LastKnot() const { return static_cast<int32_t>(Knots.size()) - 1; }

  int32_t Degree = 0;
  std::vector<double> Knots;
  std::vector<Vessik_Point> HCPoints;

  // Work arrays, sized at every call and kept between calls.
  Vessik_Array2D ndu_;
  Vessik_Array2D a_;
  Vessik_Array2D ders_;
  std::vector<double> left_;
  std::vector<double> right_;
  Vessik_Array2D ck_;
};

}  // namespace vessik
