#pragma once

#include "shell_options.h"

/// Does what the options ask for and returns the exit code. The application object stands.
int runShell(const ShellOptions& options);
