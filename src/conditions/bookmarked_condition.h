// CBookmarkedCondition: tests whether the image carries one of the viewer's quick bookmarks.
#pragma once

#include "conditions/flag_condition.h"

namespace lmk {

/// "Condition.Bookmarked": "Misc.QuickBookmarkIndex" is a bookmark index, 65535 meaning none
/// (index 0 is a bookmark). Holds with "bookmarked: true" when the index is not 65535, with
/// "bookmarked: false" when it is.
class CBookmarkedCondition : public CFlagCondition {
 public:
  CBookmarkedCondition();

  std::wstring Description() const override;

 protected:
  HRESULT Test(IDictionary& record) const override;
};

}  // namespace lmk
