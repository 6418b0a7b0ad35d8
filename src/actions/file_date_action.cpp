// The "File date/time" action.
#include "actions/file_date_action.h"

#include "com/bstr.h"
#include "com/com_error.h"
#include "com/variant.h"

namespace lmk {

CFileDateAction::CFileDateAction() : CAction(ProductKind(ElementFamily::Action, L"FileDateTime")) {}

HRESULT CFileDateAction::Execute(IDictionary* record) const {
  if (record == nullptr) return E_INVALIDARG;
  try {
    Bstr name(L"Meta.XMP.Label");
    Variant scratch;
    return record->get_Value(name.get(), &scratch);
  } catch (...) {
    return HresultFromCurrentException();
  }
}

std::wstring CFileDateAction::Description() const { return L"Leave the file's dates as they are."; }

void CFileDateAction::AddNeededKeys(RecordKeySet& keys) const { keys.Add(L"Meta.XMP.Label"); }

}  // namespace lmk
