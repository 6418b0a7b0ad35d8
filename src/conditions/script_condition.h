// CScriptCondition: a user script decides whether the condition holds for an image.
#pragma once

#include <string>

#include "conditions/record_condition.h"

namespace lmk {

/// "Condition.Script" / "Exception.Script": runs the script file (a path template; relative
/// paths lie under the pictures' folder) and calls its global function Evaluate(context) with
/// the per-file record, under a 30-second watchdog. A non-zero value holds. Named parameters:
/// "script" and "engine" ("JScript", "JavaScript" or "Python").
class CScriptCondition : public CRecordCondition {
 public:
  CScriptCondition();

  void SetScript(std::wstring script, std::wstring engine) {
    script_ = std::move(script);
    engine_ = std::move(engine);
  }

  bool IsValid(std::wstring* reason) const override;
  std::wstring Description() const override;

 protected:
  /// S_OK when the script's value is not zero, S_FALSE when it is; the template's, the
  /// engine's or the script's failure (E_ABORT when the user stops the run at its message).
  HRESULT Test(IDictionary& record) const override;
  /// Version 1: the script path template, then the engine.
  void ExchangeFields(CFieldArchive& archive, BYTE version) override;
  void ExchangeParameters(CParamArchive& archive) override;

 private:
  std::wstring script_;
  std::wstring engine_ = L"JScript";
};

}  // namespace lmk
