// CScriptAction: "Action.Script" runs a user script on each image the rule selects.
#pragma once

#include <string>

#include "rules/action.h"

namespace lmk {

/// Runs the script file (a path template; relative paths lie under the pictures' folder) and
/// calls its global function Execute(context) with the per-file record, under the action's
/// watchdog (600 s, which the timer's 32-bit due time makes about 170.5 s). The value decides:
/// 0 done (S_OK), positive nothing done (S_FALSE), negative stop the run (E_ABORT).
class CScriptAction : public CAction {
 public:
  CScriptAction();

  void SetScript(std::wstring script, std::wstring engine) {
    script_ = std::move(script);
    engine_ = std::move(engine);
  }

  /// E_INVALIDARG for a null record; otherwise as above, or the template's, the engine's or the
  /// script's failure (E_ABORT when the user stops the run at its message).
  [[nodiscard]] HRESULT Execute(IDictionary* record) const override;
  bool IsValid(std::wstring* reason) const override;
  std::wstring Description() const override;

 protected:
  /// Version 1: the script path template, then the engine.
  void ExchangeFields(CFieldArchive& archive, BYTE version) override;
  /// script, engine.
  void ExchangeParameters(CParamArchive& archive) override;

 private:
  std::wstring script_;
  std::wstring engine_ = L"JScript";
};

}  // namespace lmk
