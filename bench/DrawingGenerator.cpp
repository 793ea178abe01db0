#include "DrawingGenerator.h"

#include <unistd.h>

#include <array>
#include <charconv>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <memory>
#include <string_view>
#include <utility>

namespace vessik::bench {

namespace {

// splitmix64: small, fast and the same everywhere.
class Random {
 public:
  explicit Random(uint64_t seed) : state_(seed) {}
  uint64_t Next() {
    uint64_t z = (state_ += 0x9E3779B97F4A7C15ull);
    z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ull;
    z = (z ^ (z >> 27)) * 0x94D049BB133111EBull;
    return z ^ (z >> 31);
  }
  // A value in [lo, hi) on a grid of 1/1000.
  double Uniform(double lo, double hi) {
    const uint64_t steps = static_cast<uint64_t>((hi - lo) * 1000.0);
    if (steps == 0) return lo;
    return lo + static_cast<double>(Next() % steps) / 1000.0;
  }
  int Below(int n) { return static_cast<int>(Next() % static_cast<uint64_t>(n)); }

 private:
  uint64_t state_;
};

constexpr std::array<std::pair<const char*, int>, 8> kLayers{{{"0", 7},
                                                              {"CONTOUR", 1},
                                                              {"HOLES", 5},
                                                              {"ENGRAVE", 3},
                                                              {"MARKING", 30},
                                                              {"BRIDGES", 140},
                                                              {"PARTS", 2},
                                                              {"SCRAP", 252}}};

// Collects the text and hands it to the file in large pieces.
class Writer {
 public:
  explicit Writer(std::FILE* out) : out_(out) { buffer_.reserve(kChunk + 4096); }
  ~Writer() { Flush(); }
  Writer(const Writer&) = delete;
  Writer& operator=(const Writer&) = delete;

  void Pair(int code, std::string_view value) {
    char buf[16];
    auto r = std::to_chars(buf, buf + sizeof buf, code);
    // Codes right-aligned in three columns, as drawing programs write them.
    for (std::ptrdiff_t pad = 3 - (r.ptr - buf); pad > 0; --pad) buffer_ += ' ';
    buffer_.append(buf, r.ptr);
    buffer_ += '\n';
    buffer_ += value;
    buffer_ += '\n';
    if (buffer_.size() >= kChunk) Flush();
  }
  void Pair(int code, int value) {
    char buf[16];
    auto r = std::to_chars(buf, buf + sizeof buf, value);
    Pair(code, std::string_view(buf, static_cast<size_t>(r.ptr - buf)));
  }
  void Number(int code, double value) {
    char buf[64];
    auto r = std::to_chars(buf, buf + sizeof buf, value, std::chars_format::fixed, 3);
    std::string_view text(buf, static_cast<size_t>(r.ptr - buf));
    // No trailing zeros: "12.500" is written "12.5", "3.000" is "3".
    while (text.size() > 1 && text.back() == '0') text.remove_suffix(1);
    if (!text.empty() && text.back() == '.') text.remove_suffix(1);
    if (text == "-0") text = "0";
    Pair(code, text);
  }
  void Point(int code, double x, double y) {
    Number(code, x);
    Number(code + 10, y);
    Number(code + 20, 0);
  }
  void Handle() {
    char buf[24];
    auto r = std::to_chars(buf, buf + sizeof buf, nextHandle_++, 16);
    for (char* p = buf; p != r.ptr; ++p) {
      if (*p >= 'a' && *p <= 'f') *p = static_cast<char>(*p - 'a' + 'A');
    }
    Pair(5, std::string_view(buf, static_cast<size_t>(r.ptr - buf)));
  }
  void Flush() {
    if (buffer_.empty()) return;
    if (std::fwrite(buffer_.data(), 1, buffer_.size(), out_) != buffer_.size()) failed_ = true;
    written_ += buffer_.size();
    buffer_.clear();
  }
  std::size_t Bytes() const { return written_ + buffer_.size(); }
  bool Failed() const { return failed_; }

