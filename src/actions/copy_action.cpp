// The "Copy" action.
#include "actions/copy_action.h"

#include "actions/action_texts.h"
#include "actions/copy_verification.h"
#include "actions/volume_lock_use.h"
#include "platform/file_operations.h"

namespace lmk {

CCopyAction::CCopyAction() : CTransferAction(ProductKind(ElementFamily::Action, L"Copy")) {}

std::wstring_view CCopyAction::AnnounceText(bool renamed) const {
  return renamed ? action_text::kCopyingRenamed : action_text::kCopying;
}

std::wstring_view CCopyAction::FailureText() const { return action_text::kCannotCopy; }

HRESULT CCopyAction::BeginTransfers(std::wstring_view /*source*/, std::wstring_view folder,
                                    TransferSession* session) const {
  // A copy always writes a whole file to the destination device, under the device's lock; it
  // takes the lock itself once its checks are done, so that another worker's checks and
  // metadata reading go on meanwhile.
  session->copyLock = VolumeLockOf(folder);
  return S_OK;
}

HRESULT CCopyAction::TransferFile(std::wstring_view source, std::wstring_view target, bool replace,
                                  TransferSession& session, std::wstring* failure) const {
  // The source stays, so a copy need not reach the device before the next file starts: the
  // runner flushes all of a run's copies at once when the run ends.
  LMK_RETURN_IF_FAILED(
      CopyFileTo(source, target, !replace, CopyDurability::kFlushLater, &session.copyLock));
  if (!Option(kTransferVerify)) return S_OK;
  // Reading both files back is as heavy for the device as the copy.
  if (!session.lock.held()) {
    LMK_RETURN_IF_FAILED(AcquireVolumeLock(session.copyLock.volumeKey, session.copyLock.slots,
                                           kWaitForever, &session.lock));
  }
  const HRESULT hr = VerifyCopy(source, target, failure);
  session.lock.Release();
  return hr;
}

}  // namespace lmk
