// lumarko vars: lists and edits the user-defined variables that templates read as
// {UserDefined:name}.
#include <algorithm>
#include <charconv>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "cli/subcommands.h"
#include "platform/text_encoding.h"
#include "templates/user_variables.h"

namespace lmk::cli {
namespace {

struct VarsOptions {
  std::string name;
  std::string value;
  bool expand = false;
  bool dword = false;
  bool qword = false;
};

const char* TypeName(RegType type) {
  switch (type) {
    case RegType::String:
      return "string";
    case RegType::ExpandString:
      return "expand";
    case RegType::Dword:
      return "dword";
    case RegType::Qword:
      return "qword";
    case RegType::Binary:
      break;
  }
  return "binary";
}

// The stored value as typed into 'vars set': the text as it is (an expandable string keeps
// its %VARIABLES%), a number in decimal.
std::string StoredText(const RegValue& value) {
  if (value.IsText()) return ToUtf8(value.text);
  return std::to_string(value.type == RegType::Dword ? static_cast<uint32_t>(value.number)
                                                     : value.number);
}

// A number for --dword or --qword: decimal digits only, within the type's range.
bool ParseNumber(const std::string& text, uint64_t max, uint64_t* number) {
  if (text.empty()) return false;
  const auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), *number);
  return ec == std::errc() && end == text.data() + text.size() && *number <= max;
}

int Failed(const std::string& what, HRESULT hr) {
  PrintError(what, DescribeFailure(hr));
  return kExitFailure;
}

int RunList() {
  std::vector<std::pair<std::wstring, RegValue>> variables;
  const HRESULT hr = UserVariables::List(&variables);
  if (FAILED(hr)) return Failed("cannot read the variables", hr);
  if (variables.empty()) {
    std::printf("No variables are defined.\n");
    return kExitSuccess;
  }
  std::size_t width = 4;
  for (const auto& [name, value] : variables) width = std::max(width, ToUtf8(name).size());
  std::printf("%-*s  %-6s  %s\n", static_cast<int>(width), "NAME", "TYPE", "VALUE");
  for (const auto& [name, value] : variables) {
    std::printf("%-*s  %-6s  %s\n", static_cast<int>(width), ToUtf8(name).c_str(),
                TypeName(value.type), StoredText(value).c_str());
  }
  return kExitSuccess;
}

int RunGet(const VarsOptions& options) {
  RegValue value;
  const HRESULT hr = UserVariables::Get(FromUtf8(options.name), &value);
  if (hr == HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND)) {
    PrintError(options.name, "no such variable (see 'lumarko vars list')");
    return kExitFailure;
  }
  if (FAILED(hr)) return Failed("cannot read " + options.name, hr);
  if (value.type == RegType::Binary) {
    PrintError(options.name, "not a variable: its value is neither text nor a number");
    return kExitFailure;
  }
  std::printf("%s\n", StoredText(value).c_str());
  return kExitSuccess;
}

int RunSet(const VarsOptions& options) {
  RegValue value;
  if (options.dword || options.qword) {
    uint64_t number = 0;
    const uint64_t max = options.dword ? UINT32_MAX : UINT64_MAX;
    if (!ParseNumber(options.value, max, &number)) {
      PrintError("invalid value '" + options.value + "'",
                 options.dword ? "a DWORD is a whole number from 0 to 4294967295"
                               : "a QWORD is a whole number from 0 to 18446744073709551615");
      return kExitUsage;
    }
    value =
        options.dword ? RegValue::Dword(static_cast<uint32_t>(number)) : RegValue::Qword(number);
  } else {
    const std::wstring text = FromUtf8(options.value);
    value = options.expand ? RegValue::ExpandString(text) : RegValue::String(text);
  }
  const HRESULT hr = UserVariables::Set(FromUtf8(options.name), value);
  if (FAILED(hr)) return Failed("cannot set " + options.name, hr);
  return kExitSuccess;
}

int RunUnset(const VarsOptions& options) {
  const HRESULT hr = UserVariables::Unset(FromUtf8(options.name));
  if (hr == HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND)) {
    PrintError(options.name, "no such variable (see 'lumarko vars list')");
    return kExitFailure;
  }
  if (FAILED(hr)) return Failed("cannot unset " + options.name, hr);
  return kExitSuccess;
}

constexpr const char* kVarsHelp =
    "A variable is used in a template as {UserDefined:name}; its text is itself a template.\n"
    "\n"
    "Examples:\n"
    "  lumarko vars set project Alps\n"
    "  lumarko vars set archive '%HOME%/Archive' --expand\n"
    "  lumarko vars set folder '{UserDefined:project}/{DateTaken:Year}'\n"
    "  lumarko vars set roll 12 --dword\n"
    "  lumarko template '{UserDefined:folder}/{FileName}' photo.jpg\n"
    "  lumarko vars list\n"
    "  lumarko vars unset roll\n"
    "\n"
    "Exit codes:\n"
    "  0  done\n"
    "  1  the variable does not exist, or the settings cannot be read or written\n"
    "  2  the command line is wrong (a number for --dword or --qword included)\n";

}  // namespace

Runner SetupVars(CLI::App& app) {
  auto options = std::make_shared<VarsOptions>();
  CLI::App* command = app.add_subcommand("vars", "list and edit the variables of templates");
  command->require_subcommand(1);
  command->footer(kVarsHelp);

  CLI::App* list = command->add_subcommand("list", "every variable with its type and value");
  CLI::App* get = command->add_subcommand("get", "the stored value of one variable");
  get->add_option("NAME", options->name, "the variable's name")->required();
  CLI::App* set = command->add_subcommand("set", "create or replace a variable");
  set->add_option("NAME", options->name, "the variable's name (no '{' or '}')")->required();
  set->add_option("VALUE", options->value, "its text, or its number with --dword or --qword")
      ->required();
  auto* expand = set->add_flag("--expand", options->expand,
                               "an expandable string: %NAME% environment variables are "
                               "replaced when a template reads it");
  auto* dword = set->add_flag("--dword", options->dword, "a 32-bit number")->excludes(expand);
  set->add_flag("--qword", options->qword, "a 64-bit number")->excludes(expand, dword);
  CLI::App* unset = command->add_subcommand("unset", "remove a variable");
  unset->add_option("NAME", options->name, "the variable's name")->required();

  return [options, list, get, set, unset]() -> int {
    if (list->parsed()) return RunList();
    if (get->parsed()) return RunGet(*options);
    if (set->parsed()) return RunSet(*options);
    if (unset->parsed()) return RunUnset(*options);
    return kExitUsage;
  };
}

}  // namespace lmk::cli
