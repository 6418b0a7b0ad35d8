// Files per second of the picture metadata reader, on one and on two threads, reading every
// value or only the groups a rule needs.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "host/exiv2_metadata_reader.h"
#include "platform/text_encoding.h"

namespace {

namespace fs = std::filesystem;

// The pictures to read: $LMK_BENCH_PICTURES (a folder made by make_pictures.sh) when set,
// else the test samples.
const std::vector<std::wstring>& Pictures() {
  static const std::vector<std::wstring> files = [] {
    const char* folder = std::getenv("LMK_BENCH_PICTURES");
    std::vector<std::wstring> out;
    for (const auto& entry : fs::directory_iterator(folder != nullptr ? folder : LMK_SAMPLES_DIR)) {
      const std::string ext = entry.path().extension().string();
      if (ext == ".jpg" || ext == ".png") out.push_back(lmk::FromUtf8(entry.path().string()));
    }
    std::sort(out.begin(), out.end());
    return out;
  }();
  return files;
}

void BM_ReadMetadata(benchmark::State& state) {
  lmk::CExiv2MetadataReader::Initialize();
  const lmk::CExiv2MetadataReader reader;
  const auto& files = Pictures();
  if (files.empty()) {
    state.SkipWithError("no pictures");
    return;
  }
  size_t i = static_cast<size_t>(state.thread_index()) * 7919;
  for (auto _ : state) {
    lmk::ImageMetadata m;
    auto status = reader.Read(files[i++ % files.size()], &m, std::nullopt,
                              static_cast<uint32_t>(state.range(0)));
    benchmark::DoNotOptimize(status);
  }
  state.SetItemsProcessed(state.iterations());
}
// Every value, then what a rename by date and a rating rule read.
BENCHMARK(BM_ReadMetadata)
    ->Arg(lmk::kMetadataAll)
    ->Arg(lmk::kMetadataDates)
    ->Arg(lmk::kMetadataMarks)
    ->Threads(1)
    ->Threads(2)
    ->UseRealTime();

}  // namespace

BENCHMARK_MAIN();
