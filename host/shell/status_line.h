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
    qint64 upSeconds = 0;
};

/// One line of at most `columns` characters: as many parts as fit, the most important ones first.
QString statusText(const ClientStatus& status, int columns);

/// The last line of a terminal, drawn again and again.
class StatusLine {
public:
    /// The columns of the stream's terminal, 80 when unknown.
    static int terminalColumns(std::FILE* stream = stdout);
    static bool isTerminal(std::FILE* stream = stdout);

    void draw(const ClientStatus& status);
    /// Ends the line; further output goes below it.
    void leave();

private:
    bool m_drawn = false;
};
