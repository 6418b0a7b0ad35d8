// The "companions" parameter.
#include "actions/companion_words.h"

#include "rules/param_archive.h"

namespace lmk {

void ExchangeCompanions(CParamArchive& archive, std::uint32_t& flags) {
  constexpr std::uint32_t kMask = kCompanionXmp | kCompanionWav;
  std::uint32_t companions = flags & kMask;
  archive.FlagSet(L"companions", companions, kCompanionWords);
  flags = (flags & ~kMask) | (companions & kMask);
}

std::wstring CompanionPhrase(std::uint32_t flags) {
  const bool xmp = (flags & kCompanionXmp) != 0;
  const bool wav = (flags & kCompanionWav) != 0;
  if (xmp && wav) return L", with its XMP and WAV sidecars";
  if (xmp) return L", with its XMP sidecar";
  if (wav) return L", with its WAV sidecar";
  return {};
}

}  // namespace lmk
