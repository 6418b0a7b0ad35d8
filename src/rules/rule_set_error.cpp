// Formatting of rule-set errors with their place.
#include "rules/rule_set_error.h"

#include <utility>

#include "platform/text_encoding.h"

namespace lmk {

CRuleSetError::CRuleSetError(std::wstring message) : message_(std::move(message)) { Refresh(); }

CRuleSetError::CRuleSetError(std::wstring message, SourceLocation where)
    : message_(std::move(message)), where_(where) {
  Refresh();
}

CRuleSetError::CRuleSetError(std::wstring message, std::uint64_t byteOffset)
    : message_(std::move(message)), hasOffset_(true), offset_(byteOffset) {
  Refresh();
}

void CRuleSetError::SetSource(std::wstring source) {
  if (!source_.empty()) return;
  source_ = std::move(source);
  Refresh();
}

void CRuleSetError::SetLocation(SourceLocation where) {
  if (where_.line != 0 || hasOffset_) return;
  where_ = where;
  Refresh();
}

std::wstring CRuleSetError::Text() const {
  std::wstring text = source_;
  if (where_.line > 0) {
    if (!text.empty()) text += L':';
    text += std::to_wstring(where_.line);
    if (where_.column > 0) text += L':' + std::to_wstring(where_.column);
  } else if (hasOffset_) {
    if (!text.empty()) text += L": ";
    text += L"at byte " + std::to_wstring(offset_);
  }
  if (!text.empty()) text += L": ";
  return text + message_;
}

void CRuleSetError::Refresh() { utf8_ = ToUtf8(Text()); }

}  // namespace lmk
