// Conditions with one byte of sense: the viewer marks, bookmarks, portrait orientation and the
// validity of serial numbers; and the failure codes that every condition shares.
#include <gtest/gtest.h>

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
using Factory = std::function<std::unique_ptr<CFlagCondition>()>;
template <class T>
Factory Make() {
  return test::Make<CFlagCondition, T>();
}

struct FlagCase {
  const char* name;
  Factory make;
  std::vector<test::RecordField> record;
  HRESULT whenSet;  ///< the answer with the positive sense; the negative sense must invert it
};

std::vector<test::RecordField> Size(std::uint32_t width, std::uint32_t height) {
  return {{L"Image.NativeWidth", Variant::UI4(width)},
          {L"Image.NativeHeight", Variant::UI4(height)}};
}

const wchar_t kCopied[] = L"Misc.CopiedFlag", kBookmark[] = L"Misc.QuickBookmarkIndex",
              kSerial[] = L"Meta.CameraSerialNumber";
using V = Variant;

std::vector<test::RecordField> One(const wchar_t* key, Variant value) { return {{key, value}}; }

const FlagCase kFlagCases[] = {
    {"CopiedTrue", Make<CCopiedCondition>(), One(kCopied, V::Bool(true)), S_OK},
    {"CopiedFalse",
     Make<CCopiedCondition>(),
     {{L"Misc.CopiedFlag", Variant::Bool(false)}},
     S_FALSE},
    {"CopiedMissingKeyFailsWithTheReadCode", Make<CCopiedCondition>(), {}, E_FAIL},
    {"CopiedTextThatIsNoNumberFailsCoercion", Make<CCopiedCondition>(),
     One(kCopied, V::String(L"yes please")), DISP_E_TYPEMISMATCH},
    {"MarkedForDeletion", Make<CMarkedForDeletionCondition>(),
     One(L"Misc.MarkedForDeletionFlag", V::Bool(true)), S_OK},
    {"MarkedForPublishingUnset", Make<CMarkedForPublishingCondition>(),
     One(L"Misc.MarkedForPublishingFlag", V::Bool(false)), S_FALSE},
    {"BWPreview", Make<CBWPreviewCondition>(), One(L"Misc.BWPreviewFlag", V::Bool(true)), S_OK},
    {"BookmarkIndexZeroIsABookmark", Make<CBookmarkedCondition>(), One(kBookmark, V::UI2(0)), S_OK},
    {"BookmarkIndex65535IsNone", Make<CBookmarkedCondition>(), One(kBookmark, V::UI2(65535)),
     S_FALSE},
    {"PortraitTallImage", Make<CPortraitCondition>(), Size(3000, 4000), S_OK},
    {"SquareIsNotPortrait", Make<CPortraitCondition>(), Size(3000, 3000), S_FALSE},
    {"PortraitWidthTooLargeForI4", Make<CPortraitCondition>(), Size(3000000000u, 1),
     DISP_E_OVERFLOW},
    {"SerialValid", Make<CCameraSerialNumberCondition>(), One(kSerial, V::String(L"0231A45")),
     S_OK},
    {"SerialZerosOnly", Make<CCameraSerialNumberCondition>(), One(kSerial, V::String(L"0000000")),
     S_FALSE},
    {"SerialPunctuationOnly", Make<CCameraSerialNumberCondition>(),
     One(kSerial, V::String(L"--- .")), S_FALSE},
    {"SerialEmpty",
     Make<CCameraSerialNumberCondition>(),
     {{L"Meta.CameraSerialNumber", Variant::String(L"")}},
     S_FALSE},
    {"SerialZeroWithBlankIsValid", Make<CCameraSerialNumberCondition>(),
     One(kSerial, V::String(L"0 0")), S_OK},
};

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

INSTANTIATE_TEST_SUITE_P(Cases, FlagConditionTest, ::testing::ValuesIn(kFlagCases),
                         test::kCaseName);

TEST(ConditionEvaluationTest, NullRecordAndKeys) {
  EXPECT_EQ(CCopiedCondition().Evaluate(nullptr), E_INVALIDARG);
  EXPECT_EQ(CPortraitCondition().Evaluate(nullptr), E_INVALIDARG);
  CBookmarkedCondition bookmarked;
  EXPECT_EQ(bookmarked.Key(), L"Condition.Bookmarked");
  bookmarked.SetException(true);
  EXPECT_EQ(bookmarked.Key(), L"Exception.Bookmarked");
  EXPECT_TRUE(bookmarked.IsKey(L"exception.BOOKMARKED"));
  EXPECT_EQ(bookmarked.UsageEventName(), L"Condition:Bookmarked");
  EXPECT_EQ(CPortraitCondition().UsageEventName(), L"Condition:PortraitOrientation");
}

}  // namespace
}  // namespace lmk
