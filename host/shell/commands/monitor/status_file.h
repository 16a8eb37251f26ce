#pragma once

#include <QDateTime>
#include <QString>
#include <QVariantMap>

/// What a running client writes about itself.
struct ClientStatusRecord {
    qint64 pid = 0;
    qint64 started = 0;   ///< when the process started, in ticks since the start of the machine
    QDateTime written;    ///< when these figures were written, in UTC
    QVariantMap figures;  ///< the map under MonitorKey::board
};

/// The file "monitor.json" in the home of a running client, for other processes. It is replaced as
/// a whole, at most once a second, and only when the figures have changed. The client that wrote it
/// removes it at its end. On one thread; writes a file.
class StatusFile {
public:
    static constexpr qint64 leastMs = 1000;

    explicit StatusFile(const QString& home);
    /// Removes the file unless another process has replaced it meanwhile.
    ~StatusFile();
    Q_DISABLE_COPY(StatusFile)

    /// Writes the figures when they differ from the last ones and that write began at least a
    /// second ago; `nowMs` counts milliseconds of a clock that never goes back. Returns false when
    /// the file cannot be written, which is tried again a second later.
    bool note(const QVariantMap& figures, qint64 nowMs);
    /// Why the last write failed; empty when it did not.
    const QString& error() const { return m_error; }

    static QString pathIn(const QString& home);
    /// Reads the file of a home. False with a text when no client runs there or the file cannot be
    /// read. Any thread; reads at most a mebibyte.
    static bool read(const QString& home, ClientStatusRecord* record, QString* error);

private:
    const QString m_file;
    bool m_isWritten = false;
    bool m_hasTried = false;
    qint64 m_triedMs = 0;
    QVariantMap m_last;
    QString m_error;
};
