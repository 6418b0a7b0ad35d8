// The "Link" action.
#include "actions/link_action.h"

#include <atomic>

#include "actions/action_texts.h"
#include "platform/file_operations.h"
#include "platform/file_system.h"

namespace lmk {
namespace {

// A name beside target that no other link of this process uses at the same time.
std::wstring TemporaryNameBeside(std::wstring_view target) {
  static std::atomic<unsigned long long> counter{0};
  std::wstring name(target);
  name += L".lmk-link-";
  name += std::to_wstring(++counter);
  return name;
}

}  // namespace

CLinkAction::CLinkAction() : CTransferAction(ProductKind(ElementFamily::Action, L"Link")) {}

std::wstring_view CLinkAction::AnnounceText(bool renamed) const {
  return renamed ? action_text::kLinkingRenamed : action_text::kLinking;
}

std::wstring_view CLinkAction::FailureText() const { return action_text::kCannotLink; }

HRESULT CLinkAction::BeginTransfers(std::wstring_view /*source*/, std::wstring_view /*folder*/,
                                    TransferSession* /*session*/) const {
  return S_OK;
}

HRESULT CLinkAction::TransferFile(std::wstring_view source, std::wstring_view target, bool replace,
                                  TransferSession& /*session*/, std::wstring* /*failure*/) const {
  if (!replace) return MakeHardLink(target, source);
  // The old file is replaced in one step: the new link is made under another name first, so a
  // failure leaves the old file in place.
  const std::wstring temporary = TemporaryNameBeside(target);
  LMK_RETURN_IF_FAILED(MakeHardLink(temporary, source));
  const HRESULT hr = MoveFileTo(temporary, target, kMoveReplaceExisting);
  // A rename onto another link of the same file does nothing and leaves the new name behind.
  if (FAILED(hr) || FileExists(temporary)) (void)DeleteFileAt(temporary);
  return hr;
}

}  // namespace lmk
