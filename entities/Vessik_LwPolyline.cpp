#include "entities/Vessik_LwPolyline.h"

#include "geometry/Vessik_Math.h"
#include "geometry/Vessik_Point.h"
#include "parser/ParseLimits.h"
#include "parser/Vessik_Convert.h"
#include "parser/Vessik_Error.h"
#include "parser/Vessik_Utils.h"

namespace vessik {
namespace {

// Spaces removed at both ends; tabs stay.
std::string_view TrimSpaces(std::string_view s) {
  while (!s.empty() && s.front() == ' ') s.remove_prefix(1);
  while (!s.empty() && s.back() == ' ') s.remove_suffix(1);
  return s;
}

}  // namespace

Vessik_LwPolyline::~Vessik_LwPolyline() {
  lines_.clear();
  PumpMessages();
}

int32_t Vessik_LwPolyline::Vessik_IEntity_Read(int32_t StartLine, Vessik_Layers& Layers) {
  // The vertex list lives only during the read; one list per thread serves every
  // polyline, so that reading allocates nothing per vertex or per polyline.
  thread_local std::vector<Vessik_Point> vertices;
  vertices.clear();
  // A long polyline read once should not keep its list for the rest of the thread.
  struct TrimList {
    ~TrimList() {
      if (vertices.capacity() > 4096) std::vector<Vessik_Point>().swap(vertices);
    }
  } trimList;
  bool closed = false;
  const int32_t last = ReadGroups(StartLine, [&](int32_t code, std::string_view value) {
    if (ReadSharedGroup(code, value, Layers)) return;
    switch (code) {
      case 10:
        vertices.emplace_back().X = ParseDouble(value);
        break;
      case 20:
        // Before the first group 10 there is no current vertex.
        if (vertices.empty()) RaisePlatformError(errnum::ObjectNotSet);
        vertices.back().Y = ParseDouble(value);
        break;
      case 42:
        if (vertices.empty()) RaisePlatformError(errnum::ObjectNotSet);
        vertices.back().Bulge = ParseDouble(value);
        break;
      case 70: {
        // Only these two texts close: 1, and 129 with the line type pattern bit.
        std::string_view f = TrimSpaces(value);
        closed = f == "1" || f == "129";
        break;
      }
      case 90:
        // The vertex count is not used; only a failed conversion is felt.
        static_cast<void>(TextToLong(value));
        break;
      default:
        break;
    }
  });
  const int32_t n = static_cast<int32_t>(vertices.size());
  lines_.reserve(vertices.size());
  if (n >= 1) {
    for (int32_t k = 0; k <= n - 2; ++k) {
      const Vessik_Point& a = vertices[static_cast<size_t>(k)];
      const Vessik_Point& b = vertices[static_cast<size_t>(k + 1)];
      AddLine(k, a.X, a.Y, b.X, b.Y, a.Bulge);
    }
    // A closed polyline with no vertex has nothing to close.
    if (closed) {
      const Vessik_Point& a = vertices[static_cast<size_t>(n - 1)];
      const Vessik_Point& b = vertices[0];
      AddLine(n - 1, a.X, a.Y, b.X, b.Y, a.Bulge);
    }
  }
  return last;
}

void Vessik_LwPolyline::AddLine(int32_t Index, double X1, double Y1, double X2, double Y2,
                                double Bulge) {
  // Id, Layer, Colour and parent are the polyline's own, shared by every segment;
  // the segment lies at Z 0.
  lines_.resize(static_cast<size_t>(Index) + 1);
  Vessik_PolySegment& line = lines_[static_cast<size_t>(Index)];
  line = Vessik_PolySegment();
  line.X1 = X1;
  line.Y1 = Y1;
  line.X2 = X2;
  line.Y2 = Y2;
  line.Bulge = Bulge;
}

std::vector<Vessik_Line> Vessik_LwPolyline::Lines() const {
  std::vector<Vessik_Line> lines;
  lines.reserve(lines_.size());
  for (const Vessik_PolySegment& segment : lines_) lines.push_back(segment.ToLine(*this));
  return lines;
}

void Vessik_LwPolyline::AppendText(Vessik_Concat& Text, Vessik_Layers& Layers) {
  for (const Vessik_PolySegment& segment : lines_) {
    segment.ToLine(*this).AppendText(Text, Layers);
    PumpMessages();
    PollCancel();
  }
}

void Vessik_LwPolyline::Vessik_IEntity_Release() {
  // The segments hold no parent of their own: clearing the polyline's clears theirs.
  parent_ = nullptr;
}

}  // namespace vessik
