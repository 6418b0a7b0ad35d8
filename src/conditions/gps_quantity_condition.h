// CGpsQuantityCondition: the common part of the altitude and speed conditions, a comparison of
// one GPS value with a whole number of a chosen unit, within half a unit for the inclusive
// operators.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>

#include "conditions/gps_condition_common.h"
#include "conditions/record_condition.h"

namespace lmk {

class CGpsQuantityCondition : public CRecordCondition {
 public:
  /// What distinguishes altitude from speed.
  struct Traits {
    std::wstring_view kindName;   ///< "GpsAltitude"
    USHORT presenceBit;           ///< the GPS flag bit that says the value is present
    std::wstring_view recordKey;  ///< "Meta.GPS.Altitude"
    std::wstring_view parameter;  ///< the named parameter of the amount: "altitude"
    std::wstring_view subject;    ///< for sentences: "GPS altitude"
    std::span<const GpsUnit> units;
    std::span<const ParamUnit> paramUnits;
  };

  explicit CGpsQuantityCondition(const Traits& traits);

  bool IsValid(std::wstring* reason) const override;
  std::wstring Description() const override;

  /// The packed comparison word: operator code and the whole-number operand.
  DWORD comparison() const { return comparison_; }
  /// The unit code (index into the class's units).
  std::uint32_t unit() const { return unit_; }
  void Set(DWORD comparison, std::uint32_t unit) {
    comparison_ = comparison;
    unit_ = unit;
  }

 protected:
  /// Not met when the presence bit is clear (whatever the operator); otherwise the comparison
  /// of the value with the operand in the chosen unit: S_OK, S_FALSE, E_UNEXPECTED for an
  /// operator code other than 1..6, or a read failure.
  [[nodiscard]] HRESULT Test(IDictionary& record) const override;
  void ExchangeFields(CFieldArchive& archive, BYTE version) override;
  void ExchangeParameters(CParamArchive& archive) override;

 private:
  Traits traits_;
  DWORD comparison_ = 0;  // no operator yet: invalid until chosen
  std::uint32_t unit_ = 0;
};

}  // namespace lmk
