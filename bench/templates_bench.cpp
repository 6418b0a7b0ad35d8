// Timing of typical templates: a date folder, nested text functions and a regular expression.
#include <benchmark/benchmark.h>

#include <string>

#include "com/bstr.h"
#include "com/com_error.h"
#include "com/com_ptr.h"
#include "com/variant.h"
#include "dictionary/idictionary.h"
#include "templates/regex_cache.h"
#include "templates/template_expander.h"

namespace {

lmk::ComPtr<IDictionary> MakeRecord() {
  lmk::ComPtr<IDictionary> record;
  lmk::ThrowIfFailed(lmk::CreateDictionary(nullptr, IID_IDictionary,
                                           reinterpret_cast<void**>(record.GetAddressOf())));
  auto put = [&](const wchar_t* name, const lmk::Variant& value) {
    lmk::Bstr key(name);
    lmk::ThrowIfFailed(record->put_Value(key.get(), value.ref()));
  };
  put(L"File.PathNoExt", lmk::Variant::String(L"/home/ann/Pictures/my_holiday-pic~0042"));
  put(L"File.Name", lmk::Variant::String(L"/home/ann/Pictures/my_holiday-pic~0042.jpg"));
  put(L"Meta.DateTakenFT", lmk::Variant::I8(133542939091230000));
  put(L"File.LastWriteTimeFT", lmk::Variant::I8(133542939091230000));
  put(L"Image.Width", lmk::Variant::UI4(6000));
  put(L"Image.Height", lmk::Variant::UI4(4000));
  return record;
}

void Run(benchmark::State& state, const wchar_t* templ) {
  lmk::ComPtr<IDictionary> record = MakeRecord();
  std::wstring result;
  for (auto _ : state) {
    lmk::TemplateContext context;  // one image's context per expansion, as an action does
    if (lmk::ExpandTemplate(record.Get(), templ, &result, &context) != S_OK) {
      state.SkipWithError("expansion failed");
      break;
    }
    benchmark::DoNotOptimize(result.data());
  }
  state.SetItemsProcessed(state.iterations());
  state.counters["compiled_patterns"] = static_cast<double>(lmk::RegexCache::CompiledCount());
}

void BM_DateFolder(benchmark::State& state) {
  Run(state, L"{DateTaken:Year}/{DateTaken:Month0}/{FileName}");
}
BENCHMARK(BM_DateFolder);

void BM_NestedFunctions(benchmark::State& state) {
  Run(state, L"{InnerTrim{TitleCase{Replace{FileName},\"[_\\-~]\",\" \"}}}");
}
BENCHMARK(BM_NestedFunctions);

void BM_RegExBackReference(benchmark::State& state) { Run(state, L"{RegEx:(.*)~(\\d+)}{2}_{1}"); }
BENCHMARK(BM_RegExBackReference);

}  // namespace
