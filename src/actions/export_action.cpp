// The steps Convert and Save for Web share.
#include "actions/export_action.h"

#include <algorithm>
#include <cwctype>

#include "actions/action_failure.h"
#include "actions/action_path.h"
#include "actions/action_record.h"
#include "actions/action_texts.h"
#include "actions/transfer_destination.h"
#include "com/com_error.h"
#include "platform/event_log_writer.h"
#include "platform/file_operations.h"

namespace lmk {
namespace {

constexpr HRESULT kFileExistsHr = HRESULT_FROM_WIN32(ERROR_FILE_EXISTS);

std::wstring FormatName(ExportFormat format) {
  std::wstring name(FormatChoice(static_cast<std::uint32_t>(format), ExportFormatWords()));
  for (wchar_t& c : name) c = static_cast<wchar_t>(std::towupper(c));
  return name;
}

}  // namespace

CExportAction::CExportAction(const ElementKind& kind, const ExportSettings& defaults)
    : CAction(kind), settings_(defaults) {}

void CExportAction::ExchangeFields(CFieldArchive& archive, BYTE /*version*/) {
  archive.Text(destination_);
  archive.Text(renameTemplate_);
  auto format = static_cast<std::uint32_t>(settings_.format);
  auto quality = static_cast<std::uint32_t>(settings_.quality);
  auto metadata = static_cast<std::uint32_t>(settings_.metadata);
  std::uint32_t longEdge = settings_.longEdge;
  std::uint32_t boxWidth = settings_.boxWidth;
  std::uint32_t boxHeight = settings_.boxHeight;
  archive.U32(format);
  archive.U32(quality);
  archive.U32(metadata);
  archive.U32(longEdge);
  archive.U32(boxWidth);
  archive.U32(boxHeight);
  // A damaged stream must not index past the tables.
  settings_.format = static_cast<ExportFormat>(std::min<std::uint32_t>(format, 6));
  settings_.quality = static_cast<int>(std::clamp<std::uint32_t>(quality, 1, 100));
  settings_.metadata = static_cast<ExportMetadata>(std::min<std::uint32_t>(metadata, 2));
  settings_.longEdge = longEdge;
  settings_.boxWidth = boxWidth;
  settings_.boxHeight = boxHeight;
}

void CExportAction::ExchangeParameters(CParamArchive& archive) {
  archive.Text(L"destination", destination_);
  archive.Text(L"rename", renameTemplate_);
  archive.Choice(L"format", settings_.format, ExportFormatWords());
  archive.Integer(L"quality", settings_.quality, 1, 100);
  archive.Choice(L"metadata", settings_.metadata, ExportMetadataWords());
  std::uint32_t flags = Flags();
  archive.FlagBit(L"preserve-hierarchy", flags, kExportPreserveHierarchy);
  archive.FlagBit(L"overwrite", flags, kExportOverwrite);
  SetFlags(flags);
}

bool CExportAction::IsValid(std::wstring* reason) const {
  if (!CheckTransferTemplates(destination_, renameTemplate_, L"Web/{DateTaken:Year}", reason)) {
    return false;
  }
  const ExportFormat format = EffectiveSettings().format;
  if (CanWriteFormat(format)) return true;
  if (reason != nullptr) {
    *reason = L"format: the image library of this system has no " + FormatName(format) +
              L" encoder; choose jpeg, png, tiff or webp";
  }
  return false;
}

std::wstring CExportAction::DestinationPhrase() const {
  std::wstring text = L" to \"" + destination_ + L"\"";
  if (!renameTemplate_.empty()) text += L", renamed using \"" + renameTemplate_ + L"\"";
  const ExportSettings settings = EffectiveSettings();
  text += L", as " + FormatName(settings.format);
  if (settings.format != ExportFormat::kPng && settings.format != ExportFormat::kTiff) {
    text += L" of quality " + std::to_wstring(settings.quality);
  }
  return text;
}

std::wstring CExportAction::MetadataPhrase() const {
  switch (EffectiveSettings().metadata) {
    case ExportMetadata::kKeep:
      return L", keeping the metadata";
    case ExportMetadata::kStrip:
      return L", without metadata";
    case ExportMetadata::kCopyrightOnly:
      return L", keeping only the copyright and author";
  }
  return {};
}

HRESULT CExportAction::Execute(IDictionary* record) const {
  if (record == nullptr) return E_INVALIDARG;
  return GuardedCall([&] { return ExecuteFrame(*record); });
}

HRESULT CExportAction::ExecuteFrame(IDictionary& record) const {
  if (const HRESULT hr = StartOnFirstFrame(record, UsageEventName()); hr != S_OK) return hr;

  std::wstring source;
  LMK_RETURN_IF_FAILED(ReadRecordText(record, L"File.Name", &source));
  if (source.empty()) return S_FALSE;

  const ExportSettings settings = EffectiveSettings();
  TransferTarget target;
  const DestinationSettings destination{destination_, renameTemplate_,
                                        Option(kExportPreserveHierarchy)};
  HRESULT hr = PlanTransfer(record, source, destination, &target);
  if (FAILED(hr)) return hr;
  target.path.resize(target.path.size() - target.extension.size());
  target.path += ExportExtension(settings.format);

  LogEvent(kEventLevelInformation, export_text::kExporting, source, target.path);
  hr = CreateDirectories(target.folder);
  if (FAILED(hr)) {
    TakeErrorDescription();
    return ReportFailure(
        hr, FailureMessage(FormatActionText(action_text::kCannotCreateFolder, target.folder), hr));
  }
  // Replacing the source with its own copy would lose the picture if the copy failed midway.
  if (IsSameFile(source, target.path)) {
    return ReportFailure(HRESULT_FROM_WIN32(ERROR_ALREADY_EXISTS),
                         FormatActionText(export_text::kOwnSource, source, target.path));
  }

  ExportFailure why;
  hr = WriteNewFile(target.path, Option(kExportOverwrite), [&](int descriptor) {
    return ExportImage(source, descriptor, settings, &why);
  });
  if (FAILED(hr)) {
    // The platform's description names the target; the log's text names both files.
    TakeErrorDescription();
    if (hr == kFileExistsHr) {
      return ReportFailure(hr, FormatActionText(action_text::kFileExists, target.path) + L" (" +
                                   FormatHresult(hr) + L")");
    }
    const std::wstring reason = FAILED(why.hr) ? why.reason : FailureReason(hr);
    return ReportFailure(hr,
                         FormatActionText(export_text::kCannotExport, source, target.path, reason));
  }
  return AfterExport(record, target.path);
}

}  // namespace lmk
