// The byte-for-byte check of a copy.
#include "actions/copy_verification.h"

#include "actions/action_failure.h"
#include "actions/action_texts.h"
#include "com/com_error.h"
#include "platform/event_log_writer.h"
#include "platform/file_compare.h"

namespace lmk {

HRESULT VerifyCopy(std::wstring_view source, std::wstring_view copy, std::wstring* failure) {
  FileComparison result = FileComparison::kDifferent;
  HRESULT hr = CompareFiles(copy, source, &result);
  // The comparison's own description is replaced by the integrity text, which names both files.
  if (FAILED(hr)) TakeErrorDescription();
  if (SUCCEEDED(hr) && result == FileComparison::kIdentical) {
    LogEvent(kEventLevelInformation, action_text::kVerified, copy, source);
    return S_OK;
  }
  if (SUCCEEDED(hr)) hr = kFilesDifferHresult;
  *failure = FailureMessage(FormatActionText(action_text::kIntegrityFailed, copy, source), hr);
  return hr;
}

}  // namespace lmk
