// The extension module "vessik._vessik" under the package "vessik": the five
// public classes with their members, the Progress event as Python callables,
// failures as vessik.VessikError, and the parse behind vessik.read and
// vessik.read_text.
//
// Texts cross as str: the bytes of the drawing are decoded as UTF-8 with the
// "surrogateescape" handler, so that a byte that is no UTF-8 survives and
// text.encode("utf-8", "surrogateescape") gives the file's bytes back. Texts set
// from Python are encoded the same way.
#include <pybind11/eval.h>
#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "host/svg/RecordsSvg.h"
#include "parser/parser.h"

namespace py = pybind11;
using namespace vessik;

namespace {

// The exception types; they live as long as the process.
PyObject* g_error_type = nullptr;
PyObject* g_canceled_type = nullptr;

py::str Decode(const std::string& bytes) {
  PyObject* s =
      PyUnicode_DecodeUTF8(bytes.data(), static_cast<Py_ssize_t>(bytes.size()), "surrogateescape");
  if (s == nullptr) throw py::error_already_set();
  return py::reinterpret_steal<py::str>(s);
}

std::string Encode(const py::str& text) {
  PyObject* b = PyUnicode_AsEncodedString(text.ptr(), "utf-8", "surrogateescape");
  if (b == nullptr) throw py::error_already_set();
  auto bytes = py::reinterpret_steal<py::bytes>(b);
  return std::string(bytes);
}

// A path: str and os.PathLike by the file system's encoding, bytes as they stand.
std::string PathBytes(const py::object& path) {
  py::object fs = py::module_::import("os").attr("fsencode")(path);
  return std::string(fs.cast<py::bytes>());
}

// A Python callable kept by the library's thread-local hooks. The reference is
// dropped under the interpreter's lock, or left alone once the interpreter is
// gone (a thread's hooks end after it).
std::shared_ptr<py::object> Keep(py::object callable) {
  return std::shared_ptr<py::object>(new py::object(std::move(callable)), [](py::object* p) {
    if (Py_IsInitialized()) {
      py::gil_scoped_acquire gil;
      delete p;
    } else {
      (void)p->release();
      delete p;
    }
  });
}

// A hook may not fail into the library: its exception is reported as
// unraisable and the parse goes on.
template <class... A>
void CallHook(const py::object& hook, const char* where, A&&... args) {
  py::gil_scoped_acquire gil;
  try {
    hook(std::forward<A>(args)...);
  } catch (py::error_already_set& e) {
    e.discard_as_unraisable(where);
  }
}

void SetPump(const py::object& hook) {
  if (hook.is_none()) {
    SetPumpHook(nullptr);
    return;
  }
  auto kept = Keep(hook);
  SetPumpHook([kept] { CallHook(*kept, "vessik pump hook"); });
}

void SetMessageBox(const py::object& hook) {
  if (hook.is_none()) {
    SetMessageBoxHook(nullptr);
    return;
  }
  auto kept = Keep(hook);
  SetMessageBoxHook([kept](const std::string& text) {
    py::gil_scoped_acquire gil;
    py::str s = Decode(text);
    CallHook(*kept, "vessik message box hook", s);
  });
}

// A parse of vessik.read or vessik.read_text: its records and layers, and the
// text and the picture made from them on demand. Its buffer is the records, one
// 112-byte row each, for numpy.frombuffer.
struct ParsedDrawing {
  Vessik_Records records;
  Vessik_Layers layers;
};

// Runs a parse without the interpreter's lock. The progress callable, if any, is
// called with each value under the lock; a true result cancels the parse, and
// so does an exception, which is then raised again here. A cancelled parse
// raises vessik.Canceled. A memory budget other than None, and the geometry mode,
// hold for this parse.
template <class Parse>
auto RunParse(const py::object& on_progress, const py::object& max_memory, bool true_geometry,
              Parse&& parse) {
  Vessik_Progress progress;
  std::optional<py::error_already_set> failure;
  bool canceled_by_callable = false;
  if (!on_progress.is_none()) {
    progress.Connect([&](int32_t value) {
      py::gil_scoped_acquire gil;
      if (failure) return;
      try {
        const py::object answer = on_progress(value);
        const int truth = PyObject_IsTrue(answer.ptr());
        if (truth < 0) throw py::error_already_set();
        if (truth > 0) canceled_by_callable = true;
      } catch (py::error_already_set& e) {
        failure.emplace(std::move(e));
      }
      if (canceled_by_callable || failure) progress.IsCanceled(true);
    });
  }
  struct Budget {
    std::optional<uint64_t> outer;
    ~Budget() {
      if (outer) SetMemoryBudget(*outer);
    }
  } budget;
  struct Mode {
    bool outer = TrueGeometry();
    ~Mode() { SetTrueGeometry(outer); }
  } mode;
  SetTrueGeometry(true_geometry);
  if (!max_memory.is_none()) {
    budget.outer = MemoryBudget();
    SetMemoryBudget(max_memory.cast<uint64_t>());
  }
  auto result = [&] {
    py::gil_scoped_release unlocked;
    return parse(progress);
  }();
  if (failure) {
    failure->restore();
    throw py::error_already_set();
  }
  if (progress.IsCanceled()) {
    PyErr_SetString(g_canceled_type, canceled_by_callable
                                         ? "the progress callable cancelled the parse"
                                         : "the parse was cancelled");
    throw py::error_already_set();
  }
  return result;
}

Vessik_CommonData Settings(double tolerance, int32_t check, double arc_max_deviation,
                           double arc_min_segment_length, double arc_max_segment_length,
                           double initial_segments) {
  Vessik_CommonData data;
  data.Tolerance = tolerance;
  data.Check = check;
  data.ArcMaximumDeviationFactor = arc_max_deviation;
  data.ArcMinimumSegmentLengthFactor = arc_min_segment_length;
  data.ArcMaximumSegmentLengthFactor = arc_max_segment_length;
  data.InitialSegments = initial_segments;
  return data;
}

// A binding with the arguments of vessik.read (checked by the Python layer): the
// parse that make runs without the interpreter's lock, then finish with it.
template <class Make, class Finish>
auto Reader(Make make, Finish finish) {
  return [make, finish](
             const py::object& path, double tolerance, int32_t check, double arc_max_deviation,
             double arc_min_segment_length, double arc_max_segment_length, double initial_segments,
             const py::object& progress, const py::object& max_memory, bool true_geometry) {
    const std::string file = PathBytes(path);
    Vessik_CommonData data = Settings(tolerance, check, arc_max_deviation, arc_min_segment_length,
                                      arc_max_segment_length, initial_segments);
    return finish(RunParse(progress, max_memory, true_geometry,
                           [&](Vessik_Progress& p) { return make(file, data, p); }));
  };
}

void DefineReading(py::module_& m) {
  py::class_<ParsedDrawing>(m, "_ParsedDrawing", py::buffer_protocol(),
                            "The records and layers of one parse (internal to vessik.Drawing).")
      .def_buffer([](ParsedDrawing& d) {
        static Vessik_Record none{};
        Vessik_Record* rows = d.records.Items.empty() ? &none : d.records.Items.data();
        return py::buffer_info(rows, 1, py::format_descriptor<uint8_t>::format(), 1,
                               {static_cast<py::ssize_t>(d.records.size() * sizeof(Vessik_Record))},
                               {static_cast<py::ssize_t>(1)}, /*readonly=*/true);
      })
      .def("__len__", [](const ParsedDrawing& d) { return d.records.size(); })
      .def(
          "layers",
          [](const ParsedDrawing& d) {
            py::list layers;
            for (const auto& layer : d.layers) {
              const int32_t aci = layer->Color ? layer->Color->ColorACI() : 0;
              const int32_t rgb = layer->Color ? layer->Color->ColorRGB() : 0;
              layers.append(py::make_tuple(Decode(layer->Name), aci, rgb));
            }
            return layers;
          },
          "(name, colour number, RGB value) of each layer.")
      .def(
          "text",
          [](const ParsedDrawing& d) {
            std::string text;
            {
              py::gil_scoped_release unlocked;
              text = d.records.Text();
            }
            return Decode(text);
          },
          "The text of Parse2, printed from the records.")
      .def(
          "svg",
          [](const ParsedDrawing& d) {
            std::string svg;
            {
              py::gil_scoped_release unlocked;
              svg = RecordsSvg(d.records, d.layers);
            }
            return Decode(svg);
          },
          "The SVG picture of the records, as the tool's --svg writes it.");

  m.def("_read",
        Reader(
            [](const std::string& file, Vessik_CommonData& data, Vessik_Progress& p) {
              auto parsed = std::make_unique<ParsedDrawing>();
              Vessik_Parser parser;
              parsed->records = ParseRecords(parser, file, data, p);
              parsed->layers = parser.Layers();
              return parsed;
            },
            [](std::unique_ptr<ParsedDrawing> parsed) { return parsed; }),
        "Parses a drawing into its records (internal to vessik.read).");
  m.def("_read_text",
        Reader(
            [](const std::string& file, Vessik_CommonData& data, Vessik_Progress& p) {
              Vessik_Parser parser;
              return parser.Parse2(file, data, p);
            },
            [](const std::string& text) { return Decode(text); }),
        "Parses a drawing into its text (internal to vessik.read_text).");
}

}  // namespace

