// CMetadataAction: what the rating, label and urgency actions share: a value or a step up or
// down, the host's write of the new value, and the record brought up to date.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "host_api/lumarko_host.h"
#include "rules/action.h"
#include "rules/param_codec.h"

namespace lmk {

/// The two relative settings of a metadata action's value.
inline constexpr std::int16_t kOneMore = -2;
inline constexpr std::int16_t kOneLess = -3;

/// The value a setting gives a file whose current value is current: the setting itself, or one
/// more or one less, jumping over 0 so that one step up from rejected (-1) lands on 1 and one
/// step down from 1 lands on -1.
std::int16_t SteppedValue(std::int16_t setting, std::int16_t current);

/// Stores value under key as VT_I2.
[[nodiscard]] HRESULT PutShort(IDictionary& record, std::wstring_view key, std::int16_t value);

class CMetadataAction : public CAction {
 public:
  std::int16_t Value() const { return value_; }
  void SetValue(std::int16_t value) { value_ = value; }

  /// S_OK when written or when there is nothing to do; S_FALSE for a later frame; E_FAIL when
  /// the host refused the write (its description follows the action's); the failing status of
  /// a record read (E_NOINTERFACE when Plugin.Host is no host). E_INVALIDARG for a null record.
  [[nodiscard]] HRESULT Execute(IDictionary* record) const override;
  /// "Set its XMP Rating to 3."
  std::wstring Description() const override;

  /// The record values it reads (see CRuleElement).
  void AddNeededKeys(RecordKeySet& keys) const override;

 protected:
  /// What one kind of metadata action reads, writes and says.
  struct Traits {
    std::wstring_view key;             ///< the record's value, "Meta.XMP.Rating"
    std::wstring_view logText;         ///< "Setting XMP Rating for \"%s\" to %d."
    std::wstring_view what;            ///< "XMP rating", for failures
    bool usesInPlaceFlag;              ///< an equal value is skipped only for in-place hosts
    std::wstring_view parameter;       ///< the value's named parameter, "rating"
    std::span<const ParamWord> words;  ///< what the value may be written as, steps included
    std::wstring_view title;           ///< for descriptions: "XMP Rating"
    std::int16_t upperBound;           ///< the highest value of the scale
    /// The host's write of the value; null for a kind that writes in its own way.
    HRESULT (STDMETHODCALLTYPE ILumarkoHost::*write)(ULONGLONG cookie, SHORT value);
  };

  CMetadataAction(const ElementKind& kind, const Traits& traits) : CAction(kind), traits_(traits) {}

  /// The highest value of the scale (one more stops there); the kind's upper bound.
  virtual std::int16_t UpperBound() const { return traits_.upperBound; }
  /// Asks the host to write value for the file, through the kind's host call.
  virtual HRESULT WriteToHost(ILumarkoHost& host, ULONGLONG cookie, std::int16_t value) const;
  /// Stores the new value (and what goes with it) in the record.
  virtual HRESULT StoreInRecord(IDictionary& record, std::int16_t value) const;

  /// Version 1: the value as a signed 16-bit number.
  void ExchangeFields(CFieldArchive& archive, BYTE version) override;
  /// The value under the kind's parameter name, as a number or one of its words.
  void ExchangeParameters(CParamArchive& archive) override;
  /// "one more", "one less" or the number, for descriptions.
  std::wstring ValueText() const;

 private:
  HRESULT Run(IDictionary& record) const;

  Traits traits_;
  std::int16_t value_ = 0;
};

}  // namespace lmk
