// CFileSizeCondition: compares the size of a file with a size in bytes, KB, MB, GB or TB.
#pragma once

#include <cstdint>

#include "conditions/packed_comparison.h"
#include "conditions/record_condition.h"

namespace lmk {

/// "Condition.FileSize": "File.Size" coerced to a signed 32-bit integer (a size of 2 GB or more
/// fails the coercion with DISP_E_OVERFLOW, which the runner reports) compared with the stored
/// byte count by the operator codes 1..6. The packed word holds the operator and the unit the
/// size was entered in (0 bytes ... 4 TB, each 1024 times the one before); the unit only
/// affects how the size is shown. Named parameters: "compare" (=, <>, <, <=, >, >=) and "size"
/// ("10 MB", "1.5 GB", "4096").
class CFileSizeCondition : public CRecordCondition {
 public:
  CFileSizeCondition();

  DWORD Word() const { return word_; }
  std::uint64_t Bytes() const { return bytes_; }
  void Set(DWORD word, std::uint64_t bytes) {
    word_ = word;
    bytes_ = bytes;
  }

  /// Version 2: the packed word followed by a 64-bit byte count.
  BYTE ParamVersion() const override { return 2; }
  bool IsValid(std::wstring* reason) const override;
  std::wstring Description() const override;

  /// The record values it reads (see CRuleElement).
  void AddNeededKeys(RecordKeySet& keys) const override;

 protected:
  HRESULT Test(IDictionary& record) const override;
  /// The packed word (operator and unit), then the 64-bit byte count. Streams of version 1 are
  /// refused: their layout is not this one.
  void ExchangeFields(CFieldArchive& archive, BYTE version) override;
  void ExchangeParameters(CParamArchive& archive) override;

 private:
  DWORD word_;
  std::uint64_t bytes_ = 10u * 1024 * 1024;
};

}  // namespace lmk
