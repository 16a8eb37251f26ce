#include "record_file.h"

#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTextCodec>

namespace {

constexpr qint64 kMostBytes = 64 * 1024 * 1024;

struct Line {
    int number = 0;
    QByteArray bytes;
};

/// The lines without their ends, from 1.
QVector<Line> linesOf(QByteArray bytes) {
    if (bytes.startsWith("\xEF\xBB\xBF")) {
        bytes.remove(0, 3);
    }
    QVector<Line> lines;
    int number = 0;
    const QList<QByteArray> parts = bytes.split('\n');
    for (const QByteArray& part : parts) {
        lines.append({++number, part.endsWith('\r') ? part.chopped(1) : part});
    }
    return lines;
}

/// The column of a byte: the characters before it, counted from 1.
int columnOf(const QByteArray& line, int byte) {
    int column = 1;
    for (int i = 0; i < byte && i < line.size(); ++i) {
        // Bytes that continue a character do not begin one.
        column += (static_cast<uchar>(line.at(i)) & 0xC0) == 0x80 ? 0 : 1;
    }
    return column;
}

bool isUtf8(const QByteArray& bytes) {
    QTextCodec::ConverterState state(QTextCodec::IgnoreHeader);
    QTextCodec::codecForName("UTF-8")->toUnicode(bytes.constData(), bytes.size(), &state);
    return state.invalidChars == 0 && state.remainingChars == 0;
}

/// The column of the first character that is not UTF-8; 0 when all of them are.
int columnOfBadByte(const QByteArray& line) {
    if (isUtf8(line)) {
        return 0;
    }
    int good = 0;
    while (good < line.size()) {
        const uchar first = static_cast<uchar>(line.at(good));
        int size = 1;
        if (first >= 0xF0) {
            size = 4;
        } else if (first >= 0xE0) {
            size = 3;
        } else if (first >= 0xC0) {
            size = 2;
        }
        if (good + size > line.size() || !isUtf8(line.mid(good, size))) {
            break;
        }
        good += size;
    }
    return columnOf(line, good);
}

/// Reads the records of one format, line by line.
class RecordReader {
public:
    virtual ~RecordReader() = default;

    RecordFile read(const QVector<Line>& lines) {
        for (const Line& line : lines) {
            m_line = line.number;
            if (line.bytes.trimmed().isEmpty()) {
                continue;
            }
            if (const int column = columnOfBadByte(line.bytes)) {
                addFault(column, QStringLiteral("not UTF-8"));
                takeBadLine();
                continue;
            }
            take(line.bytes);
        }
        return m_file;
    }

protected:
    virtual void take(const QByteArray& line) = 0;
    virtual void takeBadLine() {}

    void addRecord(const QVariantMap& fields) { m_file.records.append({m_line, fields}); }
    void addFault(int column, const QString& text) { m_file.faults.append({m_line, column, text}); }

private:
    RecordFile m_file;
    int m_line = 0;
};

class JsonReader final : public RecordReader {
protected:
    void take(const QByteArray& line) override {
        int begin = 0;
        while (line.at(begin) == ' ' || line.at(begin) == '\t') {
            ++begin;
        }
        if (line.at(begin) != '{') {
            addFault(columnOf(line, begin), QStringLiteral("not a JSON object"));
            return;
        }
        QJsonParseError error;
        const QJsonDocument document = QJsonDocument::fromJson(line, &error);
        if (error.error != QJsonParseError::NoError) {
            addFault(columnOf(line, qBound(0, error.offset, line.size())),
                     QStringLiteral("not JSON (%1)").arg(error.errorString()));
            return;
        }
        QVariantMap fields;
        const QJsonObject object = document.object();
        for (auto it = object.constBegin(); it != object.constEnd(); ++it) {
            if (it->isArray() || it->isObject()) {
                // A name in escapes is not found; its line is named all the same.
                const int at = line.indexOf('"' + it.key().toUtf8() + '"');
                addFault(columnOf(line, qMax(0, at)),
                         QStringLiteral("field '%1' is a list or an object").arg(it.key()));
                return;
            }
            if (!it->isNull()) {
                fields.insert(it.key(), it->toVariant());
            }
        }
        addRecord(fields);
    }
};

struct Cell {
    int column = 0;
    QString text;
    bool isQuoted = false;
};

class CsvReader final : public RecordReader {
protected:
    void take(const QByteArray& line) override {
        QVector<Cell> cells;
        const int carriageReturn = line.indexOf('\r');
        if (carriageReturn >= 0) {
            addFault(columnOf(line, carriageReturn),
                     QStringLiteral("a CR without LF; lines end in LF or CRLF"));
            takeBadLine();
        } else if (!split(QString::fromUtf8(line), &cells)) {
            takeBadLine();
        } else if (!m_hasNames) {
            takeNames(cells);
        } else if (!m_names.isEmpty()) {
            takeCells(cells);
        }
    }

