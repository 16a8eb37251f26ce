#pragma once

#include <QString>
#include <QStringList>

/// Ways to crash on purpose, by their names on the command line.
namespace CrashKinds {

/// "segv", "abort" and "stack-overflow".
QStringList names();

/// Crashes the process in the way of this name; returns for any other name.
void crash(const QString& name);

}  // namespace CrashKinds
