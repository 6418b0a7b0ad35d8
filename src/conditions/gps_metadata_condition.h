// CGpsMetadataCondition: whether the image carries (or lacks) chosen GPS values.
#pragma once

#include <span>

#include "conditions/record_condition.h"
#include "rules/param_codec.h"

namespace lmk {

class CGpsMetadataCondition : public CRecordCondition {
 public:
  CGpsMetadataCondition();

  bool IsValid(std::wstring* reason) const override;
  std::wstring Description() const override;

  bool has() const { return has_; }
  USHORT mask() const { return mask_; }
  void Set(bool has, USHORT mask) {
    has_ = has;
    mask_ = mask;
  }

  /// The words of the flag bits in rule-set files ("position", "altitude", ...).
  static std::span<const ParamWord> FieldWords();

 protected:
  /// With has set: holds when one of the mask's GPS values is present; with has clear: when none
  /// is. The failure of reading "Meta.GPS.Flags".
  [[nodiscard]] HRESULT Test(IDictionary& record) const override;
  void ExchangeFields(CFieldArchive& archive, BYTE version) override;
  void ExchangeParameters(CParamArchive& archive) override;

 private:
  bool has_ = true;
  USHORT mask_ = 0;
};

}  // namespace lmk
