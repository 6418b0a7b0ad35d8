// The job-wide list of files to e-mail when the job ends, as exporting actions add to it.
#pragma once

#include <string_view>

#include "com/com.h"
#include "dictionary/idictionary.h"

namespace lmk {

/// Adds the exported file at `path` to the list that the record's `Plugin.Attachments` holds,
/// under a fresh GUID as its key. Nothing is added when the file does not exist, or when the
/// record holds no list there (the value is not an object: a host that collects nothing).
/// S_OK when added; S_FALSE when nothing was added; the list's failure.
[[nodiscard]] HRESULT AddAttachment(IDictionary& record, std::wstring_view path);

}  // namespace lmk
