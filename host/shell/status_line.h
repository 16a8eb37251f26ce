#pragma once

#include <QMap>
#include <QString>
#include <cstdio>

/// What the live line tells of the running client.
struct ClientStatus {
    int accounts = 0;
    int presenters = 0;
    int pendingRequests = 0;
    QMap<QString, QString> gates;  ///< gate to its state
    qint64 upSeconds = 0;
};

/// One line of at most `columns` characters: as many of the parts as fit, the most telling first,
/// then cut.
QString statusText(const ClientStatus& status, int columns);

/// A line at the bottom of a terminal that is drawn over itself.
class StatusLine {
public:
    /// The columns of the stream's terminal, 80 when it does not tell.
    static int terminalColumns(std::FILE* stream = stdout);
    static bool isTerminal(std::FILE* stream = stdout);

    void draw(const ClientStatus& status);
    /// Ends the line, so that what is printed next stands below it.
    void leave();

private:
    bool m_drawn = false;
};
