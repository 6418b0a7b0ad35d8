// Handing a new message with attachments to the user's mail program, whose compose window the
// user then reviews and sends.
#pragma once

#include <string>
#include <vector>

namespace lmk {

/// A message without recipients: the user adds them in the mail program.
struct MailMessage {
  std::wstring subject;
  std::wstring body;
  std::vector<std::wstring> attachments;  ///< full paths
};

/// Opens the mail program's compose window with message and returns when the program has taken
/// it. Nothing happens, silently, when the system has no mail program or the program refuses
/// the message: the user sees whether a window opened. Safe from any thread.
void HandOffMail(const MailMessage& message);

}  // namespace lmk
