// Rule-set files on disk: the YAML form (".yaml", ".yml") and the binary form (".rules").
#pragma once

#include <filesystem>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "rules/element_registry.h"
#include "rules/rule.h"
#include "rules/rule_set_template.h"

namespace lmk {

enum class RuleSetFormat { Yaml, Binary };

/// YAML for ".yaml" and ".yml" (any case), binary otherwise.
RuleSetFormat RuleSetFormatForPath(const std::filesystem::path& path);

/// The path as people read it in messages.
std::wstring DisplayPath(const std::filesystem::path& path);

/// Reads a rule-set file of either form (recognised by its content: the binary form begins with
/// its header), and its templates into *templates when templates is not null. Raises
/// CRuleSetError naming the file (and line and column, or byte offset).
std::vector<std::shared_ptr<CRule>> ReadRuleSetFile(const std::filesystem::path& path,
                                                    const CElementRegistry& registry,
                                                    RuleSetTemplates* templates = nullptr);

/// Writes the rules and templates in format. The file is replaced only once the whole new content
/// is written, so a failure never leaves a half-written rule set. Raises CRuleSetError naming the
/// file.
void WriteRuleSetFile(const std::filesystem::path& path,
                      std::span<const std::shared_ptr<CRule>> rules, RuleSetFormat format,
                      std::span<const RuleSetTemplate> templates = {});

}  // namespace lmk
