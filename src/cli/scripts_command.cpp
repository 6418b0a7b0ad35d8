// lumarko scripts: the script engines of this build, and a syntax check of a script file as the
// script elements' dialogs make it.
#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>

#include "cli/subcommands.h"
#include "com/bstr.h"
#include "com/com_error.h"
#include "platform/text_encoding.h"
#include "scripts/script_choices.h"
#include "scripts/script_engine.h"
#include "scripts/script_runtime.h"
#include "scripts/script_source.h"

namespace lmk::cli {
namespace {

constexpr std::wstring_view kScriptLooksFine = L"The script appears to be OK!";
constexpr std::wstring_view kSuperficialTest =
    L"This superficial test only verifies that the script is well formed and without obvious "
    L"syntax errors. This does NOT mean that it is free of logical errors, nor that it will "
    L"perform as intended!";
constexpr std::wstring_view kScriptFailed = L"An error occurred while running the script!";

struct ScriptsOptions {
  CLI::App* engines = nullptr;
  CLI::App* check = nullptr;
  std::string file;
  std::string engine;
  std::string function;
};

int RunEngines() {
  std::printf("%-12s  %s\n", "ENGINE", "PROGID");
  for (const ScriptLanguage& language : ScriptLanguages()) {
    std::printf("%-12s  %s\n", ToUtf8(language.displayName).c_str(),
                ToUtf8(language.progId).c_str());
  }
  return kExitSuccess;
}

/// The engine to check with: the one given, else the one the file's extension names, else the
/// one last used for the element.
std::wstring ChooseEngine(const ScriptsOptions& options, std::wstring_view elementKey) {
  if (!options.engine.empty()) return FromUtf8(options.engine);
  const std::string extension = std::filesystem::path(options.file).extension().string();
  if (extension == ".py") return L"Python";
  if (extension == ".js") return L"JScript";
  const std::wstring last = LastScriptEngine(elementKey);
  return last.empty() ? L"JScript" : last;
}

int RunCheck(const ScriptsOptions& options) {
  const std::wstring function = FromUtf8(options.function);
  const std::wstring_view elementKey =
      function == L"Evaluate" ? kScriptConditionKey : kScriptActionKey;
  const std::wstring engine = ChooseEngine(options, elementKey);
  const std::wstring path = ExpandScriptPath(FromUtf8(options.file));
  ComPtr<CScriptEngine> check = MakeComObject<CScriptEngine>();
  check->put_ScriptType(LMK_SCRIPT_PATH);
  check->put_ScriptPath(Bstr(path).get());
  check->put_ScriptEngineProgID(Bstr(engine).get());
  check->SetSyntaxCheckFunction(function);
  const HRESULT hr = check->CheckSyntax();
  if (FAILED(hr)) {
    std::wstring content = TakeErrorDescription();
    if (content.empty()) content = FromUtf8(DescribeFailure(hr));
    PrintMessage(options.file, kScriptFailed, content);
    return kExitFailure;
  }
  std::printf("%s\n\n%s\n", ToUtf8(kScriptLooksFine).c_str(), ToUtf8(kSuperficialTest).c_str());
  const std::filesystem::path absolute = std::filesystem::absolute(ToUtf8(path));
  if (FAILED(RememberScriptChoice(elementKey, engine, FromUtf8(absolute.parent_path().string())))) {
    std::fprintf(stderr, "lumarko: warning: the engine and folder could not be kept: %s\n",
                 ToUtf8(TakeErrorDescription()).c_str());
  }
  return kExitSuccess;
}

}  // namespace

Runner SetupScripts(CLI::App& app) {
  auto options = std::make_shared<ScriptsOptions>();
  CLI::App* command = app.add_subcommand("scripts", "list the script engines; check a script");
  command->require_subcommand(1);
  options->engines =
      command->add_subcommand("engines", "list the script engines (name and ProgID)");
  options->check = command->add_subcommand("check", "check that a script file parses");
  options->check->add_option("file", options->file, "the script file")->required();
  options->check->add_option("--engine", options->engine,
                             "the engine's ProgID (default: by the file's extension, .js "
                             "JavaScript and .py Python, else the last one used)");
  options->check->add_option("--function", options->function,
                             "the function the script must define: Execute for an action, "
                             "Evaluate for a condition (default: either)");
  options->check->footer(
      "Loads and parses the script, runs its top level and looks its function up, without "
      "calling it. The engine and folder are kept as the last used ones of the Script "
      "condition (--function Evaluate) or action.\n\n"
      "Examples:\n"
      "  lumarko scripts check select_harbour.js --function Evaluate\n"
      "  lumarko scripts check catalogue.py --engine Python --function Execute\n\n"
      "Exit status: 0 the script looks fine, 1 it does not (the reason, with its line, is on "
      "stderr), 2 wrong command line.");
  return [options] {
    if (options->check->parsed()) return RunCheck(*options);
    return RunEngines();
  };
}

}  // namespace lmk::cli
