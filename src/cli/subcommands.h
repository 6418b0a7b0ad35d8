// The setup function of every subcommand; main.cpp lists them in its one table.
#pragma once

#include "cli/command.h"

namespace lmk::cli {

Runner SetupRegister(CLI::App& app);
Runner SetupUnregister(CLI::App& app);
Runner SetupPlugins(CLI::App& app);

}  // namespace lmk::cli
