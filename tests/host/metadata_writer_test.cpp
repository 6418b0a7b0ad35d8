// The host's rating, label and urgency writes, read back by exiftool: where each lands, and that
// a refused write leaves every file as it was, with no temporary behind.
#include "host/metadata_writer.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <filesystem>
#include <fstream>
#include <map>
#include <thread>
#include <vector>

#include "com/com_error.h"
#include "host/exiftool_report.h"
#include "host/exiv2_metadata_reader.h"
#include "platform/file_operations.h"
#include "platform/text_encoding.h"
#include "support/data_table.h"
#include "support/file_bytes.h"
#include "support/temp_dir.h"

namespace lmk {
namespace {

namespace fs = std::filesystem;

constexpr const char* kSidecar =
    R"(<x:xmpmeta xmlns:x="adobe:ns:meta/"><rdf:RDF xmlns:rdf="http://www.w3.org/1999/02/22-rdf-syntax-ns#">)"
    R"(<rdf:Description rdf:about="" xmlns:xmp="http://ns.adobe.com/xap/1.0/" xmp:Rating="1" xmp:Label="Blue"/>)"
    R"(</rdf:RDF></x:xmpmeta>)";

class MetadataWriterTest : public testing::TestWithParam<test::CaseRow> {};

TEST_P(MetadataWriterTest, WritesWhereReadersLookOrLeavesEverything) {
  const test::CaseRow& c = GetParam();
  const std::string& fault = c[5];
  const bool linked = fault == "linked", fails = c[6] == "-";
  if (!test::ExifToolAvailable()) GTEST_SKIP() << "exiftool is not installed";
  if (fault == "read-only-folder" && ::geteuid() == 0) GTEST_SKIP() << "root writes anyway";
  test::ScopedTempDir dir;
  const fs::path picture = dir / c[1];
  fs::copy_file(fs::path(LMK_SAMPLES_DIR) / c[0], linked ? dir / "real.jpg" : picture);
  if (linked) fs::create_symlink("real.jpg", picture);
  fs::path sidecar = picture;
  sidecar.replace_extension(".xmp");
  if (c[2] != "-") std::ofstream(sidecar) << (c[2] == "usual" ? kSidecar : c[2]);
  const fs::file_time_type pictureTime = fs::last_write_time(picture) - std::chrono::hours(5);
  fs::last_write_time(picture, pictureTime);
  const std::string before = test::ReadBytes(picture);
  const std::string sidecarBefore = c[2] != "-" ? test::ReadBytes(sidecar) : "";

  if (fault == "read-only-file") fs::permissions(picture, fs::perms::owner_read);
  if (fault == "read-only-folder") {
    fs::permissions(dir.path(), fs::perms::owner_read | fs::perms::owner_exec);
  }
  const std::map<std::string, XmpMark> marks = {
      {"rating", XmpMark::kRating}, {"label", XmpMark::kLabel}, {"urgency", XmpMark::kUrgency}};
  HRESULT hr = S_OK;
  {
    ScopedFileFaultHook hook([&](FileStep step, std::wstring_view) -> DWORD {
      return fault == "failed-rename" && step == FileStep::kPublish ? ERROR_DISK_FULL : 0;
    });
    hr = CMetadataWriter::Write(FromUtf8(picture.string()), marks.at(c[3]), c[4]);
  }
  const std::wstring why = TakeErrorDescription();
  fs::permissions(dir.path(), fs::perms::owner_all);
  fs::permissions(picture, fs::perms::owner_read | fs::perms::owner_write);

  for (const auto& entry : fs::directory_iterator(dir.path())) {
    EXPECT_NE(entry.path().filename().string().front(), '.') << "left behind: " << entry.path();
  }
  if (fails) {
    EXPECT_TRUE(FAILED(hr));
    EXPECT_NE(ToUtf8(why).find(c[8]), std::string::npos) << ToUtf8(why);
    EXPECT_EQ(test::ReadBytes(picture), before);
    EXPECT_EQ(c[2] != "-" ? test::ReadBytes(sidecar) : "", sidecarBefore);
    EXPECT_EQ(fs::exists(sidecar), c[2] != "-");
    return;
  }
  ASSERT_EQ(hr, S_OK) << ToUtf8(why);
  EXPECT_EQ(fs::is_symlink(picture), linked);
  EXPECT_EQ(fs::last_write_time(picture), pictureTime);
  const std::optional<test::ExifToolReport> report = test::RunExifTool(dir / c[6]);
  ASSERT_TRUE(report.has_value());
  const auto found = report->find(c[7]);
  EXPECT_EQ(found == report->end() ? "-" : found->second, c[8]);
  if (dir / c[6] != picture && !linked) EXPECT_EQ(test::ReadBytes(picture), before);
}

INSTANTIATE_TEST_SUITE_P(Cases, MetadataWriterTest,
                         testing::ValuesIn(test::ReadCaseTable("cases/metadata_writes.tsv", "", 9)),
                         [](const auto& info) { return info.param.name; });

// Eight writers at once over 2,000 writes: 1,000 pictures, and 500 sidecars that a JPEG and a
// RAW file share, written for both at the same moment. Each value lands once; none undoes another.
TEST(MetadataWriterConcurrencyTest, EveryValueLandsOnce) {
  test::ScopedTempDir dir;
  const auto file = [&](int i, const char* extension) {
    return dir / ("p" + std::to_string(i) + extension);
  };
  for (int i = 0; i < 1500; ++i) {
    fs::copy_file(fs::path(LMK_SAMPLES_DIR) / "plain_nometa.jpg", file(i, ".jpg"));
    if (i >= 1000) fs::copy_file(file(i, ".jpg"), file(i, ".nef"));
    if (i >= 1000) std::ofstream(file(i, ".xmp")) << kSidecar;
  }
  std::atomic<int> failed{0};
  std::vector<std::thread> writers;
  for (int w = 0; w < 8; ++w) {
    writers.emplace_back([&, w] {
      const auto write = [&](const fs::path& path, XmpMark mark, const std::string& value) {
        if (FAILED(CMetadataWriter::Write(FromUtf8(path.string()), mark, value))) ++failed;
      };
      for (int i = w; i < 1000; i += 8)
        write(file(i, ".jpg"), XmpMark::kRating, std::to_string(i % 5));
      // Writers w and w + 1 take the two pictures of a pair.
      for (int i = 1000 + w / 2; i < 1500; i += 4) {
        if (w % 2 == 0) write(file(i, ".jpg"), XmpMark::kLabel, "Green");
        if (w % 2 == 1) write(file(i, ".nef"), XmpMark::kUrgency, "6");
      }
    });
  }
  for (std::thread& writer : writers) writer.join();
  EXPECT_EQ(failed.load(), 0);
  int wrong = 0;
  for (int i = 0; i < 1500; ++i) {
    ImageMetadata meta;
    (void)CExiv2MetadataReader().Read(FromUtf8(file(i, ".jpg").string()), &meta);
    const bool pair = i >= 1000;
    if (meta.xmpRating != (pair ? 1 : i % 5) ||
        (pair && (meta.xmpLabel != 3 || meta.photoshopUrgency != 6)))
      ++wrong;
  }
  EXPECT_EQ(wrong, 0);
}

}  // namespace
}  // namespace lmk
