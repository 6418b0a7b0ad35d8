// lumarko labels: the colour labels of a labelling convention, as the label action's dialog
// lists them, with the number each one is written as in a rule set.
#include <cstdio>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "actions/label_action.h"
#include "cli/subcommands.h"
#include "com/com_object.h"
#include "host/standalone_host.h"
#include "platform/text_encoding.h"

namespace lmk::cli {
namespace {

constexpr const char* kLabelsHelp =
    "Convention 0 has five labels, any other convention nine. A rule sets a label with\n"
    "its number or its colour name, or steps it with one-more / one-less:\n"
    "  lumarko labels --convention 1\n"
    "  - Action.SetXMPLabel: { label: green }\n"
    "  - Action.SetXMPLabel: { convention: 1, label: one-more }\n";

int RunLabels(int convention) {
  ComPtr<CStandaloneHost> host = MakeComObject<CStandaloneHost>(std::vector<std::wstring>{}, L"");
  std::vector<std::pair<std::int16_t, std::wstring>> entries;
  const HRESULT hr =
      LabelDialogEntries(*host.Get(), static_cast<std::int16_t>(convention), &entries);
  if (FAILED(hr)) {
    PrintError("cannot list the labels of convention " + std::to_string(convention),
               DescribeFailure(hr));
    return kExitFailure;
  }
  for (const auto& [value, text] : entries) {
    std::printf("%3d  %s\n", value, ToUtf8(text).c_str());
  }
  return kExitSuccess;
}

}  // namespace

Runner SetupLabels(CLI::App& app) {
  auto convention = std::make_shared<int>(0);
  CLI::App* command = app.add_subcommand("labels", "list the colour labels a rule can set");
  command->footer(kLabelsHelp);
  command->add_option("--convention", *convention, "the labelling convention (default 0)")
      ->check(CLI::Range(-32768, 32767));
  return [convention] { return RunLabels(*convention); };
}

}  // namespace lmk::cli
