// A C++ client of Halmor.dll, run under Wine: creation by ProgID, vtable calls,
// the Progress event through IConnectionPointContainer and Advise (typed,
// named and IDispatchEx sinks), IErrorInfo, late binding, the real message pump
// and message box, reference counts and DllCanUnloadNow.
//
//   com_client.exe WORKDIR
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

#include <cstdio>
#include <string>
#include <vector>

namespace {

int passed = 0;
int failed = 0;

void Check(bool ok, const char* what, int line) {
  if (ok) {
    ++passed;
  } else {
    ++failed;
    std::printf("failed (line %d): %s\n", line, what);
  }
}
#define CHECK(cond) Check((cond), #cond, __LINE__)

const IID kIID_IDispatchEx = {
    0xa6ef9860, 0xc720, 0x11d0, {0x93, 0x37, 0x00, 0xa0, 0xc9, 0x0d, 0xca, 0xa9}};

std::string g_work;

std::string WritePath(const char* name, const std::string& content) {
  std::string path = g_work + "\\" + name;
  FILE* f = std::fopen(path.c_str(), "wb");
  if (f != nullptr) {
    std::fwrite(content.data(), 1, content.size(), f);
    std::fclose(f);
  }
  return path;
}

BSTR Bstr(const std::string& s) {
  int n = MultiByteToWideChar(CP_ACP, 0, s.data(), static_cast<int>(s.size()), nullptr, 0);
  BSTR b = SysAllocStringLen(nullptr, static_cast<UINT>(n));
  MultiByteToWideChar(CP_ACP, 0, s.data(), static_cast<int>(s.size()), b, n);
  return b;
}

std::wstring Wide(const std::string& s) {
  BSTR b = Bstr(s);
  std::wstring w(b, SysStringLen(b));
  SysFreeString(b);
  return w;
}

template <class T>
T* Create(const wchar_t* progId, REFIID iid) {
  CLSID clsid;
  if (FAILED(CLSIDFromProgID(progId, &clsid))) return nullptr;
  T* p = nullptr;
  if (FAILED(CoCreateInstance(clsid, nullptr, CLSCTX_INPROC_SERVER, iid,
                              reinterpret_cast<void**>(&p)))) {
    return nullptr;
  }
  return p;
}

const std::string kNl = "\r\n";
std::string Pairs(std::initializer_list<const char*> items) {
  std::string s;
  for (const char* i : items) s += std::string(i) + kNl;
  return s;
}
const std::string kHead =
    Pairs({"0", "SECTION", "2",  "TABLES", "0", "TABLE",   "2", "LAYER",      "0",  "LAYER",
           "2", "0",       "62", "7",      "0", "LAYER",   "2", "D\xc4MMUNG", "62", "3",
           "0", "ENDTAB",  "0",  "ENDSEC", "0", "SECTION", "2", "ENTITIES"});
const std::string kTail = Pairs({"0", "ENDSEC", "0", "EOF"});

// A sink of the event: IDispatch that records the values it gets. Its kind
// decides how it can be called.
enum class SinkKind { Typed, Named, ScriptLike };

class Sink final : public IDispatchEx {
 public:
  explicit Sink(SinkKind kind) : kind_(kind) {}
  std::vector<LONG> values;
  _Vessik_Progress* cancel = nullptr;  // set IsCanceled on this at every value
  LONG refs = 1;

