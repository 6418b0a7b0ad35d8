// Parsers for the untrusted texts and byte blocks found in picture metadata: dates, numbers,
// GPS coordinates, ICC profile descriptions. Each one rejects what it cannot read exactly.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "host/image_metadata.h"

namespace lmk {

/// Longest text kept from one metadata value; the rest is cut, so a hostile file cannot make
/// every record it reaches megabytes long.
inline constexpr size_t kMaxMetadataTextLength = 32 * 1024;

/// Turns a raw metadata string into text: trailing NULs and white space go, NULs inside (used
/// by some writers to separate two names) become "; ", bytes that are not valid UTF-8 are read
/// as Latin-1, and the result is cut at kMaxMetadataTextLength characters.
std::wstring DecodeMetadataText(std::string_view raw);

/// Reads "YYYY:MM:DD HH:MM:SS" (EXIF) and ISO 8601 forms "YYYY-MM-DD[THH:MM[:SS[.fff]]][zone]"
/// with zone "Z" or "+HH:MM", "+HHMM", "+HH". Separators may be ':' or '-' in the date, and the
/// date may be written without them (IPTC's "YYYYMMDD"). Returns false, leaving *out absent,
/// for anything else. *zoneMinutes (east of UTC) and *hasZone are set when a zone was given.
bool ParseMetaDateTime(std::string_view text, MetaDateTime* out, bool* hasZone = nullptr,
                       int* zoneMinutes = nullptr);

/// Moves a present date by a number of minutes across day, month and year ends; the result
/// must stay inside the years MetaDateTime allows, else false and *value is unchanged.
bool ShiftMinutes(MetaDateTime* value, int64_t minutes);

/// Reads "n/d" (XMP's rationals) or a decimal number. A zero denominator, an overflow, NaN or
/// infinity give false.
bool ParseRationalText(std::string_view text, double* out);

/// Reads an XMP GPS coordinate "DDD,MM,SSk" or "DDD,MM.mmk" (k one of N, S, E, W) into signed
/// decimal degrees; also plain signed decimal degrees. Minutes and seconds must be below 60
/// and the result within 180 degrees.
bool ParseXmpGpsCoordinate(std::string_view text, double* out);

/// The description of an ICC profile (its 'desc' tag, version 2 or version 4 form); empty
/// when the block is not a readable profile.
std::wstring IccProfileDescription(const uint8_t* data, size_t size);

}  // namespace lmk
