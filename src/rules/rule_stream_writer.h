// Writes the primitive forms of the binary rule-set stream: little-endian integers, IEEE doubles
// and length-prefixed UTF-16LE texts.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include "com/com.h"

namespace lmk {

class CRuleStreamWriter {
 public:
  void U8(std::uint8_t value) { bytes_.push_back(static_cast<std::byte>(value)); }
  void U16(std::uint16_t value);
  void U32(std::uint32_t value);
  void U64(std::uint64_t value);
  void F64(double value);
  /// A 32-bit count of UTF-16 code units, then the code units, little-endian.
  void Text(std::wstring_view text);
  void Bytes(const void* data, std::size_t size);

  const std::vector<std::byte>& bytes() const { return bytes_; }
  std::vector<std::byte> TakeBytes() { return std::move(bytes_); }

  /// Writes everything written so far to stream. The stream's own failure HRESULT, or
  /// STG_E_MEDIUMFULL when it accepts fewer bytes than given; E_INVALIDARG for a null stream.
  [[nodiscard]] HRESULT WriteTo(IStream* stream) const;

 private:
  std::vector<std::byte> bytes_;
};

}  // namespace lmk
