// A record built after the run named the keys it reads holds, for those keys, exactly the
// values of a record read in full, whatever the picture: fallbacks from EXIF to XMP, the
// sidecar over the packet, pictures the library reads, pictures it cannot parse.
#include <gtest/gtest.h>

#include <cctype>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "com/bstr.h"
#include "com/variant.h"
#include "host/exiftool_report.h"
#include "host/file_record_source.h"
#include "platform/text_encoding.h"
#include "support/temp_dir.h"

namespace lmk {
namespace {

namespace fs = std::filesystem;

class RecordHintsTest : public ::testing::TestWithParam<std::vector<const wchar_t*>> {
 protected:
  // The samples (the library reads those with IPTC or ICC data), and pictures crafted beside
  // them for what the samples lack: a date and an orientation in XMP only, and a sidecar whose
  // date differs from the packet's.
  static void SetUpTestSuite() {
    dir_.emplace();
    for (const auto& entry : fs::directory_iterator(LMK_SAMPLES_DIR))
      fs::copy_file(entry.path(), *dir_ / entry.path().filename());
    if (test::ExifToolAvailable()) {
      const fs::path plain = fs::path(LMK_SAMPLES_DIR) / "plain_nometa.jpg";
      fs::copy_file(plain, *dir_ / "xmp_only.jpg");
      test::ExifToolWrite(
          "'-XMP-exif:DateTimeOriginal=2021:05:06 07:08:09' -XMP-tiff:Orientation=6 -XMP:Rating=2",
          *dir_ / "xmp_only.jpg");
      fs::copy_file(plain, *dir_ / "both.jpg");
      test::ExifToolWrite("'-XMP-exif:DateTimeOriginal=2020:01:01 00:00:00'", *dir_ / "both.jpg");
      test::ExifToolWrite("-o " + (*dir_ / "both.xmp").string() +
                              " '-XMP-exif:DateTimeOriginal=2022:02:02 02:02:02' -XMP:Rating=5",
                          *dir_ / "plain_nometa.jpg");
    }
    for (const auto& entry : fs::directory_iterator(dir_->path())) {
      if (entry.path().extension() != ".xmp") files_.push_back(FromUtf8(entry.path().string()));
    }
  }
  static void TearDownTestSuite() {
    dir_.reset();
    files_.clear();
  }

  static inline std::optional<test::ScopedTempDir> dir_;
  static inline std::vector<std::wstring> files_;
};

// The value as its type and the bytes that type uses, so that equal values compare equal.
std::wstring Show(const VARIANT& v) {
  if (v.vt == VT_BSTR) return L"text:" + std::wstring(v.bstrVal, SysStringLen(v.bstrVal));
  const std::size_t size = v.vt == VT_UI1                                     ? 1
                           : v.vt == VT_I2 || v.vt == VT_UI2                  ? 2
                           : v.vt == VT_I4 || v.vt == VT_UI4 || v.vt == VT_R4 ? 4
                                                                              : 8;
  std::wstring shown = std::to_wstring(v.vt) + L":";
  for (std::size_t i = 0; i < size; ++i)
    shown += std::to_wstring(reinterpret_cast<const unsigned char*>(&v.llVal)[i]) + L",";
  return shown;
}

TEST_P(RecordHintsTest, NamedValuesAsAFullReadGivesThem) {
  const std::vector<const wchar_t*>& keys = GetParam();
  CFileRecordSource full(files_);
  CFileRecordSource hinted(files_);
  ASSERT_EQ(hinted.host().SetNeededKeys(static_cast<ULONG>(keys.size()), keys.data()), S_OK);
  for (std::size_t i = 0; i < files_.size(); ++i) {
    ComPtr<IDictionary> want, got;
    ASSERT_EQ(full.Build(i, &want), S_OK) << ToUtf8(files_[i]);
    ASSERT_EQ(hinted.Build(i, &got), S_OK) << ToUtf8(files_[i]);
    for (const wchar_t* key : keys) {
      Variant a, b;
      ASSERT_EQ(want->get_Value(Bstr(key).get(), &a), S_OK) << ToUtf8(key);
      ASSERT_EQ(got->get_Value(Bstr(key).get(), &b), S_OK) << ToUtf8(key);
      EXPECT_EQ(ToUtf8(Show(b.ref())), ToUtf8(Show(a.ref())))
          << ToUtf8(files_[i]) << " " << ToUtf8(key);
    }
  }
}

INSTANTIATE_TEST_SUITE_P(
    KeySets, RecordHintsTest,
    ::testing::ValuesIn(std::vector<std::vector<const wchar_t*>>{
        {L"Meta.DateTaken", L"Meta.DateTakenFT", L"File.Name"},
        {L"Meta.XMP.Rating"},
        {L"Meta.CameraMake", L"Meta.CameraModel"},
        {L"Meta.GPS.Flags", L"Meta.GPS.Latitude", L"Meta.GPS.Longitude", L"Meta.GPS.TimeStamp"},
        {L"Image.Width", L"Image.Height", L"Image.Rotated"},
        {L"Meta.Orientation", L"Meta.ISOSpeed", L"Meta.FNumber"},
        {L"Meta.IPTC.DescriptiveInfo.City", L"Meta.Photoshop.Urgency", L"Meta.IccProfileName"},
        {L"File.Size"},
    }),
    [](const ::testing::TestParamInfo<std::vector<const wchar_t*>>& info) {
      std::string name;
      for (const wchar_t* key : info.param) {
        for (const char c : ToUtf8(key)) {
          if (std::isalnum(static_cast<unsigned char>(c))) name += c;
        }
        if (name.size() > 40) break;
      }
      return name;
    });

}  // namespace
}  // namespace lmk
