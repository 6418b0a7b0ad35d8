// The "FileDate" condition.
#include "conditions/file_date_condition.h"

#include "conditions/record_value.h"

namespace lmk {
namespace {

constexpr ParamWord kWhichWords[] = {
    {L"created", CFileDateCondition::kCreated},
    {L"modified", CFileDateCondition::kModified},
    {L"accessed", CFileDateCondition::kAccessed},
    {L"creation", CFileDateCondition::kCreated},
    {L"last-modified", CFileDateCondition::kModified},
    {L"last-accessed", CFileDateCondition::kAccessed},
};

}  // namespace

CFileDateCondition::CFileDateCondition()
    : CRecordCondition(ProductKind(ElementFamily::Condition, L"FileDate")) {}

bool CFileDateCondition::IsValid(std::wstring* reason) const {
  const wchar_t* why = which_ > kAccessed
                           ? L"the file date to test is none of created, modified or accessed"
                           : when_.Fault();
  if (why == nullptr) return true;
  if (reason != nullptr) *reason = why;
  return false;
}

std::wstring CFileDateCondition::Description() const {
  static constexpr const wchar_t* kWhat[] = {L"the file's creation date",
                                             L"the file's last-modified date",
                                             L"the file's last-accessed date"};
  const std::wstring what = which_ <= kAccessed ? kWhat[which_] : L"(unknown file date)";
  return Sentence(what + L" is " + when_.Words());
}

HRESULT CFileDateCondition::Test(IDictionary& record) const {
  static const Bstr kCreation(L"File.CreationTimeFT");
  static const Bstr kLastWrite(L"File.LastWriteTimeFT");
  static const Bstr kLastAccess(L"File.LastAccessTimeFT");
  const Bstr* key = nullptr;
  switch (which_) {
    case kCreated:
      key = &kCreation;
      break;
    case kModified:
      key = &kLastWrite;
      break;
    case kAccessed:
      key = &kLastAccess;
      break;
    default:
      return E_FAIL;
  }
  std::int64_t utc = 0;
  LMK_RETURN_IF_FAILED(GetRecordFileTime(record, *key, &utc));
  // The truncation happens on the UTC value and only then is the time made local; near
  // midnight this moves the day, and it is how the rule has always decided.
  std::int64_t truncated = 0;
  std::int64_t local = 0;
  if (!when_.Truncate(utc, &truncated) || !UtcToLocal(truncated, &local)) return E_UNEXPECTED;
  return when_.Compare(local);
}

void CFileDateCondition::ExchangeFields(CFieldArchive& archive, BYTE /*version*/) {
  archive.U32(which_);
  when_.ExchangeFields(archive);
}

void CFileDateCondition::ExchangeParameters(CParamArchive& archive) {
  archive.Choice(L"date-of", which_, kWhichWords);
  when_.ExchangeParameters(archive);
}

void CFileDateCondition::AddNeededKeys(RecordKeySet& keys) const {
  keys.Add({L"File.CreationTimeFT", L"File.LastWriteTimeFT", L"File.LastAccessTimeFT"});
}

}  // namespace lmk
