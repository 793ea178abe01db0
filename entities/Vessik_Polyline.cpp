#include "entities/Vessik_Polyline.h"

#include "entities/Vessik_Vertex.h"
#include "geometry/Vessik_Aaa.h"
#include "geometry/Vessik_Math.h"
#include "geometry/Vessik_Point.h"
#include "parser/GroupPairs.h"
#include "parser/ParseLimits.h"
#include "parser/Vessik_Convert.h"
#include "parser/Vessik_Error.h"
#include "parser/Vessik_Utils.h"

namespace vessik {
namespace {

std::string_view TrimSpaces(std::string_view s) {
  while (!s.empty() && s.front() == ' ') s.remove_prefix(1);
  while (!s.empty() && s.back() == ' ') s.remove_suffix(1);
  return s;
}

// Runs step; once failures are ignored, a failure of the step is passed over and
// false is returned.
template <class Step>
bool Guarded(bool ignoring, Step&& step) {
  if (!ignoring) {
    step();
    return true;
  }
  try {
    step();
    return true;
  } catch (...) {
    if (InFlightEndsTheParse()) throw;  // a cancel, or memory that runs out
    return false;
  }
}

}  // namespace

Vessik_Polyline::~Vessik_Polyline() {
  lines_.clear();
  PumpMessages();
}

void Vessik_Polyline::AddSegment(const VertexValues& From, const Vessik_Vertex& To) {
  // Id, Layer, Colour and parent are the polyline's own, shared by every segment.
  Vessik_PolySegment& line = lines_.emplace_back();
  line.X1 = From.X;
  line.Y1 = From.Y;
  line.Z1 = From.Z;
  line.X2 = To.X;
  line.Y2 = To.Y;
  line.Z2 = To.Z;
  line.Bulge = From.Bulge;
}

void Vessik_Polyline::AddClosingSegment(double Bulge) {
  // From the end of the last segment back to the start of the first, at height 0
  // whatever the Z of its ends.
  Vessik_PolySegment line;
  line.X1 = lines_.back().X2;
  line.Y1 = lines_.back().Y2;
  line.X2 = lines_.front().X1;
  line.Y2 = lines_.front().Y1;
  line.Bulge = Bulge;
  lines_.push_back(line);
}

std::vector<Vessik_Line> Vessik_Polyline::Lines() const {
  std::vector<Vessik_Line> lines;
  lines.reserve(lines_.size());
  for (const Vessik_PolySegment& segment : lines_) lines.push_back(segment.ToLine(*this));
  return lines;
}

int32_t Vessik_Polyline::Vessik_IEntity_Read(int32_t StartLine, Vessik_Layers& Layers) {
  const GroupPairTable& pairs = GroupPairs();
  // One vertex object serves the whole chain; Bulge alone is reset for each.
  Vessik_Vertex vertex;
  VertexValues prev;
  int32_t n = -1;
  bool closed = false;
  // Set at the first group 70: from there on failures are passed over.
  bool ignoring = false;
  int32_t result = 0;
  int32_t i = StartLine;
  for (;;) {
    if (ignoring && (i < 0 || i >= pairs.Count())) {
      result = pairs.Count() - 1;
      break;
    }
    const int32_t code = pairs.Code(i);
    const std::string_view value = pairs.Value(i);
    if (code == 0) {
      if (value != "VERTEX") {
        // SEQEND and what follows are left for the caller.
        result = i - 1;
        break;
      }
      int32_t next = i;
      const bool read = Guarded(ignoring, [&] { next = vertex.Read(i + 1, Layers); });
      // A vertex whose read failed still makes its segment from what it read.
      Guarded(ignoring, [&] {
        if (n >= 0) AddSegment(prev, vertex);
      });
      prev = VertexValues{vertex.X, vertex.Y, vertex.Z, vertex.Bulge};
      n = n + 1;
      if (!read) {
        result = pairs.Count() - 1;
        break;
      }
      i = next;
      continue;
    }
    switch (code) {
      case 5:
        Id = HandleToId(value);
        break;
      case 8:
        Layer = LayerIndex(Layers, value);
        break;
      case 62:
        // After the first group 70 a colour that does not convert stays the new
        // colour object with number 0.
        Guarded(ignoring, [&] { ReadColor(Color, value); });
        break;
      case 70:
        ignoring = true;
        // Bit 0 of the flags read as a 16-bit integer: any odd number closes. A
        // value that does not convert leaves the polyline open.
        if (!Guarded(true, [&] { closed = (TextToInteger(TrimSpaces(value)) & 1) != 0; })) {
          closed = false;
        }
        break;
      case 210:
        ExtrX = ParseDouble(value);
        break;
      case 220:
        ExtrY = ParseDouble(value);
        break;
      case 230:
        ExtrZ = ParseDouble(value);
        break;
      default:
        break;
    }
    ++i;
  }
  // Fewer than two vertices give no segment to close.
  if (closed && !lines_.empty()) {
    Guarded(ignoring, [&] { AddClosingSegment(prev.Bulge); });
  }
  return result;
}

void Vessik_Polyline::AppendText(Vessik_Concat& Text, Vessik_Layers& Layers) {
  const Vessik_Point E(ExtrX, ExtrY, ExtrZ);
  if (!(ExtrX == 0 && ExtrY == 0 && ExtrZ == 0)) {
    // Object coordinates of E into the holding frame, then through the block chain.
    // Each segment then applies the chain once more when it prints: inside a block
    // the placement reaches polyline segments twice.
    Vessik_Aaa aaa;
    size_t done = 0;
    for (Vessik_PolySegment& line : lines_) {
      aaa.PlaceEnds(line, E, parent_);
      PumpMessages();
      if (++done % 4096 == 0) PollCancel();
    }
  }
  for (const Vessik_PolySegment& segment : lines_) {
    segment.ToLine(*this).AppendText(Text, Layers);
    PumpMessages();
    PollCancel();
  }
}

void Vessik_Polyline::Vessik_IEntity_Release() {
  // The segments hold no parent of their own: clearing the polyline's clears theirs.
  parent_ = nullptr;
}

}  // namespace vessik
