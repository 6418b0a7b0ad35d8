// What every subcommand of the lumarko command shares: its run function's shape, the exit
// codes, and the form of diagnostics.
#pragma once

#include <CLI/CLI.hpp>
#include <functional>
#include <span>
#include <string>
#include <string_view>

#include "com/com.h"

namespace lmk::cli {

/// Exit codes of the lumarko command (also listed by --help).
enum ExitCode : int {
  kExitSuccess = 0,  ///< done
  kExitFailure = 1,  ///< the operation failed; stderr says why
  kExitUsage = 2,    ///< the command line is wrong
  // Outcomes of a batch run (lumarko apply).
  kExitWarnings = 3,  ///< the run completed; warnings were recorded
  kExitErrors = 4,    ///< the run completed; errors were recorded
  kExitAborted = 5,   ///< the run was cancelled (Ctrl+C) or aborted by a fatal error
};

/// The work of one subcommand, run after parsing when that subcommand was chosen.
using Runner = std::function<int()>;

/// Adds one subcommand to app and returns what runs it. Each subcommand's file defines one.
using Setup = Runner (*)(CLI::App& app);

/// Writes "lumarko: error: <what>: <why>" to stderr.
void PrintError(std::string_view what, std::string_view why);

/// Writes "lumarko: warning: <path>: not a regular file, left out" for each path a picture scan
/// left out (named pipes, sockets, devices).
void WarnLeftOut(std::span<const std::wstring> paths);

/// Writes what the plug-in's dialog would show in a message box, as a diagnostic on stderr:
/// "lumarko: error: [<what>: ]<instruction>", an empty line, <content>, then each line of
/// details indented.
void PrintMessage(std::string_view what, std::wstring_view instruction, std::wstring_view content,
                  std::span<const std::wstring> details = {});

/// A readable reason for a failure HRESULT, with its code: "access denied (0x80070005)".
/// The thread's error description, when one was set, is added after the reason.
std::string DescribeFailure(HRESULT hr);

}  // namespace lmk::cli
