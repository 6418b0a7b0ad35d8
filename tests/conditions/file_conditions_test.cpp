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

using test::kCaseName;
using test::MakeRecord;

ComPtr<IDictionary> Named(const wchar_t* key, const wchar_t* text) {
  return MakeRecord({{key, Variant::String(text)}});
}

// File type (mode, list) and sibling (present, mode, list) conditions on a name or extension list.
struct TypeCase {
  const char* name;
  bool sibling, present;
  DWORD mode;
  const wchar_t *list, *text;
  HRESULT expected;
};

const TypeCase kTypeCases[] = {
    {"JpgIsJpeg", false, true, 0, L"", L"/p/IMG_0001.JPG", S_OK},
    {"JfifAnyCaseIsJpeg", false, true, 0, L"", L"/p/scan.JfIf", S_OK},
    {"DotInFolderIsNoExtension", false, true, 0, L"", L"/p/album.jpg/README", S_FALSE},
    {"NoExtensionIsNotJpeg", false, true, 0, L"", L"/p/README", S_FALSE},
    {"BackslashSeparatesFolders", false, true, 0, L"", L"C:\\a.jpg\\README", S_FALSE},
    {"OnlyTheLastDotCounts", false, true, 0, L"", L"/p/a.jpg.cr2", S_FALSE},
    {"NotJpegForRaw", false, true, 1, L"", L"/p/a.cr2", S_OK},
    {"NotJpegForNoExtension", false, true, 1, L"", L"/p/README", S_OK},
    {"CustomList", false, true, 2, L"cr2|nef", L"/p/a.NEF", S_OK},
    {"CustomWildcard", false, true, 2, L"r?f|c*", L"/p/a.cr3", S_OK},
    {"CustomNoMatch", false, true, 2, L"cr2|nef", L"/p/a.jpg", S_FALSE},
    {"CustomStarMatchesNoExtension", false, true, 2, L"*", L"/p/README", S_OK},
    {"UnknownModeIsUnexpected", false, true, 3, L"", L"/p/a.jpg", E_UNEXPECTED},
    {"SiblingHasJpeg", true, true, 0, L"", L".cr2|.JPG", S_OK},
    {"SiblingHasNoJpeg", true, false, 0, L"", L".cr2|.xmp", S_OK},
    {"SiblingHasNotJpeg", true, true, 1, L"", L".jpg|.cr2", S_OK},
    {"SiblingCustomList", true, true, 2, L"nef|arw", L".jpg|.ARW", S_OK},
    {"SiblingEmptyListHasNothing", true, true, 0, L"", L"", S_FALSE},
    {"SiblingHasNoJpegButHasOne", true, false, 0, L"", L".cr2|.jpg", S_FALSE},
    {"SiblingSemicolonSeparatedToo", true, true, 2, L"nef", L".jpg;.nef", S_OK},
    {"SiblingWithoutLeadingDot", true, true, 0, L"", L"jpeg", S_OK},
    {"SiblingUnknownMode", true, true, 5, L"", L".jpg", E_UNEXPECTED},
};

class TypeTest : public ::testing::TestWithParam<TypeCase> {};

TEST_P(TypeTest, TestsTheExtensions) {
  const TypeCase& c = GetParam();
  CFileTypeCondition type;
  CSiblingCondition sibling;
  type.Set(c.mode, c.list);
  sibling.Set(c.present, c.mode, c.list);
  EXPECT_EQ(c.sibling ? sibling.Evaluate(Named(L"File.Extensions", c.text).Get())
                      : type.Evaluate(Named(L"File.Name", c.text).Get()),
            c.expected);
}

INSTANTIATE_TEST_SUITE_P(Cases, TypeTest, ::testing::ValuesIn(kTypeCases), kCaseName);

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
  CFileNameCondition name;
  name.SetPattern(L"*", false);
  EXPECT_EQ(name.Evaluate(MakeRecord({}).Get()), E_FAIL)
      << "a missing name fails with the read code";
}

// The file name condition on the path's stem (camera: false), or the camera make, model and
// serial matches on their values (camera: true).
struct PatternCase {
  const char* name;
  bool camera, regex;
  const wchar_t *pattern, *text;
  HRESULT expected;
};

const PatternCase kPatternCases[] = {
    {"WildcardWithoutExtension", false, false, L"img_*", L"/pics/IMG_0001.JPG", S_OK},
    {"ExtensionInPatternNeverMatches", false, false, L"img_*.jpg", L"/pics/IMG_0001.JPG", S_FALSE},
    {"FolderIsNotTested", false, false, L"pics*", L"/pics/IMG_0001.JPG", S_FALSE},
    {"ListUntrimmed", false, false, L"a| b", L"/p/b.jpg", S_FALSE},
    {"RegexWholeMatch", false, true, L"img_[0-9]+", L"/p/IMG_0001.jpg", S_OK},
    {"RegexNoSearch", false, true, L"img_[0-9]+", L"/p/xIMG_0001.jpg", S_FALSE},
    {"EmptyStemNeverMatchesRegex", false, true, L".*", L"/p/.hidden", S_FALSE},
    {"EmptyStemNeverMatches", false, false, L"*", L"/p/.hidden", S_FALSE},
    {"InvalidRegexFails", false, true, L"(", L"/p/a.jpg", E_INVALIDARG},
    {"CameraWildcard", true, false, L"acme*", L"ACME Imaging", S_OK},
    {"CameraWildcardNoMatch", true, false, L"acme", L"ACME Imaging", S_FALSE},
    {"CameraEmptyValueNeverMatchesStar", true, false, L"*", L"", S_FALSE},
    {"CameraEmptyValueNeverMatchesRegex", true, true, L".*", L"", S_FALSE},
    {"CameraRegex", true, true, L"x-?t[0-9]", L"X-T3", S_OK},
};

