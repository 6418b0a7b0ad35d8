// The text export of the events list.
#include "batch/event_log_exporter.h"

#include <new>

#include "batch/event_log_texts.h"
#include "batch/event_time_text.h"
#include "platform/text_file.h"

namespace lmk {

namespace {

void AppendOneLine(std::wstring_view text, std::wstring* out) {
  for (size_t i = 0; i < text.size(); ++i) {
    const wchar_t c = text[i];
    if (c == L'\r' && i + 1 < text.size() && text[i + 1] == L'\n') continue;  // CRLF: one space
    out->push_back(c == L'\r' || c == L'\n' ? L' ' : c);
  }
}

}  // namespace

std::wstring EventLogExporter::Text(std::span<const EventLogEntry> entries, int64_t generated_at) {
  std::wstring text(LoadEventLogText(EventLogText::kExportHeader));
  text += L' ';
  text += EventTimeText(generated_at, false);
  text += L"\n\n";
  for (const EventLogEntry& entry : entries) {
    text += EventLevelWord(entry.level);
    text += L'\t';
    text += EventTimeText(entry.time);
    text += L'\t';
    AppendOneLine(entry.text, &text);
    text += L'\n';
  }
  return text;
}

DWORD EventLogExporter::Save(std::wstring_view path, std::span<const EventLogEntry> entries) {
  try {
    FILETIME now{};
    GetSystemTimeAsFileTime(&now);
    return WriteTextFile(path, Text(entries, FileTimeToInt64(now)));
  } catch (const std::bad_alloc&) {
    return ERROR_OUTOFMEMORY;
  }
}

std::wstring_view EventLogExporter::SaveFailedText() {
  return LoadEventLogText(EventLogText::kSaveFailed);
}

}  // namespace lmk
