// The words of the "companions" parameter that the file actions share.
#pragma once

#include <array>
#include <cstdint>
#include <string>

#include "actions/companion_files.h"
#include "rules/param_archive.h"
#include "rules/param_codec.h"

namespace lmk {

inline constexpr std::array<ParamWord, 2> kCompanionWords = {{
    {L"xmp", kCompanionXmp},
    {L"wav", kCompanionWav},
}};

/// The companion bits of flags loaded, saved or described as "companions: [xmp, wav]".
void ExchangeCompanions(CParamArchive& archive, std::uint32_t& flags);

/// ", with its XMP and WAV sidecars" and the like for a description; empty without companions.
std::wstring CompanionPhrase(std::uint32_t flags);

}  // namespace lmk
