#pragma once

#include "client_run.h"

// The commands about messages, menus and risk marks. Each returns its exit code.

ExitCode runMessages(const ShellOptions& options);
ExitCode runMenus(const ShellOptions& options);
ExitCode runRisk(const ShellOptions& options);
