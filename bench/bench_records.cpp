// Cost of making one file's dictionary: a fresh dictionary filled with the 120 record values in
// one PutMultiple, or taking over values made for it as the runner does for every file, then
// one lookup and the release.
#include <benchmark/benchmark.h>

#include <array>
#include <string>

#include "batch/file_record_builder.h"
#include "com/bstr.h"
#include "com/variant.h"
#include "dictionary/dictionary.h"

namespace lmk {
namespace {

void BM_FillFileRecord(benchmark::State& state) {
  const auto& keys = FileRecordKeys();
  std::array<Variant, kFileRecordKeyCount> values;
  std::array<LPOLESTR, kFileRecordKeyCount> names{};
  std::array<VARIANT, kFileRecordKeyCount> shallow{};
  for (std::size_t i = 0; i < keys.size(); ++i) {
    // Texts as long as typical paths and camera names; numbers for the rest.
    values[i] = keys[i].type == VT_BSTR ? Variant::String(L"/home/someone/Pictures/2024/IMG_0042")
                                        : Variant::UI4(static_cast<ULONG>(i));
    names[i] = const_cast<LPOLESTR>(keys[i].name.data());
    shallow[i] = values[i].ref();
  }
  const Bstr wanted(L"Meta.XMP.Rating");
  for (auto _ : state) {
    ComPtr<IDictionary> record = MakeDictionary();
    record->PutMultiple(static_cast<ULONG>(names.size()), names.data(), shallow.data());
    Variant rating;
    record->get_Value(wanted.get(), &rating);
    benchmark::DoNotOptimize(rating);
  }
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_FillFileRecord);

// The runner's way: values made for the record and taken over by a fresh dictionary.
void BM_TakeFileRecord(benchmark::State& state) {
  const auto& keys = FileRecordKeys();
  std::array<LPOLESTR, kFileRecordKeyCount> names{};
  for (std::size_t i = 0; i < keys.size(); ++i)
    names[i] = const_cast<LPOLESTR>(keys[i].name.data());
  const Bstr wanted(L"Meta.XMP.Rating");
  for (auto _ : state) {
    std::array<Variant, kFileRecordKeyCount> values;
    for (std::size_t i = 0; i < keys.size(); ++i) {
      values[i] = keys[i].type == VT_BSTR ? Variant::String(L"/home/someone/Pictures/IMG_0042")
                                          : Variant::UI4(static_cast<ULONG>(i));
    }
    ComPtr<CDictionary> record = MakeComObject<CDictionary>();
    record->TakeMultiple(static_cast<ULONG>(names.size()), names.data(), values.data());
    Variant rating;
    record->get_Value(wanted.get(), &rating);
    benchmark::DoNotOptimize(rating);
  }
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_TakeFileRecord);

}  // namespace
}  // namespace lmk

BENCHMARK_MAIN();
