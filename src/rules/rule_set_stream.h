// The binary rule-set stream: a header, then each rule (name, checked state, modes, counts) with
// its elements (key, flags, version byte, the class's fields), then, in format 2 only, the rule
// set's templates (a count, then name and text of each). Used for ".rules" files and for the
// plug-in's init data.
#pragma once

#include <memory>
#include <span>
#include <vector>

#include "com/com.h"
#include "rules/element_registry.h"
#include "rules/rule.h"
#include "rules/rule_set_template.h"
#include "rules/rule_stream_reader.h"
#include "rules/rule_stream_writer.h"

namespace lmk {

/// The first bytes of every binary rule set.
inline constexpr std::byte kRuleSetMagic[4] = {std::byte{'L'}, std::byte{'M'}, std::byte{'K'},
                                               std::byte{'R'}};
/// The newest format this version reads; it writes this format only for a rule set with
/// templates, so that a rule set without them stays readable by versions that read format 1.
inline constexpr std::uint32_t kRuleSetFormat = 2;
/// The format of a rule set without templates.
inline constexpr std::uint32_t kRuleSetFormatWithoutTemplates = 1;
/// Limits that no real rule set reaches; larger counts mean damaged data.
inline constexpr std::uint32_t kMaxRules = 100'000;
inline constexpr std::uint32_t kMaxElementsPerList = 10'000;
inline constexpr std::uint32_t kMaxTemplates = 10'000;

/// Appends the rule set (its rules and templates) to out.
void WriteRuleSet(CRuleStreamWriter& out, std::span<const std::shared_ptr<CRule>> rules,
                  std::span<const RuleSetTemplate> templates = {});

/// Reads one rule set, creating its elements through registry; its templates go to *templates
/// when templates is not null (they are checked either way). Raises CRuleSetError (with the
/// byte offset) for damaged data, an unknown or unavailable element, an element in the wrong
/// list, a duplicate element, a faulty or repeated template name, or a newer format.
std::vector<std::shared_ptr<CRule>> ReadRuleSet(CRuleStreamReader& in,
                                                const CElementRegistry& registry,
                                                RuleSetTemplates* templates = nullptr);

/// The rule set as a byte array.
std::vector<std::byte> RuleSetToBytes(std::span<const std::shared_ptr<CRule>> rules,
                                      std::span<const RuleSetTemplate> templates = {});
/// Reads a rule set that fills bytes exactly (trailing bytes are damage).
std::vector<std::shared_ptr<CRule>> RuleSetFromBytes(std::span<const std::byte> bytes,
                                                     const CElementRegistry& registry,
                                                     RuleSetTemplates* templates = nullptr);

/// Writes the rule set at stream's position. The stream's failure HRESULT, or E_INVALIDARG.
[[nodiscard]] HRESULT SaveRuleSet(IStream* stream, std::span<const std::shared_ptr<CRule>> rules,
                                  std::span<const RuleSetTemplate> templates = {});
/// Reads a rule set from stream's position and leaves the stream just after it, so that more data
/// may follow. Raises CRuleSetError for damaged data and ComError for a failing stream.
std::vector<std::shared_ptr<CRule>> LoadRuleSet(IStream* stream, const CElementRegistry& registry,
                                                RuleSetTemplates* templates = nullptr);

}  // namespace lmk
