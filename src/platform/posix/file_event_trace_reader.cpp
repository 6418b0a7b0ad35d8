// Reads the POSIX event log file back, stopping cleanly at the first damaged record.
#include <cerrno>
#include <cstdio>
#include <memory>
#include <new>
#include <vector>

#include "platform/event_trace_reader.h"
#include "platform/posix/event_record_codec.h"
#include "platform/text_encoding.h"

namespace lmk {

namespace {

struct FileCloser {
  void operator()(FILE* file) const { std::fclose(file); }
};
using UniqueFile = std::unique_ptr<FILE, FileCloser>;

// Reads exactly `size` bytes into `out` (resized); false at the end of the file.
bool ReadExact(FILE* file, size_t size, std::vector<uint8_t>* out) {
  out->resize(size);
  return size == 0 || std::fread(out->data(), 1, size, file) == size;
}

DWORD ReadAll(FILE* file, const std::function<bool(EventTraceRecord&&)>& on_record,
              EventTraceDamage* damage) {
  using Codec = EventRecordCodec;
  std::vector<uint8_t> bytes;
  if (!ReadExact(file, 4, &bytes)) return ERROR_INVALID_DATA;
  const size_t block_size = Codec::SessionBlockSize(bytes);
  if (block_size == 0) return ERROR_INVALID_DATA;
  std::vector<uint8_t> rest;
  if (!ReadExact(file, block_size - 4, &rest)) return ERROR_INVALID_DATA;
  bytes.insert(bytes.end(), rest.begin(), rest.end());
  Codec::SessionInfo session;
  if (!Codec::DecodeSessionBlock(bytes, &session)) return ERROR_INVALID_DATA;

  uint64_t offset = block_size;
  auto stop = [&](EventTraceDamage::Kind kind) {
    damage->kind = kind;
    damage->offset = offset;
    return ERROR_SUCCESS;
  };
  std::vector<uint8_t> head;
  std::vector<uint8_t> text;
  for (;;) {
    head.resize(2);
    const size_t got = std::fread(head.data(), 1, 2, file);
    if (got == 0) return ERROR_SUCCESS;  // the end, on a record boundary
    if (got < 2) return stop(EventTraceDamage::Kind::kTruncated);
    const size_t header = Codec::HeaderSize(head);
    if (header != Codec::kHeaderSizeWithText && header != Codec::kHeaderSizeWithoutText) {
      return stop(EventTraceDamage::Kind::kCorrupt);
    }
    std::vector<uint8_t> more;
    if (!ReadExact(file, header + Codec::kTimeStampSize - 2, &more)) {
      return stop(EventTraceDamage::Kind::kTruncated);
    }
    head.insert(head.end(), more.begin(), more.end());
    Codec::RecordHead fields;
    if (Codec::DecodeRecordHead(head, &fields) != Codec::Status::kOk) {
      return stop(EventTraceDamage::Kind::kCorrupt);
    }
    EventTraceRecord record;
    record.level = fields.level;
    record.type = fields.type;
    record.time = fields.time;
    if (fields.has_text) {
      if (!ReadExact(file, fields.text_bytes, &text)) {
        return stop(EventTraceDamage::Kind::kTruncated);
      }
      record.text.emplace();
      if (!Codec::DecodeText(text, &*record.text)) return stop(EventTraceDamage::Kind::kCorrupt);
    }
    offset += head.size() + fields.text_bytes;
    if (!on_record(std::move(record))) return ERROR_SUCCESS;
  }
}

}  // namespace

DWORD ReadEventTraceFile(std::wstring_view path,
                         const std::function<bool(EventTraceRecord&&)>& on_record,
                         EventTraceDamage* damage) {
  EventTraceDamage ignored;
  if (damage == nullptr) damage = &ignored;
  *damage = EventTraceDamage{};
  UniqueFile file(std::fopen(ToUtf8(path).c_str(), "rbe"));
  if (!file) {
    switch (errno) {
      case ENOENT:
        return ERROR_FILE_NOT_FOUND;
      case ENOTDIR:
        return ERROR_PATH_NOT_FOUND;
      case EACCES:
      case EPERM:
      case EISDIR:
        return ERROR_ACCESS_DENIED;
      case ENOMEM:
        return ERROR_OUTOFMEMORY;
      default:
        return ERROR_CANTREAD;
    }
  }
  try {
    return ReadAll(file.get(), on_record, damage);
  } catch (const std::bad_alloc&) {
    return ERROR_OUTOFMEMORY;
  }
}

}  // namespace lmk
