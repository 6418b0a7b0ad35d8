// Every condition kind evaluated on per-file records, from the table of
// tests/data/cases/condition_evaluations.tsv, in a zone east of UTC with summer time so that every
// UTC to local step shows. Flag conditions are also checked with the sense and as exceptions.
#include <gtest/gtest.h>

#include <map>
#include <string>

#include "condition_fixture.h"
#include "conditions/date_taken_condition.h"
#include "conditions/file_date_condition.h"
#include "conditions/file_size_condition.h"
#include "conditions/file_type_condition.h"
#include "conditions/flag_condition.h"
#include "conditions/gps_metadata_condition.h"
#include "conditions/gps_quantity_condition.h"
#include "conditions/pattern_condition.h"
#include "conditions/sibling_condition.h"
#include "conditions/table_condition.h"
#include "conditions/time_taken_condition.h"
#include "conditions/time_taken_time_span_condition.h"
#include "conditions/value_tables.h"
#include "support/data_table.h"

namespace lmk {
namespace {

using test::CaseRow;

std::vector<std::string> Split(const std::string& text, char separator) {
  std::vector<std::string> parts;
  for (std::size_t start = 0, end = 0; end != std::string::npos; start = end + 1) {
    end = text.find(separator, start);
    std::string part = text.substr(start, end - start);
    const auto first = part.find_first_not_of(' '), last = part.find_last_not_of(' ');
    parts.push_back(first == std::string::npos ? "" : part.substr(first, last - first + 1));
  }
  return parts;
}

DWORD Number(const std::string& text) { return static_cast<DWORD>(std::stoul(text, nullptr, 0)); }

// "2024-05-17 10:00:05.900" as calendar ticks, "14:30:15" as ticks since midnight, "0" as 0.
std::int64_t TicksOf(const std::string& text) {
  int y = 0, mo = 0, d = 0, h = 0, mi = 0, s = 0, ms = 0;
  if (text.find('-') != std::string::npos) {
    std::sscanf(text.c_str(), "%d-%d-%d %d:%d:%d.%d", &y, &mo, &d, &h, &mi, &s, &ms);
    return test::Ticks(y, mo, d, h, mi, s, ms);
  }
  std::sscanf(text.c_str(), "%d:%d:%d", &h, &mi, &s);
  return test::TimeOfDay(h, mi, s);
}

// "before" .. "after" or the operator's number.
DWORD DateOp(const std::string& text) {
  static const std::map<std::string, DWORD> ops = {{"before", kDateBefore},
                                                   {"on-or-before", kDateOnOrBefore},
                                                   {"on", kDateOn},
                                                   {"on-or-after", kDateOnOrAfter},
                                                   {"after", kDateAfter}};
  return ops.count(text) ? ops.at(text) : Number(text);
}

// "gps", "fallback", "exception" joined by '+', or empty.
DWORD Flags(const std::string& text) {
  DWORD flags = 0;
  for (const std::string& f : Split(text, '+')) {
    flags |= f == "gps" ? kUseGpsTimeFlag : f == "fallback" ? kLastWriteFallbackFlag : 0;
  }
  return flags;
}

// A packed comparison: "OP OPERAND" with OP one of = <> < <= > >= notset or #CODE, the operand a
// number or a row label of table; or the whole word as a number.
DWORD Word(const std::string& text, std::span<const ValueRow> table = {}) {
  const auto space = text.find(' ');
  if (space == std::string::npos) return Number(text);
  static const std::map<std::string, DWORD> codes = {{"=", 1}, {"<>", 2}, {"<", 3},      {"<=", 4},
                                                     {">", 5}, {">=", 6}, {"notset", 15}};
  const std::string op = text.substr(0, space), operand = text.substr(space + 1);
  DWORD value = 0;
  if (table.empty()) {
    value = Number(operand);
  } else {
    while (value < table.size() && test::Wide(operand) != table[value].label) ++value;
  }
  return ((op[0] == '#' ? Number(op.substr(1)) : codes.at(op)) << 28) | value;
}

Variant Value(const std::string& typed) {
  const auto colon = typed.find(':');
  const std::string type = typed.substr(0, colon), text = typed.substr(colon + 1);
  if (type == "S") return Variant::String(test::Wide(text));
  if (type == "B") return Variant::Bool(text == "true");
  if (type == "I2") return Variant::I2(static_cast<std::int16_t>(std::stoi(text)));
  if (type == "UI2") return Variant::UI2(static_cast<USHORT>(std::stoul(text, nullptr, 0)));
  if (type == "I4") return Variant::I4(std::stoi(text));
  if (type == "UI4") return Variant::UI4(static_cast<std::uint32_t>(std::stoul(text)));
  if (type == "R4") return Variant::R4(std::stof(text));
  if (type == "R8") return Variant::R8(std::stod(text));
  if (type == "D") return Variant::Date(std::stod(text));
  if (type == "T") return Variant::I8(TicksOf(text));
  throw std::invalid_argument("unknown value type " + type);
}

// The row's condition: its kind ("Xmp.Rating") configured by the arguments of its setter.
std::shared_ptr<CCondition> Configured(const std::string& kind, const std::string& arguments) {
  auto made = std::dynamic_pointer_cast<CCondition>(
      test::ConditionRegistry().Create(L"Condition." + test::Wide(kind)));
  if (!made) throw std::invalid_argument("unknown condition kind " + kind);
  const std::vector<std::string> a = Split(arguments, ';');
  CCondition* c = made.get();
  if (auto* t = dynamic_cast<CTableCondition*>(c)) {
    t->SetWord(Word(a[0], kind == "Aperture" ? ApertureTable() : ShutterSpeedTable()));
  } else if (auto* p = dynamic_cast<CPackedCondition*>(c)) {
    p->SetWord(Word(a[0]));
  } else if (auto* q = dynamic_cast<CGpsQuantityCondition*>(c)) {
    q->Set(Word(a[0]), Number(a[1]));
  } else if (auto* m = dynamic_cast<CGpsMetadataCondition*>(c)) {
    m->Set(a[0] == "true", static_cast<USHORT>(Number(a[1])));
  } else if (auto* pattern = dynamic_cast<CPatternCondition*>(c)) {
    pattern->SetPattern(test::Wide(a[1]), a[0] == "regex");
  } else if (auto* type = dynamic_cast<CFileTypeCondition*>(c)) {
    type->Set(Number(a[0]), test::Wide(a[1]));
  } else if (auto* sibling = dynamic_cast<CSiblingCondition*>(c)) {
    sibling->Set(a[0] == "true", Number(a[1]), test::Wide(a[2]));
  } else if (auto* size = dynamic_cast<CFileSizeCondition*>(c)) {
    size->Set(Word(a[0]), std::stoull(a[1], nullptr, 0));
  } else if (auto* file = dynamic_cast<CFileDateCondition*>(c)) {
    file->Set(Number(a[0]), DateOp(a[1]), TicksOf(a[2]), a[3] == "time");
  } else if (auto* taken = dynamic_cast<CDateTakenCondition*>(c)) {
    taken->Set(DateOp(a[0]), TicksOf(a[1]), a[2] == "time");
    taken->SetFlags(Flags(a[3]));
  } else if (auto* time = dynamic_cast<CTimeTakenCondition*>(c)) {
    time->Set(DateOp(a[0]), TicksOf(a[1]));
    time->SetFlags(Flags(a[2]));
  } else if (auto* span = dynamic_cast<CTimeTakenTimeSpanCondition*>(c)) {
    span->Set(TicksOf(a[0]), TicksOf(a[1]), a[2] == "inside" ? 0 : Number(a[2]));
    span->SetFlags(Flags(a[3]));
  } else if (auto* flag = dynamic_cast<CFlagCondition*>(c)) {
    flag->SetSense(true);
  }
  return made;
}

std::vector<CaseRow> Rows() { return test::ReadCaseTable("cases/condition_evaluations.tsv"); }

class ConditionEvaluation : public ::testing::TestWithParam<CaseRow> {
 protected:
  test::ScopedTimeZone zone_{test::kCentralEurope};
};

// Fields: the expected answer, the kind, the setter's arguments, then the record's fields as
// KEY=TYPE:VALUE.
TEST_P(ConditionEvaluation, Answers) {
  const CaseRow& row = GetParam();
  const auto condition = Configured(row[1], row[2]);
  ComPtr<IDictionary> record = MakeDictionary();
  for (std::size_t i = 3; i < row.fields.size(); ++i) {
    const auto equals = row[i].find('=');
    ThrowIfFailed(record->put_Value(Bstr(test::Wide(row[i].substr(0, equals))).get(),
                                    Value(row[i].substr(equals + 1)).ref()));
  }
  const HRESULT expected = test::Result(row[0]);
  EXPECT_EQ(condition->Evaluate(record.Get()), expected);
  auto* flag = dynamic_cast<CFlagCondition*>(condition.get());
  if (!flag) return;
  // The negative sense inverts the answer, failures aside; an exception answers the same.
  const HRESULT inverted = expected == S_OK ? S_FALSE : expected == S_FALSE ? S_OK : expected;
  flag->SetSense(false);
  EXPECT_EQ(flag->Evaluate(record.Get()), inverted);
  flag->SetException(true);
  EXPECT_EQ(flag->Evaluate(record.Get()), inverted);
}

INSTANTIATE_TEST_SUITE_P(Cases, ConditionEvaluation, ::testing::ValuesIn(Rows()),
                         [](const auto& i) { return i.param.name; });

}  // namespace
}  // namespace lmk
