// The template expander: turns "{DateTaken:Year}\{FileName}" into text for one image.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "com/com.h"
#include "templates/template_context.h"

struct IDictionary;

namespace lmk {

/// Expands a whole template for the image whose per-file record is `dictionary` (may be null:
/// every value then reads as missing). The result replaces `*result`; a null `templ` leaves it
/// untouched. `context` carries the back-references, "now", the file-name override, the preview
/// flag and the settings transaction across the templates of one image; null uses a context
/// of its own for this call. Tokens that are unknown, malformed or empty where a value is
/// required stay as typed; an unclosed '{' drops the rest of the template.
/// S_OK; E_INVALIDARG for a null `result`; E_OUTOFMEMORY; BoundedRegex::kTooComplex when a
/// `{RegEx...}` or `{Replace...}` expression would take too long on this image (the error
/// description names the template, the expression and the text); the settings store's HRESULT
/// when a counter cannot be read or advanced, with a description (TakeErrorDescription) naming
/// the database and what is wrong. On failure `*result` is empty. When even the result buffer
/// cannot be allocated the process ends (there is nothing sensible left to do).
[[nodiscard]] HRESULT ExpandTemplate(IDictionary* dictionary, const wchar_t* templ,
                                     std::wstring* result,
                                     TemplateContext* context = nullptr) noexcept;
[[nodiscard]] HRESULT ExpandTemplate(IDictionary* dictionary, std::wstring_view templ,
                                     std::wstring* result,
                                     TemplateContext* context = nullptr) noexcept;

/// Expands the one token at the start of `token` ("{FileName:1}", possibly followed by more
/// text). `*consumed` is the token's length when it is recognised (its value in `*value`) and 0
/// otherwise (`*value` then empty). S_OK in both cases; E_INVALIDARG for null out-pointers;
/// E_OUTOFMEMORY; a counter's failure as for ExpandTemplate (`*value` empty, `*consumed` 0).
[[nodiscard]] HRESULT ExpandVariable(std::wstring* value, IDictionary* dictionary,
                                     std::wstring_view token, size_t* consumed,
                                     TemplateContext* context = nullptr) noexcept;

}  // namespace lmk
