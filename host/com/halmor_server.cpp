// The in-process COM server Halmor.dll: the five public classes behind their
// dual interfaces, with IDispatch served from the embedded type library, the
// Progress event through a connection point, failures as HRESULTs with
// IErrorInfo, and the registration of the classes.
//
// Texts: output and layer names are the file's bytes converted with the ANSI
// code page; the path of a drawing goes to the library as UTF-8.
#include <windows.h>
// clang-format off
#include <ole2.h>
#include <oleauto.h>
#include <olectl.h>
#include <ocidl.h>
#include <dispex.h>
#include <initguid.h>
#include "halmor.h"
// clang-format on

#include <climits>
#include <memory>
#include <new>
#include <string>
#include <utility>
#include <vector>

#include "parser/parser.h"

namespace {

using vessik::Vessik_Error;

// Asks an object whether it is one of ours; the answer is a pointer to its
// ObjectBase without a reference taken (it is no COM interface).
// {6B8FD5B5-7158-45EE-8755-30792698667F}
const IID IID_VessikObject = {
    0x6b8fd5b5, 0x7158, 0x45ee, {0x87, 0x55, 0x30, 0x79, 0x26, 0x98, 0x66, 0x7f}};

// IDispatchEx, which the import libraries lack.
const IID kIID_IDispatchEx = {
    0xa6ef9860, 0xc720, 0x11d0, {0x93, 0x37, 0x00, 0xa0, 0xc9, 0x0d, 0xca, 0xa9}};

HINSTANCE g_module = nullptr;
LONG g_locks = 0;  // live objects, factories in use and LockServer calls

void LockModule() {
  InterlockedIncrement(&g_locks);
}
void UnlockModule() {
  InterlockedDecrement(&g_locks);
}

// Texts ---------------------------------------------------------------------

BSTR ToBstr(const std::string& bytes, UINT codePage) {
  if (bytes.size() > static_cast<size_t>(INT_MAX)) throw std::bad_alloc();
  const int n = bytes.empty() ? 0
                              : MultiByteToWideChar(codePage, 0, bytes.data(),
                                                    static_cast<int>(bytes.size()), nullptr, 0);
  BSTR b = SysAllocStringLen(nullptr, static_cast<UINT>(n));
  if (b == nullptr) throw std::bad_alloc();
  if (n > 0) {
    MultiByteToWideChar(codePage, 0, bytes.data(), static_cast<int>(bytes.size()), b, n);
  }
  return b;
}

std::string FromWide(const wchar_t* text, UINT length, UINT codePage) {
  if (text == nullptr || length == 0) return std::string();
  if (length > static_cast<UINT>(INT_MAX)) throw std::bad_alloc();
  const int n = WideCharToMultiByte(codePage, 0, text, static_cast<int>(length), nullptr, 0,
                                    nullptr, nullptr);
  std::string out(static_cast<size_t>(n), '\0');
  if (n > 0) {
    WideCharToMultiByte(codePage, 0, text, static_cast<int>(length), out.data(), n, nullptr,
                        nullptr);
  }
  return out;
}

std::string FromBstr(BSTR b, UINT codePage) {
  return FromWide(b, SysStringLen(b), codePage);
}

std::wstring Wide(const std::string& bytes, UINT codePage) {
  BSTR b = ToBstr(bytes, codePage);
  std::wstring w(b, SysStringLen(b));
  SysFreeString(b);
  return w;
}

// Failures ------------------------------------------------------------------

// A runtime failure (a small number) is 0x800A0000 + number; the library's own
// numbers are HRESULTs already.
HRESULT ToHresult(int32_t number) {
  if (number > 0 && number <= 0xFFFF) {
    return static_cast<HRESULT>(0x800A0000u | static_cast<uint32_t>(number));
  }
  if (number >= 0) return E_FAIL;
  return static_cast<HRESULT>(number);
}

HRESULT Fail(const Vessik_Error& e, REFIID iid) {
  const HRESULT hr = ToHresult(e.Number());
  ICreateErrorInfo* create = nullptr;
  if (SUCCEEDED(CreateErrorInfo(&create))) {
    create->SetGUID(iid);
    try {
      std::wstring source = Wide(e.Source(), CP_ACP);
      std::wstring description = Wide(e.Description(), CP_ACP);
      create->SetSource(source.data());
      create->SetDescription(description.data());
    } catch (...) {
      // The failure goes out without its texts.
    }
    IErrorInfo* info = nullptr;
    if (SUCCEEDED(create->QueryInterface(IID_IErrorInfo, reinterpret_cast<void**>(&info)))) {
      SetErrorInfo(0, info);
      info->Release();
    }
    create->Release();
  }
  return hr;
}

// Runs a member's body: nothing thrown leaves it, a failure becomes an HRESULT
// with its error information.
template <class F>
HRESULT Call(REFIID iid, F&& body) noexcept {
  try {
    body();
    return S_OK;
  } catch (...) {
    try {
      return Fail(vessik::CurrentErrorAsVessik(), iid);
    } catch (...) {
      return E_OUTOFMEMORY;
    }
  }
}

// The type library ----------------------------------------------------------

INIT_ONCE g_typeLibOnce = INIT_ONCE_STATIC_INIT;
ITypeLib* g_typeLib = nullptr;

std::wstring ModulePath() {
  std::wstring path(MAX_PATH, L'\0');
  for (;;) {
    DWORD n = GetModuleFileNameW(g_module, path.data(), static_cast<DWORD>(path.size()));
    if (n == 0) return std::wstring();
    if (n < path.size()) {
      path.resize(n);
      return path;
    }
    path.resize(path.size() * 2);
  }
}

BOOL CALLBACK LoadOwnTypeLib(PINIT_ONCE, PVOID, PVOID*) {
  try {
    std::wstring path = ModulePath();
    if (!path.empty()) LoadTypeLibEx(path.c_str(), REGKIND_NONE, &g_typeLib);
  } catch (...) {
    g_typeLib = nullptr;
  }
  return TRUE;
}

HRESULT TypeInfoOf(REFGUID guid, ITypeInfo** info) {
  InitOnceExecuteOnce(&g_typeLibOnce, LoadOwnTypeLib, nullptr, nullptr);
  if (g_typeLib == nullptr) return TYPE_E_CANTLOADLIBRARY;
  return g_typeLib->GetTypeInfoOfGuid(guid, info);
}

// Host services of the library: the real message pump and message box.
void PumpWindowsMessages() {
  MSG msg;
  while (PeekMessageW(&msg, nullptr, 0, 0, PM_REMOVE)) {
    if (msg.message == WM_QUIT) {
      PostQuitMessage(static_cast<int>(msg.wParam));
      break;
    }
    TranslateMessage(&msg);
    DispatchMessageW(&msg);
  }
}

void ShowWindowsMessageBox(const std::string& text) {
  std::wstring w = Wide(text, CP_ACP);
  MessageBoxW(nullptr, w.c_str(), L"Halmor", MB_OK);
}

// Objects -------------------------------------------------------------------

struct ObjectBase {
  virtual ~ObjectBase() = default;
};

// The one of our objects behind an interface pointer, or null for a foreign one.
template <class T>
T* Native(IUnknown* unknown) {
  if (unknown == nullptr) return nullptr;
  ObjectBase* base = nullptr;
  if (FAILED(unknown->QueryInterface(IID_VessikObject, reinterpret_cast<void**>(&base)))) {
    return nullptr;
  }
  return dynamic_cast<T*>(base);
}

bool HasVariantReference(const DISPPARAMS& params) {
  for (UINT i = 0; i < params.cArgs; ++i) {
    if (V_VT(&params.rgvarg[i]) == (VT_VARIANT | VT_BYREF)) return true;
  }
  return false;
}

// A late-bound caller gets an array of objects as an array of variants that
// hold the same objects: scripts index only arrays of variants. Early-bound
// callers get the typed array of the interface.
HRESULT ObjectArrayToVariants(VARIANT* result) {
  if (V_VT(result) != (VT_ARRAY | VT_DISPATCH) || V_ARRAY(result) == nullptr) return S_OK;
  SAFEARRAY* typed = V_ARRAY(result);
  if (SafeArrayGetDim(typed) != 1) return S_OK;
  LONG lower = 0;
  LONG upper = -1;
  SafeArrayGetLBound(typed, 1, &lower);
  SafeArrayGetUBound(typed, 1, &upper);
  SAFEARRAYBOUND bound = {static_cast<ULONG>(upper - lower + 1), lower};
  SAFEARRAY* variants = SafeArrayCreate(VT_VARIANT, 1, &bound);
  if (variants == nullptr) return E_OUTOFMEMORY;
  for (LONG i = lower; i <= upper; ++i) {
    IDispatch* item = nullptr;
    HRESULT hr = SafeArrayGetElement(typed, &i, &item);
    if (FAILED(hr)) {
      SafeArrayDestroy(variants);
      return hr;
    }
    VARIANT v;
    VariantInit(&v);
    V_VT(&v) = VT_DISPATCH;
    V_DISPATCH(&v) = item;  // the reference from SafeArrayGetElement
    hr = SafeArrayPutElement(variants, &i, &v);
    VariantClear(&v);
    if (FAILED(hr)) {
      SafeArrayDestroy(variants);
      return hr;
    }
  }
  VariantClear(result);
  V_VT(result) = VT_ARRAY | VT_VARIANT;
  V_ARRAY(result) = variants;
  return S_OK;
}

// Reference counting, error information and IDispatch from the type library,
// for a class whose default interface is Itf.
template <class Itf, const IID* ItfId>
class Dispatch : public Itf, public ISupportErrorInfo, public ObjectBase {
 public:
  Dispatch() { LockModule(); }
  ~Dispatch() override {
    if (info_ != nullptr) info_->Release();
    UnlockModule();
  }
  Dispatch(const Dispatch&) = delete;
  Dispatch& operator=(const Dispatch&) = delete;

