#pragma once

#include "client_run.h"

/// `monitor`: shows, exports or records the monitoring figures of a client of its own, or with
/// --home of the client that runs there.
ExitCode runMonitor(const ShellOptions& options);
/// `skin NAME`: changes the skin, as a client with windows would.
ExitCode runSkin(const ShellOptions& options);
