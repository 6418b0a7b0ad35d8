// Actions: the on-failure policy in the flags word.
#include "rules/action.h"

namespace lmk {

void CAction::SetOnFailure(CActionErrorMode mode) {
  SetFlags((Flags() & ~kActionErrorModeMask) | static_cast<DWORD>(mode));
}

void CAction::ExchangeCommonParameters(CParamArchive& archive) {
  std::uint32_t mode = Flags() & kActionErrorModeMask;
  archive.Choice(L"on-failure", mode, ActionErrorModeWords());
  SetFlags((Flags() & ~kActionErrorModeMask) | (mode & kActionErrorModeMask));
}

}  // namespace lmk
