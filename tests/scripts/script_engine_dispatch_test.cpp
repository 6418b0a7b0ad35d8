// The script engine driven by name through IDispatch, aggregated, and created by its ProgID.
#include <gtest/gtest.h>

#include <vector>

#include "dictionary/idictionary.h"
#include "scripts/script_engine.h"
#include "shell/class_factory.h"

namespace lmk {
namespace {

constexpr SCODE kContext = 0, kSelf = 1;  // argument markers: a dictionary, the engine itself
constexpr const wchar_t* kScript = L"function Execute(c) { return 7; } function no(c) { throw 1; }";

struct DispatchCase {
  const char* name;
  const wchar_t* member;
  WORD flags;
  std::vector<Variant> args;  // in the order a caller writes them
  HRESULT hr;
  const wchar_t* text = L"";  // the result, or for a put the property read back
  UINT argErr = 99;
};

HRESULT Call(IDispatch* object, DISPID id, WORD flags, std::vector<Variant> args, VARIANT* result,
             EXCEPINFO* info, UINT* argErr) {
  std::vector<VARIANT> slots;  // last argument first
  for (auto it = args.rbegin(); it != args.rend(); ++it) slots.push_back(*it->get());
  DISPID put = DISPID_PROPERTYPUT;
  DISPPARAMS params{slots.data(), &put, static_cast<UINT>(slots.size()),
                    flags == DISPATCH_PROPERTYPUT ? 1u : 0u};
  return object->Invoke(id, IID_NULL, 0, flags, &params, result, info, argErr);
}

class ScriptEngineDispatch : public ::testing::TestWithParam<DispatchCase> {};

TEST_P(ScriptEngineDispatch, AnswersAsItsTypeLibraryDescribesIt) {
  const DispatchCase& c = GetParam();
  ComPtr<IScriptEngine> engine;
  ASSERT_EQ(CreateScriptEngine(nullptr, IID_IScriptEngine, reinterpret_cast<void**>(&engine)),
            S_OK);
  engine->put_ScriptText(Bstr(kScript).get());
  const ComPtr<IDictionary> dictionary = MakeDictionary();
  std::vector<Variant> args = c.args;
  IDispatch* const objects[] = {dictionary.Get(), engine.Get()};
  for (Variant& arg : args) {
    if (arg.vt() == VT_ERROR) arg = Variant::Dispatch(objects[arg.ref().scode]);
  }
  LPOLESTR name = const_cast<LPOLESTR>(c.member);
  DISPID id = 0;
  if (const HRESULT hr = engine->GetIDsOfNames(IID_NULL, &name, 1, 0, &id); FAILED(hr)) {
    EXPECT_EQ(hr, c.hr);
    return;
  }
  Variant result;
  EXCEPINFO info{};
  UINT argErr = 99;
  EXPECT_EQ(Call(engine.Get(), id, c.flags, args, &result, &info, &argErr), c.hr);
  EXPECT_EQ(argErr, c.argErr);
  Bstr source, description;  // a failed run reaches the caller with the engine's error object
  source.Attach(info.bstrSource);
  description.Attach(info.bstrDescription);
  EXPECT_EQ(source.view() == kScriptEngineSource,
            c.hr == DISP_E_EXCEPTION && c.flags == DISPATCH_METHOD);
  if (c.flags == DISPATCH_PROPERTYPUT) {
    ASSERT_EQ(Call(engine.Get(), id, DISPATCH_PROPERTYGET, {}, &result, &info, &argErr), S_OK);
  }
  ASSERT_EQ(result.ChangeType(VT_BSTR), S_OK);
  EXPECT_EQ(Bstr::Copy(result.ref().bstrVal).str(), c.text);
}

std::vector<DispatchCase> DispatchCases() {
  constexpr WORD kGet = DISPATCH_PROPERTYGET, kPut = DISPATCH_PROPERTYPUT, kCall = DISPATCH_METHOD;
  const Variant context = Variant::Error(kContext), self = Variant::Error(kSelf);
  auto text = [](const wchar_t* value) { return Variant::String(value); };
  return {
      {"TextByAnyCase", L"scripttext", kGet, {}, S_OK, kScript},
      {"PutPath", L"ScriptPath", kPut, {text(L"/s/a.js")}, S_OK, L"/s/a.js"},
      {"PutTypeFromText", L"ScriptType", kPut, {text(L"1")}, S_OK, L"1"},
      {"NoProgId", L"ScriptEngineProgID", kPut, {text(L"")}, DISP_E_EXCEPTION, L"JScript"},
      {"TimeoutFromDouble", L"Timeout", kPut, {Variant::R8(12)}, S_OK, L"12"},
      {"TimeoutNotANumber", L"Timeout", kPut, {text(L"soon")}, DISP_E_TYPEMISMATCH, L"30", 0},
      {"TimeoutOverflow", L"Timeout", kPut, {Variant::UI4(3000000000u)}, DISP_E_OVERFLOW, L"30", 0},
      {"CheckSyntax", L"CheckSyntax", kCall, {}, S_OK},
      {"CheckSyntaxRead", L"CheckSyntax", kGet, {}, DISP_E_MEMBERNOTFOUND},
      {"CheckSyntaxWithArgument", L"CheckSyntax", kCall, {Variant::I4(1)}, DISP_E_BADPARAMCOUNT},
      {"Execute", L"Execute", kCall, {text(L"Execute"), context}, S_OK, L"7"},
      {"ExecuteWithoutContext", L"Execute", kCall, {text(L"Execute")}, DISP_E_BADPARAMCOUNT},
      {"NotDictionary", L"Execute", kCall, {text(L"Execute"), self}, DISP_E_TYPEMISMATCH, L"", 0},
      {"ExecuteThrows", L"Execute", kCall, {text(L"no"), context}, DISP_E_EXCEPTION},
      {"UnknownName", L"Run", kCall, {}, DISP_E_UNKNOWNNAME},
  };
}

INSTANTIATE_TEST_SUITE_P(Members, ScriptEngineDispatch, ::testing::ValuesIn(DispatchCases()),
                         [](const auto& info) { return std::string(info.param.name); });

class Outer final : public ComObject<Outer, IUnknown> {};

TEST(ScriptEngineAggregation, OuterHoldsTheInnerUnknownAndTheCount) {
  ComPtr<Outer> outer = MakeComObject<Outer>();
  const long live = ModuleLockCount();
  ComPtr<IUnknown> inner;
  EXPECT_EQ(CreateScriptEngine(outer.Get(), IID_IScriptEngine, reinterpret_cast<void**>(&inner)),
            CLASS_E_NOAGGREGATION);
  ASSERT_EQ(CreateScriptEngine(outer.Get(), IID_IUnknown, reinterpret_cast<void**>(&inner)), S_OK);
  ComPtr<IScriptEngine> engine;
  ASSERT_EQ(inner->QueryInterface(IID_IScriptEngine, reinterpret_cast<void**>(&engine)), S_OK);
  EXPECT_EQ(engine->AddRef(), 3u) << "the engine counts on the outer object";
  engine->Release();
  ComPtr<IUnknown> identity;
  ASSERT_EQ(engine->QueryInterface(IID_IUnknown, reinterpret_cast<void**>(&identity)), S_OK);
  EXPECT_EQ(identity.Get(), static_cast<IUnknown*>(outer.Get()));
  identity.Reset();
  engine.Reset();
  EXPECT_EQ(ModuleLockCount(), live + 1);
  inner.Reset();
  EXPECT_EQ(ModuleLockCount(), live) << "releasing the inner unknown ends the engine";
}

TEST(ScriptEngineClassTable, MadeByProgIdItRunsAScriptCalledWithNamedArguments) {
  const ServerClass* found = FindServerClassByProgId(L"lumarko.plugin.fileutilities.scriptengine");
  ASSERT_NE(found, nullptr);
  ComPtr<IClassFactory> factory;
  ASSERT_EQ(CClassFactory::GetClassObject(found->clsid, IID_IClassFactory,
                                          reinterpret_cast<void**>(&factory)),
            S_OK);
  ComPtr<IScriptEngine> engine;
  ASSERT_EQ(factory->CreateInstance(nullptr, IID_IScriptEngine, reinterpret_cast<void**>(&engine)),
            S_OK);
  engine->put_ScriptText(Bstr(kScript).get());
  const wchar_t* names[] = {L"execute", L"LPCONTEXT", L"bstrStartupMethod"};
  DISPID ids[3] = {};
  ASSERT_EQ(engine->GetIDsOfNames(IID_NULL, const_cast<LPOLESTR*>(names), 3, 0, ids), S_OK);
  const ComPtr<IDictionary> dictionary = MakeDictionary();
  Variant context = Variant::Dispatch(dictionary.Get()), function = Variant::String(L"Execute");
  VARIANT args[] = {*context.get(), *function.get()};  // in the order of the names
  DISPPARAMS params{args, ids + 1, 2, 2};
  Variant result;
  ASSERT_EQ(
      engine->Invoke(ids[0], IID_NULL, 0, DISPATCH_METHOD, &params, &result, nullptr, nullptr),
      S_OK);
  ASSERT_EQ(result.ChangeType(VT_I4), S_OK);
  EXPECT_EQ(result.ref().lVal, 7);
}

}  // namespace
}  // namespace lmk
