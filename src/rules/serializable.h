// The interface of objects kept in the binary rule-set stream.
#pragma once

namespace lmk {

class CRuleStreamReader;
class CRuleStreamWriter;

class CSerializable {
 public:
  virtual ~CSerializable() = default;

  /// Appends this object's data to out.
  virtual void Save(CRuleStreamWriter& out) const = 0;
  /// Replaces this object's data by what in holds; raises CRuleSetError for damaged data.
  virtual void Load(CRuleStreamReader& in) = 0;
};

}  // namespace lmk
