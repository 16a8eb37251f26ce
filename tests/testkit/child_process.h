#pragma once

#include <QMap>
#include <QString>
#include <QStringList>

struct ChildResult {
    bool started = false;
    bool timedOut = false;
    bool crashed = false;
    int exitCode = -1;
    QString output;  ///< standard output and error output, in order

    /// The program ended by itself, in time, with code 0.
    bool succeeded() const { return started && !timedOut && !crashed && exitCode == 0; }
};

/// Runs a program and kills it when it takes longer than the limit. `environment` is added to the
/// environment of this process.
ChildResult runChild(const QString& program, const QStringList& arguments = {},
                     const QMap<QString, QString>& environment = {}, int limitMs = 60000);
