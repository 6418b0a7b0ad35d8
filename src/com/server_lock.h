// IClassFactory::LockServer as every factory of ours answers it.
#pragma once

#include "com/com_object.h"

namespace lmk {

/// ModuleLock for TRUE, ModuleUnlock for FALSE. S_OK.
inline HRESULT LockServerFor(BOOL lock) noexcept {
  if (lock) {
    ModuleLock();
  } else {
    ModuleUnlock();
  }
  return S_OK;
}

}  // namespace lmk
