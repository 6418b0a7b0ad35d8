// Tests of the dictionary as scripts see it: members by name and Invoke.
#include <gtest/gtest.h>

#include <deque>
#include <string>
#include <vector>

#include "dictionary/dictionary.h"
#include "dictionary_test_util.h"

namespace lmk::test {
namespace {

struct NameCase {
  const char* name;
  const wchar_t* member;
  HRESULT hr;
  DISPID id;
};

class DictionaryNamesTest : public ::testing::TestWithParam<NameCase> {};

TEST_P(DictionaryNamesTest, GetIDsOfNames) {
  const NameCase& c = GetParam();
  ComPtr<IDictionary> dictionary = MakeDictionary();
  std::wstring text = c.member;
  LPOLESTR names[] = {text.data()};
  DISPID id = 12345;
  EXPECT_EQ(dictionary->GetIDsOfNames(IID_NULL, names, 1, LOCALE_USER_DEFAULT, &id), c.hr);
  EXPECT_EQ(id, c.id);
}

const NameCase kNameCases[] = {
    {"Value", L"Value", S_OK, DISPID_VALUE},
    {"ValueLowerCase", L"value", S_OK, DISPID_VALUE},
    {"NewEnum", L"_NewEnum", S_OK, DISPID_NEWENUM},
    {"NewEnumUpperCase", L"_NEWENUM", S_OK, DISPID_NEWENUM},
    {"Unknown", L"Remove", DISP_E_UNKNOWNNAME, DISPID_UNKNOWN},
    {"Prefix", L"Valu", DISP_E_UNKNOWNNAME, DISPID_UNKNOWN},
    {"Longer", L"Values", DISP_E_UNKNOWNNAME, DISPID_UNKNOWN},
    {"Empty", L"", DISP_E_UNKNOWNNAME, DISPID_UNKNOWN},
};

INSTANTIATE_TEST_SUITE_P(Members, DictionaryNamesTest, ::testing::ValuesIn(kNameCases),
                         [](const auto& i) { return std::string(i.param.name); });

DISPID IdOf(IDispatch* dispatch, const wchar_t* member) {
  std::wstring text = member;
  LPOLESTR names[] = {text.data()};
  DISPID id = DISPID_UNKNOWN;
  EXPECT_EQ(dispatch->GetIDsOfNames(IID_NULL, names, 1, LOCALE_USER_DEFAULT, &id), S_OK);
  return id;
}

TEST(DictionaryDispatchTest, MembersHaveDistinctIdsAndNoTypeInfo) {
  ComPtr<IDictionary> dictionary = MakeDictionary();
  std::vector<DISPID> ids;
  for (const wchar_t* member :
       {L"Value", L"COUNT", L"test", L"GetMultiple", L"PutMultiple", L"mergeTo", L"_NewEnum"}) {
    const DISPID id = IdOf(dictionary.Get(), member);
    for (DISPID other : ids) EXPECT_NE(id, other) << "member reuses an id";
    ids.push_back(id);
  }
  UINT count = 7;
  EXPECT_EQ(dictionary->GetTypeInfoCount(&count), S_OK);
  EXPECT_EQ(count, 0U);
  ITypeInfo* info = nullptr;
  EXPECT_EQ(dictionary->GetTypeInfo(0, LOCALE_USER_DEFAULT, &info), E_NOTIMPL);
  std::wstring text = L"Value";
  LPOLESTR names[] = {text.data()};
  DISPID id = 0;
  EXPECT_EQ(dictionary->GetIDsOfNames(IID_IDispatch, names, 1, 0, &id), DISP_E_UNKNOWNINTERFACE);
}

// An argument as a test case describes it; the fixture makes the VARIANT.
struct Arg {
  enum Kind { kText, kNumber, kNull, kTextByRef, kOtherDictionary } kind;
  const wchar_t* text = L"";
  LONG number = 0;
  Arg(const wchar_t* t) : kind(kText), text(t) {}  // NOLINT(google-explicit-constructor)
  Arg(int n) : kind(kNumber), number(n) {}         // NOLINT(google-explicit-constructor)
  Arg(Kind k, const wchar_t* t = L"") : kind(k), text(t) {}
};

struct InvokeCase {
  const char* name;
  const wchar_t* member;
  WORD flags;
  bool named_put;         // the last argument is passed as the DISPID_PROPERTYPUT named one
  std::vector<Arg> args;  // positional, first argument first
  HRESULT hr;
  VARTYPE result_vt = VT_EMPTY;
  LONG result = 0;   // lVal for VT_I4, boolVal for VT_BOOL
  UINT arg_err = 0;  // checked when hr is DISP_E_TYPEMISMATCH (an index into rgvarg)
};

class DictionaryInvokeTest : public ::testing::TestWithParam<InvokeCase> {
 protected:
  void SetUp() override {
    ASSERT_EQ(Put(dictionary_.Get(), L"a", Variant::I4(7)), S_OK);
    ASSERT_EQ(Put(dictionary_.Get(), L"b", Variant::I4(8)), S_OK);
    ASSERT_EQ(Put(other_.Get(), L"z", Variant::I4(26)), S_OK);
  }

