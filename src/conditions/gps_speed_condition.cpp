// CGpsSpeedCondition: compares the GPS speed with a whole number of a speed unit.
#include "conditions/gps_speed_condition.h"

namespace lmk {
namespace {

const CGpsQuantityCondition::Traits& SpeedTraits() {
  static const CGpsQuantityCondition::Traits traits{
      L"GpsSpeed",  LMKGPS_SPEED, L"Meta.GPS.Speed", L"speed",
      L"GPS speed", SpeedUnits(), SpeedParamUnits(),
  };
  return traits;
}

}  // namespace

CGpsSpeedCondition::CGpsSpeedCondition() : CGpsQuantityCondition(SpeedTraits()) {}

}  // namespace lmk