  STDMETHODIMP QueryInterface(REFIID riid, void** ppv) override {
    if (ppv == nullptr) return E_POINTER;
    *ppv = nullptr;
    if (riid == IID_VessikObject) {
      *ppv = static_cast<ObjectBase*>(this);
      return S_OK;
    }
    if (riid == IID_IUnknown || riid == IID_IDispatch || riid == *ItfId) {
      *ppv = static_cast<Itf*>(this);
    } else if (riid == IID_ISupportErrorInfo) {
      *ppv = static_cast<ISupportErrorInfo*>(this);
    } else if (!QueryMore(riid, ppv)) {
      return E_NOINTERFACE;
    }
    AddRef();
    return S_OK;
  }
  STDMETHODIMP_(ULONG) AddRef() override {
    return static_cast<ULONG>(InterlockedIncrement(&refs_));
  }
  STDMETHODIMP_(ULONG) Release() override {
    const LONG n = InterlockedDecrement(&refs_);
    if (n == 0) delete this;
    return static_cast<ULONG>(n);
  }

  STDMETHODIMP InterfaceSupportsErrorInfo(REFIID riid) override {
    return riid == *ItfId ? S_OK : S_FALSE;
  }

  STDMETHODIMP GetTypeInfoCount(UINT* count) override {
    if (count == nullptr) return E_POINTER;
    *count = 1;
    return S_OK;
  }
  STDMETHODIMP GetTypeInfo(UINT index, LCID, ITypeInfo** info) override {
    if (info == nullptr) return E_POINTER;
    *info = nullptr;
    if (index != 0) return DISP_E_BADINDEX;
    HRESULT hr = Info();
    if (FAILED(hr)) return hr;
    info_->AddRef();
    *info = info_;
    return S_OK;
  }
  STDMETHODIMP GetIDsOfNames(REFIID riid, LPOLESTR* names, UINT count, LCID, DISPID* ids) override {
    if (riid != IID_NULL) return DISP_E_UNKNOWNINTERFACE;
    HRESULT hr = Info();
    if (FAILED(hr)) return hr;
    return DispGetIDsOfNames(info_, names, count, ids);
  }
  STDMETHODIMP Invoke(DISPID id, REFIID riid, LCID, WORD flags, DISPPARAMS* params, VARIANT* result,
                      EXCEPINFO* exception, UINT* argError) override {
    if (riid != IID_NULL) return DISP_E_UNKNOWNINTERFACE;
    HRESULT hr = Info();
    if (FAILED(hr)) return hr;
    // A script passes its variables as references to variants, which the type
    // information does not convert to the typed references of the members; the
    // values behind them are passed instead (no member writes back).
    DISPPARAMS byValue = {};
    std::vector<VARIANTARG> args;
    if (params != nullptr && params->rgvarg != nullptr && HasVariantReference(*params)) {
      try {
        args.assign(params->rgvarg, params->rgvarg + params->cArgs);
      } catch (...) {
        return E_OUTOFMEMORY;
      }
      for (VARIANTARG& a : args) {
        while (V_VT(&a) == (VT_VARIANT | VT_BYREF) && V_VARIANTREF(&a) != nullptr) {
          a = *V_VARIANTREF(&a);
        }
      }
      byValue = *params;
      byValue.rgvarg = args.data();
      params = &byValue;
    }
    // The type information calls the member through the vtable and turns a
    // failure with error information into DISP_E_EXCEPTION with its texts.
    hr = info_->Invoke(static_cast<Itf*>(this), id, flags, params, result, exception, argError);
    if (SUCCEEDED(hr) && result != nullptr) hr = ObjectArrayToVariants(result);
    return hr;
  }