 private:
  static constexpr std::size_t kChunk = 1 << 20;
  std::FILE* out_;
  std::string buffer_;
  std::size_t written_ = 0;
  uint64_t nextHandle_ = 0x100;
  bool failed_ = false;
};

class Generator {
 public:
  Generator(Writer& w, const DrawingOptions& o) : w_(w), o_(o), rnd_(o.seed) {}

  void Run() {
    w_.Pair(0, "SECTION");
    w_.Pair(2, "HEADER");
    w_.Pair(9, "$ACADVER");
    w_.Pair(1, "AC1015");
    w_.Pair(9, "$INSUNITS");
    w_.Pair(70, 4);
    w_.Pair(0, "ENDSEC");
    Tables();
    Blocks();
    w_.Pair(0, "SECTION");
    w_.Pair(2, "ENTITIES");
    constexpr std::size_t kTail = 30;  // ENDSEC and EOF
    for (uint64_t n = 0; w_.Bytes() + kTail < o_.targetBytes; ++n) Entity(n);
    w_.Pair(0, "ENDSEC");
    w_.Pair(0, "EOF");
  }

 private:
  const char* Layer() { return kLayers[static_cast<size_t>(rnd_.Below(kLayers.size()))].first; }

  void Head(const char* keyword, const char* layer) {
    w_.Pair(0, keyword);
    w_.Handle();
    w_.Pair(8, layer);
  }

  void Tables() {
    w_.Pair(0, "SECTION");
    w_.Pair(2, "TABLES");
    w_.Pair(0, "TABLE");
    w_.Pair(2, "LAYER");
    w_.Handle();
    w_.Pair(70, static_cast<int>(kLayers.size()));
    for (const auto& [name, color] : kLayers) {
      w_.Pair(0, "LAYER");
      w_.Handle();
      w_.Pair(2, name);
      w_.Pair(70, 0);
      w_.Pair(62, color);
      w_.Pair(6, "CONTINUOUS");
    }
    w_.Pair(0, "ENDTAB");
    w_.Pair(0, "ENDSEC");
  }

  void BlockHead(const char* name, double x, double y) {
    w_.Pair(0, "BLOCK");
    w_.Handle();
    w_.Pair(8, "0");
    w_.Pair(2, name);
    w_.Pair(70, 0);
    w_.Point(10, x, y);
    w_.Pair(3, name);
  }
  void BlockEnd() {
    w_.Pair(0, "ENDBLK");
    w_.Handle();
    w_.Pair(8, "0");
  }

  // Three levels: ASSEMBLY holds two PLATEs and lines, PLATE holds a BOLT pattern
  // and its outline, BOLT is a hole (or a square cut without curves).
  void Blocks() {
    w_.Pair(0, "SECTION");
    w_.Pair(2, "BLOCKS");
    BlockHead("BOLT", 0, 0);
    if (o_.curves) {
      Circle("HOLES", 0, 0, 2.5);
      Arc("MARKING", 0, 0, 4, 20, 160);
    } else {
      Square("HOLES", 0, 0, 2.5);
    }
    BlockEnd();
    BlockHead("PLATE", 10, 5);
    Line("CONTOUR", 0, 0, 20, 0);
    Line("CONTOUR", 20, 0, 20, 10);
    Line("CONTOUR", 20, 10, 0, 10);
    Line("CONTOUR", 0, 10, 0, 0);
    Insert("BOLT", 5, 5, 0, 1, 1);
    Insert("BOLT", 15, 5, 0, 1, 1);
    BlockEnd();
    BlockHead("ASSEMBLY", 0, 0);
    Insert("PLATE", 0, 0, 0, 1, 1);
    Insert("PLATE", 30, 0, 90, 1, 1);
    Line("ENGRAVE", 0, -5, 40, -5);
    BlockEnd();
    w_.Pair(0, "ENDSEC");
  }

