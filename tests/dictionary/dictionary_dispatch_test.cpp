// Tests of the dictionary as scripts see it: members by name and Invoke.
#include <gtest/gtest.h>

#include <deque>
#include <map>
#include <string>
#include <vector>

#include "dictionary/dictionary.h"
#include "dictionary_test_util.h"

namespace lmk::test {
namespace {

class DictionaryNamesTest : public ::testing::TestWithParam<CaseRow> {};

TEST_P(DictionaryNamesTest, GetIDsOfNames) {
  const CaseRow& c = GetParam();
  ComPtr<IDictionary> dictionary = MakeDictionary();
  std::wstring text = c[0] == "(empty)" ? L"" : Widen(c[0]);
  LPOLESTR names[] = {text.data()};
  DISPID id = 12345;
  EXPECT_EQ(dictionary->GetIDsOfNames(IID_NULL, names, 1, LOCALE_USER_DEFAULT, &id), HrNamed(c[1]));
  EXPECT_EQ(id, std::stoi(c[2]));
}

INSTANTIATE_TEST_SUITE_P(Members, DictionaryNamesTest, ::testing::ValuesIn(Calls("member")),
                         CaseName);

DISPID IdOf(IDispatch* dispatch, const wchar_t* member) {
  std::wstring text = member;
  LPOLESTR names[] = {text.data()};
  DISPID id = DISPID_UNKNOWN;
  EXPECT_EQ(dispatch->GetIDsOfNames(IID_NULL, names, 1, LOCALE_USER_DEFAULT, &id), S_OK);
  return id;
}

TEST(DictionaryDispatchTest, NoTypeInfoAndOnlyTheNullInterface) {
  ComPtr<IDictionary> dictionary = MakeDictionary();
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

class DictionaryInvokeTest : public ::testing::TestWithParam<CaseRow> {
 protected:
  void SetUp() override {
    ASSERT_EQ(Put(dictionary_.Get(), L"a", Variant::I4(7)), S_OK);
    ASSERT_EQ(Put(dictionary_.Get(), L"b", Variant::I4(8)), S_OK);
    ASSERT_EQ(Put(other_.Get(), L"z", Variant::I4(26)), S_OK);
  }

  // An argument as the table writes it.
  VARIANT Make(const std::string& arg) {
    const std::wstring text = Widen(arg.substr(arg.starts_with('&') ? 1 : 0));
    owned_.push_back(arg == "(null)"    ? Variant::Null()
                     : arg == "(other)" ? Variant::Dispatch(other_.Get())
                     : arg == "(empty)" ? Variant::String(L"")
                     : arg[0] == '#'    ? Variant::I4(std::stoi(arg.substr(1)))
                                        : Variant::String(text));
    if (!arg.starts_with('&')) return owned_.back().ref();
    VARIANT v;
    v.vt = VT_BYREF | VT_VARIANT;
    v.pvarVal = owned_.back().get();
    return v;
  }

  ComPtr<IDictionary> dictionary_ = MakeDictionary();
  ComPtr<IDictionary> other_ = MakeDictionary();
  std::deque<Variant> owned_;
};

TEST_P(DictionaryInvokeTest, Invoke) {
  const CaseRow& c = GetParam();
  const std::vector<std::string> args = Split(c[2]);
  std::vector<VARIANT> rgvarg;  // the arguments last first
  for (auto arg = args.rbegin(); arg != args.rend(); ++arg) rgvarg.push_back(Make(*arg));
  const bool named = c[1].starts_with("named+");
  const std::string kind = c[1].substr(named ? 6 : 0);
  const WORD flags = kind == "get"    ? DISPATCH_PROPERTYGET
                     : kind == "put"  ? DISPATCH_PROPERTYPUT
                     : kind == "call" ? DISPATCH_METHOD
                                      : DISPATCH_METHOD | DISPATCH_PROPERTYGET;
  DISPID put_id = DISPID_PROPERTYPUT;
  DISPPARAMS params{rgvarg.empty() ? nullptr : rgvarg.data(), named ? &put_id : nullptr,
                    static_cast<UINT>(rgvarg.size()), named ? 1u : 0u};
  Variant result;
  UINT arg_err = 999;
  const HRESULT hr = HrNamed(c[3]);
  ASSERT_EQ(dictionary_->Invoke(IdOf(dictionary_.Get(), Widen(c[0]).c_str()), IID_NULL,
                                LOCALE_USER_DEFAULT, flags, &params, &result, nullptr, &arg_err),
            hr);
  EXPECT_EQ(hr == DISP_E_TYPEMISMATCH ? arg_err : 0, c[6].empty() ? 0 : std::stoul(c[6]));
  const std::map<std::string, VARTYPE> types = {
      {"", VT_EMPTY}, {"I4", VT_I4}, {"BOOL", VT_BOOL}, {"UNKNOWN", VT_UNKNOWN}};
  ASSERT_EQ(result.vt(), types.at(c[4]));
  const LONG value = result.vt() == VT_I4     ? result.ref().lVal
                     : result.vt() == VT_BOOL ? result.ref().boolVal
                                              : 0;
  EXPECT_EQ(value, c[5].empty() ? 0 : std::stol(c[5]));
  // A put stores the value; a merge reaches its target.
  EXPECT_EQ(TestName(dictionary_.Get(), L"n") == S_OK, hr == S_OK && kind == "put");
  EXPECT_EQ(TestName(other_.Get(), L"a") == S_OK, hr == S_OK && c[0] == "MergeTo");
}

INSTANTIATE_TEST_SUITE_P(Calls, DictionaryInvokeTest, ::testing::ValuesIn(Calls("invoke")),
                         CaseName);

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
