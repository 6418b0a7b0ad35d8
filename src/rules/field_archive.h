// One element's own fields in the binary rule-set stream, written and read by the same code: an
// element lists its fields once, in order, and the archive either saves or loads them.
#pragma once

#include <cstdint>
#include <string>

#include "rules/rule_stream_reader.h"
#include "rules/rule_stream_writer.h"

namespace lmk {

class CFieldArchive {
 public:
  explicit CFieldArchive(CRuleStreamWriter& writer) : writer_(&writer) {}
  explicit CFieldArchive(CRuleStreamReader& reader) : reader_(&reader) {}

  bool IsLoading() const { return reader_ != nullptr; }

  void U8(std::uint8_t& value);
  void I8(std::int8_t& value);
  /// A byte, 0 or 1 (any non-zero byte loads as true).
  void Bool(bool& value);
  void U16(std::uint16_t& value);
  void I16(std::int16_t& value);
  void U32(std::uint32_t& value);
  void I32(std::int32_t& value);
  void U64(std::uint64_t& value);
  void I64(std::int64_t& value);
  void F64(double& value);
  void Text(std::wstring& value);

  /// The reader when loading, for a field-specific error (null when saving).
  CRuleStreamReader* reader() const { return reader_; }

 private:
  CRuleStreamWriter* writer_ = nullptr;
  CRuleStreamReader* reader_ = nullptr;
};

}  // namespace lmk
