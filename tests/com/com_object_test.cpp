// ComObject's QueryInterface and reference count, the module lock count and ComPtr ownership;
// VARIANT ownership (clear, copy, by-reference values), lmk::Variant, object coercions and
// VarBstrCmp ordering.
#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "com/com.h"
#include "support/data_table.h"

namespace lmk_test_interfaces {

struct IAlpha : public IDispatch {
  virtual HRESULT STDMETHODCALLTYPE Alpha(LONG* value) = 0;
};
LMK_DECLARE_IID(IAlpha, "7F6965D4-9655-4145-BFE6-8619711AFC40")
LMK_DECLARE_IID_BASE(IAlpha, IDispatch)

struct IBeta : public IUnknown {
  virtual HRESULT STDMETHODCALLTYPE Beta() = 0;
};
LMK_DECLARE_IID(IBeta, "{11111111-2222-3333-4455-66778899AABB}")

// Declared but implemented by nobody here.
struct IGamma : public IUnknown {};
LMK_DECLARE_IID(IGamma, "00000000-0000-0000-0000-0000000000FF")

}  // namespace lmk_test_interfaces

namespace lmk {
namespace {

using lmk_test_interfaces::IAlpha;
using lmk_test_interfaces::IBeta;
using lmk_test_interfaces::IGamma;

class CAlphaBeta final : public ComObject<CAlphaBeta, IAlpha, IBeta> {
 public:
  explicit CAlphaBeta(int* destroyed) : destroyed_(destroyed) {}
  ~CAlphaBeta() override { ++*destroyed_; }

  HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) override {
    return E_NOTIMPL;
  }
  HRESULT STDMETHODCALLTYPE Invoke(DISPID, REFIID, LCID, WORD, DISPPARAMS*, VARIANT*, EXCEPINFO*,
                                   UINT*) override {
    return E_NOTIMPL;
  }
  HRESULT STDMETHODCALLTYPE Alpha(LONG* value) override {
    *value = 7;
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE Beta() override { return S_FALSE; }

 private:
  int* destroyed_;
};

class CThrowing final : public ComObject<CThrowing, IBeta> {
 public:
  CThrowing() { throw std::runtime_error("constructor fails"); }
  HRESULT STDMETHODCALLTYPE Beta() override { return S_OK; }
};

TEST(ComObject, UnknownInterfaceAndNullOut) {
  int destroyed = 0;
  ComPtr<CAlphaBeta> object = MakeComObject<CAlphaBeta>(&destroyed);
  ComPtr<IGamma> gamma;
  EXPECT_EQ(object.As(&gamma), E_NOINTERFACE);
  EXPECT_FALSE(gamma);
  void* raw = reinterpret_cast<void*>(1);
  EXPECT_EQ(object->QueryInterface(IID_IStream, &raw), E_NOINTERFACE);
  EXPECT_EQ(raw, nullptr);
  EXPECT_EQ(object->QueryInterface(IID_IUnknown, nullptr), E_POINTER);
}

TEST(ComObject, ReferenceCountModuleLockAndConstructorFailure) {
  const long before = ModuleLockCount();
  int destroyed = 0;
  ComPtr<CAlphaBeta> object = MakeComObject<CAlphaBeta>(&destroyed);
  EXPECT_EQ(object->AddRef(), 2u);
  EXPECT_EQ(object->Release(), 1u);
  ComPtr<CAlphaBeta> copy = object;
  EXPECT_EQ(ModuleLockCount(), before + 1);
  EXPECT_EQ(object.Reset(), 1u);
  EXPECT_EQ(copy.Reset(), 0u);
  EXPECT_EQ(destroyed, 1);
  EXPECT_EQ(ModuleLockCount(), before);
  ModuleLock();
  EXPECT_EQ(ModuleLockCount(), before + 1);
  ModuleUnlock();
  EXPECT_THROW(MakeComObject<CThrowing>(), std::runtime_error);
  EXPECT_EQ(ModuleLockCount(), before);
}

TEST(ComPtr, MoveCopyAttachDetach) {
  int destroyed = 0;
  ComPtr<CAlphaBeta> a = MakeComObject<CAlphaBeta>(&destroyed);
  ComPtr<CAlphaBeta> moved(std::move(a));
  EXPECT_FALSE(a);  // NOLINT(bugprone-use-after-move)
  ComPtr<IBeta> beta;
  ASSERT_EQ(moved.As(&beta), S_OK);
  IBeta* out = nullptr;
  ASSERT_EQ(beta.CopyTo(&out), S_OK);
  ComPtr<IBeta> adopted;
  adopted.Attach(out);  // takes the reference CopyTo handed out
  IBeta* detached = adopted.Detach();
  EXPECT_FALSE(adopted);
  EXPECT_EQ(detached->Release(), 2u);  // moved and beta remain
  beta = nullptr;
  ComPtr<IUnknown> unknown;
  ASSERT_EQ(moved.As(&unknown), S_OK);
  ComPtr<IAlpha> converted = moved;  // AddRefs through the implicit up-cast
  moved.Reset();
  converted.Reset();
  EXPECT_EQ(destroyed, 0);
  EXPECT_EQ(unknown.ReleaseAndGetAddressOf(), unknown.GetAddressOf());
  EXPECT_EQ(destroyed, 1);

  ComPtr<IUnknown> empty;
  ComPtr<IDispatch> dispatch;
  EXPECT_EQ(empty.As(&dispatch), E_POINTER);
  IUnknown* none = reinterpret_cast<IUnknown*>(1);
  EXPECT_EQ(empty.CopyTo(&none), S_OK);
  EXPECT_EQ(none, nullptr);
  EXPECT_EQ(empty.CopyTo(nullptr), E_POINTER);
}

// The object's current reference count, observed through AddRef/Release.
ULONG RefCount(IUnknown* unknown) {
  unknown->AddRef();
  return unknown->Release();
}

ComPtr<IStream> MakeStream() {
  ComPtr<IStream> stream;
  stream.Attach(SHCreateMemStream(nullptr, 0));
  return stream;
}

VARIANT ByRef(VARTYPE vt, void* target) {
  VARIANT v;
  VariantInit(&v);
  v.vt = vt | VT_BYREF;
  v.byref = target;
  return v;
}

TEST(VariantClear, ReleasesObjectsLeavesReferencesAndRejectsBadTypes) {
  ComPtr<IStream> stream = MakeStream();
  VARIANT v;
  VariantInit(&v);
  Variant::Unknown(stream.Get()).Detach(&v);
  ASSERT_EQ(RefCount(stream.Get()), 2u);
  EXPECT_EQ(VariantClear(&v), S_OK);
  EXPECT_EQ(v.vt, VT_EMPTY);
  EXPECT_EQ(RefCount(stream.Get()), 1u);

  Bstr text(L"owned elsewhere");
  BSTR raw = text.get();
  v = ByRef(VT_BSTR, &raw);
  EXPECT_EQ(VariantClear(&v), S_OK);
  EXPECT_EQ(text.view(), L"owned elsewhere");  // ASan would see a double free

  v.vt = 0x7F;
  EXPECT_EQ(VariantClear(&v), DISP_E_BADVARTYPE);
  EXPECT_EQ(VariantClear(nullptr), E_INVALIDARG);
}

TEST(VariantCopy, DeepCopiesTextAddRefsObjectsAndDereferences) {
  Variant text = Variant::String(std::wstring_view(L"a\0b", 3));
  VARIANT copy;
  VariantInit(&copy);
  ASSERT_EQ(VariantCopy(&copy, text.get()), S_OK);
  EXPECT_NE(copy.bstrVal, text.ref().bstrVal);
  EXPECT_EQ(SysStringLen(copy.bstrVal), 3u);
  ComPtr<IStream> stream = MakeStream();
  Variant object = Variant::Unknown(stream.Get());
  // Copying over a variant that holds text frees the text first (ASan would see the leak).
  ASSERT_EQ(VariantCopy(&copy, object.get()), S_OK);
  EXPECT_EQ(RefCount(stream.Get()), 3u);
  VariantClear(&copy);
  EXPECT_EQ(RefCount(stream.Get()), 2u);

  Bstr target(L"target");
  BSTR raw = target.get();
  VARIANT ref = ByRef(VT_BSTR, &raw);
  Variant deref;
  ASSERT_EQ(VariantCopyInd(&deref, &ref), S_OK);
  EXPECT_NE(deref.ref().bstrVal, raw);
  EXPECT_EQ(std::wstring(deref.ref().bstrVal), L"target");
}

TEST(VariantChangeType, ReadsByReferenceSources) {
  LONG number = 1234;
  VARIANT ref = ByRef(VT_I4, &number);
  Variant text;
  ASSERT_EQ(VariantChangeType(&text, &ref, 0, VT_BSTR), S_OK);
  EXPECT_EQ(std::wstring(text.ref().bstrVal), L"1234");
  Variant inner = Variant::R8(2.5);
  VARIANT var_ref = ByRef(VT_VARIANT, inner.get());
  Variant integer;
  ASSERT_EQ(VariantChangeType(&integer, &var_ref, 0, VT_I4), S_OK);
  EXPECT_EQ(integer.ref().lVal, 2);
}

TEST(VariantChangeType, ObjectsChangeInterfaceThroughQueryInterface) {
  int destroyed = 0;
  ComPtr<CAlphaBeta> object = MakeComObject<CAlphaBeta>(&destroyed);
  IDispatch* const dispatch = static_cast<IAlpha*>(object.Get());
  Variant unknown = Variant::Unknown(dispatch);
  ASSERT_EQ(unknown.ChangeType(VT_DISPATCH), S_OK);
  EXPECT_EQ(unknown.ref().pdispVal, dispatch);
  EXPECT_EQ(RefCount(dispatch), 2u);
  ASSERT_EQ(unknown.ChangeType(VT_UNKNOWN), S_OK);
  EXPECT_EQ(RefCount(dispatch), 2u);
  EXPECT_EQ(unknown.ChangeType(VT_BSTR), DISP_E_TYPEMISMATCH);
  EXPECT_EQ(unknown.vt(), VT_UNKNOWN);

  ComPtr<IStream> stream = MakeStream();
  Variant not_dispatch = Variant::Unknown(stream.Get());
  EXPECT_EQ(not_dispatch.ChangeType(VT_DISPATCH), E_NOINTERFACE);
  EXPECT_EQ(not_dispatch.vt(), VT_UNKNOWN);
  EXPECT_EQ(RefCount(stream.Get()), 2u);
}

TEST(Variant, CopyMoveDetachAttach) {
  Variant a = Variant::String(L"value");
  Variant b = a;
  EXPECT_NE(a.ref().bstrVal, b.ref().bstrVal);
  Variant c = std::move(a);
  EXPECT_EQ(a.vt(), VT_EMPTY);  // NOLINT(bugprone-use-after-move)
  VARIANT raw;
  VariantInit(&raw);
  c.Detach(&raw);
  EXPECT_EQ(c.vt(), VT_EMPTY);
  Variant d;
  d.Attach(&raw);
  EXPECT_EQ(raw.vt, VT_EMPTY);
  EXPECT_EQ(std::wstring(Variant::Copy(d.ref()).ref().bstrVal), L"value");
  // operator& clears the old value, ready for an out-parameter.
  VARIANT* out = &d;
  EXPECT_EQ(out->vt, VT_EMPTY);
  b = d;  // copy-assign over an owned string
  EXPECT_EQ(b.vt(), VT_EMPTY);
  EXPECT_EQ(Variant::I1(-5).ref().cVal, -5);
  EXPECT_EQ(Variant::Dispatch(nullptr).vt(), VT_DISPATCH);
}

class VarBstrCmpTest : public ::testing::TestWithParam<test::CaseRow> {};

TEST_P(VarBstrCmpTest, Orders) {
  const test::CaseRow& c = GetParam();
  const auto bstr = [](const std::string& text) {
    return text == "(null)" ? Bstr() : Bstr(test::Wide(text));
  };
  const std::string orders = "<=>";
  EXPECT_EQ(VarBstrCmp(bstr(c[0]).get(), bstr(c[1]).get(), LOCALE_USER_DEFAULT,
                       c[2] == "exact" ? 0 : NORM_IGNORECASE),
            static_cast<HRESULT>(orders.find(c[3])));
}

INSTANTIATE_TEST_SUITE_P(Pairs, VarBstrCmpTest,
                         ::testing::ValuesIn(test::ReadCaseTable("cases/text_comparisons.tsv")),
                         [](const auto& info) { return info.param.name; });

}  // namespace
}  // namespace lmk
