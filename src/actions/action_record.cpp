// Record reads and writes of the file actions, and the host's notices.
#include "actions/action_record.h"

#include "actions/action_path.h"
#include "com/bstr.h"
#include "com/com_ptr.h"
#include "com/variant.h"
#include "host_api/lumarko_host.h"
#include "platform/usage_counter.h"

namespace lmk {
namespace {

HRESULT ReadValue(IDictionary& record, std::wstring_view key, Variant& value) {
  Bstr name(key);
  return record.get_Value(name.get(), &value);
}

HRESULT PutText(IDictionary& record, std::wstring_view key, std::wstring_view text) {
  Bstr name(key);
  Variant value = Variant::String(text);
  return record.put_Value(name.get(), value.ref());
}

// The host and the image's cookie, when the record carries a host.
ComPtr<ILumarkoHost> HostOf(IDictionary& record, ULONGLONG* cookie) {
  *cookie = 0;
  Variant value;
  if (FAILED(ReadValue(record, L"Plugin.Host", value))) return {};
  IUnknown* unknown = nullptr;
  if (value.vt() == VT_UNKNOWN) unknown = value.ref().punkVal;
  if (value.vt() == VT_DISPATCH) unknown = value.ref().pdispVal;
  if (unknown == nullptr) return {};
  ComPtr<ILumarkoHost> host;
  if (FAILED(unknown->QueryInterface(IID_ILumarkoHost, reinterpret_cast<void**>(&host)))) {
    return {};
  }
  Variant cookieValue;
  if (SUCCEEDED(ReadValue(record, L"File.InternalCookie", cookieValue)) &&
      SUCCEEDED(cookieValue.ChangeType(VT_UI8))) {
    *cookie = cookieValue.ref().ullVal;
  }
  return host;
}

}  // namespace

HRESULT ReadFrameNumber(IDictionary& record, unsigned* frame) {
  *frame = 0;
  Variant value;
  if (FAILED(ReadValue(record, L"Misc.FrameNumber", value))) return S_OK;
  LMK_RETURN_IF_FAILED(value.ChangeType(VT_UI4));
  *frame = value.ref().ulVal;
  return S_OK;
}

HRESULT StartOnFirstFrame(IDictionary& record, std::wstring_view usageEvent) {
  unsigned frame = 0;
  LMK_RETURN_IF_FAILED(ReadFrameNumber(record, &frame));
  if (frame > 0) return S_FALSE;
  CountUsage(usageEvent);
  return S_OK;
}

HRESULT ReadRecordText(IDictionary& record, std::wstring_view key, std::wstring* text) {
  Variant value;
  LMK_RETURN_IF_FAILED(ReadValue(record, key, value));
  LMK_RETURN_IF_FAILED(value.ChangeType(VT_BSTR));
  const BSTR bstr = value.ref().bstrVal;
  text->assign(bstr != nullptr ? bstr : L"", SysStringLen(bstr));
  return S_OK;
}

HRESULT ReadOptionalText(IDictionary& record, std::wstring_view key, std::wstring* text) {
  Bstr name(key);
  if (record.Test(name.get()) != S_OK) {
    text->clear();
    return S_OK;
  }
  return ReadRecordText(record, key, text);
}

HRESULT ReadPathNoExt(IDictionary& record, std::wstring_view fileName, std::wstring* pathNoExt) {
  LMK_RETURN_IF_FAILED(ReadOptionalText(record, L"File.PathNoExt", pathNoExt));
  if (pathNoExt->empty()) {
    const std::wstring_view extension = ExtensionOf(fileName, kNativePathStyle);
    pathNoExt->assign(fileName.substr(0, fileName.size() - extension.size()));
  }
  return S_OK;
}

HRESULT ReadRunPaths(IDictionary& record, std::vector<std::wstring>* paths) {
  paths->clear();
  Variant value;
  if (FAILED(ReadValue(record, L"Plugin.Globals", value))) return S_OK;
  IUnknown* unknown = nullptr;
  if (value.vt() == VT_UNKNOWN) unknown = value.ref().punkVal;
  if (value.vt() == VT_DISPATCH) unknown = value.ref().pdispVal;
  if (unknown == nullptr) return S_OK;
  ComPtr<IDictionary> globals;
  if (FAILED(unknown->QueryInterface(IID_IDictionary, reinterpret_cast<void**>(&globals)))) {
    return S_OK;
  }
  std::wstring list;
  LMK_RETURN_IF_FAILED(ReadOptionalText(*globals.Get(), L"App.RunPaths", &list));
  std::size_t start = 0;
  for (std::size_t end = list.find(L'\0'); end != std::wstring::npos;
       start = end + 1, end = list.find(L'\0', start)) {
    if (end > start) paths->push_back(list.substr(start, end - start));
  }
  return S_OK;
}

HRESULT UpdateFilePath(IDictionary& record, std::wstring_view newPath) {
  LMK_RETURN_IF_FAILED(PutText(record, L"File.Name", newPath));
  const std::wstring_view extension = ExtensionOf(newPath, kNativePathStyle);
  return PutText(record, L"File.PathNoExt", newPath.substr(0, newPath.size() - extension.size()));
}

void TellHostRenamed(IDictionary& record, std::wstring_view oldPath, std::wstring_view newPath) {
  ULONGLONG cookie = 0;
  if (ComPtr<ILumarkoHost> host = HostOf(record, &cookie)) {
    const std::wstring from(oldPath);
    const std::wstring to(newPath);
    (void)host->OnFileRenamed(cookie, from.c_str(), to.c_str());
  }
}

void TellHostDeleted(IDictionary& record, std::wstring_view path) {
  ULONGLONG cookie = 0;
  if (ComPtr<ILumarkoHost> host = HostOf(record, &cookie)) {
    const std::wstring file(path);
    (void)host->OnFileDeleted(cookie, file.c_str());
  }
}

void AddFileActionKeys(RecordKeySet& keys) {
  keys.Add({L"Misc.FrameNumber", L"File.Name", L"File.PathNoExt", L"Plugin.Host",
            L"File.InternalCookie", L"Plugin.Globals"});
}

}  // namespace lmk
