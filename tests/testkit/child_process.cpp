#include "child_process.h"

#include <QProcess>
#include <QProcessEnvironment>

ChildResult runChild(const QString& program, const QStringList& arguments,
                     const QMap<QString, QString>& environment, int limitMs) {
    QProcess child;
    QProcessEnvironment whole = QProcessEnvironment::systemEnvironment();
    for (auto it = environment.cbegin(); it != environment.cend(); ++it) {
        whole.insert(it.key(), it.value());
    }
    child.setProcessEnvironment(whole);
    child.setProcessChannelMode(QProcess::MergedChannels);
    child.start(program, arguments);

    ChildResult result;
    result.started = child.waitForStarted();
    if (!result.started) {
        result.output = child.errorString();
        return result;
    }
    result.timedOut = !child.waitForFinished(limitMs);
    if (result.timedOut) {
        child.kill();
        child.waitForFinished();
    } else {
        result.crashed = child.exitStatus() != QProcess::NormalExit;
        result.exitCode = result.crashed ? -1 : child.exitCode();
    }
    result.output = QString::fromUtf8(child.readAll());
    return result;
}
