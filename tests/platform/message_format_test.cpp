// Tests of printf-style formatting of log texts.
#include "platform/message_format.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace lmk {
namespace {

struct FormatCase {
  std::string name;
  std::wstring format;
  std::vector<FormatArg> args;
  std::optional<std::wstring> expected;  // nullopt: the format must be refused
};

class MessageFormatTest : public ::testing::TestWithParam<FormatCase> {};

TEST_P(MessageFormatTest, Formats) {
  EXPECT_EQ(FormatMessageText(GetParam().format, GetParam().args), GetParam().expected);
}

const std::wstring kWidePath = L"/photos/Été.jpg";
const std::string kNarrowPath = "/photos/\xC3\x89t\xC3\xA9.jpg";

INSTANTIATE_TEST_SUITE_P(
    Cases, MessageFormatTest,
    ::testing::ValuesIn(std::vector<FormatCase>{
        {"PlainText", L"Batch processing started.", {}, L"Batch processing started."},
        {"WideString", L"\"%s\".", {FormatArg(kWidePath)}, L"\"/photos/Été.jpg\"."},
        {"LsWithNarrowUtf8", L"\"%ls\".", {FormatArg(kNarrowPath)}, L"\"/photos/Été.jpg\"."},
        {"NegativeDecimal", L"%d", {FormatArg(-7)}, L"-7"},
        {"HresultAsHex", L"0x%08lx", {FormatArg(static_cast<int32_t>(0x80004005))}, L"0x80004005"},
        {"SmallHexPadded", L"0x%08lx", {FormatArg(0x57u)}, L"0x00000057"},
        {"UpperHexWithPrefix", L"%#X", {FormatArg(255)}, L"0XFF"},
        {"UnsignedDwordAsD", L"%d", {FormatArg(uint32_t{4000000000u})}, L"4000000000"},
        {"Int64Max", L"%lld", {FormatArg(INT64_MAX)}, L"9223372036854775807"},
        {"Int64Min", L"%I64d", {FormatArg(INT64_MIN)}, L"-9223372036854775808"},
        {"WidthAndLeft", L"[%5d][%-5d]", {FormatArg(42), FormatArg(42)}, L"[   42][42   ]"},
        {"ZeroPadNegative", L"%05d", {FormatArg(-42)}, L"-0042"},
        {"PlusFlag", L"%+d", {FormatArg(3)}, L"+3"},
        {"Precision", L"%.3d|%.2s", {FormatArg(7), FormatArg(L"abc")}, L"007|ab"},
        {"StringWidth", L"[%6s]", {FormatArg(L"ab")}, L"[    ab]"},
        {"NullString", L"%ls", {FormatArg(static_cast<const wchar_t*>(nullptr))}, L"(null)"},
        {"Percent", L"100%% done", {}, L"100% done"},
        {"Character", L"%c", {FormatArg(L'Z')}, L"Z"},
        {"ExtraArgumentIgnored", L"%d", {FormatArg(1), FormatArg(2)}, L"1"},
        {"MissingArgument", L"%ls and %ls", {FormatArg(L"a")}, std::nullopt},
        {"StringForDecimal", L"%d", {FormatArg(L"12")}, std::nullopt},
        {"NumberForString", L"%s", {FormatArg(12)}, std::nullopt},
        {"UnknownConversion", L"%q", {FormatArg(1)}, std::nullopt},
        {"PointerConversion", L"%p", {FormatArg(1)}, std::nullopt},
        {"DanglingPercent", L"50%", {}, std::nullopt},
        {"AbsurdWidth", L"%99999999d", {FormatArg(1)}, std::nullopt},
    }),
    [](const auto& i) { return i.param.name; });

}  // namespace
}  // namespace lmk
