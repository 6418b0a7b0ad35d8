// CTransferAction: what copy, move and hard link share: the destination folder template, the
// renaming template, the options of the flags word, and the steps around the one operation that
// differs (folder creation, the existence test, the overwrite retry, companions, the log).
#pragma once

#include <string>
#include <string_view>

#include "actions/companion_claim.h"
#include "actions/companion_files.h"
#include "com/com.h"
#include "platform/file_operations.h"
#include "platform/volume.h"
#include "rules/action.h"

namespace lmk {

/// Flag bits of the transfer options.
inline constexpr DWORD kTransferVerify = 0x80000;
inline constexpr DWORD kTransferPreserveHierarchy = 0x200000;
inline constexpr DWORD kTransferOverwrite = 0x400000;

/// What one image's transfers share: the lock held while they run, and whether they cross
/// volumes.
struct TransferSession {
  bool crossVolume = false;
  VolumeLockGuard lock;
  /// The lock that copies take while they write, when they take it themselves.
  CopyLock copyLock;
};

class CTransferAction : public CAction {
 public:
  const std::wstring& Destination() const { return destination_; }
  void SetDestination(std::wstring destination) { destination_ = std::move(destination); }
  /// The name of a stored renaming template, or a template written in place; empty keeps the
  /// file's name.
  const std::wstring& RenameTemplate() const { return renameTemplate_; }
  void SetRenameTemplate(std::wstring name) { renameTemplate_ = std::move(name); }

  bool Option(DWORD bit) const { return (Flags() & bit) != 0; }
  void SetOption(DWORD bit, bool on) { SetFlags(on ? (Flags() | bit) : (Flags() & ~bit)); }

  /// Transfers the image (frame 0 only; S_FALSE for later frames) and its selected companions.
  /// S_OK; a failure with the thread's error description set to the logged text (the runner
  /// writes it and applies the policy); E_INVALIDARG for a null record.
  [[nodiscard]] HRESULT Execute(IDictionary* record) const final;

  /// Invalid without a destination, with an unbalanced '{' in a template, or with a renaming
  /// template name that neither the rule set nor the user's store defines.
  bool IsValid(std::wstring* reason) const override;
  std::wstring Description() const override;

  /// The record values it reads (see CRuleElement).
  void AddNeededKeys(RecordKeySet& keys) const override;

 protected:
  /// New actions take both companions along.
  explicit CTransferAction(const ElementKind& kind);

  /// Version 1: the destination template, then the renaming template name.
  void ExchangeFields(CFieldArchive& archive, BYTE version) override;
  /// destination, rename, preserve-hierarchy, overwrite, verify (when the kind checks copies),
  /// companions: [xmp, wav].
  void ExchangeParameters(CParamArchive& archive) override;

  /// Whether the kind checks its copies (the verify option).
  virtual bool Verifies() const { return true; }
  /// The announcement before the operation: plain, and with a renaming template.
  virtual std::wstring_view AnnounceText(bool renamed) const = 0;
  /// "Cannot copy '%ls' to '%ls'." and its kin.
  virtual std::wstring_view FailureText() const = 0;
  /// The verb of the description sentence ("Copy", "Move", "Hard-link").
  virtual std::wstring_view Verb() const = 0;

  /// Before the image's transfers: takes what they need (the volume lock). source is the
  /// image, folder the destination folder, which exists.
  [[nodiscard]] virtual HRESULT BeginTransfers(std::wstring_view source, std::wstring_view folder,
                                               TransferSession* session) const = 0;
  /// Transfers one file (the image or a companion) to target. *failure is set to the text to
  /// report when the operation fails for another reason than an existing target.
  [[nodiscard]] virtual HRESULT TransferFile(std::wstring_view source, std::wstring_view target,
                                             bool replace, TransferSession& session,
                                             std::wstring* failure) const = 0;
  /// Whether TransferFile without replace refuses an existing target atomically, before it does
  /// any work: then the existence test before it would only cost a lookup. Transfers that
  /// copy data keep the test, which spares them the copy's setup.
  virtual bool RefusesExistingTarget(const TransferSession& /*session*/) const { return false; }
  /// Called when target exists: S_OK when it already holds what source holds and the transfer
  /// was finished by other means (logged); S_FALSE when the existing target stands in the way;
  /// a failure with *failure set.
  virtual HRESULT FinishExisting(std::wstring_view /*source*/, std::wstring_view /*target*/,
                                 std::wstring* /*failure*/) const {
    return S_FALSE;
  }
  /// Whether the transfer takes the file away from its folder (a move), so that a companion
  /// that another picture still uses is copied instead.
  virtual bool TakesSource() const { return false; }
  /// Whether the image already stands at target, so that nothing is left to do.
  virtual bool AlreadyDone(std::wstring_view /*source*/, std::wstring_view /*target*/) const {
    return false;
  }
  /// After the image itself was transferred (before its companions).
  virtual HRESULT AfterImage(IDictionary& record, std::wstring_view source,
                             std::wstring_view target) const;

 private:
  HRESULT ExecuteFrame(IDictionary& record) const;
  /// One file with the existence test and the overwrite retry; *failure set on failure.
  HRESULT TransferWithRetry(std::wstring_view source, std::wstring_view target,
                            TransferSession& session, std::wstring* failure) const;
  /// A companion of the image now at image: transferred as the image was, unless a move must
  /// leave it for another picture that still uses it (then it is copied) or finds the copy an
  /// earlier picture took already at target (then the companion is removed).
  HRESULT TransferCompanion(const CompanionFile& companion, std::wstring_view target,
                            std::wstring_view image, CompanionClaim& claim,
                            TransferSession& session, std::wstring* failure) const;

  std::wstring destination_;
  std::wstring renameTemplate_;
};

}  // namespace lmk
