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
          {L"Meta.XMP.Rating", L"Setting XMP Rating for \"%s\" to %d.", L"XMP rating", true,
           L"rating", kRatingWords, L"XMP Rating", 5, &ILumarkoHost::SetXmpRating}) {}

}  // namespace lmk
