// CGpsMetadataCondition: whether the image carries (or lacks) chosen GPS values.
#include "conditions/gps_metadata_condition.h"

#include "com/com_error.h"
#include "conditions/gps_condition_common.h"
#include "conditions/record_value.h"
#include "rules/element_kind.h"

namespace lmk {
namespace {

// The whole direction first, so that a mask with both direction bits is written as one word.
constexpr ParamWord kFieldWords[] = {
    {L"position", LMKGPS_POSITION},
    {L"time stamp", LMKGPS_TIMESTAMP},
    {L"map datum", LMKGPS_MAPDATUM},
    {L"altitude", LMKGPS_ALTITUDE},
    {L"speed", LMKGPS_SPEED},
    {L"direction", kGpsDirectionFlags},
    {L"magnetic direction", LMKGPS_IMGDIRECTION_MAGNETIC},
    {L"true direction", LMKGPS_IMGDIRECTION_TRUE},
};

}  // namespace

CGpsMetadataCondition::CGpsMetadataCondition()
    : CRecordCondition(ProductKind(ElementFamily::Condition, L"GpsMetadata")) {}

std::span<const ParamWord> CGpsMetadataCondition::FieldWords() { return kFieldWords; }

HRESULT CGpsMetadataCondition::Test(IDictionary& record) const {
  USHORT flags = 0;
  LMK_RETURN_IF_FAILED(ReadGpsFlags(record, &flags));
  const bool any = (mask_ & flags & kGpsMeaningfulFlags) != 0;
  return any == has_ ? S_OK : S_FALSE;
}

bool CGpsMetadataCondition::IsValid(std::wstring* reason) const {
  if ((mask_ & kGpsMeaningfulFlags) == 0) {
    if (reason != nullptr) *reason = L"fields: choose at least one of " + ListWords(kFieldWords);
    return false;
  }
  return true;
}

std::wstring CGpsMetadataCondition::Description() const {
  const std::vector<std::wstring> words = FormatFlagWords(mask_ & kGpsMeaningfulFlags, kFieldWords);
  std::wstring list;
  for (std::size_t i = 0; i < words.size(); ++i) {
    if (i != 0) list += i + 1 == words.size() ? (has_ ? L" or " : L" nor ") : L", ";
    list += words[i];
  }
  if (list.empty()) list = L"(no field chosen)";
  return Sentence(has_ ? L"the image has a GPS " + list : L"the image has no GPS " + list);
}

void CGpsMetadataCondition::ExchangeFields(CFieldArchive& archive, BYTE /*version*/) {
  archive.Bool(has_);
  archive.U16(mask_);
}

void CGpsMetadataCondition::ExchangeParameters(CParamArchive& archive) {
  archive.Bool(L"has", has_);
  std::uint32_t mask = mask_;
  archive.FlagSet(L"fields", mask, kFieldWords);
  mask_ = static_cast<USHORT>(mask);
}

}  // namespace lmk
