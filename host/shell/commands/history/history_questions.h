#pragma once

#include "client_run.h"

// The commands about the past, and about single items of the server. Each returns its exit code.

ExitCode runHistory(const ShellOptions& options);
ExitCode runCalendar(const ShellOptions& options);
ExitCode runAnnouncement(const ShellOptions& options);
ExitCode runAnnualReport(const ShellOptions& options);
ExitCode runConfig(const ShellOptions& options);
ExitCode runSubscribe(const ShellOptions& options);
