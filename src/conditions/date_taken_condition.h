// CDateTakenCondition: compares the date an image was taken with a date.
#pragma once

#include <cstdint>

#include "conditions/date_comparison.h"
#include "conditions/record_condition.h"

namespace lmk {

/// "Condition.DateTaken" on the image's time (ReadImageTime: "Meta.DateTakenFT", or
/// "Meta.GPS.TimeStampFT" with option bit 22; with option bit 23 an image without one falls back
/// to "File.LastWriteTimeFT"). An image without a date does not match. The EXIF and GPS times are
/// used as they are; the last-write fallback is truncated in UTC and then made local, as the
/// file-date condition does. The parameter date (local) is truncated to its day, or to its
/// second with the include-time byte. Named parameters: "when", "date", "include-time", "source"
/// (exif | gps) and "fallback-to-modified".
class CDateTakenCondition : public CRecordCondition {
 public:
  CDateTakenCondition();

  DWORD Operator() const { return when_.op; }
  bool IncludeTime() const { return when_.includeTime; }
  std::int64_t Date() const { return when_.date; }
  void Set(DWORD op, std::int64_t date, bool includeTime) { when_ = {op, includeTime, date}; }

  bool IsValid(std::wstring* reason) const override;
  std::wstring Description() const override;

  /// The record values it reads (see CRuleElement).
  void AddNeededKeys(RecordKeySet& keys) const override;

 protected:
  HRESULT Test(IDictionary& record) const override;
  /// The date parameter (DateParameter::ExchangeFields).
  void ExchangeFields(CFieldArchive& archive, BYTE version) override;
  void ExchangeParameters(CParamArchive& archive) override;

 private:
  DateParameter when_;
};

}  // namespace lmk
