// Registration of the GPS condition kinds (position, altitude, speed, direction, metadata).
#include "conditions/gps_condition_registration.h"

#include "conditions/gps_altitude_condition.h"
#include "conditions/gps_direction_condition.h"
#include "conditions/gps_metadata_condition.h"
#include "conditions/gps_position_condition.h"
#include "conditions/gps_speed_condition.h"

namespace lmk {

void RegisterGpsConditions(CElementRegistry& registry) {
  registry.Register<CGpsPositionCondition>(ElementFamily::Condition, L"GpsPosition");
  registry.Register<CGpsAltitudeCondition>(ElementFamily::Condition, L"GpsAltitude");
  registry.Register<CGpsSpeedCondition>(ElementFamily::Condition, L"GpsSpeed");
  registry.Register<CGpsDirectionCondition>(ElementFamily::Condition, L"GpsDirection");
  registry.Register<CGpsMetadataCondition>(ElementFamily::Condition, L"GpsMetadata");
}

}  // namespace lmk
