// The COM subset's plain values: BSTR allocation and ownership, GUIDs as text, HRESULTs, thread
// error info and the exception <-> HRESULT helpers.
#include <gtest/gtest.h>

#include <cstring>
#include <new>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "com/com.h"
#include "support/data_table.h"

namespace lmk {
namespace {

TEST(SysAllocString, PrefixEmbeddedNulsAndNull) {
  Bstr b;
  b.Attach(SysAllocString(L"abc"));
  uint32_t prefix = 0;
  std::memcpy(&prefix, reinterpret_cast<const char*>(b.get()) - 4, 4);
  EXPECT_EQ(prefix, 3 * sizeof(wchar_t));
  EXPECT_EQ(SysStringByteLen(b.get()), 3 * sizeof(wchar_t));
  EXPECT_EQ(b.get()[3], L'\0');
  EXPECT_EQ(SysAllocString(nullptr), nullptr);

  b.Attach(SysAllocStringLen(L"a\0b\0", 4));
  EXPECT_EQ(b.view(), std::wstring_view(L"a\0b\0", 4));
  EXPECT_EQ(b.get()[4], L'\0');
  b.Attach(SysAllocStringLen(nullptr, 3));
  EXPECT_EQ(b.view(), std::wstring_view(L"\0\0\0", 3));
  EXPECT_EQ(SysAllocStringLen(nullptr, 0xFFFFFFFFu), nullptr);
  EXPECT_EQ(SysAllocStringLen(nullptr, 0xFFFFFFFFu / sizeof(OLECHAR)), nullptr);
  EXPECT_EQ(SysStringLen(nullptr), 0u);
  EXPECT_EQ(SysStringByteLen(nullptr), 0u);
  SysFreeString(nullptr);
}

TEST(SysReAllocString, ReplacesAndAcceptsItsOwnText) {
  BSTR b = SysAllocString(L"hello world");
  ASSERT_TRUE(SysReAllocString(&b, b + 6));
  EXPECT_EQ(std::wstring(b, SysStringLen(b)), L"world");
  ASSERT_TRUE(SysReAllocStringLen(&b, L"xy", 1));
  EXPECT_EQ(std::wstring(b, SysStringLen(b)), L"x");
  SysFreeString(b);
}

TEST(Bstr, CopyMoveAttachDetach) {
  EXPECT_EQ(Bstr().view(), L"");
  Bstr a(std::wstring_view(L"x\0y", 3));
  Bstr b = a;
  EXPECT_NE(a.get(), b.get());
  EXPECT_EQ(b.view(), std::wstring_view(L"x\0y", 3));
  a = a;  // self-assignment keeps the text
  EXPECT_EQ(a.length(), 3u);
  const BSTR raw = a.get();
  Bstr moved(std::move(a));
  EXPECT_EQ(moved.get(), raw);
  EXPECT_EQ(a.get(), nullptr);  // NOLINT(bugprone-use-after-move)

  Bstr c;
  *&c = SysAllocString(L"out");
  EXPECT_EQ(c.str(), L"out");
  b.Attach(c.Detach());
  EXPECT_EQ(c.get(), nullptr);
  EXPECT_EQ(b.view(), L"out");
  EXPECT_EQ(Bstr::Copy(b.get()).view(), L"out");
  EXPECT_EQ(Bstr::Copy(nullptr).get(), nullptr);
}

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

class ErrorInfoTest : public ::testing::Test {
 protected:
  void SetUp() override { SetErrorInfo(0, nullptr); }
  void TearDown() override { SetErrorInfo(0, nullptr); }
};

TEST_F(ErrorInfoTest, GetTakesAndClears) {
  ComPtr<ICreateErrorInfo> create;
  ASSERT_EQ(CreateErrorInfo(&create), S_OK);
  ASSERT_EQ(create->SetSource(const_cast<LPOLESTR>(L"source")), S_OK);
  ASSERT_EQ(create->SetHelpContext(42), S_OK);
  ComPtr<IErrorInfo> set;
  ASSERT_EQ(create.As(&set), S_OK);
  ASSERT_EQ(SetErrorInfo(0, set.Get()), S_OK);

  ComPtr<IErrorInfo> got;
  ASSERT_EQ(GetErrorInfo(0, &got), S_OK);
  EXPECT_EQ(got.Get(), set.Get());
  Bstr source;
  ASSERT_EQ(got->GetSource(&source), S_OK);
  EXPECT_EQ(source.view(), L"source");
  DWORD context = 0;
  ASSERT_EQ(got->GetHelpContext(&context), S_OK);
  EXPECT_EQ(context, 42u);

  ComPtr<IErrorInfo> again;
  EXPECT_EQ(GetErrorInfo(0, &again), S_FALSE);
}

TEST_F(ErrorInfoTest, EachThreadHasItsOwn) {
  ASSERT_EQ(SetErrorDescription(L"main"), S_OK);
  std::wstring seen_by_other = L"unset";
  std::thread([&] {
    seen_by_other = TakeErrorDescription();
    SetErrorDescription(L"other");  // released when the thread ends
  }).join();
  EXPECT_EQ(seen_by_other, L"");
  EXPECT_EQ(TakeErrorDescription(), L"main");
}

struct ExceptionCase {
  std::string name;
  void (*thrower)();
  HRESULT expected;
  std::wstring description;
};

std::vector<ExceptionCase> ExceptionCases() {
  return {
      {"ComErrorDescriptionBecomesErrorInfo",
       [] { throw ComError(E_FAIL, L"Cannot open the rule set"); }, E_FAIL,
       L"Cannot open the rule set"},
      {"BadAllocIsOutOfMemory", [] { throw std::bad_alloc(); }, E_OUTOFMEMORY, L""},
      {"NonStdExceptionIsUnexpected", [] { throw 42; }, E_UNEXPECTED, L""},
      {"ThrowIfFailedPassesSuccess", [] { ThrowIfFailed(S_FALSE); }, S_OK, L""},
      {"ThrowIfFailedThrowsFailure", [] { ThrowIfFailed(DISP_E_OVERFLOW); }, DISP_E_OVERFLOW, L""},
  };
}

class HresultFromExceptionTest : public ::testing::TestWithParam<ExceptionCase> {};

TEST_P(HresultFromExceptionTest, Maps) {
  SetErrorInfo(0, nullptr);
  HRESULT hr = S_OK;
  try {
    GetParam().thrower();
  } catch (...) {
    hr = HresultFromCurrentException();
  }
  EXPECT_EQ(hr, GetParam().expected);
  EXPECT_EQ(TakeErrorDescription(), GetParam().description);
}

INSTANTIATE_TEST_SUITE_P(Exceptions, HresultFromExceptionTest,
                         ::testing::ValuesIn(ExceptionCases()),
                         [](const auto& info) { return info.param.name; });

}  // namespace
}  // namespace lmk
