// The "TimeTaken" condition.
#include "conditions/time_taken_condition.h"

namespace lmk {

CTimeTakenCondition::CTimeTakenCondition()
    : CRecordCondition(ProductKind(ElementFamily::Condition, L"TimeTaken")) {}

bool CTimeTakenCondition::IsValid(std::wstring* reason) const {
  const wchar_t* why = nullptr;
  if (op_ > kDateAfter) {
    why = L"the time operator is none of before, on or before, on, on or after, after";
  } else if (time_ < 0) {
    why = L"the time is not a time of day";
  }
  if (why == nullptr) return true;
  if (reason != nullptr) *reason = why;
  return false;
}

std::wstring CTimeTakenCondition::Description() const {
  std::wstring words(DateOperatorWords(op_));
  if (op_ == kDateOn) words = L"at";
  return Sentence(L"the time of day of " + ImageTimeSourceWords(Flags()) + L" is " + words + L" " +
                  (time_ < 0 ? std::wstring(L"(no time)") : FormatTimeOfDay(time_)));
}

HRESULT CTimeTakenCondition::Test(IDictionary& record) const {
  ImageTime time;
  LMK_RETURN_IF_FAILED(ReadImageTime(record, Flags(), &time));
  if (time.missing) return S_FALSE;
  std::int64_t taken = 0;
  std::int64_t wanted = 0;
  if (!OnFixedDay(time.ticks, &taken) || (time.fromLastWrite && !UtcToLocal(taken, &taken)) ||
      !OnFixedDay(time_, &wanted)) {
    return E_UNEXPECTED;
  }
  return CompareDates(op_, taken, wanted);
}

void CTimeTakenCondition::ExchangeFields(CFieldArchive& archive, BYTE /*version*/) {
  archive.U32(op_);
  archive.I64(time_);
}

void CTimeTakenCondition::ExchangeParameters(CParamArchive& archive) {
  archive.Choice(L"when", op_, DateOperatorParamWords());
  archive.TimeOfDay(L"time", time_);
  DWORD flags = Flags();
  ExchangeImageTimeSource(archive, flags);
  SetFlags(flags);
}

void CTimeTakenCondition::AddNeededKeys(RecordKeySet& keys) const {
  AddImageTimeKeys(Flags(), keys);
}

}  // namespace lmk
