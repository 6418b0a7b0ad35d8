// CDeleteAction: "Action.Delete" sends the image to the trash or deletes it for good.
#pragma once

#include <string>

#include "actions/companion_files.h"
#include "actions/file_rename.h"
#include "rules/action.h"

namespace lmk {

/// Flag bits of the delete options.
inline constexpr DWORD kDeleteToTrash = 0x10000;
inline constexpr DWORD kDeleteReadOnly = 0x20000;
inline constexpr DWORD kDeleteEmptyFolders = 0x40000;

/// Deletes the image and its selected sidecars, through the trash (restorable) or for good;
/// read-only files only when asked; afterwards, when asked, the folders left empty (see
/// FolderRemovalGuard for where that stops). A sidecar that another picture of the same name
/// still uses stays (SharedCompanion). The host is told of the deleted image.
class CDeleteAction : public CAction {
 public:
  /// A new action uses the trash and takes both companions along.
  CDeleteAction();

  bool Option(DWORD bit) const { return (Flags() & bit) != 0; }
  void SetOption(DWORD bit, bool on) { SetFlags(on ? (Flags() | bit) : (Flags() & ~bit)); }
  /// How long a "Thumbs.db" held open is waited for (tests shorten it).
  void SetSharingRetry(const SharingRetry& retry) { retry_ = retry; }

  /// S_OK when deleted; S_FALSE for a later frame or an empty `File.Name`; a failure with the
  /// error description set.
  [[nodiscard]] HRESULT Execute(IDictionary* record) const override;
  std::wstring Description() const override;

  /// The record values it reads (see CRuleElement).
  void AddNeededKeys(RecordKeySet& keys) const override;

 protected:
  /// Version 1: no fields of its own (every option is a flag).
  void ExchangeFields(CFieldArchive& archive, BYTE version) override;
  /// trash, read-only, remove-empty-folders, companions: [xmp, wav].
  void ExchangeParameters(CParamArchive& archive) override;

 private:
  HRESULT ExecuteFrame(IDictionary& record) const;
  /// Deletes one file as the options say; *errorText set on failure.
  HRESULT DeleteOne(std::wstring_view path, std::wstring* errorText) const;

  SharingRetry retry_;
};

}  // namespace lmk
