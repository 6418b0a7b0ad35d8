// Which values of the per-file record a template reads, told from its text before any image is
// expanded, so that a run can leave the other values out of the record.
#pragma once

#include <string_view>

#include "rules/record_key_set.h"

namespace lmk {

/// Adds to keys the record values that expanding templ may read, scanning it as the expander
/// does (an unclosed '{' ends it). A user-defined variable means every key.
void AddTemplateKeys(std::wstring_view templ, RecordKeySet& keys);

}  // namespace lmk
