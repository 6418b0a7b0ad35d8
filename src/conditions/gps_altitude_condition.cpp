// CGpsAltitudeCondition: compares the GPS altitude with a whole number of metres or feet.
#include "conditions/gps_altitude_condition.h"

namespace lmk {

CGpsAltitudeCondition::CGpsAltitudeCondition()
    : CGpsQuantityCondition({L"GpsAltitude", LMKGPS_ALTITUDE, L"Meta.GPS.Altitude", L"altitude",
                             L"GPS altitude", AltitudeUnits(), AltitudeParamUnits()}) {}

}  // namespace lmk
