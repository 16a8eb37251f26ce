#pragma once

#include "client_run.h"

/// The command that shows what becomes of a crash: a client crashes on purpose in a process of its
/// own, is started again, and reports the crash to the server and on the event bus. The processes
/// are this program with the same arguments. Failed when a part of it is missing.
ExitCode runCrash(const ShellOptions& options);
