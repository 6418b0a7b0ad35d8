// The "SaveForWeb" action.
#include "actions/save_for_web_action.h"

#include "actions/attachment_list.h"

namespace lmk {

CSaveForWebAction::CSaveForWebAction()
    : CExportAction(ProductKind(ElementFamily::Action, L"SaveForWeb"),
                    {.format = ExportFormat::kJpeg,
                     .quality = 85,
                     .longEdge = 2048,
                     .metadata = ExportMetadata::kCopyrightOnly}) {
  SetFlags(kWebSharpen | kWebProgressive);
}

void CSaveForWebAction::ExchangeParameters(CParamArchive& archive) {
  CExportAction::ExchangeParameters(archive);
  archive.Integer(L"long-edge", settings_.longEdge, 0, 100000);
  archive.Integer(L"box-width", settings_.boxWidth, 0, 100000);
  archive.Integer(L"box-height", settings_.boxHeight, 0, 100000);
  std::uint32_t flags = Flags();
  archive.FlagBit(L"sharpen", flags, kWebSharpen);
  archive.FlagBit(L"progressive", flags, kWebProgressive);
  archive.FlagBit(L"attach-to-email", flags, kWebAttach);
  SetFlags(flags);
}

ExportSettings CSaveForWebAction::EffectiveSettings() const {
  ExportSettings settings = settings_;
  settings.toSrgb = true;
  settings.sharpen = Option(kWebSharpen);
  settings.progressive = Option(kWebProgressive);
  return settings;
}

bool CSaveForWebAction::IsValid(std::wstring* reason) const {
  const auto refuse = [reason](std::wstring why) {
    if (reason != nullptr) *reason = std::move(why);
    return false;
  };
  if (settings_.format != ExportFormat::kJpeg && settings_.format != ExportFormat::kWebp) {
    return refuse(L"format: a copy for the web is jpeg or webp");
  }
  const bool box = settings_.boxWidth > 0 && settings_.boxHeight > 0;
  if (settings_.longEdge == 0 && !box) {
    return refuse(
        L"long-edge: give the copy's long edge in pixels, such as 2048, or both "
        L"box-width and box-height");
  }
  if ((settings_.boxWidth > 0) != (settings_.boxHeight > 0)) {
    return refuse(L"box-width: give both box-width and box-height, or neither");
  }
  return CExportAction::IsValid(reason);
}

std::wstring CSaveForWebAction::Description() const {
  std::wstring text = L"Save a copy of the image for the web";
  text += settings_.boxWidth > 0 && settings_.boxHeight > 0
              ? L", within " + std::to_wstring(settings_.boxWidth) + L"x" +
                    std::to_wstring(settings_.boxHeight) + L" pixels"
              : L", its long edge at most " + std::to_wstring(settings_.longEdge) + L" pixels";
  text += L" (never enlarged, in sRGB";
  text += Option(kWebSharpen) ? L", sharpened)" : L")";
  text += DestinationPhrase();
  if (settings_.format == ExportFormat::kJpeg && Option(kWebProgressive)) text += L", progressive";
  text += MetadataPhrase();
  text += Option(kExportOverwrite) ? L", overwriting existing files"
                                   : L", without overwriting existing files";
  if (Option(kWebAttach)) text += L", and attach it to an e-mail";
  return text + L'.';
}

HRESULT CSaveForWebAction::AfterExport(IDictionary& record, std::wstring_view target) const {
  if (!Option(kWebAttach)) return S_OK;
  const HRESULT hr = AddAttachment(record, target);
  return FAILED(hr) ? hr : S_OK;
}

}  // namespace lmk
