// Saving and loading of element fields through one list.
#include "rules/field_archive.h"

namespace lmk {

void CFieldArchive::U8(std::uint8_t& value) {
  if (reader_) {
    value = reader_->U8();
  } else {
    writer_->U8(value);
  }
}

void CFieldArchive::I8(std::int8_t& value) {
  auto raw = static_cast<std::uint8_t>(value);
  U8(raw);
  value = static_cast<std::int8_t>(raw);
}

void CFieldArchive::Bool(bool& value) {
  std::uint8_t raw = value ? 1 : 0;
  U8(raw);
  value = raw != 0;
}

void CFieldArchive::U16(std::uint16_t& value) {
  if (reader_) {
    value = reader_->U16();
  } else {
    writer_->U16(value);
  }
}

void CFieldArchive::I16(std::int16_t& value) {
  auto raw = static_cast<std::uint16_t>(value);
  U16(raw);
  value = static_cast<std::int16_t>(raw);
}

void CFieldArchive::U32(std::uint32_t& value) {
  if (reader_) {
    value = reader_->U32();
  } else {
    writer_->U32(value);
  }
}

void CFieldArchive::I32(std::int32_t& value) {
  auto raw = static_cast<std::uint32_t>(value);
  U32(raw);
  value = static_cast<std::int32_t>(raw);
}

void CFieldArchive::U64(std::uint64_t& value) {
  if (reader_) {
    value = reader_->U64();
  } else {
    writer_->U64(value);
  }
}

void CFieldArchive::I64(std::int64_t& value) {
  auto raw = static_cast<std::uint64_t>(value);
  U64(raw);
  value = static_cast<std::int64_t>(raw);
}

void CFieldArchive::F64(double& value) {
  if (reader_) {
    value = reader_->F64();
  } else {
    writer_->F64(value);
  }
}

void CFieldArchive::Text(std::wstring& value) {
  if (reader_) {
    value = reader_->Text();
  } else {
    writer_->Text(value);
  }
}

}  // namespace lmk
