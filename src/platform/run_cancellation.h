// The cancel request of the run in progress, where waits far below the runner can see it.
#pragma once

namespace lmk {

/// One process-wide flag: the batch runner raises it when the user cancels (Ctrl+C, the
/// dialog's button) and clears it when a run starts. Waits that may last long (a volume lock
/// held by another process, retries of a file held open) poll it and give up with E_ABORT,
/// so a cancelled run ends within a second instead of after the wait.
class RunCancellation {
 public:
  static void Request() noexcept;
  static void Clear() noexcept;
  static bool IsRequested() noexcept;
};

}  // namespace lmk
