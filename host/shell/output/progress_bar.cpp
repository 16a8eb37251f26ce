#include "progress_bar.h"

#include <cstdio>

#include "status_line.h"

namespace {

constexpr int kLineEveryMs = 1000;
constexpr int kWidestBar = 40;

int percentOf(int done, int total) {
    return total > 0 ? static_cast<int>(qint64(done) * 100 / total) : 100;
}

}  // namespace

QString progressText(int done, int total, int columns, const QString& title) {
    const QString percent = QStringLiteral("  %1 %").arg(percentOf(done, total), 3);
    // Two spaces and the ends of the bar separate title and percentage.
    const int width = qMin(kWidestBar, columns - title.size() - percent.size() - 4);
    if (width < 5) {
        return (title + percent).left(qMax(0, columns));
    }
    const int filled = percentOf(done, total) * width / 100;
    return QStringLiteral("%1  [%2]%3")
        .arg(title, QString(filled, QLatin1Char('#')).leftJustified(width), percent);
}

void ProgressBar::draw(int done, int total) {
    // The last column stays free: some terminals start a new line when it is written.
    const QString text =
        done < total ? progressText(done, total, StatusLine::terminalColumns(m_stream) - 1, m_title)
                     : QString();
    if (text != m_drawn) {
        m_drawn = text;
        std::fprintf(m_stream, "\r%s\x1b[K", text.toUtf8().constData());
        std::fflush(m_stream);
    }
}

void ProgressBar::show(int done, int total) {
    if (StatusLine::isTerminal(m_stream)) {
        draw(done, total);
        return;
    }
    if (m_stream != stdout) {
        return;
    }
    if (!m_sinceLine.isValid()) {
        m_sinceLine.start();
    }
    if (m_sinceLine.elapsed() >= kLineEveryMs) {
        m_sinceLine.restart();
        std::printf("%s: %d %%, %d of %d rows\n", m_title.toUtf8().constData(),
                    percentOf(done, total), done, total);
        std::fflush(stdout);
    }
}