 protected:
  virtual bool QueryMore(REFIID, void**) { return false; }

  template <class F>
  HRESULT Run(F&& body) {
    return Call(*ItfId, std::forward<F>(body));
  }

 private:
  HRESULT Info() {
    if (info_ != nullptr) return S_OK;
    return TypeInfoOf(*ItfId, &info_);
  }

  LONG refs_ = 1;
  ITypeInfo* info_ = nullptr;
};

template <class T>
T* Required(T* out) {
  if (out == nullptr) vessik::RaisePlatformError(vessik::errnum::InvalidProcedureCall);
  return out;
}

// Vessik_Color
class ColorObject final : public Dispatch<_Vessik_Color, &IID__Vessik_Color> {
 public:
  ColorObject() : color(std::make_shared<vessik::Vessik_Color>()) {}
  explicit ColorObject(std::shared_ptr<vessik::Vessik_Color> c) : color(std::move(c)) {}

  STDMETHODIMP get_ColorACI(LONG* value) override {
    return Run([&] { *Required(value) = color->ColorACI(); });
  }
  STDMETHODIMP put_ColorACI(LONG* value) override {
    return Run([&] { color->ColorACI(*Required(value)); });
  }
  STDMETHODIMP get_ColorRGB(LONG* value) override {
    return Run([&] { *Required(value) = color->ColorRGB(); });
  }
  STDMETHODIMP put_ColorRGB(LONG* value) override {
    return Run([&] { color->ColorRGB(*Required(value)); });
  }

