#include "record_text.h"

#include <QDateTime>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLocale>
#include <QVariantList>
#include <cmath>
#include <limits>

namespace {

// The parser refuses texts nested deeper than this, so deeper ones must not be written.
constexpr int kDepthLimit = 500;

/// Writes JSON. Qt's own writer converts every number to double and so loses the last digits of
/// long ones.
class Writer {
public:
    void writeMap(const QVariantMap& values, int depth) {
        text += QLatin1Char('{');
        for (auto it = values.cbegin(); it != values.cend(); ++it) {
            if (it != values.cbegin()) {
                text += QLatin1Char(',');
            }
            writeText(it.key());
            text += QLatin1Char(':');
            write(it.value(), depth + 1);
            if (!error.isEmpty()) {
                error = QStringLiteral("%1: %2").arg(it.key(), error);
                return;
            }
        }
        text += QLatin1Char('}');
    }

    QString text;
    QString error;

private:
    void write(const QVariant& value, int depth) {
        if (depth > kDepthLimit) {
            error = QStringLiteral("it is nested too deeply");
            return;
        }
        switch (value.userType()) {
            case QMetaType::UnknownType:
            case QMetaType::Nullptr:
                text += QLatin1String("null");
                return;
            case QMetaType::Bool:
                text += value.toBool() ? QLatin1String("true") : QLatin1String("false");
                return;
            case QMetaType::Char:
            case QMetaType::SChar:
            case QMetaType::UChar:
            case QMetaType::Short:
            case QMetaType::UShort:
            case QMetaType::Int:
            case QMetaType::UInt:
            case QMetaType::Long:
            case QMetaType::LongLong:
                text += QString::number(value.toLongLong());
                return;
            case QMetaType::ULong:
            case QMetaType::ULongLong:
                writeUnsigned(value.toULongLong());
                return;
            case QMetaType::Float:
            case QMetaType::Double:
                writeNumber(value.toDouble());
                return;
            case QMetaType::QChar:
            case QMetaType::QString:
                writeText(value.toString());
                return;
            case QMetaType::QByteArray:
                writeBytes(value.toByteArray());
                return;
            case QMetaType::QDate:
                writeText(value.toDate().toString(Qt::ISODate));
                return;
            case QMetaType::QTime:
                writeText(value.toTime().toString(Qt::ISODateWithMs));
                return;
            case QMetaType::QDateTime:
                writeText(value.toDateTime().toString(Qt::ISODateWithMs));
                return;
            case QMetaType::QStringList:
            case QMetaType::QVariantList:
                writeList(value.toList(), depth);
                return;
            case QMetaType::QVariantMap:
            case QMetaType::QVariantHash:
                writeMap(value.toMap(), depth);
                return;
            default:
                error = QStringLiteral("a value of type %1 has no text form")
                            .arg(QLatin1String(value.typeName()));
        }
    }

    void writeUnsigned(quint64 value) {
        if (value > quint64(std::numeric_limits<qint64>::max())) {
            error = QStringLiteral("%1 does not fit 64 signed bits").arg(value);
        }
        text += QString::number(value);
    }

    void writeNumber(double value) {
        // From here on a double does not hold every whole number, and the short form of those that
        // it does hold would be read as another whole number.
        constexpr double kFirstWithGaps = 9007199254740992.0;
        if (!std::isfinite(value)) {
            error = QStringLiteral("the number is not finite");
        }
        text += QString::number(value, std::abs(value) < kFirstWithGaps ? 'g' : 'e',
                                QLocale::FloatingPointShortest);
    }

    void writeBytes(const QByteArray& value) {
        const QString asText = QString::fromUtf8(value);
        if (asText.toUtf8() != value) {
            error = QStringLiteral("the bytes are not UTF-8");
        }
        writeText(asText);
    }

    void writeList(const QVariantList& values, int depth) {
        text += QLatin1Char('[');
        for (int i = 0; i < values.size() && error.isEmpty(); ++i) {
            if (i > 0) {
                text += QLatin1Char(',');
            }
            write(values.at(i), depth + 1);
        }
        text += QLatin1Char(']');
    }

