#include "monitor_job.h"

#include <QElapsedTimer>
#include <QFile>
#include <QJsonObject>
#include <limits>
#include <utility>

#include "live_block.h"
#include "monitor_exports.h"
#include "monitor_view.h"
#include "output.h"
#include "status_line.h"
#include "text_table.h"

namespace {

constexpr int kPauseMs = 1000;
constexpr int kLookAgainMs = 100;

}  // namespace

MonitorJob::MonitorJob(MainLoopGate& gate, Read read, const ShellOptions& options)
    : m_gate(gate), m_read(std::move(read)), m_options(options) {}

ExitCode MonitorJob::run() {
    switch (m_options.question) {
        case ShellOptions::Question::Export:
            return exportText();
        case ShellOptions::Question::Record:
            return record();
        default:
            return drawsInPlace(m_options) && !m_options.asJson ? watch() : printOnce();
    }
}

bool MonitorJob::read(QVariantMap* figures) const {
    QString error;
    const bool isRead = m_read(figures, &error);
    if (!isRead) {
        printError(error);
    }
    return isRead;
}

bool MonitorJob::awaitAnswers(QVariantMap* figures) {
    QElapsedTimer waited;
    waited.start();
    const qint64 limitMs = qint64(m_options.waitSeconds) * 1000;
    for (;;) {
        if (!read(figures)) {
            return false;
        }
        const QStringList missing = MonitorFigures::of(*figures).gatesWithoutAnswer();
        if (missing.isEmpty()) {
            return true;
        }
        if (InterruptWatch::hasCome()) {
            printError(QStringLiteral("interrupted"));
            return false;
        }
        if (waited.elapsed() >= limitMs) {
            printError(QStringLiteral("no answer within %1 s from %2; --wait sets the limit")
                           .arg(m_options.waitSeconds)
                           .arg(missing.join(QStringLiteral(", "))));
            return false;
        }
        m_gate.waitUntil(&InterruptWatch::hasCome, kLookAgainMs);
    }
}

ExitCode MonitorJob::watch() {
    LiveBlock block;
    QVariantMap figures;
    while (!InterruptWatch::hasCome()) {
        QString error;
        if (!m_read(&figures, &error)) {
            block.leave();
            printError(error);
            return Failed;
        }
        const QStringList lines =
            monitorLines(MonitorFigures::of(figures), StatusLine::terminalColumns() - 1);
        block.draw(lines.mid(0, qMax(1, LiveBlock::terminalRows() - 1)));
        m_gate.waitUntil(&InterruptWatch::hasCome, kPauseMs);
    }
    block.leave();
    return Well;
}

ExitCode MonitorJob::printOnce() {
    QVariantMap figures;
    if (!awaitAnswers(&figures)) {
        return Failed;
    }
    if (m_options.asJson) {
        printJson(QJsonObject::fromVariantMap(figures));
    } else {
        printTo(stdout, monitorLines(MonitorFigures::of(figures), std::numeric_limits<int>::max())
                            .join(QLatin1Char('\n')));
    }
    return Well;
}

ExitCode MonitorJob::exportText() {
    QVariantMap figures;
    if (!awaitAnswers(&figures)) {
        return Failed;
    }
    writeOut(prometheusText(MonitorFigures::of(figures)));
    return Well;
}

ExitCode MonitorJob::record() {
    QVariantMap figures;
    if (!read(&figures)) {
        return Failed;
    }
    // Written line by line, so that a plot may follow the file while it grows.
    QFile file(m_options.recordFile);
    bool isGood = file.open(QIODevice::WriteOnly | QIODevice::Truncate) &&
                  file.write(csvTitle()) >= 0 && file.flush();
    int lines = 0;
    QElapsedTimer sinceStart;
    sinceStart.start();
    qint64 due = 0;
    while (isGood && !InterruptWatch::hasCome() &&
           (m_options.count == 0 || lines < m_options.count)) {
        if (lines > 0) {
            // A second from line to line, not from the end of a line to the next one.
            due = qMax(due + kPauseMs, sinceStart.elapsed());
            m_gate.waitUntil(&InterruptWatch::hasCome, int(due - sinceStart.elapsed()));
            if (InterruptWatch::hasCome()) {
                break;
            }
            if (!read(&figures)) {
                return Failed;
            }
        }
        const QByteArray line =
            csvLine(MonitorFigures::of(figures), QDateTime::currentDateTimeUtc());
        isGood = file.write(line) == line.size() && file.flush();
        ++lines;
    }
    if (!isGood) {
        printError(QStringLiteral("%1 cannot be written: %2")
                       .arg(m_options.recordFile, file.errorString()));
        return Failed;
    }
    return Well;
}
