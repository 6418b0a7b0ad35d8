// Only generic POSIX code here: the desktop's mail program is reached through `xdg-email`,
// which opens the compose window of whichever program the user chose.
#include "platform/mail_handoff.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>

#include <cerrno>
#include <string>
#include <vector>

#include "platform/text_encoding.h"

extern char** environ;

namespace lmk {

void HandOffMail(const MailMessage& message) {
  std::vector<std::string> words = {
      "xdg-email", "--utf8", "--subject", ToUtf8(message.subject), "--body", ToUtf8(message.body)};
  for (const std::wstring& path : message.attachments) {
    words.emplace_back("--attach");
    words.push_back(ToUtf8(path));
  }
  std::vector<char*> argv;
  for (std::string& word : words) argv.push_back(word.data());
  argv.push_back(nullptr);

  // Its complaints (no mail program configured) would only clutter the terminal: the
  // hand-off is silent by design.
  posix_spawn_file_actions_t actions;
  if (posix_spawn_file_actions_init(&actions) != 0) return;
  posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", O_WRONLY, 0);
  posix_spawn_file_actions_addopen(&actions, 2, "/dev/null", O_WRONLY, 0);
  pid_t child = 0;
  const int spawned = posix_spawnp(&child, "xdg-email", &actions, nullptr, argv.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  if (spawned != 0) return;  // no xdg-email: no mail program to hand the message to
  int status = 0;
  while (::waitpid(child, &status, 0) < 0 && errno == EINTR) {
  }
}

}  // namespace lmk
