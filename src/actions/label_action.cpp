// The "Set XMP Label" action.
#include "actions/label_action.h"

#include "com/com_error.h"
#include "com/com_ptr.h"
#include "com/variant.h"

namespace lmk {
namespace {

// The colour names a rule file may write for a label. The host owns the names it writes into
// pictures; these are the ones it gives today (the first five under every convention).
constexpr ParamWord kLabelWords[] = {{L"0", 0},
                                     {L"none", 0},
                                     {L"1", 1},
                                     {L"red", 1},
                                     {L"2", 2},
                                     {L"yellow", 2},
                                     {L"3", 3},
                                     {L"green", 3},
                                     {L"4", 4},
                                     {L"blue", 4},
                                     {L"5", 5},
                                     {L"purple", 5},
                                     {L"6", 6},
                                     {L"cyan", 6},
                                     {L"7", 7},
                                     {L"gray", 7},
                                     {L"8", 8},
                                     {L"black", 8},
                                     {L"9", 9},
                                     {L"white", 9},
                                     {L"one-more", 0xFFFE},
                                     {L"one-less", 0xFFFD}};

constexpr std::wstring_view kNotSet = L"not set";
constexpr std::wstring_view kRelative = L"(relative to current value)";

}  // namespace

HRESULT LabelDialogEntries(ILumarkoHost& host, std::int16_t convention,
                           std::vector<std::pair<std::int16_t, std::wstring>>* out) {
  out->clear();
  ComPtr<IEnumVARIANT> names;
  LMK_RETURN_IF_FAILED(host.GetLabelNames(0, convention, &names));
  std::wstring notSet(kNotSet);
  notSet[0] = L'N';
  out->emplace_back(0, std::move(notSet));
  for (std::int16_t label = 1; label <= 9; ++label) {
    Variant name;
    ULONG fetched = 0;
    if (names->Next(1, name.get(), &fetched) != S_OK || fetched != 1) break;
    LMK_RETURN_IF_FAILED(name.ChangeType(VT_BSTR));
    out->emplace_back(label, std::to_wstring(label) + L" - " + name.ref().bstrVal);
  }
  out->emplace_back(kOneMore, L"+1 " + std::wstring(kRelative));
  out->emplace_back(kOneLess, L"-1 " + std::wstring(kRelative));
  return S_OK;
}

CLabelAction::CLabelAction()
    : CMetadataAction(ProductKind(ElementFamily::Action, L"SetXMPLabel"),
                      {L"Meta.XMP.Label", L"Setting XMP Label for \"%s\" to %d.", L"XMP label",
                       false, L"label", kLabelWords, L"XMP Label", 9, nullptr}) {}

bool CLabelAction::IsValid(std::wstring* reason) const {
  if (Value() > UpperBound()) {
    if (reason != nullptr) {
      *reason = L"label " + std::to_wstring(Value()) + L" does not exist under convention " +
                std::to_wstring(convention_) + L", which has labels 1 to " +
                std::to_wstring(UpperBound()) + L"; write 'convention: 1' for nine labels";
    }
    return false;
  }
  return CMetadataAction::IsValid(reason);
}

std::wstring CLabelAction::Description() const {
  return L"Set its XMP Label to " + ValueText() + L" (convention " + std::to_wstring(convention_) +
         L").";
}

HRESULT CLabelAction::WriteToHost(ILumarkoHost& host, ULONGLONG cookie, std::int16_t value) const {
  return host.SetXmpLabel(cookie, value, convention_);
}

HRESULT CLabelAction::StoreInRecord(IDictionary& record, std::int16_t value) const {
  LMK_RETURN_IF_FAILED(CMetadataAction::StoreInRecord(record, value));
  return PutShort(record, L"Meta.XMP.LabellingConvention", convention_);
}

void CLabelAction::ExchangeFields(CFieldArchive& archive, BYTE version) {
  CMetadataAction::ExchangeFields(archive, version);
  archive.I16(convention_);
}

void CLabelAction::ExchangeParameters(CParamArchive& archive) {
  archive.Integer(L"convention", convention_);
  CMetadataAction::ExchangeParameters(archive);
}

}  // namespace lmk
