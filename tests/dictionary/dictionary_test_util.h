// Small helpers shared by the dictionary tests: put and read values by wide-string name.
#pragma once

#include <gtest/gtest.h>

#include <map>
#include <sstream>
#include <string>
#include <string_view>

#include "com/bstr.h"
#include "com/com_ptr.h"
#include "com/variant.h"
#include "dictionary/idictionary.h"
#include "support/data_table.h"

namespace lmk::test {

inline HRESULT Put(IDictionary* dictionary, std::wstring_view name, const Variant& value) {
  Bstr key(name);
  return dictionary->put_Value(key.get(), value.ref());
}

// `value` is an empty out-parameter, as `&variant` gives.
inline HRESULT Get(IDictionary* dictionary, std::wstring_view name, VARIANT* value) {
  Bstr key(name);
  return dictionary->get_Value(key.get(), value);
}

inline HRESULT TestName(IDictionary* dictionary, std::wstring_view name) {
  Bstr key(name);
  return dictionary->Test(key.get());
}

inline LONG CountOf(IDictionary* dictionary) {
  LONG count = -1;
  EXPECT_EQ(dictionary->get_Count(&count), S_OK);
  return count;
}

// The rows of one kind of tests/data/cases/dictionary_calls.tsv, padded to eight fields.
inline std::vector<CaseRow> Calls(const std::string& kind) {
  return ReadCaseTable("cases/dictionary_calls.tsv", kind, 8);
}

inline HRESULT HrNamed(const std::string& name) {
  static const std::map<std::string, HRESULT> codes = {
      {"S_OK", S_OK},
      {"S_FALSE", S_FALSE},
      {"E_FAIL", E_FAIL},
      {"E_INVALIDARG", E_INVALIDARG},
      {"E_NOTIMPL", E_NOTIMPL},
      {"DISP_E_BADPARAMCOUNT", DISP_E_BADPARAMCOUNT},
      {"DISP_E_MEMBERNOTFOUND", DISP_E_MEMBERNOTFOUND},
      {"DISP_E_NONAMEDARGS", DISP_E_NONAMEDARGS},
      {"DISP_E_TYPEMISMATCH", DISP_E_TYPEMISMATCH},
      {"DISP_E_UNKNOWNNAME", DISP_E_UNKNOWNNAME}};
  return codes.at(name);
}

// "(null)" stands for a null name.
inline Bstr Key(const std::string& text) { return text == "(null)" ? Bstr() : Bstr(Widen(text)); }

inline std::vector<std::string> Split(const std::string& list, char at = ',') {
  std::vector<std::string> parts;
  if (list.empty()) return parts;
  std::istringstream in(list + at);
  for (std::string part; std::getline(in, part, at);) parts.push_back(part);
  return parts;
}

inline std::string CaseName(const ::testing::TestParamInfo<CaseRow>& i) { return i.param.name; }

}  // namespace lmk::test
