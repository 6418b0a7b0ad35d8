// CAction: an element that does something to a file, with its on-failure policy.
#pragma once

#include "dictionary/idictionary.h"
#include "rules/action_error_mode.h"
#include "rules/rule_element.h"

namespace lmk {

class CAction : public CRuleElement {
 public:
  explicit CAction(const ElementKind& kind) : CRuleElement(kind) {}

  ElementRole Role() const override { return ElementRole::Action; }

  CActionErrorMode OnFailure() const { return ActionErrorModeFromFlags(Flags()); }
  void SetOnFailure(CActionErrorMode mode);

  /// Acts on the file whose per-file record is given. S_OK when done, S_FALSE when there was
  /// nothing to do, a failure HRESULT (with the thread's error information describing it when a
  /// description is available), or E_ABORT to end the whole run whatever the policy. Called
  /// from several workers at once.
  [[nodiscard]] virtual HRESULT Execute(IDictionary* record) const = 0;

 protected:
  /// The on-failure policy, written "on-failure: ignore | skip-actions | skip-rules | abort".
  void ExchangeCommonParameters(CParamArchive& archive) override;
};

}  // namespace lmk
