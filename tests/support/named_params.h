// Named parameters of rule elements as the case tables write them, loaded as rule-set files load
// them.
#pragma once

#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "rules/param_archive.h"
#include "rules/rule_element.h"
#include "support/data_table.h"

namespace lmk::test {

/// "NAME=VALUE;NAME=[a,b]" as named parameters.
inline std::vector<NamedParam> ParamsOf(const std::string& text) {
  std::vector<NamedParam> params;
  std::istringstream pairs(text);
  for (std::string pair; std::getline(pairs, pair, ';');) {
    NamedParam& param = params.emplace_back();
    const auto equals = pair.find('=');
    param.name = Wide(pair.substr(0, equals));
    const std::string value = pair.substr(equals + 1);
    param.value.isList = value.starts_with('[');
    if (!param.value.isList) param.value.text = Wide(value);
    std::istringstream items(param.value.isList ? value.substr(1, value.size() - 2) : "");
    for (std::string item; std::getline(items, item, ',');) param.value.items.push_back(Wide(item));
  }
  return params;
}

/// Loads params into element; throws where a rule-set file holding them is refused.
inline void LoadNamed(CRuleElement& element, std::vector<NamedParam> params) {
  CParamArchive archive = CParamArchive::ForLoad(std::move(params));
  element.ExchangeNamedParameters(archive);
  archive.Finish();
}

}  // namespace lmk::test
