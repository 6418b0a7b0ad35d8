// CGpsAltitudeCondition: compares the GPS altitude with a whole number of metres or feet.
#pragma once

#include "conditions/gps_quantity_condition.h"

namespace lmk {

class CGpsAltitudeCondition : public CGpsQuantityCondition {
 public:
  /// Unit codes.
  enum Unit : std::uint32_t { kMetres = 0, kFeet = 1 };

  CGpsAltitudeCondition();
};

}  // namespace lmk
