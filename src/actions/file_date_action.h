// CFileDateAction: "Action.FileDateTime", an element kept for rule sets that hold it; its run
// changes no file.
#pragma once

#include "rules/action.h"

namespace lmk {

/// Loads and saves like any action and answers a run without touching the file: the element
/// is a placeholder, and must not turn into a writer of file dates.
class CFileDateAction : public CAction {
 public:
  CFileDateAction();

  /// Reads Meta.XMP.Label from the record and drops it; returns that read's status (S_OK, or
  /// the failure for a record without it). E_INVALIDARG for a null record.
  [[nodiscard]] HRESULT Execute(IDictionary* record) const override;
  std::wstring Description() const override;

  /// The record values it reads (see CRuleElement).
  void AddNeededKeys(RecordKeySet& keys) const override;
};

}  // namespace lmk
