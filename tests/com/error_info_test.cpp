// Thread error info and the exception <-> HRESULT helpers.
#include <gtest/gtest.h>

#include <new>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "com/com.h"

namespace lmk {
namespace {

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

TEST_F(ErrorInfoTest, DescriptionIsTakenOnceAndDoesNotHoldTheModule) {
  const long before = ModuleLockCount();
  ASSERT_EQ(SetErrorDescription(L"The file is locked"), S_OK);
  EXPECT_EQ(ModuleLockCount(), before);
  EXPECT_EQ(TakeErrorDescription(), L"The file is locked");
  EXPECT_EQ(TakeErrorDescription(), L"");
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
      {"ComErrorKeepsItsHresult", [] { throw ComError(E_ACCESSDENIED); }, E_ACCESSDENIED, L""},
      {"ComErrorDescriptionBecomesErrorInfo",
       [] { throw ComError(E_FAIL, L"Cannot open the rule set"); }, E_FAIL,
       L"Cannot open the rule set"},
      {"BadAllocIsOutOfMemory", [] { throw std::bad_alloc(); }, E_OUTOFMEMORY, L""},
      {"OtherStdExceptionIsUnexpected", [] { throw std::runtime_error("x"); }, E_UNEXPECTED, L""},
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

HRESULT ReturnsEarly(HRESULT first, bool* reached_end) {
  LMK_RETURN_IF_FAILED(first);
  *reached_end = true;
  return S_FALSE;
}

TEST(ReturnIfFailed, ReturnsOnlyFailures) {
  bool reached = false;
  EXPECT_EQ(ReturnsEarly(E_ABORT, &reached), E_ABORT);
  EXPECT_FALSE(reached);
  EXPECT_EQ(ReturnsEarly(S_FALSE, &reached), S_FALSE);
  EXPECT_TRUE(reached);
}

}  // namespace
}  // namespace lmk