    void writeText(const QString& value) {
        if (!value.isValidUtf16()) {
            error = QStringLiteral("a text holds half a character");
        }
        text += QLatin1Char('"');
        for (const QChar c : value) {
            const ushort code = c.unicode();
            if (code == '"' || code == '\\') {
                text += QLatin1Char('\\');
                text += c;
            } else if (code < 0x20) {
                text += QStringLiteral("\\u%1").arg(code, 4, 16, QLatin1Char('0'));
            } else {
                text += c;
            }
        }
        text += QLatin1Char('"');
    }
};

/// Converts a JSON value; unlike in Qt's own conversion, null becomes an invalid value.
QVariant fromJson(const QJsonValue& value) {
    if (value.isObject()) {
        QVariantMap map;
        const QJsonObject object = value.toObject();
        for (auto it = object.constBegin(); it != object.constEnd(); ++it) {
            map.insert(it.key(), fromJson(it.value()));
        }
        return map;
    }
    if (value.isArray()) {
        QVariantList list;
        const QJsonArray array = value.toArray();
        for (const QJsonValue element : array) {
            list.append(fromJson(element));
        }
        return list;
    }
    return value.isNull() ? QVariant() : value.toVariant();
}

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

bool startsFraction(char c) {
    return c == '.' || c == 'e' || c == 'E';
}

/// The first whole number of a valid JSON text that does not fit 64 signed bits, which the parser
/// would round.
QByteArray oversizedNumber(const QByteArray& json) {
    bool inText = false;
    for (int i = 0; i < json.size(); ++i) {
        const char c = json.at(i);
        if (inText) {
            i += c == '\\' ? 1 : 0;
            inText = c != '"';
        } else if (c == '"') {
            inText = true;
        } else if (isDigit(c) || c == '-') {
            int end = i + 1;
            while (end < json.size() && isDigit(json.at(end))) {
                ++end;
            }
            const bool whole = end == json.size() || !startsFraction(json.at(end));
            QByteArray number = json.mid(i, end - i);
            bool fits = true;
            number.toLongLong(&fits);
            if (whole && !fits) {
                return number;
            }
            // A fraction and an exponent belong to the number just passed.
            while (end < json.size() && (isDigit(json.at(end)) || startsFraction(json.at(end)) ||
                                         json.at(end) == '+' || json.at(end) == '-')) {
                ++end;
            }
            i = end - 1;
        }
    }
    return QByteArray();
}

}  // namespace

bool RecordText::write(const QVariantMap& record, QString* text, QString* error) {
    Writer writer;
    writer.writeMap(record, 0);
    *error = writer.error;
    *text = error->isEmpty() ? writer.text : QString();
    return error->isEmpty();
}

bool RecordText::read(const QString& text, QVariantMap* record, QString* error) {
    record->clear();
    error->clear();
    if (text.trimmed().isEmpty()) {
        *error = QStringLiteral("the text is empty");
        return false;
    }
    if (!text.isValidUtf16()) {
        *error = QStringLiteral("the text holds half a character");
        return false;
    }
    const QByteArray json = text.toUtf8();
    QJsonParseError fault;
    const QJsonDocument document = QJsonDocument::fromJson(json, &fault);
    if (fault.error != QJsonParseError::NoError) {
        *error = QStringLiteral("the text is not a record: %1 at byte %2")
                     .arg(fault.errorString())
                     .arg(fault.offset);
        return false;
    }
    if (!document.isObject()) {
        *error = QStringLiteral("the text is not a record: it is not an object");
        return false;
    }
    const QByteArray oversized = oversizedNumber(json);
    if (!oversized.isEmpty()) {
        *error = QStringLiteral("the number %1 does not fit 64 signed bits")
                     .arg(QString::fromLatin1(oversized));
        return false;
    }
    *record = fromJson(document.object()).toMap();
    return true;
}
