// The "Convert" action.
#include "actions/convert_action.h"

namespace lmk {

CConvertAction::CConvertAction()
    : CExportAction(ProductKind(ElementFamily::Action, L"Convert"),
                    {.format = ExportFormat::kJpeg, .quality = 90}) {}

std::wstring CConvertAction::Description() const {
  std::wstring text = L"Convert the image" + DestinationPhrase() + MetadataPhrase();
  text += Option(kExportPreserveHierarchy) ? L", preserving the folder hierarchy" : L"";
  text += Option(kExportOverwrite) ? L", overwriting existing files"
                                   : L", without overwriting existing files";
  return text + L'.';
}

}  // namespace lmk
