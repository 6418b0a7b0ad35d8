// The end of a job that collected files to e-mail: the message composed from them and its
// hand-off to the mail program on a thread of its own.
#pragma once

#include <chrono>
#include <string>
#include <string_view>
#include <vector>

#include "dictionary/idictionary.h"
#include "platform/mail_handoff.h"

namespace lmk {

namespace mail_text {
inline constexpr std::wstring_view kSubject = L"Emailing: %d photo(s)";
inline constexpr std::wstring_view kNote =
    L"\nYour message is ready to be sent with the following %d attachment(s):\n\n";
inline constexpr std::wstring_view kInternalError =
    L"Internal Error (Unexpected exception during mail operation)";
}  // namespace mail_text

/// The paths held as the values of the job's attachment list, in its order; names whose value
/// is not text are passed over.
std::vector<std::wstring> CollectAttachments(IDictionary& attachments);

/// The message for paths: the subject with their count, and the note with their count followed
/// by their file names (the last component of each path) joined by ", ".
MailMessage ComposeAttachmentMail(const std::vector<std::wstring>& paths);

/// Counts one "MAPISend" use and hands the message for paths to the mail program. Failures are
/// silent.
void SendAttachmentMail(const std::vector<std::wstring>& paths);

/// Starts the send of paths on a thread of its own (labelled "Crash:MAPIThread") and waits for
/// it at most `wait`, so that the mail program's window never holds the end of a job longer.
/// The thread keeps its own copy of the paths. Returns the internal-error text when an
/// exception escaped the send within the wait, else empty; nothing is sent for no paths.
std::wstring StartAttachmentMail(std::vector<std::wstring> paths,
                                 std::chrono::milliseconds wait = std::chrono::milliseconds(1000));

}  // namespace lmk
