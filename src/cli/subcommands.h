// The setup function of every subcommand; main.cpp lists them in its one table.
#pragma once

#include "cli/command.h"

namespace lmk::cli {

Runner SetupRegister(CLI::App& app);
Runner SetupUnregister(CLI::App& app);
Runner SetupPlugins(CLI::App& app);
Runner SetupPlace(CLI::App& app);
Runner SetupApply(CLI::App& app);
Runner SetupEvents(CLI::App& app);
Runner SetupRecord(CLI::App& app);
Runner SetupRules(CLI::App& app);
Runner SetupTemplate(CLI::App& app);
Runner SetupVars(CLI::App& app);
Runner SetupLabels(CLI::App& app);
Runner SetupTemplates(CLI::App& app);
Runner SetupFtp(CLI::App& app);
Runner SetupScripts(CLI::App& app);

}  // namespace lmk::cli
