// CExportAction: what Convert and Save for Web share: the destination and name templates, the
// format, quality and metadata choices, and the writing of a new picture file beside nothing
// partial.
#pragma once

#include <string>
#include <string_view>

#include "actions/image_export.h"
#include "com/com.h"
#include "rules/action.h"

namespace lmk {

/// Flag bits of the export options (the transfer actions use the same two).
inline constexpr DWORD kExportPreserveHierarchy = 0x200000;
inline constexpr DWORD kExportOverwrite = 0x400000;

namespace export_text {
inline constexpr std::wstring_view kExporting = L"Exporting \"%ls\" to \"%ls\".";
inline constexpr std::wstring_view kCannotExport = L"Cannot export '%ls' to '%ls': %ls.";
inline constexpr std::wstring_view kOwnSource =
    L"Cannot export '%ls' to '%ls': that is the picture itself; give another destination "
    L"folder, name or format.";
}  // namespace export_text

class CExportAction : public CAction {
 public:
  const std::wstring& Destination() const { return destination_; }
  void SetDestination(std::wstring destination) { destination_ = std::move(destination); }
  /// A stored renaming template's name or a template written in place; empty keeps the name.
  const std::wstring& RenameTemplate() const { return renameTemplate_; }
  void SetRenameTemplate(std::wstring name) { renameTemplate_ = std::move(name); }
  const ExportSettings& Settings() const { return settings_; }
  void SetSettings(const ExportSettings& settings) { settings_ = settings; }

  bool Option(DWORD bit) const { return (Flags() & bit) != 0; }
  void SetOption(DWORD bit, bool on) { SetFlags(on ? (Flags() | bit) : (Flags() & ~bit)); }

  /// Writes the copy of the image (frame 0 only; S_FALSE for later frames or an empty name).
  /// The source and its record stay as they were. S_OK; a failure with the thread's error
  /// description set to the logged text; E_INVALIDARG for a null record.
  [[nodiscard]] HRESULT Execute(IDictionary* record) const final;

  /// Invalid without a destination, with an unbalanced '{', or with a format this system
  /// cannot write.
  bool IsValid(std::wstring* reason) const override;

 protected:
  CExportAction(const ElementKind& kind, const ExportSettings& defaults);

  /// Version 1: destination, rename, format, quality, metadata, long edge, box width and height.
  void ExchangeFields(CFieldArchive& archive, BYTE version) override;
  /// destination, rename, format, quality, metadata, preserve-hierarchy, overwrite.
  void ExchangeParameters(CParamArchive& archive) override;

  /// The settings this copy is made with (a kind may fix some of them).
  virtual ExportSettings EffectiveSettings() const { return settings_; }
  /// After the copy was written to target.
  virtual HRESULT AfterExport(IDictionary& /*record*/, std::wstring_view /*target*/) const {
    return S_OK;
  }
  /// The part of the description sentence after the verb: "to \"dest\", renamed ...".
  std::wstring DestinationPhrase() const;
  /// ", keeping metadata" and its kin.
  std::wstring MetadataPhrase() const;

  ExportSettings settings_;

 private:
  HRESULT ExecuteFrame(IDictionary& record) const;

  std::wstring destination_;
  std::wstring renameTemplate_;
};

}  // namespace lmk
