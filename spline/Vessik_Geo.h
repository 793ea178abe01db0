// One item of a list of fitted segments: either a straight segment or an arc,
// never both. The fitting works on mixed lists of the two and asks each item
// which one it is, so no item is ever taken for the other kind.
#pragma once

#include <memory>
#include <string>
#include <utility>

#include "parser/Vessik_Concat.h"
#include "parser/Vessik_Layer.h"

namespace vessik {

class Vessik_LineGeo;
class Vessik_ArcGeo;

class Vessik_Geo {
 public:
  explicit Vessik_Geo(std::shared_ptr<Vessik_LineGeo> line) : line_(std::move(line)) {}
  explicit Vessik_Geo(std::shared_ptr<Vessik_ArcGeo> arc) : arc_(std::move(arc)) {}

  // The segment of that kind, or null when the item is of the other kind.
  Vessik_LineGeo* Line() const { return line_.get(); }
  Vessik_ArcGeo* Arc() const { return arc_.get(); }
  const std::shared_ptr<Vessik_ArcGeo>& ArcRef() const { return arc_; }
  // Hands the arc over, leaving the item empty.
  std::shared_ptr<Vessik_ArcGeo> TakeArc() { return std::move(arc_); }

  // The records of the segment; empty for an item that holds nothing.
  std::string ToString(Vessik_Layers& Layers) const;
  void AppendText(Vessik_Concat& Text, Vessik_Layers& Layers) const;
  void Release() const;

 private:
  std::shared_ptr<Vessik_LineGeo> line_;
  std::shared_ptr<Vessik_ArcGeo> arc_;
};

}  // namespace vessik
