// CCondition: an element that tests one file; the same object serves as a condition or, with the
// exception bit of its flags set, as an exception.
#pragma once

#include "dictionary/idictionary.h"
#include "rules/rule_element.h"

namespace lmk {

class CCondition : public CRuleElement {
 public:
  explicit CCondition(const ElementKind& kind) : CRuleElement(kind) {}

  /// Exception when bit 27 of the flags is set, else Condition.
  ElementRole Role() const override;
  bool IsException() const { return (Flags() & kExceptionFlag) != 0; }
  void SetException(bool exception);

  /// Tests the file whose per-file record is given. S_OK when the condition holds, S_FALSE when
  /// it does not, a failure HRESULT when it cannot be evaluated (E_INVALIDARG for a null
  /// record). Keeps no state between calls: called from several workers at once.
  [[nodiscard]] virtual HRESULT Evaluate(IDictionary* record) const = 0;
};

}  // namespace lmk
