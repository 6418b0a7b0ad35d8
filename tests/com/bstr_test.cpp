// BSTR allocation (length prefix, embedded NULs, null handling) and lmk::Bstr ownership.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <utility>

#include "com/com.h"

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

}  // namespace
}  // namespace lmk
