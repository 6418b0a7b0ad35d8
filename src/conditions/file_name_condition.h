// CFileNameCondition: matches the name of a file, without its folder and its extension.
#pragma once

#include "conditions/pattern_condition.h"

namespace lmk {

/// "Condition.FileName" on "File.Name": the name without folder and without extension
/// ("IMG_0001" for ".../IMG_0001.JPG") matches the pattern; a name with nothing before its
/// extension never matches. Named parameters: "pattern" and "syntax" (wildcards | regex): "img_*"
/// holds for IMG_0001.JPG, "img_*.jpg" does not (the tested text has no extension).
class CFileNameCondition : public CPatternCondition {
 public:
  CFileNameCondition();

  std::wstring Description() const override;

  /// The record values it reads (see CRuleElement).
  void AddNeededKeys(RecordKeySet& keys) const override;

 protected:
  HRESULT Test(IDictionary& record) const override;
};

}  // namespace lmk
