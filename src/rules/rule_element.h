// CRuleElement: what every condition, exception and action has in common: its kind and key, the
// flags word, validity, a description sentence, and its parameters in both rule-set forms.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "com/com.h"
#include "rules/element_key.h"
#include "rules/element_kind.h"
#include "rules/field_archive.h"
#include "rules/param_archive.h"
#include "rules/record_key_set.h"
#include "rules/serializable.h"

namespace lmk {

/// Bit 27 of the flags word: the condition stands among the exceptions of its rule.
inline constexpr DWORD kExceptionFlag = 0x08000000;

class CRuleElement : public CSerializable {
 public:
  /// kind must have static storage (the product tables, or a test's own static kind).
  explicit CRuleElement(const ElementKind& kind) : kind_(&kind) {}
  ~CRuleElement() override = default;
  CRuleElement(const CRuleElement&) = delete;
  CRuleElement& operator=(const CRuleElement&) = delete;

  const ElementKind& Kind() const { return *kind_; }
  std::wstring_view ClassName() const { return kind_->className; }
  /// The feature name that each use counts ("Condition:FileType"); empty when none is counted.
  std::wstring_view UsageEventName() const { return kind_->usageEvent; }

  /// Which list of a rule the element belongs in.
  virtual ElementRole Role() const = 0;
  /// "Condition.<Kind>", "Exception.<Kind>" or "Action.<Kind>".
  std::wstring Key() const { return MakeElementKey(Role(), kind_->name); }
  /// Whether key names this element, compared as a whole and without regard to case.
  bool IsKey(std::wstring_view key) const { return EqualsNoCase(key, Key()); }

  DWORD Flags() const { return flags_; }
  void SetFlags(DWORD flags) { flags_ = flags; }

  /// The version byte written before the class's own fields; raise it when they change.
  virtual BYTE ParamVersion() const { return 1; }

  /// Whether the parameters are complete and valid; when not, *reason (if given) says which
  /// parameter is wrong and why.
  virtual bool IsValid(std::wstring* reason) const;

  /// A plain-text sentence saying what the element does with its parameters. The base form
  /// lists the key and the named parameters; element classes give a proper sentence.
  virtual std::wstring Description() const;

  /// Adds to keys the per-file record values that Evaluate or Execute read, templates
  /// included. The default needs every value: an element that cannot tell (a script, an
  /// element of another module) must keep seeing the whole record.
  virtual void AddNeededKeys(RecordKeySet& keys) const { keys.AddEvery(); }

  /// Writes the flags word, the version byte and the class's fields (the key is written by the
  /// rule, which needs it to create the element when loading).
  void Save(CRuleStreamWriter& out) const override;
  /// Reads what Save wrote; refuses a version byte of 0 or above ParamVersion().
  void Load(CRuleStreamReader& in) override;

  /// Loads, saves or describes the named parameters: the class's own, then the common ones.
  void ExchangeNamedParameters(CParamArchive& archive);
  /// The named parameters with their current values.
  std::vector<NamedParam> NamedParameters() const;
  /// The names, types and accepted values of the named parameters.
  std::vector<ParamSpec> DescribeParameters() const;

 protected:
  /// The class's own fields in the binary stream, in order; version is the stored version byte
  /// when loading and ParamVersion() when saving.
  virtual void ExchangeFields(CFieldArchive& archive, BYTE version);
  /// The class's own named parameters. Every flag bit the class reads must be listed here
  /// (CParamArchive::FlagBit or a choice over the flags): the text form keeps only what is listed.
  virtual void ExchangeParameters(CParamArchive& archive);
  /// Parameters shared by a whole family (the on-failure policy of actions).
  virtual void ExchangeCommonParameters(CParamArchive& archive);

 private:
  const ElementKind* kind_;
  DWORD flags_ = 0;
};

}  // namespace lmk
