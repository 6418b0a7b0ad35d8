// Tests of the event log: the writer, reading back, the filters, the text export and its texts.
#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "batch/event_filter.h"
#include "batch/event_log_exporter.h"
#include "batch/event_log_reader.h"
#include "batch/event_log_settings.h"
#include "batch/event_time_text.h"
#include "platform/event_log_writer.h"
#include "platform/fake/memory_event_trace_sink.h"
#include "platform/text_encoding.h"
#include "support/temp_dir.h"

namespace lmk {
namespace {

// 2024-03-07 14:05:09.250 UTC as a FILETIME count.
constexpr int64_t kMarch7 = 133542939092500000LL;

// Times are shown in local time; the tests pin the zone so the expected texts hold everywhere.
class EventLogTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ::setenv("TZ", "UTC", 1);
    ::tzset();
    ::setenv("XDG_DATA_HOME", (dir_.path() / "data").c_str(), 1);
  }

  test::ScopedTempDir dir_;
};

// ---- Writer --------------------------------------------------------------------------------

class WriterTest : public EventLogTest {
 protected:
  WriterTest() {
    auto sink = std::make_unique<fake::MemoryEventTraceSink>();
    sink_ = sink.get();
    writer_ = std::make_unique<EventLogWriter>(std::move(sink));
    EXPECT_EQ(writer_->Open(kBatchLogSessionName, L"/unused.etl"), ERROR_SUCCESS);
  }

  fake::MemoryEventTraceSink* sink_;
  std::unique_ptr<EventLogWriter> writer_;
};

TEST_F(WriterTest, BadFormatWritesInternalErrorAndCountsAnError) {
  EXPECT_EQ(writer_->Info(L"Copied \"%ls\" to \"%ls\".", L"a.jpg"), ERROR_SUCCESS);
  const auto events = sink_->Events();
  ASSERT_EQ(events.size(), 1u);
  EXPECT_EQ(events[0].level, 2);
  EXPECT_EQ(events[0].type, 0);
  EXPECT_EQ(events[0].text, L"(internal error)");
  EXPECT_EQ(writer_->Count(kEventLevelError), 1);
  EXPECT_EQ(writer_->Count(kEventLevelInformation), 0);
}

TEST_F(WriterTest, InvalidLevelIsRefusedBeforeFormatting) {
  EXPECT_EQ(writer_->Printf(6, L"%d", 1), ERROR_INVALID_PARAMETER);
  EXPECT_EQ(writer_->Printf(0, L"%q"), ERROR_INVALID_PARAMETER);
  EXPECT_TRUE(sink_->Events().empty());
}

TEST_F(WriterTest, FailedWritesStillCount) {
  sink_->FailWritesWith(ERROR_DISK_FULL);
  EXPECT_EQ(writer_->Error(L"lost"), ERROR_DISK_FULL);
  EXPECT_EQ(writer_->Count(kEventLevelError), 1) << "the summary must still report the error";
}

// ---- Reading back, filtering and exporting a real log ---------------------------------------

// One event of each level plus one without text, written through the real sink.
std::vector<EventLogEntry> WriteSampleLog(const std::wstring& path) {
  EventLogWriter writer;
  EXPECT_EQ(writer.OpenBatchLog(path), ERROR_SUCCESS);
  writer.Fatal(L"Batch job aborted by policy.");
  writer.Error(L"The condition(s)/exception(s) evaluation failed with 0x%08lx",
               static_cast<HRESULT>(0x80070002));
  writer.Warning(L"Skipping \"%s\".", L"/p/a.jpg");
  writer.Verbose(L"two\r\nlines");
  writer.WriteWithoutText(kEventLevelInformation, 3);
  EXPECT_EQ(writer.CloseBatchLog(), ERROR_SUCCESS);
  EventLogContents contents;
  EXPECT_EQ(EventLogReader::Read(writer.LogFilePath(), &contents), ERROR_SUCCESS);
  EXPECT_TRUE(contents.damage.empty());
  return contents.entries;
}

struct FilterCase {
  std::string name;
  EventFilter filter;
  std::wstring label;
  std::vector<int> levels;  // of the sample log's entries shown
};

class FilterTest : public EventLogTest, public ::testing::WithParamInterface<FilterCase> {};

TEST_P(FilterTest, ShowsTheLevelsOfTheFilter) {
  const auto entries = WriteSampleLog(FromUtf8((dir_.path() / "log.etl").string()));
  std::vector<int> levels;
  for (const auto& e : FilterEvents(entries, GetParam().filter)) levels.push_back(e.level);
  EXPECT_EQ(levels, GetParam().levels);
  EXPECT_EQ(EventFilterName(GetParam().filter), GetParam().label);
}

INSTANTIATE_TEST_SUITE_P(
    Filters, FilterTest,
    ::testing::ValuesIn(std::vector<FilterCase>{
        {"AllEvents", EventFilter::kAllEvents, L"All Events", {4, 1, 2, 3, 5, 4, 4}},
        {"OnlyErrors", EventFilter::kOnlyErrors, L"Only Errors", {1, 2}},
        {"WarningsAndErrors", EventFilter::kWarningsAndErrors, L"Warnings & Errors", {1, 2, 3}},
        {"InfoWarningsAndErrors",
         EventFilter::kInfoWarningsAndErrors,
         L"Info, Warnings & Errors",
         {4, 1, 2, 3, 4, 4}},
    }),
    [](const auto& i) { return i.param.name; });

