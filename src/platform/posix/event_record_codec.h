// The byte layout of the POSIX event log file: a session block, then one record per event.
//
// File: the session block, laid out as the system's trace-session properties block (its size is
// 2170 + 2 x name length + 2 bytes; the session name at offset 120, the log file name right after
// it), then records. Record: the classic trace event header of 64 bytes (48 for an event without
// text), an 8-byte time stamp (FILETIME, UTC) and the text as UTF-16LE with its terminating zero.
// All numbers are little-endian.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "com/com.h"

namespace lmk {

class EventRecordCodec {
 public:
  static constexpr size_t kHeaderSizeWithText = 64;
  static constexpr size_t kHeaderSizeWithoutText = 48;
  static constexpr size_t kTimeStampSize = 8;
  static constexpr uint32_t kFlagsWithText = 0x120000;  // traced GUID and MOF pointer
  static constexpr uint32_t kFlagsWithoutText = 0x20000;
  /// Session block size without the session name's characters.
  static constexpr size_t kSessionBlockBaseSize = 2170;
  static constexpr size_t kSessionNameOffset = 120;
  /// Texts above this many bytes are refused by the reader as a corrupt length.
  static constexpr uint32_t kMaxTextBytes = 4 * 1024 * 1024;
  /// The system page size in KB that a session reports as its buffer size.
  static constexpr uint32_t kMinimumBuffers = 64;
  static constexpr uint32_t kMaximumBuffers = 256;
  /// Sequential file, private logger, private in-process.
  static constexpr uint32_t kLogFileMode = 2049 | 0x20000;

  /// The event class that every record carries: {C661FCE4-8D97-4254-9285-BBC74A454EB1}.
  static const GUID kEventClassGuid;
  /// Marks a session block of this program (the provider's control GUID).
  static const GUID kProviderGuid;

  /// kOk, or the first thing found wrong in a record's head.
  enum class Status {
    kOk,
    kTruncated,
    kBadSize,
    kBadClass,
    kBadFlags,
    kBadLevel,
    kBadType,
    kBadTextLength,
  };

  /// The fields of a record's header and time stamp.
  struct RecordHead {
    BYTE level = 0;
    BYTE type = 0;
    int64_t time = 0;
    bool has_text = false;
    uint32_t text_bytes = 0;  ///< Including the terminating zero.
  };

  struct SessionInfo {
    std::wstring session_name;
    std::wstring log_file_path;
    int64_t start_time = 0;
  };

  /// Appends one record. The text is encoded as UTF-16; characters that UTF-16 cannot carry
  /// become U+FFFD. The text's pointer field holds the text's offset from the record's start,
  /// since an address means nothing in a file.
  static void AppendRecord(BYTE level, BYTE type, int64_t time,
                           std::optional<std::wstring_view> text, std::vector<uint8_t>* out);

  /// Decodes a header and time stamp (`head` holds at least the header size read from its first
  /// two bytes, plus 8). A failure for a size other than 48 or 64, a wrong class GUID or flags,
  /// an invalid level or type, a text place or length that is odd, zero or above kMaxTextBytes;
  /// `*found` (may be null) then gets the value that was read.
  static Status DecodeRecordHead(std::span<const uint8_t> head, RecordHead* out,
                                 uint64_t* found = nullptr);

  /// The size a record's header announces in its first two bytes.
  static size_t HeaderSize(std::span<const uint8_t> first_two);

  /// Decodes a text of UTF-16LE units ending with a zero unit; false when the zero is missing.
  /// Unpaired surrogates become U+FFFD.
  static bool DecodeText(std::span<const uint8_t> bytes, std::wstring* out);

  /// The session block for a session (name and path as the sink checked them).
  static std::vector<uint8_t> SessionBlock(std::wstring_view session_name,
                                           std::wstring_view log_file_path, int64_t start_time,
                                           uint32_t page_size_kb);

  /// The block size announced in the first four bytes; 0 when it cannot be a session block.
  static size_t SessionBlockSize(std::span<const uint8_t> first_four);

  /// Whether a whole session block carries this program's provider mark.
  static bool HasProviderMark(std::span<const uint8_t> block);

  /// Checks and decodes a whole session block.
  static bool DecodeSessionBlock(std::span<const uint8_t> block, SessionInfo* out);

  /// UTF-16 units of a text as this file stores it.
  static std::u16string ToUtf16(std::wstring_view text);
};

}  // namespace lmk
