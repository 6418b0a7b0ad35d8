// Tests of the dictionary's methods: HRESULTs, names, bulk reads and writes, merging, sharing.
#include "dictionary/dictionary.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

#include "dictionary_test_util.h"

namespace lmk::test {
namespace {

// --- Reading and testing names ----------------------------------------------------------------

struct LookupCase {
  const char* name;
  std::optional<std::wstring> key;  // nullopt: a null BSTR
  HRESULT get_hr;
  HRESULT test_hr;
  LONG expected_value;  // when get_hr is S_OK
};

class DictionaryLookupTest : public ::testing::TestWithParam<LookupCase> {
 protected:
  void SetUp() override {
    dictionary_ = MakeDictionary();
    ASSERT_EQ(Put(dictionary_.Get(), L"File.Name", Variant::I4(1)), S_OK);
    ASSERT_EQ(Put(dictionary_.Get(), L"file.name", Variant::I4(2)), S_OK);
    ASSERT_EQ(Put(dictionary_.Get(), L"A", Variant::I4(3)), S_OK);
  }
  ComPtr<IDictionary> dictionary_;
};

TEST_P(DictionaryLookupTest, GetAndTest) {
  const LookupCase& c = GetParam();
  Bstr key;
  if (c.key) key = Bstr(*c.key);
  Variant value = Variant::I4(-1);
  EXPECT_EQ(dictionary_->get_Value(key.get(), &value), c.get_hr);
  if (c.get_hr == S_OK) {
    ASSERT_EQ(value.vt(), VT_I4);
    EXPECT_EQ(value.ref().lVal, c.expected_value);
  } else {
    EXPECT_EQ(value.vt(), VT_EMPTY) << "a failed read must not leave a value behind";
  }
  EXPECT_EQ(dictionary_->Test(key.get()), c.test_hr);
}

const LookupCase kLookupCases[] = {
    {"Present", L"File.Name", S_OK, S_OK, 1},
    {"LowerCaseIsItsOwnEntry", L"file.name", S_OK, S_OK, 2},
    {"UpperCaseIsMissing", L"FILE.NAME", E_FAIL, S_FALSE, 0},
    {"Missing", L"Nope", E_FAIL, S_FALSE, 0},
    {"PrefixIsMissing", L"File", E_FAIL, S_FALSE, 0},
    {"LongerIsMissing", L"File.Name.", E_FAIL, S_FALSE, 0},
    {"SingleLetter", L"A", S_OK, S_OK, 3},
    {"Empty", L"", E_INVALIDARG, E_INVALIDARG, 0},
    {"Null", std::nullopt, E_INVALIDARG, E_INVALIDARG, 0},
};

INSTANTIATE_TEST_SUITE_P(Names, DictionaryLookupTest, ::testing::ValuesIn(kLookupCases),
                         [](const auto& i) { return std::string(i.param.name); });

TEST(DictionaryTest, NullOutPointersAreInvalid) {
  ComPtr<IDictionary> dictionary = MakeDictionary();
  Bstr key(L"a");
  EXPECT_EQ(dictionary->get_Value(key.get(), nullptr), E_INVALIDARG);
  EXPECT_EQ(dictionary->get_Count(nullptr), E_INVALIDARG);
  EXPECT_EQ(dictionary->get__NewEnum(nullptr), E_INVALIDARG);
  EXPECT_EQ(dictionary->MergeTo(nullptr), E_INVALIDARG);
}

// --- Writing ----------------------------------------------------------------------------------

struct PutCase {
  const char* name;
  std::optional<std::wstring> key;
  HRESULT hr;
  LONG count_after;  // the dictionary starts with "x" = 1
};

class DictionaryPutTest : public ::testing::TestWithParam<PutCase> {};

TEST_P(DictionaryPutTest, AddsOrReplaces) {
  const PutCase& c = GetParam();
  ComPtr<IDictionary> dictionary = MakeDictionary();
  ASSERT_EQ(Put(dictionary.Get(), L"x", Variant::I4(1)), S_OK);
  Bstr key;
  if (c.key) key = Bstr(*c.key);
  EXPECT_EQ(dictionary->put_Value(key.get(), Variant::String(L"new").ref()), c.hr);
  EXPECT_EQ(CountOf(dictionary.Get()), c.count_after);
  if (c.hr == S_OK) {
    Variant value;
    ASSERT_EQ(Get(dictionary.Get(), *c.key, &value), S_OK);
    ASSERT_EQ(value.vt(), VT_BSTR);
    EXPECT_EQ(std::wstring(value.ref().bstrVal), L"new");
  }
}

const PutCase kPutCases[] = {
    {"NewName", L"y", S_OK, 2},
    {"ReplacesExisting", L"x", S_OK, 1},
    {"OtherCaseAdds", L"X", S_OK, 2},
    {"Empty", L"", E_INVALIDARG, 1},
    {"Null", std::nullopt, E_INVALIDARG, 1},
};

INSTANTIATE_TEST_SUITE_P(Names, DictionaryPutTest, ::testing::ValuesIn(kPutCases),
                         [](const auto& i) { return std::string(i.param.name); });

TEST(DictionaryTest, StoredValueIsACopyOfTheCallersValue) {
  ComPtr<IDictionary> dictionary = MakeDictionary();
  {
    Variant text = Variant::String(L"kept");
    ASSERT_EQ(Put(dictionary.Get(), L"t", text), S_OK);
  }  // the caller's string is freed here
  Variant first;
  Variant second;
  ASSERT_EQ(Get(dictionary.Get(), L"t", &first), S_OK);
  ASSERT_EQ(Get(dictionary.Get(), L"t", &second), S_OK);
  EXPECT_EQ(std::wstring(first.ref().bstrVal), L"kept");
  EXPECT_NE(first.ref().bstrVal, second.ref().bstrVal) << "each read gets its own string";
}

TEST(DictionaryTest, ByReferenceValueIsStoredAsTheValueItPointsTo) {
  ComPtr<IDictionary> dictionary = MakeDictionary();
  {
    Variant inner = Variant::I4(42);
    VARIANT reference;
    VariantInit(&reference);
    reference.vt = VT_BYREF | VT_VARIANT;
    reference.pvarVal = inner.get();
    ASSERT_EQ(dictionary->put_Value(Bstr(L"r").get(), reference), S_OK);
  }
  Variant value;
  ASSERT_EQ(Get(dictionary.Get(), L"r", &value), S_OK);
  ASSERT_EQ(value.vt(), VT_I4);
  EXPECT_EQ(value.ref().lVal, 42);
}

TEST(DictionaryTest, ObjectValuesAreSharedNotCopiedAndReleasedWithTheDictionary) {
  ComPtr<IDictionary> globals = MakeDictionary();
  const ULONG base = RefCount(globals.Get());
  ComPtr<IDictionary> dictionary = MakeDictionary();
  ASSERT_EQ(Put(dictionary.Get(), L"Plugin.Globals", Variant::Unknown(globals.Get())), S_OK);
  ASSERT_EQ(Put(dictionary.Get(), L"Other", Variant::Unknown(globals.Get())), S_OK);
  {
    Variant read;
    ASSERT_EQ(Get(dictionary.Get(), L"Plugin.Globals", &read), S_OK);
    EXPECT_EQ(read.ref().punkVal, static_cast<IUnknown*>(globals.Get()));
    EXPECT_EQ(RefCount(globals.Get()), base + 3) << "a read adds a reference, no copy";
  }
  ASSERT_EQ(Put(dictionary.Get(), L"Plugin.Globals", Variant::I4(0)), S_OK);
  EXPECT_EQ(RefCount(globals.Get()), base + 1) << "replacing the value releases the object";
  dictionary.Reset();
  EXPECT_EQ(RefCount(globals.Get()), base);
}

// --- PutMultiple ------------------------------------------------------------------------------

// Names as the bulk methods take them: an array of pointers, nullptr standing for a null name.
struct NameArray {
  explicit NameArray(const std::vector<const wchar_t*>& names) {
    for (const wchar_t* n : names) storage.emplace_back(n != nullptr ? n : L"");
    for (std::size_t i = 0; i < names.size(); ++i) {
      pointers.push_back(names[i] != nullptr ? storage[i].data() : nullptr);
    }
  }
  std::vector<std::wstring> storage;
  std::vector<LPOLESTR> pointers;
};

struct PutMultipleCase {
  const char* name;
  ULONG bad_index;  // 120: none
  const wchar_t* bad;
};

class DictionaryPutMultipleTest : public ::testing::TestWithParam<PutMultipleCase> {};

TEST_P(DictionaryPutMultipleTest, StopsAtTheFirstBadNameKeepingEarlierOnes) {
  constexpr ULONG kCount = 120;
  const PutMultipleCase& c = GetParam();
  std::vector<std::wstring> names;
  std::vector<Variant> values;
  for (ULONG i = 0; i < kCount; ++i) {
    names.push_back(L"Meta.Item" + std::to_wstring(i));
    values.push_back(Variant::I4(static_cast<LONG>(i)));
  }
  std::vector<const wchar_t*> given;
  for (ULONG i = 0; i < kCount; ++i) given.push_back(i == c.bad_index ? c.bad : names[i].c_str());
  NameArray array(given);
  std::vector<VARIANT> raw;
  for (Variant& v : values) raw.push_back(v.ref());

  ComPtr<IDictionary> dictionary = MakeDictionary();
  EXPECT_EQ(dictionary->PutMultiple(kCount, array.pointers.data(), raw.data()),
            c.bad_index == kCount ? S_OK : E_INVALIDARG);
  const ULONG stored = c.bad_index;
  EXPECT_EQ(CountOf(dictionary.Get()), static_cast<LONG>(stored));
  for (ULONG i = 0; i < kCount; ++i) {
    Variant value;
    const HRESULT hr = Get(dictionary.Get(), names[i], &value);
    if (i < stored) {
      ASSERT_EQ(hr, S_OK) << "entry " << i;
      EXPECT_EQ(value.ref().lVal, static_cast<LONG>(i));
    } else {
      EXPECT_EQ(hr, E_FAIL) << "entry " << i << " follows the failure";
    }
  }
}

const PutMultipleCase kPutMultipleCases[] = {
    {"AllGood", 120, nullptr},     {"NullFirst", 0, nullptr}, {"NullInTheMiddle", 60, nullptr},
    {"EmptyInTheMiddle", 61, L""}, {"EmptyLast", 119, L""},
};

INSTANTIATE_TEST_SUITE_P(Names, DictionaryPutMultipleTest, ::testing::ValuesIn(kPutMultipleCases),
                         [](const auto& i) { return std::string(i.param.name); });

// A fill of an empty dictionary takes a faster path than puts into a full one, and remembers the
// order of the names it was last given: either way the outcome must be that of one put_Value
// after another.
struct FillCase {
  const char* name;
  std::vector<std::vector<std::wstring>> fills;  // successive PutMultiple calls, same array
};

class DictionaryFillTest : public ::testing::TestWithParam<FillCase> {};

TEST_P(DictionaryFillTest, GivesWhatOnePutAfterAnotherGives) {
  // One array of name buffers reused across the fills, as a caller with a fixed table does.
  std::vector<std::wstring> buffers(8, std::wstring(32, L'\0'));
  LONG serial = 0;
  for (const std::vector<std::wstring>& fill : GetParam().fills) {
    std::vector<LPOLESTR> pointers;
    std::vector<Variant> values;
    for (std::size_t i = 0; i < fill.size(); ++i) {
      buffers[i].assign(fill[i]);
      pointers.push_back(buffers[i].data());
      values.push_back(Variant::I4(++serial));
    }
    std::vector<VARIANT> raw;
    for (Variant& v : values) raw.push_back(v.ref());

    ComPtr<CDictionary> filled = MakeComObject<CDictionary>();
    ASSERT_EQ(filled->PutMultiple(static_cast<ULONG>(raw.size()), pointers.data(), raw.data()),
              S_OK);
    ComPtr<CDictionary> expected = MakeComObject<CDictionary>();
    for (std::size_t i = 0; i < fill.size(); ++i) {
      const Bstr name(fill[i]);
      ASSERT_EQ(expected->put_Value(name.get(), raw[i]), S_OK);
    }

    const std::vector<Bstr> names = filled->NamesAfter(Bstr(), 100);
    const std::vector<Bstr> expectedNames = expected->NamesAfter(Bstr(), 100);
    ASSERT_EQ(names.size(), expectedNames.size()) << GetParam().name;
    for (std::size_t i = 0; i < names.size(); ++i) {
      EXPECT_EQ(names[i].str(), expectedNames[i].str()) << GetParam().name;
      Variant got, want;
      ASSERT_EQ(filled->get_Value(names[i].get(), &got), S_OK);
      ASSERT_EQ(expected->get_Value(names[i].get(), &want), S_OK);
      EXPECT_EQ(got.ref().lVal, want.ref().lVal) << GetParam().name << " " << names[i].str();
    }
  }
}

const FillCase kFillCases[] = {
    {"InOrder", {{L"a", L"b", L"c"}}},
    {"Reversed", {{L"Plugin.Host", L"Plugin.Globals", L"File.Name", L"App.Version"}}},
    {"RepeatedNameLastWins", {{L"x", L"y", L"x", L"w", L"x"}}},
    {"SameTableTwice", {{L"m", L"k", L"z"}, {L"m", L"k", L"z"}}},
    {"SameTableNewNames", {{L"m", L"k", L"z"}, {L"z", L"m", L"k"}, {L"q", L"q", L"a"}}},
    {"PrefixesAndCase",
     {{L"Meta.IPTC.Photographer.City", L"Meta.IPTC.Photographer.", L"meta.iptc.photographer.city",
       L"Meta.IPTC.Photographer.Cit"}}},
};

INSTANTIATE_TEST_SUITE_P(Fills, DictionaryFillTest, ::testing::ValuesIn(kFillCases),
                         [](const auto& i) { return std::string(i.param.name); });

// TakeMultiple is PutMultiple for values made for the dictionary: moved in, except a value
// by reference, which would dangle and is stored as the value it points to.
TEST(DictionaryTest, TakeMultipleMovesValuesAndStopsWhereAPutWould) {
  LONG pointed = 7;
  VARIANT byRef;
  VariantInit(&byRef);
  byRef.vt = VT_BYREF | VT_I4;
  byRef.plVal = &pointed;
  std::wstring names[] = {L"Text", L"Number", L"Reference", L"", L"After"};
  std::vector<LPOLESTR> pointers;
  for (std::wstring& n : names) pointers.push_back(n.data());
  Variant values[] = {Variant::String(L"moved"), Variant::I4(3), Variant(), Variant::I4(4),
                      Variant::I4(5)};
  *values[2].get() = byRef;

  ComPtr<CDictionary> dictionary = MakeComObject<CDictionary>();
  EXPECT_EQ(dictionary->TakeMultiple(5, pointers.data(), values), E_INVALIDARG);
  EXPECT_EQ(values[0].ref().vt, VT_EMPTY) << "the text was taken over, not copied";
  Variant got;
  ASSERT_EQ(dictionary->get_Value(Bstr(L"Text").get(), &got), S_OK);
  EXPECT_EQ(std::wstring(got.ref().bstrVal), L"moved");
  ASSERT_EQ(dictionary->get_Value(Bstr(L"Reference").get(), &got), S_OK);
  EXPECT_EQ(got.ref().vt, VT_I4);
  EXPECT_EQ(got.ref().lVal, 7);
  EXPECT_EQ(dictionary->Test(Bstr(L"After").get()), S_FALSE) << "nothing after the bad name";
  EXPECT_EQ(values[4].ref().lVal, 5) << "values after the bad name stay the caller's";
}

TEST(DictionaryTest, NullArraysAreInvalid) {
  ComPtr<IDictionary> dictionary = MakeDictionary();
  std::wstring name = L"a";
  LPOLESTR names[] = {name.data()};
  VARIANT values[1];
  values[0].vt = VT_I4;
  EXPECT_EQ(dictionary->PutMultiple(0, nullptr, nullptr), S_OK);
  EXPECT_EQ(dictionary->PutMultiple(1, names, nullptr), E_INVALIDARG);
  EXPECT_EQ(dictionary->GetMultiple(1, names, nullptr), E_INVALIDARG);
  EXPECT_EQ(dictionary->GetMultiple(1, nullptr, values), E_INVALIDARG);
  EXPECT_EQ(values[0].vt, VT_EMPTY);
  EXPECT_EQ(dictionary->PutMultiple(1, nullptr, values), E_INVALIDARG);
  EXPECT_EQ(CountOf(dictionary.Get()), 0);
}

// --- GetMultiple ------------------------------------------------------------------------------

struct GetMultipleCase {
  const char* name;
  std::vector<const wchar_t*> names;  // nullptr: a null name
  HRESULT hr;
  std::vector<const wchar_t*> expected;  // the string values read, when hr is S_OK
};

class DictionaryGetMultipleTest : public ::testing::TestWithParam<GetMultipleCase> {};

TEST_P(DictionaryGetMultipleTest, ReadsAllOrNothing) {
  const GetMultipleCase& c = GetParam();
  ComPtr<IDictionary> dictionary = MakeDictionary();
  ASSERT_EQ(Put(dictionary.Get(), L"a", Variant::String(L"va")), S_OK);
  ASSERT_EQ(Put(dictionary.Get(), L"b", Variant::String(L"vb")), S_OK);
  ASSERT_EQ(Put(dictionary.Get(), L"c", Variant::String(L"vc")), S_OK);

  NameArray array(c.names);
  std::vector<LPOLESTR>& names = array.pointers;
  // Slots start as garbage-free integers so a slot left untouched is visible.
  std::vector<Variant> out(names.size());
  for (Variant& v : out) v = Variant::I4(-1);
  std::vector<VARIANT> raw(names.size());
  for (std::size_t i = 0; i < raw.size(); ++i) raw[i] = out[i].ref();

  EXPECT_EQ(dictionary->GetMultiple(static_cast<ULONG>(names.size()), names.data(), raw.data()),
            c.hr);
  for (std::size_t i = 0; i < raw.size(); ++i) {
    Variant owned;
    owned.Attach(&raw[i]);
    if (c.hr == S_OK) {
      ASSERT_EQ(owned.vt(), VT_BSTR) << "slot " << i;
      EXPECT_EQ(std::wstring(owned.ref().bstrVal), c.expected[i]) << "slot " << i;
    } else {
      EXPECT_EQ(owned.vt(), VT_EMPTY) << "slot " << i << ": the caller must own nothing";
    }
  }
}

const GetMultipleCase kGetMultipleCases[] = {
    {"All", {L"c", L"a", L"b"}, S_OK, {L"vc", L"va", L"vb"}},
    {"Repeated", {L"a", L"a"}, S_OK, {L"va", L"va"}},
    {"MissingLast", {L"a", L"b", L"zz"}, E_FAIL, {}},
    {"MissingFirst", {L"zz", L"a"}, E_FAIL, {}},
    {"OtherCase", {L"a", L"B"}, E_FAIL, {}},
    {"NullName", {L"a", nullptr}, E_INVALIDARG, {}},
    {"EmptyName", {L"a", L""}, E_INVALIDARG, {}},
    {"None", {}, S_OK, {}},
};

INSTANTIATE_TEST_SUITE_P(Names, DictionaryGetMultipleTest, ::testing::ValuesIn(kGetMultipleCases),
                         [](const auto& i) { return std::string(i.param.name); });

// --- MergeTo ----------------------------------------------------------------------------------

TEST(DictionaryTest, MergeToCopiesEveryEntryAndOverwrites) {
  ComPtr<IDictionary> source = MakeDictionary();
  ComPtr<IDictionary> target = MakeDictionary();
  ASSERT_EQ(Put(source.Get(), L"a", Variant::I4(1)), S_OK);
  ASSERT_EQ(Put(source.Get(), L"b", Variant::I4(2)), S_OK);
  ASSERT_EQ(Put(target.Get(), L"b", Variant::I4(20)), S_OK);
  ASSERT_EQ(Put(target.Get(), L"c", Variant::I4(30)), S_OK);
  ASSERT_EQ(source->MergeTo(target.Get()), S_OK);
  ASSERT_EQ(source->MergeTo(source.Get()), S_OK) << "merging into itself changes nothing";
  const auto value = [](IDictionary* d, const wchar_t* name) {
    Variant v = Variant::I4(-1);
    return Get(d, name, &v) == S_OK ? v.ref().lVal : -1;
  };
  EXPECT_EQ(value(target.Get(), L"a") * 100 + value(target.Get(), L"b"), 102);
  EXPECT_EQ(value(target.Get(), L"c"), 30);
  EXPECT_EQ(CountOf(target.Get()), 3);
  EXPECT_EQ(value(source.Get(), L"b"), 2);
  EXPECT_EQ(CountOf(source.Get()), 2) << "merging leaves the source alone";
}

// --- Creation ---------------------------------------------------------------------------------

TEST(DictionaryTest, CreatorRefusesAggregationAndUnknownInterfaces) {
  ComPtr<IDictionary> outer = MakeDictionary();
  void* object = reinterpret_cast<void*>(1);
  EXPECT_EQ(CreateDictionary(outer.Get(), IID_IUnknown, &object), CLASS_E_NOAGGREGATION);
  EXPECT_EQ(object, nullptr);
  EXPECT_EQ(CreateDictionary(nullptr, IID_IStream, &object), E_NOINTERFACE);
  EXPECT_EQ(CreateDictionary(nullptr, IID_IUnknown, nullptr), E_INVALIDARG);

  const IID interfaces[] = {IID_IUnknown, IID_IDispatch, IID_IDictionary};
  for (const IID& iid : interfaces) {
    ComPtr<IUnknown> created;
    ASSERT_EQ(CreateDictionary(nullptr, iid, reinterpret_cast<void**>(created.GetAddressOf())),
              S_OK);
    EXPECT_TRUE(created);
  }
  EXPECT_TRUE(IsEqualGUID(IID_IDictionary, IidOf<IDictionary>()));
}

}  // namespace
}  // namespace lmk::test
