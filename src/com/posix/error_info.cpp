// Thread error information for POSIX: one error object slot per thread, shared by the program
// and the plug-in it loads (each carries its own copy of this code), as Windows shares it.
#include <dlfcn.h>

#include <string>

#include "com/bstr.h"
#include "com/com_object.h"
#include "com/com_ptr.h"
#include "com/posix/com_api.h"

namespace {

class CErrorInfo final : public lmk::ComObject<CErrorInfo, IErrorInfo, ICreateErrorInfo> {
 public:
  // Error objects belong to the runtime, not to the server: a pending error must not keep the
  // module loaded.
  static constexpr bool kCountsInModuleLock = false;

  HRESULT STDMETHODCALLTYPE GetGUID(GUID* guid) override {
    if (guid == nullptr) return E_INVALIDARG;
    *guid = guid_;
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE GetSource(BSTR* source) override { return Copy(source_, source); }
  HRESULT STDMETHODCALLTYPE GetDescription(BSTR* description) override {
    return Copy(description_, description);
  }
  HRESULT STDMETHODCALLTYPE GetHelpFile(BSTR* help_file) override {
    return Copy(help_file_, help_file);
  }
  HRESULT STDMETHODCALLTYPE GetHelpContext(DWORD* help_context) override {
    if (help_context == nullptr) return E_INVALIDARG;
    *help_context = help_context_;
    return S_OK;
  }

  HRESULT STDMETHODCALLTYPE SetGUID(REFGUID guid) override {
    guid_ = guid;
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE SetSource(LPOLESTR source) override { return Set(source, &source_); }
  HRESULT STDMETHODCALLTYPE SetDescription(LPOLESTR description) override {
    return Set(description, &description_);
  }
  HRESULT STDMETHODCALLTYPE SetHelpFile(LPOLESTR help_file) override {
    return Set(help_file, &help_file_);
  }
  HRESULT STDMETHODCALLTYPE SetHelpContext(DWORD help_context) override {
    help_context_ = help_context;
    return S_OK;
  }

 private:
  static HRESULT Copy(const std::wstring& text, BSTR* out) {
    if (out == nullptr) return E_INVALIDARG;
    *out = text.empty() ? nullptr : SysAllocStringLen(text.data(), static_cast<UINT>(text.size()));
    return text.empty() || *out != nullptr ? S_OK : E_OUTOFMEMORY;
  }
  static HRESULT Set(LPOLESTR text, std::wstring* field) {
    try {
      field->assign(text == nullptr ? L"" : text);
      return S_OK;
    } catch (...) {
      return E_OUTOFMEMORY;
    }
  }

  GUID guid_ = GUID_NULL;
  std::wstring source_;
  std::wstring description_;
  std::wstring help_file_;
  DWORD help_context_ = 0;
};

lmk::ComPtr<IErrorInfo>& ThreadErrorInfo() {
  thread_local lmk::ComPtr<IErrorInfo> info;
  return info;
}

HRESULT OwnSetErrorInfo(ULONG reserved, IErrorInfo* info) {
  if (reserved != 0) return E_INVALIDARG;
  ThreadErrorInfo() = lmk::ComPtr<IErrorInfo>(info);
  return S_OK;
}

HRESULT OwnGetErrorInfo(ULONG reserved, IErrorInfo** info) {
  if (info == nullptr) return E_INVALIDARG;
  *info = nullptr;
  if (reserved != 0) return E_INVALIDARG;
  *info = ThreadErrorInfo().Detach();
  return *info != nullptr ? S_OK : S_FALSE;
}

HRESULT OwnCreateErrorInfo(ICreateErrorInfo** info) {
  if (info == nullptr) return E_INVALIDARG;
  *info = nullptr;
  try {
    lmk::ComPtr<CErrorInfo> object = lmk::MakeComObject<CErrorInfo>();
    *info = static_cast<ICreateErrorInfo*>(object.Detach());
    return S_OK;
  } catch (...) {
    return lmk::HresultFromCurrentException();
  }
}

struct ErrorInfoApi {
  HRESULT (*set)(ULONG, IErrorInfo*);
  HRESULT (*get)(ULONG, IErrorInfo**);
  HRESULT (*create)(ICreateErrorInfo**);
};

}  // namespace

// The program's error calls, found by the plug-in through the dynamic linker: a description
// the host sets reaches the plug-in on the same thread, and every error object is made by the
// program's code, so none outlives the code of a plug-in that was unloaded.
extern "C" __attribute__((visibility("default"))) const void* LmkComErrorInfoApi() {
  static const ErrorInfoApi api{&OwnSetErrorInfo, &OwnGetErrorInfo, &OwnCreateErrorInfo};
  return &api;
}

namespace {

const ErrorInfoApi& Api() {
  static const ErrorInfoApi* const api = [] {
    using Accessor = const void* (*)();
    auto shared = reinterpret_cast<Accessor>(::dlsym(RTLD_DEFAULT, "LmkComErrorInfoApi"));
    return static_cast<const ErrorInfoApi*>(shared != nullptr ? shared() : LmkComErrorInfoApi());
  }();
  return *api;
}

}  // namespace

HRESULT SetErrorInfo(ULONG reserved, IErrorInfo* info) { return Api().set(reserved, info); }

HRESULT GetErrorInfo(ULONG reserved, IErrorInfo** info) { return Api().get(reserved, info); }

HRESULT CreateErrorInfo(ICreateErrorInfo** info) { return Api().create(info); }
