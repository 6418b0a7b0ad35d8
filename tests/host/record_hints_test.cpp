// A record built after the run named the keys it reads holds, for those keys, exactly the
// values of a record read in full, whatever the picture: fallbacks from EXIF to XMP, the
// sidecar over the packet, pictures the library reads, pictures it cannot parse.
#include <gtest/gtest.h>

#include <cctype>
#include <cstring>
#include <filesystem>
#include <fstream>
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

// A grey TIFF of 4 x 2 pixels, little-endian, for exiftool to add metadata to.
std::string TinyTiff() {
  const auto u16 = [](std::string& s, unsigned v) { s += char(v & 0xFF), s += char(v >> 8); };
  const auto u32 = [&](std::string& s, unsigned v) { u16(s, v & 0xFFFF), u16(s, v >> 16); };
  const unsigned tags[][3] = {{256, 3, 4}, {257, 3, 2}, {258, 3, 8}, {259, 3, 1}, {262, 3, 1},
                              {273, 4, 0}, {277, 3, 1}, {278, 3, 2}, {279, 4, 8}};
  const unsigned pixelsAt = 8 + 2 + 9 * 12 + 4;
  std::string s = "II*";
  s += '\0';
  u32(s, 8);
  u16(s, 9);
  for (const auto& t : tags) {
    u16(s, t[0]), u16(s, t[1]), u32(s, 1);
    t[1] == 3 ? (u16(s, t[2]), u16(s, 0)) : u32(s, t[0] == 273 ? pixelsAt : t[2]);
  }
  u32(s, 0);
  return s + std::string(8, '\x80');
}

class RecordHintsTest : public ::testing::TestWithParam<std::vector<const wchar_t*>> {
 protected:
  // The samples, and pictures crafted beside them for what the samples lack: a date and an
  // orientation in XMP only, a sidecar whose date differs from the packet's, a TIFF the library
  // reads, and a camera file known only by a sidecar.
  static void SetUpTestSuite() {
    dir_ = new test::ScopedTempDir();
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
      for (const char* name : {"scan.tif", "camera.nef"}) {
        std::ofstream(*dir_ / name, std::ios::binary) << TinyTiff();
        test::ExifToolWrite(
            "'-EXIF:DateTimeOriginal=2019:09:09 09:09:09' -EXIF:Make=Maker -EXIF:Orientation=8 "
            "-XMP:Rating=1 -IPTC:City=Ulm",
            *dir_ / name);
      }
      test::ExifToolWrite("-o " + (*dir_ / "camera.xmp").string() + " -XMP:Rating=3",
                          *dir_ / "plain_nometa.jpg");
    }
    for (const auto& entry : fs::directory_iterator(dir_->path())) {
      if (entry.path().extension() != ".xmp") files_.push_back(FromUtf8(entry.path().string()));
    }
  }
  static void TearDownTestSuite() {
    delete dir_;
    files_.clear();
  }

  static inline test::ScopedTempDir* dir_ = nullptr;
  static inline std::vector<std::wstring> files_;
};

// The value as its type and the bytes that type uses, so that equal values compare equal.
std::wstring Show(const VARIANT& v) {
  if (v.vt == VT_BSTR) return L"text:" + std::wstring(v.bstrVal, SysStringLen(v.bstrVal));
  std::size_t size = 8;
  if (v.vt == VT_UI1) size = 1;
  if (v.vt == VT_I2 || v.vt == VT_UI2) size = 2;
  if (v.vt == VT_I4 || v.vt == VT_UI4 || v.vt == VT_R4) size = 4;
  unsigned char bytes[8] = {};
  std::memcpy(bytes, &v.llVal, size);
  std::wstring shown = std::to_wstring(v.vt) + L":";
  for (std::size_t i = 0; i < size; ++i) shown += std::to_wstring(bytes[i]) + L",";
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
