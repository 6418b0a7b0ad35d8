// The state of one top-level expansion: the record cache, nesting and the converted times.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "com/com.h"
#include "templates/record_reader.h"
#include "templates/template_context.h"

namespace lmk {

/// Lives for one call of ExpandTemplate or ExpandVariable and is shared by every nested
/// expansion inside it (inner templates of functions, user-defined variables).
class ExpansionCall {
 public:
  /// Deepest nesting of inner templates and user-defined variables; a token that would go
  /// deeper is left as typed, so no template can exhaust the stack.
  static constexpr int kMaxDepth = 32;

  ExpansionCall(IDictionary* dictionary, TemplateContext& context)
      : context_(context), record_(dictionary) {}
  ExpansionCall(const ExpansionCall&) = delete;
  ExpansionCall& operator=(const ExpansionCall&) = delete;

  TemplateContext& context() { return context_; }
  RecordReader& record() { return record_; }

  int depth() const { return depth_; }
  /// Marks one level of nesting for as long as it lives.
  class Nested {
   public:
    explicit Nested(ExpansionCall& call) : call_(call) { ++call_.depth_; }
    ~Nested() { --call_.depth_; }
    Nested(const Nested&) = delete;
    Nested& operator=(const Nested&) = delete;

   private:
    ExpansionCall& call_;
  };

  /// The user-defined variables being expanded, outermost first (compared without case).
  std::vector<std::wstring>& user_defined_stack() { return user_defined_stack_; }

  /// UTC FILETIME ticks to calendar fields (local time unless `utc`), remembering the last
  /// conversion: `{DateTaken:Year}\{DateTaken:Month0}` converts once.
  bool ConvertTime(int64_t file_time, bool utc, SYSTEMTIME* time);

 private:
  TemplateContext& context_;
  RecordReader record_;
  int depth_ = 0;
  std::vector<std::wstring> user_defined_stack_;
  bool time_valid_ = false;
  int64_t time_ticks_ = 0;
  bool time_utc_ = false;
  SYSTEMTIME time_{};
};

}  // namespace lmk
