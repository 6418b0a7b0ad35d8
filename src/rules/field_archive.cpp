// Saving and loading of element fields through one list.
#include "rules/field_archive.h"

#include <type_traits>

namespace lmk {
namespace {

// One field read from the reader when there is one, else written to the writer.
template <class T, class Read, class Write>
void Exchange(CRuleStreamReader* reader, CRuleStreamWriter* writer, T& value, Read read,
              Write write) {
  if (reader != nullptr) {
    value = (reader->*read)();
  } else {
    (writer->*write)(value);
  }
}

// A signed field kept as the unsigned one of its width, through exchange.
template <class Signed, class Exchanger>
void AsUnsigned(Signed& value, Exchanger exchange) {
  auto raw = static_cast<std::make_unsigned_t<Signed>>(value);
  exchange(raw);
  value = static_cast<Signed>(raw);
}

}  // namespace

void CFieldArchive::U8(std::uint8_t& value) {
  Exchange(reader_, writer_, value, &CRuleStreamReader::U8, &CRuleStreamWriter::U8);
}

void CFieldArchive::I8(std::int8_t& value) {
  AsUnsigned(value, [this](std::uint8_t& raw) { U8(raw); });
}

void CFieldArchive::Bool(bool& value) {
  std::uint8_t raw = value ? 1 : 0;
  U8(raw);
  value = raw != 0;
}

void CFieldArchive::U16(std::uint16_t& value) {
  Exchange(reader_, writer_, value, &CRuleStreamReader::U16, &CRuleStreamWriter::U16);
}

void CFieldArchive::I16(std::int16_t& value) {
  AsUnsigned(value, [this](std::uint16_t& raw) { U16(raw); });
}

void CFieldArchive::U32(std::uint32_t& value) {
  Exchange(reader_, writer_, value, &CRuleStreamReader::U32, &CRuleStreamWriter::U32);
}

void CFieldArchive::I32(std::int32_t& value) {
  AsUnsigned(value, [this](std::uint32_t& raw) { U32(raw); });
}

void CFieldArchive::U64(std::uint64_t& value) {
  Exchange(reader_, writer_, value, &CRuleStreamReader::U64, &CRuleStreamWriter::U64);
}

void CFieldArchive::I64(std::int64_t& value) {
  AsUnsigned(value, [this](std::uint64_t& raw) { U64(raw); });
}

void CFieldArchive::F64(double& value) {
  Exchange(reader_, writer_, value, &CRuleStreamReader::F64, &CRuleStreamWriter::F64);
}

void CFieldArchive::Text(std::wstring& value) {
  Exchange(reader_, writer_, value, &CRuleStreamReader::Text, &CRuleStreamWriter::Text);
}

}  // namespace lmk
