// Tests of the volume lock where this process's threads and a forked child meet.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <thread>

#include "platform/volume.h"
#include "platform_test_files.h"

namespace lmk {
namespace {

using std::chrono::milliseconds;

struct ForkCase {
  const char* name;
  bool waiterAcrossFork;  // a second thread of the parent waits for the slot at the fork
};

class VolumeGateForkTest : public ::testing::TestWithParam<ForkCase> {
 protected:
  void SetUp() override { ::setenv("XDG_RUNTIME_DIR", runtime_.path().c_str(), 1); }
  test::ScopedTempDir runtime_;
};

// A child forked while the parent holds the slot neither shares it nor waits for the parent's
// threads, which the child does not have: it gets the slot once the parent lets it go.
TEST_P(VolumeGateForkTest, ChildGetsTheSlotOnceTheParentFreesIt) {
  VolumeLockGuard parent;
  ASSERT_EQ(AcquireVolumeLock(L"dev:8:4", 1, milliseconds(0), &parent), S_OK);
  std::jthread waiter;
  if (GetParam().waiterAcrossFork) {
    waiter = std::jthread([] {
      VolumeLockGuard second;
      EXPECT_EQ(AcquireVolumeLock(L"dev:8:4", 1, milliseconds(10000), &second), S_OK);
    });
    std::this_thread::sleep_for(milliseconds(20));
  }
  const pid_t child = ::fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    VolumeLockGuard guard;
    const bool early = AcquireVolumeLock(L"dev:8:4", 1, milliseconds(0), &guard) == S_OK;
    const bool later = AcquireVolumeLock(L"dev:8:4", 1, milliseconds(10000), &guard) == S_OK;
    ::_exit(!early && later ? 0 : 1);
  }
  std::this_thread::sleep_for(milliseconds(100));
  parent.Release();
  int status = 0;
  ASSERT_EQ(::waitpid(child, &status, 0), child);
  EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << "the child shared or never got it";
}

INSTANTIATE_TEST_SUITE_P(Cases, VolumeGateForkTest,
                         ::testing::Values(ForkCase{"Held", false},
                                           ForkCase{"HeldAndAwaited", true}),
                         [](const auto& info) { return std::string(info.param.name); });

}  // namespace
}  // namespace lmk
