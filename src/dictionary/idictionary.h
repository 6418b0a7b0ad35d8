// IDictionary: the dual interface of the named-value dictionary, and the identity of its class.
#pragma once

#include "com/com.h"
#include "com/com_ptr.h"

/// A thread-safe ordered map from names (compared case-sensitively under the user's locale) to
/// VARIANT values. Every method returns E_UNEXPECTED only for an unexpected internal failure and
/// E_OUTOFMEMORY when a copy cannot be allocated.
struct IDictionary : public IDispatch {
  /// Writes a new IEnumVARIANT (owned by the caller) that yields each name as a VT_BSTR, in map
  /// order. E_INVALIDARG when ppUnk is null.
  virtual HRESULT STDMETHODCALLTYPE get__NewEnum(IUnknown** ppUnk) = 0;

  /// Copies the value stored under bstrName into *pVal (the caller clears it). E_INVALIDARG for a
  /// null or empty name or a null pVal; E_FAIL when the name is absent (pVal is then VT_EMPTY).
  virtual HRESULT STDMETHODCALLTYPE get_Value(BSTR bstrName, VARIANT* pVal) = 0;

  /// Stores a copy of pvarNew under bstrName, replacing any earlier value; object references are
  /// shared (AddRef), not copied. E_INVALIDARG for a null or empty name.
  virtual HRESULT STDMETHODCALLTYPE put_Value(BSTR bstrName, VARIANT pvarNew) = 0;

  /// Writes the number of entries. E_INVALIDARG when pVal is null.
  virtual HRESULT STDMETHODCALLTYPE get_Count(LONG* pVal) = 0;

  /// Reads cb values by name into rgvar (each slot is initialised first; the caller clears them).
  /// On any failure (E_INVALIDARG for a null array or name, E_FAIL for an absent name) every slot
  /// is left VT_EMPTY, so the caller owns nothing.
  virtual HRESULT STDMETHODCALLTYPE GetMultiple(ULONG cb, LPOLESTR* rgolestr, VARIANT* rgvar) = 0;

  /// Stores cb values in array order as put_Value does; stops at the first failure and returns
  /// it, leaving the earlier entries stored. E_INVALIDARG for null arrays when cb > 0.
  virtual HRESULT STDMETHODCALLTYPE PutMultiple(ULONG cb, LPOLESTR* rgolestr, VARIANT* rgvar) = 0;

  /// S_OK when bstrName is present, S_FALSE when not; E_INVALIDARG for a null or empty name.
  virtual HRESULT STDMETHODCALLTYPE Test(BSTR bstrName) = 0;

  /// Copies every entry of this dictionary into lpDictionary through its put_Value, overwriting
  /// entries of the same name. E_INVALIDARG when lpDictionary is null; otherwise the first
  /// failure of the target's put_Value.
  virtual HRESULT STDMETHODCALLTYPE MergeTo(IDictionary* lpDictionary) = 0;
};

LMK_DECLARE_IID(IDictionary, "7F6965D4-9655-4145-BFE6-8619711AFC40");
LMK_DECLARE_IID_BASE(IDictionary, IDispatch);

/// The interface's identity under its conventional name.
inline constexpr IID IID_IDictionary = {
    0x7F6965D4, 0x9655, 0x4145, {0xBF, 0xE6, 0x86, 0x19, 0x71, 0x1A, 0xFC, 0x40}};

/// The creatable dictionary class ("Lumarko.Plugin.FileUtilities.Dictionary").
inline constexpr CLSID CLSID_Dictionary = {
    0x2966F71C, 0x0245, 0x4532, {0xA2, 0xF1, 0xE2, 0xD8, 0x15, 0x8D, 0x95, 0xC1}};

namespace lmk {

/// Creates a CDictionary and queries it for riid into *ppv (a new reference). E_INVALIDARG for a
/// null ppv, CLASS_E_NOAGGREGATION when outer is not null, E_NOINTERFACE, E_OUTOFMEMORY.
HRESULT CreateDictionary(IUnknown* outer, REFIID riid, void** ppv) noexcept;

/// Creates an empty dictionary for C++ callers; throws ComError(E_OUTOFMEMORY) on failure.
ComPtr<IDictionary> MakeDictionary();

}  // namespace lmk
