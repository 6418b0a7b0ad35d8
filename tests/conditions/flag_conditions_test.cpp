// Conditions with one byte of sense: the viewer marks, bookmarks, portrait orientation and the
// validity of serial numbers; and the failure codes that every condition shares.
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>

#include "condition_fixture.h"
#include "conditions/bookmarked_condition.h"
#include "conditions/bw_preview_condition.h"
#include "conditions/camera_serial_number_condition.h"
#include "conditions/copied_condition.h"
#include "conditions/marked_for_deletion_condition.h"
#include "conditions/marked_for_publishing_condition.h"
#include "conditions/portrait_condition.h"

namespace lmk {
namespace {

using test::MakeRecord;

struct FlagCase {
  const char* name;
  std::function<std::unique_ptr<CFlagCondition>()> make;
  std::vector<test::RecordField> record;
  HRESULT whenSet;  ///< the answer with the positive sense; the negative sense must invert it
};

template <class T>
std::function<std::unique_ptr<CFlagCondition>()> Make() {
  return [] { return std::make_unique<T>(); };
}

class FlagConditionTest : public ::testing::TestWithParam<FlagCase> {};

TEST_P(FlagConditionTest, AnswersAndInvertsWithTheSense) {
  const FlagCase& c = GetParam();
  auto condition = c.make();
  const auto record = MakeRecord(c.record);
  condition->SetSense(true);
  EXPECT_EQ(condition->Evaluate(record.Get()), c.whenSet);
  condition->SetSense(false);
  const HRESULT inverted = c.whenSet == S_OK ? S_FALSE : c.whenSet == S_FALSE ? S_OK : c.whenSet;
  EXPECT_EQ(condition->Evaluate(record.Get()), inverted);
  // An exception answers exactly as the condition does.
  condition->SetException(true);
  EXPECT_EQ(condition->Evaluate(record.Get()), inverted);
}

const FlagCase kFlagCases[] = {
    {"CopiedTrue", Make<CCopiedCondition>(), {{L"Misc.CopiedFlag", Variant::Bool(true)}}, S_OK},
    {"CopiedFalse",
     Make<CCopiedCondition>(),
     {{L"Misc.CopiedFlag", Variant::Bool(false)}},
     S_FALSE},
    {"CopiedMissingKeyFailsWithTheReadCode", Make<CCopiedCondition>(), {}, E_FAIL},
    {"CopiedTextThatIsNoNumberFailsCoercion",
     Make<CCopiedCondition>(),
     {{L"Misc.CopiedFlag", Variant::String(L"yes please")}},
     DISP_E_TYPEMISMATCH},
    {"MarkedForDeletion",
     Make<CMarkedForDeletionCondition>(),
     {{L"Misc.MarkedForDeletionFlag", Variant::Bool(true)}},
     S_OK},
    {"MarkedForPublishingUnset",
     Make<CMarkedForPublishingCondition>(),
     {{L"Misc.MarkedForPublishingFlag", Variant::Bool(false)}},
     S_FALSE},
    {"BWPreview",
     Make<CBWPreviewCondition>(),
     {{L"Misc.BWPreviewFlag", Variant::Bool(true)}},
     S_OK},
    {"BookmarkIndexZeroIsABookmark",
     Make<CBookmarkedCondition>(),
     {{L"Misc.QuickBookmarkIndex", Variant::UI2(0)}},
     S_OK},
    {"BookmarkIndex65535IsNone",
     Make<CBookmarkedCondition>(),
     {{L"Misc.QuickBookmarkIndex", Variant::UI2(65535)}},
     S_FALSE},
    {"BookmarkIndex9",
     Make<CBookmarkedCondition>(),
     {{L"Misc.QuickBookmarkIndex", Variant::UI2(9)}},
     S_OK},
    {"PortraitTallImage",
     Make<CPortraitCondition>(),
     {{L"Image.NativeWidth", Variant::UI4(3000)}, {L"Image.NativeHeight", Variant::UI4(4000)}},
     S_OK},
    {"SquareIsNotPortrait",
     Make<CPortraitCondition>(),
     {{L"Image.NativeWidth", Variant::UI4(3000)}, {L"Image.NativeHeight", Variant::UI4(3000)}},
     S_FALSE},
    {"PortraitWidthTooLargeForI4",
     Make<CPortraitCondition>(),
     {{L"Image.NativeWidth", Variant::UI4(3000000000u)}, {L"Image.NativeHeight", Variant::UI4(1)}},
     DISP_E_OVERFLOW},
    {"SerialValid",
     Make<CCameraSerialNumberCondition>(),
     {{L"Meta.CameraSerialNumber", Variant::String(L"0231A45")}},
     S_OK},
    {"SerialZerosOnly",
     Make<CCameraSerialNumberCondition>(),
     {{L"Meta.CameraSerialNumber", Variant::String(L"0000000")}},
     S_FALSE},
    {"SerialPunctuationOnly",
     Make<CCameraSerialNumberCondition>(),
     {{L"Meta.CameraSerialNumber", Variant::String(L"--- .")}},
     S_FALSE},
    {"SerialEmpty",
     Make<CCameraSerialNumberCondition>(),
     {{L"Meta.CameraSerialNumber", Variant::String(L"")}},
     S_FALSE},
    {"SerialZeroWithBlankIsValid",
     Make<CCameraSerialNumberCondition>(),
     {{L"Meta.CameraSerialNumber", Variant::String(L"0 0")}},
     S_OK},
};

INSTANTIATE_TEST_SUITE_P(Cases, FlagConditionTest, ::testing::ValuesIn(kFlagCases),
                         [](const auto& i) { return std::string(i.param.name); });

TEST(ConditionEvaluationTest, NullRecordIsInvalidArg) {
  CCopiedCondition copied;
  EXPECT_EQ(copied.Evaluate(nullptr), E_INVALIDARG);
  CPortraitCondition portrait;
  EXPECT_EQ(portrait.Evaluate(nullptr), E_INVALIDARG);
}

TEST(ConditionEvaluationTest, KeysFollowTheExceptionBit) {
  CBookmarkedCondition bookmarked;
  EXPECT_EQ(bookmarked.Key(), L"Condition.Bookmarked");
  bookmarked.SetException(true);
  EXPECT_EQ(bookmarked.Key(), L"Exception.Bookmarked");
  EXPECT_TRUE(bookmarked.IsKey(L"exception.BOOKMARKED"));
  EXPECT_EQ(bookmarked.UsageEventName(), L"Condition:Bookmarked");
  CPortraitCondition portrait;
  EXPECT_EQ(portrait.UsageEventName(), L"Condition:PortraitOrientation");
}

}  // namespace
}  // namespace lmk
