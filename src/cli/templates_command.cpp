// lumarko templates: lists, sets and removes the named renaming templates that copy, move and
// link actions refer to by name ("rename: Dated").
#include <algorithm>
#include <cstdio>
#include <memory>
#include <string>

#include "actions/renaming_template_store.h"
#include "cli/subcommands.h"
#include "com/com_error.h"
#include "platform/text_encoding.h"

namespace lmk::cli {
namespace {

struct TemplatesOptions {
  CLI::App* list = nullptr;
  CLI::App* set = nullptr;
  CLI::App* unset = nullptr;
  std::string name;
  std::string text;
};

int RunList() {
  CRenamingTemplateStore store;
  NamedTemplates templates;
  const HRESULT hr = store.List(&templates);
  if (FAILED(hr)) {
    PrintError("cannot read the renaming templates", DescribeFailure(hr));
    return kExitFailure;
  }
  if (templates.empty()) {
    std::printf("No renaming templates are defined.\n");
    return kExitSuccess;
  }
  std::size_t width = 4;
  for (const auto& [name, text] : templates) width = std::max(width, ToUtf8(name).size());
  std::printf("%-*s  %s\n", static_cast<int>(width), "NAME", "TEMPLATE");
  for (const auto& [name, text] : templates) {
    std::printf("%-*s  %s\n", static_cast<int>(width), ToUtf8(name).c_str(), ToUtf8(text).c_str());
  }
  return kExitSuccess;
}

int RunSet(const TemplatesOptions& options) {
  CRenamingTemplateStore store;
  const std::wstring name = FromUtf8(options.name);
  const HRESULT hr = store.Set(name, FromUtf8(options.text));
  if (FAILED(hr)) {
    PrintError("cannot set the renaming template '" + options.name + "'", DescribeFailure(hr));
    return kExitFailure;
  }
  std::printf("Renaming template '%s' set.\n", options.name.c_str());
  return kExitSuccess;
}

int RunUnset(const TemplatesOptions& options) {
  CRenamingTemplateStore store;
  const HRESULT hr = store.Unset(FromUtf8(options.name));
  if (hr == HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND)) {
    PrintError("cannot remove the renaming template '" + options.name + "'",
               "there is no template of that name (see 'lumarko templates list')");
    return kExitFailure;
  }
  if (FAILED(hr)) {
    PrintError("cannot remove the renaming template '" + options.name + "'", DescribeFailure(hr));
    return kExitFailure;
  }
  std::printf("Renaming template '%s' removed.\n", options.name.c_str());
  return kExitSuccess;
}

}  // namespace

Runner SetupTemplates(CLI::App& app) {
  auto options = std::make_shared<TemplatesOptions>();
  CLI::App* command = app.add_subcommand(
      "templates", "list, set or remove the named renaming templates of copy, move and link");
  command->require_subcommand(1);
  options->list = command->add_subcommand("list", "list the renaming templates");
  options->set = command->add_subcommand("set", "add or replace a renaming template");
  options->set->add_option("name", options->name, "the template's name")->required();
  options->set
      ->add_option("template", options->text, "the template, e.g. \"{DateTaken:6}_{FileName}\"")
      ->required();
  options->unset = command->add_subcommand("unset", "remove a renaming template");
  options->unset->add_option("name", options->name, "the template's name")->required();
  return [options] {
    if (options->set->parsed()) return RunSet(*options);
    if (options->unset->parsed()) return RunUnset(*options);
    return RunList();
  };
}

}  // namespace lmk::cli
