#include "live_block.h"

#include <sys/ioctl.h>

#include <cstdio>

#include "output.h"
#include "status_line.h"

QString redrawText(const QStringList& lines, int drawn) {
    QString text = QStringLiteral("\r");
    if (drawn > 1) {
        text += QStringLiteral("\x1b[%1A").arg(drawn - 1);
    }
    text += lines.join(QStringLiteral("\x1b[K\n\r")) + QStringLiteral("\x1b[K");
    // What is left of a higher block.
    return drawn > lines.size() ? text + QStringLiteral("\x1b[J") : text;
}

int LiveBlock::terminalRows() {
    constexpr int kUnknown = 24;
    winsize size{};
    const bool isKnown = ioctl(fileno(stdout), TIOCGWINSZ, &size) == 0 && size.ws_row > 0;
    return isKnown ? size.ws_row : kUnknown;
}

void LiveBlock::draw(const QStringList& lines) {
    const int columns = StatusLine::terminalColumns();
    const int rows = terminalRows();
    const bool isResized = columns != m_columns || rows != m_rows;
    if (isResized) {
        leave();
    } else if (lines == m_drawn) {
        return;
    }
    m_columns = columns;
    m_rows = rows;
    writeOut(redrawText(lines, m_drawn.size()).toUtf8());
    m_drawn = lines;
}

void LiveBlock::leave() {
    if (!m_drawn.isEmpty()) {
        writeOut(QByteArrayLiteral("\n"));
        m_drawn.clear();
    }
}
