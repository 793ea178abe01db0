// Folding of arcs that lie on one circle and whose angle ranges meet. Angles are
// compared in whole ten-thousandths of a degree, from 0 to 3600000; a range that
// crosses 0 degrees is held as two.
#include <cmath>
#include <vector>

#include "entities/Vessik_Spline.h"
#include "geometry/Vessik_ArcGeo.h"
#include "geometry/Vessik_Math.h"

namespace vessik {

namespace {

constexpr double kDegPerRad = 57.2957795130823;
constexpr int32_t kEmpty = -999;
constexpr int32_t kFullTurn = 3600000;

struct ArcRecord {
  bool Active = true;
  double X = 0;
  double Y = 0;
  double R = 0;
  // Degrees, counter-clockwise order.
  double SA = 0;
  double EA = 0;
};

// How range q meets range p: 0 apart, 1 q covers p, 2 q overlaps p's start,
// 3 q overlaps p's end, 4 q inside p. Later rules override earlier ones.
int MergeCode(int32_t s1, int32_t e1, int32_t s2, int32_t e2) {
  int code = 0;
  if (s2 == s1 && e2 > e1) code = 1;
  if (s2 == s1 && e2 <= e1) code = 4;
  if (s2 < s1 && e2 == e1) code = 1;
  if (s2 < s1 && e2 == s1) code = 2;
  if (s2 < s1 && e2 < s1) code = 0;
  if (s2 < s1 && e2 < e1 && e2 > s1) code = 2;
  if (s2 < s1 && e2 > e1) code = 1;
  if (s2 > s1 && e2 <= e1) code = 4;
  if (s2 > s1 && e2 > e1) code = 3;
  if (s2 == e1) code = 3;
  if (s2 > e1) code = 0;
  return code;
}

}  // namespace

void Vessik_Spline::SwapLong(int32_t& A, int32_t& B) {
  int32_t t = A;
  A = B;
  B = t;
}

void Vessik_Spline::MergeArcs(ArcList& Arcs) {
  // A single arc keeps its form, end points and direction.
  if (Arcs.Count() < 2) return;
  const Vessik_ArcGeo& head = *Arcs.Item(1);
  Vessik_IParent* const parent = head.Vessik_IEntity_Parent();
  const int32_t id = head.Id;
  const int32_t layer = head.Layer;
  const std::shared_ptr<Vessik_Color> color = head.Color;

  std::vector<ArcRecord> rec(static_cast<size_t>(Arcs.Count()));
  for (int32_t p = 1; p <= Arcs.Count(); ++p) {
    const Vessik_ArcGeo& A = *Arcs.Item(p);
    ArcRecord& r = rec[static_cast<size_t>(p - 1)];
    r.Active = true;
    r.X = A.O.X;
    r.Y = A.O.Y;
    r.R = A.R;
    r.SA = (A.Dir > 0 ? A.SA : A.EA) * kDegPerRad;
    r.EA = (A.Dir > 0 ? A.EA : A.SA) * kDegPerRad;
    if (r.SA < 0) r.SA = r.SA + 360;
    if (r.EA < 0) r.EA = r.EA + 360;
  }

  // Positions 1 to 4 as in the description; index 0 unused.
  int32_t RangeStart[5];
  int32_t RangeEnd[5];
  const size_t n = rec.size();
  for (size_t i = 0; i < n; ++i) {
    if (!rec[i].Active) continue;
    for (size_t j = 0; j < n; ++j) {
      if (j == i || !rec[j].Active) continue;
      ArcRecord& ri = rec[i];
      ArcRecord& rj = rec[j];
      if (!(std::abs(ri.R - rj.R) < 0.002) || !(std::abs(ri.X - rj.X) < 0.002) ||
          !(std::abs(ri.Y - rj.Y) < 0.002)) {
        continue;
      }
      for (int k = 1; k <= 4; ++k) {
        RangeStart[k] = kEmpty;
        RangeEnd[k] = kEmpty;
      }
      if (ri.SA > 360) ri.SA = ri.SA - 360;
      if (ri.EA > 360) ri.EA = ri.EA - 360;
      if (rj.SA > 360) rj.SA = rj.SA - 360;
      if (rj.EA > 360) rj.EA = rj.EA - 360;
      RangeStart[1] = RoundToLong(ri.SA * 10000);
      RangeEnd[1] = RoundToLong(ri.EA * 10000);
      RangeStart[2] = RoundToLong(rj.SA * 10000);
      RangeEnd[2] = RoundToLong(rj.EA * 10000);
      // A range across 0 degrees becomes 0..end and start..full turn.
      if (RangeEnd[1] < RangeStart[1]) {
        RangeStart[3] = RangeStart[1];
        RangeStart[1] = 0;
        RangeEnd[3] = kFullTurn;
      }
      if (RangeEnd[2] < RangeStart[2]) {
        RangeStart[4] = RangeStart[2];
        RangeStart[2] = 0;
        RangeEnd[4] = kFullTurn;
      }
      // Both ends are then the full turn, so only the starts need ordering.
      if (RangeStart[4] > kEmpty && RangeStart[4] < RangeStart[3]) {
        SwapLong(RangeStart[3], RangeStart[4]);
      }
      for (int p = 1; p <= 3; ++p) {
        for (int q = p + 1; q <= 4; ++q) {
          const int code = MergeCode(RangeStart[p], RangeEnd[p], RangeStart[q], RangeEnd[q]);
          switch (code) {
            case 1:
              RangeStart[p] = RangeStart[q];
              RangeEnd[p] = RangeEnd[q];
              break;
            case 2:
              RangeStart[p] = RangeStart[q];
              break;
            case 3:
              RangeEnd[p] = RangeEnd[q];
              break;
            default:
              break;
          }
          if (code != 0) {
            RangeStart[q] = kEmpty;
            RangeEnd[q] = kEmpty;
          }
        }
      }
      // Close the ring: a range ending at the full turn joins one starting at 0.
      int w = 0;
      for (int k = 1; k <= 4; ++k) {
        if (RangeEnd[k] == kFullTurn) w = k;
      }
      int z = 0;
      if (RangeStart[2] == 0) {
        z = 2;
      } else if (RangeStart[1] == 0) {
        z = 1;
      }
      if (w != 0 && z != 0 && w != z) {
        RangeStart[z] = RangeStart[w];
        RangeStart[w] = kEmpty;
        RangeEnd[w] = kEmpty;
      }
      int count = 0;
      int only = 0;
      for (int k = 1; k <= 4; ++k) {
        if (RangeStart[k] > kEmpty) {
          ++count;
          only = k;
        }
      }
      if (count == 1) {
        // i folds into j; i keeps its data and may fold into later arcs too.
        ri.Active = false;
        rj.SA = RangeStart[only] / 10000.0;
        rj.EA = RangeEnd[only] / 10000.0;
      }
    }
  }

  Arcs.Clear();
  for (const ArcRecord& r : rec) {
    if (!r.Active || r.R <= 0.005) continue;
    // Rebuilt counter-clockwise from centre, radius and angles; no end points,
    // and Ext 1 is a marker, not a sweep.
    auto A = std::make_shared<Vessik_ArcGeo>();
    A->O = Vessik_Point(r.X, r.Y, 0);
    A->R = r.R;
    A->SA = r.SA / kDegPerRad;
    A->EA = r.EA / kDegPerRad;
    A->Dir = 1.0;
    A->Ext = 1.0;
    A->Id = id;
    A->Layer = layer;
    A->Color = color;
    A->Vessik_IEntity_Parent(parent);
    Arcs.Add(std::move(A));
  }
}

}  // namespace vessik