  STDMETHODIMP QueryInterface(REFIID riid, void** ppv) override {
    *ppv = nullptr;
    if (riid == IID_IUnknown || riid == IID_IDispatch ||
        (kind_ == SinkKind::Typed && riid == DIID___Vessik_Progress) ||
        (kind_ == SinkKind::ScriptLike && riid == kIID_IDispatchEx)) {
      *ppv = static_cast<IDispatchEx*>(this);
      AddRef();
      return S_OK;
    }
    return E_NOINTERFACE;
  }
  STDMETHODIMP_(ULONG) AddRef() override { return static_cast<ULONG>(++refs); }
  STDMETHODIMP_(ULONG) Release() override { return static_cast<ULONG>(--refs); }
  STDMETHODIMP GetTypeInfoCount(UINT* n) override {
    *n = 0;
    return S_OK;
  }
  STDMETHODIMP GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
  STDMETHODIMP GetIDsOfNames(REFIID, LPOLESTR* names, UINT, LCID, DISPID* ids) override {
    if (kind_ != SinkKind::Named) return E_NOTIMPL;  // as a script's class object
    if (lstrcmpW(names[0], L"Progress") != 0) return DISP_E_UNKNOWNNAME;
    ids[0] = 5;
    return S_OK;
  }
  STDMETHODIMP Invoke(DISPID id, REFIID, LCID, WORD flags, DISPPARAMS* p, VARIANT*, EXCEPINFO*,
                      UINT*) override {
    const DISPID expected = kind_ == SinkKind::Typed ? 1 : 5;
    if (kind_ == SinkKind::ScriptLike) return E_NOTIMPL;
    return Record(id == expected && flags == DISPATCH_METHOD, p);
  }
  STDMETHODIMP GetDispID(BSTR name, DWORD, DISPID* id) override {
    if (lstrcmpiW(name, L"progress") != 0) return DISP_E_UNKNOWNNAME;
    *id = 7;
    return S_OK;
  }
  STDMETHODIMP InvokeEx(DISPID id, LCID, WORD flags, DISPPARAMS* p, VARIANT*, EXCEPINFO*,
                        IServiceProvider*) override {
    return Record(id == 7 && flags == DISPATCH_METHOD, p);
  }
  STDMETHODIMP DeleteMemberByName(BSTR, DWORD) override { return E_NOTIMPL; }
  STDMETHODIMP DeleteMemberByDispID(DISPID) override { return E_NOTIMPL; }
  STDMETHODIMP GetMemberProperties(DISPID, DWORD, DWORD*) override { return E_NOTIMPL; }
  STDMETHODIMP GetMemberName(DISPID, BSTR*) override { return E_NOTIMPL; }
  STDMETHODIMP GetNextDispID(DWORD, DISPID, DISPID*) override { return E_NOTIMPL; }
  STDMETHODIMP GetNameSpaceParent(IUnknown**) override { return E_NOTIMPL; }

