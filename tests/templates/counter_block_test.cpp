// Counter blocks: values in order, the rest given back only when nobody came after, no repeats.
#include "templates/counter_block.h"

#include <gtest/gtest.h>

#include <string>

#include "platform/settings_store.h"
#include "settings_fixture.h"
#include "templates/template_counters.h"
#include "templates/template_expander.h"

namespace lmk {
namespace {

// What another process does to the counter while the block is held.
enum class Other { kNothing, kReserved, kStepped, kKilled };

struct BlockCase {
  const char* name;
  const wchar_t* counter;
  uint32_t modulus;
  uint32_t before;
  int takes;
  Other other;
  std::wstring shown;  // the first and the last value handed out
  uint32_t after;      // the stored value once the block has ended
};

void PrintTo(const BlockCase& c, std::ostream* os) { *os << c.name; }

class Block : public ::testing::TestWithParam<BlockCase> {};

TEST_P(Block, HandsOutInOrderAndGivesBackOnlyWhatNobodyPassed) {
  const BlockCase& c = GetParam();
  test::ScopedConfigDir config;
  std::shared_ptr<SettingsStore> store;
  ASSERT_EQ(SettingsStore::Open(SettingsScope::CurrentUser, &store), S_OK);
  ASSERT_EQ(store->SetValue(TemplateCounters::kKey, c.counter, RegValue::Dword(c.before)), S_OK);
  CounterBlock block(c.counter, c.modulus);
  uint32_t first = 0;
  uint32_t value = 0;
  for (int i = 0; i < c.takes; ++i) {
    ASSERT_EQ(block.Take(*store, &value), S_OK);
    if (i == 0)
      first = value;
    else
      EXPECT_EQ(value, CounterBlock::Advance(first, i, c.modulus)) << "take " << i;
  }
  RegValue stored;
  ASSERT_EQ(store->GetValue(TemplateCounters::kKey, c.counter, &stored), S_OK);
  if (c.other == Other::kReserved) {
    CounterBlock theirs(c.counter, c.modulus);
    uint32_t their_first = 0;
    ASSERT_EQ(theirs.Take(*store, &their_first), S_OK);
    EXPECT_EQ(their_first, stored.number);  // past the whole of our block
  } else if (c.other == Other::kStepped) {
    ASSERT_EQ(store->SetValue(TemplateCounters::kKey, c.counter,
                              RegValue::Dword(CounterBlock::Advance(stored.number, 1, c.modulus))),
              S_OK);
  }
  if (c.other != Other::kKilled) EXPECT_EQ(block.GiveBack(*store), S_OK);
  EXPECT_EQ(std::to_wstring(first) + L".." + std::to_wstring(value), c.shown);
  ASSERT_EQ(store->GetValue(TemplateCounters::kKey, c.counter, &stored), S_OK);
  EXPECT_EQ(stored.number, c.after);
}

const BlockCase kBlockCases[] = {
    {"IncrementRestGivenBack", L"AutoIncrementValue", 0, 41, 3, Other::kNothing, L"41..43", 44},
    {"SecondBlockFollowsFirst", L"AutoIncrementValue", 0, 0, 100, Other::kNothing, L"0..99", 100},
    {"IncrementWraps", L"AutoIncrementValue", 0, 4294967294u, 3, Other::kNothing, L"4294967294..0",
     1},
    {"CycleWrapsInsideBlock", L"AutoCycleValue1", 10, 8, 3, Other::kNothing, L"8..0", 1},
    {"CycleStoredBeyondModulus", L"AutoCycleValue2", 100, 1234, 2, Other::kNothing, L"1234..35",
     36},
    {"ReservedAfterKeepsTheirs", L"AutoIncrementValue", 0, 5, 2, Other::kReserved, L"5..6", 133},
    {"SteppedAfterKeepsGap", L"AutoIncrementValue", 0, 5, 2, Other::kStepped, L"5..6", 70},
    {"KilledLeavesGap", L"AutoIncrementValue", 0, 5, 2, Other::kKilled, L"5..6", 69},
    {"CycleSteppedAfterKeepsGap", L"AutoCycleValue1", 10, 0, 2, Other::kStepped, L"0..1", 5},
};

INSTANTIATE_TEST_SUITE_P(Templates, Block, ::testing::ValuesIn(kBlockCases),
                         [](const auto& info) { return std::string(info.param.name); });

// A run's preview shows the block's next value without taking it, and after the run the
// stored counter stands where single steps would have left it.
TEST(CounterBlockRun, PreviewPeeksAndTheRunEndsDense) {
  test::ScopedConfigDir config;
  std::wstring shown;
  {
    const TemplateCounters::RunScope run;
    TemplateContext preview;
    preview.set_preview(true);
    std::wstring peeked;
    ASSERT_EQ(ExpandTemplate(nullptr, L"{AutoCycle:2}", &shown), S_OK);
    ASSERT_EQ(ExpandTemplate(nullptr, L"{AutoCycle:2}", &peeked, &preview), S_OK);
    ASSERT_EQ(ExpandTemplate(nullptr, L"{AutoCycle:2}", &shown), S_OK);
    EXPECT_EQ(peeked + shown, L"0101");
  }
  TemplateContext preview;
  preview.set_preview(true);
  ASSERT_EQ(ExpandTemplate(nullptr, L"{AutoCycle:2}", &shown, &preview), S_OK);
  EXPECT_EQ(shown, L"02");
}

}  // namespace
}  // namespace lmk