class PatternTest : public ::testing::TestWithParam<PatternCase> {};

TEST_P(PatternTest, Matches) {
  const PatternCase& c = GetParam();
  CFileNameCondition name;
  CCameraMakeMatchCondition make;
  CCameraModelMatchCondition model;
  CCameraSerialNumberMatchCondition serial;
  for (CPatternCondition* p :
       std::initializer_list<CPatternCondition*>{&name, &make, &model, &serial})
    p->SetPattern(c.pattern, c.regex);
  if (!c.camera) {
    EXPECT_EQ(name.Evaluate(Named(L"File.Name", c.text).Get()), c.expected);
    return;
  }
  EXPECT_EQ(make.Evaluate(Named(L"Meta.CameraMake", c.text).Get()), c.expected);
  EXPECT_EQ(model.Evaluate(Named(L"Meta.CameraModel", c.text).Get()), c.expected);
  EXPECT_EQ(serial.Evaluate(Named(L"Meta.CameraSerialNumber", c.text).Get()), c.expected);
}

INSTANTIATE_TEST_SUITE_P(Cases, PatternTest, ::testing::ValuesIn(kPatternCases), kCaseName);

struct SizeCase {
  const char* name;
  CompareOp op;
  std::uint64_t bytes;
  Variant size;
  HRESULT expected;
};

const SizeCase kSizeCases[] = {
    {"GreaterOrEqualExact", CompareOp::GreaterOrEqual, 10u << 20, Variant::UI4(10u << 20), S_OK},
    {"Less", CompareOp::Less, 10u << 20, Variant::UI4(4096), S_OK},
    {"NotEqual", CompareOp::NotEqual, 1, Variant::UI4(1), S_FALSE},
    {"TwoGigabytesOverflowTheCoercion", CompareOp::Less, 1ull << 40, Variant::UI4(0x80000000u),
     DISP_E_OVERFLOW},
    {"ByteCountBeyond32Bits", CompareOp::Less, 5ull << 30, Variant::UI4(0x7FFFFFFFu), S_OK},
    {"NotSetIsNoOperatorHere", CompareOp::NotSet, 1, Variant::UI4(1), E_UNEXPECTED},
};

class FileSizeTest : public ::testing::TestWithParam<SizeCase> {};

TEST_P(FileSizeTest, ComparesBytes) {
  const SizeCase& c = GetParam();
  CFileSizeCondition size;
  size.Set(PackComparison(c.op, 2), c.bytes);
  EXPECT_EQ(size.Evaluate(MakeRecord({{L"File.Size", c.size}}).Get()), c.expected);
}

INSTANTIATE_TEST_SUITE_P(Cases, FileSizeTest, ::testing::ValuesIn(kSizeCases), kCaseName);

TEST(FileSizeTest, SentenceShowsTheUnitAsEntered) {
  CFileSizeCondition size;
  size.Set(PackComparison(CompareOp::Greater, 2), 10u << 20);
  EXPECT_EQ(size.Description(), L"When the file size is greater than 10 MB");
  size.Set(PackComparison(CompareOp::Less, 3), 3u << 29);
  EXPECT_EQ(size.Description(), L"When the file size is less than 1.50 GB");
}

TEST(CompanionFileTest, SidecarAndAudioAnnotation) {
  test::ScopedTempDir dir;
  for (const char* name : {"IMG_1.jpg", "IMG_1.xmp", "IMG_2.wav"}) std::ofstream(dir / name) << "x";
  std::filesystem::create_directory(dir / "IMG_3.xmp");
  const auto record = [&](const char* stem) {
    return MakeRecord({{L"File.PathNoExt", Variant::String(FromUtf8((dir / stem).string()))}});
  };
  CSidecarCondition sidecar;
  CAudioAnnotationCondition audio;
  EXPECT_EQ(sidecar.Evaluate(record("IMG_1").Get()), S_OK);
  EXPECT_EQ(audio.Evaluate(record("IMG_1").Get()), S_FALSE);
  EXPECT_EQ(sidecar.Evaluate(record("IMG_2").Get()), S_FALSE);
  EXPECT_EQ(audio.Evaluate(record("IMG_2").Get()), S_OK);
  EXPECT_EQ(sidecar.Evaluate(record("IMG_3").Get()), S_FALSE) << "a folder is no sidecar";
  sidecar.SetSense(false);
  EXPECT_EQ(sidecar.Evaluate(record("IMG_2").Get()), S_OK);
  EXPECT_EQ(sidecar.Evaluate(MakeRecord({}).Get()), E_FAIL);
  EXPECT_EQ(sidecar.Evaluate(Named(L"File.PathNoExt", L"").Get()), S_OK);
}

}  // namespace
}  // namespace lmk