  void Line(const char* layer, double x1, double y1, double x2, double y2) {
    Head("LINE", layer);
    w_.Point(10, x1, y1);
    w_.Point(11, x2, y2);
  }
  void Square(const char* layer, double cx, double cy, double h) {
    Line(layer, cx - h, cy - h, cx + h, cy - h);
    Line(layer, cx + h, cy - h, cx + h, cy + h);
    Line(layer, cx + h, cy + h, cx - h, cy + h);
    Line(layer, cx - h, cy + h, cx - h, cy - h);
  }
  void Circle(const char* layer, double cx, double cy, double r) {
    Head("CIRCLE", layer);
    w_.Point(10, cx, cy);
    w_.Number(40, r);
  }
  void Arc(const char* layer, double cx, double cy, double r, double sa, double ea) {
    Head("ARC", layer);
    w_.Point(10, cx, cy);
    w_.Number(40, r);
    w_.Number(50, sa);
    w_.Number(51, ea);
  }
  void Insert(const char* name, double x, double y, double rotation, double sx, double sy) {
    Head("INSERT", "PARTS");
    w_.Pair(2, name);
    w_.Point(10, x, y);
    w_.Number(41, sx);
    w_.Number(42, sy);
    w_.Number(43, 1);
    w_.Number(50, rotation);
  }

  void LwPolyline(double x, double y) {
    const int n = 4 + rnd_.Below(5);
    Head("LWPOLYLINE", Layer());
    w_.Pair(90, n);
    w_.Pair(70, rnd_.Below(2));
    w_.Number(43, 0);
    for (int i = 0; i < n; ++i) {
      w_.Number(10, x + rnd_.Uniform(0, 50));
      w_.Number(20, y + rnd_.Uniform(0, 50));
      if (o_.curves && rnd_.Below(3) == 0) w_.Number(42, rnd_.Uniform(-1, 1));
    }
  }

  void Polyline(double x, double y) {
    const int n = 3 + rnd_.Below(3);
    const char* layer = Layer();
    Head("POLYLINE", layer);
    w_.Pair(66, 1);
    w_.Point(10, 0, 0);
    w_.Pair(70, rnd_.Below(2));
    for (int i = 0; i < n; ++i) {
      Head("VERTEX", layer);
      w_.Point(10, x + rnd_.Uniform(0, 40), y + rnd_.Uniform(0, 40));
      if (o_.curves && rnd_.Below(3) == 0) w_.Number(42, rnd_.Uniform(-1, 1));
    }
    Head("SEQEND", layer);
  }

  void Ellipse(double x, double y) {
    Head("ELLIPSE", "ENGRAVE");
    w_.Point(10, x, y);
    const double a = rnd_.Uniform(5, 30);
    w_.Point(11, a, rnd_.Uniform(-a, a));
    w_.Number(210, 0);
    w_.Number(220, 0);
    w_.Number(230, 1);
    w_.Number(40, rnd_.Uniform(0.2, 0.9));
    w_.Number(41, 0);
    w_.Pair(42, "6.283185307179586");
  }

  void Spline(double x, double y) {
    Head("SPLINE", "ENGRAVE");
    w_.Number(210, 0);
    w_.Number(220, 0);
    w_.Number(230, 1);
    w_.Pair(70, 8);
    w_.Pair(71, 3);
    w_.Pair(72, 10);
    w_.Pair(73, 6);
    w_.Pair(74, 0);
    for (double k : {0.0, 0.0, 0.0, 0.0, 1.0, 2.0, 3.0, 3.0, 3.0, 3.0}) w_.Number(40, k);
    for (int i = 0; i < 6; ++i) w_.Point(10, x + 10.0 * i, y + rnd_.Uniform(-15, 15));
  }

