// The "Bookmarked" condition.
#include "conditions/bookmarked_condition.h"

#include "conditions/record_value.h"

namespace lmk {
namespace {

constexpr std::int32_t kNoBookmark = 65535;

}  // namespace

CBookmarkedCondition::CBookmarkedCondition()
    : CFlagCondition(ProductKind(ElementFamily::Condition, L"Bookmarked"), L"bookmarked") {}

std::wstring CBookmarkedCondition::Description() const {
  return Sentence(Pick(L"the image is bookmarked", L"the image is not bookmarked"));
}

HRESULT CBookmarkedCondition::Test(IDictionary& record) const {
  static const Bstr kKey(L"Misc.QuickBookmarkIndex");
  std::int32_t index = 0;
  LMK_RETURN_IF_FAILED(GetRecordInt(record, kKey, &index));
  return Answer(index != kNoBookmark);
}

}  // namespace lmk
