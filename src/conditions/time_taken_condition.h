// CTimeTakenCondition: compares the time of day an image was taken with a time.
#pragma once

#include <cstdint>

#include "conditions/date_comparison.h"
#include "conditions/record_condition.h"

namespace lmk {

/// "Condition.TimeTaken" on the image's time (the date-taken source, option bits 22 and 23).
/// Both the image's time and the parameter are put on 5 February 1964 with their milliseconds
/// cleared (seconds kept) and compared with the date operator. A last-write fallback is made
/// local only after that, so with the time-zone rules of that winter day. An image without a
/// date does not match. Named parameters: "when" (before | on-or-before | on | on-or-after |
/// after), "time" ("14:30" or "14:30:15"), "source" (exif | gps) and "fallback-to-modified".
class CTimeTakenCondition : public CRecordCondition {
 public:
  CTimeTakenCondition();

  DWORD Operator() const { return op_; }
  std::int64_t Time() const { return time_; }
  void Set(DWORD op, std::int64_t time) {
    op_ = op;
    time_ = time;
  }

  bool IsValid(std::wstring* reason) const override;
  std::wstring Description() const override;

  /// The record values it reads (see CRuleElement).
  void AddNeededKeys(RecordKeySet& keys) const override;

 protected:
  HRESULT Test(IDictionary& record) const override;
  /// The operator, then the 64-bit time (only its time of day counts).
  void ExchangeFields(CFieldArchive& archive, BYTE version) override;
  void ExchangeParameters(CParamArchive& archive) override;

 private:
  DWORD op_ = kDateBefore;
  std::int64_t time_ = 12 * 3600 * kTicksPerSecond;
};

}  // namespace lmk
