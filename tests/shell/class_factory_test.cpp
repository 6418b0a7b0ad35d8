// Tests of the class objects, aggregation of the plug-in object, the module lock count and the
// process's class table.
#include "shell/class_factory.h"

#include <gtest/gtest.h>

#include <string>

#include "dictionary/idictionary.h"
#include "scripts/iscript_engine.h"
#include "shell/lumarko_plugin.h"
#include "shell/module_exports.h"
#include "shell/server_classes.h"
#include "support/fake_usage_counter.h"

namespace lmk {
namespace {

constexpr CLSID kUnknownClass = {
    0x01234567, 0x89AB, 0xCDEF, {0x01, 0x23, 0x45, 0x67, 0x89, 0xAB, 0xCD, 0xEF}};

struct ClassObjectCase {
  const char* name;
  CLSID clsid;
  HRESULT expected;
  IID made = IID_IUnknown;  // the interface an instance is made for
};

class ClassObject : public ::testing::TestWithParam<ClassObjectCase> {};

TEST_P(ClassObject, IsHandedOutOnlyForCreatableClassesAndMakesThem) {
  ComPtr<IClassFactory> factory;
  EXPECT_EQ(DllGetClassObject(GetParam().clsid, IID_IClassFactory,
                              reinterpret_cast<void**>(factory.GetAddressOf())),
            GetParam().expected);
  EXPECT_EQ(static_cast<bool>(factory), SUCCEEDED(GetParam().expected));
  if (!factory) return;
  ComPtr<IUnknown> made;
  EXPECT_EQ(factory->CreateInstance(nullptr, GetParam().made,
                                    reinterpret_cast<void**>(made.GetAddressOf())),
            S_OK);
}

INSTANTIATE_TEST_SUITE_P(Classes, ClassObject,
                         ::testing::ValuesIn(std::vector<ClassObjectCase>{
                             {"Plugin", CLSID_FileUtilities, S_OK, IID_ILumarkoPlugin},
                             {"Dictionary", CLSID_Dictionary, S_OK, IID_IDictionary},
                             {"ScriptEngine", CLSID_ScriptEngine, S_OK, IID_IScriptEngine},
                             {"Unknown", kUnknownClass, CLASS_E_CLASSNOTAVAILABLE},
                         }),
                         [](const auto& info) { return std::string(info.param.name); });

TEST(ClassObjectTest, NullOutPointerIsInvalidArgument) {
  EXPECT_EQ(DllGetClassObject(CLSID_FileUtilities, IID_IClassFactory, nullptr), E_INVALIDARG);
}

ComPtr<IClassFactory> FactoryOf(REFCLSID clsid) {
  ComPtr<IClassFactory> factory;
  ThrowIfFailed(DllGetClassObject(clsid, IID_IClassFactory,
                                  reinterpret_cast<void**>(factory.GetAddressOf())));
  return factory;
}

/// An outer object that aggregates the plug-in object and exposes its ILumarkoPlugin.
class Outer final : public ComObject<Outer, IUnknown> {
 public:
  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** ppv) override {
    if (ppv != nullptr && IsEqualGUID(riid, IID_ILumarkoPlugin) && inner) {
      return inner->QueryInterface(riid, ppv);
    }
    return ComObject::QueryInterface(riid, ppv);
  }
  ULONG refs() {
    AddRef();
    return Release();
  }
  ComPtr<IUnknown> inner;
};

struct AggregationCase {
  const char* name;
  CLSID clsid;
  IID iid;
  HRESULT expected;
};

class Aggregation : public ::testing::TestWithParam<AggregationCase> {};

TEST_P(Aggregation, IsOfferedOnlyForTheInnerUnknownOfThePlugin) {
  ComPtr<Outer> outer = MakeComObject<Outer>();
  void* object = nullptr;
  EXPECT_EQ(FactoryOf(GetParam().clsid)->CreateInstance(outer.Get(), GetParam().iid, &object),
            GetParam().expected);
  ComPtr<IUnknown> adopted;
  adopted.Attach(static_cast<IUnknown*>(object));
  EXPECT_EQ(object != nullptr, SUCCEEDED(GetParam().expected));
}

INSTANTIATE_TEST_SUITE_P(Classes, Aggregation,
                         ::testing::ValuesIn(std::vector<AggregationCase>{
                             {"PluginInnerUnknown", CLSID_FileUtilities, IID_IUnknown, S_OK},
                             {"PluginAskedForItsInterface", CLSID_FileUtilities, IID_ILumarkoPlugin,
                              CLASS_E_NOAGGREGATION},
                             {"Dictionary", CLSID_Dictionary, IID_IUnknown, CLASS_E_NOAGGREGATION},
                         }),
                         [](const auto& info) { return std::string(info.param.name); });

TEST(AggregationTest, PluginDelegatesIdentityAndCountToTheOuterObject) {
  ComPtr<Outer> outer = MakeComObject<Outer>();
  ASSERT_EQ(FactoryOf(CLSID_FileUtilities)
                ->CreateInstance(outer.Get(), IID_IUnknown,
                                 reinterpret_cast<void**>(outer->inner.GetAddressOf())),
            S_OK);
  const ULONG before = outer->refs();

  ComPtr<ILumarkoPlugin> plugin;
  ASSERT_EQ(
      outer->QueryInterface(IID_ILumarkoPlugin, reinterpret_cast<void**>(plugin.GetAddressOf())),
      S_OK);
  EXPECT_EQ(outer->refs(), before + 1);  // the plug-in's reference counts on the outer object

  // The plug-in's IUnknown is the outer object's: one identity for the whole aggregate.
  ComPtr<IUnknown> identity;
  ASSERT_EQ(plugin->QueryInterface(IID_IUnknown, reinterpret_cast<void**>(identity.GetAddressOf())),
            S_OK);
  EXPECT_EQ(identity.Get(), static_cast<IUnknown*>(outer.Get()));

  DWORD capabilities = 0;
  EXPECT_EQ(plugin->GetCapabilities(&capabilities), S_OK);
  EXPECT_EQ(capabilities, 394u);
  plugin.Reset();
  identity.Reset();
  // The outer releases its inner object when it goes; the test breaks the cycle first.
  outer->inner.Reset();
}

TEST(ModuleLockTest, LiveObjectsAndServerLocksKeepTheModule) {
  ASSERT_EQ(DllCanUnloadNow(), S_OK);
  ComPtr<IClassFactory> factory = FactoryOf(CLSID_FileUtilities);
  EXPECT_EQ(DllCanUnloadNow(), S_OK) << "a class object alone does not hold the module";
  {
    ComPtr<ILumarkoPlugin> plugin;
    ASSERT_EQ(factory->CreateInstance(nullptr, IID_ILumarkoPlugin,
                                      reinterpret_cast<void**>(plugin.GetAddressOf())),
              S_OK);
    EXPECT_EQ(DllCanUnloadNow(), S_FALSE);
  }
  EXPECT_EQ(DllCanUnloadNow(), S_OK);
  ASSERT_EQ(factory->LockServer(TRUE), S_OK);
  EXPECT_EQ(DllCanUnloadNow(), S_FALSE);
  ASSERT_EQ(factory->LockServer(FALSE), S_OK);
  EXPECT_EQ(DllCanUnloadNow(), S_OK);
}

TEST(ClassTableTest, CreatesThroughTheLatestRegistrationUntilRevoked) {
  test::ScopedUsageCounterClass first;
  {
    test::ScopedUsageCounterClass second;
    ComPtr<ILumarkoUsageCounter> counter;
    ASSERT_EQ(
        CoCreateInstance(CLSID_LumarkoUsageCounter, nullptr, CLSCTX_ALL, IID_ILumarkoUsageCounter,
                         reinterpret_cast<void**>(counter.GetAddressOf())),
        S_OK);
    EXPECT_EQ(second.factory().creations, 1);
    EXPECT_EQ(first.factory().creations, 0);
  }
  ComPtr<ILumarkoUsageCounter> counter;
  ASSERT_EQ(
      CoCreateInstance(CLSID_LumarkoUsageCounter, nullptr, CLSCTX_ALL, IID_ILumarkoUsageCounter,
                       reinterpret_cast<void**>(counter.GetAddressOf())),
      S_OK);
  EXPECT_EQ(first.factory().creations, 1);
}

TEST(ClassTableTest, UnknownClassAndCookieAreRefused) {
  void* object = reinterpret_cast<void*>(1);
  EXPECT_EQ(CoCreateInstance(kUnknownClass, nullptr, CLSCTX_ALL, IID_IUnknown, &object),
            REGDB_E_CLASSNOTREG);
  EXPECT_EQ(object, nullptr);
  EXPECT_EQ(CoRevokeClassObject(0xFFFFFFFF), CO_E_OBJNOTREG);
}

}  // namespace
}  // namespace lmk
