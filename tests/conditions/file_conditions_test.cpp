// Conditions on the file's name, type, size, siblings and companions, and the camera matches.
#include <gtest/gtest.h>

#include <fstream>
#include <string>

#include "condition_fixture.h"
#include "conditions/audio_annotation_condition.h"
#include "conditions/camera_make_match_condition.h"
#include "conditions/camera_model_match_condition.h"
#include "conditions/camera_serial_number_match_condition.h"
#include "conditions/file_name_condition.h"
#include "conditions/file_size_condition.h"
#include "conditions/file_type_condition.h"
#include "conditions/sibling_condition.h"
#include "conditions/sidecar_condition.h"
#include "platform/text_encoding.h"
#include "support/temp_dir.h"

namespace lmk {
namespace {

using test::MakeRecord;

ComPtr<IDictionary> Named(const wchar_t* path) {
  return MakeRecord({{L"File.Name", Variant::String(path)}});
}

struct FileTypeCase {
  const char* name;
  DWORD mode;
  const wchar_t* list;
  const wchar_t* path;
  HRESULT expected;
};

class FileTypeTest : public ::testing::TestWithParam<FileTypeCase> {};

TEST_P(FileTypeTest, TestsTheExtension) {
  const FileTypeCase& c = GetParam();
  CFileTypeCondition type;
  type.Set(c.mode, c.list);
  EXPECT_EQ(type.Evaluate(Named(c.path).Get()), c.expected);
}

const FileTypeCase kFileTypeCases[] = {
    {"JpgIsJpeg", 0, L"", L"/p/IMG_0001.JPG", S_OK},
    {"JfifAnyCaseIsJpeg", 0, L"", L"/p/scan.JfIf", S_OK},
    {"ExifIsJpeg", 0, L"", L"/p/a.exif", S_OK},
    {"NoExtensionIsNotJpeg", 0, L"", L"/p/README", S_FALSE},
    {"DotInFolderIsNoExtension", 0, L"", L"/p/album.jpg/README", S_FALSE},
    {"BackslashSeparatesFolders", 0, L"", L"C:\\a.jpg\\README", S_FALSE},
    {"OnlyTheLastDotCounts", 0, L"", L"/p/a.jpg.cr2", S_FALSE},
    {"NotJpegForRaw", 1, L"", L"/p/a.cr2", S_OK},
    {"NotJpegForJpe", 1, L"", L"/p/a.JPE", S_FALSE},
    {"NotJpegForNoExtension", 1, L"", L"/p/README", S_OK},
    {"CustomList", 2, L"cr2|nef", L"/p/a.NEF", S_OK},
    {"CustomWildcard", 2, L"r?f|c*", L"/p/a.cr3", S_OK},
    {"CustomNoMatch", 2, L"cr2|nef", L"/p/a.jpg", S_FALSE},
    {"CustomStarMatchesNoExtension", 2, L"*", L"/p/README", S_OK},
    {"UnknownModeIsUnexpected", 3, L"", L"/p/a.jpg", E_UNEXPECTED},
};
INSTANTIATE_TEST_SUITE_P(Cases, FileTypeTest, ::testing::ValuesIn(kFileTypeCases),
                         [](const auto& i) { return std::string(i.param.name); });

TEST(FileTypeTest, CustomListValidity) {
  CFileTypeCondition type;
  std::wstring why;
  type.Set(kFileTypeCustom, L"");
  EXPECT_FALSE(type.IsValid(&why));
  type.Set(kFileTypeCustom, L"*.cr2|nef");
  EXPECT_FALSE(type.IsValid(&why));
  EXPECT_NE(why.find(L"*.cr2"), std::wstring::npos);
  type.Set(kFileTypeCustom, L"*.*");
  EXPECT_TRUE(type.IsValid(&why));
  type.Set(kFileTypeJpeg, L"");
  EXPECT_TRUE(type.IsValid(&why));
}

struct PatternCase {
  const char* name;
  bool regex;
  const wchar_t* pattern;
  const wchar_t* text;
  HRESULT expected;
};

class FileNameTest : public ::testing::TestWithParam<PatternCase> {};

TEST_P(FileNameTest, MatchesTheStem) {
  const PatternCase& c = GetParam();
  CFileNameCondition name;
  name.SetPattern(c.pattern, c.regex);
  EXPECT_EQ(name.Evaluate(Named(c.text).Get()), c.expected);
}

const PatternCase kFileNameCases[] = {
    {"WildcardWithoutExtension", false, L"img_*", L"/pics/IMG_0001.JPG", S_OK},
    {"ExtensionInPatternNeverMatches", false, L"img_*.jpg", L"/pics/IMG_0001.JPG", S_FALSE},
    {"FolderIsNotTested", false, L"pics*", L"/pics/IMG_0001.JPG", S_FALSE},
    {"ListSecondToken", false, L"a|b", L"/p/b.jpg", S_OK},
    {"ListUntrimmed", false, L"a| b", L"/p/b.jpg", S_FALSE},
    {"RegexWholeMatch", true, L"img_[0-9]+", L"/p/IMG_0001.jpg", S_OK},
    {"RegexNoSearch", true, L"img_[0-9]+", L"/p/xIMG_0001.jpg", S_FALSE},
    {"EmptyStemNeverMatches", false, L"*", L"/p/.hidden", S_FALSE},
    {"EmptyStemNeverMatchesRegex", true, L".*", L"/p/.hidden", S_FALSE},
    {"InvalidRegexFails", true, L"(", L"/p/a.jpg", E_INVALIDARG},
};
INSTANTIATE_TEST_SUITE_P(Cases, FileNameTest, ::testing::ValuesIn(kFileNameCases),
                         [](const auto& i) { return std::string(i.param.name); });

TEST(FileNameTest, MissingNameFailsWithTheReadCode) {
  CFileNameCondition name;
  name.SetPattern(L"*", false);
  EXPECT_EQ(name.Evaluate(MakeRecord({}).Get()), E_FAIL);
}

class CameraMatchTest : public ::testing::TestWithParam<PatternCase> {};

TEST_P(CameraMatchTest, MakeModelAndSerial) {
  const PatternCase& c = GetParam();
  CCameraMakeMatchCondition make;
  CCameraModelMatchCondition model;
  CCameraSerialNumberMatchCondition serial;
  make.SetPattern(c.pattern, c.regex);
  model.SetPattern(c.pattern, c.regex);
  serial.SetPattern(c.pattern, c.regex);
  EXPECT_EQ(make.Evaluate(MakeRecord({{L"Meta.CameraMake", Variant::String(c.text)}}).Get()),
            c.expected);
  EXPECT_EQ(model.Evaluate(MakeRecord({{L"Meta.CameraModel", Variant::String(c.text)}}).Get()),
            c.expected);
  EXPECT_EQ(
      serial.Evaluate(MakeRecord({{L"Meta.CameraSerialNumber", Variant::String(c.text)}}).Get()),
      c.expected);
}

const PatternCase kCameraCases[] = {
    {"Wildcard", false, L"acme*", L"ACME Imaging", S_OK},
    {"WildcardNoMatch", false, L"acme", L"ACME Imaging", S_FALSE},
    {"EmptyValueNeverMatchesStar", false, L"*", L"", S_FALSE},
    {"EmptyValueNeverMatchesRegex", true, L".*", L"", S_FALSE},
    {"Regex", true, L"x-?t[0-9]", L"X-T3", S_OK},
};
INSTANTIATE_TEST_SUITE_P(Cases, CameraMatchTest, ::testing::ValuesIn(kCameraCases),
                         [](const auto& i) { return std::string(i.param.name); });

struct SiblingCase {
  const char* name;
  bool present;
  DWORD mode;
  const wchar_t* list;
  const wchar_t* extensions;
  HRESULT expected;
};

class SiblingTest : public ::testing::TestWithParam<SiblingCase> {};

TEST_P(SiblingTest, LooksThroughTheExtensions) {
  const SiblingCase& c = GetParam();
  CSiblingCondition sibling;
  sibling.Set(c.present, c.mode, c.list);
  const auto record = MakeRecord({{L"File.Extensions", Variant::String(c.extensions)}});
  EXPECT_EQ(sibling.Evaluate(record.Get()), c.expected);
}

const SiblingCase kSiblingCases[] = {
    {"HasJpeg", true, 0, L"", L".cr2|.JPG", S_OK},
    {"HasNoJpeg", false, 0, L"", L".cr2|.xmp", S_OK},
    {"HasNoJpegButHasOne", false, 0, L"", L".cr2|.jpg", S_FALSE},
    {"HasNotJpeg", true, 1, L"", L".jpg|.cr2", S_OK},
    {"CustomList", true, 2, L"nef|arw", L".jpg|.ARW", S_OK},
    {"SemicolonSeparatedToo", true, 2, L"nef", L".jpg;.nef", S_OK},
    {"EmptyListHasNothing", true, 0, L"", L"", S_FALSE},
    {"EmptyListHasNone", false, 0, L"", L"", S_OK},
    {"WithoutLeadingDot", true, 0, L"", L"jpeg", S_OK},
    {"UnknownMode", true, 5, L"", L".jpg", E_UNEXPECTED},
};
INSTANTIATE_TEST_SUITE_P(Cases, SiblingTest, ::testing::ValuesIn(kSiblingCases),
                         [](const auto& i) { return std::string(i.param.name); });

struct SizeCase {
  const char* name;
  CompareOp op;
  std::uint64_t bytes;
  Variant size;
  HRESULT expected;
};

class FileSizeTest : public ::testing::TestWithParam<SizeCase> {};

TEST_P(FileSizeTest, ComparesBytes) {
  const SizeCase& c = GetParam();
  CFileSizeCondition size;
  size.Set(PackComparison(c.op, 2), c.bytes);
  EXPECT_EQ(size.Evaluate(MakeRecord({{L"File.Size", c.size}}).Get()), c.expected);
}

const SizeCase kSizeCases[] = {
    {"GreaterOrEqualExact", CompareOp::GreaterOrEqual, 10u << 20, Variant::UI4(10u << 20), S_OK},
    {"GreaterIsStrict", CompareOp::Greater, 10u << 20, Variant::UI4(10u << 20), S_FALSE},
    {"Less", CompareOp::Less, 10u << 20, Variant::UI4(4096), S_OK},
    {"NotEqual", CompareOp::NotEqual, 1, Variant::UI4(1), S_FALSE},
    {"TwoGigabytesOverflowTheCoercion", CompareOp::Less, 1ull << 40, Variant::UI4(0x80000000u),
     DISP_E_OVERFLOW},
    {"ByteCountBeyond32Bits", CompareOp::Less, 5ull << 30, Variant::UI4(0x7FFFFFFFu), S_OK},
    {"NotSetIsNoOperatorHere", CompareOp::NotSet, 1, Variant::UI4(1), E_UNEXPECTED},
};
INSTANTIATE_TEST_SUITE_P(Cases, FileSizeTest, ::testing::ValuesIn(kSizeCases),
                         [](const auto& i) { return std::string(i.param.name); });

TEST(FileSizeTest, SentenceShowsTheUnitAsEntered) {
  CFileSizeCondition size;
  size.Set(PackComparison(CompareOp::Greater, 2), 10u << 20);
  EXPECT_EQ(size.Description(), L"When the file size is greater than 10 MB");
  size.Set(PackComparison(CompareOp::Less, 3), 3u << 29);
  EXPECT_EQ(size.Description(), L"When the file size is less than 1.50 GB");
}

class CompanionFileTest : public ::testing::Test {
 protected:
  void Touch(const std::string& name) { std::ofstream(dir_ / name) << "x"; }
  ComPtr<IDictionary> RecordFor(const std::string& stem) {
    return MakeRecord({{L"File.PathNoExt", Variant::String(FromUtf8((dir_ / stem).string()))}});
  }
  test::ScopedTempDir dir_;
};

TEST_F(CompanionFileTest, SidecarAndAudioAnnotation) {
  Touch("IMG_1.jpg");
  Touch("IMG_1.xmp");
  Touch("IMG_2.wav");
  std::filesystem::create_directory(dir_ / "IMG_3.xmp");
  CSidecarCondition sidecar;
  CAudioAnnotationCondition audio;
  EXPECT_EQ(sidecar.Evaluate(RecordFor("IMG_1").Get()), S_OK);
  EXPECT_EQ(audio.Evaluate(RecordFor("IMG_1").Get()), S_FALSE);
  EXPECT_EQ(sidecar.Evaluate(RecordFor("IMG_2").Get()), S_FALSE);
  EXPECT_EQ(audio.Evaluate(RecordFor("IMG_2").Get()), S_OK);
  EXPECT_EQ(sidecar.Evaluate(RecordFor("IMG_3").Get()), S_FALSE) << "a folder is no sidecar";
  sidecar.SetSense(false);
  EXPECT_EQ(sidecar.Evaluate(RecordFor("IMG_2").Get()), S_OK);
  EXPECT_EQ(sidecar.Evaluate(MakeRecord({}).Get()), E_FAIL);
  EXPECT_EQ(sidecar.Evaluate(MakeRecord({{L"File.PathNoExt", Variant::String(L"")}}).Get()), S_OK);
}

}  // namespace
}  // namespace lmk
