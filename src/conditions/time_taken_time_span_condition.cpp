// The "TimeTakenTimeSpan" condition.
#include "conditions/time_taken_time_span_condition.h"

namespace lmk {
namespace {

constexpr ParamWord kModeWords[] = {
    {L"inside", CTimeTakenTimeSpanCondition::kInside},
    {L"outside", CTimeTakenTimeSpanCondition::kOutside},
};

}  // namespace

CTimeTakenTimeSpanCondition::CTimeTakenTimeSpanCondition()
    : CRecordCondition(ProductKind(ElementFamily::Condition, L"TimeTakenTimeSpan")) {}

bool CTimeTakenTimeSpanCondition::IsValid(std::wstring* reason) const {
  const wchar_t* why = nullptr;
  if (mode_ > kOutside) {
    why = L"the mode is neither inside nor outside";
  } else if (start_ < 0 || end_ < 0) {
    why = L"the start or the end is not a time of day";
  }
  if (why == nullptr) return true;
  if (reason != nullptr) *reason = why;
  return false;
}

std::wstring CTimeTakenTimeSpanCondition::Description() const {
  const auto time = [](std::int64_t t) {
    return t < 0 ? std::wstring(L"(no time)") : FormatTimeOfDay(t);
  };
  return Sentence(L"the time of day of " + ImageTimeSourceWords(Flags()) +
                  (mode_ == kOutside ? L" is outside " : L" is inside ") + time(start_) + L" to " +
                  time(end_));
}

HRESULT CTimeTakenTimeSpanCondition::Test(IDictionary& record) const {
  ImageTime time;
  LMK_RETURN_IF_FAILED(ReadImageTime(record, Flags(), &time));
  if (time.missing) return S_FALSE;
  std::int64_t taken = time.ticks;
  if ((time.fromLastWrite && !UtcToLocal(taken, &taken)) || taken < 0 || start_ < 0 || end_ < 0) {
    return E_UNEXPECTED;
  }
  const std::int64_t startOfDay = start_ % kTicksPerDay;
  const std::int64_t endOfDay = end_ % kTicksPerDay;
  std::int64_t length = endOfDay - startOfDay;
  if (length < 0) length += kTicksPerDay;
  const std::int64_t first = taken - taken % kTicksPerDay + startOfDay;
  const std::int64_t last = first + length;
  const bool inside = first <= taken && taken <= last;
  switch (mode_) {
    case kInside:
      return inside ? S_OK : S_FALSE;
    case kOutside:
      return inside ? S_FALSE : S_OK;
    default:
      return E_UNEXPECTED;
  }
}

void CTimeTakenTimeSpanCondition::ExchangeFields(CFieldArchive& archive, BYTE /*version*/) {
  archive.I64(start_);
  archive.I64(end_);
  archive.U32(mode_);
}

void CTimeTakenTimeSpanCondition::ExchangeParameters(CParamArchive& archive) {
  archive.TimeOfDay(L"start", start_);
  archive.TimeOfDay(L"end", end_);
  archive.Choice(L"mode", mode_, kModeWords);
  DWORD flags = Flags();
  ExchangeImageTimeSource(archive, flags);
  SetFlags(flags);
}

void CTimeTakenTimeSpanCondition::AddNeededKeys(RecordKeySet& keys) const {
  AddImageTimeKeys(Flags(), keys);
}

}  // namespace lmk
