// A counter that cannot be read or advanced fails the expansion; it never shows a made-up value.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "com/com_error.h"
#include "platform/settings_store.h"
#include "settings_fixture.h"
#include "templates/template_expander.h"

namespace lmk {
namespace {

// A store whose reads and updates answer `hr`, with `description` as the thread's error text.
class FailingStore final : public SettingsStore {
 public:
  FailingStore(HRESULT hr, std::wstring description)
      : hr_(hr), description_(std::move(description)) {}
  HRESULT CreateKey(std::wstring_view) override { return E_NOTIMPL; }
  HRESULT KeyExists(std::wstring_view) override { return E_NOTIMPL; }
  HRESULT GetValue(std::wstring_view, std::wstring_view, RegValue*) override { return Fail(); }
  HRESULT SetValue(std::wstring_view, std::wstring_view, const RegValue&) override {
    return E_NOTIMPL;
  }
  HRESULT DeleteValue(std::wstring_view, std::wstring_view) override { return E_NOTIMPL; }
  HRESULT DeleteTree(std::wstring_view) override { return E_NOTIMPL; }
  HRESULT EnumSubkeys(std::wstring_view, std::vector<std::wstring>*) override { return E_NOTIMPL; }
  HRESULT EnumValues(std::wstring_view, std::vector<std::pair<std::wstring, RegValue>>*) override {
    return E_NOTIMPL;
  }
  HRESULT Update(std::wstring_view, std::wstring_view, const Updater&) override { return Fail(); }
  HRESULT Transact(const TransactionBody&) override { return E_NOTIMPL; }

 private:
  HRESULT Fail() {
    if (!description_.empty()) SetErrorDescription(description_);
    return hr_;
  }
  HRESULT hr_;
  std::wstring description_;
};

constexpr HRESULT kBusy = HRESULT_FROM_WIN32(ERROR_BUSY);
constexpr HRESULT kCantOpen = HRESULT_FROM_WIN32(ERROR_CANTOPEN);

struct FailureCase {
  const char* name;
  std::wstring templ;
  bool preview;
  bool folder_in_place;  // the real store cannot be opened; otherwise a FailingStore is used
  HRESULT store_hr;
  std::wstring store_text;
  HRESULT expected;
  std::wstring counter;  // the value name the description must mention
  std::wstring reason;   // and the store's own words, or the code when it gave none
};

class CounterFailure : public ::testing::TestWithParam<FailureCase> {};

TEST_P(CounterFailure, FailsWithTheStoresReasonAndNoText) {
  const FailureCase& c = GetParam();
  test::ScopedConfigDir config;
  FailingStore failing(c.store_hr, c.store_text);
  TemplateContext context;
  context.set_preview(c.preview);
  if (c.folder_in_place) {
    std::filesystem::create_directories(config.dir().path() / "settings.db");
  } else {
    context.set_transaction(&failing);
  }
  TakeErrorDescription();
  std::wstring result = L"left over";
  EXPECT_EQ(ExpandTemplate(nullptr, c.templ, &result, &context), c.expected);
  EXPECT_EQ(result, L"");
  const std::wstring description = TakeErrorDescription();
  EXPECT_NE(description.find(c.counter), std::wstring::npos) << description;
  EXPECT_NE(description.find(c.reason), std::wstring::npos) << description;
}

const FailureCase kFailures[] = {
    {"UnopenableStoreLive", L"n{AutoIncrement}", false, true, S_OK, L"", kCantOpen,
     L"\"AutoIncrementValue\"", L"settings.db is a folder"},
    {"UnopenableStorePreview", L"{AutoCycle:2}", true, true, S_OK, L"", kCantOpen,
     L"\"AutoCycleValue2\"", L"settings.db is a folder"},
    {"BusyUpdate", L"{FileName}-{AutoIncrement:4}", false, false, kBusy, L"db is busy: held 10 s",
     kBusy, L"\"AutoIncrementValue\"", L"db is busy: held 10 s"},
    {"DeniedPreviewRead", L"{AutoIncrement}", true, false, E_ACCESSDENIED, L"db is read-only",
     E_ACCESSDENIED, L"\"AutoIncrementValue\"", L"db is read-only"},
    {"CycleUpdateWithoutDescription", L"{AutoCycle}", false, false, E_FAIL, L"", E_FAIL,
     L"\"AutoCycleValue0\"", L"0x80004005"},
    {"InsideAFunction", L"{Upper{AutoCycle:1}}", false, false, kBusy, L"db is busy", kBusy,
     L"\"AutoCycleValue1\"", L"db is busy"},
};

INSTANTIATE_TEST_SUITE_P(Templates, CounterFailure, ::testing::ValuesIn(kFailures),
                         [](const auto& info) { return std::string(info.param.name); });

}  // namespace
}  // namespace lmk
