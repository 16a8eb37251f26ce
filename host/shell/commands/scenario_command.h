#pragma once

#include <QString>

struct ShellOptions;

/// Plays the scenario that the options name, each of its sections in a child process with the same
/// home folder, or the one section that they ask for in this process. Prints how it went. The exit
/// code: 0 well, 1 something failed, 2 the file is no scenario.
int runScenario(const ShellOptions& options, const QString& pluginsDir);
