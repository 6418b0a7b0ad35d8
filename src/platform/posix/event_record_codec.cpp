// Encoding and checked decoding of the POSIX event log file's session block and records.
#include "platform/posix/event_record_codec.h"

#include <cstring>

namespace lmk {

const GUID EventRecordCodec::kEventClassGuid = {
    0xC661FCE4, 0x8D97, 0x4254, {0x92, 0x85, 0xBB, 0xC7, 0x4A, 0x45, 0x4E, 0xB1}};
const GUID EventRecordCodec::kProviderGuid = {
    0x5B1E7C2A, 0x3D4F, 0x4A8B, {0x9C, 0x61, 0x2E, 0x7F, 0x0D, 0x84, 0xA3, 0xB5}};

namespace {

constexpr size_t kSizeOffset = 0;
constexpr size_t kTypeOffset = 4;
constexpr size_t kLevelOffset = 5;
constexpr size_t kGuidOffset = 24;
constexpr size_t kFlagsOffset = 44;
constexpr size_t kTextPointerOffset = 48;
constexpr size_t kTextLengthOffset = 56;
// Session block fields, at the offsets of the trace-session properties block.
constexpr size_t kBlockTimeOffset = 16;
constexpr size_t kBlockBufferSizeOffset = 48;
constexpr size_t kBlockMinBuffersOffset = 52;
constexpr size_t kBlockMaxBuffersOffset = 56;
constexpr size_t kBlockLogFileModeOffset = 64;
constexpr size_t kBlockFileNameOffsetOffset = 112;
constexpr size_t kBlockNameOffsetOffset = 116;
constexpr size_t kGuidSize = 16;

void Put16(uint8_t* p, uint16_t v) {
  p[0] = static_cast<uint8_t>(v);
  p[1] = static_cast<uint8_t>(v >> 8);
}
void Put32(uint8_t* p, uint32_t v) {
  for (int i = 0; i < 4; ++i) p[i] = static_cast<uint8_t>(v >> (8 * i));
}
void Put64(uint8_t* p, uint64_t v) {
  for (int i = 0; i < 8; ++i) p[i] = static_cast<uint8_t>(v >> (8 * i));
}
uint16_t Get16(const uint8_t* p) { return static_cast<uint16_t>(p[0] | (p[1] << 8)); }
uint32_t Get32(const uint8_t* p) {
  uint32_t v = 0;
  for (int i = 3; i >= 0; --i) v = (v << 8) | p[i];
  return v;
}
uint64_t Get64(const uint8_t* p) {
  uint64_t v = 0;
  for (int i = 7; i >= 0; --i) v = (v << 8) | p[i];
  return v;
}

// GUIDs are stored as in memory on Windows: Data1..Data3 little-endian, then Data4's bytes.
void PutGuid(uint8_t* p, const GUID& g) {
  Put32(p, g.Data1);
  Put16(p + 4, g.Data2);
  Put16(p + 6, g.Data3);
  std::memcpy(p + 8, g.Data4, 8);
}
bool GuidAt(const uint8_t* p, const GUID& g) {
  uint8_t expected[kGuidSize];
  PutGuid(expected, g);
  return std::memcmp(p, expected, kGuidSize) == 0;
}

void PutUnits(uint8_t* p, const std::u16string& units) {
  for (size_t i = 0; i < units.size(); ++i) Put16(p + 2 * i, units[i]);
}

// The character as the log stores it: anything that is not a Unicode scalar value is U+FFFD.
uint32_t ScalarOf(wchar_t c) {
  const auto value = static_cast<uint32_t>(c);
  if constexpr (sizeof(wchar_t) == 2) return value;
  return (value >= 0xD800 && value <= 0xDFFF) || value > 0x10FFFF ? 0xFFFD : value;
}

// How many UTF-16 units `text` takes, as ToUtf16 converts it.
size_t Utf16Length(std::wstring_view text) {
  size_t units = text.size();
  if constexpr (sizeof(wchar_t) != 2) {
    for (const wchar_t c : text) units += ScalarOf(c) >= 0x10000 ? 1 : 0;
  }
  return units;
}

// Writes `text` as ToUtf16 converts it, little-endian, straight into the record: a record per
// picture went through a string of its own first.
void PutText(uint8_t* p, std::wstring_view text) {
  for (const wchar_t c : text) {
    uint32_t scalar = ScalarOf(c);
    if (scalar >= 0x10000) {
      scalar -= 0x10000;
      Put16(p, static_cast<uint16_t>(0xD800 + (scalar >> 10)));
      Put16(p + 2, static_cast<uint16_t>(0xDC00 + (scalar & 0x3FF)));
      p += 4;
    } else {
      Put16(p, static_cast<uint16_t>(scalar));
      p += 2;
    }
  }
}

}  // namespace

std::u16string EventRecordCodec::ToUtf16(std::wstring_view text) {
  std::u16string units;
  units.reserve(text.size());
  for (size_t i = 0; i < text.size(); ++i) {
    auto c = static_cast<uint32_t>(text[i]);
    if constexpr (sizeof(wchar_t) == 2) {
      units.push_back(static_cast<char16_t>(c));
      continue;
    }
    if (c >= 0xD800 && c <= 0xDFFF) c = 0xFFFD;
    if (c > 0x10FFFF) c = 0xFFFD;
    if (c >= 0x10000) {
      c -= 0x10000;
      units.push_back(static_cast<char16_t>(0xD800 + (c >> 10)));
      units.push_back(static_cast<char16_t>(0xDC00 + (c & 0x3FF)));
    } else {
      units.push_back(static_cast<char16_t>(c));
    }
  }
  return units;
}

void EventRecordCodec::AppendRecord(BYTE level, BYTE type, int64_t time,
                                    std::optional<std::wstring_view> text,
                                    std::vector<uint8_t>* out) {
  const size_t header = text ? kHeaderSizeWithText : kHeaderSizeWithoutText;
  const size_t text_bytes = text ? 2 * (Utf16Length(*text) + 1) : 0;
  const size_t start = out->size();
  out->resize(start + header + kTimeStampSize + text_bytes, 0);
  uint8_t* p = out->data() + start;
  Put16(p + kSizeOffset, static_cast<uint16_t>(header));
  p[kTypeOffset] = type;
  p[kLevelOffset] = level;
  PutGuid(p + kGuidOffset, kEventClassGuid);
  Put32(p + kFlagsOffset, text ? kFlagsWithText : kFlagsWithoutText);
  if (text) {
    Put64(p + kTextPointerOffset, header + kTimeStampSize);
    Put32(p + kTextLengthOffset, static_cast<uint32_t>(text_bytes));
  }
  Put64(p + header, static_cast<uint64_t>(time));
  if (text) PutText(p + header + kTimeStampSize, *text);  // the zero unit is already there
}

size_t EventRecordCodec::HeaderSize(std::span<const uint8_t> first_two) {
  return first_two.size() < 2 ? 0 : Get16(first_two.data());
}

EventRecordCodec::Status EventRecordCodec::DecodeRecordHead(std::span<const uint8_t> head,
                                                            RecordHead* out, uint64_t* found) {
  uint64_t ignored = 0;
  if (found == nullptr) found = &ignored;
  const size_t header = HeaderSize(head);
  *found = header;
  if (header != kHeaderSizeWithText && header != kHeaderSizeWithoutText) return Status::kBadSize;
  if (head.size() < header + kTimeStampSize) return Status::kTruncated;
  const uint8_t* p = head.data();
  const bool has_text = header == kHeaderSizeWithText;
  if (!GuidAt(p + kGuidOffset, kEventClassGuid)) return Status::kBadClass;
  *found = Get32(p + kFlagsOffset);
  if (*found != (has_text ? kFlagsWithText : kFlagsWithoutText)) return Status::kBadFlags;
  RecordHead h;
  h.level = p[kLevelOffset];
  h.type = p[kTypeOffset];
  *found = h.level;
  if (h.level < 1 || h.level > 5) return Status::kBadLevel;
  *found = h.type;
  if (h.type >= 10) return Status::kBadType;
  h.has_text = has_text;
  if (has_text) {
    *found = Get64(p + kTextPointerOffset);
    if (*found != header + kTimeStampSize) return Status::kBadTextLength;
    h.text_bytes = Get32(p + kTextLengthOffset);
    *found = h.text_bytes;
    if (h.text_bytes < 2 || h.text_bytes % 2 != 0 || h.text_bytes > kMaxTextBytes) {
      return Status::kBadTextLength;
    }
  }
  *found = 0;
  h.time = static_cast<int64_t>(Get64(p + header));
  *out = h;
  return Status::kOk;
}

bool EventRecordCodec::DecodeText(std::span<const uint8_t> bytes, std::wstring* out) {
  if (bytes.size() < 2 || bytes.size() % 2 != 0) return false;
  const size_t count = bytes.size() / 2 - 1;
  if (Get16(bytes.data() + 2 * count) != 0) return false;
  std::wstring text;
  text.reserve(count);
  for (size_t i = 0; i < count; ++i) {
    uint32_t c = Get16(bytes.data() + 2 * i);
    if constexpr (sizeof(wchar_t) == 2) {
      text.push_back(static_cast<wchar_t>(c));
      continue;
    }
    if (c >= 0xD800 && c <= 0xDBFF && i + 1 < count) {
      const uint32_t low = Get16(bytes.data() + 2 * (i + 1));
      if (low >= 0xDC00 && low <= 0xDFFF) {
        text.push_back(static_cast<wchar_t>(0x10000 + ((c - 0xD800) << 10) + (low - 0xDC00)));
        ++i;
        continue;
      }
    }
    if (c >= 0xD800 && c <= 0xDFFF) c = 0xFFFD;
    text.push_back(static_cast<wchar_t>(c));
  }
  *out = std::move(text);
  return true;
}

std::vector<uint8_t> EventRecordCodec::SessionBlock(std::wstring_view session_name,
                                                    std::wstring_view log_file_path,
                                                    int64_t start_time, uint32_t page_size_kb) {
  const std::u16string name = ToUtf16(session_name);
  const std::u16string path = ToUtf16(log_file_path);
  const size_t size = kSessionBlockBaseSize + 2 * name.size() + 2;
  const size_t path_offset = kSessionNameOffset + 2 * name.size() + 2;
  std::vector<uint8_t> block(size, 0);
  uint8_t* p = block.data();
  Put32(p, static_cast<uint32_t>(size));
  Put64(p + kBlockTimeOffset, static_cast<uint64_t>(start_time));
  PutGuid(p + kGuidOffset, kProviderGuid);
  Put32(p + kBlockBufferSizeOffset, page_size_kb);
  Put32(p + kBlockMinBuffersOffset, kMinimumBuffers);
  Put32(p + kBlockMaxBuffersOffset, kMaximumBuffers);
  Put32(p + kBlockLogFileModeOffset, kLogFileMode);
  Put32(p + kBlockFileNameOffsetOffset, static_cast<uint32_t>(path_offset));
  Put32(p + kBlockNameOffsetOffset, static_cast<uint32_t>(kSessionNameOffset));
  PutUnits(p + kSessionNameOffset, name);
  // The file name area holds 1024 units; a path that the sink accepted (260 characters) always
  // fits, and a longer one is cut rather than written past the block.
  const size_t room = (size - path_offset) / 2 - 1;
  PutUnits(p + path_offset, path.size() <= room ? path : path.substr(0, room));
  return block;
}

size_t EventRecordCodec::SessionBlockSize(std::span<const uint8_t> first_four) {
  if (first_four.size() < 4) return 0;
  const size_t size = Get32(first_four.data());
  const size_t smallest = kSessionBlockBaseSize + 2 * 1 + 2;
  const size_t largest = kSessionBlockBaseSize + 2 * 1023 + 2;
  if (size < smallest || size > largest || size % 2 != 0) return 0;
  return size;
}

bool EventRecordCodec::HasProviderMark(std::span<const uint8_t> block) {
  return block.size() >= kGuidOffset + kGuidSize &&
         GuidAt(block.data() + kGuidOffset, kProviderGuid);
}

bool EventRecordCodec::DecodeSessionBlock(std::span<const uint8_t> block, SessionInfo* out) {
  const size_t size = SessionBlockSize(block);
  if (size == 0 || block.size() != size) return false;
  const uint8_t* p = block.data();
  if (!GuidAt(p + kGuidOffset, kProviderGuid)) return false;
  const size_t name_units = (size - kSessionBlockBaseSize - 2) / 2;
  const size_t path_offset = kSessionNameOffset + 2 * name_units + 2;
  if (Get32(p + kBlockNameOffsetOffset) != kSessionNameOffset ||
      Get32(p + kBlockFileNameOffsetOffset) != path_offset) {
    return false;
  }
  SessionInfo info;
  if (!DecodeText(block.subspan(kSessionNameOffset, 2 * name_units + 2), &info.session_name)) {
    return false;
  }
  // The path ends at its first zero unit inside the file name area.
  size_t path_end = path_offset;
  while (path_end + 1 < size && Get16(p + path_end) != 0) path_end += 2;
  if (path_end + 1 >= size) return false;
  if (!DecodeText(block.subspan(path_offset, path_end + 2 - path_offset), &info.log_file_path)) {
    return false;
  }
  info.start_time = static_cast<int64_t>(Get64(p + kBlockTimeOffset));
  *out = std::move(info);
  return true;
}

}  // namespace lmk
