// CGpsSpeedCondition: compares the GPS speed with a whole number of km/h, mph, knots, m/s or ft/s.
#pragma once

#include "conditions/gps_quantity_condition.h"

namespace lmk {

class CGpsSpeedCondition : public CGpsQuantityCondition {
 public:
  /// Unit codes.
  enum Unit : std::uint32_t {
    kKilometresPerHour = 0,
    kMilesPerHour = 1,
    kKnots = 2,
    kMetresPerSecond = 3,
    kFeetPerSecond = 4,
  };

  CGpsSpeedCondition();
};

}  // namespace lmk
