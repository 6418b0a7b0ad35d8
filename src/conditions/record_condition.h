// CRecordCondition: the steps that every condition of the family takes before its own rule: a
// null record is refused, the use is counted, and nothing thrown escapes as an exception.
#pragma once

#include <string>
#include <string_view>

#include "rules/condition.h"

namespace lmk {

class CRecordCondition : public CCondition {
 public:
  using CCondition::CCondition;

  /// E_INVALIDARG for a null record. Otherwise counts one use under the kind's usage event (for
  /// exceptions too, with the same name) and answers what Test answers: S_OK, S_FALSE or the
  /// failure code of a read, a coercion or the rule. An exception thrown on the way comes back
  /// as its HRESULT (E_OUTOFMEMORY for an allocation, E_UNEXPECTED for anything unknown).
  [[nodiscard]] HRESULT Evaluate(IDictionary* record) const final;

 protected:
  /// The class's own rule on a record that is there; may throw.
  [[nodiscard]] virtual HRESULT Test(IDictionary& record) const = 0;

  /// The description sentence around body: "When <body>" for a condition, "Except when <body>"
  /// for an exception (the form every condition of the family uses).
  std::wstring Sentence(std::wstring_view body) const;
};

}  // namespace lmk
