// Looks for the companion files of an image on disk.
#include "conditions/companion_file.h"

#include <string>

#include "conditions/record_value.h"
#include "platform/folder_listing.h"

namespace lmk {

HRESULT CompanionFileExists(IDictionary& record, std::wstring_view extension, bool* exists) {
  static const Bstr kPathNoExt(L"File.PathNoExt");
  Variant holder;
  std::wstring_view pathNoExt;
  *exists = false;
  LMK_RETURN_IF_FAILED(GetRecordText(record, kPathNoExt, holder, &pathNoExt));
  // An empty path names no file; without the test, ".xmp" would be looked up in the working
  // folder.
  if (pathNoExt.empty()) return S_OK;
  std::wstring path(pathNoExt);
  path += extension;
  *exists = ListedFileExists(path);
  return S_OK;
}

}  // namespace lmk
