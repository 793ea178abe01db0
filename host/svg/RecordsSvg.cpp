#include "host/svg/RecordsSvg.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <limits>
#include <numbers>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace vessik {
namespace {

constexpr int32_t kWhite = 0xFFFFFF;
// Pixels of the larger side of the picture at its natural size.
constexpr double kPictureSide = 1024;
constexpr double kMarginShare = 0.05;

double Radians(double degrees) {
  return degrees * (std::numbers::pi / 180);
}

bool Finite(const Vessik_Record& r) {
  const double* v = &r.X1;
  return std::all_of(v, v + 12, [](double d) { return std::isfinite(d); });
}

// The counter-clockwise sweep from SA to EA in degrees, in (0, 360]: equal angles
// make a full turn.
double Sweep(const Vessik_Record& r) {
  double d = std::fmod(r.EA - r.SA, 360.0);
  if (d <= 0) d += 360;
  return d;
}

class Box {
 public:
  void Add(double x, double y) {
    minX_ = std::min(minX_, x);
    minY_ = std::min(minY_, y);
    maxX_ = std::max(maxX_, x);
    maxY_ = std::max(maxY_, y);
  }
  void Add(const Vessik_Record& r) {
    switch (r.RecordType) {
      case 83:
        Add(r.X1, r.Y1);
        Add(r.X2, r.Y2);
        break;
      case 75:
        Add(r.CX - r.R, r.CY - r.R);
        Add(r.CX + r.R, r.CY + r.R);
        break;
      case 66: {
        Add(r.CX + r.R * std::cos(Radians(r.SA)), r.CY + r.R * std::sin(Radians(r.SA)));
        Add(r.CX + r.R * std::cos(Radians(r.EA)), r.CY + r.R * std::sin(Radians(r.EA)));
        // The quadrant points the sweep passes.
        const double sweep = Sweep(r);
        for (int q = 0; q < 4; ++q) {
          double past = std::fmod(q * 90.0 - r.SA, 360.0);
          if (past < 0) past += 360;
          if (past <= sweep) {
            Add(r.CX + r.R * std::cos(Radians(q * 90.0)), r.CY + r.R * std::sin(Radians(q * 90.0)));
          }
        }
        break;
      }
      default:
        break;
    }
  }
  bool Empty() const { return minX_ > maxX_; }
  double MinX() const { return minX_; }
  double MinY() const { return minY_; }
  double Width() const { return maxX_ - minX_; }
  double Height() const { return maxY_ - minY_; }

 private:
  double minX_ = std::numeric_limits<double>::infinity();
  double minY_ = std::numeric_limits<double>::infinity();
  double maxX_ = -std::numeric_limits<double>::infinity();
  double maxY_ = -std::numeric_limits<double>::infinity();
};

class Writer {
 public:
  void Raw(std::string_view s) { out_.append(s); }
  // The shortest text that reads back as the same double, whatever the locale.
  void Number(double v) {
    if (v == 0) v = 0;  // no "-0"
    char buf[32];
    out_.append(buf, std::to_chars(buf, buf + sizeof buf, v).ptr);
  }
  // Y points up in the drawing and down in SVG.
  void Point(double x, double y) {
    Number(x);
    Raw(",");
    Number(-y);
  }
  void Colour(int32_t rgb) {
    static constexpr char kHex[] = "0123456789abcdef";
    const int channels[3] = {rgb & 0xFF, (rgb >> 8) & 0xFF, (rgb >> 16) & 0xFF};
    Raw("#");
    for (int c : channels) {
      out_.push_back(kHex[c >> 4]);
      out_.push_back(kHex[c & 0xF]);
    }
  }
  // A name from the drawing as attribute text: XML's special characters escaped,
  // bytes that are no UTF-8 taken as Latin-1, control characters as U+FFFD.
  void Escaped(std::string_view s) {
    for (size_t i = 0; i < s.size();) {
      const auto c = static_cast<unsigned char>(s[i]);
      const size_t length = Utf8Length(s, i);
      if (length > 1) {
        out_.append(s.substr(i, length));
        i += length;
        continue;
      }
      ++i;
      switch (c) {
        case '&':
          Raw("&amp;");
          break;
        case '<':
          Raw("&lt;");
          break;
        case '>':
          Raw("&gt;");
          break;
        case '"':
          Raw("&quot;");
          break;
        default:
          if (c >= 0x80) {
            out_.push_back(static_cast<char>(0xC0 | (c >> 6)));
            out_.push_back(static_cast<char>(0x80 | (c & 0x3F)));
          } else if (c < 0x20 || c == 0x7F) {
            Raw("\xEF\xBF\xBD");
          } else {
            out_.push_back(static_cast<char>(c));
          }
      }
    }
  }
  std::string Take() { return std::move(out_); }

 private:
  // Bytes of the well-formed UTF-8 sequence of two or more bytes at i, or 1.
  static size_t Utf8Length(std::string_view s, size_t i) {
    const auto c = static_cast<unsigned char>(s[i]);
    size_t n = 1;
    uint32_t code = 0;
    if (c >= 0xC2 && c <= 0xDF) {
      n = 2;
      code = c & 0x1F;
    } else if (c >= 0xE0 && c <= 0xEF) {
      n = 3;
      code = c & 0x0F;
    } else if (c >= 0xF0 && c <= 0xF4) {
      n = 4;
      code = c & 0x07;
    } else {
      return 1;
    }
    if (s.size() - i < n) return 1;
    for (size_t k = 1; k < n; ++k) {
      const auto t = static_cast<unsigned char>(s[i + k]);
      if ((t & 0xC0) != 0x80) return 1;
      code = (code << 6) | (t & 0x3F);
    }
    // Overlong forms, surrogates and values past U+10FFFF are no UTF-8.
    const uint32_t least[5] = {0, 0, 0x80, 0x800, 0x10000};
    if (code < least[n] || (code >= 0xD800 && code <= 0xDFFF) || code > 0x10FFFF) return 1;
    return n;
  }

