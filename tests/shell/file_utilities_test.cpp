// Tests of CFileUtilities: its answers to the host, Initialize/Terminate and the usage counter.
#include "shell/file_utilities.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "lumarko_version.h"
#include "platform/usage_counter.h"
#include "shell_fakes.h"

namespace lmk {
namespace {

using test::FakeHost;
using test::ScopedUsageCounterClass;
using test::UsageEvent;

ComPtr<ILumarkoPlugin> NewPlugin() {
  ComPtr<ILumarkoPlugin> plugin;
  ThrowIfFailed(CFileUtilities::Create(nullptr, IID_ILumarkoPlugin,
                                       reinterpret_cast<void**>(plugin.GetAddressOf())));
  return plugin;
}

CFileUtilities& Impl(const ComPtr<ILumarkoPlugin>& plugin) {
  return *static_cast<CFileUtilities*>(plugin.Get());
}

class FileUtilitiesTest : public ::testing::Test {
 protected:
  void TearDown() override { ReleaseUsageCounter(); }
  ComPtr<ILumarkoPlugin> plugin_ = NewPlugin();
  ComPtr<FakeHost> host_ = MakeComObject<FakeHost>();
};

// ---- Out-pointer methods --------------------------------------------------------------------

struct NullOutCase {
  const char* name;
  std::function<HRESULT(ILumarkoPlugin&)> call;
};

class NullOutPointer : public FileUtilitiesTest,
                       public ::testing::WithParamInterface<NullOutCase> {};

TEST_P(NullOutPointer, IsInvalidArgument) {
  EXPECT_EQ(GetParam().call(*plugin_.Get()), E_INVALIDARG);
}

INSTANTIATE_TEST_SUITE_P(
    Methods, NullOutPointer,
    ::testing::ValuesIn(std::vector<NullOutCase>{
        {"GetCapabilities", [](ILumarkoPlugin& p) { return p.GetCapabilities(nullptr); }},
        {"GetPreferredHotkey", [](ILumarkoPlugin& p) { return p.GetPreferredHotkey(nullptr); }},
        {"GetDisplayName", [](ILumarkoPlugin& p) { return p.GetDisplayName(nullptr); }},
        {"GetDescription", [](ILumarkoPlugin& p) { return p.GetDescription(nullptr); }},
        {"GetAuthorInformation", [](ILumarkoPlugin& p) { return p.GetAuthorInformation(nullptr); }},
        {"GetVersionInformation",
         [](ILumarkoPlugin& p) { return p.GetVersionInformation(nullptr); }},
        {"GetTypeInfoCount", [](ILumarkoPlugin& p) { return p.GetTypeInfoCount(nullptr); }},
    }),
    [](const auto& info) { return std::string(info.param.name); });

struct NumberCase {
  const char* name;
  HRESULT (ILumarkoPlugin::*method)(DWORD*);
  DWORD expected;
};

class NumberResult : public FileUtilitiesTest, public ::testing::WithParamInterface<NumberCase> {};

TEST_P(NumberResult, IsFixed) {
  DWORD value = 0xDEADBEEF;
  ASSERT_EQ((plugin_.Get()->*GetParam().method)(&value), S_OK);
  EXPECT_EQ(value, GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(Methods, NumberResult,
                         ::testing::ValuesIn(std::vector<NumberCase>{
                             {"Capabilities394", &ILumarkoPlugin::GetCapabilities, 394},
                             {"HotkeyCtrlF", &ILumarkoPlugin::GetPreferredHotkey, 0x0246},
                         }),
                         [](const auto& info) { return std::string(info.param.name); });

struct TextCase {
  const char* name;
  HRESULT (ILumarkoPlugin::*method)(BSTR*);
  std::wstring expected;  // empty: any non-empty text
};

class TextResult : public FileUtilitiesTest, public ::testing::WithParamInterface<TextCase> {};

TEST_P(TextResult, IsTheFixedText) {
  Bstr text;
  ASSERT_EQ((plugin_.Get()->*GetParam().method)(&text), S_OK);
  if (GetParam().expected.empty()) {
    EXPECT_FALSE(text.empty());
  } else {
    EXPECT_EQ(text.str(), GetParam().expected);
  }
}

INSTANTIATE_TEST_SUITE_P(
    Methods, TextResult,
    ::testing::ValuesIn(std::vector<TextCase>{
        {"DisplayName", &ILumarkoPlugin::GetDisplayName, L"File Utilities"},
        {"Description", &ILumarkoPlugin::GetDescription,
         L"Rule-based file copy / move / delete / rename / export batch processing utilities."},
        {"Author", &ILumarkoPlugin::GetAuthorInformation, L""},
        {"Version", &ILumarkoPlugin::GetVersionInformation, LMK_VERSION_TEXT},
    }),
    [](const auto& info) { return std::string(info.param.name); });

struct NotImplementedCase {
  const char* name;
  std::function<HRESULT(ILumarkoPlugin&)> call;
};

class NotImplemented : public FileUtilitiesTest,
                       public ::testing::WithParamInterface<NotImplementedCase> {};

TEST_P(NotImplemented, ReturnsNotImpl) { EXPECT_EQ(GetParam().call(*plugin_.Get()), E_NOTIMPL); }

INSTANTIATE_TEST_SUITE_P(Methods, NotImplemented,
                         ::testing::ValuesIn(std::vector<NotImplementedCase>{
                             {"Configure", [](ILumarkoPlugin& p) { return p.Configure(nullptr); }},
                             {"CancelAbruptly", [](ILumarkoPlugin& p) { return p.Cancel(TRUE); }},
                             {"CancelGently", [](ILumarkoPlugin& p) { return p.Cancel(FALSE); }},
                         }),
                         [](const auto& info) { return std::string(info.param.name); });

TEST_F(FileUtilitiesTest, ProcessWithoutBehaviourStillRuns) {
  EXPECT_EQ(plugin_->Process(nullptr, nullptr, nullptr, 0, nullptr), S_OK);
}

TEST_F(FileUtilitiesTest, ProcessTellsTheHostToDoNothing) {
  DWORD behaviour = 0xDEADBEEF;
  EXPECT_EQ(plugin_->Process(nullptr, nullptr, nullptr, 0, &behaviour), S_OK);
  EXPECT_EQ(behaviour, static_cast<DWORD>(LMKPLUGINFLAG_POSTACTIONBEHAVIOR_DONOTHING));
}

// ---- Initialize --------------------------------------------------------------------------

TEST_F(FileUtilitiesTest, InitializeWithoutHostKeepsNothing) {
  EXPECT_EQ(plugin_->Initialize(nullptr, 7, nullptr, 1), E_INVALIDARG);
  EXPECT_FALSE(Impl(plugin_).host());
  EXPECT_EQ(Impl(plugin_).flags(), 0u);
}

TEST_F(FileUtilitiesTest, InitializeWithAnObjectThatIsNoHostKeepsNothing) {
  ComPtr<IStream> notAHost;
  notAHost.Attach(SHCreateMemStream(nullptr, 0));
  ASSERT_TRUE(notAHost);
  EXPECT_EQ(plugin_->Initialize(notAHost.Get(), 7, nullptr, 1), E_INVALIDARG);
  EXPECT_FALSE(Impl(plugin_).host());
}

struct FlagsCase {
  const char* name;
  DWORD given;
  DWORD kept;
};

class InitializeFlags : public FileUtilitiesTest,
                        public ::testing::WithParamInterface<FlagsCase> {};

TEST_P(InitializeFlags, KeepsTheComplement) {
  ASSERT_EQ(plugin_->Initialize(host_.Get(), 0x0409, nullptr, GetParam().given), S_OK);
  EXPECT_EQ(Impl(plugin_).flags(), GetParam().kept);
  EXPECT_EQ(Impl(plugin_).langid(), 0x0409);
}

INSTANTIATE_TEST_SUITE_P(Flags, InitializeFlags,
                         ::testing::ValuesIn(std::vector<FlagsCase>{
                             {"None", 0, 0xFFFFFFFF},
                             {"All", 0xFFFFFFFF, 0},
                             {"Mixed", 0x12345678, 0xEDCBA987},
                         }),
                         [](const auto& info) { return std::string(info.param.name); });

TEST_F(FileUtilitiesTest, InitializeKeepsAStreamAndDropsANonStream) {
  ComPtr<IStream> stream;
  stream.Attach(SHCreateMemStream(nullptr, 0));
  ASSERT_EQ(plugin_->Initialize(host_.Get(), 0, stream.Get(), 0), S_OK);
  EXPECT_EQ(Impl(plugin_).initStream(), stream);
  EXPECT_EQ(Impl(plugin_).host().Get(), static_cast<ILumarkoHost*>(host_.Get()));

  // Anything that is not a stream leaves the init data empty, and the host is still taken.
  ASSERT_EQ(plugin_->Initialize(host_.Get(), 0, host_.Get(), 0), S_OK);
  EXPECT_FALSE(Impl(plugin_).initStream());
}

TEST_F(FileUtilitiesTest, SecondInitializeReplacesTheHostButNotTheCounter) {
  ScopedUsageCounterClass counterClass;
  ComPtr<FakeHost> second = MakeComObject<FakeHost>();
  ASSERT_EQ(plugin_->Initialize(host_.Get(), 0, nullptr, 0), S_OK);
  ASSERT_EQ(plugin_->Initialize(second.Get(), 0, nullptr, 0), S_OK);
  EXPECT_EQ(Impl(plugin_).host().Get(), static_cast<ILumarkoHost*>(second.Get()));
  // A second plug-in object shares the process-wide counter too.
  ComPtr<ILumarkoPlugin> other = NewPlugin();
  ASSERT_EQ(other->Initialize(host_.Get(), 0, nullptr, 0), S_OK);
  EXPECT_EQ(counterClass.factory().creations, 1);
}

TEST_F(FileUtilitiesTest, CountsUntilTerminate) {
  ScopedUsageCounterClass counterClass;
  ASSERT_EQ(plugin_->Initialize(host_.Get(), 0, nullptr, 0), S_OK);
  ASSERT_TRUE(HasUsageCounter());
  CountUsage(L"Action:Move");
  CountUsage(L"ImagesProcessed", 12);
  ASSERT_EQ(plugin_->Terminate(), S_OK);
  EXPECT_FALSE(HasUsageCounter());
  CountUsage(L"Action:Copy");  // skipped: no counter any more
  const std::vector<UsageEvent> expected = {
      {L"Plugin:FileUtilities", L"Action:Move", 1},
      {L"Plugin:FileUtilities", L"ImagesProcessed", 12},
  };
  EXPECT_EQ(counterClass.factory().counter->events(), expected);
}

TEST_F(FileUtilitiesTest, InitializeSucceedsWithoutACounterClass) {
  ASSERT_EQ(plugin_->Initialize(host_.Get(), 0, nullptr, 0), S_OK);
  EXPECT_FALSE(HasUsageCounter());
  CountUsage(L"Condition:FileType");  // silently nothing
}

// ---- Late binding --------------------------------------------------------------------------

TEST_F(FileUtilitiesTest, LateBoundGetterAnswersLikeTheVtable) {
  std::wstring name = L"getcapabilities";
  LPOLESTR names[] = {name.data()};
  DISPID id = 0;
  ASSERT_EQ(plugin_->GetIDsOfNames(IID_NULL, names, 1, 0, &id), S_OK);
  DISPPARAMS none{};
  Variant result;
  ASSERT_EQ(plugin_->Invoke(id, IID_NULL, 0, DISPATCH_METHOD, &none, &result, nullptr, nullptr),
            S_OK);
  ASSERT_EQ(result.vt(), VT_I4);
  EXPECT_EQ(result.ref().lVal, 394);
}

TEST_F(FileUtilitiesTest, UnknownLateBoundNameIsRefused) {
  std::wstring name = L"Initialise";
  LPOLESTR names[] = {name.data()};
  DISPID id = 0;
  EXPECT_EQ(plugin_->GetIDsOfNames(IID_NULL, names, 1, 0, &id), DISP_E_UNKNOWNNAME);
  EXPECT_EQ(id, DISPID_UNKNOWN);
}

}  // namespace
}  // namespace lmk
