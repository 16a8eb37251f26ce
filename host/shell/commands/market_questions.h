#pragma once

#include "client_run.h"

// The commands about accounts, securities and their prices. Each returns its exit code.

ExitCode runAccounts(const ShellOptions& options);
ExitCode runSymbols(const ShellOptions& options);
ExitCode runRules(const ShellOptions& options);
/// Prints each tick of the watched symbols as it comes.
ExitCode runTicks(const ShellOptions& options);
