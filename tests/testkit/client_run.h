#pragma once

#include <QByteArray>
#include <QJsonDocument>
#include <QProcess>
#include <QProcessEnvironment>
#include <QString>
#include <QStringList>
#include <csignal>

#include "home_mark.h"
#include "sample_market.h"
#include "test_paths.h"

inline const QString kClientProgram = QStringLiteral(VELMAR_BINARY_DIR "/bin/velmar-client");
/// How long velmar-client may take to end, and to print something where that is awaited.
inline constexpr int kClientLimitMs = 100000;

/// What velmar-client left when it ended.
struct Ended {
    int code = -1;  ///< the exit code; -1 after a crash and when it did not end in time
    QString out;
    QString err;

    /// For the message of a failed check.
    QByteArray text() const {
        return QStringLiteral("exit %1\n%2\n%3").arg(code).arg(err, out.left(4000)).toUtf8();
    }
    QJsonDocument json() const { return QJsonDocument::fromJson(out.toUtf8()); }
};

/// Waits until the process ends and kills it when it takes longer than the limit. `out` and `err`
/// are what was read of its output before.
inline Ended waitForEnd(QProcess& process, const QByteArray& out = {}, QByteArray err = {}) {
    Ended ended;
    if (!process.waitForFinished(kClientLimitMs)) {
        process.kill();
        process.waitForFinished();
        err += "not started, ended before or not ended in time\n";
    } else if (process.exitStatus() == QProcess::NormalExit) {
        ended.code = process.exitCode();
    }
    ended.out = QString::fromUtf8(out + process.readAllStandardOutput());
    ended.err = QString::fromUtf8(err + process.readAllStandardError());
    return ended;
}

/// Runs velmar-client to its end. Where a file is named, it gets the standard output.
inline Ended runClient(
    const QStringList& arguments, const QString& outputFile = QString(),
    const QProcessEnvironment& environment = QProcessEnvironment::systemEnvironment()) {
    QProcess process;
    process.setProcessEnvironment(environment);
    if (!outputFile.isEmpty()) {
        process.setStandardOutputFile(outputFile);
    }
    process.start(kClientProgram, arguments);
    return waitForEnd(process);
}

/// Makes the folder a client's home with the standard sample market. Returns what went wrong; empty
/// on success.
inline QString makeSampleHome(const QString& folder) {
    QString error;
    const bool isMade =
        HomeMark::take(folder, HomeMark::Owner::Client, &error) == HomeMark::Outcome::Taken &&
        makeSampleMarket(folder + "/market", MarketOptions(), {}, &error);
    return isMade ? QString() : "no home: " + error;
}

/// A velmar-client that goes on until it is interrupted, at the latest by the destructor.
class RunningClient {
public:
    explicit RunningClient(const QStringList& arguments) {
        m_process.start(kClientProgram, arguments);
    }
    ~RunningClient() {
        if (m_process.state() != QProcess::NotRunning) {
            interrupt();
        }
    }
    Q_DISABLE_COPY(RunningClient)

    /// Reads until the standard output contains the part so many times. False when the client ends
    /// before, or prints nothing for as long as the limit.
    bool readUntil(const QByteArray& part, int times = 1) {
        while (m_out.count(part) < times) {
            if (!m_process.waitForReadyRead(kClientLimitMs)) {
                return false;
            }
            m_out += m_process.readAllStandardOutput();
        }
        return m_process.state() == QProcess::Running;
    }
    /// The standard output that was read so far.
    const QByteArray& out() const { return m_out; }
    /// What was printed so far, for the message of a failed check.
    QByteArray text() {
        m_out += m_process.readAllStandardOutput();
        m_err += m_process.readAllStandardError();
        return m_err + m_out.left(4000);
    }

    /// Sends the signal of Ctrl-C and waits for the end. The result has the whole output.
    Ended interrupt() {
        // The id of a process that has ended is 0, which would signal this test and its runner.
        if (m_process.processId() > 0) {
            ::kill(static_cast<pid_t>(m_process.processId()), SIGINT);
        }
        return waitForEnd(m_process, m_out, m_err);
    }

private:
    QProcess m_process;
    QByteArray m_out;
    QByteArray m_err;
};
