// The C interface: reference-counted handles over the library's objects, with
// every failure caught here and handed to the caller's error record.
#include <atomic>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <string>
#include <utility>

#include "host/c/vessik.h"
#include "parser/parser.h"

// One handle: a reference count and a shared reference to the library's object.
template <class T>
struct Handle {
  explicit Handle(std::shared_ptr<T> p) : object(std::move(p)) {}
  std::atomic<long> refs{1};
  std::shared_ptr<T> object;
};

struct Vessik_Parser : Handle<vessik::Vessik_Parser> {
  using Handle::Handle;
};
struct Vessik_Progress : Handle<vessik::Vessik_Progress> {
  using Handle::Handle;
};
struct Vessik_Layer : Handle<vessik::Vessik_Layer> {
  using Handle::Handle;
};
struct Vessik_Color : Handle<vessik::Vessik_Color> {
  using Handle::Handle;
};
struct Vessik_CommonData : Handle<vessik::Vessik_CommonData> {
  using Handle::Handle;
};

namespace {

using vessik::Vessik_Error;

char* CopyText(const std::string& text) {
  char* p = static_cast<char*>(std::malloc(text.size() + 1));
  if (p == nullptr) throw std::bad_alloc();
  if (!text.empty()) std::memcpy(p, text.data(), text.size());
  p[text.size()] = '\0';
  return p;
}

// Fills the caller's record; a record whose texts cannot be allocated keeps its
// number and gets NULL texts.
void Fill(vessik_error* error, const Vessik_Error& e) {
  if (error == nullptr) return;
  vessik_error_clear(error);
  error->number = e.Number();
  error->source = static_cast<char*>(std::malloc(e.Source().size() + 1));
  error->description = static_cast<char*>(std::malloc(e.Description().size() + 1));
  if (error->source != nullptr) {
    std::memcpy(error->source, e.Source().c_str(), e.Source().size() + 1);
  }
  if (error->description != nullptr) {
    std::memcpy(error->description, e.Description().c_str(), e.Description().size() + 1);
  }
}

// Runs the body; any failure goes to the error record and gives 1.
template <class F>
int Guard(vessik_error* error, F&& body) noexcept {
  try {
    body();
    return 0;
  } catch (...) {
    try {
      Fill(error, vessik::CurrentErrorAsVessik());
    } catch (...) {
      if (error != nullptr) error->number = vessik::errnum::OutOfMemory;
    }
    return 1;
  }
}

[[noreturn]] void NotSet() {
  vessik::RaisePlatformError(vessik::errnum::ObjectNotSet);
}

// The object behind a handle; a NULL handle is a call on a null reference.
template <class H>
auto& Obj(H* handle) {
  if (handle == nullptr) NotSet();
  return *handle->object;
}

template <class H>
void Out(H* out) {
  if (out == nullptr) vessik::RaisePlatformError(vessik::errnum::InvalidProcedureCall);
}

template <class H>
void AddRef(H* handle) {
  if (handle != nullptr) handle->refs.fetch_add(1, std::memory_order_relaxed);
}

template <class H>
void Release(H* handle) {
  if (handle != nullptr && handle->refs.fetch_sub(1, std::memory_order_acq_rel) == 1) {
    delete handle;
  }
}

template <class H, class T>
int Create(H** out, vessik_error* error) {
  return Guard(error, [&] {
    Out(out);
    *out = new H(std::make_shared<T>());
  });
}

template <class H, class V, class Get>
int GetValue(H* handle, V* value, vessik_error* error, Get get) {
  return Guard(error, [&] {
    auto& o = Obj(handle);
    Out(value);
    *value = get(o);
  });
}

template <class H, class Set>
int SetValue(H* handle, vessik_error* error, Set set) {
  return Guard(error, [&] { set(Obj(handle)); });
}

// Creates into a handle of its own type, then hands it out as void*.
template <class H>
int CreateAs(int (*create)(H**, vessik_error*), void** out, vessik_error* error) {
  H* handle = nullptr;
  int status = create(&handle, error);
  if (status == 0) *out = handle;
  return status;
}

}  // namespace