TEST_F(EventLogTest, ExportTextHasTheHeaderAndOneLinePerEvent) {
  const std::vector<EventLogEntry> entries = {
      {1, 0, kMarch7, L"Batch job aborted by policy."},
      {2, 0, kMarch7 + 10000, L"No error information."},
      {3, 0, kMarch7 + 20000, L"Skipping \"a.jpg\"."},
      {4, 0, kMarch7 + 30000, L""},
      {5, 0, kMarch7 + 40000, L"line one\r\nline two\nthree"},
  };
  EXPECT_EQ(EventLogExporter::Text(entries, kMarch7),
            L"Lumarko Batch Processor Event Log - Generated on 2024-03-07 14:05:09\n"
            L"\n"
            L"Fatal\t2024-03-07 14:05:09.250\tBatch job aborted by policy.\n"
            L"Error\t2024-03-07 14:05:09.251\tNo error information.\n"
            L"Warning\t2024-03-07 14:05:09.252\tSkipping \"a.jpg\".\n"
            L"Info\t2024-03-07 14:05:09.253\t\n"
            L"Verbose Detail\t2024-03-07 14:05:09.254\tline one line two three\n");
}

TEST_F(EventLogTest, MissingFolderOrLogIsReported) {
  EXPECT_EQ(EventLogExporter::Save(FromUtf8((dir_.path() / "none/e.txt").string()), {}),
            ERROR_PATH_NOT_FOUND);
  EXPECT_EQ(EventLogExporter::SaveFailedText(), L"An error occured while saving the file, sorry.");
  EventLogContents contents;
  EXPECT_EQ(EventLogReader::Read(FromUtf8((dir_.path() / "none.etl").string()), &contents),
            ERROR_FILE_NOT_FOUND);
  EXPECT_EQ(EventLogReader::Read(L"x", nullptr), ERROR_INVALID_PARAMETER);
}

// ---- Execution time ------------------------------------------------------------------------

struct DurationCase {
  std::string name;
  int64_t milliseconds;
  std::wstring text;
};

class ExecutionTimeTest : public ::testing::TestWithParam<DurationCase> {};

TEST_P(ExecutionTimeTest, Formats) {
  EXPECT_EQ(ExecutionTimeText(std::chrono::milliseconds(GetParam().milliseconds)), GetParam().text);
}

INSTANTIATE_TEST_SUITE_P(Durations, ExecutionTimeTest,
                         ::testing::ValuesIn(std::vector<DurationCase>{
                             {"Negative", -5000, L"Execution time: 00:00:00"},
                             {"UnderASecond", 999, L"Execution time: 00:00:00"},
                             {"OneDay", 86400000, L"Execution time: 1 day, 00:00:00"},
                             {"TwoDays", 2 * 86400000LL + 3723000,
                              L"Execution time: 2 days, 01:02:03"},
                         }),
                         [](const auto& i) { return i.param.name; });

// ---- Remembered choices --------------------------------------------------------------------

struct StoredFilterCase {
  std::string name;
  std::optional<RegValue> stored;
  EventFilter expected;
};

class FilterSettingTest : public ::testing::TestWithParam<StoredFilterCase> {
 protected:
  static void SetUpTestSuite() {
    config_ = std::make_unique<test::ScopedTempDir>();
    ::setenv("LUMARKO_CONFIG_DIR", config_->path().c_str(), 1);
  }
  static void TearDownTestSuite() { config_.reset(); }
  static inline std::unique_ptr<test::ScopedTempDir> config_;
};

TEST_P(FilterSettingTest, ReadsTheStoredFilter) {
  std::shared_ptr<SettingsStore> store;
  ASSERT_EQ(SettingsStore::Open(SettingsScope::CurrentUser, &store), S_OK);
  store->DeleteValue(kPluginSettingsKey, kEventLogViewFilterValue);
  if (GetParam().stored) {
    ASSERT_EQ(store->SetValue(kPluginSettingsKey, kEventLogViewFilterValue, *GetParam().stored),
              S_OK);
  }
  EventLogSettings settings(store);
  EXPECT_EQ(settings.Filter(), GetParam().expected);
  ASSERT_EQ(settings.SetFilter(EventFilter::kWarningsAndErrors), S_OK);
  EXPECT_EQ(settings.Filter(), EventFilter::kWarningsAndErrors);
  RegValue raw;
  ASSERT_EQ(store->GetValue(kPluginSettingsKey, L"EventLogViewFilter", &raw), S_OK);
  EXPECT_EQ(raw, RegValue::Dword(2));
  ASSERT_EQ(settings.SetLastSaveFolder(L"/home/me/logs"), S_OK);
  EXPECT_EQ(settings.LastSaveFolder(), L"/home/me/logs");
}

INSTANTIATE_TEST_SUITE_P(Stored, FilterSettingTest,
                         ::testing::ValuesIn(std::vector<StoredFilterCase>{
                             {"Missing", std::nullopt, EventFilter::kAllEvents},
                             {"OnlyErrors", RegValue::Dword(1), EventFilter::kOnlyErrors},
                             {"UnknownValue", RegValue::Dword(4), EventFilter::kAllEvents},
                             {"WrongType", RegValue::String(L"1"), EventFilter::kAllEvents},
                         }),
                         [](const auto& i) { return i.param.name; });

}  // namespace
}  // namespace lmk
