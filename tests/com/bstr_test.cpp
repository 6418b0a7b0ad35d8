// BSTR allocation (length prefix, embedded NULs, null handling) and lmk::Bstr ownership.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <utility>

#include "com/com.h"

namespace lmk {
namespace {

TEST(SysAllocString, StoresByteCountBeforeTheText) {
  BSTR b = SysAllocString(L"abc");
  ASSERT_NE(b, nullptr);
  uint32_t prefix = 0;
  std::memcpy(&prefix, reinterpret_cast<const char*>(b) - 4, 4);
  EXPECT_EQ(prefix, 3 * sizeof(wchar_t));
  EXPECT_EQ(SysStringLen(b), 3u);
  EXPECT_EQ(SysStringByteLen(b), 3 * sizeof(wchar_t));
  EXPECT_EQ(b[3], L'\0');
  SysFreeString(b);
}

TEST(SysAllocString, NullTextGivesNull) { EXPECT_EQ(SysAllocString(nullptr), nullptr); }

TEST(SysAllocStringLen, KeepsEmbeddedNuls) {
  BSTR b = SysAllocStringLen(L"a\0b\0", 4);
  ASSERT_NE(b, nullptr);
  EXPECT_EQ(SysStringLen(b), 4u);
  EXPECT_EQ(std::wstring(b, 4), std::wstring(L"a\0b\0", 4));
  EXPECT_EQ(b[4], L'\0');
  SysFreeString(b);
}

TEST(SysAllocStringLen, NullTextGivesZeroedString) {
  BSTR b = SysAllocStringLen(nullptr, 3);
  ASSERT_NE(b, nullptr);
  EXPECT_EQ(SysStringLen(b), 3u);
  EXPECT_EQ(std::wstring(b, 3), std::wstring(3, L'\0'));
  SysFreeString(b);
}

TEST(SysAllocStringLen, RefusesLengthsThatOverflowThePrefix) {
  EXPECT_EQ(SysAllocStringLen(nullptr, 0xFFFFFFFFu), nullptr);
  EXPECT_EQ(SysAllocStringLen(nullptr, 0xFFFFFFFFu / sizeof(OLECHAR)), nullptr);
}

TEST(SysStringLen, NullIsEmpty) {
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

TEST(Bstr, DefaultIsNullAndEmpty) {
  Bstr b;
  EXPECT_EQ(b.get(), nullptr);
  EXPECT_TRUE(b.empty());
  EXPECT_EQ(b.length(), 0u);
  EXPECT_EQ(b.view(), L"");
}

TEST(Bstr, CopiesAreIndependent) {
  Bstr a(std::wstring_view(L"x\0y", 3));
  Bstr b = a;
  EXPECT_NE(a.get(), b.get());
  EXPECT_EQ(b.view(), std::wstring_view(L"x\0y", 3));
  b = Bstr(L"other");
  EXPECT_EQ(a.length(), 3u);
  a = a;  // self-assignment keeps the text
  EXPECT_EQ(a.length(), 3u);
}

TEST(Bstr, MoveTransfersOwnership) {
  Bstr a(L"text");
  BSTR raw = a.get();
  Bstr b(std::move(a));
  EXPECT_EQ(b.get(), raw);
  EXPECT_EQ(a.get(), nullptr);  // NOLINT(bugprone-use-after-move)
}

TEST(Bstr, OutParameterAndDetach) {
  Bstr b;
  *&b = SysAllocString(L"out");
  EXPECT_EQ(b.str(), L"out");
  BSTR raw = b.Detach();
  EXPECT_EQ(b.get(), nullptr);
  Bstr c;
  c.Attach(raw);
  EXPECT_EQ(c.view(), L"out");
}

TEST(Bstr, CopyOfForeignBstr) {
  BSTR raw = SysAllocString(L"foreign");
  Bstr copy = Bstr::Copy(raw);
  SysFreeString(raw);
  EXPECT_EQ(copy.view(), L"foreign");
  EXPECT_EQ(Bstr::Copy(nullptr).get(), nullptr);
}

}  // namespace
}  // namespace lmk
