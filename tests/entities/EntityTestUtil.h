// Helpers of the entity tests: a drawing through Parse2, with the progress values.
#pragma once

#include <array>
#include <string>
#include <utility>
#include <vector>

#include "parser/Vessik_Convert.h"
#include "parser/parser.h"
#include "support/TestSupport.h"

namespace vessik::test {

using Pairs = std::vector<std::pair<int, std::string>>;

// The settings the tests use unless they say otherwise.
inline Vessik_CommonData TestData() {
  Vessik_CommonData d;
  d.Tolerance = 0.01;
  d.ArcMaximumDeviationFactor = 0.01;
  d.ArcMinimumSegmentLengthFactor = 0.1;
  d.ArcMaximumSegmentLengthFactor = 100;
  d.InitialSegments = 10;
  return d;
}

// Parse2 of the given DXF text.
inline std::string ParseText(const std::string& dxf, std::vector<int>* progressValues = nullptr) {
  TempFile f(dxf);
  Vessik_Parser parser;
  Vessik_CommonData data = TestData();
  Vessik_Progress progress;
  if (progressValues != nullptr) {
    progress.Connect([progressValues](int32_t v) { progressValues->push_back(v); });
  }
  return parser.Parse2(f.Path(), data, progress);
}

// Parse2 of a drawing with these entities, layers and blocks.
inline std::string ParseDrawing(const Pairs& entities,
                                const std::vector<std::pair<std::string, int>>& layers = {},
                                const Pairs& blocks = {}) {
  return ParseText(Drawing(entities, layers, blocks));
}

// The pairs of a block definition with base point (x, y, z) around the content.
inline Pairs Block(const std::string& name, const Pairs& content, double x = 0, double y = 0,
                   double z = 0) {
  Pairs p{{0, "BLOCK"},          {2, name}, {70, "0"}, {10, DoubleToText(x)}, {20, DoubleToText(y)},
          {30, DoubleToText(z)}, {3, name}};
  p.insert(p.end(), content.begin(), content.end());
  p.push_back({0, "ENDBLK"});
  return p;
}

inline Pairs Concat(std::initializer_list<Pairs> parts) {
  Pairs all;
  for (const Pairs& p : parts) all.insert(all.end(), p.begin(), p.end());
  return all;
}

// An LWPOLYLINE on layer 0 with flag 70 and (x, y, bulge) vertices.
inline Pairs Lw(const std::string& flag, const std::vector<std::array<double, 3>>& v) {
  Pairs p{{0, "LWPOLYLINE"}, {8, "0"}, {90, std::to_string(v.size())}, {70, flag}};
  for (const auto& q : v) {
    p.push_back({10, DoubleToText(q[0])});
    p.push_back({20, DoubleToText(q[1])});
    if (q[2] != 0) p.push_back({42, DoubleToText(q[2])});
  }
  return p;
}

// A POLYLINE on layer 0 with flag 70 and (x, y, z, bulge) vertices, ended by SEQEND.
inline Pairs Poly(const std::string& flag, const std::vector<std::array<double, 4>>& v,
                  const Pairs& head = {}) {
  Pairs p{{0, "POLYLINE"}, {8, "0"}, {66, "1"}, {10, "0"}, {20, "0"}, {30, "0"}};
  p.insert(p.end(), head.begin(), head.end());
  p.push_back({70, flag});
  for (const auto& q : v) {
    p.insert(p.end(), {{0, "VERTEX"},
                       {8, "0"},
                       {10, DoubleToText(q[0])},
                       {20, DoubleToText(q[1])},
                       {30, DoubleToText(q[2])}});
    if (q[3] != 0) p.push_back({42, DoubleToText(q[3])});
  }
  p.insert(p.end(), {{0, "SEQEND"}, {8, "0"}});
  return p;
}

}  // namespace vessik::test
