// The primitive forms of the binary rule-set stream, written.
#include "rules/rule_stream_writer.h"

#include <algorithm>
#include <bit>
#include <limits>
#include <stdexcept>

namespace lmk {

void CRuleStreamWriter::U16(std::uint16_t value) {
  U8(static_cast<std::uint8_t>(value));
  U8(static_cast<std::uint8_t>(value >> 8));
}

void CRuleStreamWriter::U32(std::uint32_t value) {
  U16(static_cast<std::uint16_t>(value));
  U16(static_cast<std::uint16_t>(value >> 16));
}

void CRuleStreamWriter::U64(std::uint64_t value) {
  U32(static_cast<std::uint32_t>(value));
  U32(static_cast<std::uint32_t>(value >> 32));
}

void CRuleStreamWriter::F64(double value) { U64(std::bit_cast<std::uint64_t>(value)); }

void CRuleStreamWriter::Text(std::wstring_view text) {
  // Counted in UTF-16 code units, so that a text has the same form whatever wchar_t's width.
  std::vector<std::uint16_t> units;
  units.reserve(text.size());
  for (wchar_t ch : text) {
    const auto code = static_cast<std::uint32_t>(ch);
    if (code > 0xFFFF && code <= 0x10FFFF) {
      const std::uint32_t v = code - 0x10000;
      units.push_back(static_cast<std::uint16_t>(0xD800 + (v >> 10)));
      units.push_back(static_cast<std::uint16_t>(0xDC00 + (v & 0x3FF)));
    } else if (code > 0x10FFFF) {
      units.push_back(0xFFFD);
    } else {
      units.push_back(static_cast<std::uint16_t>(code));
    }
  }
  if (units.size() > std::numeric_limits<std::uint32_t>::max()) {
    throw std::length_error("text too long for the rule-set stream");
  }
  U32(static_cast<std::uint32_t>(units.size()));
  for (std::uint16_t unit : units) U16(unit);
}

void CRuleStreamWriter::Bytes(const void* data, std::size_t size) {
  const auto* p = static_cast<const std::byte*>(data);
  bytes_.insert(bytes_.end(), p, p + size);
}

HRESULT CRuleStreamWriter::WriteTo(IStream* stream) const {
  if (stream == nullptr) return E_INVALIDARG;
  std::size_t done = 0;
  while (done < bytes_.size()) {
    const ULONG chunk = static_cast<ULONG>(std::min<std::size_t>(bytes_.size() - done, 1u << 20));
    ULONG written = 0;
    const HRESULT hr = stream->Write(bytes_.data() + done, chunk, &written);
    if (FAILED(hr)) return hr;
    if (written == 0) return STG_E_MEDIUMFULL;
    done += written;
  }
  return S_OK;
}

}  // namespace lmk
