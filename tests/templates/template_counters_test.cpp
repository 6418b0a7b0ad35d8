// The persistent counters: formats, cycling, preview, transactions, threads.
#include "templates/template_counters.h"

#include <gtest/gtest.h>

#include <set>
#include <thread>
#include <vector>

#include "platform/settings_store.h"
#include "settings_fixture.h"
#include "templates/template_expander.h"

namespace lmk {
namespace {

std::shared_ptr<SettingsStore> UserStore() {
  std::shared_ptr<SettingsStore> store;
  EXPECT_EQ(SettingsStore::Open(SettingsScope::CurrentUser, &store), S_OK);
  return store;
}

uint32_t Stored(const wchar_t* name) {
  RegValue value;
  if (FAILED(UserStore()->GetValue(TemplateCounters::kKey, name, &value))) return 0xFFFFFFFF;
  return static_cast<uint32_t>(value.number);
}

std::wstring Expand(const std::wstring& templ, TemplateContext* context = nullptr) {
  std::wstring result;
  EXPECT_EQ(ExpandTemplate(nullptr, templ, &result, context), S_OK);
  return result;
}

struct CounterCase {
  const char* name;
  const wchar_t* value_name;
  uint32_t stored;
  std::wstring templ;
  std::wstring shown;
  uint32_t stored_after;
};

class Counter : public ::testing::TestWithParam<CounterCase> {};

TEST_P(Counter, ShowsAndAdvances) {
  test::ScopedConfigDir config;
  const CounterCase& c = GetParam();
  ASSERT_EQ(UserStore()->SetValue(TemplateCounters::kKey, c.value_name, RegValue::Dword(c.stored)),
            S_OK);
  EXPECT_EQ(Expand(c.templ), c.shown);
  EXPECT_EQ(Stored(c.value_name), c.stored_after);
}

const CounterCase kCounters[] = {
    {"IncrementPlain", L"AutoIncrementValue", 41, L"{AutoIncrement}", L"41", 42},
    {"IncrementHex4", L"AutoIncrementValue", 255, L"{AutoIncrement:1}", L"00ff", 256},
    {"IncrementPadded", L"AutoIncrementValue", 7, L"{AutoIncrement:4}", L"0007", 8},
    {"IncrementHex8", L"AutoIncrementValue", 255, L"{AutoIncrement:9}", L"000000ff", 256},
    {"IncrementWraps", L"AutoIncrementValue", 0xFFFFFFFF, L"{AutoIncrement}", L"4294967295", 0},
    {"CycleOneAfterNine", L"AutoCycleValue1", 9, L"{AutoCycle:1}", L"9", 0},
    {"CycleTwoWraps", L"AutoCycleValue2", 99, L"{AutoCycle:2}", L"99", 0},
    {"CycleTwoPadded", L"AutoCycleValue2", 5, L"{AutoCycle:2}", L"05", 6},
    {"CycleZeroCounts", L"AutoCycleValue0", 12345, L"{AutoCycle}", L"12345", 12346},
    {"CycleStoredBeyondModulus", L"AutoCycleValue2", 1234, L"{AutoCycle:2}", L"34", 35},
    {"CycleClampedToNine", L"AutoCycleValue9", 3, L"{AutoCycle:12}", L"000000003", 4},
    {"TwoTokensTwoValues", L"AutoIncrementValue", 1, L"{AutoIncrement}-{AutoIncrement}", L"1-2", 3},
};

INSTANTIATE_TEST_SUITE_P(Templates, Counter, ::testing::ValuesIn(kCounters),
                         [](const auto& info) { return std::string(info.param.name); });

TEST(CounterTest, AbsentCounterStartsAtZero) {
  test::ScopedConfigDir config;
  EXPECT_EQ(Expand(L"{AutoCycle:3}"), L"000");
  EXPECT_EQ(Stored(L"AutoCycleValue3"), 1u);
}

TEST(CounterTest, PreviewReadsWithoutAdvancing) {
  test::ScopedConfigDir config;
  ASSERT_EQ(UserStore()->SetValue(TemplateCounters::kKey, L"AutoCycleValue1", RegValue::Dword(9)),
            S_OK);
  TemplateContext context;
  context.set_preview(true);
  EXPECT_EQ(Expand(L"{AutoCycle:1}{AutoCycle:1}{AutoIncrement}", &context), L"990");
  EXPECT_EQ(Stored(L"AutoCycleValue1"), 9u);
  EXPECT_EQ(Stored(TemplateCounters::kIncrementName), 0xFFFFFFFFu);  // still absent
}

TEST(CounterTest, RolledBackTransactionLeavesCounter) {
  test::ScopedConfigDir config;
  std::shared_ptr<SettingsStore> store = UserStore();
  std::wstring shown;
  HRESULT hr = store->Transact([&](SettingsStore& transaction) {
    TemplateContext context;
    context.set_transaction(&transaction);
    EXPECT_EQ(ExpandTemplate(nullptr, L"{AutoIncrement}{AutoIncrement}", &shown, &context), S_OK);
    return E_ABORT;
  });
  EXPECT_EQ(hr, E_ABORT);
  EXPECT_EQ(shown, L"01");
  EXPECT_EQ(Stored(TemplateCounters::kIncrementName), 0xFFFFFFFFu);
}

TEST(CounterTest, EightThreadsNeverShareAValue) {
  test::ScopedConfigDir config;
  constexpr int kThreads = 8;
  constexpr int kPerThread = 1000;
  std::vector<std::vector<std::wstring>> seen(kThreads);
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&seen, t] {
      for (int i = 0; i < kPerThread; ++i) {
        std::wstring value;
        if (ExpandTemplate(nullptr, L"{AutoIncrement}", &value) == S_OK) seen[t].push_back(value);
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  std::set<std::wstring> distinct;
  for (const auto& values : seen) {
    EXPECT_EQ(values.size(), static_cast<size_t>(kPerThread));
    distinct.insert(values.begin(), values.end());
  }
  EXPECT_EQ(distinct.size(), static_cast<size_t>(kThreads * kPerThread));
  EXPECT_EQ(distinct.count(L"0"), 1u);
  EXPECT_EQ(Stored(TemplateCounters::kIncrementName), static_cast<uint32_t>(kThreads * kPerThread));
}

}  // namespace
}  // namespace lmk
