// The value tables of the shutter-speed and aperture conditions: a row per dialog entry, found
// by the index that the condition's packed word holds.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>

namespace lmk {

/// One row: the text shown ("1/250s", "f/4") and the value in the record's unit.
struct ValueRow {
  std::wstring_view label;
  double value;
};

/// 61 rows from "60s" (60) to "1/16000s" (0.0000625), exposure times in seconds.
std::span<const ValueRow> ShutterSpeedTable();
/// 53 rows from "f/0.7" to "f/256", f-numbers.
std::span<const ValueRow> ApertureTable();

/// The value of row index; 0.0 when the table has no such row.
double TableValue(std::span<const ValueRow> table, std::int32_t index);
/// The label of row index; empty when the table has no such row.
std::wstring_view TableLabel(std::span<const ValueRow> table, std::int32_t index);

}  // namespace lmk
