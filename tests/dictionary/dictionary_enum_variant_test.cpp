// Tests of the dictionary's enumerator: order, Next counts, Skip, Reset, Clone, live walking.
#include "dictionary/dictionary_enum_variant.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "dictionary_test_util.h"

namespace lmk::test {
namespace {

ComPtr<IEnumVARIANT> EnumOf(IDictionary* dictionary) {
  ComPtr<IUnknown> unknown;
  EXPECT_EQ(dictionary->get__NewEnum(&unknown), S_OK);
  ComPtr<IEnumVARIANT> enumerator;
  EXPECT_EQ(unknown.As(&enumerator), S_OK);
  return enumerator;
}

// Reads everything left, one Next call of `batch` at a time.
std::vector<std::wstring> Drain(IEnumVARIANT* enumerator, ULONG batch = 1) {
  std::vector<std::wstring> names;
  std::vector<VARIANT> slots(batch);
  for (;;) {
    ULONG fetched = 0;
    const HRESULT hr = enumerator->Next(batch, slots.data(), &fetched);
    EXPECT_TRUE(hr == S_OK || hr == S_FALSE);
    for (ULONG i = 0; i < fetched; ++i) {
      Variant owned;
      owned.Attach(&slots[i]);
      EXPECT_EQ(owned.vt(), VT_BSTR);
      names.emplace_back(owned.ref().bstrVal, SysStringLen(owned.ref().bstrVal));
    }
    if (hr != S_OK) return names;
  }
}

// The enumeration order is the dictionary's comparison, whatever the insertion order.
TEST(DictionaryEnumTest, OrderIsTheNameOrderNotInsertionOrder) {
  const std::vector<std::wstring> inserted = {L"b", L"File.Name", L"a", L"B",  L"file.name",
                                              L"A", L"10",        L"9", L"a.b"};
  ComPtr<IDictionary> forward = MakeDictionary();
  ComPtr<IDictionary> backward = MakeDictionary();
  for (std::size_t i = 0; i < inserted.size(); ++i) {
    ASSERT_EQ(Put(forward.Get(), inserted[i], Variant::I4(0)), S_OK);
    ASSERT_EQ(Put(backward.Get(), inserted[inserted.size() - 1 - i], Variant::I4(0)), S_OK);
  }
  const std::vector<std::wstring> names = Drain(EnumOf(forward.Get()).Get());
  ASSERT_EQ(names.size(), inserted.size());
  EXPECT_EQ(Drain(EnumOf(backward.Get()).Get()), names);
  for (std::size_t i = 1; i < names.size(); ++i) {
    Bstr previous(names[i - 1]);
    Bstr current(names[i]);
    EXPECT_EQ(VarBstrCmp(previous.get(), current.get(), LOCALE_USER_DEFAULT, 0),
              static_cast<HRESULT>(VARCMP_LT))
        << "names " << i - 1 << " and " << i << " out of order";
  }
}

struct Step {
  enum Kind { kNext, kSkip, kReset } kind;
  ULONG count;
  HRESULT hr;
  std::vector<std::wstring> names;  // what kNext returns
};

struct EnumCase {
  const char* name;
  std::vector<Step> steps;
};

class DictionaryEnumStepsTest : public ::testing::TestWithParam<EnumCase> {};

TEST_P(DictionaryEnumStepsTest, Walk) {
  ComPtr<IDictionary> dictionary = MakeDictionary();
  for (const wchar_t* name : {L"e", L"c", L"a", L"d", L"b"}) {
    ASSERT_EQ(Put(dictionary.Get(), name, Variant::I4(0)), S_OK);
  }
  ComPtr<IEnumVARIANT> enumerator = EnumOf(dictionary.Get());
  int index = 0;
  for (const Step& step : GetParam().steps) {
    SCOPED_TRACE("step " + std::to_string(index++));
    switch (step.kind) {
      case Step::kNext: {
        std::vector<VARIANT> slots(step.count + 1);
        for (VARIANT& slot : slots) slot.vt = VT_I4;  // must be initialised by Next
        ULONG fetched = 99;
        EXPECT_EQ(enumerator->Next(step.count, slots.data(), &fetched), step.hr);
        ASSERT_EQ(fetched, step.names.size());
        for (ULONG i = 0; i < step.count; ++i) {
          Variant owned;
          owned.Attach(&slots[i]);
          if (i < fetched) {
            ASSERT_EQ(owned.vt(), VT_BSTR);
            EXPECT_EQ(std::wstring(owned.ref().bstrVal), step.names[i]);
          } else {
            EXPECT_EQ(owned.vt(), VT_EMPTY);
          }
        }
        break;
      }
      case Step::kSkip:
        EXPECT_EQ(enumerator->Skip(step.count), step.hr);
        break;
      case Step::kReset:
        EXPECT_EQ(enumerator->Reset(), step.hr);
        break;
    }
  }
}

const EnumCase kEnumCases[] = {
    {"AllAtOnce", {{Step::kNext, 5, S_OK, {L"a", L"b", L"c", L"d", L"e"}}}},
    {"MoreThanThere", {{Step::kNext, 7, S_FALSE, {L"a", L"b", L"c", L"d", L"e"}}}},
    {"InPairs",
     {{Step::kNext, 2, S_OK, {L"a", L"b"}},
      {Step::kNext, 2, S_OK, {L"c", L"d"}},
      {Step::kNext, 2, S_FALSE, {L"e"}},
      {Step::kNext, 2, S_FALSE, {}}}},
    {"ZeroIsOk", {{Step::kNext, 0, S_OK, {}}, {Step::kNext, 1, S_OK, {L"a"}}}},
    {"SkipThenNext", {{Step::kSkip, 2, S_OK, {}}, {Step::kNext, 1, S_OK, {L"c"}}}},
    {"SkipPastTheEnd", {{Step::kSkip, 6, S_FALSE, {}}, {Step::kNext, 1, S_FALSE, {}}}},
    {"SkipExactlyToTheEnd", {{Step::kSkip, 5, S_OK, {}}, {Step::kNext, 1, S_FALSE, {}}}},
    {"ResetAfterTheEnd",
     {{Step::kNext, 9, S_FALSE, {L"a", L"b", L"c", L"d", L"e"}},
      {Step::kReset, 0, S_OK, {}},
      {Step::kNext, 1, S_OK, {L"a"}}}},
    {"ResetMidway",
     {{Step::kSkip, 3, S_OK, {}},
      {Step::kReset, 0, S_OK, {}},
      {Step::kNext, 2, S_OK, {L"a", L"b"}}}},
};

INSTANTIATE_TEST_SUITE_P(Steps, DictionaryEnumStepsTest, ::testing::ValuesIn(kEnumCases),
                         [](const auto& i) { return std::string(i.param.name); });

TEST(DictionaryEnumTest, CloneContinuesFromTheSamePlaceIndependently) {
  ComPtr<IDictionary> dictionary = MakeDictionary();
  for (const wchar_t* name : {L"a", L"b", L"c", L"d"}) {
    ASSERT_EQ(Put(dictionary.Get(), name, Variant::I4(0)), S_OK);
  }
  ComPtr<IEnumVARIANT> original = EnumOf(dictionary.Get());
  EXPECT_EQ(original->Next(1, nullptr, nullptr), E_INVALIDARG);
  Variant slot;
  EXPECT_EQ(original->Next(1, &slot, nullptr), S_OK) << "the fetched count is optional";
  ASSERT_EQ(original->Skip(1), S_OK);
  ComPtr<IEnumVARIANT> clone;
  ASSERT_EQ(original->Clone(&clone), S_OK);
  EXPECT_EQ(Drain(clone.Get()), (std::vector<std::wstring>{L"c", L"d"}));
  EXPECT_EQ(Drain(original.Get(), 3), (std::vector<std::wstring>{L"c", L"d"}));
  EXPECT_EQ(original->Clone(nullptr), E_INVALIDARG);
}

TEST(DictionaryEnumTest, WalksTheLiveDictionaryAndKeepsItAlive) {
  ComPtr<IEnumVARIANT> enumerator;
  {
    ComPtr<IDictionary> dictionary = MakeDictionary();
    EXPECT_TRUE(Drain(EnumOf(dictionary.Get()).Get(), 4).empty());
    for (const wchar_t* name : {L"b", L"d"}) {
      ASSERT_EQ(Put(dictionary.Get(), name, Variant::I4(0)), S_OK);
    }
    enumerator = EnumOf(dictionary.Get());
    Variant first;
    ASSERT_EQ(enumerator->Next(1, &first, nullptr), S_OK);
    EXPECT_EQ(std::wstring(first.ref().bstrVal), L"b");
    // "a" sorts before the position and is not seen; "c" and "e" are ahead.
    for (const wchar_t* name : {L"a", L"c", L"e"}) {
      ASSERT_EQ(Put(dictionary.Get(), name, Variant::I4(0)), S_OK);
    }
  }
  EXPECT_EQ(Drain(enumerator.Get()), (std::vector<std::wstring>{L"c", L"d", L"e"}));
}

}  // namespace
}  // namespace lmk::test
