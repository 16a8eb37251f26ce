#pragma once

#include <QString>

/// The folder of the client's settings, configuration and logs. Any thread.
namespace HomeFolder {

/// An empty path stands for the user's own configuration folder.
void set(const QString& path);
/// The absolute path, without "/" at its end.
QString path();

}  // namespace HomeFolder
