// Renaming one file with the retries of a file held open.
#include "actions/file_rename.h"

#include <thread>

#include "actions/action_failure.h"
#include "actions/action_texts.h"
#include "com/com_error.h"
#include "platform/event_log_writer.h"
#include "platform/file_facts.h"
#include "platform/file_operations.h"

namespace lmk {

void SleepFor(std::chrono::milliseconds duration) { std::this_thread::sleep_for(duration); }

HRESULT RenameFile(std::wstring_view oldPath, std::wstring_view newPath, bool overwrite,
                   std::wstring_view templateName, std::wstring* errorText,
                   const SharingRetry& retry) {
  LogEvent(kEventLevelInformation, action_text::kRenaming, oldPath, newPath, templateName);
  HRESULT hr = RetryWhileShared(retry, [&] { return MoveFileTo(oldPath, newPath, 0); });
  if (hr == HRESULT_FROM_WIN32(ERROR_FILE_EXISTS) && overwrite) {
    DWORD attributes = 0;
    if (SUCCEEDED(GetFileAttributesOf(newPath, &attributes)) &&
        (attributes & kFileAttributeReadOnly) != 0) {
      (void)SetFileAttributesOf(newPath, attributes & ~kFileAttributeReadOnly);
    }
    // Replacing in one step: the old file of that name is never gone without the new one.
    hr = MoveFileTo(oldPath, newPath, kMoveReplaceExisting);
  }
  if (FAILED(hr)) {
    TakeErrorDescription();
    *errorText = FailureMessage(FormatActionText(action_text::kCannotRename, oldPath, newPath), hr);
  }
  return hr;
}

}  // namespace lmk
