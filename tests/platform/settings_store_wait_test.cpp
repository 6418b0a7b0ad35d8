// The bounded wait for a settings database that another connection holds for writing, and the
// faults a database file is named for.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <optional>
#include <string>
#include <thread>

#include "com/com_error.h"
#include "platform/posix/sqlite_settings_store.h"
#include "platform/text_encoding.h"
#include "support/temp_dir.h"

namespace lmk {
namespace {

using std::chrono::milliseconds;
using Journal = SqliteSettingsStore::Journal;

// Sets LUMARKO_SETTINGS_WAIT for the life of a test.
class ScopedWait {
 public:
  explicit ScopedWait(const char* seconds) {
    if (const char* old = std::getenv("LUMARKO_SETTINGS_WAIT")) old_ = old;
    ::setenv("LUMARKO_SETTINGS_WAIT", seconds, 1);
  }
  ~ScopedWait() {
    if (old_) {
      ::setenv("LUMARKO_SETTINGS_WAIT", old_->c_str(), 1);
    } else {
      ::unsetenv("LUMARKO_SETTINGS_WAIT");
    }
  }
  ScopedWait(const ScopedWait&) = delete;
  ScopedWait& operator=(const ScopedWait&) = delete;

 private:
  std::optional<std::string> old_;
};

struct WaitCase {
  const char* name;
  Journal journal;
  const char* wait;  // seconds
  int hold_ms;
  HRESULT expected;
  const char* text;  // in the description of a failure
};

class SettingsWait : public ::testing::TestWithParam<WaitCase> {};

TEST_P(SettingsWait, WaitsOutShortHoldsAndNamesLongOnes) {
  const WaitCase& c = GetParam();
  test::ScopedTempDir dir;
  const ScopedWait wait(c.wait);
  std::shared_ptr<SettingsStore> holder, waiter;
  ASSERT_EQ(S_OK, SqliteSettingsStore::OpenFile(dir / "s.db", c.journal, &holder));
  ASSERT_EQ(S_OK, SqliteSettingsStore::OpenFile(dir / "s.db", c.journal, &waiter));
  std::atomic<bool> held{false};
  std::jthread other([&] {
    EXPECT_EQ(S_OK, holder->Transact([&](SettingsStore&) {
      held = true;
      std::this_thread::sleep_for(milliseconds(c.hold_ms));
      return S_OK;
    }));
  });
  while (!held) std::this_thread::sleep_for(milliseconds(5));

  const auto start = std::chrono::steady_clock::now();
  TakeErrorDescription();
  uint32_t handedOut = 99;
  const HRESULT hr = waiter->Update(L"K", L"Counter", [&](const std::optional<RegValue>& v) {
    handedOut = v ? static_cast<uint32_t>(v->number) : 0;
    return RegValue::Dword(handedOut + 1);
  });
  const auto waited = std::chrono::steady_clock::now() - start;
  EXPECT_EQ(hr, c.expected);
  if (SUCCEEDED(c.expected)) {
    EXPECT_EQ(handedOut, 0u);
    EXPECT_GE(waited, milliseconds(c.hold_ms / 2));
  } else {
    const std::string description = ToUtf8(TakeErrorDescription());
    EXPECT_NE(description.find((dir / "s.db").string() + c.text), std::string::npos) << description;
    // Bounded: given up well before the other connection lets go.
    EXPECT_LT(waited, milliseconds(c.hold_ms - 500));
    RegValue stored;
    other.join();
    EXPECT_EQ(waiter->GetValue(L"K", L"Counter", &stored),
              HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND));
  }
}

const WaitCase kWaits[] = {
    {"ShortHoldWal", Journal::Wal, "3", 400, S_OK, ""},
    {"ShortHoldRollback", Journal::Rollback, "3", 400, S_OK, ""},
    {"LongHoldWal", Journal::Wal, "0.25", 1500, HRESULT_FROM_WIN32(ERROR_BUSY),
     " is busy: another program has held it for 0.25 s"},
    {"LongHoldRollback", Journal::Rollback, "0.25", 1500, HRESULT_FROM_WIN32(ERROR_BUSY),
     " is busy: another program has held it for 0.25 s"},
};

INSTANTIATE_TEST_SUITE_P(Settings, SettingsWait, ::testing::ValuesIn(kWaits),
                         [](const auto& info) { return std::string(info.param.name); });

struct FaultCase {
  const char* name;
  void (*make)(const std::filesystem::path& file);
  HRESULT expected;
  const char* text;
};

class SettingsFault : public ::testing::TestWithParam<FaultCase> {};

TEST_P(SettingsFault, IsNamedAndLeftInPlace) {
  const FaultCase& c = GetParam();
  test::ScopedTempDir dir;
  const std::filesystem::path file = dir / "s.db";
  c.make(file);
  std::shared_ptr<SettingsStore> store;
  TakeErrorDescription();
  EXPECT_EQ(SqliteSettingsStore::OpenFile(file, Journal::Wal, &store), c.expected);
  const std::string description = ToUtf8(TakeErrorDescription());
  EXPECT_NE(description.find(file.string() + c.text), std::string::npos) << description;
  EXPECT_TRUE(std::filesystem::exists(file));
}

const FaultCase kFaults[] = {
    {"Emptied", [](const std::filesystem::path& f) { std::ofstream{f}; },
     HRESULT_FROM_WIN32(ERROR_BADDB), " is damaged (the file is empty"},
    {"FolderInItsPlace",
     [](const std::filesystem::path& f) { std::filesystem::create_directory(f); },
     HRESULT_FROM_WIN32(ERROR_CANTOPEN), " is a folder, not a database file"},
};

INSTANTIATE_TEST_SUITE_P(Settings, SettingsFault, ::testing::ValuesIn(kFaults),
                         [](const auto& info) { return std::string(info.param.name); });

}  // namespace
}  // namespace lmk
