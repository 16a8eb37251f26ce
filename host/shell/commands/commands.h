#pragma once

#include "shell_options.h"

/// Does what the options ask for and returns the exit code; 1 at least when the output could not be
/// written. Needs the application object.
int runShell(const ShellOptions& options);
