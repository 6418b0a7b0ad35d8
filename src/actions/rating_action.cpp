// The "Set XMP Rating" action.
#include "actions/rating_action.h"

namespace lmk {
namespace {

constexpr ParamWord kRatingWords[] = {{L"-1", 0xFFFF},
                                      {L"rejected", 0xFFFF},
                                      {L"0", 0},
                                      {L"none", 0},
                                      {L"1", 1},
                                      {L"2", 2},
                                      {L"3", 3},
                                      {L"4", 4},
                                      {L"5", 5},
                                      {L"one-more", 0xFFFE},
                                      {L"one-less", 0xFFFD}};

}  // namespace

CRatingAction::CRatingAction()
    : CMetadataAction(
          ProductKind(ElementFamily::Action, L"SetXMPRating"),
          {L"Meta.XMP.Rating", L"Setting XMP Rating for \"%s\" to %d.", L"XMP rating", true}) {}

std::wstring CRatingAction::Description() const {
  return L"Set its XMP Rating to " + ValueText() + L".";
}

HRESULT CRatingAction::WriteToHost(ILumarkoHost& host, ULONGLONG cookie, std::int16_t value) const {
  return host.SetXmpRating(cookie, value);
}

void CRatingAction::ExchangeParameters(CParamArchive& archive) {
  ExchangeValue(archive, L"rating", kRatingWords);
}

}  // namespace lmk
