// A cancelled run does not sit behind a volume lock that another holder keeps.
#include "platform/run_cancellation.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <chrono>
#include <future>
#include <thread>
#include <vector>

#include "platform/volume.h"
#include "support/temp_dir.h"

namespace lmk {
namespace {

using std::chrono::milliseconds;

struct WaitCase {
  const char* name;
  unsigned slots;
  milliseconds timeout;
};

const WaitCase kCases[] = {
    {"OneSlotForever", 1, kWaitForever},
    {"TwoSlotsForever", 2, kWaitForever},
    {"OneSlotLongLimit", 1, milliseconds(60'000)},
};

class CancelledWait : public ::testing::TestWithParam<WaitCase> {
 protected:
  void SetUp() override {
    ::setenv("XDG_RUNTIME_DIR", runtime_.path().c_str(), 1);
    RunCancellation::Clear();
  }
  void TearDown() override { RunCancellation::Clear(); }

  test::ScopedTempDir runtime_;
};

TEST_P(CancelledWait, GivesUpWithinASecond) {
  const WaitCase& c = GetParam();
  std::vector<VolumeLockGuard> held(c.slots);
  for (VolumeLockGuard& guard : held) {
    ASSERT_EQ(AcquireVolumeLock(L"dev:8:1", c.slots, milliseconds(0), &guard), S_OK);
  }
  auto waiter = std::async(std::launch::async, [&] {
    VolumeLockGuard guard;
    return AcquireVolumeLock(L"dev:8:1", c.slots, c.timeout, &guard);
  });
  EXPECT_EQ(waiter.wait_for(milliseconds(100)), std::future_status::timeout) << "did not wait";
  const auto cancelled = std::chrono::steady_clock::now();
  RunCancellation::Request();
  ASSERT_EQ(waiter.wait_for(std::chrono::seconds(5)), std::future_status::ready);
  EXPECT_EQ(waiter.get(), E_ABORT);
  EXPECT_LT(std::chrono::steady_clock::now() - cancelled, std::chrono::seconds(1));
}

INSTANTIATE_TEST_SUITE_P(Waits, CancelledWait, ::testing::ValuesIn(kCases),
                         [](const auto& i) { return std::string(i.param.name); });

}  // namespace
}  // namespace lmk
