// The host's rating, label and urgency writes, read back by exiftool: where each lands, and that
// a refused write leaves every file as it was, with no temporary behind.
#include "host/metadata_writer.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <thread>
#include <vector>

#include "com/com_error.h"
#include "host/exiftool_report.h"
#include "host/exiv2_metadata_reader.h"
#include "platform/file_operations.h"
#include "platform/text_encoding.h"
#include "support/temp_dir.h"

namespace lmk {
namespace {

namespace fs = std::filesystem;

enum class Fault { kNone, kReadOnlyFile, kReadOnlyFolder, kFailedRename, kLinked };

struct WriteCase {
  const char* name;
  const char* sample;   // copied into the folder as `picture`
  const char* picture;  // its name there
  const char* sidecar;  // content of "<stem>.xmp" made beside it, or nullptr
  XmpMark mark;
  const char* value;
  Fault fault;
  const char* readFrom;  // the file exiftool reads back, or nullptr when the write must fail
  const char* tag;       // exiftool's -G1 name of the property
  const char* expected;  // its value ("" for absent); for failures a word of the description
};

std::string Bytes(const fs::path& path) {
  return {std::istreambuf_iterator<char>(std::ifstream(path, std::ios::binary).rdbuf()), {}};
}

class MetadataWriterTest : public testing::TestWithParam<WriteCase> {};

TEST_P(MetadataWriterTest, WritesWhereReadersLookOrLeavesEverything) {
  const WriteCase& c = GetParam();
  if (!test::ExifToolAvailable()) GTEST_SKIP() << "exiftool is not installed";
  if (c.fault == Fault::kReadOnlyFolder && ::geteuid() == 0) GTEST_SKIP() << "root writes anyway";
  test::ScopedTempDir dir;
  const fs::path picture = dir / c.picture;
  // A linked picture: the link stays, the file it points to ("real.jpg") takes the value.
  fs::copy_file(fs::path(LMK_SAMPLES_DIR) / c.sample,
                c.fault == Fault::kLinked ? dir / "real.jpg" : picture);
  if (c.fault == Fault::kLinked) fs::create_symlink("real.jpg", picture);
  fs::path sidecar = picture;
  sidecar.replace_extension(".xmp");
  if (c.sidecar != nullptr) std::ofstream(sidecar) << c.sidecar;
  const fs::file_time_type pictureTime = fs::last_write_time(picture) - std::chrono::hours(5);
  fs::last_write_time(picture, pictureTime);
  const std::string before = Bytes(picture);
  const std::string sidecarBefore = c.sidecar != nullptr ? Bytes(sidecar) : "";

  if (c.fault == Fault::kReadOnlyFile) fs::permissions(picture, fs::perms::owner_read);
  if (c.fault == Fault::kReadOnlyFolder) {
    fs::permissions(dir.path(), fs::perms::owner_read | fs::perms::owner_exec);
  }
  HRESULT hr = S_OK;
  {
    ScopedFileFaultHook hook([&](FileStep step, std::wstring_view) -> DWORD {
      return c.fault == Fault::kFailedRename && step == FileStep::kPublish ? ERROR_DISK_FULL : 0;
    });
    hr = CMetadataWriter::Write(FromUtf8(picture.string()), c.mark, c.value);
  }
  const std::wstring why = TakeErrorDescription();
  fs::permissions(dir.path(), fs::perms::owner_all);
  fs::permissions(picture, fs::perms::owner_read | fs::perms::owner_write);

  for (const auto& entry : fs::directory_iterator(dir.path())) {
    EXPECT_NE(entry.path().filename().string().front(), '.') << "left behind: " << entry.path();
  }
  if (c.readFrom == nullptr) {
    EXPECT_TRUE(FAILED(hr));
    EXPECT_NE(ToUtf8(why).find(c.expected), std::string::npos) << ToUtf8(why);
    EXPECT_EQ(Bytes(picture), before);
    EXPECT_EQ(c.sidecar != nullptr ? Bytes(sidecar) : "", sidecarBefore);
    EXPECT_EQ(fs::exists(sidecar), c.sidecar != nullptr);
    return;
  }
  ASSERT_EQ(hr, S_OK) << ToUtf8(why);
  EXPECT_EQ(fs::is_symlink(picture), c.fault == Fault::kLinked);
  EXPECT_EQ(fs::last_write_time(picture), pictureTime);
  const std::optional<test::ExifToolReport> report = test::RunExifTool(dir / c.readFrom);
  ASSERT_TRUE(report.has_value());
  const auto found = report->find(c.tag);
  EXPECT_EQ(found == report->end() ? "" : found->second, c.expected);
  if (dir / c.readFrom != picture && c.fault != Fault::kLinked) {
    EXPECT_EQ(Bytes(picture), before);
  }
}

constexpr const char* kSidecar =
    R"(<x:xmpmeta xmlns:x="adobe:ns:meta/"><rdf:RDF xmlns:rdf="http://www.w3.org/1999/02/22-rdf-syntax-ns#">)"
    R"(<rdf:Description rdf:about="" xmlns:xmp="http://ns.adobe.com/xap/1.0/" xmp:Rating="1" xmp:Label="Blue"/>)"
    R"(</rdf:RDF></x:xmpmeta>)";

INSTANTIATE_TEST_SUITE_P(
    Cases, MetadataWriterTest,
    testing::ValuesIn(std::vector<WriteCase>{
        {"JpegIntoPicture", "street_2023.jpg", "a.jpg", nullptr, XmpMark::kRating, "-1",
         Fault::kNone, "a.jpg", "XMP-xmp:Rating", "-1"},
        {"PngIntoPicture", "graphic.png", "a.png", nullptr, XmpMark::kLabel, "Purple", Fault::kNone,
         "a.png", "XMP-xmp:Label", "Purple"},
        {"UrgencyKeepsOtherValues", "rejected_2025.jpg", "a.jpg", nullptr, XmpMark::kUrgency, "7",
         Fault::kNone, "a.jpg", "XMP-xmp:Rating", "-1"},
        {"EmptyValueRemoves", "rejected_2025.jpg", "a.jpg", nullptr, XmpMark::kLabel, "",
         Fault::kNone, "a.jpg", "XMP-xmp:Label", ""},
        {"SidecarWinsOverPicture", "street_2023.jpg", "a.jpg", kSidecar, XmpMark::kRating, "4",
         Fault::kNone, "a.xmp", "XMP-xmp:Rating", "4"},
        {"SidecarKeepsItsOtherValues", "street_2023.jpg", "a.jpg", kSidecar, XmpMark::kRating, "4",
         Fault::kNone, "a.xmp", "XMP-xmp:Label", "Blue"},
        {"LinkStaysALink", "street_2023.jpg", "a.jpg", nullptr, XmpMark::kRating, "5",
         Fault::kLinked, "real.jpg", "XMP-xmp:Rating", "5"},
        {"RawGetsNewSidecar", "street_2023.jpg", "a.nef", nullptr, XmpMark::kRating, "2",
         Fault::kNone, "a.xmp", "XMP-xmp:Rating", "2"},
        {"DamagedPicture", "truncated.jpg", "a.jpg", nullptr, XmpMark::kRating, "2", Fault::kNone,
         nullptr, nullptr, "damaged"},
        {"ContentNotAPicture", "sidecar_2025.xmp", "a.jpg", nullptr, XmpMark::kRating, "2",
         Fault::kNone, nullptr, nullptr, "extension"},
        {"SidecarNotXmp", "street_2023.jpg", "a.jpg", "<x:xmpmeta><rdf:RDF", XmpMark::kRating, "2",
         Fault::kNone, nullptr, nullptr, "not valid XMP"},
        {"ReadOnlyPicture", "street_2023.jpg", "a.jpg", nullptr, XmpMark::kRating, "2",
         Fault::kReadOnlyFile, nullptr, nullptr, "read-only"},
        {"ReadOnlyFolder", "street_2023.jpg", "a.jpg", nullptr, XmpMark::kRating, "2",
         Fault::kReadOnlyFolder, nullptr, nullptr, "folder does not allow"},
        {"FailedRename", "street_2023.jpg", "a.jpg", nullptr, XmpMark::kRating, "2",
         Fault::kFailedRename, nullptr, nullptr, "a.jpg"},
    }),
    [](const auto& info) { return std::string(info.param.name); });

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
