// The rename primitive of the rename action, used for the image and for each sidecar: a plain
// move within the folder that waits out a file held open by another program.
#pragma once

#include <chrono>
#include <string>
#include <string_view>

#include "com/com.h"
#include "platform/run_cancellation.h"

namespace lmk {

/// How long a rename waits for a file that another program holds open: `retries` more attempts
/// after the first, sleeping `step` before the first retry and one `step` longer before each
/// next one (100, 200, .. 1,500 ms: 12 s in all by default).
struct SharingRetry {
  int retries = 15;
  std::chrono::milliseconds step{100};
};

/// Logs "Renaming "<old>" to "<new>" using template "<templateName>"." and moves oldPath to
/// newPath. A sharing violation is retried as `retry` says; an existing target is replaced when
/// overwrite is set (its read-only attribute cleared first) and refused otherwise. S_OK, or the
/// failure with *errorText set to "Cannot rename '<old>' to '<new>'." and the reason.
[[nodiscard]] HRESULT RenameFile(std::wstring_view oldPath, std::wstring_view newPath,
                                 bool overwrite, std::wstring_view templateName,
                                 std::wstring* errorText, const SharingRetry& retry = {});

/// Runs step until it answers anything but a sharing violation, sleeping between attempts as
/// retry says; returns its last answer, or E_ABORT when the run is cancelled meanwhile.
template <class Step>
HRESULT RetryWhileShared(const SharingRetry& retry, Step step);

/// Sleeps the calling thread (the retries block their worker, as intended).
void SleepFor(std::chrono::milliseconds duration);

template <class Step>
HRESULT RetryWhileShared(const SharingRetry& retry, Step step) {
  HRESULT hr = step();
  for (int attempt = 1;
       attempt <= retry.retries && hr == HRESULT_FROM_WIN32(ERROR_SHARING_VIOLATION); ++attempt) {
    if (RunCancellation::IsRequested()) return E_ABORT;
    SleepFor(retry.step * attempt);
    if (RunCancellation::IsRequested()) return E_ABORT;
    hr = step();
  }
  return hr;
}

}  // namespace lmk
