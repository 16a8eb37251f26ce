#pragma once

#include "client_run.h"

// The commands about orders, realized profit and market value. Each returns its exit code.

ExitCode runOrders(const ShellOptions& options);
ExitCode runProfit(const ShellOptions& options);
ExitCode runValue(const ShellOptions& options);
