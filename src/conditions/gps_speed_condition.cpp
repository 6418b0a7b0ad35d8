// CGpsSpeedCondition: compares the GPS speed with a whole number of a speed unit.
#include "conditions/gps_speed_condition.h"

namespace lmk {

CGpsSpeedCondition::CGpsSpeedCondition()
    : CGpsQuantityCondition({L"GpsSpeed", LMKGPS_SPEED, L"Meta.GPS.Speed", L"speed", L"GPS speed",
                             SpeedUnits(), SpeedParamUnits()}) {}

}  // namespace lmk
