// The argument and result rules of IEnumVARIANT::Next, shared by the enumerators that hand out
// texts.
#pragma once

#include <functional>
#include <vector>

#include "com/bstr.h"
#include "com/com_sdk.h"

namespace lmk {

/// Checks the arguments, initialises every slot of rgVar, writes the texts `take(celt)` returns
/// (at most celt; the enumerator advances its own position there, under its own lock) as VT_BSTR
/// and their number into *pCeltFetched when it is not null. S_OK when celt were written, S_FALSE
/// when fewer; E_INVALIDARG for a null rgVar; what `take` throws becomes its HRESULT.
HRESULT NextTexts(ULONG celt, VARIANT* rgVar, ULONG* pCeltFetched,
                  const std::function<std::vector<Bstr>(ULONG)>& take) noexcept;

}  // namespace lmk
