// Only Linux-style POSIX code here: per-thread nice values through setpriority on the thread id.
#include "platform/thread_priority.h"

#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>

namespace lmk {
namespace {

// The nice value of the lowest priority.
constexpr int kLowestNice = 19;

// A worker changes its priority around every image: its id is asked of the system once.
id_t CurrentThreadId() {
  thread_local const id_t id = static_cast<id_t>(::syscall(SYS_gettid));
  return id;
}

}  // namespace

LowestThreadPriorityScope::LowestThreadPriorityScope() noexcept {
  // On Linux, PRIO_PROCESS with a thread id changes that thread alone.
  const id_t thread = CurrentThreadId();
  errno = 0;
  const int current = ::getpriority(PRIO_PROCESS, thread);
  if (current == -1 && errno != 0) return;
  if (current >= kLowestNice) return;
  if (::setpriority(PRIO_PROCESS, thread, kLowestNice) != 0) return;
  previous_ = current;
  lowered_ = true;
}

LowestThreadPriorityScope::~LowestThreadPriorityScope() {
  if (!lowered_) return;
  // Refused (EACCES) without the right to raise priority; the thread then stays low.
  ::setpriority(PRIO_PROCESS, CurrentThreadId(), previous_);
}

}  // namespace lmk
