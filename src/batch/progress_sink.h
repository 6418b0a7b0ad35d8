// What a batch run tells the dialog that started it: started, percent done, finished, and the
// internal errors that a dialog shows in a message box.
#pragma once

#include <string_view>

#include "com/com.h"

namespace lmk {

/// Receives a run's notices. OnRunStarted and OnProgress come from the runner thread and the
/// parallel workers; OnRunFinished comes last, from the runner thread, and nothing follows it.
/// OnInternalError may come from any worker at any time in between, from several at once.
class ProgressSink {
 public:
  virtual ~ProgressSink() = default;

  /// The run has begun: showProgress is 1 for a run over several images (show the progress
  /// display), 0 for the current image alone.
  virtual void OnRunStarted(DWORD showProgress) = 0;
  /// Percent done, 0 to 100; sent only when it grows (an occasional repeat is possible).
  virtual void OnProgress(DWORD percent) = 0;
  /// The run is over: aborted is 1 when it was cancelled or aborted, or could not start because
  /// the host failed; 0 otherwise.
  virtual void OnRunFinished(DWORD aborted) = 0;
  /// An internal error to show to the user as an error message box captioned `caption`; the run
  /// goes on with the next file. The texts are valid during the call only.
  virtual void OnInternalError(std::wstring_view caption, std::wstring_view text) = 0;
};

}  // namespace lmk