  std::string out_;
};

int32_t StrokeColour(const Vessik_Record& r, const Vessik_Layers& layers) {
  int32_t rgb = r.LayerColor;
  if (rgb <= 0) {
    const bool known = r.LayerId >= 0 && static_cast<size_t>(r.LayerId) < layers.size() &&
                       layers[static_cast<size_t>(r.LayerId)] &&
                       layers[static_cast<size_t>(r.LayerId)]->Color;
    rgb = known ? layers[static_cast<size_t>(r.LayerId)]->Color->ColorRGB() : kWhite;
  }
  if (rgb < 0) rgb = kWhite;
  return rgb == kWhite ? 0 : rgb;
}

void Element(Writer& w, const Vessik_Record& r, int32_t stroke) {
  switch (r.RecordType) {
    case 83:
      w.Raw("<line x1=\"");
      w.Number(r.X1);
      w.Raw("\" y1=\"");
      w.Number(-r.Y1);
      w.Raw("\" x2=\"");
      w.Number(r.X2);
      w.Raw("\" y2=\"");
      w.Number(-r.Y2);
      break;
    case 75:
      w.Raw("<circle cx=\"");
      w.Number(r.CX);
      w.Raw("\" cy=\"");
      w.Number(-r.CY);
      w.Raw("\" r=\"");
      w.Number(r.R);
      break;
    case 66: {
      const double sweep = Sweep(r);
      const double sa = Radians(r.SA);
      const double ea = Radians(r.EA);
      w.Raw("<path d=\"M");
      w.Point(r.CX + r.R * std::cos(sa), r.CY + r.R * std::sin(sa));
      if (sweep >= 360) {
        // A full turn is two halves: one SVG arc cannot end where it starts.
        w.Raw("A");
        w.Number(r.R);
        w.Raw(",");
        w.Number(r.R);
        w.Raw(" 0 0 0 ");
        w.Point(r.CX - r.R * std::cos(sa), r.CY - r.R * std::sin(sa));
      }
      w.Raw("A");
      w.Number(r.R);
      w.Raw(",");
      w.Number(r.R);
      // Counter-clockwise with Y up is the negative sense of SVG's Y-down space.
      w.Raw(sweep > 180 && sweep < 360 ? " 0 1 0 " : " 0 0 0 ");
      w.Point(r.CX + r.R * std::cos(ea), r.CY + r.R * std::sin(ea));
      break;
    }
    default:
      return;
  }
  w.Raw("\" stroke=\"");
  w.Colour(stroke);
  w.Raw("\"/>\n");
}

}  // namespace

std::string RecordsSvg(const Vessik_Records& records, const Vessik_Layers& layers) {
  // Groups: the layer list's names first, then any other name a record prints.
  std::vector<std::string_view> groupNames;
  std::unordered_map<std::string_view, size_t> groupOf;
  for (const auto& layer : layers) {
    if (layer && groupOf.try_emplace(layer->Name, groupNames.size()).second) {
      groupNames.push_back(layer->Name);
    }
  }
  std::vector<std::vector<size_t>> members(groupNames.size());
  Box box;
  for (size_t i = 0; i < records.size(); ++i) {
    const Vessik_Record& r = records.Items[i];
    if (!Finite(r)) continue;
    const std::string_view name = records.LayerName(i);
    auto [it, added] = groupOf.try_emplace(name, groupNames.size());
    if (added) {
      groupNames.push_back(name);
      members.emplace_back();
    }
    members[it->second].push_back(i);
    box.Add(r);
  }

  double x = -1, y = -1, width = 2, height = 2;
  if (!box.Empty()) {
    const double side = std::max(box.Width(), box.Height());
    const double margin = side > 0 ? side * kMarginShare : 1;
    x = box.MinX() - margin;
    width = box.Width() + 2 * margin;
    height = box.Height() + 2 * margin;
    y = -(box.MinY() + box.Height()) - margin;
  }
  const double scale = kPictureSide / std::max(width, height);

  Writer w;
  w.Raw("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n");
  w.Raw("<svg xmlns=\"http://www.w3.org/2000/svg\" version=\"1.1\" width=\"");
  w.Number(std::max(1.0, std::round(width * scale)));
  w.Raw("\" height=\"");
  w.Number(std::max(1.0, std::round(height * scale)));
  w.Raw("\" viewBox=\"");
  w.Number(x);
  w.Raw(" ");
  w.Number(y);
  w.Raw(" ");
  w.Number(width);
  w.Raw(" ");
  w.Number(height);
  w.Raw("\">\n");
  w.Raw(
      "<style>line,path,circle{fill:none;stroke-width:1;vector-effect:non-scaling-stroke;"
      "stroke-linecap:round}</style>\n");
  w.Raw("<rect x=\"");
  w.Number(x);
  w.Raw("\" y=\"");
  w.Number(y);
  w.Raw("\" width=\"");
  w.Number(width);
  w.Raw("\" height=\"");
  w.Number(height);
  w.Raw("\" fill=\"#ffffff\"/>\n");
  for (size_t g = 0; g < groupNames.size(); ++g) {
    w.Raw("<g data-layer=\"");
    w.Escaped(groupNames[g]);
    w.Raw("\">\n");
    for (size_t i : members[g]) {
      const Vessik_Record& r = records.Items[i];
      Element(w, r, StrokeColour(r, layers));
    }
    w.Raw("</g>\n");
  }
  w.Raw("</svg>\n");
  return w.Take();
}

}  // namespace vessik
