// Fuzz target: the fitting of splines and ellipses with arcs and lines.
//
// The bytes choose a SPLINE (degree, knots, weights, control points) or an
// ELLIPSE (centre, axis, ratio, start and end), and the settings of the fit. The
// entity reads its group pairs as it would from a file, is fitted by its Init,
// and prints its records. Degrees cover the whole 32-bit range now and then, and
// values reach every double, infinities and not-a-numbers included. A
// Vessik_Error is an ordinary outcome; anything else is a finding.
#include <fuzzer/FuzzedDataProvider.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <limits>
#include <string>
#include <typeinfo>
#include <utility>
#include <vector>

#include "entities/Vessik_Ellipse.h"
#include "entities/Vessik_Spline.h"
#include "parser/GroupPairs.h"
#include "parser/Vessik_CommonData.h"
#include "parser/Vessik_Concat.h"
#include "parser/Vessik_Error.h"
#include "parser/Vessik_Layer.h"

namespace {

using Pairs = std::vector<std::pair<int32_t, std::string>>;

// A double with all its digits, so that it reads back the same.
std::string Num(double v) {
  char buf[64];
  std::snprintf(buf, sizeof buf, "%.17g", v);
  return buf;
}

// Mostly a value of ordinary size; sometimes one of the awkward ones, or any
// double at all.
double Value(FuzzedDataProvider& in, double lo, double hi) {
  static constexpr double kOdd[] = {0,
                                    -0.0,
                                    1,
                                    -1,
                                    1e-300,
                                    1e300,
                                    std::numeric_limits<double>::infinity(),
                                    -std::numeric_limits<double>::infinity(),
                                    std::numeric_limits<double>::quiet_NaN(),
                                    std::numeric_limits<double>::denorm_min(),
                                    std::numeric_limits<double>::max(),
                                    1e15};
  switch (in.ConsumeIntegralInRange<int>(0, 15)) {
    case 0:
      return in.PickValueInArray(kOdd);
    case 1:
      return in.ConsumeFloatingPoint<double>();
    default:
      return in.ConsumeFloatingPointInRange(lo, hi);
  }
}

// The same without the huge values. An ellipse far larger than the tolerance, or
// far from the origin, can never meet it: the fit then refines its chain up to
// its limit of pieces, a known slow case that would stop every run in a timeout.
double TameValue(FuzzedDataProvider& in, double lo, double hi) {
  static constexpr double kOdd[] = {0,
                                    -0.0,
                                    1,
                                    -1,
                                    1e-300,
                                    std::numeric_limits<double>::infinity(),
                                    -std::numeric_limits<double>::infinity(),
                                    std::numeric_limits<double>::quiet_NaN(),
                                    std::numeric_limits<double>::denorm_min()};
  if (in.ConsumeIntegralInRange<int>(0, 15) == 0) return in.PickValueInArray(kOdd);
  return in.ConsumeFloatingPointInRange(lo, hi);
}

// A degree: small mostly, else any 32-bit value or one at its edges.
int32_t Degree(FuzzedDataProvider& in) {
  static constexpr int32_t kEdges[] = {std::numeric_limits<int32_t>::min(),
                                       std::numeric_limits<int32_t>::max(),
                                       -1,
                                       0,
                                       1000,
                                       65536,
                                       std::numeric_limits<int32_t>::max() - 1};
  switch (in.ConsumeIntegralInRange<int>(0, 7)) {
    case 0:
      return in.ConsumeIntegral<int32_t>();
    case 1:
      return in.PickValueInArray(kEdges);
    default:
      return in.ConsumeIntegralInRange<int32_t>(1, 7);
  }
}

// The settings of the fit. Tolerances go down to 1e-5 mostly; now and then any
// value, which the fit must refuse or finish within its iteration limits. Tame
// settings (for an ellipse) keep to the listed tolerances: one of 0 or below
// makes the ellipse refine its chain up to its limit, the known slow case.
vessik::Vessik_CommonData Settings(FuzzedDataProvider& in, bool tame) {
  static constexpr double kTolerances[] = {0.01, 0.001, 0.1, 1, 0.0001, 0.00001, 10};
  vessik::Vessik_CommonData d;
  d.Tolerance = !tame && in.ConsumeIntegralInRange<int>(0, 15) == 0
                    ? Value(in, -1, 1)
                    : in.PickValueInArray(kTolerances);
  d.Check = in.ConsumeIntegralInRange<int32_t>(0, 3);
  d.InitialSegments = in.ConsumeIntegralInRange<int>(0, 7) == 0
                          ? Value(in, -100, 100)
                          : in.ConsumeIntegralInRange<int32_t>(0, 50);
  d.ArcMaximumDeviationFactor = 0.01;
  d.ArcMinimumSegmentLengthFactor = 0.1;
  d.ArcMaximumSegmentLengthFactor = 10;
  return d;
}

Pairs SplinePairs(FuzzedDataProvider& in) {
  const int32_t degree = Degree(in);
  const int cps = in.ConsumeIntegralInRange<int>(0, 12);
  // Knots: usually the clamped count (control points + degree + 1), else any.
  int knots = in.ConsumeIntegralInRange<int>(0, 24);
  const int64_t clamped = static_cast<int64_t>(cps) + degree + 1;
  if (in.ConsumeBool() && clamped >= 0 && clamped <= 24) knots = static_cast<int>(clamped);
  const int weights = in.ConsumeBool() ? 0 : in.ConsumeIntegralInRange<int>(0, cps + 1);
  const bool sorted = in.ConsumeIntegralInRange<int>(0, 3) != 0;
  const bool flat = in.ConsumeBool();

  Pairs p{{5, "2A"}, {8, "0"}, {70, std::to_string(in.ConsumeIntegralInRange<int>(0, 15))}};
  p.push_back({71, std::to_string(degree)});
  // The counts the file claims: mostly the true ones.
  p.push_back({72, std::to_string(in.ConsumeIntegralInRange<int>(0, 7) == 0
                                      ? in.ConsumeIntegralInRange<int>(-2, 30)
                                      : knots)});
  p.push_back({73, std::to_string(in.ConsumeIntegralInRange<int>(0, 7) == 0
                                      ? in.ConsumeIntegralInRange<int>(-2, 20)
                                      : cps)});
  double knot = 0;
  // In 64 bits: the degree may be any 32-bit value.
  const int64_t lastInner = static_cast<int64_t>(knots) - degree - 1;
  for (int i = 0; i < knots; ++i) {
    if (sorted) {
      // Clamped ends and steps of 0 to 3, now and then an odd value.
      if (i > degree && i < lastInner) knot += in.ConsumeIntegralInRange<int>(0, 3);
      if (i == lastInner && knots > 2 * static_cast<int64_t>(degree) + 1) knot += 1;
      p.push_back(
          {40, Num(in.ConsumeIntegralInRange<int>(0, 31) == 0 ? Value(in, -10, 10) : knot)});
    } else {
      p.push_back({40, Num(Value(in, -10, 10))});
    }
  }
  for (int i = 0; i < weights; ++i) {
    p.push_back({41, Num(in.ConsumeIntegralInRange<int>(0, 3) == 0 ? Value(in, -2, 5) : 1.0)});
  }
  for (int i = 0; i < cps; ++i) {
    p.push_back({10, Num(Value(in, -100, 100))});
    p.push_back({20, Num(Value(in, -100, 100))});
    p.push_back({30, flat ? "0" : Num(Value(in, -100, 100))});
  }
  p.push_back({0, "EOF"});
  return p;
}

Pairs EllipsePairs(FuzzedDataProvider& in) {
  Pairs p{{5, "1F"}, {8, "0"}};
  p.push_back({10, Num(TameValue(in, -100, 100))});
  p.push_back({20, Num(TameValue(in, -100, 100))});
  p.push_back({30, "0"});
  p.push_back({11, Num(TameValue(in, -100, 100))});
  p.push_back({21, Num(TameValue(in, -100, 100))});
  p.push_back({31, "0"});
  p.push_back({40, Num(TameValue(in, 0, 1))});
  p.push_back({41, Num(TameValue(in, -7, 7))});
  p.push_back({42, Num(TameValue(in, -7, 7))});
  p.push_back({0, "EOF"});
  return p;
}

// With VESSIK_FUZZ_SHOW set, each input's entity and settings go to stderr:
// replaying a finding with it shows what the bytes stand for.
void Show(const Pairs& pairs, const vessik::Vessik_CommonData& d) {
  static const bool show = std::getenv("VESSIK_FUZZ_SHOW") != nullptr;
  if (!show) return;
  std::fprintf(stderr, "tolerance %.17g check %d initial segments %.17g\n", d.Tolerance, d.Check,
               d.InitialSegments);
  for (const auto& [code, value] : pairs) std::fprintf(stderr, "%d\t%s\n", code, value.c_str());
}

template <typename Entity>
void ReadFitAndPrint(const Pairs& pairs, vessik::Vessik_CommonData& settings) {
  Show(pairs, settings);
  vessik::GroupPairs().Assign(pairs);
  vessik::Vessik_Layers layers;
  Entity entity;
  try {
    entity.Vessik_IEntity_Read(0, layers);
    entity.Vessik_IEntity_Init(&settings);
    vessik::Vessik_Concat text;
    entity.AppendText(text, layers);
  } catch (const vessik::Vessik_Error&) {
    // Refused or failed: what the parse would report.
  }
  entity.Vessik_IEntity_Release();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  FuzzedDataProvider in(data, size);
  try {
    const bool ellipse = in.ConsumeIntegralInRange<int>(0, 3) == 0;
    vessik::Vessik_CommonData settings = Settings(in, ellipse);
    if (ellipse) {
      ReadFitAndPrint<vessik::Vessik_Ellipse>(EllipsePairs(in), settings);
    } else {
      ReadFitAndPrint<vessik::Vessik_Spline>(SplinePairs(in), settings);
    }
  } catch (const std::exception& e) {
    std::fprintf(stderr, "fuzz_fit: %s escaped: %s\n", typeid(e).name(), e.what());
    std::abort();
  } catch (...) {
    std::fprintf(stderr, "fuzz_fit: an unknown exception escaped\n");
    std::abort();
  }
  return 0;
}
