// VARIANT ownership (clear, copy, by-reference values), lmk::Variant, object coercions and
// VarBstrCmp ordering.
#include <gtest/gtest.h>

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

TEST(VariantClear, ReleasesInterfacesAndSetsEmpty) {
  ComPtr<IStream> stream = MakeStream();
  VARIANT v;
  VariantInit(&v);
  v.vt = VT_UNKNOWN;
  v.punkVal = stream.Get();
  stream->AddRef();
  ASSERT_EQ(RefCount(stream.Get()), 2u);
  EXPECT_EQ(VariantClear(&v), S_OK);
  EXPECT_EQ(v.vt, VT_EMPTY);
  EXPECT_EQ(RefCount(stream.Get()), 1u);
}

TEST(VariantClear, ByReferenceValuesAreNotOwned) {
  BSTR text = SysAllocString(L"owned elsewhere");
  VARIANT v;
  VariantInit(&v);
  v.vt = VT_BSTR | VT_BYREF;
  v.pbstrVal = &text;
  EXPECT_EQ(VariantClear(&v), S_OK);
  EXPECT_EQ(v.vt, VT_EMPTY);
  EXPECT_EQ(std::wstring(text), L"owned elsewhere");  // still alive
  SysFreeString(text);
}

TEST(VariantClear, RejectsUnknownTypes) {
  VARIANT v;
  VariantInit(&v);
  v.vt = 0x7F;
  EXPECT_EQ(VariantClear(&v), DISP_E_BADVARTYPE);
  EXPECT_EQ(VariantClear(nullptr), E_INVALIDARG);
}

TEST(VariantCopy, DeepCopiesTextAndAddRefsObjects) {
  Variant text = Variant::String(std::wstring_view(L"a\0b", 3));
  VARIANT copy;
  VariantInit(&copy);
  ASSERT_EQ(VariantCopy(&copy, text.get()), S_OK);
  EXPECT_NE(copy.bstrVal, text.ref().bstrVal);
  EXPECT_EQ(SysStringLen(copy.bstrVal), 3u);

  ComPtr<IStream> stream = MakeStream();
  Variant object = Variant::Unknown(stream.Get());
  EXPECT_EQ(RefCount(stream.Get()), 2u);
  // Copying over a variant that holds text frees the text first (ASan would see the leak).
  ASSERT_EQ(VariantCopy(&copy, object.get()), S_OK);
  EXPECT_EQ(RefCount(stream.Get()), 3u);
  VariantClear(&copy);
  EXPECT_EQ(RefCount(stream.Get()), 2u);
}

TEST(VariantCopyInd, CopiesTheReferencedValue) {
  BSTR text = SysAllocString(L"target");
  VARIANT ref;
  VariantInit(&ref);
  ref.vt = VT_BSTR | VT_BYREF;
  ref.pbstrVal = &text;
  Variant copy;
  ASSERT_EQ(VariantCopyInd(&copy, &ref), S_OK);
  EXPECT_EQ(copy.vt(), VT_BSTR);
  EXPECT_NE(copy.ref().bstrVal, text);
  EXPECT_EQ(std::wstring(copy.ref().bstrVal), L"target");
  SysFreeString(text);
}

TEST(VariantChangeType, ByReferenceSourceIsRead) {
  LONG number = 1234;
  VARIANT ref;
  VariantInit(&ref);
  ref.vt = VT_I4 | VT_BYREF;
  ref.plVal = &number;
  Variant text;
  ASSERT_EQ(VariantChangeType(&text, &ref, 0, VT_BSTR), S_OK);
  EXPECT_EQ(std::wstring(text.ref().bstrVal), L"1234");

  Variant inner = Variant::R8(2.5);
  VARIANT var_ref;
  VariantInit(&var_ref);
  var_ref.vt = VT_VARIANT | VT_BYREF;
  var_ref.pvarVal = inner.get();
  Variant integer;
  ASSERT_EQ(VariantChangeType(&integer, &var_ref, 0, VT_I4), S_OK);
  EXPECT_EQ(integer.ref().lVal, 2);
}

