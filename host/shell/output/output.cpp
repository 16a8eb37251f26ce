#include "output.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <cerrno>
#include <cstring>

#include "text_table.h"

namespace {

int s_writeError = 0;  // the first one of stdout; only the main thread prints

bool isLayout(QChar letter) {
    return letter == QLatin1Char('\n') || letter == QLatin1Char('\t');
}

void noteFailure(std::FILE* stream, bool failed) {
    if (failed && stream == stdout && s_writeError == 0) {
        s_writeError = errno;
    }
}

bool write(std::FILE* stream, const QByteArray& bytes) {
    const auto size = static_cast<std::size_t>(bytes.size());
    const bool isWritten =
        std::fwrite(bytes.constData(), 1, size, stream) == size && std::fflush(stream) == 0;
    noteFailure(stream, !isWritten);
    return isWritten;
}

}  // namespace

QString printable(const QString& text) {
    QString shown = text;
    for (QChar& letter : shown) {
        if (isTerminalControl(letter) && !isLayout(letter)) {
            letter = QChar::ReplacementCharacter;
        }
    }
    return shown;
}

bool printTo(std::FILE* stream, const QString& text) {
    return write(stream, (printable(text) + QLatin1Char('\n')).toUtf8());
}

void printError(const QString& text) {
    printTo(stderr, QStringLiteral("velmar-client: ") + harmlessText(text));
}

bool writeOut(const QByteArray& bytes) {
    return write(stdout, bytes);
}

QString escapedJson(const QString& text) {
    QString shown;
    shown.reserve(text.size());
    for (const QChar letter : text) {
        if (isTerminalControl(letter) && !isLayout(letter)) {
            shown += QStringLiteral("\\u%1").arg(letter.unicode(), 4, 16, QLatin1Char('0'));
        } else {
            shown += letter;
        }
    }
    return shown;
}

void printJson(const QJsonValue& value, QJsonDocument::JsonFormat format) {
    const QJsonDocument document =
        value.isArray() ? QJsonDocument(value.toArray()) : QJsonDocument(value.toObject());
    QString shown = escapedJson(QString::fromUtf8(document.toJson(format)));
    if (format == QJsonDocument::Compact) {
        shown += QLatin1Char('\n');
    }
    write(stdout, shown.toUtf8());
}

bool outputWritten() {
    noteFailure(stdout, std::fflush(stdout) != 0 || std::ferror(stdout) != 0);
    if (s_writeError != 0) {
        printError(QStringLiteral("the output could not be written: %1")
                       .arg(QString::fromLocal8Bit(std::strerror(s_writeError))));
    }
    return s_writeError == 0;
}
