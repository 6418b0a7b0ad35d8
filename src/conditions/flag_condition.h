// CFlagCondition: a condition with one byte of sense: set means the positive wording ("was
// copied", "has a sidecar", "is valid"), clear the negative one.
#pragma once

#include <string>
#include <string_view>

#include "com/bstr.h"
#include "conditions/record_condition.h"

namespace lmk {

class CFlagCondition : public CRecordCondition {
 public:
  /// paramName is the named parameter of the sense (static storage); a new condition has the
  /// positive sense.
  CFlagCondition(const ElementKind& kind, std::wstring_view paramName)
      : CRecordCondition(kind), paramName_(paramName) {}

  bool Sense() const { return sense_; }
  void SetSense(bool sense) { sense_ = sense; }

 protected:
  /// S_OK when positive agrees with the sense, else S_FALSE.
  HRESULT Answer(bool positive) const { return positive == sense_ ? S_OK : S_FALSE; }
  /// The rule of the viewer marks: key coerced to VT_I4; positive when it is not 0.
  HRESULT TestNonZero(IDictionary& record, const Bstr& key) const;
  /// positive when set, negative otherwise.
  std::wstring Pick(std::wstring_view positive, std::wstring_view negative) const {
    return std::wstring(sense_ ? positive : negative);
  }

  /// One byte: the sense.
  void ExchangeFields(CFieldArchive& archive, BYTE version) override;
  /// <paramName>: true | false.
  void ExchangeParameters(CParamArchive& archive) override;

 private:
  std::wstring_view paramName_;
  bool sense_ = true;
};

}  // namespace lmk
