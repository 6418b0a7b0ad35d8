// CGpsDirectionCondition: whether the camera pointed in a chosen direction, within a tolerance.
#pragma once

#include <cstdint>

#include "conditions/record_condition.h"

namespace lmk {

class CGpsDirectionCondition : public CRecordCondition {
 public:
  /// The parameter word: bits 0..15 the wanted direction in whole degrees, bits 16..26 the
  /// half-angle tolerance in degrees, bit 27 set when the direction refers to magnetic north.
  static constexpr DWORD kDirectionMask = 0xFFFF;
  static constexpr int kToleranceShift = 16;
  static constexpr DWORD kToleranceMask = 0x7FF;
  static constexpr DWORD kMagneticBit = 0x08000000;
  static constexpr DWORD Pack(unsigned direction, unsigned tolerance, bool magnetic) {
    return (direction & kDirectionMask) | ((tolerance & kToleranceMask) << kToleranceShift) |
           (magnetic ? kMagneticBit : 0);
  }

  CGpsDirectionCondition();

  bool IsValid(std::wstring* reason) const override;
  std::wstring Description() const override;

  DWORD word() const { return word_; }
  void SetWord(DWORD word) { word_ = word; }
  unsigned direction() const { return word_ & kDirectionMask; }
  unsigned tolerance() const { return (word_ >> kToleranceShift) & kToleranceMask; }
  bool magnetic() const { return (word_ & kMagneticBit) != 0; }

 protected:
  /// Not met without an image direction. When the image's north reference differs from the
  /// condition's and the image's position and date are known, the wanted direction is converted
  /// with the magnetic declination there and then. Holds when the image direction lies within
  /// the tolerance (plus half a degree) of the wanted direction.
  /// A read failure comes back unchanged.
  [[nodiscard]] HRESULT Test(IDictionary& record) const override;
  void ExchangeFields(CFieldArchive& archive, BYTE version) override;
  void ExchangeParameters(CParamArchive& archive) override;

 private:
  DWORD word_ = Pack(0, 10, false);
};

}  // namespace lmk
