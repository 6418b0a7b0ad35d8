// CCopyAction: "Action.Copy" copies the image (and its companions) into a destination folder.
#pragma once

#include "actions/transfer_action.h"

namespace lmk {

/// Copies keep the last-write time and permissions; every copy runs under the destination
/// volume's lock; with verify the copy is compared byte for byte with its source. `File.Name`
/// stays the original.
class CCopyAction : public CTransferAction {
 public:
  CCopyAction();

 protected:
  std::wstring_view AnnounceText(bool renamed) const override;
  std::wstring_view FailureText() const override;
  std::wstring_view Verb() const override { return L"Copy"; }
  HRESULT BeginTransfers(std::wstring_view source, std::wstring_view folder,
                         TransferSession* session) const override;
  HRESULT TransferFile(std::wstring_view source, std::wstring_view target, bool replace,
                       TransferSession& session, std::wstring* failure) const override;
  /// The copy looks for an existing target itself before it writes a byte.
  bool RefusesExistingTarget(const TransferSession& /*session*/) const override { return true; }
};

}  // namespace lmk