TEST(VariantChangeType, InPlaceTextToNumberFreesTheText) {
  Variant v = Variant::String(L"77");
  ASSERT_EQ(v.ChangeType(VT_UI2), S_OK);
  EXPECT_EQ(v.vt(), VT_UI2);
  EXPECT_EQ(v.ref().uiVal, 77);
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

TEST(Variant, FactoriesPickTheirType) {
  EXPECT_EQ(Variant::UI4(5).vt(), VT_UI4);
  EXPECT_EQ(Variant::I8(5).vt(), VT_I8);
  EXPECT_EQ(Variant::Bool(true).ref().boolVal, VARIANT_TRUE);
  EXPECT_EQ(Variant::Date(1.5).ref().date, 1.5);
  EXPECT_EQ(Variant::Error(E_FAIL).ref().scode, E_FAIL);
  EXPECT_EQ(Variant::Dispatch(nullptr).vt(), VT_DISPATCH);
  EXPECT_EQ(Variant().vt(), VT_EMPTY);
}

TEST(Variant, CopyMoveDetachAttach) {
  Variant a = Variant::String(L"value");
  Variant b = a;
  EXPECT_NE(a.ref().bstrVal, b.ref().bstrVal);
  Variant c = std::move(a);
  EXPECT_EQ(a.vt(), VT_EMPTY);  // NOLINT(bugprone-use-after-move)
  EXPECT_EQ(std::wstring(c.ref().bstrVal), L"value");

  VARIANT raw;
  VariantInit(&raw);
  c.Detach(&raw);
  EXPECT_EQ(c.vt(), VT_EMPTY);
  Variant d;
  d.Attach(&raw);
  EXPECT_EQ(raw.vt, VT_EMPTY);
  EXPECT_EQ(std::wstring(d.ref().bstrVal), L"value");

  // operator& clears the old value, ready for an out-parameter.
  VARIANT* out = &d;
  EXPECT_EQ(out->vt, VT_EMPTY);
  b = d;  // copy-assign over an owned string
  EXPECT_EQ(b.vt(), VT_EMPTY);
}

TEST(Variant, CopyOfForeignVariant) {
  VARIANT raw;
  VariantInit(&raw);
  raw.vt = VT_BSTR;
  raw.bstrVal = SysAllocString(L"foreign");
  Variant copy = Variant::Copy(raw);
  VariantClear(&raw);
  EXPECT_EQ(std::wstring(copy.ref().bstrVal), L"foreign");
}

struct CompareCase {
  std::string name;
  const wchar_t* left;  // nullptr for a null BSTR
  const wchar_t* right;
  ULONG flags;
  HRESULT expected;
};

std::vector<CompareCase> CompareCases() {
  return {
      {"Equal", L"File.Name", L"File.Name", 0, VARCMP_EQ},
      {"CaseDiffersIsNotEqual", L"File.Name", L"file.name", 0, VARCMP_LT},
      {"CaseDiffersReversed", L"file.name", L"File.Name", 0, VARCMP_GT},
      {"IgnoreCaseEqual", L"File.Name", L"FILE.NAME", NORM_IGNORECASE, VARCMP_EQ},
      {"IgnoreCaseNonAscii", L"\u00C9T\u00C9", L"\u00E9t\u00E9", NORM_IGNORECASE, VARCMP_EQ},
      {"NonAsciiCaseMatters", L"\u00C9", L"\u00E9", 0, VARCMP_LT},
      {"PrefixIsLess", L"File", L"File.Name", 0, VARCMP_LT},
      {"LongerIsGreater", L"File.Name", L"File", 0, VARCMP_GT},
      {"NullEqualsEmpty", nullptr, L"", 0, VARCMP_EQ},
      {"BothNull", nullptr, nullptr, 0, VARCMP_EQ},
      {"NullBeforeText", nullptr, L"a", 0, VARCMP_LT},
      {"TextAfterNull", L"a", nullptr, 0, VARCMP_GT},
      {"CodePointOrder", L"Meta.GPS", L"Meta.IPTC", 0, VARCMP_LT},
      {"AstralAboveBmp", L"\U0001F600", L"\uFFFD", 0, VARCMP_GT},
  };
}

class VarBstrCmpTest : public ::testing::TestWithParam<CompareCase> {};

TEST_P(VarBstrCmpTest, Orders) {
  Bstr left = GetParam().left ? Bstr(GetParam().left) : Bstr();
  Bstr right = GetParam().right ? Bstr(GetParam().right) : Bstr();
  EXPECT_EQ(VarBstrCmp(left.get(), right.get(), LOCALE_USER_DEFAULT, GetParam().flags),
            GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(Pairs, VarBstrCmpTest, ::testing::ValuesIn(CompareCases()),
                         [](const auto& info) { return info.param.name; });

TEST(VarBstrCmp, EmbeddedNulIsPartOfTheText) {
  Bstr a(std::wstring_view(L"a\0b", 3));
  Bstr b(std::wstring_view(L"a\0c", 3));
  EXPECT_EQ(VarBstrCmp(a.get(), b.get(), LOCALE_USER_DEFAULT, 0), VARCMP_LT);
}

}  // namespace
}  // namespace lmk
