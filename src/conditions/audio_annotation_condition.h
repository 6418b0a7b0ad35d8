// CAudioAnnotationCondition: tests whether an image has an audio annotation next to it.
#pragma once

#include "conditions/flag_condition.h"

namespace lmk {

/// "Condition.AudioAnnotation": with "exists: true" holds when a file named "File.PathNoExt"
/// followed by
/// ".wav" exists (a folder of that name does not count), with "exists: false" when none does.
class CAudioAnnotationCondition : public CFlagCondition {
 public:
  CAudioAnnotationCondition();

  std::wstring Description() const override;

 protected:
  HRESULT Test(IDictionary& record) const override;
};

}  // namespace lmk
