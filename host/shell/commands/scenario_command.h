#pragma once

#include <QString>

struct ShellOptions;

/// Plays the scenario that the options name: each section in a child process over the same home
/// folder, or, with a section number, that one in this process. Prints the result. Returns the exit
/// code: 0 success, 1 a failed step or an interrupt, 2 a file that is not a scenario or a folder
/// that is not a scenario's home.
int runScenario(const ShellOptions& options, const QString& pluginsDir);
