// GUIDs as text: StringFromGUID2, CLSIDFromString and IIDFromString.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "com/com.h"

namespace lmk {
namespace {

constexpr GUID kDictionaryClass = {
    0x2966F71C, 0x0245, 0x4532, {0xA2, 0xF1, 0xE2, 0xD8, 0x15, 0x8D, 0x95, 0xC1}};

TEST(StringFromGUID2, WritesBracedUpperCaseThatReadsBack) {
  wchar_t text[39];
  EXPECT_EQ(StringFromGUID2(kDictionaryClass, text, 38), 0);
  ASSERT_EQ(StringFromGUID2(kDictionaryClass, text, 39), 39);
  EXPECT_EQ(std::wstring(text), L"{2966F71C-0245-4532-A2F1-E2D8158D95C1}");
}

struct ParseCase {
  std::string name;
  std::wstring text;
  bool valid;
};

std::vector<ParseCase> ParseCases() {
  return {
      {"UpperCase", L"{2966F71C-0245-4532-A2F1-E2D8158D95C1}", true},
      {"LowerCase", L"{2966f71c-0245-4532-a2f1-e2d8158d95c1}", true},
      {"NoBraces", L"2966F71C-0245-4532-A2F1-E2D8158D95C1", false},
      {"MissingDash", L"{2966F71C-02454532-A2F1-E2D8158D95C1-}", false},
      {"NonHexDigit", L"{2966F71G-0245-4532-A2F1-E2D8158D95C1}", false},
      {"TooShort", L"{2966F71C-0245-4532-A2F1-E2D8158D95C}", false},
      {"ProgId", L"Lumarko.Plugin.FileUtilities.Dictionary", false},
      {"Empty", L"", false},
  };
}

class GuidParseTest : public ::testing::TestWithParam<ParseCase> {};

TEST_P(GuidParseTest, ClsidAndIid) {
  CLSID clsid = GUID_NULL;
  IID iid = GUID_NULL;
  EXPECT_EQ(CLSIDFromString(GetParam().text.c_str(), &clsid),
            GetParam().valid ? S_OK : CO_E_CLASSSTRING);
  EXPECT_EQ(IIDFromString(GetParam().text.c_str(), &iid), GetParam().valid ? S_OK : E_INVALIDARG);
  EXPECT_EQ(IsEqualGUID(clsid, kDictionaryClass), GetParam().valid);
  EXPECT_EQ(iid == kDictionaryClass, GetParam().valid);
}

INSTANTIATE_TEST_SUITE_P(Texts, GuidParseTest, ::testing::ValuesIn(ParseCases()),
                         [](const auto& info) { return info.param.name; });

}  // namespace
}  // namespace lmk
