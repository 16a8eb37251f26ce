#pragma once

#include "client_run.h"

/// Stays up until Ctrl-C. Meanwhile writes the client's status file and, with `isLive`, draws
/// gates, money, the last deals and the status line in place on the terminal; otherwise it prints
/// nothing.
void stayUp(WatchedClient& watched, bool isLive);

/// The monitoring figures of this process's own client: what the plug-in put on the board, with the
/// states of the gates. Main thread only.
QVariantMap ownFigures(const Client& client);