  std::shared_ptr<vessik::Vessik_Color> color;
};

// Vessik_Layer
class LayerObject final : public Dispatch<_Vessik_Layer, &IID__Vessik_Layer> {
 public:
  LayerObject() : layer(std::make_shared<vessik::Vessik_Layer>()) {}
  explicit LayerObject(std::shared_ptr<vessik::Vessik_Layer> l) : layer(std::move(l)) {}

  STDMETHODIMP get_Name(BSTR* value) override {
    return Run([&] { *Required(value) = ToBstr(layer->Name, CP_ACP); });
  }
  STDMETHODIMP put_Name(BSTR value) override {
    return Run([&] { layer->Name = FromBstr(value, CP_ACP); });
  }
  STDMETHODIMP get_Color(_Vessik_Color** value) override {
    return Run([&] {
      Required(value);
      *value = layer->Color ? new ColorObject(layer->Color) : nullptr;
    });
  }
  STDMETHODIMP putref_Color(_Vessik_Color* value) override {
    return Run([&] {
      if (value == nullptr) {
        layer->Color.reset();
        return;
      }
      ColorObject* c = Native<ColorObject>(value);
      if (c == nullptr) vessik::RaisePlatformError(vessik::errnum::TypeMismatch);
      layer->Color = c->color;
    });
  }

  std::shared_ptr<vessik::Vessik_Layer> layer;
};

// Vessik_CommonData
class CommonDataObject final : public Dispatch<_Vessik_CommonData, &IID__Vessik_CommonData> {
 public:
  CommonDataObject() : data(std::make_shared<vessik::Vessik_CommonData>()) {}

#define VESSIK_FIELD(Name, Type)                        \
  STDMETHODIMP get_##Name(Type* value) override {       \
    return Run([&] { *Required(value) = data->Name; }); \
  }                                                     \
  STDMETHODIMP put_##Name(Type value) override {        \
    return Run([&] { data->Name = value; });            \
  }
  VESSIK_FIELD(Tolerance, double)
  VESSIK_FIELD(Check, LONG)
  VESSIK_FIELD(ArcMaximumDeviationFactor, double)
  VESSIK_FIELD(ArcMinimumSegmentLengthFactor, double)
  VESSIK_FIELD(ArcMaximumSegmentLengthFactor, double)
  VESSIK_FIELD(InitialSegments, double)
#undef VESSIK_FIELD

  std::shared_ptr<vessik::Vessik_CommonData> data;
};

// An enumerator over a snapshot of references (connection points or
// connections), each held with a reference of its own.
template <class Enum, const IID* EnumId, class Item>
class Enumerator final : public Enum {
 public:
  explicit Enumerator(std::vector<Item> items) : items_(std::move(items)) {
    for (Item& i : items_) Ref(i)->AddRef();
    LockModule();
  }
  ~Enumerator() {
    for (Item& i : items_) Ref(i)->Release();
    UnlockModule();
  }
  Enumerator(const Enumerator&) = delete;
  Enumerator& operator=(const Enumerator&) = delete;

  STDMETHODIMP QueryInterface(REFIID riid, void** ppv) override {
    if (ppv == nullptr) return E_POINTER;
    *ppv = nullptr;
    if (riid != IID_IUnknown && riid != *EnumId) return E_NOINTERFACE;
    *ppv = static_cast<Enum*>(this);
    AddRef();
    return S_OK;
  }
  STDMETHODIMP_(ULONG) AddRef() override {
    return static_cast<ULONG>(InterlockedIncrement(&refs_));
  }
  STDMETHODIMP_(ULONG) Release() override {
    const LONG n = InterlockedDecrement(&refs_);
    if (n == 0) delete this;
    return static_cast<ULONG>(n);
  }
  STDMETHODIMP Next(ULONG count, Item* out, ULONG* fetched) override {
    if (out == nullptr || (count > 1 && fetched == nullptr)) return E_POINTER;
    ULONG n = 0;
    while (n < count && pos_ < items_.size()) {
      out[n] = items_[pos_++];
      Ref(out[n])->AddRef();
      ++n;
    }
    if (fetched != nullptr) *fetched = n;
    return n == count ? S_OK : S_FALSE;
  }
  STDMETHODIMP Skip(ULONG count) override {
    const size_t left = items_.size() - pos_;
    pos_ += count < left ? count : left;
    return count <= left ? S_OK : S_FALSE;
  }
  STDMETHODIMP Reset() override {
    pos_ = 0;
    return S_OK;
  }
  STDMETHODIMP Clone(Enum** out) override {
    if (out == nullptr) return E_POINTER;
    *out = nullptr;
    try {
      auto* copy = new Enumerator(items_);
      copy->pos_ = pos_;
      *out = copy;
      return S_OK;
    } catch (...) {
      return E_OUTOFMEMORY;
    }
  }

