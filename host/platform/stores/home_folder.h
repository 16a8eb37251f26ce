#pragma once

#include <QString>

/// Where the client keeps its settings, configuration and logs. Any thread.
namespace HomeFolder {

/// An empty path stands for the user's own configuration folder.
void set(const QString& path);
/// As an absolute path without "/" at its end.
QString path();

}  // namespace HomeFolder
