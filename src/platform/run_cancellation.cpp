// The process-wide cancel request of the run in progress.
#include "platform/run_cancellation.h"

#include <atomic>

namespace lmk {
namespace {

std::atomic<bool> g_requested{false};

}  // namespace

void RunCancellation::Request() noexcept { g_requested.store(true); }

void RunCancellation::Clear() noexcept { g_requested.store(false); }

bool RunCancellation::IsRequested() noexcept { return g_requested.load(); }

}  // namespace lmk
