#pragma once

#include <QString>
#include <QStringList>
#include <QtGlobal>
#include <memory>
#include <vector>

/// Records the process's log lines for its life. Captures nest: every one that lives records. Any
/// thread may log and ask. What was logged goes to the handler before only when the environment
/// holds VELMAR_TEST_VERBOSE; a fatal line always does.
class LogCapture {
public:
    struct Line {
        QtMsgType type = QtDebugMsg;
        QString category;
        QString text;
    };

    LogCapture();
    ~LogCapture();
    Q_DISABLE_COPY(LogCapture)

    std::vector<Line> lines() const;
    QStringList texts() const;
    QStringList texts(QtMsgType type) const;
    /// Lines of this level with exactly this text.
    int count(QtMsgType type, const QString& text) const;
    /// Some line holds this part, at any level or at this one.
    bool contains(const QString& part) const;
    bool contains(QtMsgType type, const QString& part) const;
    /// Waits until some line holds this part; runs queued calls of the application's thread
    /// meanwhile.
    bool waitFor(const QString& part, int limitMs = 5000) const;
    void clear();

    struct Lines;

private:
    const std::shared_ptr<Lines> m_lines;
};
