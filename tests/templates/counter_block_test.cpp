// Counter blocks: values in order, the rest given back only when nobody came after, no repeats.
#include "templates/counter_block.h"

#include <gtest/gtest.h>

#include <string>

#include "platform/settings_store.h"
#include "settings_fixture.h"
#include "templates/template_counters.h"

namespace lmk {
namespace {

// What another process does to the counter while the block is held.
enum class Other { kNothing, kReserved, kStepped, kKilled };

struct BlockCase {
  const char* name;
  uint32_t modulus, before;
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
  const wchar_t* name = TemplateCounters::kIncrementName;
  ASSERT_EQ(store->SetValue(TemplateCounters::kKey, name, RegValue::Dword(c.before)), S_OK);
  CounterBlock block(name, c.modulus);
  uint32_t first = 0, value = 0, theirs = 0;
  for (int i = 0; i < c.takes; ++i) {
    ASSERT_EQ(block.Take(*store, &value), S_OK);
    if (i == 0) first = value;
    if (i > 0) EXPECT_EQ(value, CounterBlock::Advance(first, i, c.modulus)) << "take " << i;
  }
  RegValue stored;
  ASSERT_EQ(store->GetValue(TemplateCounters::kKey, name, &stored), S_OK);
  if (c.other == Other::kReserved) {
    ASSERT_EQ(CounterBlock(name, c.modulus).Take(*store, &theirs), S_OK);
    EXPECT_EQ(theirs, stored.number);  // past the whole of our block
  } else if (c.other == Other::kStepped) {
    const uint32_t next = CounterBlock::Advance(stored.number, 1, c.modulus);
    ASSERT_EQ(store->SetValue(TemplateCounters::kKey, name, RegValue::Dword(next)), S_OK);
  }
  if (c.other != Other::kKilled) EXPECT_EQ(block.GiveBack(*store), S_OK);
  EXPECT_EQ(std::to_wstring(first) + L".." + std::to_wstring(value), c.shown);
  ASSERT_EQ(store->GetValue(TemplateCounters::kKey, name, &stored), S_OK);
  EXPECT_EQ(stored.number, c.after);
}

// Blocks hold 64 values, then 128: "before + 64" is where a first block leaves the counter.
const BlockCase kBlockCases[] = {
    {"RestGivenBack", 0, 41, 3, Other::kNothing, L"41..43", 44},
    {"IncrementWraps", 0, 4294967294u, 3, Other::kNothing, L"4294967294..0", 1},
    {"CycleWrapsInsideBlock", 10, 8, 3, Other::kNothing, L"8..0", 1},
    {"CycleStoredBeyondModulus", 100, 1234, 2, Other::kNothing, L"1234..35", 36},
    {"ReservedAfterKeepsTheirs", 0, 5, 2, Other::kReserved, L"5..6", 133},
    {"SteppedAfterKeepsGap", 0, 5, 2, Other::kStepped, L"5..6", 70},
    {"KilledLeavesGap", 0, 5, 2, Other::kKilled, L"5..6", 69},
    {"CycleSteppedAfterKeepsGap", 10, 0, 2, Other::kStepped, L"0..1", 5},
};

INSTANTIATE_TEST_SUITE_P(Templates, Block, ::testing::ValuesIn(kBlockCases),
                         [](const auto& info) { return std::string(info.param.name); });

}  // namespace
}  // namespace lmk
