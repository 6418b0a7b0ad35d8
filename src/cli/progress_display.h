// ProgressDisplay: the progress of a run as the host sees it (images handed out of the total),
// redrawn in place on a terminal, as plain lines every tenth otherwise.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <functional>
#include <mutex>
#include <string>
#include <thread>

#include "com/com.h"

namespace lmk::cli {

class ProgressDisplay {
 public:
  /// Reads the count done with done() (from any thread) out of total, on `stream`; a terminal
  /// stream gets a redrawn bar, anything else a line at each further tenth.
  ProgressDisplay(std::FILE* stream, bool terminal, ULONG total, std::function<ULONG()> done);
  /// Calls Finish and waits for the drawing thread.
  ~ProgressDisplay();
  ProgressDisplay(const ProgressDisplay&) = delete;
  ProgressDisplay& operator=(const ProgressDisplay&) = delete;

  /// Draws the last state (all done when completed), ends the line and stops; later calls do
  /// nothing. Nothing is drawn for a run that never delivered an image. Safe from any thread; once
  /// it returns the last line is out, so the caller's next output starts on a line of its own.
  void Finish(bool completed = false);

  /// The line shown for done of total after elapsed: "[####    ] 12/40  30%  0:05".
  static std::string Line(ULONG done, ULONG total, std::chrono::seconds elapsed, int width = 30);

 private:
  void Draw(bool last, bool completed);
  void Loop();

  std::FILE* stream_;
  bool terminal_;
  ULONG total_;
  std::function<ULONG()> done_;
  std::chrono::steady_clock::time_point start_;
  int lastTenth_ = -1;
  bool drawn_ = false;

  std::mutex lock_;
  std::condition_variable wake_;
  bool finished_ = false;
  std::thread thread_;
};

}  // namespace lmk::cli
