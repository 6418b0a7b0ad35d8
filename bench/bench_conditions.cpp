// Cost of evaluating a typical rule of five conditions (file type, date taken, rating, file name
// wildcard, GPS distance) on one file's record.
#include <benchmark/benchmark.h>

#include <memory>
#include <string>
#include <vector>

#include "com/bstr.h"
#include "com/com_error.h"
#include "com/time_convert.h"
#include "com/variant.h"
#include "conditions/date_taken_condition.h"
#include "conditions/file_name_condition.h"
#include "conditions/file_type_condition.h"
#include "conditions/gps_position_condition.h"
#include "conditions/rating_condition.h"
#include "dictionary/idictionary.h"

namespace lmk {
namespace {

void Put(IDictionary* record, const std::wstring& key, const Variant& value) {
  const Bstr name(key);
  ThrowIfFailed(record->put_Value(name.get(), value.ref()));
}

std::int64_t Ticks(int year, int month, int day, int hour) {
  SYSTEMTIME st{};
  st.wYear = static_cast<WORD>(year);
  st.wMonth = static_cast<WORD>(month);
  st.wDay = static_cast<WORD>(day);
  st.wHour = static_cast<WORD>(hour);
  std::int64_t ticks = 0;
  SystemTimeToTicks(st, &ticks);
  return ticks;
}

// A record with the keys the conditions read, padded to the 120 keys of a real record so that
// the lookups cost what they cost in a run.
ComPtr<IDictionary> MakeFileRecord(int index) {
  ComPtr<IDictionary> record = MakeDictionary();
  const std::wstring stem = L"IMG_" + std::to_wstring(1000 + index);
  Put(record.Get(), L"File.Name",
      Variant::String(L"/home/ann/Pictures/2024/" + stem + (index % 3 == 0 ? L".CR2" : L".JPG")));
  Put(record.Get(), L"File.PathNoExt", Variant::String(L"/home/ann/Pictures/2024/" + stem));
  Put(record.Get(), L"File.LastWriteTimeFT", Variant::I8(Ticks(2024, 6, 2, 9)));
  Put(record.Get(), L"Meta.DateTakenFT", Variant::I8(Ticks(2024, 5, 10 + index % 20, 14)));
  Put(record.Get(), L"Meta.GPS.TimeStampFT", Variant::I8(0));
  Put(record.Get(), L"Meta.XMP.Rating", Variant::I2(static_cast<std::int16_t>(index % 6)));
  Put(record.Get(), L"Meta.GPS.Flags", Variant::UI2(0x01 | 0x02));
  Put(record.Get(), L"Meta.GPS.Latitude", Variant::R8(48.85 + index * 0.001));
  Put(record.Get(), L"Meta.GPS.Longitude", Variant::R8(2.29 + index * 0.001));
  Put(record.Get(), L"Meta.GPS.ImgDirection", Variant::R4(0));
  LONG count = 0;
  record->get_Count(&count);
  for (int pad = count; pad < 120; ++pad) {
    Put(record.Get(), L"Meta.IPTC.Padding" + std::to_wstring(pad), Variant::String(L"text"));
  }
  return record;
}

struct Rule {
  CFileTypeCondition type;
  CDateTakenCondition taken;
  CRatingCondition rating;
  CFileNameCondition name;
  CGpsPositionCondition position;
  std::vector<const CCondition*> all;

  Rule() {
    taken.Set(kDateOnOrAfter, Ticks(2024, 5, 17, 0), false);
    rating.SetComparison(CompareOp::GreaterOrEqual, 3);
    name.SetPattern(L"img_1*|dsc_*", false);
    CGpsPositionCondition::Parameters where;
    where.target = GeoPlace{48.8584, 2.2945};
    where.distance = 5;
    where.unit = CGpsPositionCondition::kKilometres;
    position.SetParameters(where);
    all = {&type, &taken, &rating, &name, &position};
  }
};

std::vector<ComPtr<IDictionary>> MakeFiles() {
  std::vector<ComPtr<IDictionary>> files;
  for (int i = 0; i < 64; ++i) files.push_back(MakeFileRecord(i));
  return files;
}

void BM_FiveConditionRule(benchmark::State& state) {
  const Rule rule;
  const auto files = MakeFiles();

  std::size_t next = 0;
  std::int64_t held = 0;
  for (auto _ : state) {
    IDictionary* record = files[next].Get();
    next = (next + 1) % files.size();
    // All five are evaluated, as a rule whose conditions must all hold is when every file passes.
    for (const CCondition* condition : rule.all)
      held += condition->Evaluate(record) == S_OK ? 1 : 0;
  }
  benchmark::DoNotOptimize(held);
  state.SetItemsProcessed(state.iterations());
  state.SetLabel("per file");
}
BENCHMARK(BM_FiveConditionRule);

// Each condition of the rule alone (0 file type ... 4 GPS distance), to see where the time goes.
void BM_OneCondition(benchmark::State& state) {
  const Rule rule;
  const auto files = MakeFiles();
  const CCondition* condition = rule.all.at(static_cast<std::size_t>(state.range(0)));
  std::size_t next = 0;
  std::int64_t held = 0;
  for (auto _ : state) {
    held += condition->Evaluate(files[next].Get()) == S_OK ? 1 : 0;
    next = (next + 1) % files.size();
  }
  benchmark::DoNotOptimize(held);
}
BENCHMARK(BM_OneCondition)->DenseRange(0, 4);

}  // namespace
}  // namespace lmk
