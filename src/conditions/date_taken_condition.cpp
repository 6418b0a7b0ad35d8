// The "DateTaken" condition.
#include "conditions/date_taken_condition.h"

namespace lmk {

CDateTakenCondition::CDateTakenCondition()
    : CRecordCondition(ProductKind(ElementFamily::Condition, L"DateTaken")) {}

bool CDateTakenCondition::IsValid(std::wstring* reason) const {
  const wchar_t* why = when_.Fault();
  if (why == nullptr) return true;
  if (reason != nullptr) *reason = why;
  return false;
}

std::wstring CDateTakenCondition::Description() const {
  return Sentence(ImageTimeSourceWords(Flags()) + L" is " + when_.Words());
}

HRESULT CDateTakenCondition::Test(IDictionary& record) const {
  ImageTime time;
  LMK_RETURN_IF_FAILED(ReadImageTime(record, Flags(), &time));
  if (time.missing) return S_FALSE;
  std::int64_t taken = 0;
  if (!when_.Truncate(time.ticks, &taken) || (time.fromLastWrite && !UtcToLocal(taken, &taken))) {
    return E_UNEXPECTED;
  }
  return when_.Compare(taken);
}

void CDateTakenCondition::ExchangeFields(CFieldArchive& archive, BYTE /*version*/) {
  when_.ExchangeFields(archive);
}

void CDateTakenCondition::ExchangeParameters(CParamArchive& archive) {
  when_.ExchangeParameters(archive);
  DWORD flags = Flags();
  ExchangeImageTimeSource(archive, flags);
  SetFlags(flags);
}

void CDateTakenCondition::AddNeededKeys(RecordKeySet& keys) const {
  AddImageTimeKeys(Flags(), keys);
}

}  // namespace lmk
