// The terminal's interrupt key (Ctrl+C) as a Cancel button, for a dialog that runs on a terminal.
#pragma once

#include <functional>

namespace lmk {

/// While it lives, an interrupt from the terminal calls onInterrupt once, on a thread of its
/// own (never inside a signal handler), so onInterrupt may lock, log and wait. After that first
/// interrupt the previous handling is back, so a second Ctrl+C ends the program as usual. One
/// handler at a time: installing a second one while the first lives throws std::logic_error.
class InterruptHandler {
 public:
  explicit InterruptHandler(std::function<void()> onInterrupt);
  ~InterruptHandler();
  InterruptHandler(const InterruptHandler&) = delete;
  InterruptHandler& operator=(const InterruptHandler&) = delete;

  /// Raises the interrupt as the terminal would (for tests).
  static void Raise();
};

}  // namespace lmk
