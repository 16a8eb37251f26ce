#pragma once

#include <QString>

/// The folder under which the plug-in keeps files of the installation: the one that the host set as
/// the application object's property "velmar.applicationFolder", otherwise the program's own
/// folder. Without "/" at its end. Any thread, once the application object exists.
QString applicationFolder();