 private:
  static IUnknown* Ref(IConnectionPoint* p) { return p; }
  static IUnknown* Ref(const CONNECTDATA& c) { return c.pUnk; }

  std::vector<Item> items_;
  size_t pos_ = 0;
  LONG refs_ = 1;
};

using PointEnumerator =
    Enumerator<IEnumConnectionPoints, &IID_IEnumConnectionPoints, IConnectionPoint*>;
using ConnectionEnumerator = Enumerator<IEnumConnections, &IID_IEnumConnections, CONNECTDATA>;

// Vessik_Progress, with the connection point of its Progress event.
class ProgressObject final : public Dispatch<_Vessik_Progress, &IID__Vessik_Progress>,
                             public IConnectionPointContainer,
                             public IProvideClassInfo2 {
 public:
  ProgressObject() : progress(std::make_shared<vessik::Vessik_Progress>()), point_(this) {
    progress->Connect([this](int32_t value) { Fire(value); });
  }
  ~ProgressObject() override {
    for (auto& s : sinks_) s.sink->Release();
  }

  // IUnknown, shared by all the bases.
  STDMETHODIMP QueryInterface(REFIID riid, void** ppv) override {
    return Dispatch::QueryInterface(riid, ppv);
  }
  STDMETHODIMP_(ULONG) AddRef() override { return Dispatch::AddRef(); }
  STDMETHODIMP_(ULONG) Release() override { return Dispatch::Release(); }

  STDMETHODIMP get_IsCanceled(VARIANT_BOOL* value) override {
    return Run([&] { *Required(value) = progress->IsCanceled() ? VARIANT_TRUE : VARIANT_FALSE; });
  }
  STDMETHODIMP put_IsCanceled(VARIANT_BOOL* value) override {
    return Run([&] { progress->IsCanceled(*Required(value) != VARIANT_FALSE); });
  }
  STDMETHODIMP DoProgress(LONG value) override {
    return Run([&] { progress->DoProgress(value); });
  }

  // IConnectionPointContainer
  STDMETHODIMP EnumConnectionPoints(IEnumConnectionPoints** e) override {
    if (e == nullptr) return E_POINTER;
    *e = nullptr;
    try {
      *e = new PointEnumerator({&point_});
      return S_OK;
    } catch (...) {
      return E_OUTOFMEMORY;
    }
  }
  STDMETHODIMP FindConnectionPoint(REFIID riid, IConnectionPoint** point) override {
    if (point == nullptr) return E_POINTER;
    *point = nullptr;
    if (riid != DIID___Vessik_Progress) return CONNECT_E_NOCONNECTION;
    point_.AddRef();
    *point = &point_;
    return S_OK;
  }

  // IProvideClassInfo2: lets a host find the event interface.
  STDMETHODIMP GetClassInfo(ITypeInfo** info) override {
    if (info == nullptr) return E_POINTER;
    *info = nullptr;
    return TypeInfoOf(CLSID_Vessik_Progress, info);
  }
  STDMETHODIMP GetGUID(DWORD kind, GUID* guid) override {
    if (guid == nullptr) return E_POINTER;
    if (kind != GUIDKIND_DEFAULT_SOURCE_DISP_IID) return E_INVALIDARG;
    *guid = DIID___Vessik_Progress;
    return S_OK;
  }

  std::shared_ptr<vessik::Vessik_Progress> progress;

 protected:
  bool QueryMore(REFIID riid, void** ppv) override {
    if (riid == IID_IConnectionPointContainer) {
      *ppv = static_cast<IConnectionPointContainer*>(this);
    } else if (riid == IID_IProvideClassInfo || riid == IID_IProvideClassInfo2) {
      *ppv = static_cast<IProvideClassInfo2*>(this);
    } else {
      return false;
    }
    return true;
  }

 private:
  struct Sink {
    DWORD cookie;
    IDispatch* sink;
    bool typed;  // implements __Vessik_Progress, so DISPID 1 is Progress
  };

  // The connection point: its own interface, the container's lifetime.
  class Point final : public IConnectionPoint {
   public:
    explicit Point(ProgressObject* owner) : owner_(owner) {}
    STDMETHODIMP QueryInterface(REFIID riid, void** ppv) override {
      if (ppv == nullptr) return E_POINTER;
      *ppv = nullptr;
      if (riid != IID_IUnknown && riid != IID_IConnectionPoint) return E_NOINTERFACE;
      *ppv = static_cast<IConnectionPoint*>(this);
      AddRef();
      return S_OK;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return owner_->AddRef(); }
    STDMETHODIMP_(ULONG) Release() override { return owner_->Release(); }
    STDMETHODIMP GetConnectionInterface(IID* iid) override {
      if (iid == nullptr) return E_POINTER;
      *iid = DIID___Vessik_Progress;
      return S_OK;
    }
    STDMETHODIMP GetConnectionPointContainer(IConnectionPointContainer** c) override {
      if (c == nullptr) return E_POINTER;
      owner_->AddRef();
      *c = static_cast<IConnectionPointContainer*>(owner_);
      return S_OK;
    }
    STDMETHODIMP Advise(IUnknown* sink, DWORD* cookie) override {
      return owner_->Advise(sink, cookie);
    }
    STDMETHODIMP Unadvise(DWORD cookie) override { return owner_->Unadvise(cookie); }
    STDMETHODIMP EnumConnections(IEnumConnections** e) override {
      if (e == nullptr) return E_POINTER;
      *e = nullptr;
      try {
        std::vector<CONNECTDATA> connections;
        for (const Sink& s : owner_->sinks_) connections.push_back(CONNECTDATA{s.sink, s.cookie});
        *e = new ConnectionEnumerator(std::move(connections));
        return S_OK;
      } catch (...) {
        return E_OUTOFMEMORY;
      }
    }

   private:
    ProgressObject* owner_;
  };

  HRESULT Advise(IUnknown* sink, DWORD* cookie) {
    if (cookie == nullptr) return E_POINTER;
    *cookie = 0;
    if (sink == nullptr) return E_POINTER;
    IDispatch* d = nullptr;
    bool typed = true;
    if (FAILED(sink->QueryInterface(DIID___Vessik_Progress, reinterpret_cast<void**>(&d)))) {
      typed = false;
      if (FAILED(sink->QueryInterface(IID_IDispatch, reinterpret_cast<void**>(&d)))) {
        return CONNECT_E_CANNOTCONNECT;
      }
    }
    try {
      sinks_.push_back(Sink{nextCookie_, d, typed});
    } catch (...) {
      d->Release();
      return E_OUTOFMEMORY;
    }
    *cookie = nextCookie_++;
    return S_OK;
  }

  HRESULT Unadvise(DWORD cookie) {
    for (auto it = sinks_.begin(); it != sinks_.end(); ++it) {
      if (it->cookie == cookie) {
        IDispatch* d = it->sink;
        sinks_.erase(it);
        d->Release();
        return S_OK;
      }
    }
    return CONNECT_E_NOCONNECTION;
  }

  // Raises Progress on every connected sink, on this thread, before returning.
  // A sink's failure is its own affair.
  void Fire(int32_t value) {
    std::vector<Sink> sinks = sinks_;
    for (auto& s : sinks) s.sink->AddRef();
    for (auto& s : sinks) {
      Deliver(s, value);
      s.sink->Release();
    }
  }

  static void Deliver(const Sink& s, int32_t value) {
    VARIANTARG arg;
    VariantInit(&arg);
    V_VT(&arg) = VT_I4;
    V_I4(&arg) = value;
    DISPPARAMS params = {&arg, nullptr, 1, 0};
    if (s.typed) {
      s.sink->Invoke(1, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_METHOD, &params, nullptr, nullptr,
                     nullptr);
      return;
    }
    // A plain IDispatch sink is called by name; a script object that cannot
    // resolve names through IDispatch is asked through IDispatchEx.
    wchar_t name[] = L"Progress";
    LPOLESTR names[] = {name};
    DISPID id = DISPID_UNKNOWN;
    if (SUCCEEDED(s.sink->GetIDsOfNames(IID_NULL, names, 1, LOCALE_USER_DEFAULT, &id))) {
      s.sink->Invoke(id, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_METHOD, &params, nullptr, nullptr,
                     nullptr);
      return;
    }
    IDispatchEx* ex = nullptr;
    if (FAILED(s.sink->QueryInterface(kIID_IDispatchEx, reinterpret_cast<void**>(&ex)))) return;
    BSTR b = SysAllocString(name);
    if (b != nullptr && SUCCEEDED(ex->GetDispID(b, fdexNameCaseInsensitive, &id))) {
      ex->InvokeEx(id, LOCALE_USER_DEFAULT, DISPATCH_METHOD, &params, nullptr, nullptr, nullptr);
    }
    SysFreeString(b);
    ex->Release();
  }

  Point point_;
  std::vector<Sink> sinks_;
  DWORD nextCookie_ = 1;
};

