// Tests of the dictionary as scripts see it: members by name and Invoke.
#include <gtest/gtest.h>

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
  DISPID id;  // checked when the name is unknown or has a fixed identifier
  bool fixed_id;
};

class DictionaryNamesTest : public ::testing::TestWithParam<NameCase> {};

TEST_P(DictionaryNamesTest, GetIDsOfNames) {
  const NameCase& c = GetParam();
  ComPtr<IDictionary> dictionary = MakeDictionary();
  std::wstring text = c.member;
  LPOLESTR names[] = {text.data()};
  DISPID id = 12345;
  EXPECT_EQ(dictionary->GetIDsOfNames(IID_NULL, names, 1, LOCALE_USER_DEFAULT, &id), c.hr);
  if (c.fixed_id || FAILED(c.hr)) {
    EXPECT_EQ(id, c.id);
  }
}

const NameCase kNameCases[] = {
    {"Value", L"Value", S_OK, DISPID_VALUE, true},
    {"ValueLowerCase", L"value", S_OK, DISPID_VALUE, true},
    {"NewEnum", L"_NewEnum", S_OK, DISPID_NEWENUM, true},
    {"NewEnumUpperCase", L"_NEWENUM", S_OK, DISPID_NEWENUM, true},
    {"Count", L"COUNT", S_OK, 0, false},
    {"Test", L"test", S_OK, 0, false},
    {"MergeTo", L"mergeTo", S_OK, 0, false},
    {"GetMultiple", L"GetMultiple", S_OK, 0, false},
    {"PutMultiple", L"PutMultiple", S_OK, 0, false},
    {"Unknown", L"Remove", DISP_E_UNKNOWNNAME, DISPID_UNKNOWN, true},
    {"Prefix", L"Valu", DISP_E_UNKNOWNNAME, DISPID_UNKNOWN, true},
    {"Longer", L"Values", DISP_E_UNKNOWNNAME, DISPID_UNKNOWN, true},
    {"Empty", L"", DISP_E_UNKNOWNNAME, DISPID_UNKNOWN, true},
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
       {L"Value", L"Count", L"Test", L"GetMultiple", L"PutMultiple", L"MergeTo", L"_NewEnum"}) {
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
};

struct InvokeCase {
  const char* name;
  const wchar_t* member;
  WORD flags;
  std::vector<Arg> args;  // positional, first argument first
  bool named_put;         // the last argument is passed as the DISPID_PROPERTYPUT named one
  HRESULT hr;
  VARTYPE result_vt;
  LONG result_number;  // lVal for VT_I4, boolVal for VT_BOOL
  UINT arg_err;        // checked when hr is DISP_E_TYPEMISMATCH (an index into rgvarg)
};

class DictionaryInvokeTest : public ::testing::TestWithParam<InvokeCase> {
 protected:
  void SetUp() override {
    dictionary_ = MakeDictionary();
    other_ = MakeDictionary();
    ASSERT_EQ(Put(dictionary_.Get(), L"a", Variant::I4(7)), S_OK);
    ASSERT_EQ(Put(dictionary_.Get(), L"b", Variant::I4(8)), S_OK);
    ASSERT_EQ(Put(other_.Get(), L"z", Variant::I4(26)), S_OK);
  }

  Variant Make(const Arg& arg) {
    switch (arg.kind) {
      case Arg::kText:
        return Variant::String(arg.text);
      case Arg::kNumber:
        return Variant::I4(arg.number);
      case Arg::kNull: {
        Variant v;
        v.get()->vt = VT_NULL;
        return v;
      }
      case Arg::kTextByRef: {
        referenced_.push_back(Variant::String(arg.text));
        return Variant();  // replaced by the reference in Invoke below
      }
      case Arg::kOtherDictionary:
        return Variant::Dispatch(other_.Get());
    }
    return Variant();
  }

  ComPtr<IDictionary> dictionary_;
  ComPtr<IDictionary> other_;
  std::vector<Variant> referenced_;
};

