// CConvertAction: "Action.Convert" writes a copy of the image in another format.
#pragma once

#include "actions/export_action.h"

namespace lmk {

/// The copy keeps the picture's size and colours; its orientation is applied, so that it
/// stands upright in any viewer. New actions write JPEG of quality 90 and keep the metadata.
class CConvertAction : public CExportAction {
 public:
  CConvertAction();

  std::wstring Description() const override;
};

}  // namespace lmk
