// Date and time formats against an independent computation: Python's datetime, run with the
// same TZ, and hand-worked week numbers.
#include <gtest/gtest.h>

#include <cstdio>
#include <sstream>
#include <string>
#include <vector>

#include "record_fixture.h"
#include "support/data_table.h"
#include "support/scoped_env.h"
#include "templates/date_formatter.h"
#include "templates/template_expander.h"

namespace lmk {
namespace {

// Unix seconds of the instants checked: leap day, both sides of the European DST changes,
// New Year's Eve late in the evening, a morning and noon (am/pm), and dates around week 1.
const std::vector<int64_t> kInstants = {
    951782400,   // 2000-02-29 00:00:00 UTC
    1711846799,  // 2024-03-31 00:59:59 UTC, one second before summer time in Europe
    1711846800,  // 2024-03-31 01:00:00 UTC
    1729990800,  // 2024-10-27 01:00:00 UTC, end of summer time
    1704065400,  // 2023-12-31 23:30:00 UTC
    1709820309,  // 2024-03-07 14:05:09 UTC
    1735516800,  // 2024-12-30 00:00:00 UTC
    1609459200,  // 2021-01-01 00:00:00 UTC
    1672574400,  // 2023-01-01 12:00:00 UTC
};

// One line per instant from Python: Y M D h m s weekday(0 = Sunday) day-of-year hour12 ampm.
std::vector<std::string> PythonFields(const char* zone) {
  std::ostringstream script;
  script << "import datetime,os,time\n"
            "os.environ['TZ']='"
         << zone
         << "'\ntime.tzset()\n"
            "for t in [";
  for (int64_t t : kInstants) script << t << ",";
  script << "]:\n"
            " d=datetime.datetime.fromtimestamp(t)\n"
            " print(d.strftime('%Y %m %d %H %M %S'), (d.weekday()+1)%7, "
            "d.timetuple().tm_yday, d.strftime('%I %p'))\n";
  std::string command = "python3 -c \"" + script.str() + "\"";
  std::vector<std::string> lines;
  FILE* pipe = popen(command.c_str(), "r");
  if (pipe == nullptr) return lines;
  char buffer[256];
  while (std::fgets(buffer, sizeof(buffer), pipe) != nullptr) {
    std::string line(buffer);
    if (!line.empty() && line.back() == '\n') line.pop_back();
    lines.push_back(line);
  }
  pclose(pipe);
  return lines;
}

struct ZoneCase {
  const char* name;
  const char* zone;
  bool utc_token;  // "{DateTakenUtc:...}" rather than local time
};

class DateAgainstPython : public ::testing::TestWithParam<ZoneCase> {};

TEST_P(DateAgainstPython, PartsMatch) {
  test::ScopedTimeZone zone(GetParam().zone);
  std::vector<std::string> expected = PythonFields(GetParam().utc_token ? "UTC0" : GetParam().zone);
  ASSERT_EQ(expected.size(), kInstants.size()) << "python3 did not answer";
  std::wstring name = GetParam().utc_token ? L"DateTakenUtc" : L"DateTaken";
  std::wstring templ;
  for (const wchar_t* part : {L"Year", L"Month0", L"Day0", L"Hour0", L"Minute0", L"Second0",
                              L"DayOfWeek", L"DayOfYear", L"Hour012", L"AMPM"}) {
    if (!templ.empty()) templ += L" ";
    templ += L"{" + name + L":" + part + L"}";
  }
  for (size_t i = 0; i < kInstants.size(); ++i) {
    int64_t ticks = (kInstants[i] + 11644473600LL) * 10000000LL;
    ComPtr<IDictionary> record = test::MakeRecord({{L"Meta.DateTakenFT", Variant::I8(ticks)}});
    std::wstring result;
    ASSERT_EQ(ExpandTemplate(record.Get(), templ, &result), S_OK);
    EXPECT_EQ(std::string(result.begin(), result.end()), expected[i]) << "at " << kInstants[i];
  }
}

const ZoneCase kZones[] = {
    {"Utc", "UTC0", false},
    {"CentralEurope", "CET-1CEST,M3.5.0,M10.5.0/3", false},
    {"NewYork", "EST5EDT,M3.2.0,M11.1.0", false},
    {"UtcWordInNonUtcZone", "CET-1CEST,M3.5.0,M10.5.0/3", true},
};

INSTANTIATE_TEST_SUITE_P(Dates, DateAgainstPython, ::testing::ValuesIn(kZones),
                         [](const auto& info) { return std::string(info.param.name); });

class WeekNumber : public ::testing::TestWithParam<test::CaseRow> {};

// Fields: year, month, day, week.
TEST_P(WeekNumber, FollowsTheFormula) {
  const auto n = [&](std::size_t i) { return std::stoi(GetParam()[i]); };
  EXPECT_EQ(DateFormatter::WeekOfYear(n(0), n(1), n(2)), n(3));
}

INSTANTIATE_TEST_SUITE_P(Dates, WeekNumber,
                         ::testing::ValuesIn(test::ReadCaseTable("cases/week_numbers.tsv")),
                         [](const auto& info) { return info.param.name; });

}  // namespace
}  // namespace lmk
