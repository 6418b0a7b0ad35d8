// VariantChangeType: every coercion in tests/data/variant_coercions.txt, into a separate
// destination and in place.
#include <gtest/gtest.h>

#include <cstring>
#include <map>
#include <ostream>
#include <string>
#include <vector>

#include "com/com.h"
#include "support/data_table.h"

namespace lmk {
namespace {

struct ChangeCase {
  std::string name;
  Variant from;
  VARTYPE to;
  HRESULT hr;
  Variant expected;
  USHORT flags;
};

void PrintTo(const ChangeCase& c, std::ostream* os) { *os << c.name; }

const std::map<std::string, VARTYPE> kTypes = {
    {"EMPTY", VT_EMPTY}, {"NULL", VT_NULL}, {"I1", VT_I1},           {"UI1", VT_UI1},
    {"I2", VT_I2},       {"UI2", VT_UI2},   {"I4", VT_I4},           {"UI4", VT_UI4},
    {"INT", VT_INT},     {"I8", VT_I8},     {"UI8", VT_UI8},         {"R4", VT_R4},
    {"R8", VT_R8},       {"DATE", VT_DATE}, {"BOOL", VT_BOOL},       {"BSTR", VT_BSTR},
    {"ERROR", VT_ERROR}, {"CY", VT_CY},     {"VARIANT", VT_VARIANT}, {"UNKNOWN", VT_UNKNOWN}};

// Bytes of the value member each type uses; BSTRs are compared as text.
size_t ValueSize(VARTYPE vt) {
  static const std::map<VARTYPE, size_t> sizes = {
      {VT_EMPTY, 0}, {VT_NULL, 0}, {VT_I1, 1},  {VT_UI1, 1}, {VT_I2, 2},  {VT_UI2, 2},
      {VT_BOOL, 2},  {VT_I8, 8},   {VT_UI8, 8}, {VT_R8, 8},  {VT_DATE, 8}};
  const auto found = sizes.find(vt);
  return found != sizes.end() ? found->second : 4;
}

VARTYPE TypeOf(const std::string& text) {
  const auto found = kTypes.find(text);
  return found != kTypes.end() ? found->second : static_cast<VARTYPE>(std::stoul(text, nullptr, 0));
}

// "TYPE:text" as a variant; numbers are stored to the bit in the member the type uses.
Variant ValueOf(const std::string& text) {
  const size_t colon = text.find(':');
  const VARTYPE vt = TypeOf(text.substr(0, colon));
  if (vt == VT_BSTR) return Variant::String(test::Wide(text.substr(colon + 1)));
  Variant v;
  v.get()->vt = vt;
  if (colon == std::string::npos) return v;
  const std::string value = text.substr(colon + 1);
  if (vt == VT_R4) {
    v.get()->fltVal = std::stof(value);
  } else if (vt == VT_R8 || vt == VT_DATE) {
    v.get()->dblVal = std::stod(value);
  } else {
    const int64_t bits = value[0] == '-' ? std::stoll(value, nullptr, 0)
                                         : static_cast<int64_t>(std::stoull(value, nullptr, 0));
    std::memcpy(&v.get()->llVal, &bits, ValueSize(vt));
  }
  return v;
}

std::vector<ChangeCase> Cases() {
  const std::map<std::string, HRESULT> results = {{"S_OK", S_OK},
                                                  {"DISP_E_OVERFLOW", DISP_E_OVERFLOW},
                                                  {"DISP_E_TYPEMISMATCH", DISP_E_TYPEMISMATCH},
                                                  {"DISP_E_BADVARTYPE", DISP_E_BADVARTYPE}};
  std::vector<ChangeCase> cases;
  for (const test::DataRow& f : test::DataRows("variant_coercions.txt", "", 6)) {
    cases.push_back({f[0], ValueOf(f[1]), TypeOf(f[2]), results.at(f[3]),
                     f[4].empty() ? Variant() : ValueOf(f[4]),
                     static_cast<USHORT>(f[5] == "ALPHABOOL" ? VARIANT_ALPHABOOL : 0)});
  }
  return cases;
}

// Reals must match to the bit (a NaN left untouched equals itself), texts character for character.
::testing::AssertionResult SameValue(const VARIANT& actual, const VARIANT& expected) {
  if (actual.vt != expected.vt) {
    return ::testing::AssertionFailure() << "vt " << actual.vt << ", expected " << expected.vt;
  }
  const bool same = actual.vt == VT_BSTR
                        ? std::wstring_view(actual.bstrVal, SysStringLen(actual.bstrVal)) ==
                              std::wstring_view(expected.bstrVal, SysStringLen(expected.bstrVal))
                        : std::memcmp(&actual.llVal, &expected.llVal, ValueSize(actual.vt)) == 0;
  if (same) return ::testing::AssertionSuccess();
  return ::testing::AssertionFailure() << "value differs (raw " << actual.llVal << ")";
}

class VariantChangeTypeTest : public ::testing::TestWithParam<ChangeCase> {};

// Into a separate destination and in place; a failed conversion leaves either as it was.
TEST_P(VariantChangeTypeTest, Converts) {
  const ChangeCase& c = GetParam();
  Variant dest = Variant::String(L"untouched"), value = c.from;
  EXPECT_EQ(VariantChangeType(dest.get(), c.from.get(), c.flags, c.to), c.hr);
  EXPECT_TRUE(SameValue(dest.ref(),
                        SUCCEEDED(c.hr) ? c.expected.ref() : Variant::String(L"untouched").ref()));
  EXPECT_EQ(value.ChangeType(c.to, c.flags), c.hr);
  EXPECT_TRUE(SameValue(value.ref(), SUCCEEDED(c.hr) ? c.expected.ref() : c.from.ref()));
}

INSTANTIATE_TEST_SUITE_P(Coercions, VariantChangeTypeTest, ::testing::ValuesIn(Cases()),
                         [](const auto& info) { return info.param.name; });

}  // namespace
}  // namespace lmk
