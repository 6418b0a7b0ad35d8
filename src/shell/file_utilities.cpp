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

using Member = DispatchMember<CFileUtilities>;

HRESULT CallTerminate(CFileUtilities& plugin, WORD, std::span<Variant>, Variant*) {
  return plugin.Terminate();
}

template <HRESULT (CFileUtilities::*Get)(DWORD*)>
HRESULT CallNumber(CFileUtilities& plugin, WORD, std::span<Variant>, Variant* result) {
  DWORD value = 0;
  const HRESULT hr = (plugin.*Get)(&value);
  if (SUCCEEDED(hr)) *result = Variant::I4(static_cast<LONG>(value));
  return hr;
}

template <HRESULT (CFileUtilities::*Get)(BSTR*)>
HRESULT CallText(CFileUtilities& plugin, WORD, std::span<Variant>, Variant* result) {
  Bstr text;
  const HRESULT hr = (plugin.*Get)(&text);
  if (SUCCEEDED(hr)) *result = Variant::String(text.view());
  return hr;
}

// Members reachable by late binding: those without interface or window arguments. Initialize
// and Process are called early-bound by hosts, through the vtable. A getter may also be read as
// a property, as scripts that leave out the parentheses do.
constexpr WORD kGetter = DISPATCH_METHOD | DISPATCH_PROPERTYGET;
// The DISPIDs follow the interface's order, Initialize being 1.
constexpr Member kDispatchMembers[] = {
    {L"Terminate", 2, DISPATCH_METHOD, &CallTerminate},
    {L"GetCapabilities", 3, kGetter, &CallNumber<&CFileUtilities::GetCapabilities>},
    {L"GetPreferredHotkey", 4, kGetter, &CallNumber<&CFileUtilities::GetPreferredHotkey>},
    {L"GetDisplayName", 5, kGetter, &CallText<&CFileUtilities::GetDisplayName>},
    {L"GetDescription", 6, kGetter, &CallText<&CFileUtilities::GetDescription>},
    {L"GetAuthorInformation", 7, kGetter, &CallText<&CFileUtilities::GetAuthorInformation>},
    {L"GetVersionInformation", 8, kGetter, &CallText<&CFileUtilities::GetVersionInformation>},
};

}  // namespace

std::span<const DispatchMember<CFileUtilities>> CFileUtilities::DispatchMembers() {
  return kDispatchMembers;
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
