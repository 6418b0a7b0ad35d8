// GUIDs as text: StringFromGUID2, CLSIDFromString and IIDFromString.
#include <gtest/gtest.h>

#include <string>

#include "com/com.h"
#include "com/test_data_rows.h"

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

class GuidParseTest : public ::testing::TestWithParam<test::NamedRow> {};

TEST_P(GuidParseTest, ClsidAndIid) {
  const std::wstring text = test::Widen(GetParam().f[0]);
  const bool valid = GetParam().f[1] == "1";
  CLSID clsid = GUID_NULL;
  IID iid = GUID_NULL;
  EXPECT_EQ(CLSIDFromString(text.c_str(), &clsid), valid ? S_OK : CO_E_CLASSSTRING);
  EXPECT_EQ(IIDFromString(text.c_str(), &iid), valid ? S_OK : E_INVALIDARG);
  EXPECT_EQ(IsEqualGUID(clsid, kDictionaryClass), valid);
  EXPECT_EQ(iid == kDictionaryClass, valid);
}

INSTANTIATE_TEST_SUITE_P(Texts, GuidParseTest,
                         ::testing::ValuesIn(test::NamedRows("guid_texts.txt", "", 3)),
                         [](const auto& info) { return info.param.name; });

}  // namespace
}  // namespace lmk