// Holds a reference for the length of a call.
class Hold {
 public:
  explicit Hold(IUnknown* p) : p_(p) {
    if (p_ != nullptr) p_->AddRef();
  }
  ~Hold() {
    if (p_ != nullptr) p_->Release();
  }
  Hold(const Hold&) = delete;
  Hold& operator=(const Hold&) = delete;

 private:
  IUnknown* p_;
};

// Vessik_Parser
class ParserObject final : public Dispatch<_Vessik_Parser, &IID__Vessik_Parser> {
 public:
  ParserObject() : parser_(std::make_unique<vessik::Vessik_Parser>()) {}

  STDMETHODIMP get_Layers(SAFEARRAY** value) override {
    return Run([&] {
      Required(value);
      vessik::Vessik_Layers layers = parser_->Layers();
      if (layers.size() > static_cast<size_t>(LONG_MAX)) throw std::bad_alloc();
      SAFEARRAY* array = SafeArrayCreateVector(VT_DISPATCH, 0, static_cast<ULONG>(layers.size()));
      if (array == nullptr) throw std::bad_alloc();
      for (size_t i = 0; i < layers.size(); ++i) {
        LayerObject* layer = nullptr;
        try {
          layer = new LayerObject(layers[i]);
        } catch (...) {
          SafeArrayDestroy(array);
          throw;
        }
        LONG index = static_cast<LONG>(i);
        IDispatch* d = static_cast<_Vessik_Layer*>(layer);
        HRESULT hr = SafeArrayPutElement(array, &index, d);
        layer->Release();
        if (FAILED(hr)) {
          SafeArrayDestroy(array);
          throw std::bad_alloc();
        }
      }
      *value = array;
    });
  }

