// The "Move" action.
#include "actions/move_action.h"

#include "actions/action_failure.h"
#include "actions/action_path.h"
#include "actions/action_record.h"
#include "actions/action_texts.h"
#include "actions/copy_verification.h"
#include "actions/volume_lock_use.h"
#include "com/com_error.h"
#include "platform/event_log_writer.h"
#include "platform/file_compare.h"
#include "platform/file_operations.h"
#include "platform/file_system.h"

namespace lmk {
namespace {

// Removes a source whose copy stands; the read-only bit only guards against edits, not moves.
HRESULT RemoveSource(std::wstring_view source) {
  DWORD attributes = 0;
  if (SUCCEEDED(GetFileAttributesOf(source, &attributes)) &&
      (attributes & kFileAttributeReadOnly) != 0) {
    (void)SetFileAttributesOf(source, attributes & ~kFileAttributeReadOnly);
  }
  return DeleteFileAt(source);
}

std::wstring TakenBackMessage(std::wstring_view source, std::wstring_view target, HRESULT hr) {
  return FormatActionText(action_text::kMoveTakenBack, source, target, source) + L" " +
         FailureReason(hr);
}

}  // namespace

CMoveAction::CMoveAction() : CTransferAction(ProductKind(ElementFamily::Action, L"Move")) {}

std::wstring_view CMoveAction::AnnounceText(bool renamed) const {
  return renamed ? action_text::kMovingRenamed : action_text::kMoving;
}

std::wstring_view CMoveAction::FailureText() const { return action_text::kCannotMove; }

HRESULT CMoveAction::BeginTransfers(std::wstring_view source, std::wstring_view folder,
                                    TransferSession* session) const {
  // A rename within one volume moves no data and never waits for the device.
  session->crossVolume = !OnSameVolume(source, folder);
  if (!session->crossVolume) return S_OK;
  return LockVolumeOf(folder, &session->lock);
}

HRESULT CMoveAction::CopyVerifyDelete(std::wstring_view source, std::wstring_view target,
                                      bool replace, std::wstring* failure) const {
  LMK_RETURN_IF_FAILED(CopyFileTo(source, target, !replace));
  // Files that differ stay both: the copy for inspection, the source untouched.
  LMK_RETURN_IF_FAILED(VerifyCopy(source, target, failure));
  const HRESULT hr = RemoveSource(source);
  if (FAILED(hr)) {
    // The copy this move made goes again, so that the file stands in one place.
    // A source that vanished meanwhile leaves the copy as the only file, which stays.
    TakeErrorDescription();
    if (FileExists(source) && SUCCEEDED(RemoveSource(target))) {
      *failure = TakenBackMessage(source, target, hr);
    }
  }
  return hr;
}

HRESULT CMoveAction::FinishExisting(std::wstring_view source, std::wstring_view target,
                                    std::wstring* failure) const {
  // One file under two names (a link, a second mount) is no pair: removing one could lose it.
  if (IsSameFile(source, target)) return S_FALSE;
  FileComparison comparison = FileComparison::kDifferent;
  if (FAILED(CompareFiles(source, target, &comparison))) {
    TakeErrorDescription();
    return S_FALSE;
  }
  if (comparison != FileComparison::kIdentical) return S_FALSE;
  const HRESULT hr = RemoveSource(source);
  if (FAILED(hr)) {
    TakeErrorDescription();
    *failure = FailureMessage(FormatActionText(action_text::kCannotMove, source, target), hr);
    return hr;
  }
  LogEvent(kEventLevelInformation, action_text::kMoveFinished, source, target, source);
  return S_OK;
}

HRESULT CMoveAction::TransferFile(std::wstring_view source, std::wstring_view target, bool replace,
                                  TransferSession& session, std::wstring* failure) const {
  const DWORD replaceFlag = replace ? kMoveReplaceExisting : 0;
  if (!session.crossVolume) {
    const HRESULT hr = MoveFileTo(source, target, replaceFlag);
    if (hr != HRESULT_FROM_WIN32(ERROR_NOT_SAME_DEVICE)) return hr;
    // One device seen through two mounts still refuses a rename: move as across volumes.
    TakeErrorDescription();
    session.crossVolume = true;
    if (!session.lock.held()) {
      LMK_RETURN_IF_FAILED(LockVolumeOf(FolderOf(target, kNativePathStyle), &session.lock));
    }
  }
  if (Option(kTransferVerify)) return CopyVerifyDelete(source, target, replace, failure);
  bool takenBack = false;
  const HRESULT hr = MoveFileTo(source, target, kMoveCopyAllowed | replaceFlag, &takenBack);
  if (takenBack) *failure = TakenBackMessage(source, target, hr);
  return hr;
}

HRESULT CMoveAction::AfterImage(IDictionary& record, std::wstring_view source,
                                std::wstring_view target) const {
  LMK_RETURN_IF_FAILED(UpdateFilePath(record, target));
  TellHostRenamed(record, source, target);
  return S_OK;
}

}  // namespace lmk
