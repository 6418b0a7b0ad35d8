// The persistent counters: formats, cycling, preview, transactions, threads.
#include "templates/template_counters.h"

#include <gtest/gtest.h>

#include <set>
#include <thread>
#include <vector>

#include "platform/settings_store.h"
#include "settings_fixture.h"
#include "support/data_table.h"
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

class Counter : public ::testing::TestWithParam<test::NamedRow> {};

TEST_P(Counter, ShowsAndAdvances) {
  test::ScopedConfigDir config;
  const test::DataRow& f = GetParam().f;
  const std::wstring name = test::Widen(f[0]);
  ASSERT_EQ(UserStore()->SetValue(TemplateCounters::kKey, name,
                                  RegValue::Dword(static_cast<uint32_t>(std::stoul(f[1])))),
            S_OK);
  EXPECT_EQ(Expand(test::Widen(f[2])), test::Widen(f[3]));
  EXPECT_EQ(Stored(name.c_str()), std::stoul(f[4]));
}

INSTANTIATE_TEST_SUITE_P(Templates, Counter,
                         ::testing::ValuesIn(test::NamedRows("template_counters.txt")),
                         [](const auto& info) { return info.param.name; });

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
  // Held open as a run holds it, so that each expansion does not reopen the database.
  const std::shared_ptr<SettingsStore> store = UserStore();
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
