// CFileDateCondition: compares a file-system date of a file (created, last modified, last
// accessed) with a date.
#pragma once

#include <cstdint>

#include "conditions/date_comparison.h"
#include "conditions/record_condition.h"

namespace lmk {

/// "Condition.FileDate" on "File.CreationTimeFT", "File.LastWriteTimeFT" or
/// "File.LastAccessTimeFT" (the record's VT_I8 FILETIME counts, in UTC). The file's time is
/// truncated to its day (to its second with the include-time byte) while still in UTC, then
/// turned into local time; the parameter date, a local time, is truncated the same way; then the
/// date operator decides. An unknown date choice fails with E_FAIL, an unknown operator with
/// E_UNEXPECTED. Named parameters: "date-of" (created | modified | accessed), "when" (before |
/// on-or-before | on | on-or-after | after), "date" (ISO 8601, "2024-05-17" or
/// "2024-05-17T14:30:00") and "include-time" (true | false).
class CFileDateCondition : public CRecordCondition {
 public:
  enum Which : DWORD { kCreated = 0, kModified = 1, kAccessed = 2 };

  CFileDateCondition();

  DWORD Which() const { return which_; }
  DWORD Operator() const { return when_.op; }
  bool IncludeTime() const { return when_.includeTime; }
  std::int64_t Date() const { return when_.date; }
  void Set(DWORD which, DWORD op, std::int64_t date, bool includeTime) {
    which_ = which;
    when_ = {op, includeTime, date};
  }

  bool IsValid(std::wstring* reason) const override;
  std::wstring Description() const override;

  /// The record values it reads (see CRuleElement).
  void AddNeededKeys(RecordKeySet& keys) const override;

 protected:
  HRESULT Test(IDictionary& record) const override;
  /// Which date, then the date parameter (DateParameter::ExchangeFields).
  void ExchangeFields(CFieldArchive& archive, BYTE version) override;
  void ExchangeParameters(CParamArchive& archive) override;

 private:
  DWORD which_ = kModified;
  DateParameter when_;
};

}  // namespace lmk