PYBIND11_MODULE(_vessik, m) {
  m.doc() =
      "Reads DXF drawings and returns them as plain geometry text: segments (83), arcs "
      "(66) and circles (75).";

  py::dict ns;
  py::exec(R"py(
class VessikError(Exception):
    """A failure of the library: number, source and description."""

    def __init__(self, number, source, description):
        super().__init__(number, source, description)
        self.number = number
        self.source = source
        self.description = description

    def __str__(self):
        return "%s (%d)" % (self.description, self.number)


class Canceled(Exception):
    """The parse was cancelled: by the progress callable, or from elsewhere."""
)py",
           py::globals(), ns);
  py::object error_type = ns["VessikError"];
  error_type.attr("__module__") = "vessik";
  m.attr("VessikError") = error_type;
  py::object canceled_type = ns["Canceled"];
  canceled_type.attr("__module__") = "vessik";
  m.attr("Canceled") = canceled_type;
  g_canceled_type = canceled_type.inc_ref().ptr();

  // The catalogue of failures: (number, name, source, description, raised when).
  py::list errors;
  for (const ErrorInfo& e : ErrorCatalogue()) {
    errors.append(py::make_tuple(e.Number, std::string(e.Name), std::string(e.Source),
                                 std::string(e.Text), std::string(e.RaisedWhen)));
  }
  m.attr("ERRORS") = py::tuple(errors);
  g_error_type = error_type.inc_ref().ptr();

  py::register_exception_translator([](std::exception_ptr p) {
    try {
      if (p) std::rethrow_exception(p);
    } catch (const Vessik_Error& e) {
      py::object inst = py::reinterpret_borrow<py::object>(g_error_type)(
          e.Number(), Decode(e.Source()), Decode(e.Description()));
      PyErr_SetObject(g_error_type, inst.ptr());
    }
  });

  py::class_<Vessik_Color, std::shared_ptr<Vessik_Color>>(m, "Vessik_Color",
                                                          "A colour: DXF colour number and RGB.")
      .def(py::init<>())
      .def_property(
          "ColorACI", [](const Vessik_Color& c) { return c.ColorACI(); },
          [](Vessik_Color& c, int32_t v) { c.ColorACI(v); },
          "The DXF colour number; setting it sets ColorRGB too.")
      .def_property(
          "ColorRGB", [](const Vessik_Color& c) { return c.ColorRGB(); },
          [](Vessik_Color& c, int32_t v) { c.ColorRGB(v); }, "red + 256 * green + 65536 * blue.");

  py::class_<Vessik_Layer, std::shared_ptr<Vessik_Layer>>(m, "Vessik_Layer",
                                                          "A layer: its name and its colour.")
      .def(py::init<>())
      .def_property(
          "Name", [](const Vessik_Layer& l) { return Decode(l.Name); },
          [](Vessik_Layer& l, const py::str& v) { l.Name = Encode(v); })
      .def_property(
          "Color", [](const Vessik_Layer& l) { return l.Color; },
          [](Vessik_Layer& l, std::shared_ptr<Vessik_Color> c) { l.Color = std::move(c); },
          "The layer's colour object itself, not a copy.");

  py::class_<Vessik_CommonData, std::shared_ptr<Vessik_CommonData>>(
      m, "Vessik_CommonData", "The settings of a parse; every field is 0 in a new object.")
      .def(py::init<>())
      .def_readwrite("Tolerance", &Vessik_CommonData::Tolerance)
      .def_readwrite("Check", &Vessik_CommonData::Check)
      .def_readwrite("ArcMaximumDeviationFactor", &Vessik_CommonData::ArcMaximumDeviationFactor)
      .def_readwrite("ArcMinimumSegmentLengthFactor",
                     &Vessik_CommonData::ArcMinimumSegmentLengthFactor)
      .def_readwrite("ArcMaximumSegmentLengthFactor",
                     &Vessik_CommonData::ArcMaximumSegmentLengthFactor)
      .def_readwrite("InitialSegments", &Vessik_CommonData::InitialSegments);

  py::class_<Vessik_Progress, std::shared_ptr<Vessik_Progress>>(
      m, "Vessik_Progress", "Raises the Progress event and carries the cancel flag.")
      .def(py::init<>())
      .def_property(
          "IsCanceled", [](const Vessik_Progress& p) { return p.IsCanceled(); },
          [](Vessik_Progress& p, bool v) { p.IsCanceled(v); })
      .def(
          "DoProgress", [](Vessik_Progress& p, int32_t value) { p.DoProgress(value); },
          py::arg("value"), "Raises Progress with the value.")
      .def(
          "Connect",
          [](Vessik_Progress& p, py::function handler) {
            // The parse runs without the interpreter's lock: the handler takes it
            // for its call, and its copies share one reference to the callable.
            auto kept = Keep(std::move(handler));
            return p.Connect([kept](int32_t value) {
              py::gil_scoped_acquire gil;
              (*kept)(value);
            });
          },
          py::arg("handler"),
          "Connects a callable to the Progress event; it is called with the value, on the "
          "calling thread. Returns a cookie for Disconnect.")
      .def(
          "Disconnect", [](Vessik_Progress& p, int cookie) { p.Disconnect(cookie); },
          py::arg("cookie"));

  py::class_<Vessik_Parser, std::shared_ptr<Vessik_Parser>>(
      m, "Vessik_Parser", "Turns a DXF file into the drawing's text.")
      .def(py::init<>())
      .def_property_readonly(
          "Layers", [](const Vessik_Parser& p) { return p.Layers(); },
          "The layers of the last parse, as a list of Vessik_Layer (the parser's own "
          "objects).")
      .def(
          "Parse2",
          [](Vessik_Parser& p, const py::object& the_file, Vessik_CommonData* data,
             Vessik_Progress* progress) {
            const std::string path = PathBytes(the_file);
            std::string text;
            {
              // Other Python threads run meanwhile, and one of them may cancel.
              py::gil_scoped_release unlocked;
              text = p.Parse2(path, data, progress);
            }
            return Decode(text);
          },
          py::arg("TheFile"), py::arg("Data"), py::arg("Progress"),
          "Reads the drawing and returns its records. Other Python threads run during "
          "the parse; setting IsCanceled from one of them stops it within 100 ms.");

  m.def("SetPumpHook", &SetPump, py::arg("hook"),
        "Sets the message loop that a parse on this thread runs at most every 100 ms "
        "(None removes it).");
  m.def("SetMemoryBudget", &SetMemoryBudget, py::arg("bytes"),
        "Sets the memory in bytes that a parse on this thread may hold at once; past it "
        "the parse fails with 7 (Out of memory). 0 restores the default: half of the "
        "physical memory, or of the address space where that is capped lower.");
  m.def("MemoryBudget", &MemoryBudget,
        "The memory budget in bytes of a parse started on this thread now.");
  m.def("SetTrueGeometry", &SetTrueGeometry, py::arg("on"),
        "Switches the parses of Parse2 on this thread to the true-geometry mode (True) or "
        "back to the default text (False).");
  m.def("TrueGeometry", &TrueGeometry,
        "Whether Parse2 on this thread uses the true-geometry mode.");
  m.def("SetCurveThreads", &SetCurveThreads, py::arg("count"),
        "Sets how many threads fit the splines and ellipses of a parse on this thread: 0 "
        "(the default) one per processor, 1 none besides the reading one. The text is the "
        "same for every count.");
  m.def("CurveThreads", &CurveThreads,
        "How many threads fit the curves of a parse on this thread (0: one per processor).");
  m.def("SetMessageBoxHook", &SetMessageBox, py::arg("hook"),
        "Sets the callable that shows the message of a failed load on this thread (None "
        "removes it).");

  DefineReading(m);

  // The hooks of the main thread hold Python callables: drop them before the
  // interpreter ends.
  py::module_::import("atexit").attr("register")(py::cpp_function([] {
    SetPumpHook(nullptr);
    SetMessageBoxHook(nullptr);
  }));
}
