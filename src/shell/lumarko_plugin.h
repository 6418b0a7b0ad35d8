// ILumarkoPlugin: the interface through which a viewer host drives one of its plug-ins, with the
// capability and post-action enumerations and the identities the host finds plug-ins by.
#pragma once

#include "com/com.h"
#include "com/com_ptr.h"

/// Capability bits a plug-in reports through ILumarkoPlugin::GetCapabilities (32-bit).
enum tagLMKPLUGINCAPABILITIES : DWORD {
  LMKPLUGINCAPS_NONE = 0,
  LMKPLUGINCAPS_CONFIGURABLE = 0x1,
  LMKPLUGINCAPS_USES_INIT_DATA = 0x2,
  LMKPLUGINCAPS_CANCELABLE = 0x4,
  LMKPLUGINCAPS_CHANGE_OR_ERASE_FILES = 0x8,
  LMKPLUGINCAPS_MODELESS = 0x10,
  LMKPLUGINCAPS_OVERRIDES_NATIVE_HOTKEY = 0x20,
  LMKPLUGINCAPS_MINIMIZE_VIEWER_WINDOW = 0x40,
  LMKPLUGINCAPS_MINIMIZE_VIEWER_MEMORY = 0x80,
  LMKPLUGINCAPS_CHANGE_METADATA = 0x100,
  LMKPLUGINCAPS_AFTER_SCANNING_COMPLETES = 0x200,
  LMKPLUGINCAPS_MORE_AFTER_INIT = 0x80000000,
};
using LMKPLUGINCAPABILITIES = tagLMKPLUGINCAPABILITIES;

/// What the host should do once ILumarkoPlugin::Process has returned.
enum tagLMKPLUGINFLAGSPOSTACTIONBEHAVIOR : DWORD {
  LMKPLUGINFLAG_POSTACTIONBEHAVIOR_DONOTHING = 0,
  LMKPLUGINFLAG_POSTACTIONBEHAVIOR_REFRESHCURRENT = 1,
  LMKPLUGINFLAG_POSTACTIONBEHAVIOR_RELOADIMAGEFOLDER = 2,
};
using LMKPLUGINFLAGSPOSTACTIONBEHAVIOR = tagLMKPLUGINFLAGSPOSTACTIONBEHAVIOR;

/// A plug-in as the host sees it. Dual: the first four methods after IUnknown are IDispatch's.
/// The host calls Initialize once, then Process any number of times, then Terminate.
struct ILumarkoPlugin : public IDispatch {
  /// Keeps lpHost's ILumarkoHost (replacing an earlier one), langid, lpStream's IStream (null
  /// when absent or not a stream) and the complement of dwFlags; the plug-in holds its own
  /// references, the caller keeps its own. S_OK; E_INVALIDARG (nothing kept) when lpHost is null
  /// or has no ILumarkoHost.
  virtual HRESULT STDMETHODCALLTYPE Initialize(IUnknown* lpHost, WORD langid, IUnknown* lpStream,
                                               DWORD dwFlags) = 0;

  /// Releases the process-wide services taken by Initialize. S_OK.
  virtual HRESULT STDMETHODCALLTYPE Terminate() = 0;

  /// Writes the LMKPLUGINCAPS_* bits. S_OK; E_INVALIDARG when lpCapabilities is null.
  virtual HRESULT STDMETHODCALLTYPE GetCapabilities(DWORD* lpCapabilities) = 0;

  /// Writes the preferred hot key in the hot-key control encoding (low byte the virtual key,
  /// high byte the modifiers). S_OK; E_INVALIDARG when lpPreferredHotkey is null.
  virtual HRESULT STDMETHODCALLTYPE GetPreferredHotkey(DWORD* lpPreferredHotkey) = 0;

  /// Writes a new BSTR (the caller frees it). S_OK; E_INVALIDARG for a null pointer;
  /// E_OUTOFMEMORY.
  virtual HRESULT STDMETHODCALLTYPE GetDisplayName(BSTR* pbstrDisplayName) = 0;

  /// As GetDisplayName, for the one-sentence description.
  virtual HRESULT STDMETHODCALLTYPE GetDescription(BSTR* pbstrDescription) = 0;

  /// As GetDisplayName, for the author.
  virtual HRESULT STDMETHODCALLTYPE GetAuthorInformation(BSTR* pbstrAuthorInformation) = 0;

  /// As GetDisplayName, for the plug-in's file version ("1.0.0").
  virtual HRESULT STDMETHODCALLTYPE GetVersionInformation(BSTR* pbstrVersionInformation) = 0;

  /// Shows the plug-in's configuration, owned by hWndParent. E_NOTIMPL when not configurable.
  virtual HRESULT STDMETHODCALLTYPE Configure(HWND hWndParent) = 0;

  /// Runs the plug-in for the user, modally, owned by hWnd. When lpPostActionBehavior is not
  /// null it receives an LMKPLUGINFLAG_POSTACTIONBEHAVIOR_* value. S_OK or a failure.
  virtual HRESULT STDMETHODCALLTYPE Process(HWND hWnd, BSTR bstrFullPathNameNoExtension,
                                            BSTR bstrExtensions, DWORD InKeyPressed,
                                            DWORD* lpPostActionBehavior) = 0;

  /// Asks a running Process to stop. E_NOTIMPL when the plug-in is not cancelable.
  virtual HRESULT STDMETHODCALLTYPE Cancel(BOOL fAbruptly) = 0;

 protected:
  ~ILumarkoPlugin() = default;
};

// The interface identity is this project's own, fixed for ever once published.
LMK_DECLARE_IID(ILumarkoPlugin, "4E856BFC-7600-4FF2-9206-B831F94BE059");
LMK_DECLARE_IID_BASE(ILumarkoPlugin, IDispatch);

/// {4E856BFC-7600-4FF2-9206-B831F94BE059}
inline constexpr IID IID_ILumarkoPlugin = {
    0x4E856BFC, 0x7600, 0x4FF2, {0x92, 0x06, 0xB8, 0x31, 0xF9, 0x4B, 0xE0, 0x59}};

/// The plug-in object's class ("Lumarko.Plugin.FileUtilities").
inline constexpr CLSID CLSID_FileUtilities = {
    0x1F65641A, 0x9167, 0x4B60, {0x94, 0x15, 0xBE, 0x7A, 0x6E, 0xD7, 0x90, 0x62}};

/// The component category every plug-in's class implements; hosts enumerate it.
inline constexpr GUID CATID_LumarkoPlugins = {
    0xECA4A319, 0x8ADD, 0x4311, {0xAF, 0x23, 0xFB, 0xCF, 0x5C, 0x95, 0x5B, 0xCD}};
