// Reads the primitive forms of the binary rule-set stream from memory or from an IStream. Every
// read is checked: a stream that ends early or states an impossible length raises CRuleSetError
// naming the byte offset, and no allocation is ever sized by a length before its data arrived.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "com/com.h"
#include "com/com_ptr.h"

namespace lmk {

class CRuleStreamReader {
 public:
  /// The longest text accepted, in UTF-16 code units (scripts are the longest texts of a rule).
  static constexpr std::uint32_t kMaxTextUnits = 4u * 1024 * 1024;

  /// Reads from bytes, which must outlive the reader.
  explicit CRuleStreamReader(std::span<const std::byte> bytes);
  /// Reads from stream's current position onwards; leaves it just after the last byte read.
  explicit CRuleStreamReader(IStream* stream);

  std::uint8_t U8();
  std::uint16_t U16();
  std::uint32_t U32();
  std::uint64_t U64();
  double F64();
  std::wstring Text();
  /// A 32-bit count that must not exceed max; what names the counted things for the error.
  std::uint32_t Count(std::uint32_t max, std::wstring_view what);

  /// Fills out with exactly size bytes or raises the truncation error naming what.
  void Bytes(void* out, std::size_t size, std::wstring_view what);

  /// True when a memory source has no byte left, or a stream source reports its end.
  bool AtEnd();

  /// Bytes read so far.
  std::uint64_t offset() const { return offset_; }

  [[noreturn]] void Fail(std::wstring message) const;

 private:
  std::size_t ReadSome(void* out, std::size_t size);

  std::span<const std::byte> memory_;
  ComPtr<IStream> stream_;
  std::uint64_t offset_ = 0;
};

}  // namespace lmk
