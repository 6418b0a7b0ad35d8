// CUrgencyAction: "Action.SetPhotoshopUrgency" sets the picture's Photoshop urgency.
#pragma once

#include "actions/metadata_action.h"

namespace lmk {

/// Sets the Photoshop urgency: 0 (none) to 9, or one more / one less. Named parameter:
/// urgency: 0 | none | 1..9 | one-more | one-less.
class CUrgencyAction : public CMetadataAction {
 public:
  CUrgencyAction();
};

}  // namespace lmk
