// CFileUtilities: the plug-in object a host creates, initialises and invokes.
#pragma once

#include <span>

#include "com/aggregatable.h"
#include "com/com.h"
#include "com/dispatch_table.h"
#include "host_api/lumarko_host.h"
#include "shell/lumarko_plugin.h"

namespace lmk {

/// The plug-in object. Aggregatable: created with an outer unknown, its ILumarkoPlugin delegates
/// IUnknown to the outer object and the outer holds the inner (non-delegating) IUnknown.
class CFileUtilities final
    : public DispatchTable<Aggregatable<CFileUtilities, ILumarkoPlugin>, CFileUtilities> {
 public:
  /// The capabilities reported to the host: uses init data, changes or erases files, minimises
  /// the viewer's memory, changes metadata (394). Deliberately neither configurable nor
  /// cancelable from the host: a run is cancelled from the plug-in's own dialog.
  static constexpr DWORD kCapabilities =
      LMKPLUGINCAPS_USES_INIT_DATA | LMKPLUGINCAPS_CHANGE_OR_ERASE_FILES |
      LMKPLUGINCAPS_MINIMIZE_VIEWER_MEMORY | LMKPLUGINCAPS_CHANGE_METADATA;
  /// Ctrl+F in the hot-key control encoding: virtual key 0x46 ("F"), modifier 0x02 (Control).
  static constexpr DWORD kPreferredHotkey = 0x0246;
  static constexpr const wchar_t* kDisplayName = L"File Utilities";
  static constexpr const wchar_t* kDescription =
      L"Rule-based file copy / move / delete / rename / export batch processing utilities.";
  static constexpr const wchar_t* kAuthor = L"The Lumarko project";

  CFileUtilities() = default;

  /// The members reachable by late binding: those without interface or window arguments.
  static std::span<const DispatchMember<CFileUtilities>> DispatchMembers();

  // ILumarkoPlugin.
  HRESULT STDMETHODCALLTYPE Initialize(IUnknown* lpHost, WORD langid, IUnknown* lpStream,
                                       DWORD dwFlags) override;
  HRESULT STDMETHODCALLTYPE Terminate() override;
  HRESULT STDMETHODCALLTYPE GetCapabilities(DWORD* lpCapabilities) override;
  HRESULT STDMETHODCALLTYPE GetPreferredHotkey(DWORD* lpPreferredHotkey) override;
  HRESULT STDMETHODCALLTYPE GetDisplayName(BSTR* pbstrDisplayName) override;
  HRESULT STDMETHODCALLTYPE GetDescription(BSTR* pbstrDescription) override;
  HRESULT STDMETHODCALLTYPE GetAuthorInformation(BSTR* pbstrAuthorInformation) override;
  HRESULT STDMETHODCALLTYPE GetVersionInformation(BSTR* pbstrVersionInformation) override;
  HRESULT STDMETHODCALLTYPE Configure(HWND hWndParent) override;
  HRESULT STDMETHODCALLTYPE Process(HWND hWnd, BSTR bstrFullPathNameNoExtension,
                                    BSTR bstrExtensions, DWORD InKeyPressed,
                                    DWORD* lpPostActionBehavior) override;
  HRESULT STDMETHODCALLTYPE Cancel(BOOL fAbruptly) override;

  /// What Initialize kept, for the main dialog and for tests.
  ComPtr<ILumarkoHost> host() const;
  ComPtr<IStream> initStream() const;
  WORD langid() const noexcept { return langid_; }
  /// The complement of the dwFlags given to Initialize.
  DWORD flags() const noexcept { return flags_; }

 private:
  ComPtr<ILumarkoHost> host_;
  ComPtr<IStream> initStream_;
  WORD langid_ = 0;
  DWORD flags_ = 0;
};

}  // namespace lmk
