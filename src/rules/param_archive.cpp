// Loading, saving and describing named element parameters.
#include "rules/param_archive.h"

#include "rules/element_key.h"
#include "rules/rule_strings.h"

namespace lmk {
namespace {

std::wstring UnitList(std::span<const ParamUnit> units) {
  std::wstring out = L"a number and a unit: ";
  for (std::size_t i = 0; i < units.size(); ++i) {
    if (i != 0) out += L", ";
    out += units[i].word;
  }
  return out;
}

}  // namespace

CParamArchive CParamArchive::ForLoad(std::vector<NamedParam> input) {
  for (std::size_t i = 0; i < input.size(); ++i) {
    for (std::size_t j = 0; j < i; ++j) {
      if (EqualsNoCase(input[i].name, input[j].name)) {
        throw CRuleSetError(FormatRuleString(RuleStringId::ParameterGivenTwice, {input[i].name}),
                            input[i].nameWhere);
      }
    }
  }
  CParamArchive archive(Mode::Load);
  archive.used_.assign(input.size(), false);
  archive.params_ = std::move(input);
  return archive;
}

const NamedParam* CParamArchive::Take(std::wstring_view name) {
  for (std::size_t i = 0; i < params_.size(); ++i) {
    if (EqualsNoCase(params_[i].name, name)) {
      used_[i] = true;
      return &params_[i];
    }
  }
  return nullptr;
}

const std::wstring& CParamArchive::Scalar(const NamedParam& param) const {
  if (param.value.isList) {
    throw CRuleSetError(FormatRuleString(RuleStringId::ParameterNotList, {param.name}),
                        param.value.where);
  }
  return param.value.text;
}

void CParamArchive::Bad(const NamedParam& param, std::wstring_view text,
                        std::wstring_view why) const {
  throw CRuleSetError(FormatRuleString(RuleStringId::ParameterBadValue, {param.name, text, why}),
                      param.value.where);
}

void CParamArchive::Save(std::wstring_view name, std::wstring text, bool quoted) {
  NamedParam param;
  param.name = name;
  param.value.text = std::move(text);
  param.value.quoted = quoted;
  params_.push_back(std::move(param));
}

void CParamArchive::Describe(std::wstring_view name, ParamType type, std::wstring values) {
  specs_.push_back(ParamSpec{std::wstring(name), type, std::move(values)});
}

void CParamArchive::Finish() const {
  for (std::size_t i = 0; i < params_.size() && mode_ == Mode::Load; ++i) {
    if (!used_[i]) {
      throw CRuleSetError(FormatRuleString(RuleStringId::UnknownParameter, {params_[i].name}),
                          params_[i].nameWhere);
    }
  }
}

template <class T, class Parse, class Format>
void CParamArchive::ScalarParam(std::wstring_view name, T& value, Parse parse, Format format,
                                ParamType type, std::wstring help) {
  switch (mode_) {
    case Mode::Load:
      if (const NamedParam* param = Take(name)) {
        const auto parsed = parse(Scalar(*param));
        if (!parsed) Bad(*param, param->value.text, parsed.why);
        value = *parsed.value;
      }
      break;
    case Mode::Save:
      Save(name, format(value));
      break;
    case Mode::Describe:
      Describe(name, type, std::move(help));
      break;
  }
}

void CParamArchive::Bool(std::wstring_view name, bool& value) {
  ScalarParam(name, value, ParseBool, FormatBool, ParamType::Bool, L"true or false");
}

void CParamArchive::FlagBit(std::wstring_view name, std::uint32_t& flags, std::uint32_t mask) {
  bool set = (flags & mask) == mask;
  Bool(name, set);
  flags = set ? (flags | mask) : (flags & ~mask);
}

void CParamArchive::IntegerValue(std::wstring_view name, std::int64_t& value, std::int64_t min,
                                 std::int64_t max) {
  ScalarParam(
      name, value, [&](std::wstring_view text) { return ParseInteger(text, min, max); },
      FormatInteger, ParamType::Integer,
      L"a whole number from " + std::to_wstring(min) + L" to " + std::to_wstring(max));
}

void CParamArchive::Number(std::wstring_view name, double& value, double min, double max) {
  ScalarParam(
      name, value, [&](std::wstring_view text) { return ParseNumber(text, min, max); },
      FormatNumber, ParamType::Number,
      L"a number from " + FormatNumber(min) + L" to " + FormatNumber(max));
}

void CParamArchive::Text(std::wstring_view name, std::wstring& value) {
  switch (mode_) {
    case Mode::Load:
      if (const NamedParam* param = Take(name)) value = Scalar(*param);
      break;
    case Mode::Save:
      Save(name, value, true);
      break;
    case Mode::Describe:
      Describe(name, ParamType::Text, L"text");
      break;
  }
}

void CParamArchive::ChoiceValue(std::wstring_view name, std::uint32_t& value,
                                std::span<const ParamWord> words) {
  switch (mode_) {
    case Mode::Load:
      if (const NamedParam* param = Take(name)) {
        const auto parsed = ParseChoice(Scalar(*param), words);
        if (!parsed) Bad(*param, param->value.text, parsed.why);
        value = *parsed.value;
      }
      break;
    case Mode::Save: {
      const std::wstring_view word = FormatChoice(value, words);
      // A value that no word names (from a damaged or newer stream) is kept as its number, which
      // then fails to load with a message listing the words.
      Save(name, word.empty() ? std::to_wstring(value) : std::wstring(word));
      break;
    }
    case Mode::Describe:
      Describe(name, ParamType::Choice, L"one of " + ListWords(words));
      break;
  }
}

void CParamArchive::Comparison(std::wstring_view name, CompareOp& op, bool allowNotSet) {
  ScalarParam(
      name, op, [&](std::wstring_view text) { return ParseCompareOp(text, allowNotSet); },
      FormatCompareOp, ParamType::Comparison,
      allowNotSet ? L"=, <>, <, <=, >, >= or not set" : L"=, <>, <, <=, > or >=");
}

void CParamArchive::Date(std::wstring_view name, std::int64_t& fileTime) {
  ScalarParam(name, fileTime, ParseIsoDate, FormatIsoDate, ParamType::Date,
              L"a date YYYY-MM-DD, optionally with a time THH:MM:SS");
}

void CParamArchive::TimeOfDay(std::wstring_view name, std::int64_t& fileTime) {
  ScalarParam(name, fileTime, ParseTimeOfDay, FormatTimeOfDay, ParamType::TimeOfDay,
              L"a time of day HH:MM or HH:MM:SS");
}

void CParamArchive::Quantity(std::wstring_view name, double& amount, std::uint32_t& unit,
                             std::span<const ParamUnit> units, double min, double max) {
  lmk::Quantity quantity{amount, unit};
  ScalarParam(
      name, quantity,
      [&](std::wstring_view text) {
        auto parsed = ParseQuantity(text, units);
        if (parsed && (parsed.value->amount < min || parsed.value->amount > max)) {
          return Parsed<lmk::Quantity>::Fail(L"write an amount from " + FormatNumber(min) +
                                             L" to " + FormatNumber(max));
        }
        return parsed;
      },
      [&](const lmk::Quantity& value) { return FormatQuantity(value, units); }, ParamType::Quantity,
      UnitList(units));
  amount = quantity.amount;
  unit = quantity.unit;
}

void CParamArchive::Size(std::wstring_view name, std::uint64_t& bytes, std::uint32_t& unit) {
  SizeValue size{bytes, unit};
  ScalarParam(name, size, ParseSize, FormatSize, ParamType::Size, UnitList(SizeUnits()));
  bytes = size.bytes;
  unit = size.unit;
}

void CParamArchive::Place(std::wstring_view name, GeoPlace& place) {
  switch (mode_) {
    case Mode::Load:
      if (const NamedParam* param = Take(name)) {
        std::wstring text = param->value.text;
        if (param->value.isList) {
          if (param->value.items.size() != 2) Bad(*param, L"[...]", ParsePlace(L"").why);
          text = param->value.items[0] + L", " + param->value.items[1];
        }
        const auto parsed = ParsePlace(text);
        if (!parsed) Bad(*param, text, parsed.why);
        place = *parsed.value;
      }
      break;
    case Mode::Save:
      Save(name, FormatPlace(place));
      break;
    case Mode::Describe:
      Describe(name, ParamType::Place, L"latitude, longitude in decimal degrees");
      break;
  }
}

void CParamArchive::FlagSet(std::wstring_view name, std::uint32_t& mask,
                            std::span<const ParamWord> bits) {
  switch (mode_) {
    case Mode::Load:
      if (const NamedParam* param = Take(name)) {
        std::vector<std::wstring> words = param->value.items;
        if (!param->value.isList) {
          // A single scalar may list its words separated by commas.
          std::wstring_view rest = param->value.text;
          while (!rest.empty()) {
            const std::size_t comma = rest.find(L',');
            words.emplace_back(rest.substr(0, comma));
            if (comma == std::wstring_view::npos) break;
            rest.remove_prefix(comma + 1);
          }
        }
        const auto parsed = ParseFlagWords(words, bits);
        if (!parsed) Bad(*param, param->value.isList ? L"[...]" : param->value.text, parsed.why);
        mask = *parsed.value;
      }
      break;
    case Mode::Save: {
      NamedParam param;
      param.name = name;
      param.value.isList = true;
      param.value.items = FormatFlagWords(mask, bits);
      params_.push_back(std::move(param));
      break;
    }
    case Mode::Describe:
      Describe(name, ParamType::FlagSet, L"a list of " + ListWords(bits));
      break;
  }
}

}  // namespace lmk
