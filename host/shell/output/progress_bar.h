#pragma once

#include <QElapsedTimer>
#include <QString>
#include <cstdio>

inline const QString kMarketTitle = QStringLiteral("making the sample market");

/// "making the sample market  [#####     ]  50 %", cut to `columns`.
QString progressText(int done, int total, int columns, const QString& title = kMarketTitle);

/// Shows how far the sample market, or another piece of work, is: on a terminal as a bar that is
/// cleared at the end, on other output as at most one line a second. On a stream other than stdout
/// only the bar is shown, since a program may read that stream together with the answer. Main
/// thread only.
class ProgressBar {
public:
    explicit ProgressBar(std::FILE* stream = stdout, const QString& title = kMarketTitle)
        : m_stream(stream), m_title(title) {}

    void show(int done, int total);
    /// Clears a bar of unfinished work.
    void clear() { show(0, 0); }

private:
    void draw(int done, int total);

    std::FILE* const m_stream;
    const QString m_title;
    QElapsedTimer m_sinceLine;
    QString m_drawn;
};
