#pragma once

#include <QString>
#include <QStringList>
#include <QtGlobal>
#include <memory>
#include <thread>
#include <vector>

/// Records the log lines of the process while it lives. Captures nest: all that live record. Any
/// thread. Lines reach the former message handler only when VELMAR_TEST_VERBOSE is set in the
/// environment; a fatal line always does.
class LogCapture {
public:
    struct Line {
        QtMsgType type = QtDebugMsg;
        QString category;
        QString text;
        std::thread::id thread;  ///< the one that logged the line
    };

    LogCapture();
    ~LogCapture();
    Q_DISABLE_COPY(LogCapture)

    std::vector<Line> lines() const;
    QStringList texts() const;
    QStringList texts(QtMsgType type) const;
    /// The number of lines of this level with exactly this text.
    int count(QtMsgType type, const QString& text) const;
    /// Whether a line contains this part, at any level or at this one.
    bool contains(const QString& part) const;
    bool contains(QtMsgType type, const QString& part) const;
    /// Waits until a line contains this part; runs queued calls of the application's thread
    /// meanwhile.
    bool waitFor(const QString& part, int limitMs = 5000) const;
    void clear();

    struct Lines;

private:
    const std::shared_ptr<Lines> m_lines;
};