  VARIANT Make(const Arg& arg) {
    switch (arg.kind) {
      case Arg::kText:
        owned_.push_back(Variant::String(arg.text));
        break;
      case Arg::kNumber:
        owned_.push_back(Variant::I4(arg.number));
        break;
      case Arg::kNull:
        owned_.push_back(Variant::Null());
        break;
      case Arg::kTextByRef: {
        owned_.push_back(Variant::String(arg.text));
        VARIANT v;
        v.vt = VT_BYREF | VT_VARIANT;
        v.pvarVal = owned_.back().get();
        return v;
      }
      case Arg::kOtherDictionary:
        owned_.push_back(Variant::Dispatch(other_.Get()));
        break;
    }
    return owned_.back().ref();
  }

  ComPtr<IDictionary> dictionary_ = MakeDictionary();
  ComPtr<IDictionary> other_ = MakeDictionary();
  std::deque<Variant> owned_;
};

constexpr WORD kGet = DISPATCH_PROPERTYGET;
constexpr WORD kPut = DISPATCH_PROPERTYPUT;
constexpr WORD kCall = DISPATCH_METHOD;
constexpr WORD kCallOrGet = DISPATCH_METHOD | DISPATCH_PROPERTYGET;
constexpr HRESULT kBadCount = DISP_E_BADPARAMCOUNT;
constexpr HRESULT kMismatch = DISP_E_TYPEMISMATCH;

TEST_P(DictionaryInvokeTest, Invoke) {
  const InvokeCase& c = GetParam();
  std::vector<VARIANT> rgvarg;  // the arguments last first
  for (auto arg = c.args.rbegin(); arg != c.args.rend(); ++arg) rgvarg.push_back(Make(*arg));
  DISPID put_id = DISPID_PROPERTYPUT;
  DISPPARAMS params{rgvarg.empty() ? nullptr : rgvarg.data(), c.named_put ? &put_id : nullptr,
                    static_cast<UINT>(rgvarg.size()), c.named_put ? 1u : 0u};
  Variant result;
  UINT arg_err = 999;
  ASSERT_EQ(dictionary_->Invoke(IdOf(dictionary_.Get(), c.member), IID_NULL, LOCALE_USER_DEFAULT,
                                c.flags, &params, &result, nullptr, &arg_err),
            c.hr);
  if (c.hr == DISP_E_TYPEMISMATCH) {
    EXPECT_EQ(arg_err, c.arg_err);
  }
  ASSERT_EQ(result.vt(), c.result_vt);
  if (c.result_vt == VT_I4) {
    EXPECT_EQ(result.ref().lVal, c.result);
  }
  if (c.result_vt == VT_BOOL) {
    EXPECT_EQ(result.ref().boolVal, c.result);
  }
  if (c.hr == S_OK && c.flags == kPut) {
    EXPECT_EQ(TestName(dictionary_.Get(), L"n"), S_OK) << "the value put is stored";
  }
  if (c.hr == S_OK && std::wstring_view(c.member) == L"MergeTo") {
    EXPECT_EQ(TestName(other_.Get(), L"a"), S_OK) << "the merge reaches the target";
  }
}

const InvokeCase kInvokeCases[] = {
    {"GetValue", L"Value", kGet, false, {L"a"}, S_OK, VT_I4, 7},
    {"GetValueAsMethod", L"Value", kCallOrGet, false, {L"b"}, S_OK, VT_I4, 8},
    {"GetValueByRef", L"Value", kGet, false, {{Arg::kTextByRef, L"a"}}, S_OK, VT_I4, 7},
    {"GetValueMissing", L"Value", kGet, false, {L"q"}, E_FAIL},
    {"GetValueEmptyName", L"Value", kGet, false, {L""}, E_INVALIDARG},
    {"GetValueNumberName", L"Value", kGet, false, {5}, E_FAIL},
    {"GetValueNullName", L"Value", kGet, false, {Arg::kNull}, kMismatch},
    {"GetValueNoArgs", L"Value", kGet, false, {}, kBadCount},
    {"GetValueTwoArgs", L"Value", kGet, false, {L"a", L"b"}, kBadCount},
    {"PutValueNamed", L"Value", kPut, true, {L"n", 3}, S_OK},
    {"PutValueUnnamed", L"Value", kPut, false, {L"n", 3}, S_OK},
    {"PutValueByRefValue", L"Value", kPut, true, {L"n", {Arg::kTextByRef, L"t"}}, S_OK},
    {"PutValueOneArg", L"Value", kPut, true, {3}, kBadCount},
    {"PutValueNullName", L"Value", kPut, true, {Arg::kNull, 3}, kMismatch, VT_EMPTY, 0, 1},
    {"CountGet", L"Count", kGet, false, {}, S_OK, VT_I4, 2},
    {"CountWithArg", L"Count", kGet, false, {L"a"}, kBadCount},
    {"CountPut", L"Count", kPut, true, {1}, DISP_E_MEMBERNOTFOUND},
    {"TestPresent", L"Test", kCall, false, {L"a"}, S_OK, VT_BOOL, VARIANT_TRUE},
    {"TestAbsent", L"Test", kCallOrGet, false, {L"A"}, S_OK, VT_BOOL, VARIANT_FALSE},
    {"TestEmpty", L"Test", kCall, false, {L""}, E_INVALIDARG},
    {"TestNoArgs", L"Test", kCall, false, {}, kBadCount},
    {"MergeToDictionary", L"MergeTo", kCall, false, {Arg::kOtherDictionary}, S_OK},
    {"MergeToNumber", L"MergeTo", kCall, false, {1}, kMismatch},
    {"MergeToNothing", L"MergeTo", kCall, false, {}, kBadCount},
    {"NewEnum", L"_NewEnum", kGet, false, {}, S_OK, VT_UNKNOWN},
    {"GetMultipleNotByName", L"GetMultiple", kCall, false, {}, E_NOTIMPL},
    {"MethodWithNamedArg", L"Test", kCall, true, {L"a"}, DISP_E_NONAMEDARGS},
};

INSTANTIATE_TEST_SUITE_P(Calls, DictionaryInvokeTest, ::testing::ValuesIn(kInvokeCases),
                         [](const auto& i) { return std::string(i.param.name); });

TEST(DictionaryDispatchTest, MissingNameIsDescribedToAScriptThatAsks) {
  ComPtr<IDictionary> dictionary = MakeDictionary();
  Variant name = Variant::String(L"Meta.GPS.Latitude");
  VARIANT arg = name.ref();
  DISPPARAMS params{&arg, nullptr, 1, 0};
  EXCEPINFO info{};
  Variant result;
  ASSERT_EQ(dictionary->Invoke(DISPID_VALUE, IID_NULL, 0, DISPATCH_PROPERTYGET, &params, &result,
                               &info, nullptr),
            DISP_E_EXCEPTION);
  SysFreeString(info.bstrSource);
  Bstr description;
  description.Attach(info.bstrDescription);
  EXPECT_EQ(info.scode, E_FAIL);
  EXPECT_NE(description.str().find(L"Meta.GPS.Latitude"), std::wstring::npos)
      << "the message names the missing value";
}

TEST(DictionaryDispatchTest, BadCallsAreRefused) {
  ComPtr<IDictionary> dictionary = MakeDictionary();
  DISPPARAMS none{};
  EXPECT_EQ(dictionary->Invoke(DISPID_VALUE, IID_IDispatch, 0, DISPATCH_PROPERTYGET, &none, nullptr,
                               nullptr, nullptr),
            DISP_E_UNKNOWNINTERFACE);
  EXPECT_EQ(dictionary->Invoke(999, IID_NULL, 0, DISPATCH_METHOD, &none, nullptr, nullptr, nullptr),
            DISP_E_MEMBERNOTFOUND);
  EXPECT_EQ(dictionary->Invoke(DISPID_VALUE, IID_NULL, 0, DISPATCH_PROPERTYGET, nullptr, nullptr,
                               nullptr, nullptr),
            E_INVALIDARG);
  DISPPARAMS missing_args{};
  missing_args.cArgs = 1;
  EXPECT_EQ(dictionary->Invoke(DISPID_VALUE, IID_NULL, 0, DISPATCH_PROPERTYGET, &missing_args,
                               nullptr, nullptr, nullptr),
            E_INVALIDARG);
}

}  // namespace
}  // namespace lmk::test
