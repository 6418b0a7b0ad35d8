// Tests of the dictionary's methods (HRESULTs, names, bulk reads and writes),
// of its enumerator, and of many threads using one dictionary at once.
#include "dictionary/dictionary.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <future>
#include <sstream>
#include <string>
#include <vector>

#include "dictionary/dictionary_enum_variant.h"
#include "dictionary_test_util.h"

namespace lmk::test {
namespace {

class DictionaryLookupTest : public ::testing::TestWithParam<CaseRow> {};

TEST_P(DictionaryLookupTest, GetAndTest) {
  const CaseRow& c = GetParam();
  ComPtr<IDictionary> dictionary = MakeDictionary();
  for (const auto& [name, value] : {std::pair{L"File.Name", 1}, {L"file.name", 2}, {L"A", 3}}) {
    ASSERT_EQ(Put(dictionary.Get(), name, Variant::I4(value)), S_OK);
  }
  Variant value = Variant::I4(-1);
  EXPECT_EQ(dictionary->get_Value(Key(c[0]).get(), &value), HrNamed(c[1]));
  EXPECT_EQ(value.vt(), c[3].empty() ? VT_EMPTY : VT_I4) << "a failed read leaves no value";
  EXPECT_EQ(value.vt() == VT_I4 ? value.ref().lVal : 0, c[3].empty() ? 0 : std::stoi(c[3]));
  EXPECT_EQ(dictionary->Test(Key(c[0]).get()), HrNamed(c[2]));
}

INSTANTIATE_TEST_SUITE_P(Names, DictionaryLookupTest, ::testing::ValuesIn(Calls("get")), CaseName);

class DictionaryPutTest : public ::testing::TestWithParam<CaseRow> {};

TEST_P(DictionaryPutTest, AddsOrReplaces) {
  const CaseRow& c = GetParam();
  ComPtr<IDictionary> dictionary = MakeDictionary();
  ASSERT_EQ(Put(dictionary.Get(), L"x", Variant::I4(1)), S_OK);
  EXPECT_EQ(dictionary->put_Value(Key(c[0]).get(), Variant::String(L"new").ref()), HrNamed(c[1]));
  EXPECT_EQ(CountOf(dictionary.Get()), std::stoi(c[2]));
  Variant value;
  if (c[1] != "S_OK") return;
  ASSERT_EQ(dictionary->get_Value(Key(c[0]).get(), &value), S_OK);
  EXPECT_EQ(value.vt() == VT_BSTR ? std::wstring(value.ref().bstrVal) : L"", L"new");
}

INSTANTIATE_TEST_SUITE_P(Names, DictionaryPutTest, ::testing::ValuesIn(Calls("put")), CaseName);

class DictionaryPutMultipleTest : public ::testing::TestWithParam<CaseRow> {};

TEST_P(DictionaryPutMultipleTest, StopsAtTheFirstBadNameKeepingEarlierOnes) {
  constexpr ULONG kCount = 120;
  const ULONG bad = std::stoul(GetParam()[0]);
  std::vector<std::wstring> names;
  std::vector<LPOLESTR> pointers;
  std::vector<VARIANT> values;
  for (ULONG i = 0; i < kCount; ++i) {
    names.push_back(i == bad ? L"" : L"Meta.Item" + std::to_wstring(i));
    values.push_back(Variant::I4(static_cast<LONG>(i)).ref());
  }
  for (std::wstring& name : names) pointers.push_back(name.data());
  if (bad < kCount && GetParam()[1] == "(null)") pointers[bad] = nullptr;

  ComPtr<IDictionary> dictionary = MakeDictionary();
  EXPECT_EQ(dictionary->PutMultiple(kCount, pointers.data(), values.data()),
            bad == kCount ? S_OK : E_INVALIDARG);
  EXPECT_EQ(CountOf(dictionary.Get()), static_cast<LONG>(bad));
  for (ULONG i = 0; i < kCount; ++i) {
    Variant value;
    EXPECT_EQ(Get(dictionary.Get(), L"Meta.Item" + std::to_wstring(i), &value),
              i < bad ? S_OK : E_FAIL)
        << "entry " << i << ": only those before the failure are kept";
    EXPECT_EQ(value.vt() == VT_I4 ? value.ref().lVal : -1, i < bad ? static_cast<LONG>(i) : -1);
  }
}

INSTANTIATE_TEST_SUITE_P(Names, DictionaryPutMultipleTest,
                         ::testing::ValuesIn(Calls("putmultiple")), CaseName);

// A fill of an empty dictionary takes a faster path than puts into a full one: PutMultiple
// remembers the order of the names it was last given, TakeMultiple moves the values in under
// names sorted once and shared between fills. Either way the outcome must be that of one
// put_Value after another, also when the caller's name buffers change between fills and after
// later puts.
class DictionaryFillTest : public ::testing::TestWithParam<CaseRow> {};

TEST_P(DictionaryFillTest, GivesWhatOnePutAfterAnotherGives) {
  // One array of name buffers reused across the fills, as a caller with a fixed table does.
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
    std::vector<VARIANT> raw;
    for (Variant& v : values) raw.push_back(v.ref());
    const auto count = static_cast<ULONG>(values.size());
    ComPtr<CDictionary> put = MakeComObject<CDictionary>();
    ASSERT_EQ(put->PutMultiple(count, pointers.data(), raw.data()), S_OK);
    ComPtr<CDictionary> taken = MakeComObject<CDictionary>();
    ASSERT_EQ(taken->TakeMultiple(count, pointers.data(), values.data()), S_OK);
    // Names put one by one land between the shared ones.
    for (const wchar_t* extra : {L"0", L"Meta.IPTC.Photographer.Ci", L"~"}) {
      for (CDictionary* d : {expected.Get(), put.Get(), taken.Get()}) {
        ASSERT_EQ(Put(d, extra, Variant::I4(-1)), S_OK);
      }
    }

    const std::vector<Bstr> names = expected->NamesAfter(Bstr(), 100);
    for (CDictionary* d : {put.Get(), taken.Get()}) {
      const std::vector<Bstr> got = d->NamesAfter(Bstr(), 100);
      ASSERT_EQ(got.size(), names.size());
      for (std::size_t i = 0; i < names.size(); ++i) {
        EXPECT_EQ(got[i].str(), names[i].str());
        Variant value, want;
        ASSERT_EQ(d->get_Value(names[i].get(), &value), S_OK) << names[i].str();
        ASSERT_EQ(expected->get_Value(names[i].get(), &want), S_OK);
        EXPECT_EQ(value.ref().lVal, want.ref().lVal) << names[i].str();
      }
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Fills, DictionaryFillTest, ::testing::ValuesIn(Calls("fill")), CaseName);

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

TEST(DictionaryTest, NullPointersAndArraysAreInvalid) {
  ComPtr<IDictionary> dictionary = MakeDictionary();
  std::wstring name = L"a";
  LPOLESTR names[] = {name.data()};
  VARIANT values[1];
  values[0].vt = VT_I4;
  EXPECT_EQ(dictionary->get_Value(Bstr(L"a").get(), nullptr), E_INVALIDARG);
  EXPECT_EQ(dictionary->get_Count(nullptr), E_INVALIDARG);
  EXPECT_EQ(dictionary->get__NewEnum(nullptr), E_INVALIDARG);
  EXPECT_EQ(dictionary->MergeTo(nullptr), E_INVALIDARG);
  EXPECT_EQ(dictionary->PutMultiple(0, nullptr, nullptr), S_OK);
  EXPECT_EQ(dictionary->PutMultiple(1, names, nullptr), E_INVALIDARG);
  EXPECT_EQ(dictionary->GetMultiple(1, names, nullptr), E_INVALIDARG);
  EXPECT_EQ(dictionary->GetMultiple(1, nullptr, values), E_INVALIDARG);
  EXPECT_EQ(values[0].vt, VT_EMPTY);
  EXPECT_EQ(dictionary->PutMultiple(1, nullptr, values), E_INVALIDARG);
  EXPECT_EQ(CountOf(dictionary.Get()), 0);
}

class DictionaryGetMultipleTest : public ::testing::TestWithParam<CaseRow> {};

TEST_P(DictionaryGetMultipleTest, ReadsAllOrNothing) {
  const CaseRow& c = GetParam();
  ComPtr<IDictionary> dictionary = MakeDictionary();
  for (const wchar_t* name : {L"a", L"b", L"c"}) {
    ASSERT_EQ(Put(dictionary.Get(), name, Variant::String(std::wstring(L"v") + name)), S_OK);
  }
  std::vector<std::wstring> texts;
  for (const std::string& name : Split(c[0])) texts.push_back(Widen(name));
  std::vector<LPOLESTR> names;
  for (std::wstring& t : texts) names.push_back(t == L"(null)" ? nullptr : t.data());
  // Slots start as integers so that a slot left untouched is visible.
  std::vector<VARIANT> raw(names.size());
  for (VARIANT& v : raw) v = Variant::I4(-1).ref();
  EXPECT_EQ(dictionary->GetMultiple(static_cast<ULONG>(raw.size()), names.data(), raw.data()),
            HrNamed(c[1]));
  const std::vector<std::string> expected = Split(c[2]);
  for (std::size_t i = 0; i < raw.size(); ++i) {
    Variant owned;
    owned.Attach(&raw[i]);
    ASSERT_EQ(owned.vt(), expected.empty() ? VT_EMPTY : VT_BSTR) << "the caller owns all or none";
    EXPECT_EQ(owned.vt() == VT_BSTR ? std::wstring(owned.ref().bstrVal) : L"",
              expected.empty() ? L"" : Widen(expected[i]));
  }
}

INSTANTIATE_TEST_SUITE_P(Names, DictionaryGetMultipleTest,
                         ::testing::ValuesIn(Calls("getmultiple")), CaseName);

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

// True when the names come in the dictionary's comparison order, none twice.
bool StrictlyOrdered(const std::vector<std::wstring>& names) {
  for (std::size_t i = 1; i < names.size(); ++i) {
    if (VarBstrCmp(Bstr(names[i - 1]).get(), Bstr(names[i]).get(), LOCALE_USER_DEFAULT, 0) !=
        static_cast<HRESULT>(VARCMP_LT)) {
      return false;
    }
  }
  return true;
}

class DictionaryEnumStepsTest : public ::testing::TestWithParam<CaseRow> {};

TEST_P(DictionaryEnumStepsTest, Walk) {
  ComPtr<IDictionary> dictionary = MakeDictionary();
  for (const wchar_t* name : {L"e", L"c", L"a", L"d", L"b"}) {
    ASSERT_EQ(Put(dictionary.Get(), name, Variant::I4(0)), S_OK);
  }
  ComPtr<IEnumVARIANT> enumerator = EnumOf(dictionary.Get());
  for (const std::string& step : Split(GetParam()[0], ';')) {
    SCOPED_TRACE(step);
    std::istringstream in(step);
    std::string kind, hr;
    ULONG count = 0;
    in >> kind >> count >> hr;
    if (kind != "next") {
      EXPECT_EQ(kind == "skip" ? enumerator->Skip(count) : enumerator->Reset(), HrNamed(hr));
      continue;
    }
    std::vector<std::wstring> names;
    for (std::string name; in >> name;) names.push_back(Widen(name));
    std::vector<VARIANT> slots(count + 1);
    for (VARIANT& slot : slots) slot.vt = VT_I4;  // must be initialised by Next
    ULONG fetched = 99;
    EXPECT_EQ(enumerator->Next(count, slots.data(), &fetched), HrNamed(hr));
    ASSERT_EQ(fetched, names.size());
    for (ULONG i = 0; i < count; ++i) {
      Variant owned;
      owned.Attach(&slots[i]);
      ASSERT_EQ(owned.vt(), i < fetched ? VT_BSTR : VT_EMPTY);
      EXPECT_EQ(i < fetched ? std::wstring(owned.ref().bstrVal) : L"",
                i < fetched ? names[i] : L"");
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Steps, DictionaryEnumStepsTest, ::testing::ValuesIn(Calls("enum")),
                         CaseName);

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

constexpr int kThreads = 8;
constexpr int kPerThread = 150;

std::wstring KeyOf(const wchar_t* family, int thread, int i) {
  return std::wstring(family) + std::to_wstring(thread) + L"." + std::to_wstring(i);
}

void Worker(int id, IDictionary* first, IDictionary* second, std::atomic<int>* failures) {
  IDictionary* mine = id % 2 == 0 ? first : second;
  for (int i = 0; i < kPerThread; ++i) {
    const std::wstring key = KeyOf(L"t", id, i);
    if (Put(mine, key, Variant::String(key)) != S_OK) ++*failures;
    // A value every thread replaces: readers must never see a freed string.
    if (Put(first, L"shared", Variant::String(L"v" + std::to_wstring(i))) != S_OK) ++*failures;
    Variant read;
    if (Get(mine, key, &read) != S_OK || read.vt() != VT_BSTR || key != read.ref().bstrVal) {
      ++*failures;
    }
    Variant shared;
    if (Get(first, L"shared", &shared) != S_OK || shared.vt() != VT_BSTR ||
        shared.ref().bstrVal[0] != L'v') {
      ++*failures;
    }
    if (TestName(mine, key) != S_OK) ++*failures;
    if (i % 25 == 0 && !StrictlyOrdered(Drain(EnumOf(id % 3 == 0 ? first : second).Get(), 16))) {
      ++*failures;
    }
    if (i % 30 == 0) {
      // Both directions at once from different threads.
      const HRESULT hr = id % 2 == 0 ? first->MergeTo(second) : second->MergeTo(first);
      if (hr != S_OK) ++*failures;
    }
  }
}

TEST(DictionaryConcurrencyTest, NoLostEntriesNoDeadlock) {
  ComPtr<IDictionary> first = MakeDictionary();
  ComPtr<IDictionary> second = MakeDictionary();
  std::atomic<int> failures{0};
  std::vector<std::future<void>> workers;
  for (int id = 0; id < kThreads; ++id) {
    workers.push_back(
        std::async(std::launch::async, Worker, id, first.Get(), second.Get(), &failures));
  }
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(60);
  for (auto& worker : workers) {
    if (worker.wait_until(deadline) != std::future_status::ready) {
      // Threads stuck on each other's locks cannot be joined; report and leave at once.
      std::fprintf(stderr, "dictionary threads deadlocked\n");
      std::_Exit(1);
    }
  }
  EXPECT_EQ(failures.load(), 0);

  ASSERT_EQ(first->MergeTo(second.Get()), S_OK);
  ASSERT_EQ(second->MergeTo(first.Get()), S_OK);
  const LONG expected = kThreads * kPerThread + 1;  // every thread's keys plus "shared"
  EXPECT_EQ(CountOf(first.Get()), expected);
  EXPECT_EQ(CountOf(second.Get()), expected);
  for (int id = 0; id < kThreads; ++id) {
    for (int i = 0; i < kPerThread; ++i) {
      const std::wstring key = KeyOf(L"t", id, i);
      Variant value;
      ASSERT_EQ(Get(first.Get(), key, &value), S_OK) << "lost entry";
      EXPECT_EQ(key, value.ref().bstrVal);
    }
  }
}

}  // namespace
}  // namespace lmk::test
