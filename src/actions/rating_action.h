// CRatingAction: "Action.SetXMPRating" gives the picture a rating, or one star more or less.
#pragma once

#include "actions/metadata_action.h"

namespace lmk {

/// Sets the XMP rating: -1 (rejected), 0 (none), 1 to 5 stars, or one more / one less. A host
/// that renames the file on a write has the record follow the new name. Named parameter:
/// rating: -1 | rejected | 0 | none | 1..5 | one-more | one-less.
class CRatingAction : public CMetadataAction {
 public:
  CRatingAction();
};

}  // namespace lmk
