// The lumarko command: one table of subcommands, parsed with CLI11.
#include <algorithm>
#include <array>
#include <clocale>
#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

#include "cli/subcommands.h"
#include "lumarko_version.h"

namespace {

using lmk::cli::kExitFailure;
using lmk::cli::kExitSuccess;
using lmk::cli::kExitUsage;

// Every subcommand: its name (for "did you mean") and the function that adds it. Adding a
// subcommand is one file defining its setup function plus one line here.
struct SubcommandEntry {
  const char* name;
  lmk::cli::Setup setup;
};
constexpr std::array kSubcommands = {
    SubcommandEntry{"register", &lmk::cli::SetupRegister},
    SubcommandEntry{"unregister", &lmk::cli::SetupUnregister},
    SubcommandEntry{"plugins", &lmk::cli::SetupPlugins},
    SubcommandEntry{"apply", &lmk::cli::SetupApply},
    SubcommandEntry{"events", &lmk::cli::SetupEvents},
    SubcommandEntry{"record", &lmk::cli::SetupRecord},
    SubcommandEntry{"rules", &lmk::cli::SetupRules},
    SubcommandEntry{"place", &lmk::cli::SetupPlace},
    SubcommandEntry{"template", &lmk::cli::SetupTemplate},
    SubcommandEntry{"vars", &lmk::cli::SetupVars},
    SubcommandEntry{"labels", &lmk::cli::SetupLabels},
    SubcommandEntry{"templates", &lmk::cli::SetupTemplates},
    SubcommandEntry{"ftp", &lmk::cli::SetupFtp},
    SubcommandEntry{"scripts", &lmk::cli::SetupScripts},
};

constexpr const char* kFooter =
    "Exit codes:\n"
    "  0  success\n"
    "  1  the operation failed (the reason is on stderr)\n"
    "  2  the command line is wrong\n"
    "  3  apply: the run completed, but warnings were recorded\n"
    "  4  apply: the run completed, but errors were recorded\n"
    "  5  apply: the run was cancelled (Ctrl+C) or aborted by a fatal error\n";

// Edit distance, for suggesting the subcommand a mistyped name was meant to be.
std::size_t Distance(std::string_view a, std::string_view b) {
  std::vector<std::size_t> row(b.size() + 1);
  for (std::size_t j = 0; j <= b.size(); ++j) row[j] = j;
  for (std::size_t i = 1; i <= a.size(); ++i) {
    std::size_t diagonal = row[0];
    row[0] = i;
    for (std::size_t j = 1; j <= b.size(); ++j) {
      const std::size_t above = row[j];
      row[j] = std::min({row[j] + 1, row[j - 1] + 1, diagonal + (a[i - 1] == b[j - 1] ? 0 : 1)});
      diagonal = above;
    }
  }
  return row[b.size()];
}

// The known subcommand nearest to name, when it is near enough to be a typing slip.
const char* Suggest(std::string_view name) {
  const char* best = nullptr;
  std::size_t bestDistance = 3;
  for (const SubcommandEntry& entry : kSubcommands) {
    const std::size_t distance = Distance(name, entry.name);
    if (distance < bestDistance ||
        (std::string_view(entry.name).starts_with(name) && !name.empty() && best == nullptr)) {
      best = entry.name;
      bestDistance = distance;
    }
  }
  return best;
}

// The first word that is not an option, or empty.
std::string_view FirstCommandWord(int argc, char** argv) {
  for (int i = 1; i < argc; ++i) {
    std::string_view word = argv[i];
    if (!word.starts_with('-')) return word;
    if (word == "--") break;
  }
  return {};
}

}  // namespace

int main(int argc, char** argv) {
  // Day and month names, the locale's date and time formats and case changes follow the user's
  // locale. Numbers stay in the C form: the fixed number formats of templates and log texts
  // ("0.5", "12.3 MP") and the parsing of rule files must not depend on who runs the command;
  // the locale's number grouping is read apart from LC_NUMERIC.
  std::setlocale(LC_ALL, "");
  std::setlocale(LC_NUMERIC, "C");
  // Without a chosen locale towupper knows only ASCII; C.UTF-8, where present, knows every
  // letter, so "{TitleCase{FileName}}" still capitalises "élan".
  if (const char* ctype = std::setlocale(LC_CTYPE, nullptr);
      ctype == nullptr || std::string_view(ctype) == "C" || std::string_view(ctype) == "POSIX") {
    std::setlocale(LC_CTYPE, "C.UTF-8");
  }
  CLI::App app{"lumarko: rule-based file copy / move / delete / rename / export for picture files",
               "lumarko"};
  app.set_version_flag("--version", std::string("lumarko ") + LMK_VERSION_TEXT_NARROW);
  app.footer(kFooter);
  app.require_subcommand(1);

  std::vector<std::pair<CLI::App*, lmk::cli::Runner>> runners;
  for (const SubcommandEntry& entry : kSubcommands) {
    lmk::cli::Runner runner = entry.setup(app);
    runners.emplace_back(app.get_subcommand(entry.name), std::move(runner));
  }

  if (std::string_view word = FirstCommandWord(argc, argv); !word.empty()) {
    const bool known = std::any_of(kSubcommands.begin(), kSubcommands.end(),
                                   [&](const SubcommandEntry& e) { return word == e.name; });
    if (!known) {
      const char* suggestion = Suggest(word);
      lmk::cli::PrintError("unknown command '" + std::string(word) + "'",
                           suggestion != nullptr ? "did you mean '" + std::string(suggestion) + "'?"
                                                 : std::string("see 'lumarko --help'"));
      return kExitUsage;
    }
  }

  try {
    app.parse(argc, argv);
  } catch (const CLI::CallForHelp& e) {
    return app.exit(e);
  } catch (const CLI::CallForAllHelp& e) {
    return app.exit(e);
  } catch (const CLI::CallForVersion& e) {
    return app.exit(e);
  } catch (const CLI::ParseError& e) {
    lmk::cli::PrintError("invalid command line", e.what());
    return kExitUsage;
  }

  for (auto& [command, runner] : runners) {
    if (command->parsed()) {
      try {
        return runner();
      } catch (const std::exception& e) {
        lmk::cli::PrintError(command->get_name(), e.what());
        return kExitFailure;
      }
    }
  }
  return kExitSuccess;
}
