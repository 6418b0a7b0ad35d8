// CTimeTakenTimeSpanCondition: tests whether an image was taken inside (or outside) a span of
// the day, which may cross midnight.
#pragma once

#include <cstdint>

#include "conditions/date_comparison.h"
#include "conditions/record_condition.h"

namespace lmk {

/// "Condition.TimeTakenTimeSpan" on the image's time (the date-taken source, option bits 22 and
/// 23; a last-write fallback is made local first). Only the time of day of start and end counts.
/// The span lasts end − start, nothing when they are equal, and end − start + one day when end
/// is earlier (it crosses midnight). It begins at the start time on the image's own calendar
/// date, both ends included: so 22:00 to 06:00 holds for 23:30 but not for 02:00 of the same
/// date, which lies before the span. "inside" holds within the span, "outside" before or after
/// it; another mode fails with E_UNEXPECTED. An image without a date does not match. Named
/// parameters: "start", "end" ("22:00", "06:00:00"), "mode" (inside | outside), "source" (exif |
/// gps) and "fallback-to-modified".
class CTimeTakenTimeSpanCondition : public CRecordCondition {
 public:
  enum Mode : DWORD { kInside = 0, kOutside = 1 };

  CTimeTakenTimeSpanCondition();

  std::int64_t Start() const { return start_; }
  std::int64_t End() const { return end_; }
  DWORD SpanMode() const { return mode_; }
  void Set(std::int64_t start, std::int64_t end, DWORD mode) {
    start_ = start;
    end_ = end;
    mode_ = mode;
  }

  bool IsValid(std::wstring* reason) const override;
  std::wstring Description() const override;

  /// The record values it reads (see CRuleElement).
  void AddNeededKeys(RecordKeySet& keys) const override;

 protected:
  HRESULT Test(IDictionary& record) const override;
  /// The 64-bit start, the 64-bit end, then the mode.
  void ExchangeFields(CFieldArchive& archive, BYTE version) override;
  void ExchangeParameters(CParamArchive& archive) override;

 private:
  std::int64_t start_ = 22 * 3600 * kTicksPerSecond;
  std::int64_t end_ = 6 * 3600 * kTicksPerSecond;
  DWORD mode_ = kInside;
};

}  // namespace lmk
