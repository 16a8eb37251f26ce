#pragma once

#include <QString>
#include <QStringList>

/// The files of a folder that may be plug-in libraries ("*.so"), by name. A file that is there
/// under several names, or that `besides` names too, is left out but for the first name.
QStringList pluginFilesIn(const QString& folder, const QStringList& besides);
