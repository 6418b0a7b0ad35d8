// VARIANT ownership (clear, copy, by-reference values), lmk::Variant, object coercions and
// VarBstrCmp ordering.
#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "com/com.h"

namespace lmk {
namespace {

class CDispatchOnly final : public ComObject<CDispatchOnly, IDispatch> {
 public:
  HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) override {
    return E_NOTIMPL;
  }
  HRESULT STDMETHODCALLTYPE Invoke(DISPID, REFIID, LCID, WORD, DISPPARAMS*, VARIANT*, EXCEPINFO*,
                                   UINT*) override {
    return E_NOTIMPL;
  }
};

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
  ComPtr<CDispatchOnly> object = MakeComObject<CDispatchOnly>();
  Variant unknown = Variant::Unknown(static_cast<IDispatch*>(object.Get()));
  ASSERT_EQ(unknown.ChangeType(VT_DISPATCH), S_OK);
  EXPECT_EQ(unknown.ref().pdispVal, static_cast<IDispatch*>(object.Get()));
  EXPECT_EQ(RefCount(object.Get()), 2u);
  ASSERT_EQ(unknown.ChangeType(VT_UNKNOWN), S_OK);
  EXPECT_EQ(RefCount(object.Get()), 2u);
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

struct CompareCase {
  std::string name;
  std::optional<std::wstring> left;  // nullopt for a null BSTR
  std::optional<std::wstring> right;
  ULONG flags;
  HRESULT expected;
};

std::vector<CompareCase> CompareCases() {
  return {
      {"Equal", L"File.Name", L"File.Name", 0, VARCMP_EQ},
      {"CaseDiffersIsNotEqual", L"File.Name", L"file.name", 0, VARCMP_LT},
      {"IgnoreCaseEqual", L"File.Name", L"FILE.NAME", NORM_IGNORECASE, VARCMP_EQ},
      {"IgnoreCaseNonAscii", L"\u00C9T\u00C9", L"\u00E9t\u00E9", NORM_IGNORECASE, VARCMP_EQ},
      {"NonAsciiCaseMatters", L"\u00C9", L"\u00E9", 0, VARCMP_LT},
      {"PrefixIsLess", L"File", L"File.Name", 0, VARCMP_LT},
      {"LongerIsGreater", L"File.Name", L"File", 0, VARCMP_GT},
      {"NullEqualsEmpty", std::nullopt, L"", 0, VARCMP_EQ},
      {"NullBeforeText", std::nullopt, L"a", 0, VARCMP_LT},
      {"TextAfterNull", L"a", std::nullopt, 0, VARCMP_GT},
      {"AstralAboveBmp", L"\U0001F600", L"\uFFFD", 0, VARCMP_GT},
      {"EmbeddedNulIsText", std::wstring(L"a\0b", 3), std::wstring(L"a\0c", 3), 0, VARCMP_LT},
  };
}

class VarBstrCmpTest : public ::testing::TestWithParam<CompareCase> {};

TEST_P(VarBstrCmpTest, Orders) {
  const CompareCase& c = GetParam();
  const Bstr left = c.left ? Bstr(*c.left) : Bstr();
  const Bstr right = c.right ? Bstr(*c.right) : Bstr();
  EXPECT_EQ(VarBstrCmp(left.get(), right.get(), LOCALE_USER_DEFAULT, c.flags), c.expected);
}

INSTANTIATE_TEST_SUITE_P(Pairs, VarBstrCmpTest, ::testing::ValuesIn(CompareCases()),
                         [](const auto& info) { return info.param.name; });

}  // namespace
}  // namespace lmk
