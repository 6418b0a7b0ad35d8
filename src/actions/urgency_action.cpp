// The "Set Photoshop Urgency" action.
#include "actions/urgency_action.h"

namespace lmk {
namespace {

constexpr ParamWord kUrgencyWords[] = {{L"0", 0},
                                       {L"none", 0},
                                       {L"1", 1},
                                       {L"2", 2},
                                       {L"3", 3},
                                       {L"4", 4},
                                       {L"5", 5},
                                       {L"6", 6},
                                       {L"7", 7},
                                       {L"8", 8},
                                       {L"9", 9},
                                       {L"one-more", 0xFFFE},
                                       {L"one-less", 0xFFFD}};

}  // namespace

CUrgencyAction::CUrgencyAction()
    : CMetadataAction(ProductKind(ElementFamily::Action, L"SetPhotoshopUrgency"),
                      {L"Meta.Photoshop.Urgency", L"Setting Photoshop Urgency for \"%s\" to %d.",
                       L"Photoshop urgency", false, L"urgency", kUrgencyWords, L"Photoshop Urgency",
                       9, &ILumarkoHost::SetPhotoshopUrgency}) {}

}  // namespace lmk
