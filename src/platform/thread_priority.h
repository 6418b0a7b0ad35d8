// Scheduling priority of the calling thread, lowered for batch workers so that the host's user
// interface stays responsive.
#pragma once

namespace lmk {

/// Lowers the calling thread to the lowest priority for the life of the object and tries to put
/// the earlier priority back afterwards. On Linux an unprivileged thread cannot raise its
/// priority again once lowered, so the thread then simply stays low; workers are the runner's
/// own threads and end with the run. Failures are ignored: priority is a courtesy, not a need.
class LowestThreadPriorityScope {
 public:
  LowestThreadPriorityScope() noexcept;
  ~LowestThreadPriorityScope();
  LowestThreadPriorityScope(const LowestThreadPriorityScope&) = delete;
  LowestThreadPriorityScope& operator=(const LowestThreadPriorityScope&) = delete;

 private:
  int previous_ = 0;
  bool lowered_ = false;
};

}  // namespace lmk
