#include "request_failure_log.h"

#include <algorithm>

#include "log.h"
#include "never_destroyed.h"

namespace {

constexpr qint64 kMinuteMs = 60 * 1000;
constexpr int kMostRepeats = 256;
// A server may send a text of any length, so only its beginning is kept.
constexpr int kKeptReasonLength = 512;

QString nameOf(ServerReply::Outcome outcome) {
    switch (outcome) {
        case ServerReply::Outcome::TimedOut:
            return QStringLiteral("timed out");
        case ServerReply::Outcome::Refused:
            return QStringLiteral("was refused");
        case ServerReply::Outcome::Failed:
        case ServerReply::Outcome::Answered:
            break;
    }
    return QStringLiteral("failed");
}

struct ProcessFailureLog {
    SystemClock clock;
    RequestFailureLog log{clock};
};

}  // namespace

void RequestFailureLog::report(const QString& msgType, ServerReply::Outcome outcome,
                               const QString& reason) {
    const QString what = msgType + QLatin1Char(' ') + nameOf(outcome);
    const qint64 nowMs = m_clock.now().toMSecsSinceEpoch();
    bool isDue = true;
    int since = 0;
    {
        const auto tables = m_repeatsLock.lock();
        const QPair<QString, QString> key{what, reason.left(kKeptReasonLength)};
        if (!tables->repeats.contains(key)) {
            makeSpace(tables->repeats);
            tables->repeats.insert(key, {nowMs, 0});
        } else {
            Repeat& repeat = tables->repeats[key];
            // A clock that was set back must not silence the log.
            isDue = nowMs >= repeat.loggedAtMs + kMinuteMs || nowMs < repeat.loggedAtMs;
            since = isDue ? repeat.since : repeat.since + 1;
            repeat = isDue ? Repeat{nowMs, 0} : Repeat{repeat.loggedAtMs, since};
        }
    }
    QString text = QStringLiteral("request %1: %2").arg(what, reason);
    if (!isDue) {
        qCDebug(lcRequests).noquote() << text;
        return;
    }
    if (since > 0) {
        text += QStringLiteral(" (%1 more since the last warning)").arg(since);
    }
    qCWarning(lcRequests).noquote() << text;
}

void RequestFailureLog::makeSpace(Repeats& repeats) {
    if (repeats.size() < kMostRepeats) {
        return;
    }
    const auto oldest = std::min_element(
        repeats.begin(), repeats.end(),
        [](const Repeat& one, const Repeat& other) { return one.loggedAtMs < other.loggedAtMs; });
    repeats.erase(oldest);
}

RequestFailureLog& requestFailureLog() {
    return neverDestroyed<ProcessFailureLog>().log;
}