extern "C" {

void vessik_error_clear(vessik_error* error) {
  if (error == nullptr) return;
  std::free(error->source);
  std::free(error->description);
  error->number = 0;
  error->source = nullptr;
  error->description = nullptr;
}

void vessik_string_free(char* text) {
  std::free(text);
}

int vessik_create(const char* class_name, void** out, vessik_error* error) {
  if (out == nullptr) {
    return Guard(error, [] { vessik::RaisePlatformError(vessik::errnum::InvalidProcedureCall); });
  }
  const std::string name = class_name != nullptr ? class_name : "";
  if (name == "Vessik_Parser") return CreateAs(vessik_parser_create, out, error);
  if (name == "Vessik_Progress") return CreateAs(vessik_progress_create, out, error);
  if (name == "Vessik_Layer") return CreateAs(vessik_layer_create, out, error);
  if (name == "Vessik_Color") return CreateAs(vessik_color_create, out, error);
  if (name == "Vessik_CommonData") return CreateAs(vessik_commondata_create, out, error);
  return Guard(error, [] { vessik::RaisePlatformError(vessik::errnum::InvalidProcedureCall); });
}

// Vessik_Parser

int vessik_parser_create(Vessik_Parser** out, vessik_error* error) {
  return Create<Vessik_Parser, vessik::Vessik_Parser>(out, error);
}
void vessik_parser_addref(Vessik_Parser* parser) {
  AddRef(parser);
}
void vessik_parser_release(Vessik_Parser* parser) {
  Release(parser);
}

int vessik_parser_parse2(Vessik_Parser* parser, const char* the_file, Vessik_CommonData* data,
                         Vessik_Progress* progress, char** text, size_t* length,
                         vessik_error* error) {
  return Guard(error, [&] {
    auto& p = Obj(parser);
    Out(text);
    std::string path = the_file != nullptr ? std::string(the_file) : std::string();
    std::string result = p.Parse2(path, data != nullptr ? data->object.get() : nullptr,
                                  progress != nullptr ? progress->object.get() : nullptr);
    *text = CopyText(result);
    if (length != nullptr) *length = result.size();
  });
}

int vessik_parser_get_layers(Vessik_Parser* parser, Vessik_Layer*** layers, size_t* count,
                             vessik_error* error) {
  return Guard(error, [&] {
    auto& p = Obj(parser);
    Out(layers);
    Out(count);
    vessik::Vessik_Layers list = p.Layers();
    if (list.empty()) {
      *layers = nullptr;
      *count = 0;
      return;
    }
    auto** array = static_cast<Vessik_Layer**>(std::calloc(list.size(), sizeof(Vessik_Layer*)));
    if (array == nullptr) throw std::bad_alloc();
    try {
      for (size_t i = 0; i < list.size(); ++i) array[i] = new Vessik_Layer(list[i]);
    } catch (...) {
      vessik_layers_free(array, list.size());
      throw;
    }
    *layers = array;
    *count = list.size();
  });
}

void vessik_layers_free(Vessik_Layer** layers, size_t count) {
  if (layers == nullptr) return;
  for (size_t i = 0; i < count; ++i) Release(layers[i]);
  std::free(layers);
}

// Vessik_Progress

int vessik_progress_create(Vessik_Progress** out, vessik_error* error) {
  return Create<Vessik_Progress, vessik::Vessik_Progress>(out, error);
}
void vessik_progress_addref(Vessik_Progress* progress) {
  AddRef(progress);
}
void vessik_progress_release(Vessik_Progress* progress) {
  Release(progress);
}
int vessik_progress_get_iscanceled(Vessik_Progress* progress, int* value, vessik_error* error) {
  return GetValue(progress, value, error, [](auto& o) { return o.IsCanceled() ? 1 : 0; });
}
int vessik_progress_set_iscanceled(Vessik_Progress* progress, int value, vessik_error* error) {
  return SetValue(progress, error, [&](auto& o) { o.IsCanceled(value != 0); });
}
int vessik_progress_doprogress(Vessik_Progress* progress, int32_t value, vessik_error* error) {
  return SetValue(progress, error, [&](auto& o) { o.DoProgress(value); });
}
int vessik_progress_connect(Vessik_Progress* progress, vessik_progress_handler handler,
                            void* context, int32_t* cookie, vessik_error* error) {
  return Guard(error, [&] {
    auto& o = Obj(progress);
    Out(cookie);
    if (handler == nullptr) vessik::RaisePlatformError(vessik::errnum::InvalidProcedureCall);
    *cookie = o.Connect([handler, context](int32_t value) { handler(context, value); });
  });
}
int vessik_progress_disconnect(Vessik_Progress* progress, int32_t cookie, vessik_error* error) {
  return SetValue(progress, error, [&](auto& o) { o.Disconnect(cookie); });
}

// Vessik_Layer

int vessik_layer_create(Vessik_Layer** out, vessik_error* error) {
  return Create<Vessik_Layer, vessik::Vessik_Layer>(out, error);
}
void vessik_layer_addref(Vessik_Layer* layer) {
  AddRef(layer);
}
void vessik_layer_release(Vessik_Layer* layer) {
  Release(layer);
}
int vessik_layer_get_name(Vessik_Layer* layer, char** name, size_t* length, vessik_error* error) {
  return Guard(error, [&] {
    auto& o = Obj(layer);
    Out(name);
    *name = CopyText(o.Name);
    if (length != nullptr) *length = o.Name.size();
  });
}
int vessik_layer_set_name(Vessik_Layer* layer, const char* name, size_t length,
                          vessik_error* error) {
  return SetValue(layer, error, [&](auto& o) {
    if (name == nullptr && length > 0) {
      vessik::RaisePlatformError(vessik::errnum::InvalidProcedureCall);
    }
    o.Name = length > 0 ? std::string(name, length) : std::string();
  });
}
int vessik_layer_get_color(Vessik_Layer* layer, Vessik_Color** color, vessik_error* error) {
  return Guard(error, [&] {
    auto& o = Obj(layer);
    Out(color);
    *color = o.Color ? new Vessik_Color(o.Color) : nullptr;
  });
}
int vessik_layer_set_color(Vessik_Layer* layer, Vessik_Color* color, vessik_error* error) {
  return SetValue(layer, error, [&](auto& o) {
    o.Color = color != nullptr ? color->object : std::shared_ptr<vessik::Vessik_Color>();
  });
}

// Vessik_Color

int vessik_color_create(Vessik_Color** out, vessik_error* error) {
  return Create<Vessik_Color, vessik::Vessik_Color>(out, error);
}
void vessik_color_addref(Vessik_Color* color) {
  AddRef(color);
}
void vessik_color_release(Vessik_Color* color) {
  Release(color);
}
int vessik_color_get_coloraci(Vessik_Color* color, int32_t* value, vessik_error* error) {
  return GetValue(color, value, error, [](auto& o) { return o.ColorACI(); });
}
int vessik_color_set_coloraci(Vessik_Color* color, int32_t value, vessik_error* error) {
  return SetValue(color, error, [&](auto& o) { o.ColorACI(value); });
}
int vessik_color_get_colorrgb(Vessik_Color* color, int32_t* value, vessik_error* error) {
  return GetValue(color, value, error, [](auto& o) { return o.ColorRGB(); });
}
int vessik_color_set_colorrgb(Vessik_Color* color, int32_t value, vessik_error* error) {
  return SetValue(color, error, [&](auto& o) { o.ColorRGB(value); });
}

// Vessik_CommonData

int vessik_commondata_create(Vessik_CommonData** out, vessik_error* error) {
  return Create<Vessik_CommonData, vessik::Vessik_CommonData>(out, error);
}
void vessik_commondata_addref(Vessik_CommonData* data) {
  AddRef(data);
}
void vessik_commondata_release(Vessik_CommonData* data) {
  Release(data);
}

#define VESSIK_FIELD(lower, Field, Type)                                                         \
  int vessik_commondata_get_##lower(Vessik_CommonData* data, Type* value, vessik_error* error) { \
    return GetValue(data, value, error, [](auto& o) { return o.Field; });                        \
  }                                                                                              \
  int vessik_commondata_set_##lower(Vessik_CommonData* data, Type value, vessik_error* error) {  \
    return SetValue(data, error, [&](auto& o) { o.Field = value; });                             \
  }

