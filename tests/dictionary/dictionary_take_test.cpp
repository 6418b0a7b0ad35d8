// TakeMultiple into a fresh dictionary moves the values straight into place under names
// sorted once and shared between fills: the outcome must still be that of one put_Value after
// another, also when the caller's name buffers change between fills and after later puts.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "dictionary/dictionary.h"
#include "dictionary_test_util.h"

namespace lmk::test {
namespace {

class DictionaryTakeTest : public ::testing::TestWithParam<CaseRow> {};

TEST_P(DictionaryTakeTest, GivesWhatOnePutAfterAnotherGives) {
  std::vector<std::wstring> buffers(8, std::wstring(32, L'\0'));
  LONG serial = 0;
  for (const std::string& list : Split(GetParam()[0], ';')) {
    const std::vector<std::string> fill = Split(list);
    std::vector<LPOLESTR> pointers;
    std::vector<Variant> values;
    ComPtr<CDictionary> expected = MakeComObject<CDictionary>();
    for (std::size_t i = 0; i < fill.size(); ++i) {
      buffers[i].assign(Widen(fill[i]));
      pointers.push_back(buffers[i].data());
      values.push_back(Variant::I4(++serial));
      ASSERT_EQ(Put(expected.Get(), Widen(fill[i]), values.back()), S_OK);
    }
    ComPtr<CDictionary> taken = MakeComObject<CDictionary>();
    ASSERT_EQ(
        taken->TakeMultiple(static_cast<ULONG>(values.size()), pointers.data(), values.data()),
        S_OK);
    // Names put one by one land between the shared ones.
    for (const wchar_t* extra : {L"0", L"Meta.IPTC.Photographer.Ci", L"~"}) {
      ASSERT_EQ(Put(taken.Get(), extra, Variant::I4(-1)), S_OK);
      ASSERT_EQ(Put(expected.Get(), extra, Variant::I4(-1)), S_OK);
    }
    const std::vector<Bstr> names = expected->NamesAfter(Bstr(), 100);
    ASSERT_EQ(CountOf(taken.Get()), static_cast<LONG>(names.size()));
    for (const Bstr& name : names) {
      Variant got, want;
      ASSERT_EQ(taken->get_Value(name.get(), &got), S_OK) << name.str();
      ASSERT_EQ(expected->get_Value(name.get(), &want), S_OK);
      EXPECT_EQ(got.ref().lVal, want.ref().lVal) << name.str();
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Fills, DictionaryTakeTest, ::testing::ValuesIn(Calls("fill")), CaseName);

}  // namespace
}  // namespace lmk::test
