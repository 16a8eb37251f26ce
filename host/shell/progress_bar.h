#pragma once

#include <QElapsedTimer>
#include <QString>
#include <cstdio>

/// "making the sample market  [#####     ]  50 %", in so many columns at most.
QString progressText(int done, int total, int columns);

/// Shows how far the making of the market is: on a terminal as a bar that is drawn over itself and
/// cleared at the end, otherwise as a line every second at most. On another stream than stdout as
/// the bar alone, since what is no terminal may be read together with an answer. Main thread.
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
