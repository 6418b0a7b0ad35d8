// CMoveAction: "Action.Move" moves the image (and its companions) into a destination folder.
#pragma once

#include "actions/transfer_action.h"

namespace lmk {

/// On one volume a move is a rename. Across volumes it runs under the destination volume's
/// lock, as a safe move (the source goes only once the copy stands) or, with verify, as copy,
/// byte-for-byte check and removal of the source only when both are identical. Afterwards
/// `File.Name` and `File.PathNoExt` name the moved file and the host is told.
class CMoveAction : public CTransferAction {
 public:
  CMoveAction();

 protected:
  std::wstring_view AnnounceText(bool renamed) const override;
  std::wstring_view FailureText() const override;
  std::wstring_view Verb() const override { return L"Move"; }
  bool TakesSource() const override { return true; }
  bool AlreadyDone(std::wstring_view source, std::wstring_view target) const override {
    return source == target;
  }
  HRESULT BeginTransfers(std::wstring_view source, std::wstring_view folder,
                         TransferSession* session) const override;
  /// A rename on one volume refuses an existing target by itself, in the same step.
  bool RefusesExistingTarget(const TransferSession& session) const override {
    return !session.crossVolume;
  }
  HRESULT TransferFile(std::wstring_view source, std::wstring_view target, bool replace,
                       TransferSession& session, std::wstring* failure) const override;
  HRESULT AfterImage(IDictionary& record, std::wstring_view source,
                     std::wstring_view target) const override;
  /// A target with the same bytes as the source is what a move interrupted between its copy
  /// and the removal of its source leaves: the source goes and the move counts as done.
  HRESULT FinishExisting(std::wstring_view source, std::wstring_view target,
                         std::wstring* failure) const override;

 private:
  HRESULT CopyVerifyDelete(std::wstring_view source, std::wstring_view target, bool replace,
                           std::wstring* failure) const;
};

}  // namespace lmk
