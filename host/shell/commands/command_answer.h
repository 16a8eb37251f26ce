#pragma once

#include <QJsonValue>
#include <QString>
#include <QStringList>

/// What a command prints.
struct CommandAnswer {
    bool interrupted = false;
    QString error;         ///< for the user, when a name is unknown or a file cannot be read
    bool isFault = false;  ///< the answer itself reports something wrong, such as differences
    QStringList lines;     ///< for a terminal
    QJsonValue json;       ///< the same as data, of commands that have --json
};
