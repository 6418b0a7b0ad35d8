// CGpsPositionCondition: whether the picture was taken within (or farther than) a distance of a
// chosen place, and optionally with the camera pointing towards it.
#pragma once

#include <cstdint>

#include "conditions/record_condition.h"
#include "rules/param_codec.h"

namespace lmk {

class CGpsPositionCondition : public CRecordCondition {
 public:
  /// Distance unit codes.
  enum Unit : std::uint16_t {
    kMetres = 0,
    kKilometres = 1,
    kFeet = 2,
    kYards = 3,
    kMiles = 4,
    kNauticalMiles = 5,
  };

  struct Parameters {
    GeoPlace target;
    double distance = 1;
    std::uint16_t unit = kKilometres;
    bool fartherThan = false;    ///< false: within the distance; true: farther than it
    bool pointing = false;       ///< whether the camera must point towards the target
    std::int8_t tolerance = 10;  ///< half-angle of the pointing test, degrees
  };

  CGpsPositionCondition();

  bool IsValid(std::wstring* reason) const override;
  std::wstring Description() const override;

  const Parameters& parameters() const { return params_; }
  void SetParameters(const Parameters& parameters) { params_ = parameters; }

  /// The threshold in metres; 0 for an unknown unit.
  double ThresholdMetres() const;

 protected:
  /// E_FAIL when the image has no position. Not met when the geodesic distance from the image
  /// to the target fails the distance test (a distance that cannot be computed, near the
  /// antipode, fails both); with pointing, holds only when the image direction (corrected to
  /// true north with the magnetic declination when it refers to magnetic north) lies within the
  /// tolerance (plus half a degree) of the initial bearing towards the target, and not met
  /// without an image direction. A read failure comes back unchanged.
  [[nodiscard]] HRESULT Test(IDictionary& record) const override;
  void ExchangeFields(CFieldArchive& archive, BYTE version) override;
  void ExchangeParameters(CParamArchive& archive) override;

 private:
  Parameters params_;
};

}  // namespace lmk
