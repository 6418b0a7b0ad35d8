// Tests of CFileUtilities: its answers to the host, Initialize/Terminate and the usage counter.
#include "shell/file_utilities.h"

#include <gtest/gtest.h>

#include <string>

#include "lumarko_version.h"
#include "platform/usage_counter.h"
#include "support/fake_usage_counter.h"
#include "support/unanswering_host.h"

namespace lmk {
namespace {

using test::ScopedUsageCounterClass;
using test::UsageEvent;

/// A host that answers nothing but its identity.
class FakeHost final : public test::UnansweringHost<FakeHost> {};

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

TEST_F(FileUtilitiesTest, AnswersTheHostsQuestions) {
  DWORD number = 0;
  Bstr name, description, author, version;
  ASSERT_EQ(plugin_->GetPreferredHotkey(&number), S_OK);
  EXPECT_EQ(number, 0x0246u) << "Ctrl+F";
  ASSERT_EQ(plugin_->GetDisplayName(&name), S_OK);
  EXPECT_EQ(name.str(), L"File Utilities");
  EXPECT_EQ(plugin_->GetDescription(&description), S_OK);
  EXPECT_EQ(plugin_->GetAuthorInformation(&author), S_OK);
  ASSERT_EQ(plugin_->GetVersionInformation(&version), S_OK);
  EXPECT_EQ(version.str(), LMK_VERSION_TEXT);
  EXPECT_EQ(plugin_->Configure(nullptr), E_NOTIMPL);
  EXPECT_EQ(plugin_->Cancel(TRUE), E_NOTIMPL);
  // Without a behaviour pointer Process still runs; with one it tells the host to do nothing.
  EXPECT_EQ(plugin_->Process(nullptr, nullptr, nullptr, 0, nullptr), S_OK);
  EXPECT_EQ(plugin_->Process(nullptr, nullptr, nullptr, 0, &number), S_OK);
  EXPECT_EQ(number, static_cast<DWORD>(LMKPLUGINFLAG_POSTACTIONBEHAVIOR_DONOTHING));
}

TEST_F(FileUtilitiesTest, NullOutPointersAreInvalidArguments) {
  ILumarkoPlugin& p = *plugin_.Get();
  const HRESULT results[] = {p.GetCapabilities(nullptr),      p.GetPreferredHotkey(nullptr),
                             p.GetDisplayName(nullptr),       p.GetDescription(nullptr),
                             p.GetAuthorInformation(nullptr), p.GetVersionInformation(nullptr),
                             p.GetTypeInfoCount(nullptr)};
  for (size_t i = 0; i < std::size(results); ++i) {
    EXPECT_EQ(results[i], E_INVALIDARG) << "method " << i << " in the order above";
  }
}

TEST_F(FileUtilitiesTest, InitializeWithoutAHostKeepsNothing) {
  ComPtr<IStream> notAHost;
  notAHost.Attach(SHCreateMemStream(nullptr, 0));
  EXPECT_EQ(plugin_->Initialize(nullptr, 7, nullptr, 1), E_INVALIDARG);
  EXPECT_EQ(plugin_->Initialize(notAHost.Get(), 7, nullptr, 1), E_INVALIDARG);
  EXPECT_FALSE(Impl(plugin_).host());
  EXPECT_EQ(Impl(plugin_).flags(), 0u);
}

TEST_F(FileUtilitiesTest, InitializeKeepsAStreamAndDropsANonStream) {
  ComPtr<IStream> stream;
  stream.Attach(SHCreateMemStream(nullptr, 0));
  ASSERT_EQ(plugin_->Initialize(host_.Get(), 0x0409, stream.Get(), 0x12345678), S_OK);
  EXPECT_EQ(Impl(plugin_).initStream(), stream);
  EXPECT_EQ(Impl(plugin_).flags(), 0xEDCBA987u) << "the complement of the flags given";
  EXPECT_EQ(Impl(plugin_).langid(), 0x0409);
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
  std::wstring unknown = L"Initialise";
  names[0] = unknown.data();
  EXPECT_EQ(plugin_->GetIDsOfNames(IID_NULL, names, 1, 0, &id), DISP_E_UNKNOWNNAME);
  EXPECT_EQ(id, DISPID_UNKNOWN);
}

}  // namespace
}  // namespace lmk
