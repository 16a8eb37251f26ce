#pragma once

#include <QElapsedTimer>
#include <QString>

/// "making the sample market  [#####     ]  50 %", in so many columns at most.
QString progressText(int done, int total, int columns);

/// Shows how far the making of the market is: on a terminal as a bar that is drawn over itself and
/// cleared at the end, otherwise as a line every second at most. Main thread.
class ProgressBar {
public:
    void show(int done, int total);

private:
    void draw(int done, int total);

    QElapsedTimer m_sinceLine;
    QString m_drawn;
};
