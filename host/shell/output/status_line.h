#pragma once

#include <QMap>
#include <QString>
#include <cstdio>

/// What the status line shows.
struct ClientStatus {
    int accounts = 0;
    int presenters = 0;
    int pendingRequests = 0;
    QMap<QString, QString> gates;  ///< gate to its state
    QMap<QString, int> delaysMs;   ///< gate to its last delay, of the gates that have one
    qint64 upSeconds = 0;
};

/// One line of at most `columns` characters: as many parts as fit, the most important ones first.
QString statusText(const ClientStatus& status, int columns);

/// The terminal that lines are drawn on.
namespace StatusLine {

/// The columns of the stream's terminal, 80 when unknown.
int terminalColumns(std::FILE* stream = stdout);
bool isTerminal(std::FILE* stream = stdout);

}  // namespace StatusLine
