// CBWPreviewCondition: tests the viewer's black-and-white preview mark of an image.
#pragma once

#include "conditions/flag_condition.h"

namespace lmk {

/// "Condition.BWPreview": holds when "Misc.BWPreviewFlag" is not 0 (named parameter "bw-preview:
/// true"), or when it is 0 ("bw-preview: false").
class CBWPreviewCondition : public CFlagCondition {
 public:
  CBWPreviewCondition();

  std::wstring Description() const override;

 protected:
  HRESULT Test(IDictionary& record) const override;
};

}  // namespace lmk
