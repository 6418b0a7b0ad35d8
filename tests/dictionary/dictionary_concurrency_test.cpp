// Stress test: many threads putting, reading, testing, enumerating and merging at once.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "dictionary/dictionary.h"
#include "dictionary_test_util.h"

namespace lmk::test {
namespace {

constexpr int kThreads = 8;
constexpr int kPerThread = 150;

std::wstring KeyOf(const wchar_t* family, int thread, int i) {
  return std::wstring(family) + std::to_wstring(thread) + L"." + std::to_wstring(i);
}

// Walks the whole dictionary; names must come strictly in order, never twice.
void CheckEnumeration(IDictionary* dictionary, std::atomic<int>* failures) {
  ComPtr<IUnknown> unknown;
  ComPtr<IEnumVARIANT> enumerator;
  if (dictionary->get__NewEnum(&unknown) != S_OK || unknown.As(&enumerator) != S_OK) {
    ++*failures;
    return;
  }
  Bstr previous;
  VARIANT slots[16];
  for (;;) {
    ULONG fetched = 0;
    const HRESULT hr = enumerator->Next(16, slots, &fetched);
    for (ULONG i = 0; i < fetched; ++i) {
      Variant name;
      name.Attach(&slots[i]);
      Bstr current(std::wstring_view(name.ref().bstrVal, SysStringLen(name.ref().bstrVal)));
      if (!previous.empty() && VarBstrCmp(previous.get(), current.get(), LOCALE_USER_DEFAULT, 0) !=
                                   static_cast<HRESULT>(VARCMP_LT)) {
        ++*failures;
      }
      previous = std::move(current);
    }
    if (hr != S_OK) return;
  }
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
    if (i % 25 == 0) CheckEnumeration(id % 3 == 0 ? first : second, failures);
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
  std::atomic<int> finished{0};
  std::mutex done_lock;
  std::condition_variable done;

  std::vector<std::thread> threads;
  for (int id = 0; id < kThreads; ++id) {
    threads.emplace_back([&, id] {
      Worker(id, first.Get(), second.Get(), &failures);
      std::lock_guard guard(done_lock);
      ++finished;
      done.notify_all();
    });
  }
  {
    std::unique_lock guard(done_lock);
    if (!done.wait_for(guard, std::chrono::seconds(60), [&] { return finished == kThreads; })) {
      // Threads stuck on each other's locks cannot be joined; report and leave at once.
      std::fprintf(stderr, "dictionary threads deadlocked\n");
      std::_Exit(1);
    }
  }
  for (std::thread& thread : threads) thread.join();
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
