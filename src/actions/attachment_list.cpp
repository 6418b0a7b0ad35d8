// Adding exported files to the job's e-mail attachment list.
#include "actions/attachment_list.h"

#include "com/bstr.h"
#include "com/com_ptr.h"
#include "com/variant.h"
#include "platform/file_system.h"

namespace lmk {

HRESULT AddAttachment(IDictionary& record, std::wstring_view path) {
  if (!FileExists(path)) return S_FALSE;
  Variant value;
  const Bstr key(L"Plugin.Attachments");
  if (FAILED(record.get_Value(key.get(), &value)) ||
      (value.vt() != VT_DISPATCH && value.vt() != VT_UNKNOWN) || value.ref().punkVal == nullptr) {
    return S_FALSE;
  }
  ComPtr<IDictionary> list;
  if (FAILED(
          value.ref().punkVal->QueryInterface(IID_IDictionary, reinterpret_cast<void**>(&list)))) {
    return S_FALSE;
  }
  GUID guid{};
  LMK_RETURN_IF_FAILED(CoCreateGuid(&guid));
  wchar_t text[40];
  if (StringFromGUID2(guid, text, 40) == 0) return E_UNEXPECTED;
  const Bstr name(text);
  return list->put_Value(name.get(), Variant::String(path).ref());
}

}  // namespace lmk
