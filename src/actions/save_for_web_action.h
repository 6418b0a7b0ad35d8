// CSaveForWebAction: "Action.SaveForWeb" writes a small copy of the image for screens.
#pragma once

#include "actions/export_action.h"

namespace lmk {

/// Flag bits of the web copy's options.
inline constexpr DWORD kWebSharpen = 0x10;
inline constexpr DWORD kWebProgressive = 0x20;
inline constexpr DWORD kWebAttach = 0x40;

/// The copy fits a long edge (or a box) without ever being enlarged, is converted to sRGB,
/// sharpened after the resize, written as JPEG (progressive when asked) or WebP, and keeps
/// only its copyright and author unless told otherwise. With the e-mail option the written
/// file joins the job's attachments, which are handed to the mail program when the job ends.
/// New actions: 2048-pixel long edge, JPEG of quality 85, sharpened, progressive.
class CSaveForWebAction : public CExportAction {
 public:
  CSaveForWebAction();

  /// Also invalid for a format other than JPEG or WebP, or without a size.
  bool IsValid(std::wstring* reason) const override;
  std::wstring Description() const override;

 protected:
  /// The base's parameters, then long-edge, box-width, box-height, sharpen, progressive and
  /// attach-to-email.
  void ExchangeParameters(CParamArchive& archive) override;
  ExportSettings EffectiveSettings() const override;
  HRESULT AfterExport(IDictionary& record, std::wstring_view target) const override;
};

}  // namespace lmk