  // Mostly LINEs; per thousand entities about 80 ARCs, 60 CIRCLEs, 50 LWPOLYLINEs,
  // 40 POLYLINEs, 40 INSERTs, 1 ELLIPSE and 1 SPLINE. Without curves the arcs,
  // circles, ellipses and splines are LINEs too.
  void Entity(uint64_t n) {
    const double x = rnd_.Uniform(0, 5000);
    const double y = rnd_.Uniform(0, 5000);
    const int slot = static_cast<int>(n % 1000);
    if (slot == 500) {
      if (o_.curves) return Ellipse(x, y);
    } else if (slot == 999) {
      if (o_.curves) return Spline(x, y);
    } else if (slot % 100 >= 70 && slot % 100 < 78) {
      if (o_.curves)
        return Arc(Layer(), x, y, rnd_.Uniform(1, 100), rnd_.Uniform(0, 360), rnd_.Uniform(0, 360));
    } else if (slot % 100 >= 78 && slot % 100 < 84) {
      if (o_.curves) return Circle(Layer(), x, y, rnd_.Uniform(1, 100));
    } else if (slot % 100 >= 84 && slot % 100 < 89) {
      return LwPolyline(x, y);
    } else if (slot % 100 >= 89 && slot % 100 < 93) {
      return Polyline(x, y);
    } else if (slot % 100 >= 93 && slot % 100 < 97) {
      const double scale = 0.5 + 0.5 * rnd_.Below(4);
      return Insert(rnd_.Below(2) == 0 ? "ASSEMBLY" : "PLATE", x, y, rnd_.Uniform(0, 360), scale,
                    scale);
    }
    Line(Layer(), x, y, x + rnd_.Uniform(-100, 100), y + rnd_.Uniform(-100, 100));
  }

  Writer& w_;
  const DrawingOptions& o_;
  Random rnd_;
};

// Removes the generated drawings when the process ends.
class TempDrawings {
 public:
  ~TempDrawings() {
    std::error_code ec;
    if (!dir_.empty()) std::filesystem::remove_all(dir_, ec);
  }
  const std::string& Get(std::size_t bytes, bool curves) {
    auto key = std::make_pair(bytes, curves);
    auto it = paths_.find(key);
    if (it != paths_.end()) return it->second;
    std::string path;
    if (dir_.empty()) {
      std::string pattern =
          (std::filesystem::temp_directory_path() / "vessik-bench-XXXXXX").string();
      if (::mkdtemp(pattern.data()) != nullptr) dir_ = pattern;
    }
    if (!dir_.empty()) {
      path = dir_ + "/drawing-" + std::to_string(bytes) + (curves ? "" : "-nocurves") + ".dxf";
      std::FILE* f = std::fopen(path.c_str(), "wb");
      DrawingOptions options;
      options.targetBytes = bytes;
      options.curves = curves;
      const bool ok = f != nullptr && WriteDrawing(f, options) > 0;
      if (f != nullptr && std::fclose(f) != 0) path.clear();
      if (!ok) path.clear();
    }
    return paths_.emplace(key, path).first->second;
  }

 private:
  std::string dir_;
  std::map<std::pair<std::size_t, bool>, std::string> paths_;
};

}  // namespace

std::size_t WriteDrawing(std::FILE* out, const DrawingOptions& options) {
  Writer writer(out);
  Generator(writer, options).Run();
  writer.Flush();
  if (writer.Failed() || std::fflush(out) != 0) return 0;
  return writer.Bytes();
}

std::string GenerateDrawing(const DrawingOptions& options) {
  std::string text;
  char* data = nullptr;
  size_t size = 0;
  std::FILE* mem = ::open_memstream(&data, &size);
  if (mem == nullptr) return text;
  WriteDrawing(mem, options);
  std::fclose(mem);
  if (data != nullptr) {
    text.assign(data, size);
    std::free(data);
  }
  return text;
}

const std::string& GeneratedDrawing(std::size_t targetBytes, bool curves) {
  static TempDrawings drawings;
  return drawings.Get(targetBytes, curves);
}

}  // namespace vessik::bench
