// CCopiedCondition: tests the viewer's "copied" mark of an image.
#pragma once

#include "conditions/flag_condition.h"

namespace lmk {

/// "Condition.Copied": holds when "Misc.CopiedFlag" is not 0 (named parameter "copied: true"), or
/// when it is 0 ("copied: false").
class CCopiedCondition : public CFlagCondition {
 public:
  CCopiedCondition();

  std::wstring Description() const override;

 protected:
  HRESULT Test(IDictionary& record) const override;
};

}  // namespace lmk