 private:
  HRESULT Record(bool ok, DISPPARAMS* p) {
    if (!ok || p == nullptr || p->cArgs != 1 || V_VT(&p->rgvarg[0]) != VT_I4) {
      values.push_back(-999);
      return DISP_E_MEMBERNOTFOUND;
    }
    values.push_back(V_I4(&p->rgvarg[0]));
    if (cancel != nullptr) {
      VARIANT_BOOL t = VARIANT_TRUE;
      cancel->put_IsCanceled(&t);
    }
    return S_OK;
  }
  SinkKind kind_;
};

void TestObjects() {
  auto* d = Create<_Vessik_CommonData>(L"Halmor.Vessik_CommonData", IID__Vessik_CommonData);
  auto* c = Create<_Vessik_Color>(L"Halmor.Vessik_Color", IID__Vessik_Color);
  auto* l = Create<_Vessik_Layer>(L"Halmor.Vessik_Layer", IID__Vessik_Layer);
  auto* g = Create<_Vessik_Progress>(L"Halmor.Vessik_Progress", IID__Vessik_Progress);
  CHECK(d != nullptr && c != nullptr && l != nullptr && g != nullptr);
  if (d == nullptr || c == nullptr || l == nullptr || g == nullptr) return;

  // Reference counts.
  CHECK(d->AddRef() == 2);
  CHECK(d->Release() == 1);

  double v = -1;
  LONG n = -1;
  CHECK(d->get_Tolerance(&v) == S_OK && v == 0);
  CHECK(d->put_Tolerance(0.5) == S_OK && d->get_Tolerance(&v) == S_OK && v == 0.5);
  CHECK(d->get_Check(&n) == S_OK && n == 0);
  CHECK(d->put_Check(-9) == S_OK && d->get_Check(&n) == S_OK && n == -9);
  CHECK(d->put_ArcMaximumDeviationFactor(1.25) == S_OK &&
        d->get_ArcMaximumDeviationFactor(&v) == S_OK && v == 1.25);
  CHECK(d->put_ArcMinimumSegmentLengthFactor(2.25) == S_OK &&
        d->get_ArcMinimumSegmentLengthFactor(&v) == S_OK && v == 2.25);
  CHECK(d->put_ArcMaximumSegmentLengthFactor(3.25) == S_OK &&
        d->get_ArcMaximumSegmentLengthFactor(&v) == S_OK && v == 3.25);
  CHECK(d->put_InitialSegments(4.25) == S_OK && d->get_InitialSegments(&v) == S_OK && v == 4.25);

  LONG aci = 1;
  CHECK(c->put_ColorACI(&aci) == S_OK && c->get_ColorRGB(&n) == S_OK && n == 255);
  LONG bad = static_cast<LONG>(0x80000000u);
  HRESULT hr = c->put_ColorACI(&bad);
  CHECK(hr == static_cast<HRESULT>(0x800A0006u));
  IErrorInfo* info = nullptr;
  CHECK(GetErrorInfo(0, &info) == S_OK && info != nullptr);
  if (info != nullptr) {
    BSTR desc = nullptr;
    GUID guid = GUID_NULL;
    info->GetDescription(&desc);
    info->GetGUID(&guid);
    CHECK(desc != nullptr && lstrcmpW(desc, L"Overflow") == 0);
    CHECK(guid == IID__Vessik_Color);
    SysFreeString(desc);
    info->Release();
  }

  BSTR name = nullptr;
  CHECK(l->get_Name(&name) == S_OK && SysStringLen(name) == 0);
  SysFreeString(name);
  BSTR set = SysAllocString(L"WALLS");
  CHECK(l->put_Name(set) == S_OK);
  SysFreeString(set);
  CHECK(l->get_Name(&name) == S_OK && lstrcmpW(name, L"WALLS") == 0);
  SysFreeString(name);
  _Vessik_Color* lc = nullptr;
  CHECK(l->get_Color(&lc) == S_OK && lc != nullptr);
  if (lc != nullptr) {
    CHECK(lc->get_ColorACI(&n) == S_OK && n == 7);
    CHECK(lc->Release() == 0);  // a new wrapper of the layer's colour
  }
  CHECK(l->putref_Color(c) == S_OK);
  aci = 3;
  c->put_ColorACI(&aci);
  CHECK(l->get_Color(&lc) == S_OK && lc->get_ColorRGB(&n) == S_OK && n == 65280);
  if (lc != nullptr) lc->Release();
  CHECK(l->putref_Color(nullptr) == S_OK && l->get_Color(&lc) == S_OK && lc == nullptr);

  VARIANT_BOOL b = VARIANT_TRUE;
  CHECK(g->get_IsCanceled(&b) == S_OK && b == VARIANT_FALSE);
  b = VARIANT_TRUE;
  CHECK(g->put_IsCanceled(&b) == S_OK && g->get_IsCanceled(&b) == S_OK && b == VARIANT_TRUE);
  CHECK(g->DoProgress(3) == S_OK);

  // Aggregation is refused, unknown classes are not served.
  IClassFactory* factory = nullptr;
  CHECK(CoGetClassObject(CLSID_Vessik_Color, CLSCTX_INPROC_SERVER, nullptr, IID_IClassFactory,
                         reinterpret_cast<void**>(&factory)) == S_OK);
  if (factory != nullptr) {
    IUnknown* u = nullptr;
    CHECK(factory->CreateInstance(d, IID_IUnknown, reinterpret_cast<void**>(&u)) ==
          CLASS_E_NOAGGREGATION);
    factory->Release();
  }

  CHECK(g->Release() == 0);
  CHECK(l->Release() == 0);
  CHECK(c->Release() == 0);
  CHECK(d->Release() == 0);
}

void TestEvents() {
  auto* g = Create<_Vessik_Progress>(L"Halmor.Vessik_Progress", IID__Vessik_Progress);
  CHECK(g != nullptr);
  if (g == nullptr) return;
  IConnectionPointContainer* cpc = nullptr;
  CHECK(g->QueryInterface(IID_IConnectionPointContainer, reinterpret_cast<void**>(&cpc)) == S_OK);
  if (cpc == nullptr) return;
  IConnectionPoint* cp = nullptr;
  CHECK(cpc->FindConnectionPoint(IID_IDispatch, &cp) == CONNECT_E_NOCONNECTION);
  CHECK(cpc->FindConnectionPoint(DIID___Vessik_Progress, &cp) == S_OK && cp != nullptr);
  IEnumConnectionPoints* points = nullptr;
  CHECK(cpc->EnumConnectionPoints(&points) == S_OK && points != nullptr);
  if (points != nullptr) {
    IConnectionPoint* found = nullptr;
    ULONG fetched = 0;
    CHECK(points->Next(1, &found, &fetched) == S_OK && fetched == 1 && found == cp);
    if (found != nullptr) found->Release();
    CHECK(points->Next(1, &found, &fetched) == S_FALSE && fetched == 0);
    CHECK(points->Release() == 0);
  }
  IID iid = GUID_NULL;
  CHECK(cp->GetConnectionInterface(&iid) == S_OK && iid == DIID___Vessik_Progress);

  IProvideClassInfo2* pci = nullptr;
  CHECK(g->QueryInterface(IID_IProvideClassInfo2, reinterpret_cast<void**>(&pci)) == S_OK);
  if (pci != nullptr) {
    GUID guid = GUID_NULL;
    CHECK(pci->GetGUID(GUIDKIND_DEFAULT_SOURCE_DISP_IID, &guid) == S_OK &&
          guid == DIID___Vessik_Progress);
    pci->Release();
  }

  Sink typed(SinkKind::Typed), named(SinkKind::Named), script(SinkKind::ScriptLike);
  DWORD c1 = 0, c2 = 0, c3 = 0;
  CHECK(cp->Advise(static_cast<IDispatchEx*>(&typed), &c1) == S_OK);
  CHECK(cp->Advise(static_cast<IDispatchEx*>(&named), &c2) == S_OK);
  CHECK(cp->Advise(static_cast<IDispatchEx*>(&script), &c3) == S_OK);
  CHECK(typed.refs == 2 && named.refs == 2 && script.refs == 2);
  IEnumConnections* connections = nullptr;
  CHECK(cp->EnumConnections(&connections) == S_OK && connections != nullptr);
  if (connections != nullptr) {
    CONNECTDATA data[4] = {};
    ULONG fetched = 0;
    CHECK(connections->Next(4, data, &fetched) == S_FALSE && fetched == 3);
    CHECK(data[0].dwCookie == c1 && data[1].dwCookie == c2 && data[2].dwCookie == c3);
    for (ULONG i = 0; i < fetched; ++i) data[i].pUnk->Release();
    CHECK(connections->Release() == 0);
  }
  CHECK(typed.refs == 2 && named.refs == 2 && script.refs == 2);
  CHECK(g->DoProgress(42) == S_OK);
  CHECK(typed.values == std::vector<LONG>{42});
  CHECK(named.values == std::vector<LONG>{42});
  CHECK(script.values == std::vector<LONG>{42});
  CHECK(cp->Unadvise(c1) == S_OK);
  CHECK(cp->Unadvise(c1) == CONNECT_E_NOCONNECTION);
  CHECK(g->DoProgress(-7) == S_OK);
  CHECK(typed.values.size() == 1 && named.values.size() == 2 && named.values[1] == -7);
  CHECK(cp->Unadvise(c2) == S_OK && cp->Unadvise(c3) == S_OK);
  CHECK(typed.refs == 1 && named.refs == 1 && script.refs == 1);

  // The event during a parse, and a cancel from the handler.
  auto* p = Create<_Vessik_Parser>(L"Halmor.Vessik_Parser", IID__Vessik_Parser);
  auto* d = Create<_Vessik_CommonData>(L"Halmor.Vessik_CommonData", IID__Vessik_CommonData);
  CHECK(p != nullptr && d != nullptr);
  if (p != nullptr && d != nullptr) {
    Sink events(SinkKind::Typed);
    DWORD cookie = 0;
    CHECK(cp->Advise(static_cast<IDispatchEx*>(&events), &cookie) == S_OK);
    BSTR path = Bstr(WritePath("events.dxf", kHead + kTail));
    BSTR text = nullptr;
    CHECK(p->Parse2(path, &d, &g, &text) == S_OK && text != nullptr && SysStringLen(text) == 0);
    SysFreeString(text);
    CHECK((events.values == std::vector<LONG>{62, 75, 50, 50}));
    SysFreeString(path);

    events.values.clear();
    events.cancel = g;
    path = Bstr(WritePath("cancel.dxf", kHead + Pairs({"0", "POINT", "8", "0"}) + kTail));
    text = nullptr;
    CHECK(p->Parse2(path, &d, &g, &text) == S_OK && SysStringLen(text) == 0);
    SysFreeString(text);
    SysFreeString(path);
    VARIANT_BOOL b = VARIANT_FALSE;
    CHECK(g->get_IsCanceled(&b) == S_OK && b == VARIANT_TRUE);
    CHECK(events.values.size() >= 2 && events.values.back() == 50);
    CHECK(cp->Unadvise(cookie) == S_OK && events.refs == 1);
  }
  if (p != nullptr) CHECK(p->Release() == 0);
  if (d != nullptr) CHECK(d->Release() == 0);
  cp->Release();
  cpc->Release();
  CHECK(g->Release() == 0);
}

void ExpectError(HRESULT hr, HRESULT expected, const wchar_t* description, int line) {
  Check(hr == expected, "failure HRESULT", line);
  if (hr != expected) std::printf("  got 0x%08lX\n", static_cast<unsigned long>(hr));
  IErrorInfo* info = nullptr;
  Check(GetErrorInfo(0, &info) == S_OK && info != nullptr, "error information", line);
  if (info == nullptr) return;
  BSTR desc = nullptr, source = nullptr;
  GUID guid = GUID_NULL;
  info->GetDescription(&desc);
  info->GetSource(&source);
  info->GetGUID(&guid);
  Check(desc != nullptr && lstrcmpW(desc, description) == 0, "description", line);
  Check(SysStringLen(source) == 0, "empty source", line);
  Check(guid == IID__Vessik_Parser, "interface of the failure", line);
  SysFreeString(desc);
  SysFreeString(source);
  info->Release();
}

// Finds the message box of a failed load, reads it and dismisses it.
struct BoxWatch {
  std::wstring text;
  bool found = false;
};

DWORD WINAPI WatchForBox(LPVOID arg) {
  auto* w = static_cast<BoxWatch*>(arg);
  for (int i = 0; i < 200; ++i) {
    HWND box = FindWindowW(L"#32770", L"Halmor");
    if (box != nullptr) {
      wchar_t buf[64] = {};
      GetDlgItemTextW(box, 0xFFFF, buf, 64);
      w->text = buf;
      w->found = true;
      PostMessageW(box, WM_COMMAND, IDOK, 0);
      return 0;
    }
    Sleep(50);
  }
  return 0;
}

LONG g_windowMessages = 0;
LRESULT CALLBACK CountingProc(HWND hwnd, UINT msg, WPARAM wp, LPARAM lp) {
  if (msg == WM_APP) ++g_windowMessages;
  return DefWindowProcW(hwnd, msg, wp, lp);
}

void TestParser() {
  auto* p = Create<_Vessik_Parser>(L"Halmor.Vessik_Parser", IID__Vessik_Parser);
  auto* d = Create<_Vessik_CommonData>(L"Halmor.Vessik_CommonData", IID__Vessik_CommonData);
  auto* g = Create<_Vessik_Progress>(L"Halmor.Vessik_Progress", IID__Vessik_Progress);
  CHECK(p != nullptr && d != nullptr && g != nullptr);
  if (p == nullptr || d == nullptr || g == nullptr) return;

  ISupportErrorInfo* sei = nullptr;
  CHECK(p->QueryInterface(IID_ISupportErrorInfo, reinterpret_cast<void**>(&sei)) == S_OK);
  if (sei != nullptr) {
    CHECK(sei->InterfaceSupportsErrorInfo(IID__Vessik_Parser) == S_OK);
    sei->Release();
  }

  SAFEARRAY* layers = nullptr;
  CHECK(p->get_Layers(&layers) == S_OK && layers != nullptr);
  if (layers != nullptr) {
    LONG ub = 0;
    SafeArrayGetUBound(layers, 1, &ub);
    CHECK(ub == -1);
    SafeArrayDestroy(layers);
  }

  // Failures through the vtable, with their error information.
  BSTR text = nullptr;
  BSTR path = Bstr(g_work + "\\missing.dxf");
  ExpectError(p->Parse2(path, &d, &g, &text), static_cast<HRESULT>(0x800A0035u), L"File not found",
              __LINE__);
  CHECK(text == nullptr);
  SysFreeString(path);
  path = Bstr(WritePath("nosection.dxf", Pairs({"0", "SECT", "0", "EOF"})));
  ExpectError(p->Parse2(path, &d, &g, &text), static_cast<HRESULT>(0x80040001u),
              L"SECTION tag not found. DXF file is invalid.", __LINE__);
  SysFreeString(path);
  path = Bstr(WritePath("empty.dxf", kHead + kTail));
  _Vessik_Progress* none = nullptr;
  ExpectError(p->Parse2(path, &d, &none, &text), static_cast<HRESULT>(0x800A005Bu),
              L"Object variable or With block variable not set", __LINE__);

  // The real message pump: a message posted before the call is handled during it.
  WNDCLASSW wc = {};
  wc.lpfnWndProc = CountingProc;
  wc.hInstance = GetModuleHandleW(nullptr);
  wc.lpszClassName = L"VessikPumpTest";
  RegisterClassW(&wc);
  HWND window = CreateWindowW(L"VessikPumpTest", L"", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr,
                              wc.hInstance, nullptr);
  CHECK(window != nullptr);
  // The pump runs at most every 100 ms: the earlier parses must lie further back.
  Sleep(150);
  PostMessageW(window, WM_APP, 0, 0);
  PostThreadMessageW(GetCurrentThreadId(), WM_APP + 1, 0, 0);
  CHECK(p->Parse2(path, &d, &g, &text) == S_OK && SysStringLen(text) == 0);
  SysFreeString(text);
  text = nullptr;
  CHECK(g_windowMessages == 1);
  MSG msg;
  CHECK(!PeekMessageW(&msg, nullptr, WM_APP + 1, WM_APP + 1, PM_NOREMOVE));
  if (window != nullptr) DestroyWindow(window);

  // Layers through the vtable: a typed array of the layer objects.
  CHECK(p->get_Layers(&layers) == S_OK && layers != nullptr);
  if (layers != nullptr) {
    VARTYPE vt = VT_EMPTY;
    SafeArrayGetVartype(layers, &vt);
    CHECK(vt == VT_DISPATCH);
    LONG lb = -1, ub = -1;
    SafeArrayGetLBound(layers, 1, &lb);
    SafeArrayGetUBound(layers, 1, &ub);
    CHECK(lb == 0 && ub == 1);
    if (ub == 1) {
      IDispatch* item = nullptr;
      LONG index = 1;
      SafeArrayGetElement(layers, &index, &item);
      _Vessik_Layer* layer = nullptr;
      CHECK(item != nullptr &&
            item->QueryInterface(IID__Vessik_Layer, reinterpret_cast<void**>(&layer)) == S_OK);
      if (layer != nullptr) {
        BSTR name = nullptr;
        layer->get_Name(&name);
        CHECK(name != nullptr && Wide("D\xc4MMUNG") == std::wstring(name, SysStringLen(name)));
        SysFreeString(name);
        _Vessik_Color* c = nullptr;
        LONG n = 0;
        CHECK(layer->get_Color(&c) == S_OK && c->get_ColorACI(&n) == S_OK && n == 3);
        if (c != nullptr) c->Release();
        layer->Release();
      }
      if (item != nullptr) item->Release();
    }
    SafeArrayDestroy(layers);
  }

  // Late binding: names, an array of variants for scripts, failures as exceptions.
  LPOLESTR names[] = {const_cast<LPOLESTR>(L"Parse2")};
  DISPID id = 0;
  CHECK(p->GetIDsOfNames(IID_NULL, names, 1, LOCALE_USER_DEFAULT, &id) == S_OK);
  VARIANT args[3];
  for (auto& a : args) VariantInit(&a);
  V_VT(&args[2]) = VT_BSTR;
  V_BSTR(&args[2]) = Bstr(g_work + "\\missing.dxf");
  V_VT(&args[1]) = VT_DISPATCH;
  V_DISPATCH(&args[1]) = d;
  V_VT(&args[0]) = VT_DISPATCH;
  V_DISPATCH(&args[0]) = g;
  DISPPARAMS params = {args, nullptr, 3, 0};
  VARIANT result;
  VariantInit(&result);
  EXCEPINFO ex = {};
  CHECK(p->Invoke(id, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_METHOD, &params, &result, &ex,
                  nullptr) == DISP_E_EXCEPTION);
  CHECK(ex.scode == static_cast<SCODE>(0x800A0035u));
  CHECK(ex.bstrDescription != nullptr && lstrcmpW(ex.bstrDescription, L"File not found") == 0);
  SysFreeString(ex.bstrDescription);
  SysFreeString(ex.bstrSource);
  SysFreeString(ex.bstrHelpFile);
  SysFreeString(V_BSTR(&args[2]));
  V_VT(&args[2]) = VT_BSTR;
  V_BSTR(&args[2]) = path;
  CHECK(p->Invoke(id, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_METHOD, &params, &result, nullptr,
                  nullptr) == S_OK);
  CHECK(V_VT(&result) == VT_BSTR && SysStringLen(V_BSTR(&result)) == 0);
  VariantClear(&result);
  LPOLESTR layersName[] = {const_cast<LPOLESTR>(L"Layers")};
  CHECK(p->GetIDsOfNames(IID_NULL, layersName, 1, LOCALE_USER_DEFAULT, &id) == S_OK);
  DISPPARAMS none0 = {nullptr, nullptr, 0, 0};
  CHECK(p->Invoke(id, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_PROPERTYGET, &none0, &result, nullptr,
                  nullptr) == S_OK);
  CHECK(V_VT(&result) == (VT_ARRAY | VT_VARIANT));
  VariantClear(&result);

  // The message box of a failed load is a real one, and the failure follows it.
  BSTR bad = Bstr(WritePath(
      "badcode.dxf", Pairs({"0", "SECTION", "2", "ENTITIES", "99999999999", "X", "0", "ENDSEC"})));
  BoxWatch watch;
  HANDLE thread = CreateThread(nullptr, 0, WatchForBox, &watch, 0, nullptr);
  HRESULT hr = p->Parse2(bad, &d, &g, &text);
  if (thread != nullptr) {
    WaitForSingleObject(thread, 15000);
    CloseHandle(thread);
  }
  CHECK(hr == static_cast<HRESULT>(0x80040003u));
  CHECK(watch.found && watch.text == L"Fail:0");
  SysFreeString(bad);

  SysFreeString(path);
  CHECK(g->Release() == 0);
  CHECK(d->Release() == 0);
  CHECK(p->Release() == 0);
}

// A parse in an apartment of its own: the library's per-thread state keeps two
// apartments that parse at the same time apart.
struct ApartmentRun {
  std::string drawing;
  int good = 0;
};

DWORD WINAPI ParseInApartment(LPVOID arg) {
  auto* run = static_cast<ApartmentRun*>(arg);
  if (FAILED(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED))) return 1;
  auto* p = Create<_Vessik_Parser>(L"Halmor.Vessik_Parser", IID__Vessik_Parser);
  auto* d = Create<_Vessik_CommonData>(L"Halmor.Vessik_CommonData", IID__Vessik_CommonData);
  auto* g = Create<_Vessik_Progress>(L"Halmor.Vessik_Progress", IID__Vessik_Progress);
  if (p != nullptr && d != nullptr && g != nullptr) {
    BSTR path = Bstr(run->drawing);
    for (int i = 0; i < 20; ++i) {
      BSTR text = nullptr;
      SAFEARRAY* layers = nullptr;
      LONG ub = -1;
      if (p->Parse2(path, &d, &g, &text) == S_OK && SysStringLen(text) == 0 &&
          p->get_Layers(&layers) == S_OK && SafeArrayGetUBound(layers, 1, &ub) == S_OK && ub == 1) {
        ++run->good;
      }
      SysFreeString(text);
      if (layers != nullptr) SafeArrayDestroy(layers);
    }
    SysFreeString(path);
  }
  if (g != nullptr) g->Release();
  if (d != nullptr) d->Release();
  if (p != nullptr) p->Release();
  CoUninitialize();
  return 0;
}

