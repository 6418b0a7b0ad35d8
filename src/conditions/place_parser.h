// Reading a place (latitude and longitude) from pasted text: a plain coordinate pair or the
// address of a map web page.
#pragma once

#include <optional>
#include <string_view>

#include "rules/param_codec.h"

namespace lmk {

/// The message shown when text holds no recognisable place.
inline constexpr std::wstring_view kPlaceNotRecognizedMessage =
    L"There is no recognizable map URL or text on the clipboard.\n\nSupported formats includes "
    L"Nokia, Bing\u2122, Google and Yahoo!\u00AE map URLs, or a simple coordinate pair with a "
    L"comma "
    L"or semicolon separator and a dot as decimal point, e.g. 46.207388,6.15589\r\n\r\nWebsites "
    L"can change their URL formats whenever they see fit. If you believe the URL to be valid "
    L"(i.e. it works in your web browser) but is not recognized here, please send it to us so we "
    L"can add support for it if possible.";

/// The place in text, or nothing when no form is recognised. The forms are tried in order: a
/// plain pair ("46.207388,6.15589", also with ";" or "~" and spaces), then map addresses
/// carrying "cp=LAT~LON", "ll=" or "q=LAT,LON", "lat=...&lon=...", ",LAT,LON" and "=LAT,LON,".
/// Numbers need a dot and at least one decimal. A latitude beyond ±90 or a longitude beyond ±180
/// is refused.
std::optional<GeoPlace> ParseClipboardPlace(std::wstring_view text);

}  // namespace lmk
