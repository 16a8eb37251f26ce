#include "status_line.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <QStringList>
#include <cstdio>

#include "vocabulary/net_state.h"

namespace {

QString gateText(const QMap<QString, QString>& gates) {
    QStringList down;
    for (auto it = gates.cbegin(); it != gates.cend(); ++it) {
        if (it.value() != NET_STATE::CONNECTED) {
            down.append(it.key() + QLatin1Char(' ') + it.value());
        }
    }
    const QString count =
        QStringLiteral("gates %1/%2 up").arg(gates.size() - down.size()).arg(gates.size());
    return down.isEmpty() ? count : count + QStringLiteral(": ") + down.join(QStringLiteral(", "));
}

/// Empty before the first delay is measured.
QString delayText(const QMap<QString, int>& delaysMs) {
    QStringList delays;
    for (auto it = delaysMs.cbegin(); it != delaysMs.cend(); ++it) {
        delays.append(QStringLiteral("%1 %2 ms").arg(it.key()).arg(it.value()));
    }
    return delays.join(QStringLiteral(", "));
}

QString upText(qint64 seconds) {
    return QStringLiteral("up %1:%2:%3")
        .arg(seconds / 3600, 2, 10, QLatin1Char('0'))
        .arg(seconds / 60 % 60, 2, 10, QLatin1Char('0'))
        .arg(seconds % 60, 2, 10, QLatin1Char('0'));
}

}  // namespace

QString statusText(const ClientStatus& status, int columns) {
    const QStringList parts{upText(status.upSeconds),
                            QStringLiteral("%1 accounts").arg(status.accounts),
                            gateText(status.gates),
                            QStringLiteral("%1 pending").arg(status.pendingRequests),
                            QStringLiteral("%1 presenters").arg(status.presenters),
                            delayText(status.delaysMs)};
    QString line;
    for (const QString& part : parts) {
        if (part.isEmpty()) {
            continue;
        }
        const QString longer = line.isEmpty() ? part : line + QStringLiteral(" | ") + part;
        if (longer.size() > columns) {
            break;
        }
        line = longer;
    }
    return line.isEmpty() ? parts.first().left(qMax(0, columns)) : line;
}

int StatusLine::terminalColumns(std::FILE* stream) {
    winsize size{};
    const bool isKnown = ioctl(fileno(stream), TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
    return isKnown ? size.ws_col : 80;
}

bool StatusLine::isTerminal(std::FILE* stream) {
    return isatty(fileno(stream)) == 1;
}