TEST_P(DictionaryInvokeTest, Invoke) {
  const InvokeCase& c = GetParam();
  referenced_.reserve(c.args.size());
  std::vector<Variant> owned;
  std::vector<std::size_t> referenced_index;
  for (const Arg& arg : c.args) {
    referenced_index.push_back(referenced_.size());
    owned.push_back(Make(arg));
  }
  // rgvarg holds the arguments last first.
  std::vector<VARIANT> rgvarg;
  for (std::size_t i = c.args.size(); i-- > 0;) {
    VARIANT v = owned[i].ref();
    if (c.args[i].kind == Arg::kTextByRef) {
      v.vt = VT_BYREF | VT_VARIANT;
      v.pvarVal = referenced_[referenced_index[i]].get();
    }
    rgvarg.push_back(v);
  }
  DISPID put_id = DISPID_PROPERTYPUT;
  DISPPARAMS params{};
  params.rgvarg = rgvarg.empty() ? nullptr : rgvarg.data();
  params.cArgs = static_cast<UINT>(rgvarg.size());
  if (c.named_put) {
    params.rgdispidNamedArgs = &put_id;
    params.cNamedArgs = 1;
  }
  Variant result;
  UINT arg_err = 999;
  const DISPID id = IdOf(dictionary_.Get(), c.member);
  ASSERT_EQ(dictionary_->Invoke(id, IID_NULL, LOCALE_USER_DEFAULT, c.flags, &params, &result,
                                nullptr, &arg_err),
            c.hr);
  if (c.hr == DISP_E_TYPEMISMATCH) {
    EXPECT_EQ(arg_err, c.arg_err);
  }
  ASSERT_EQ(result.vt(), c.result_vt);
  if (c.result_vt == VT_I4) {
    EXPECT_EQ(result.ref().lVal, c.result_number);
  }
  if (c.result_vt == VT_BOOL) {
    EXPECT_EQ(result.ref().boolVal, c.result_number);
  }
}

constexpr WORD kGet = DISPATCH_PROPERTYGET;
constexpr WORD kPut = DISPATCH_PROPERTYPUT;
constexpr WORD kCall = DISPATCH_METHOD;
constexpr WORD kCallOrGet = DISPATCH_METHOD | DISPATCH_PROPERTYGET;

const InvokeCase kInvokeCases[] = {
    {"GetValue", L"Value", kGet, {{Arg::kText, L"a"}}, false, S_OK, VT_I4, 7, 0},
    {"GetValueAsMethod", L"Value", kCallOrGet, {{Arg::kText, L"b"}}, false, S_OK, VT_I4, 8, 0},
    {"GetValueByRef", L"Value", kGet, {{Arg::kTextByRef, L"a"}}, false, S_OK, VT_I4, 7, 0},
    {"GetValueMissing", L"Value", kGet, {{Arg::kText, L"q"}}, false, E_FAIL, VT_EMPTY, 0, 0},
    {"GetValueEmptyName", L"Value", kGet, {{Arg::kText, L""}}, false, E_INVALIDARG, VT_EMPTY, 0, 0},
    {"GetValueNumberName", L"Value", kGet, {{Arg::kNumber, L"", 5}}, false, E_FAIL, VT_EMPTY, 0, 0},
    {"GetValueNullName",
     L"Value",
     kGet,
     {{Arg::kNull}},
     false,
     DISP_E_TYPEMISMATCH,
     VT_EMPTY,
     0,
     0},
    {"GetValueNoArgs", L"Value", kGet, {}, false, DISP_E_BADPARAMCOUNT, VT_EMPTY, 0, 0},
    {"GetValueTwoArgs",
     L"Value",
     kGet,
     {{Arg::kText, L"a"}, {Arg::kText, L"b"}},
     false,
     DISP_E_BADPARAMCOUNT,
     VT_EMPTY,
     0,
     0},
    {"PutValueNamed",
     L"Value",
     kPut,
     {{Arg::kText, L"n"}, {Arg::kNumber, L"", 3}},
     true,
     S_OK,
     VT_EMPTY,
     0,
     0},
    {"PutValueUnnamed",
     L"Value",
     kPut,
     {{Arg::kText, L"n"}, {Arg::kNumber, L"", 3}},
     false,
     S_OK,
     VT_EMPTY,
     0,
     0},
    {"PutValueByRefValue",
     L"Value",
     kPut,
     {{Arg::kText, L"n"}, {Arg::kTextByRef, L"t"}},
     true,
     S_OK,
     VT_EMPTY,
     0,
     0},
    {"PutValueOneArg",
     L"Value",
     kPut,
     {{Arg::kNumber, L"", 3}},
     true,
     DISP_E_BADPARAMCOUNT,
     VT_EMPTY,
     0,
     0},
    {"PutValueNullName",
     L"Value",
     kPut,
     {{Arg::kNull}, {Arg::kNumber, L"", 3}},
     true,
     DISP_E_TYPEMISMATCH,
     VT_EMPTY,
     0,
     1},
    {"CountGet", L"Count", kGet, {}, false, S_OK, VT_I4, 2, 0},
    {"CountWithArg",
     L"Count",
     kGet,
     {{Arg::kText, L"a"}},
     false,
     DISP_E_BADPARAMCOUNT,
     VT_EMPTY,
     0,
     0},
    {"CountPut",
     L"Count",
     kPut,
     {{Arg::kNumber, L"", 1}},
     true,
     DISP_E_MEMBERNOTFOUND,
     VT_EMPTY,
     0,
     0},
    {"TestPresent", L"Test", kCall, {{Arg::kText, L"a"}}, false, S_OK, VT_BOOL, VARIANT_TRUE, 0},
    {"TestAbsent",
     L"Test",
     kCallOrGet,
     {{Arg::kText, L"A"}},
     false,
     S_OK,
     VT_BOOL,
     VARIANT_FALSE,
     0},
    {"TestEmpty", L"Test", kCall, {{Arg::kText, L""}}, false, E_INVALIDARG, VT_EMPTY, 0, 0},
    {"TestNoArgs", L"Test", kCall, {}, false, DISP_E_BADPARAMCOUNT, VT_EMPTY, 0, 0},
    {"MergeToDictionary",
     L"MergeTo",
     kCall,
     {{Arg::kOtherDictionary}},
     false,
     S_OK,
     VT_EMPTY,
     0,
     0},
    {"MergeToNumber",
     L"MergeTo",
     kCall,
     {{Arg::kNumber, L"", 1}},
     false,
     DISP_E_TYPEMISMATCH,
     VT_EMPTY,
     0,
     0},
    {"MergeToNothing", L"MergeTo", kCall, {}, false, DISP_E_BADPARAMCOUNT, VT_EMPTY, 0, 0},
    {"NewEnum", L"_NewEnum", kGet, {}, false, S_OK, VT_UNKNOWN, 0, 0},
    {"GetMultipleNotByName", L"GetMultiple", kCall, {}, false, E_NOTIMPL, VT_EMPTY, 0, 0},
    {"MethodWithNamedArg",
     L"Test",
     kCall,
     {{Arg::kText, L"a"}},
     true,
     DISP_E_NONAMEDARGS,
     VT_EMPTY,
     0,
     0},
};