VESSIK_FIELD(tolerance, Tolerance, double)
VESSIK_FIELD(check, Check, int32_t)
VESSIK_FIELD(arcmaximumdeviationfactor, ArcMaximumDeviationFactor, double)
VESSIK_FIELD(arcminimumsegmentlengthfactor, ArcMinimumSegmentLengthFactor, double)
VESSIK_FIELD(arcmaximumsegmentlengthfactor, ArcMaximumSegmentLengthFactor, double)
VESSIK_FIELD(initialsegments, InitialSegments, double)

#undef VESSIK_FIELD

// Host services

void vessik_set_pump_hook(vessik_pump_hook hook, void* context) {
  try {
    if (hook == nullptr) {
      vessik::SetPumpHook(nullptr);
    } else {
      vessik::SetPumpHook([hook, context] { hook(context); });
    }
  } catch (...) {
    // A hook that cannot be stored is not set.
  }
}

void vessik_set_memory_budget(uint64_t bytes) {
  vessik::SetMemoryBudget(bytes);
}

uint64_t vessik_memory_budget(void) {
  return vessik::MemoryBudget();
}

void vessik_set_true_geometry(int on) {
  vessik::SetTrueGeometry(on != 0);
}

int vessik_true_geometry(void) {
  return vessik::TrueGeometry() ? 1 : 0;
}

void vessik_set_message_box_hook(vessik_message_box_hook hook, void* context) {
  try {
    if (hook == nullptr) {
      vessik::SetMessageBoxHook(nullptr);
    } else {
      vessik::SetMessageBoxHook(
          [hook, context](const std::string& text) { hook(context, text.c_str()); });
    }
  } catch (...) {
    // A hook that cannot be stored is not set.
  }
}

}  // extern "C"