  STDMETHODIMP Parse2(BSTR TheFile, _Vessik_CommonData** Data, _Vessik_Progress** Progress,
                      BSTR* Result) override {
    return Run([&] {
      Required(Result);
      *Result = nullptr;
      IUnknown* dataUnknown = Data != nullptr ? *Data : nullptr;
      IUnknown* progressUnknown = Progress != nullptr ? *Progress : nullptr;
      Hold holdData(dataUnknown);
      Hold holdProgress(progressUnknown);
      CommonDataObject* data = Native<CommonDataObject>(dataUnknown);
      ProgressObject* progress = Native<ProgressObject>(progressUnknown);
      if ((dataUnknown != nullptr && data == nullptr) ||
          (progressUnknown != nullptr && progress == nullptr)) {
        vessik::RaisePlatformError(vessik::errnum::TypeMismatch);
      }
      vessik::SetPumpHook(PumpWindowsMessages);
      vessik::SetMessageBoxHook(ShowWindowsMessageBox);
      std::string text =
          parser_->Parse2(FromBstr(TheFile, CP_UTF8), data != nullptr ? data->data.get() : nullptr,
                          progress != nullptr ? progress->progress.get() : nullptr);
      *Result = ToBstr(text, CP_ACP);
    });
  }

 private:
  std::unique_ptr<vessik::Vessik_Parser> parser_;
};

// Class factories and registration --------------------------------------------

template <class T>
class Factory final : public IClassFactory {
 public:
  STDMETHODIMP QueryInterface(REFIID riid, void** ppv) override {
    if (ppv == nullptr) return E_POINTER;
    *ppv = nullptr;
    if (riid != IID_IUnknown && riid != IID_IClassFactory) return E_NOINTERFACE;
    *ppv = static_cast<IClassFactory*>(this);
    AddRef();
    return S_OK;
  }
  // The factories are static: their references only keep the module loaded.
  STDMETHODIMP_(ULONG) AddRef() override {
    LockModule();
    return 2;
  }
  STDMETHODIMP_(ULONG) Release() override {
    UnlockModule();
    return 1;
  }
  STDMETHODIMP CreateInstance(IUnknown* outer, REFIID riid, void** ppv) override {
    if (ppv == nullptr) return E_POINTER;
    *ppv = nullptr;
    if (outer != nullptr) return CLASS_E_NOAGGREGATION;
    T* object = nullptr;
    try {
      object = new T();
    } catch (...) {
      return E_OUTOFMEMORY;
    }
    HRESULT hr = object->QueryInterface(riid, ppv);
    object->Release();
    return hr;
  }
  STDMETHODIMP LockServer(BOOL lock) override {
    if (lock) {
      LockModule();
    } else {
      UnlockModule();
    }
    return S_OK;
  }
};

Factory<ParserObject> g_parserFactory;
Factory<ProgressObject> g_progressFactory;
Factory<LayerObject> g_layerFactory;
Factory<ColorObject> g_colorFactory;
Factory<CommonDataObject> g_commonDataFactory;

struct ClassEntry {
  const CLSID* clsid;
  const wchar_t* name;
  IClassFactory* factory;
};

