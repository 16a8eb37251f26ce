#pragma once

#include <QElapsedTimer>
#include <QString>
#include <cstdio>

/// "making the sample market  [#####     ]  50 %", cut to `columns`.
QString progressText(int done, int total, int columns);

/// Shows the progress while the sample market is made: on a terminal as a bar that is cleared at
/// the end, on other output as at most one line a second. On a stream other than stdout only the
/// bar is shown, since a program may read that stream together with the answer. Main thread only.
class ProgressBar {
public:
    explicit ProgressBar(std::FILE* stream = stdout) : m_stream(stream) {}

    void show(int done, int total);

private:
    void draw(int done, int total);

    std::FILE* const m_stream;
    QElapsedTimer m_sinceLine;
    QString m_drawn;
};
