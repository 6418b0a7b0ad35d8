// The primitive forms of the binary rule-set stream, read with every length checked.
#include "rules/rule_stream_reader.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <vector>

#include "com/com_error.h"
#include "rules/rule_set_error.h"
#include "rules/rule_strings.h"

namespace lmk {

CRuleStreamReader::CRuleStreamReader(std::span<const std::byte> bytes) : memory_(bytes) {}

CRuleStreamReader::CRuleStreamReader(IStream* stream) {
  if (stream == nullptr) ThrowIfFailed(E_INVALIDARG);
  stream_.Attach(stream);
  stream->AddRef();
}

std::size_t CRuleStreamReader::ReadSome(void* out, std::size_t size) {
  if (!stream_) {
    const std::size_t n = std::min(size, memory_.size() - static_cast<std::size_t>(offset_));
    std::memcpy(out, memory_.data() + offset_, n);
    offset_ += n;
    return n;
  }
  std::size_t done = 0;
  while (done < size) {
    const ULONG chunk = static_cast<ULONG>(std::min<std::size_t>(size - done, 1u << 20));
    ULONG got = 0;
    const HRESULT hr = stream_->Read(static_cast<std::byte*>(out) + done, chunk, &got);
    if (FAILED(hr)) ThrowIfFailed(hr);
    if (got == 0) break;
    done += got;
  }
  offset_ += done;
  return done;
}

void CRuleStreamReader::Bytes(void* out, std::size_t size, std::wstring_view what) {
  const std::uint64_t start = offset_;
  if (ReadSome(out, size) != size) {
    throw CRuleSetError(FormatRuleString(RuleStringId::StreamTruncated, {what}), start);
  }
}

bool CRuleStreamReader::AtEnd() {
  if (!stream_) return offset_ == memory_.size();
  std::byte probe;
  ULONG got = 0;
  if (FAILED(stream_->Read(&probe, 1, &got)) || got == 0) return true;
  LARGE_INTEGER back{};
  back.QuadPart = -1;
  ThrowIfFailed(stream_->Seek(back, STREAM_SEEK_CUR, nullptr));
  return false;
}

std::uint8_t CRuleStreamReader::U8() {
  std::uint8_t b[1];
  Bytes(b, sizeof b, L"a number");
  return b[0];
}

std::uint16_t CRuleStreamReader::U16() {
  std::uint8_t b[2];
  Bytes(b, sizeof b, L"a number");
  return static_cast<std::uint16_t>(b[0] | (b[1] << 8));
}

std::uint32_t CRuleStreamReader::U32() {
  std::uint8_t b[4];
  Bytes(b, sizeof b, L"a number");
  return static_cast<std::uint32_t>(b[0]) | (static_cast<std::uint32_t>(b[1]) << 8) |
         (static_cast<std::uint32_t>(b[2]) << 16) | (static_cast<std::uint32_t>(b[3]) << 24);
}

std::uint64_t CRuleStreamReader::U64() {
  const std::uint64_t low = U32();
  return low | (static_cast<std::uint64_t>(U32()) << 32);
}

double CRuleStreamReader::F64() { return std::bit_cast<double>(U64()); }

std::uint32_t CRuleStreamReader::Count(std::uint32_t max, std::wstring_view what) {
  const std::uint64_t at = offset_;
  const std::uint32_t count = U32();
  if (count > max) {
    throw CRuleSetError(
        FormatRuleString(RuleStringId::StreamCountTooLarge, {std::to_wstring(count), what}), at);
  }
  return count;
}

std::wstring CRuleStreamReader::Text() {
  const std::uint64_t at = offset_;
  const std::uint32_t units = U32();
  if (units > kMaxTextUnits ||
      (!stream_ && static_cast<std::uint64_t>(units) * 2 > memory_.size() - offset_)) {
    if (units <= kMaxTextUnits) Fail(FormatRuleString(RuleStringId::StreamTruncated, {L"a text"}));
    throw CRuleSetError(
        FormatRuleString(RuleStringId::StreamLengthTooLarge, {std::to_wstring(units)}), at);
  }
  // Read in slices, so that a stream claiming a long text costs memory only as data arrives.
  std::vector<std::uint16_t> code;
  std::vector<std::uint8_t> slice;
  std::uint32_t left = units;
  while (left > 0) {
    const std::uint32_t n = std::min<std::uint32_t>(left, 32 * 1024);
    slice.resize(static_cast<std::size_t>(n) * 2);
    Bytes(slice.data(), slice.size(), L"a text");
    for (std::uint32_t i = 0; i < n; ++i) {
      code.push_back(static_cast<std::uint16_t>(slice[2 * i] | (slice[2 * i + 1] << 8)));
    }
    left -= n;
  }
  std::wstring text;
  text.reserve(code.size());
  for (std::size_t i = 0; i < code.size(); ++i) {
    const std::uint16_t unit = code[i];
    if constexpr (sizeof(wchar_t) >= 4) {
      if (unit >= 0xD800 && unit <= 0xDBFF && i + 1 < code.size() && code[i + 1] >= 0xDC00 &&
          code[i + 1] <= 0xDFFF) {
        const std::uint32_t cp = 0x10000 + ((unit - 0xD800u) << 10) + (code[i + 1] - 0xDC00u);
        text += static_cast<wchar_t>(cp);
        ++i;
        continue;
      }
    }
    // A lone surrogate is kept as it is, so that what was saved comes back unchanged.
    text += static_cast<wchar_t>(unit);
  }
  return text;
}

void CRuleStreamReader::Fail(std::wstring message) const {
  throw CRuleSetError(std::move(message), offset_);
}

}  // namespace lmk
