// ProgressDisplay: the drawing thread and the line's layout.
#include "cli/progress_display.h"

#include <algorithm>

namespace lmk::cli {

ProgressDisplay::ProgressDisplay(std::FILE* stream, bool terminal, ULONG total,
                                 std::function<ULONG()> done)
    : stream_(stream),
      terminal_(terminal),
      total_(total),
      done_(std::move(done)),
      start_(std::chrono::steady_clock::now()),
      thread_([this] { Loop(); }) {}

ProgressDisplay::~ProgressDisplay() {
  Finish();
  thread_.join();
}

std::string ProgressDisplay::Line(ULONG done, ULONG total, std::chrono::seconds elapsed,
                                  int width) {
  const ULONG shown = std::min(done, total);
  const unsigned percent = total == 0 ? 100 : static_cast<unsigned>(shown * 100ull / total);
  const int filled =
      total == 0 ? width : static_cast<int>(shown * static_cast<ULONGLONG>(width) / total);
  std::string line = "[" + std::string(static_cast<std::size_t>(filled), '#') +
                     std::string(static_cast<std::size_t>(width - filled), ' ') + "] ";
  const long long seconds = elapsed.count();
  char tail[96];
  std::snprintf(tail, sizeof tail, "%lu/%lu %3u%%  %lld:%02lld", static_cast<unsigned long>(shown),
                static_cast<unsigned long>(total), percent, seconds / 60, seconds % 60);
  return line + tail;
}

void ProgressDisplay::Draw(bool last, bool completed) {
  const ULONG done = completed ? total_ : std::min(done_(), total_);
  if (done == 0 && !drawn_) return;
  drawn_ = true;
  const auto elapsed =
      std::chrono::duration_cast<std::chrono::seconds>(std::chrono::steady_clock::now() - start_);
  if (terminal_) {
    std::fprintf(stream_, "\r%s%s", Line(done, total_, elapsed).c_str(), last ? "\n" : "");
  } else {
    const int tenth = total_ == 0 ? 10 : static_cast<int>(done * 10ull / total_);
    if (tenth <= lastTenth_) return;
    lastTenth_ = tenth;
    std::fprintf(stream_, "%s\n", Line(done, total_, elapsed).c_str());
  }
  std::fflush(stream_);
}

void ProgressDisplay::Loop() {
  std::unique_lock guard(lock_);
  while (!finished_) {
    Draw(false, false);
    wake_.wait_for(guard, std::chrono::milliseconds(100));
  }
}

void ProgressDisplay::Finish(bool completed) {
  {
    std::lock_guard guard(lock_);
    if (finished_) return;
    finished_ = true;
    Draw(true, completed);
  }
  wake_.notify_all();
}

}  // namespace lmk::cli
