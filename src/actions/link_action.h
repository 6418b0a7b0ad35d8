// CLinkAction: "Action.Link" makes a hard link to the image (and its companions) in a
// destination folder.
#pragma once

#include "actions/transfer_action.h"

namespace lmk {

/// A hard link shares the image's data, so it needs the destination on the image's volume and
/// moves no data (no volume lock, nothing to verify). `File.Name` stays the original.
class CLinkAction : public CTransferAction {
 public:
  CLinkAction();

 protected:
  bool Verifies() const override { return false; }
  std::wstring_view AnnounceText(bool renamed) const override;
  std::wstring_view FailureText() const override;
  std::wstring_view Verb() const override { return L"Hard-link"; }
  HRESULT BeginTransfers(std::wstring_view source, std::wstring_view folder,
                         TransferSession* session) const override;
  HRESULT TransferFile(std::wstring_view source, std::wstring_view target, bool replace,
                       TransferSession& session, std::wstring* failure) const override;
  /// A new link never replaces an existing name.
  bool RefusesExistingTarget(const TransferSession& /*session*/) const override { return true; }
};

}  // namespace lmk
