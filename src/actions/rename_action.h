// CRenameAction: "Action.Rename" gives the image a new name in its own folder from a template.
#pragma once

#include <string>

#include "actions/companion_files.h"
#include "actions/file_rename.h"
#include "rules/action.h"

namespace lmk {

/// Flag bit: replace a file that already has the new name.
inline constexpr DWORD kRenameOverwrite = 0x400000;

/// The template gives the new base name; characters that may not stand in a file name become
/// '~', white space at both ends goes, and the folder and the extension stay. The XMP and WAV
/// sidecars follow when selected, the record's `File.Name` and `File.PathNoExt` and the host's
/// list are updated.
class CRenameAction : public CAction {
 public:
  CRenameAction();

  const std::wstring& Template() const { return template_; }
  void SetTemplate(std::wstring templ) { template_ = std::move(templ); }
  bool Option(DWORD bit) const { return (Flags() & bit) != 0; }
  void SetOption(DWORD bit, bool on) { SetFlags(on ? (Flags() | bit) : (Flags() & ~bit)); }
  /// How long a file held open is waited for (tests shorten it).
  void SetSharingRetry(const SharingRetry& retry) { retry_ = retry; }

  /// S_OK when renamed (or already so named); S_FALSE for a later frame, an empty `File.Name`
  /// or a template that yields no name; a failure with the error description set.
  [[nodiscard]] HRESULT Execute(IDictionary* record) const override;
  bool IsValid(std::wstring* reason) const override;
  std::wstring Description() const override;

  /// The record values it reads (see CRuleElement).
  void AddNeededKeys(RecordKeySet& keys) const override;

 protected:
  /// Version 1: the template.
  void ExchangeFields(CFieldArchive& archive, BYTE version) override;
  /// template, overwrite, companions: [xmp, wav].
  void ExchangeParameters(CParamArchive& archive) override;

 private:
  HRESULT ExecuteFrame(IDictionary& record) const;

  std::wstring template_;
  SharingRetry retry_;
};

}  // namespace lmk
