// CFileUtilities: the plug-in's answers to its host, and its aggregatable identity.
#include "shell/file_utilities.h"

#include "batch/main_dialog.h"
#include "batch/terminal_dialog_view.h"
#include "com/bstr_out.h"
#include "com/dispatch_table.h"
#include "lumarko_version.h"
#include "platform/interrupt_handler.h"
#include "platform/usage_counter.h"

namespace lmk {
namespace {

enum : DISPID {
  kDispInitialize = 1,
  kDispTerminate,
  kDispGetCapabilities,
  kDispGetPreferredHotkey,
  kDispGetDisplayName,
  kDispGetDescription,
  kDispGetAuthorInformation,
  kDispGetVersionInformation,
  kDispConfigure,
  kDispProcess,
  kDispCancel,
};

// Members reachable by late binding: those without interface or window arguments. Initialize
// and Process are called early-bound by hosts, through the vtable.
constexpr DispatchMember<CFileUtilities> kDispatchMembers[] = {
    {L"Terminate", kDispTerminate},
    {L"GetCapabilities", kDispGetCapabilities},
    {L"GetPreferredHotkey", kDispGetPreferredHotkey},
    {L"GetDisplayName", kDispGetDisplayName},
    {L"GetDescription", kDispGetDescription},
    {L"GetAuthorInformation", kDispGetAuthorInformation},
    {L"GetVersionInformation", kDispGetVersionInformation},
};

}  // namespace

HRESULT STDMETHODCALLTYPE CFileUtilities::GetTypeInfoCount(UINT* pctinfo) {
  if (pctinfo == nullptr) return E_INVALIDARG;
  *pctinfo = 0;
  return S_OK;
}

HRESULT STDMETHODCALLTYPE CFileUtilities::GetTypeInfo(UINT /*iTInfo*/, LCID /*lcid*/,
                                                      ITypeInfo** ppTInfo) {
  if (ppTInfo == nullptr) return E_INVALIDARG;
  *ppTInfo = nullptr;
  return DISP_E_BADINDEX;
}

HRESULT STDMETHODCALLTYPE CFileUtilities::GetIDsOfNames(REFIID riid, LPOLESTR* rgszNames,
                                                        UINT cNames, LCID /*lcid*/,
                                                        DISPID* rgDispId) {
  return GetDispatchIds<CFileUtilities>(kDispatchMembers, riid, rgszNames, cNames, rgDispId);
}

HRESULT STDMETHODCALLTYPE CFileUtilities::Invoke(DISPID dispIdMember, REFIID riid, LCID /*lcid*/,
                                                 WORD wFlags, DISPPARAMS* pDispParams,
                                                 VARIANT* pVarResult, EXCEPINFO* pExcepInfo,
                                                 UINT* /*puArgErr*/) {
  try {
    if (!IsEqualGUID(riid, IID_NULL)) return DISP_E_UNKNOWNINTERFACE;
    if ((wFlags & (DISPATCH_METHOD | DISPATCH_PROPERTYGET)) == 0) return DISP_E_MEMBERNOTFOUND;
    if (pDispParams != nullptr && pDispParams->cNamedArgs != 0) return DISP_E_NONAMEDARGS;
    if (pDispParams != nullptr && pDispParams->cArgs != 0) return DISP_E_BADPARAMCOUNT;

    HRESULT hr = S_OK;
    Variant result;
    switch (dispIdMember) {
      case kDispTerminate:
        hr = Terminate();
        break;
      case kDispGetCapabilities:
      case kDispGetPreferredHotkey: {
        DWORD value = 0;
        hr = dispIdMember == kDispGetCapabilities ? GetCapabilities(&value)
                                                  : GetPreferredHotkey(&value);
        if (SUCCEEDED(hr)) result = Variant::I4(static_cast<LONG>(value));
        break;
      }
      case kDispGetDisplayName:
      case kDispGetDescription:
      case kDispGetAuthorInformation:
      case kDispGetVersionInformation: {
        Bstr text;
        hr = dispIdMember == kDispGetDisplayName         ? GetDisplayName(&text)
             : dispIdMember == kDispGetDescription       ? GetDescription(&text)
             : dispIdMember == kDispGetAuthorInformation ? GetAuthorInformation(&text)
                                                         : GetVersionInformation(&text);
        if (SUCCEEDED(hr)) result = Variant::String(text.view());
        break;
      }
      default:
        return DISP_E_MEMBERNOTFOUND;
    }
    if (FAILED(hr)) {
      if (pExcepInfo != nullptr) {
        *pExcepInfo = EXCEPINFO{};
        pExcepInfo->scode = hr;
      }
      return DISP_E_EXCEPTION;
    }
    if (pVarResult != nullptr) result.Detach(pVarResult);
    return S_OK;
  } catch (...) {
    return HresultFromCurrentException();
  }
}

HRESULT STDMETHODCALLTYPE CFileUtilities::Initialize(IUnknown* lpHost, WORD langid,
                                                     IUnknown* lpStream, DWORD dwFlags) {
  try {
    if (lpHost == nullptr) return E_INVALIDARG;
    ComPtr<ILumarkoHost> host;
    if (FAILED(lpHost->QueryInterface(IID_ILumarkoHost,
                                      reinterpret_cast<void**>(host.GetAddressOf()))) ||
        !host) {
      return E_INVALIDARG;
    }
    ComPtr<IStream> stream;
    if (lpStream != nullptr && FAILED(lpStream->QueryInterface(
                                   IID_IStream, reinterpret_cast<void**>(stream.GetAddressOf())))) {
      stream.Reset();
    }
    host_ = std::move(host);
    initStream_ = std::move(stream);
    langid_ = langid;
    flags_ = ~dwFlags;
    AcquireUsageCounter();
    return S_OK;
  } catch (...) {
    return HresultFromCurrentException();
  }
}

HRESULT STDMETHODCALLTYPE CFileUtilities::Terminate() {
  try {
    ReleaseUsageCounter();
    return S_OK;
  } catch (...) {
    return HresultFromCurrentException();
  }
}

HRESULT STDMETHODCALLTYPE CFileUtilities::GetCapabilities(DWORD* lpCapabilities) {
  if (lpCapabilities == nullptr) return E_INVALIDARG;
  *lpCapabilities = kCapabilities;
  return S_OK;
}

HRESULT STDMETHODCALLTYPE CFileUtilities::GetPreferredHotkey(DWORD* lpPreferredHotkey) {
  if (lpPreferredHotkey == nullptr) return E_INVALIDARG;
  *lpPreferredHotkey = kPreferredHotkey;
  return S_OK;
}

HRESULT STDMETHODCALLTYPE CFileUtilities::GetDisplayName(BSTR* pbstrDisplayName) {
  try {
    return WriteBstr(kDisplayName, pbstrDisplayName);
  } catch (...) {
    return HresultFromCurrentException();
  }
}

HRESULT STDMETHODCALLTYPE CFileUtilities::GetDescription(BSTR* pbstrDescription) {
  try {
    return WriteBstr(kDescription, pbstrDescription);
  } catch (...) {
    return HresultFromCurrentException();
  }
}

HRESULT STDMETHODCALLTYPE CFileUtilities::GetAuthorInformation(BSTR* pbstrAuthorInformation) {
  try {
    return WriteBstr(kAuthor, pbstrAuthorInformation);
  } catch (...) {
    return HresultFromCurrentException();
  }
}

HRESULT STDMETHODCALLTYPE CFileUtilities::GetVersionInformation(BSTR* pbstrVersionInformation) {
  try {
    // The build's project version, the same text the file's version resource carries on Windows.
    return WriteBstr(LMK_VERSION_TEXT, pbstrVersionInformation);
  } catch (...) {
    return HresultFromCurrentException();
  }
}

HRESULT STDMETHODCALLTYPE CFileUtilities::Configure(HWND /*hWndParent*/) { return E_NOTIMPL; }

HRESULT STDMETHODCALLTYPE CFileUtilities::Process(HWND hWnd, BSTR /*bstrFullPathNameNoExtension*/,
                                                  BSTR /*bstrExtensions*/, DWORD /*InKeyPressed*/,
                                                  DWORD* lpPostActionBehavior) {
  try {
    CountUsage(L"Invoked");
  } catch (...) {
    return E_UNEXPECTED;
  }
  try {
    // The image path, extensions and key are ignored: the dialog asks the host for its list.
    // Without a window system the dialog shows itself on the terminal.
    TerminalDialogView view;
    bool reload = false;
    bool refresh = false;
    {
      CMainDialog dialog(host_, initStream_, flags_, view);
      // On a terminal, Ctrl+C is the dialog's Cancel button.
      const InterruptHandler interrupt([&dialog] { dialog.Cancel(); });
      dialog.DoModal(hWnd);
      reload = dialog.ReloadImageFolder();
      refresh = dialog.RefreshCurrentImage();
    }
    if (lpPostActionBehavior != nullptr) {
      // A reload shows refreshed images too, so it wins.
      *lpPostActionBehavior = reload    ? LMKPLUGINFLAG_POSTACTIONBEHAVIOR_RELOADIMAGEFOLDER
                              : refresh ? LMKPLUGINFLAG_POSTACTIONBEHAVIOR_REFRESHCURRENT
                                        : LMKPLUGINFLAG_POSTACTIONBEHAVIOR_DONOTHING;
    }
    return S_OK;
  } catch (...) {
    return HresultFromCurrentException();
  }
}

HRESULT STDMETHODCALLTYPE CFileUtilities::Cancel(BOOL /*fAbruptly*/) { return E_NOTIMPL; }

ComPtr<ILumarkoHost> CFileUtilities::host() const { return host_; }

ComPtr<IStream> CFileUtilities::initStream() const { return initStream_; }

}  // namespace lmk