void TestApartments() {
  ApartmentRun a, b;
  a.drawing = WritePath("apartment-a.dxf", kHead + kTail);
  b.drawing = WritePath("apartment-b.dxf", kHead + Pairs({"0", "POINT", "8", "0"}) + kTail);
  HANDLE threads[2] = {CreateThread(nullptr, 0, ParseInApartment, &a, 0, nullptr),
                       CreateThread(nullptr, 0, ParseInApartment, &b, 0, nullptr)};
  CHECK(threads[0] != nullptr && threads[1] != nullptr);
  if (threads[0] == nullptr || threads[1] == nullptr) return;
  WaitForMultipleObjects(2, threads, TRUE, 60000);
  CloseHandle(threads[0]);
  CloseHandle(threads[1]);
  CHECK(a.good == 20 && b.good == 20);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::printf("usage: com_client WORKDIR\n");
    return 2;
  }
  g_work = argv[1];
  if (FAILED(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED))) {
    std::printf("0 passed, 1 failed\n");
    return 1;
  }
  TestObjects();
  TestEvents();
  TestParser();
  TestApartments();

  // Every object is gone: the server may be unloaded.
  HMODULE server = GetModuleHandleW(L"Halmor.dll");
  CHECK(server != nullptr);
  if (server != nullptr) {
    using CanUnload = HRESULT(STDAPICALLTYPE*)();
    auto canUnload = reinterpret_cast<CanUnload>(
        reinterpret_cast<void*>(GetProcAddress(server, "DllCanUnloadNow")));
    CHECK(canUnload != nullptr && canUnload() == S_OK);
    auto* keep = Create<_Vessik_Color>(L"Halmor.Vessik_Color", IID__Vessik_Color);
    CHECK(keep != nullptr && canUnload != nullptr && canUnload() == S_FALSE);
    if (keep != nullptr) CHECK(keep->Release() == 0);
    CHECK(canUnload != nullptr && canUnload() == S_OK);
  }
  CoUninitialize();
  std::printf("%d passed, %d failed\n", passed, failed);
  std::fflush(stdout);
  return failed == 0 ? 0 : 1;
}
