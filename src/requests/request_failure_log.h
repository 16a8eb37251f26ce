#pragma once

#include <QHash>
#include <QMutex>
#include <QPair>
#include <QString>

#include "clock.h"
#include "guarded.h"
#include "server_request.h"

/// Logs one warning for each request that did not succeed, with its type, outcome and reason. When
/// the same type fails again in the same way for the same reason, the next warning comes a minute
/// after the last one at the earliest and contains the number of failures in between; those are
/// logged at debug level. Any thread.
class RequestFailureLog {
public:
    /// The clock must outlive the log.
    explicit RequestFailureLog(const Clock& clock) : m_clock(clock) {}

    void report(const QString& msgType, ServerReply::Outcome outcome, const QString& reason);

private:
    struct Repeat {
        qint64 loggedAtMs = 0;
        int since = 0;  ///< failures after the last warning
    };
    /// By type with outcome, and reason. When there are too many entries, the oldest one is
    /// removed.
    using Repeats = QHash<QPair<QString, QString>, Repeat>;
    struct Tables {
        Repeats repeats;
    };

    static void makeSpace(Repeats& repeats);

    const Clock& m_clock;
    Guarded<Tables, QMutex> m_repeatsLock{"m_repeatsLock", LockRank::Leaf};
};

/// The log that all requests of the process share, on the machine's clock.
RequestFailureLog& requestFailureLog();
