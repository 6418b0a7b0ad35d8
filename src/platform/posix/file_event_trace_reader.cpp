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

using Problem = EventTraceDamage::Problem;

Problem ProblemOf(EventRecordCodec::Status status) {
  using Status = EventRecordCodec::Status;
  switch (status) {
    case Status::kOk:
      return Problem::kNone;
    case Status::kTruncated:
      return Problem::kRecordCut;
    case Status::kBadSize:
      return Problem::kRecordSize;
    case Status::kBadClass:
      return Problem::kEventClass;
    case Status::kBadFlags:
      return Problem::kFlags;
    case Status::kBadLevel:
      return Problem::kLevel;
    case Status::kBadType:
      return Problem::kType;
    case Status::kBadTextLength:
      return Problem::kTextLength;
  }
  return Problem::kRecordSize;
}

DWORD ReadAll(FILE* file, const std::function<bool(EventTraceRecord&&)>& on_record,
              EventTraceDamage* damage) {
  using Codec = EventRecordCodec;
  using Kind = EventTraceDamage::Kind;
  uint64_t offset = 0;
  auto stop = [&](Kind kind, Problem problem, uint64_t found = 0) {
    damage->kind = kind;
    damage->problem = problem;
    damage->offset = offset;
    damage->found = found;
    return kind == Kind::kBadHeader ? static_cast<DWORD>(ERROR_INVALID_DATA)
                                    : static_cast<DWORD>(ERROR_SUCCESS);
  };

  std::vector<uint8_t> bytes(4);
  const size_t first = std::fread(bytes.data(), 1, 4, file);
  if (first == 0) return stop(Kind::kBadHeader, Problem::kEmptyFile);
  if (first < 4) return stop(Kind::kBadHeader, Problem::kHeaderCut, first);
  const size_t block_size = Codec::SessionBlockSize(bytes);
  if (block_size == 0) {
    const uint64_t announced =
        bytes[0] | (bytes[1] << 8) | (bytes[2] << 16) | (static_cast<uint64_t>(bytes[3]) << 24);
    return stop(Kind::kBadHeader, Problem::kHeaderSize, announced);
  }
  std::vector<uint8_t> rest;
  if (!ReadExact(file, block_size - 4, &rest)) {
    return stop(Kind::kBadHeader, Problem::kHeaderCut, block_size);
  }
  bytes.insert(bytes.end(), rest.begin(), rest.end());
  if (!Codec::HasProviderMark(bytes)) return stop(Kind::kBadHeader, Problem::kNotThisProgram);
  Codec::SessionInfo session;
  if (!Codec::DecodeSessionBlock(bytes, &session)) {
    return stop(Kind::kBadHeader, Problem::kHeaderLayout);
  }

  offset = block_size;
  std::vector<uint8_t> head;
  std::vector<uint8_t> text;
  for (;;) {
    head.resize(2);
    const size_t got = std::fread(head.data(), 1, 2, file);
    if (got == 0) return ERROR_SUCCESS;  // the end, on a record boundary
    if (got < 2) return stop(Kind::kTruncated, Problem::kRecordCut);
    const size_t header = Codec::HeaderSize(head);
    if (header != Codec::kHeaderSizeWithText && header != Codec::kHeaderSizeWithoutText) {
      return stop(Kind::kCorrupt, Problem::kRecordSize, header);
    }
    std::vector<uint8_t> more;
    if (!ReadExact(file, header + Codec::kTimeStampSize - 2, &more)) {
      return stop(Kind::kTruncated, Problem::kRecordCut);
    }
    head.insert(head.end(), more.begin(), more.end());
    Codec::RecordHead fields;
    uint64_t found = 0;
    const Codec::Status status = Codec::DecodeRecordHead(head, &fields, &found);
    if (status != Codec::Status::kOk) return stop(Kind::kCorrupt, ProblemOf(status), found);
    EventTraceRecord record;
    record.level = fields.level;
    record.type = fields.type;
    record.time = fields.time;
    if (fields.has_text) {
      if (!ReadExact(file, fields.text_bytes, &text)) {
        return stop(Kind::kTruncated, Problem::kRecordCut);
      }
      record.text.emplace();
      if (!Codec::DecodeText(text, &*record.text)) {
        return stop(Kind::kCorrupt, Problem::kTextEnd);
      }
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
