// Composing and sending the job's e-mail of exported pictures.
#include "batch/attachment_mail.h"

#include <future>
#include <memory>
#include <thread>

#include "com/bstr.h"
#include "com/com_ptr.h"
#include "com/variant.h"
#include "platform/message_format.h"
#include "platform/usage_counter.h"

namespace lmk {
namespace {

// The message texts are filled into buffers of 260 characters, as the mail program's dialog
// has always received them.
constexpr std::size_t kTextBuffer = 260;

std::wstring Filled(std::wstring_view format, int count) {
  const FormatArg args[] = {FormatArg(count)};
  std::wstring text = FormatMessageText(format, args).value_or(std::wstring(format));
  if (text.size() > kTextBuffer - 1) text.resize(kTextBuffer - 1);
  return text;
}

std::wstring_view LastComponent(std::wstring_view path) {
  const std::size_t slash = path.find_last_of(L"/\\");
  return slash == std::wstring_view::npos ? path : path.substr(slash + 1);
}

}  // namespace

std::vector<std::wstring> CollectAttachments(IDictionary& attachments) {
  std::vector<std::wstring> paths;
  ComPtr<IUnknown> unknown;
  ComPtr<IEnumVARIANT> names;
  if (FAILED(attachments.get__NewEnum(&unknown)) || unknown == nullptr ||
      FAILED(unknown->QueryInterface(IID_IEnumVARIANT, reinterpret_cast<void**>(&names)))) {
    return paths;
  }
  Variant name;
  ULONG fetched = 0;
  while (names->Next(1, &name, &fetched) == S_OK && fetched == 1) {
    Variant value;
    if (name.vt() == VT_BSTR && SUCCEEDED(attachments.get_Value(name.ref().bstrVal, &value)) &&
        value.vt() == VT_BSTR && value.ref().bstrVal != nullptr) {
      paths.emplace_back(value.ref().bstrVal, SysStringLen(value.ref().bstrVal));
    }
  }
  return paths;
}

MailMessage ComposeAttachmentMail(const std::vector<std::wstring>& paths) {
  MailMessage message;
  const int count = static_cast<int>(paths.size());
  message.subject = Filled(mail_text::kSubject, count);
  message.body = Filled(mail_text::kNote, count);
  for (std::size_t i = 0; i < paths.size(); ++i) {
    if (i > 0) message.body += L", ";
    message.body += LastComponent(paths[i]);
  }
  message.attachments = paths;
  return message;
}

void SendAttachmentMail(const std::vector<std::wstring>& paths) {
  const MailMessage message = ComposeAttachmentMail(paths);
  CountUsage(L"MAPISend");
  HandOffMail(message);
}

std::wstring StartAttachmentMail(std::vector<std::wstring> paths, std::chrono::milliseconds wait) {
  if (paths.empty()) return {};
  // The thread owns its paths and its promise: it may outlive the wait, and the job.
  auto done = std::make_shared<std::promise<std::wstring>>();
  std::future<std::wstring> outcome = done->get_future();
  std::thread([paths = std::move(paths), done] {
    // "Crash:MAPIThread": an exception that escapes the mail operation ends here, reported.
    std::wstring failure;
    try {
      SendAttachmentMail(paths);
    } catch (...) {
      failure = mail_text::kInternalError;
    }
    done->set_value(std::move(failure));
  }).detach();
  if (outcome.wait_for(wait) != std::future_status::ready) return {};
  return outcome.get();
}

}  // namespace lmk
