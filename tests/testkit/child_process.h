#pragma once

#include <QMap>
#include <QString>
#include <QStringList>

struct ChildResult {
    bool started = false;
    bool timedOut = false;
    bool crashed = false;
    int exitCode = -1;
    QString output;  ///< both channels, as they came

    /// Ended by itself, in time, with code 0.
    bool succeeded() const { return started && !timedOut && !crashed && exitCode == 0; }
};

/// Runs a program to its end and ends it when it takes longer than the limit. `environment` is
/// added to this process's.
ChildResult runChild(const QString& program, const QStringList& arguments = {},
                     const QMap<QString, QString>& environment = {}, int limitMs = 60000);
