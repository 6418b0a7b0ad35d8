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

  DWORD Operator() const { return op_; }
  bool IncludeTime() const { return includeTime_; }
  std::int64_t Date() const { return date_; }
  void Set(DWORD op, std::int64_t date, bool includeTime) {
    op_ = op;
    date_ = date;
    includeTime_ = includeTime;
  }

  bool IsValid(std::wstring* reason) const override;
  std::wstring Description() const override;

 protected:
  HRESULT Test(IDictionary& record) const override;
  /// The operator, the include-time byte, then the 64-bit date.
  void ExchangeFields(CFieldArchive& archive, BYTE version) override;
  void ExchangeParameters(CParamArchive& archive) override;

 private:
  DWORD op_ = kDateOnOrAfter;
  bool includeTime_ = false;
  std::int64_t date_ = 0;
};

}  // namespace lmk
