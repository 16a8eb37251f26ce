#pragma once

#include <QString>
#include <QStringList>

/// The files of a folder that may be plug-in libraries ("*.so"), sorted by name. A file with
/// several names (links) is returned once, and files in `besides` are left out.
QStringList pluginFilesIn(const QString& folder, const QStringList& besides);