INSTANTIATE_TEST_SUITE_P(Calls, DictionaryInvokeTest, ::testing::ValuesIn(kInvokeCases),
                         [](const auto& i) { return std::string(i.param.name); });

DISPPARAMS Params(std::vector<VARIANT>& rgvarg, DISPID* named, UINT named_count) {
  DISPPARAMS params{};
  params.rgvarg = rgvarg.data();
  params.cArgs = static_cast<UINT>(rgvarg.size());
  params.rgdispidNamedArgs = named;
  params.cNamedArgs = named_count;
  return params;
}

TEST(DictionaryDispatchTest, PutByNameIsReadBackAndMergeReachesTheTarget) {
  ComPtr<IDictionary> dictionary = MakeDictionary();
  ComPtr<IDictionary> target = MakeDictionary();
  Variant name = Variant::String(L"File.Name");
  Variant value = Variant::String(L"IMG_0001.JPG");
  std::vector<VARIANT> put_args = {value.ref(), name.ref()};
  DISPID put_id = DISPID_PROPERTYPUT;
  DISPPARAMS put = Params(put_args, &put_id, 1);
  ASSERT_EQ(dictionary->Invoke(DISPID_VALUE, IID_NULL, 0, DISPATCH_PROPERTYPUT, &put, nullptr,
                               nullptr, nullptr),
            S_OK);
  Variant stored;
  ASSERT_EQ(Get(dictionary.Get(), L"File.Name", &stored), S_OK);
  EXPECT_EQ(std::wstring(stored.ref().bstrVal), L"IMG_0001.JPG");

  Variant as_object = Variant::Dispatch(target.Get());
  std::vector<VARIANT> merge_args = {as_object.ref()};
  DISPPARAMS merge = Params(merge_args, nullptr, 0);
  ASSERT_EQ(dictionary->Invoke(IdOf(dictionary.Get(), L"MergeTo"), IID_NULL, 0, DISPATCH_METHOD,
                               &merge, nullptr, nullptr, nullptr),
            S_OK);
  EXPECT_EQ(TestName(target.Get(), L"File.Name"), S_OK);
}

TEST(DictionaryDispatchTest, MissingNameIsDescribedToAScriptThatAsks) {
  ComPtr<IDictionary> dictionary = MakeDictionary();
  Variant name = Variant::String(L"Meta.GPS.Latitude");
  std::vector<VARIANT> args = {name.ref()};
  DISPPARAMS params = Params(args, nullptr, 0);
  EXCEPINFO info{};
  Variant result;
  ASSERT_EQ(dictionary->Invoke(DISPID_VALUE, IID_NULL, 0, DISPATCH_PROPERTYGET, &params, &result,
                               &info, nullptr),
            DISP_E_EXCEPTION);
  Bstr source;
  source.Attach(info.bstrSource);
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
