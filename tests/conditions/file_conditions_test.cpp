// The file type's custom lists, the file size's sentences and the companion file conditions.
#include <gtest/gtest.h>

#include <fstream>
#include <string>

#include "condition_fixture.h"
#include "conditions/audio_annotation_condition.h"
#include "conditions/file_size_condition.h"
#include "conditions/file_type_condition.h"
#include "conditions/sidecar_condition.h"
#include "platform/text_encoding.h"
#include "support/temp_dir.h"

namespace lmk {
namespace {

using test::MakeRecord;

ComPtr<IDictionary> Named(const wchar_t* key, const wchar_t* text) {
  return MakeRecord({{key, Variant::String(text)}});
}

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
