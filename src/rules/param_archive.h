// Named parameters of an element, as people write them in rule-set files. An element lists its
// parameters once, each with its type, in CRuleElement::ExchangeParameters; the same list loads
// them from a file, saves them to one, and describes them (names, types, accepted words).
#pragma once

#include <concepts>
#include <cstdint>
#include <limits>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include "rules/param_codec.h"
#include "rules/rule_set_error.h"

namespace lmk {

/// One parameter value as written, independent of the file syntax: one scalar or a list.
struct ParamNode {
  std::wstring text;
  std::vector<std::wstring> items;
  bool isList = false;
  bool quoted = false;  ///< free text, written quoted so that it always reads back as text
  SourceLocation where;
};

/// A parameter name with its value.
struct NamedParam {
  std::wstring name;
  ParamNode value;
  SourceLocation nameWhere;
};

enum class ParamType {
  Bool,
  Integer,
  Number,
  Text,
  Choice,
  Comparison,
  Date,
  TimeOfDay,
  Quantity,
  Size,
  Place,
  FlagSet,
};

/// What a parameter is, for help texts: its name, type and the values it takes.
struct ParamSpec {
  std::wstring name;
  ParamType type;
  std::wstring values;
};

class CParamArchive {
 public:
  enum class Mode { Load, Save, Describe };

  /// Loads from input; a name given twice raises CRuleSetError at its second place.
  static CParamArchive ForLoad(std::vector<NamedParam> input);
  static CParamArchive ForSave() { return CParamArchive(Mode::Save); }
  static CParamArchive ForDescribe() { return CParamArchive(Mode::Describe); }

  Mode mode() const { return mode_; }
  bool IsLoading() const { return mode_ == Mode::Load; }

  // Each method loads the parameter into value when it is given (an absent parameter leaves the
  // value as it is), saves value, or records the parameter's description. A value that cannot be
  // read raises CRuleSetError at its place, naming the parameter and what to write.
  void Bool(std::wstring_view name, bool& value);
  /// A boolean kept as the bits of mask in an element's flags word.
  void FlagBit(std::wstring_view name, std::uint32_t& flags, std::uint32_t mask);
  template <std::integral T>
  void Integer(std::wstring_view name, T& value,
               std::int64_t min = static_cast<std::int64_t>(std::numeric_limits<T>::min()),
               std::int64_t max = MaxOf<T>()) {
    auto wide = static_cast<std::int64_t>(value);
    IntegerValue(name, wide, min, max);
    value = static_cast<T>(wide);
  }
  void Number(std::wstring_view name, double& value,
              double min = -std::numeric_limits<double>::max(),
              double max = std::numeric_limits<double>::max());
  void Text(std::wstring_view name, std::wstring& value);
  /// One of words; T is an integer or an enumeration.
  template <class T>
  void Choice(std::wstring_view name, T& value, std::span<const ParamWord> words) {
    auto raw = static_cast<std::uint32_t>(value);
    ChoiceValue(name, raw, words);
    value = static_cast<T>(raw);
  }
  void Comparison(std::wstring_view name, CompareOp& op, bool allowNotSet);
  /// An ISO 8601 date, optionally with a time, as a FILETIME count of that calendar time.
  void Date(std::wstring_view name, std::int64_t& fileTime);
  /// A time of day, as ticks since midnight.
  void TimeOfDay(std::wstring_view name, std::int64_t& fileTime);
  /// A number with one of units: the amount in that unit and the unit's index.
  void Quantity(std::wstring_view name, double& amount, std::uint32_t& unit,
                std::span<const ParamUnit> units, double min = 0,
                double max = std::numeric_limits<double>::max());
  /// A size with a unit of SizeUnits(): the byte count and the unit's index.
  void Size(std::wstring_view name, std::uint64_t& bytes, std::uint32_t& unit);
  void Place(std::wstring_view name, GeoPlace& place);
  /// A list of flag words, each one bit (or bits) of mask.
  void FlagSet(std::wstring_view name, std::uint32_t& mask, std::span<const ParamWord> bits);

  /// After loading: raises "Unknown rule parameter '%ls'" for the first given parameter that no
  /// method asked for.
  void Finish() const;

  const std::vector<NamedParam>& saved() const { return params_; }
  const std::vector<ParamSpec>& described() const { return specs_; }

 private:
  explicit CParamArchive(Mode mode) : mode_(mode) {}

  template <class T>
  static constexpr std::int64_t MaxOf() {
    if constexpr (std::numeric_limits<T>::max() > std::numeric_limits<std::int64_t>::max()) {
      return std::numeric_limits<std::int64_t>::max();
    } else {
      return static_cast<std::int64_t>(std::numeric_limits<T>::max());
    }
  }

  void IntegerValue(std::wstring_view name, std::int64_t& value, std::int64_t min,
                    std::int64_t max);
  void ChoiceValue(std::wstring_view name, std::uint32_t& value, std::span<const ParamWord> words);
  /// The course of a one-text parameter: loaded through parse (its failure reported as the
  /// parameter's bad value), saved through format, described as type with help.
  template <class T, class Parse, class Format>
  void ScalarParam(std::wstring_view name, T& value, Parse parse, Format format, ParamType type,
                   std::wstring help);

  /// The given parameter name (marked as used), or null.
  const NamedParam* Take(std::wstring_view name);
  /// Its scalar text; raises an error when it is a list.
  const std::wstring& Scalar(const NamedParam& param) const;
  [[noreturn]] void Bad(const NamedParam& param, std::wstring_view text,
                        std::wstring_view why) const;
  void Save(std::wstring_view name, std::wstring text, bool quoted = false);
  void Describe(std::wstring_view name, ParamType type, std::wstring values);

  Mode mode_;
  std::vector<NamedParam> params_;
  std::vector<bool> used_;
  std::vector<ParamSpec> specs_;
};

}  // namespace lmk
