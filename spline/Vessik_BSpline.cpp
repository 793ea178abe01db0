#include "spline/Vessik_BSpline.h"

#include "geometry/Vessik_Math.h"
#include "parser/ParseLimits.h"
#include "parser/Vessik_Error.h"
#include "parser/Vessik_Utils.h"
#include "spline/Vessik_CurvePointValid.h"

namespace vessik {

namespace {

// A bisection over ordered knots ends long before this; only knots out of order
// keep it going.
constexpr int32_t kMaxBisectionSteps = 200;

[[noreturn]] void RaiseInvalidSpan() {
  RaiseCatalogued(CataloguedError("InvalidSpan"));
}

// A span worked out in 64 bits back to the 32 bits it is returned in. The degree
// comes from the file and may be anywhere in its range, so m - p - 2 need not
// fit; such a span is an integer overflow, failure 6, and never a wrapped value.
int32_t SpanToInt32(int64_t span) {
  if (span < INT32_MIN || span > INT32_MAX) RaisePlatformError(errnum::Overflow);
  return static_cast<int32_t>(span);
}

}  // namespace

void Vessik_BSpline::Init(int32_t IniDegree, const std::vector<double>& IniKnots,
                          const std::vector<Vessik_Point>& IniHCPoints) {
  Degree = IniDegree;
  Knots = IniKnots;
  HCPoints = IniHCPoints;
}

int32_t Vessik_BSpline::findspan(double u) {
  // 64 bits: the degree is the file's and any 32-bit value of it must give a
  // defined span or a failure, never a wrapped sum.
  const int64_t p = Degree;
  const int64_t m = LastKnot();
  // At the very last knot the span is one below that of a clamped curve's end:
  // the march never evaluates there, and the value is relied on as it is.
  if (u == Knot(m)) return SpanToInt32(m - p - 2);
  if (u < Knot(p)) {
    CurvePointValid() = false;
    return static_cast<int32_t>(p);
  }
  int64_t low = p;
  int64_t high = m;
  int64_t mid = (low + high) / 2;
  if (!(u >= Knot(0) && u <= Knot(m))) RaiseInvalidSpan();
  int32_t steps = 0;
  while (!(u >= Knot(mid) && u < Knot(mid + 1))) {
    if (++steps > kMaxBisectionSteps) RaiseInvalidSpan();
    if (u < Knot(mid)) {
      high = mid;
    } else {
      low = mid;
    }
    mid = (low + high) / 2;
    PumpMessages();
  }
  return static_cast<int32_t>(mid);
}

const Vessik_Array2D& Vessik_BSpline::ders_basis_functions(int32_t span, double u, int32_t n) {
  const int32_t p = Degree;
  const int32_t m = LastKnot();
  Vessik_Array2D& ndu = ndu_;
  Vessik_Array2D& a = a_;
  Vessik_Array2D& ders = ders_;
  // The sizes in 64 bits, as p may be any 32-bit value from the file. A degree
  // whose arrays pass the limit of Vessik_Array2D fails here with 7; a degree
  // below 0 leaves them empty, and the first write below raises 9. Past this
  // point 0 <= p and (p + 1) squared is within the limit, so no sum of p with a
  // loop counter overflows.
  //
  // ndu, left, right and ders are written in full before they are read, so they
  // are only sized; a keeps its zeros, as its rows are read across the rounds.
  const int64_t size = static_cast<int64_t>(p) + 1;
  ndu.Size(size, size);
  a.Reset(2, size);
  ders.Size(static_cast<int64_t>(n) + 1, size);
  const size_t sides = size + 1 > 0 ? static_cast<size_t>(size + 1) : 0;
  left_.resize(sides);
  right_.resize(sides);
  std::vector<double>& left = left_;
  std::vector<double>& right = right_;

  // The two triangles of the usual square ndu, each kept by rows. Below the
  // diagonal, (j, r) with r < j is the knot difference right(r + 1) + left(j - r);
  // on and above it, (r, j) with r <= j is the basis function r of degree j. Row j
  // of the array holds the differences of round j in its columns 0 to j - 1 and
  // the basis functions of degree p - j in its columns j to p, so that the loop of
  // each round walks along rows, where the square layout walks the functions
  // down a column, a row length apart.
  auto diff = [&ndu](int32_t j, int32_t r) -> double& { return ndu(j, r); };
  auto basis = [&ndu, p](int32_t r, int32_t j) -> double& { return ndu(p - j, p - j + r); };

  basis(0, 0) = 1;
  for (int32_t j = 1; j <= p; ++j) {
    // A high degree makes one evaluation long on its own.
    if (j % 64 == 0) PollCancel();
    const size_t sj = static_cast<size_t>(j);
    // Past the end of the knots the last knot stands in, and the point is marked.
    // The span may lie far off the knots (m - p - 2 at the last knot): 64 bits.
    const int64_t below = static_cast<int64_t>(span) - j + 1;
    const int64_t above = static_cast<int64_t>(span) + j;
    if (below <= m) {
      left[sj] = u - Knot(below);
    } else {
      left[sj] = u - Knot(m);
      CurvePointValid() = false;
    }
    if (above <= m) {
      right[sj] = Knot(above) - u;
    } else {
      right[sj] = Knot(m) - u;
      CurvePointValid() = false;
    }
    // The differences of this round, the functions of degree j - 1 and those of
    // degree j, each a run of one row: r below stays within all three.
    double* dif = ndu.Row(j);
    const double* lower = ndu.Row(p - j + 1) + (p - j + 1);
    double* upper = ndu.Row(p - j) + (p - j);
    double saved = 0;
    for (int32_t r = 0; r <= j - 1; ++r) {
      const size_t r1 = static_cast<size_t>(r + 1);
      const size_t jr = static_cast<size_t>(j - r);
      dif[r] = right[r1] + left[jr];
      double temp = lower[r] / dif[r];
      upper[r] = saved + right[r1] * temp;
      saved = left[jr] * temp;
    }
    upper[j] = saved;
  }
  for (int32_t j = 0; j <= p; ++j) ders(0, j) = basis(j, p);

  for (int32_t r = 0; r <= p; ++r) {
    if (r % 64 == 63) PollCancel();
    int32_t s1 = 0;
    int32_t s2 = 1;
    a(0, 0) = 1;
    for (int32_t k = 1; k <= n; ++k) {
      double d = 0;
      int32_t rk = r - k;
      int32_t pk = p - k;
      if (r >= k) {
        a(s2, 0) = a(s1, 0) / diff(pk + 1, rk);
        d = a(s2, 0) * basis(rk, pk);
      }
      int32_t j1 = rk < -1 ? -rk : 1;
      int32_t j2 = r - 1 <= pk ? k - 1 : p - r;
      for (int32_t j = j1; j <= j2; ++j) {
        a(s2, j) = (a(s1, j) - a(s1, j - 1)) / diff(pk + 1, rk + j);
        d = d + a(s2, j) * basis(rk + j, pk);
      }
      if (r <= pk) {
        a(s2, k) = -a(s1, k - 1) / diff(pk + 1, r);
        d = d + a(s2, k) * basis(r, pk);
      }
      ders(k, r) = d;
      int32_t t = s1;
      s1 = s2;
      s2 = t;
    }
  }

  double f = p;
  for (int32_t k = 1; k <= n; ++k) {
    for (int32_t j = 0; j <= p; ++j) ders(k, j) = ders(k, j) * f;
    f = f * (p - k);
  }
  return ders;
}

template <int P, int N>
void Vessik_BSpline::FixedDegreeEvaluate(int32_t span, double u, double (&CK)[2][3]) const {
  // ders_basis_functions and bspline_ders_evaluate in the textbook layout, with
  // ndu(r, j) the basis function r of degree j on and above the diagonal and the
  // knot differences below it; the caller has checked every index.
  const double* K = Knots.data();
  double ndu[P + 1][P + 1];
  double left[P + 1];
  double right[P + 1];
  ndu[0][0] = 1;
  for (int j = 1; j <= P; ++j) {
    left[j] = u - K[span - j + 1];
    right[j] = K[span + j] - u;
    double saved = 0;
    for (int r = 0; r <= j - 1; ++r) {
      ndu[j][r] = right[r + 1] + left[j - r];
      double temp = ndu[r][j - 1] / ndu[j][r];
      ndu[r][j] = saved + right[r + 1] * temp;
      saved = left[j - r] * temp;
    }
    ndu[j][j] = saved;
  }
  double ders[N + 1][P + 1];
  for (int j = 0; j <= P; ++j) ders[0][j] = ndu[j][P];
  if constexpr (N == 1) {
    // The first derivatives: with k = 1 only the ends of the a-rows take part.
    for (int r = 0; r <= P; ++r) {
      double d = 0;
      if (r >= 1) {
        const double a0 = 1 / ndu[P][r - 1];
        d = a0 * ndu[r - 1][P - 1];
      }
      if (r <= P - 1) {
        const double a1 = -1.0 / ndu[P][r];
        d = d + a1 * ndu[r][P - 1];
      }
      ders[1][r] = d;
    }
    const double f = P;
    for (int j = 0; j <= P; ++j) ders[1][j] = ders[1][j] * f;
  }
  for (int k = 0; k <= N; ++k) {
    double x = 0;
    double y = 0;
    double w = 0;
    for (int j = 0; j <= P; ++j) {
      const Vessik_Point& Pt = HCPoints[static_cast<size_t>(span - P + j)];
      const double b = ders[k][j];
      x = x + Pt.X * b;
      y = y + Pt.Y * b;
      w = w + Pt.Z * b;
    }
    CK[k][0] = x;
    CK[k][1] = y;
    CK[k][2] = w;
  }
}

bool Vessik_BSpline::EvaluateLowOrder(int32_t n, double u, double (&CK)[2][3]) {
  if ((n != 0 && n != 1) || (Degree != 2 && Degree != 3)) return false;
  const int32_t span = findspan(u);
  const int64_t p = Degree;
  const int64_t s = span;
  if (s - p >= 0 && s + p <= LastKnot() && s < static_cast<int64_t>(HCPoints.size())) {
    if (Degree == 2) {
      n == 0 ? FixedDegreeEvaluate<2, 0>(span, u, CK) : FixedDegreeEvaluate<2, 1>(span, u, CK);
    } else {
      n == 0 ? FixedDegreeEvaluate<3, 0>(span, u, CK) : FixedDegreeEvaluate<3, 1>(span, u, CK);
    }
    return true;
  }
  // Knots or points outside the vectors: the general path marks, skips or fails.
  ck_.Reset(static_cast<int64_t>(n) + 1, 3);
  const Vessik_Array2D& G = DersAtSpan(n, u, span);
  for (int32_t k = 0; k <= n; ++k) {
    for (int32_t c = 0; c < 3; ++c) CK[k][c] = G(k, c);
  }
  return true;
}

void Vessik_BSpline::FreeWorkArrays() {
  ndu_ = Vessik_Array2D();
  a_ = Vessik_Array2D();
  ders_ = Vessik_Array2D();
  ck_ = Vessik_Array2D();
  std::vector<double>().swap(left_);
  std::vector<double>().swap(right_);
}

const Vessik_Array2D& Vessik_BSpline::bspline_ders_evaluate(int32_t n, double u) {
  ck_.Reset(static_cast<int64_t>(n) + 1, 3);
  return DersAtSpan(n, u, findspan(u));
}

const Vessik_Array2D& Vessik_BSpline::DersAtSpan(int32_t n, double u, int32_t span) {
  const int32_t p = Degree;
  Vessik_Array2D& CK = ck_;
  const Vessik_Array2D& nders = ders_basis_functions(span, u, n);
  const int32_t du = static_cast<int32_t>(MinOf(n, p));
  const int32_t upper = static_cast<int32_t>(HCPoints.size()) - 1;
  for (int32_t k = 0; k <= du; ++k) {
    for (int32_t j = 0; j <= p; ++j) {
      // 64 bits: span - p with a span near the bottom of its range.
      const int64_t i = static_cast<int64_t>(span) - p + j;
      if (i > upper) {
        CurvePointValid() = false;
        continue;
      }
      // Below the first point (only at the very last knot) the term is left out.
      if (i < 0) continue;
      // Each coordinate sums its terms in the order of j, as one loop over the
      // coordinates inside this one would.
      const Vessik_Point& P = HCPoints[static_cast<size_t>(i)];
      const double N = nders(k, j);
      CK(k, 0) = CK(k, 0) + P.X * N;
      CK(k, 1) = CK(k, 1) + P.Y * N;
      CK(k, 2) = CK(k, 2) + P.Z * N;
    }
  }
  return CK;
}

}  // namespace vessik
