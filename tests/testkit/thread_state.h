#pragma once

#include <QByteArray>
#include <QFile>
#include <QString>

/// Whether a thread of this process (its id is that of gettid()) sleeps, as a thread does that
/// waits for a lock or in a timed wait. Linux only.
inline bool isThreadAsleep(int threadId) {
    QFile file(QStringLiteral("/proc/self/task/%1/stat").arg(threadId));
    if (!file.open(QIODevice::ReadOnly)) {
        return false;
    }
    // "id (name) state ..."; the name may contain a parenthesis.
    const QByteArray line = file.readAll();
    return line.mid(line.lastIndexOf(')') + 2, 1) == "S";
}
