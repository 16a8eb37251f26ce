#include "text_lines.h"

#include <QFileInfo>

#include "log.h"

bool openForLines(QFile& file, QIODevice::OpenMode mode) {
    // Opening or reading a pipe would wait for its other end.
    return QFileInfo(file.fileName()).isFile() && file.open(mode | QIODevice::Text);
}

void forEachLine(QFile& file, const std::function<void(const QString& line)>& each) {
    constexpr int kMostBytes = 1024 * 1024;
    constexpr int kWithEnd = kMostBytes + 1;
    QByteArray buffer(kWithEnd + 1, Qt::Uninitialized);  // readLine() adds a null character
    bool isRest = false;  // whether what comes next belongs to a line that is too long
    bool hasWarned = false;
    for (;;) {
        int size = static_cast<int>(file.readLine(buffer.data(), buffer.size()));
        if (size <= 0) {
            return;
        }
        const bool isEnded = buffer.at(size - 1) == '\n' || file.atEnd();
        while (size > 0 && (buffer.at(size - 1) == '\n' || buffer.at(size - 1) == '\r')) {
            --size;
        }
        const bool isTooLong = isRest || !isEnded || size > kMostBytes;
        isRest = !isEnded;
        if (!isTooLong) {
            each(QString::fromUtf8(buffer.constData(), size));
        } else if (!hasWarned) {
            hasWarned = true;
            qCWarning(lcMonitor) << "a line above 1 MiB is left out of" << file.fileName();
        }
    }
}
