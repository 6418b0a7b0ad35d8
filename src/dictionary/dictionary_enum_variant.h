// CDictionaryEnumVARIANT: walks a dictionary's names in map order for For Each and _NewEnum.
#pragma once

#include <mutex>

#include "com/bstr.h"
#include "com/com_object.h"
#include "com/com_ptr.h"
#include "dictionary/dictionary.h"

namespace lmk {

// The enumerator walks the live dictionary: its position is the last name it returned, and each
// call continues with the names sorting after it. Entries added behind the position are not
// seen, entries added ahead of it are, and nothing is returned twice. It keeps the dictionary
// alive. Its own lock is taken before the dictionary's (see CDictionary).
class CDictionaryEnumVARIANT final : public ComObject<CDictionaryEnumVARIANT, IEnumVARIANT> {
 public:
  /// `position` is the last name already returned; empty for a fresh enumerator.
  CDictionaryEnumVARIANT(ComPtr<CDictionary> dictionary, Bstr position);
  CDictionaryEnumVARIANT(const CDictionaryEnumVARIANT&) = delete;
  CDictionaryEnumVARIANT& operator=(const CDictionaryEnumVARIANT&) = delete;

  /// Writes up to celt names as VT_BSTR copies into rgVar (every slot is initialised; the
  /// caller clears the fetched ones) and their number into *pCeltFetched when it is not null.
  /// S_OK when celt names were written, S_FALSE when fewer; E_INVALIDARG for a null rgVar.
  HRESULT STDMETHODCALLTYPE Next(ULONG celt, VARIANT* rgVar, ULONG* pCeltFetched) override;
  /// Passes over celt names. S_OK, or S_FALSE when the end came first.
  HRESULT STDMETHODCALLTYPE Skip(ULONG celt) override;
  /// Goes back before the first name. S_OK.
  HRESULT STDMETHODCALLTYPE Reset() override;
  /// Writes a new enumerator at the same position (owned by the caller). E_INVALIDARG for null.
  HRESULT STDMETHODCALLTYPE Clone(IEnumVARIANT** ppEnum) override;

 private:
  std::mutex lock_;
  ComPtr<CDictionary> dictionary_;
  Bstr position_;
};

}  // namespace lmk