const ClassEntry g_classes[] = {
    {&CLSID_Vessik_Parser, L"Vessik_Parser", &g_parserFactory},
    {&CLSID_Vessik_Progress, L"Vessik_Progress", &g_progressFactory},
    {&CLSID_Vessik_Layer, L"Vessik_Layer", &g_layerFactory},
    {&CLSID_Vessik_Color, L"Vessik_Color", &g_colorFactory},
    {&CLSID_Vessik_CommonData, L"Vessik_CommonData", &g_commonDataFactory},
};

std::wstring GuidText(REFGUID guid) {
  wchar_t text[40] = {};
  StringFromGUID2(guid, text, 40);
  return text;
}

bool SetKey(const std::wstring& key, const wchar_t* name, const std::wstring& value) {
  HKEY h = nullptr;
  if (RegCreateKeyExW(HKEY_CLASSES_ROOT, key.c_str(), 0, nullptr, 0, KEY_WRITE, nullptr, &h,
                      nullptr) != ERROR_SUCCESS) {
    return false;
  }
  LONG r = RegSetValueExW(h, name, 0, REG_SZ, reinterpret_cast<const BYTE*>(value.c_str()),
                          static_cast<DWORD>((value.size() + 1) * sizeof(wchar_t)));
  RegCloseKey(h);
  return r == ERROR_SUCCESS;
}

HRESULT Register() {
  const std::wstring path = ModulePath();
  if (path.empty()) return SELFREG_E_CLASS;
  ITypeLib* lib = nullptr;
  HRESULT hr = LoadTypeLibEx(path.c_str(), REGKIND_NONE, &lib);
  if (FAILED(hr)) return SELFREG_E_TYPELIB;
  std::vector<wchar_t> p(path.begin(), path.end());
  p.push_back(L'\0');
  hr = RegisterTypeLib(lib, p.data(), nullptr);
  lib->Release();
  if (FAILED(hr)) return SELFREG_E_TYPELIB;
  const std::wstring libid = GuidText(LIBID_Halmor);
  for (const ClassEntry& c : g_classes) {
    const std::wstring progId = std::wstring(L"Halmor.") + c.name;
    const std::wstring key = L"CLSID\\" + GuidText(*c.clsid);
    bool ok = SetKey(key, nullptr, progId) && SetKey(key + L"\\InprocServer32", nullptr, path) &&
              SetKey(key + L"\\InprocServer32", L"ThreadingModel", L"Apartment") &&
              SetKey(key + L"\\ProgID", nullptr, progId) &&
              SetKey(key + L"\\VERSION", nullptr, L"1.0") &&
              SetKey(key + L"\\TypeLib", nullptr, libid) &&
              SetKey(key + L"\\Programmable", nullptr, L"") && SetKey(progId, nullptr, progId) &&
              SetKey(progId + L"\\CLSID", nullptr, GuidText(*c.clsid));
    if (!ok) return SELFREG_E_CLASS;
  }
  return S_OK;
}

HRESULT Unregister() {
  HRESULT result = S_OK;
  for (const ClassEntry& c : g_classes) {
    const std::wstring progId = std::wstring(L"Halmor.") + c.name;
    const std::wstring key = L"CLSID\\" + GuidText(*c.clsid);
    for (const std::wstring& k : {key, progId}) {
      LONG r = RegDeleteTreeW(HKEY_CLASSES_ROOT, k.c_str());
      if (r != ERROR_SUCCESS && r != ERROR_FILE_NOT_FOUND) result = SELFREG_E_CLASS;
    }
  }
  HRESULT hr = UnRegisterTypeLib(LIBID_Halmor, 1, 0, LOCALE_NEUTRAL, SYS_WIN64);
  if (FAILED(hr) && hr != TYPE_E_REGISTRYACCESS && hr != TYPE_E_CANTLOADLIBRARY) {
    result = SELFREG_E_TYPELIB;
  }
  return result;
}

}  // namespace

// The four exports -----------------------------------------------------------

extern "C" {

BOOL WINAPI DllMain(HINSTANCE instance, DWORD reason, LPVOID) {
  if (reason == DLL_PROCESS_ATTACH) {
    g_module = instance;
    DisableThreadLibraryCalls(instance);
  }
  return TRUE;
}

STDAPI DllGetClassObject(REFCLSID clsid, REFIID riid, LPVOID* ppv) {
  if (ppv == nullptr) return E_POINTER;
  *ppv = nullptr;
  for (const ClassEntry& c : g_classes) {
    if (clsid == *c.clsid) return c.factory->QueryInterface(riid, ppv);
  }
  return CLASS_E_CLASSNOTAVAILABLE;
}

STDAPI DllCanUnloadNow() {
  return g_locks == 0 ? S_OK : S_FALSE;
}

STDAPI DllRegisterServer() {
  try {
    return Register();
  } catch (...) {
    return E_OUTOFMEMORY;
  }
}

STDAPI DllUnregisterServer() {
  try {
    return Unregister();
  } catch (...) {
    return E_OUTOFMEMORY;
  }
}

}  // extern "C"