    /// Without the names, no later line can be read.
    void takeBadLine() override {
        if (!m_hasNames) {
            m_hasNames = true;
            m_names.clear();
        }
    }

private:
    bool split(const QString& line, QVector<Cell>* cells) {
        int at = 0;
        for (;;) {
            Cell cell;
            cell.column = columnOfLetter(line, at);
            const bool isRead = at < line.size() && line.at(at) == QLatin1Char('"')
                                    ? quoted(line, &at, &cell)
                                    : plain(line, &at, &cell);
            if (!isRead) {
                return false;
            }
            cells->append(cell);
            if (at >= line.size()) {
                return true;
            }
            ++at;  // the comma
        }
    }

    bool plain(const QString& line, int* at, Cell* cell) {
        const int begin = *at;
        while (*at < line.size() && line.at(*at) != QLatin1Char(',')) {
            if (line.at(*at) == QLatin1Char('"')) {
                addFault(columnOfLetter(line, *at),
                         QStringLiteral("a quote inside a cell that does not begin with one"));
                return false;
            }
            ++*at;
        }
        cell->text = line.mid(begin, *at - begin).trimmed();
        return true;
    }

    bool quoted(const QString& line, int* at, Cell* cell) {
        cell->isQuoted = true;
        for (++*at; *at < line.size(); ++*at) {
            if (line.at(*at) != QLatin1Char('"')) {
                cell->text += line.at(*at);
                continue;
            }
            ++*at;
            if (*at < line.size() && line.at(*at) == QLatin1Char('"')) {
                cell->text += QLatin1Char('"');
                continue;
            }
            if (*at == line.size() || line.at(*at) == QLatin1Char(',')) {
                return true;
            }
            addFault(columnOfLetter(line, *at), QStringLiteral("a letter behind a closing quote"));
            return false;
        }
        addFault(cell->column, QStringLiteral("a quote without its closing one"));
        return false;
    }

    /// Characters beyond the first plane are two QChars and count once.
    static int columnOfLetter(const QString& line, int at) {
        int column = 1;
        for (int i = 0; i < at; ++i) {
            column += line.at(i).isLowSurrogate() ? 0 : 1;
        }
        return column;
    }

    void takeNames(const QVector<Cell>& cells) {
        m_hasNames = true;
        QVector<QString> names;
        for (const Cell& cell : cells) {
            if (cell.text.isEmpty() || names.contains(cell.text)) {
                addFault(cell.column,
                         cell.text.isEmpty()
                             ? QStringLiteral("a field name is missing")
                             : QStringLiteral("field '%1' is named twice").arg(cell.text));
                return;
            }
            names.append(cell.text);
        }
        m_names = names;
    }

    void takeCells(const QVector<Cell>& cells) {
        if (cells.size() != m_names.size()) {
            const Cell& odd = cells.at(qMin(cells.size() - 1, m_names.size()));
            addFault(odd.column, QStringLiteral("%1 cells for %2 field names")
                                     .arg(cells.size())
                                     .arg(m_names.size()));
            return;
        }
        QVariantMap fields;
        for (int i = 0; i < cells.size(); ++i) {
            if (cells.at(i).isQuoted || !cells.at(i).text.isEmpty()) {
                fields.insert(m_names.at(i), cells.at(i).text);
            }
        }
        addRecord(fields);
    }

    bool m_hasNames = false;
    QVector<QString> m_names;
};

RecordFormat formatOf(const QVector<Line>& lines) {
    for (const Line& line : lines) {
        const QByteArray text = line.bytes.trimmed();
        if (!text.isEmpty()) {
            return text.startsWith('{') ? RecordFormat::JsonLines : RecordFormat::Csv;
        }
    }
    return RecordFormat::JsonLines;
}

}  // namespace

QString RecordFault::toString() const {
    return QStringLiteral("line %1, column %2: %3").arg(line).arg(column).arg(text);
}

RecordFile parseRecords(const QByteArray& bytes, RecordFormat format) {
    const QVector<Line> lines = linesOf(bytes);
    if (format == RecordFormat::ByContent) {
        format = formatOf(lines);
    }
    return format == RecordFormat::Csv ? CsvReader().read(lines) : JsonReader().read(lines);
}

bool readRecordFile(const QString& file, RecordFile* records, QString* error) {
    QFile source(file);
    if (QFileInfo(file).isDir() || !source.open(QFile::ReadOnly)) {
        *error = QStringLiteral("%1 cannot be read: %2")
                     .arg(file, QFileInfo(file).isDir() ? QStringLiteral("it is a folder")
                                                        : source.errorString());
        return false;
    }
    const QByteArray bytes = source.read(kMostBytes + 1);
    if (bytes.size() > kMostBytes) {
        *error = QStringLiteral("%1 has more than 64 MiB").arg(file);
        return false;
    }
    static const QHash<QString, RecordFormat> formats{
        {QStringLiteral("csv"), RecordFormat::Csv},
        {QStringLiteral("json"), RecordFormat::JsonLines},
        {QStringLiteral("jsonl"), RecordFormat::JsonLines},
        {QStringLiteral("ndjson"), RecordFormat::JsonLines}};
    *records = parseRecords(
        bytes, formats.value(QFileInfo(file).suffix().toLower(), RecordFormat::ByContent));
    return true;
}
