// CGpsAltitudeCondition: compares the GPS altitude with a whole number of metres or feet.
#include "conditions/gps_altitude_condition.h"

namespace lmk {
namespace {

const CGpsQuantityCondition::Traits& AltitudeTraits() {
  static const CGpsQuantityCondition::Traits traits{
      L"GpsAltitude",  LMKGPS_ALTITUDE, L"Meta.GPS.Altitude", L"altitude",
      L"GPS altitude", AltitudeUnits(), AltitudeParamUnits(),
  };
  return traits;
}

}  // namespace

CGpsAltitudeCondition::CGpsAltitudeCondition() : CGpsQuantityCondition(AltitudeTraits()) {}

}  // namespace lmk
