// The "DateTaken" condition.
#include "conditions/date_taken_condition.h"

namespace lmk {

CDateTakenCondition::CDateTakenCondition()
    : CRecordCondition(ProductKind(ElementFamily::Condition, L"DateTaken")) {}

bool CDateTakenCondition::IsValid(std::wstring* reason) const {
  const wchar_t* why = nullptr;
  if (op_ > kDateAfter) {
    why = L"the date operator is none of before, on or before, on, on or after, after";
  } else if (date_ <= 0) {
    why = L"no date is given";
  }
  if (why == nullptr) return true;
  if (reason != nullptr) *reason = why;
  return false;
}

std::wstring CDateTakenCondition::Description() const {
  return Sentence(ImageTimeSourceWords(Flags()) + L" is " + std::wstring(DateOperatorWords(op_)) +
                  L" " + FormatConditionDate(date_, includeTime_));
}

HRESULT CDateTakenCondition::Test(IDictionary& record) const {
  ImageTime time;
  LMK_RETURN_IF_FAILED(ReadImageTime(record, Flags(), &time));
  if (time.missing) return S_FALSE;
  std::int64_t taken = 0;
  std::int64_t wanted = 0;
  if (!TruncateFileTime(time.ticks, includeTime_, &taken) ||
      (time.fromLastWrite && !UtcToLocal(taken, &taken)) ||
      !TruncateFileTime(date_, includeTime_, &wanted)) {
    return E_UNEXPECTED;
  }
  return CompareDates(op_, taken, wanted);
}

void CDateTakenCondition::ExchangeFields(CFieldArchive& archive, BYTE /*version*/) {
  archive.U32(op_);
  archive.Bool(includeTime_);
  archive.I64(date_);
}

void CDateTakenCondition::ExchangeParameters(CParamArchive& archive) {
  archive.Choice(L"when", op_, DateOperatorParamWords());
  archive.Date(L"date", date_);
  archive.Bool(L"include-time", includeTime_);
  DWORD flags = Flags();
  ExchangeImageTimeSource(archive, flags);
  SetFlags(flags);
}

}  // namespace lmk
