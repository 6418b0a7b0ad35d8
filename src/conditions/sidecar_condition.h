// CSidecarCondition: tests whether an image has an XMP sidecar next to it.
#pragma once

#include "conditions/flag_condition.h"

namespace lmk {

/// "Condition.Sidecar": with "exists: true" holds when a file named "File.PathNoExt" followed by
/// ".xmp" exists (a folder of that name does not count), with "exists: false" when none does.
class CSidecarCondition : public CFlagCondition {
 public:
  CSidecarCondition();

  std::wstring Description() const override;

 protected:
  HRESULT Test(IDictionary& record) const override;
};

}  // namespace lmk
