#pragma once

#include <QLoggingCategory>

/// The plug-in's own log lines; the client writes them to log/client.log of its home folder.
Q_DECLARE_LOGGING_CATEGORY(lcNeighbour)
