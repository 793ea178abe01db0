#include "cli/Options.h"

#include <CLI/CLI.hpp>
#include <cstdint>
#include <optional>
#include <string>

namespace vessik::cli {

Vessik_CommonData DefaultSettings() {
  Vessik_CommonData data;
  data.Tolerance = kDefaultTolerance;
  data.Check = kDefaultCheck;
  data.ArcMaximumDeviationFactor = kDefaultArcMaxDeviation;
  data.ArcMinimumSegmentLengthFactor = kDefaultArcMinSegmentLength;
  data.ArcMaximumSegmentLengthFactor = kDefaultArcMaxSegmentLength;
  data.InitialSegments = kDefaultInitialSegments;
  return data;
}

std::optional<uint64_t> ParseSize(const std::string& text) {
  uint64_t value = 0;
  size_t i = 0;
  for (; i < text.size() && text[i] >= '0' && text[i] <= '9'; ++i) {
    const auto digit = static_cast<uint64_t>(text[i] - '0');
    if (value > (UINT64_MAX - digit) / 10) return std::nullopt;
    value = value * 10 + digit;
  }
  if (i == 0) return std::nullopt;
  int shift = 0;
  if (i + 1 == text.size()) {
    switch (text[i]) {
      case 'K':
      case 'k':
        shift = 10;
        break;
      case 'M':
      case 'm':
        shift = 20;
        break;
      case 'G':
      case 'g':
        shift = 30;
        break;
      default:
        return std::nullopt;
    }
  } else if (i != text.size()) {
    return std::nullopt;
  }
  if (value > (UINT64_MAX >> shift)) return std::nullopt;
  return value << shift;
}

void AddMaxMemoryOption(CLI::App& app, uint64_t& maxMemory, const std::string& help) {
  app.add_option_function<std::string>(
         "--max-memory",
         [&maxMemory](const std::string& text) {
           const std::optional<uint64_t> size = ParseSize(text);
           if (!size) throw CLI::ValidationError("--max-memory", "not a size: " + text);
           maxMemory = *size;
         },
         help)
      ->type_name("SIZE");
}

void AddTrueGeometryOption(CLI::App& app, bool& on) {
  app.add_flag("--true-geometry", on,
               "Draw the drawing where the DXF format means it (ellipse direction, extrusion "
               "and elevation, repeated references, ...) instead of the default text; every "
               "approximation stays within --tolerance");
}

void AddNoMapOption(CLI::App& app, bool& on) {
  app.add_flag("--no-map", on,
               "Read the drawing into memory instead of mapping its file: slower on large "
               "drawings, and the only way for a drawing that may be rewritten while it is "
               "read to give the text of the version read rather than fail with 75");
}

void AddSettingOptions(CLI::App& app, Vessik_CommonData& s) {
  app.add_option("--tolerance", s.Tolerance,
                 "Drawing units. Largest deviation of the arcs and lines that replace an "
                 "ellipse or a spline; must be above 0 for drawings with ellipses")
      ->capture_default_str();
  app.add_option("--check", s.Check,
                 "Checks of a spline before fitting: 0 none, 1 cut at knots where the "
                 "tangent jumps (2 and 3 fail on splines with control points)")
      ->capture_default_str();
  app.add_option("--arc-max-deviation", s.ArcMaximumDeviationFactor,
                 "Drawing units. Largest sagitta of the segments that replace an arc or a "
                 "circle deformed by a non-uniform scale or a tilted extrusion")
      ->capture_default_str();
  app.add_option("--arc-min-segment-length", s.ArcMinimumSegmentLengthFactor,
                 "Drawing units. Shortest such segment wished for (0: one-degree steps)")
      ->capture_default_str();
  app.add_option("--arc-max-segment-length", s.ArcMaximumSegmentLengthFactor,
                 "Drawing units. Longest such segment wished for; wins over the shortest "
                 "(0: one-degree steps)")
      ->capture_default_str();
  app.add_option("--initial-segments", s.InitialSegments,
                 "Count. A spline's fitting never steps further than 1/N of its knot "
                 "range (rounded half to even; 0 means 2)")
      ->capture_default_str();
}

ParseResult ParseCommandLine(int argc, char** argv) {
  ParseResult result;
  Options& o = result.options;
  o.settings = DefaultSettings();
  Vessik_CommonData& s = o.settings;

  CLI::App app{
      "Reads a DXF drawing and prints it as plain geometry: one tab-separated record per\n"
      "straight segment (83), arc (66) or circle (75), in world coordinates, CR LF line ends.",
      "vessik"};
  app.set_version_flag("--version", std::string("vessik ") + VESSIK_VERSION);
  app.footer("Many drawings at once: vessik batch --help (a drawing named batch: ./batch)");

  app.add_option("DRAWING", o.drawing, "The DXF drawing to read")->required();
  app.add_option("-o,--output", o.outputFile,
                 "Write to FILE instead of standard output (only when the parse succeeds)")
      ->type_name("FILE");
  CLI::Option* layers =
      app.add_flag("--layers", o.layers,
                   "Print the drawing's layers instead of the records: name TAB colour number "
                   "TAB RGB value, one per line");
  app.add_flag("--svg", o.svg,
               "Write an SVG picture of the records instead of their text: one group per "
               "layer, strokes in the records' colours, Y up")
      ->excludes(layers);
  app.add_flag("--progress-values", o.progressValues,
               "Write each progress value to standard error, one per line");
  AddMaxMemoryOption(app, o.maxMemory,
                     "Most memory the parse may hold, in bytes or with a K, M or G suffix "
                     "(512M, 2G); past it the parse fails with 7. Default: half of the "
                     "physical memory (0 also means that)");
  app.add_option("--timeout", o.timeoutSeconds,
                 "Stop the parse after this many seconds, write nothing and exit with 3 "
                 "(0: no limit)")
      ->type_name("SECONDS")
      ->capture_default_str()
      ->check(CLI::NonNegativeNumber);

  AddSettingOptions(app, s);
  AddTrueGeometryOption(app, o.trueGeometry);
  app.add_option("--curve-threads", o.curveThreads,
                 "Threads that fit splines and ellipses while the drawing is read "
                 "(0: one per usable core; 1: fit them in turn on the reading thread). "
                 "The text is the same whatever the number")
      ->type_name("N")
      ->capture_default_str()
      ->check(CLI::Range(0, 256));
  AddNoMapOption(app, o.noMap);

  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& e) {
    result.exitStatus = app.exit(e);
  }
  return result;
}

}  // namespace vessik::cli
