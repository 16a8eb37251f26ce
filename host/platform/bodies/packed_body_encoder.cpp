#include <QDateTime>
#include <QStringList>
#include <cstring>
#include <limits>

#include "flat_row.h"
#include "packed_body_tags.h"
#include "packed_body_wire.h"

namespace {

using namespace WireTag;

/// A growing array of bytes. Qt's own CBOR writer goes through a device for every item, which takes
/// longer than the rest of the work.
class ByteSink {
public:
    explicit ByteSink(int expected) : m_bytes(expected, Qt::Uninitialized) {}

    void head(Major major, quint64 value) {
        const auto first = static_cast<uchar>(major << 5);
        if (value < kOneByte) {
            add(static_cast<uchar>(first | value));
        } else if (value <= 0xff) {
            add(first | kOneByte, value, 1);
        } else if (value <= 0xffff) {
            add(first | kTwoBytes, value, 2);
        } else if (value <= 0xffffffff) {
            add(first | kFourBytes, value, 4);
        } else {
            add(first | kEightBytes, value, 8);
        }
    }
    void simple(int which) { add(static_cast<uchar>(Simple << 5 | which)); }
    void add(int first, quint64 value, int width) {
        reserve(1 + width);
        char* to = m_bytes.data() + m_used;
        *to = static_cast<char>(first);
        for (int i = width; i > 0; --i) {
            to[i] = static_cast<char>(value & 0xff);
            value >>= 8;
        }
        m_used += 1 + width;
    }
    void raw(const char* data, int size) {
        reserve(size);
        std::memcpy(m_bytes.data() + m_used, data, static_cast<size_t>(size));
        m_used += size;
    }
    /// Appends a text of ASCII characters; returns false, with nothing appended, for any other one.
    bool ascii(const QChar* text, int size) {
        reserve(size);
        char* const to = m_bytes.data() + m_used;
        int i = 0;
        for (; i + kUnitsAtOnce <= size; i += kUnitsAtOnce) {
            quint64 units = 0;
            std::memcpy(&units, text + i, sizeof units);
            if (units & kBeyondAscii) {
                return false;
            }
            // Moves the low bytes of the four units together; right for either byte order.
            units = (units | units >> 8) & 0x0000ffff0000ffff;
            units |= units >> 16;
            const auto packed = static_cast<quint32>(units);
            std::memcpy(to + i, &packed, sizeof packed);
        }
        for (; i < size; ++i) {
            const ushort unit = text[i].unicode();
            if (unit >= 0x80) {
                return false;
            }
            to[i] = static_cast<char>(unit);
        }
        m_used += size;
        return true;
    }
    /// Takes back what was appended since the size was `size`.
    void shrink(int size) { m_used = size; }
    int size() const { return m_used; }
    QByteArray take() {
        m_bytes.resize(m_used);
        return m_bytes;
    }

private:
    static constexpr int kUnitsAtOnce = 4;
    static constexpr quint64 kBeyondAscii = 0xff80ff80ff80ff80;

    void add(uchar byte) {
        reserve(1);
        m_bytes.data()[m_used++] = static_cast<char>(byte);
    }
    void reserve(int more) {
        if (m_used + more > m_bytes.size()) {
            m_bytes.resize(m_bytes.size() * 2 + more);
        }
    }

    QByteArray m_bytes;
    int m_used = 0;
};

class Encoder {
public:
    /// Why the body has no wire form; empty on success.
    QString body(const QVariant& value);
    QByteArray take() { return m_sink.take(); }

private:
    static constexpr int kExpectedSize = 4096;

    bool value(const QVariant& value, int depth);
    bool text(const QString& text);
    bool bytes(Major major, const QByteArray& bytes);
    bool number(qint64 value);
    bool list(const QVariantList& list, int depth);
    bool map(const QVariantMap& map, int depth);
    template <class Each>
    bool row(int fields, const Each& each);
    bool row(const QVariantMap& row);
    bool row(const FlatRow& row);
    bool stringList(const QStringList& list);
    bool date(const QDate& date);
    bool time(const QTime& time);
    bool dateTime(const QDateTime& dateTime);
    bool day(const QDate& date);
    bool fail(const QString& why);
    bool enter(int depth, int values);

    const PackedBodyWire::Limits m_limits{};
    ByteSink m_sink{kExpectedSize};
    int m_values = 0;
    QString m_error;
};

template <class Type>
const Type& held(const QVariant& value) {
    return *static_cast<const Type*>(value.constData());
}

bool Encoder::fail(const QString& why) {
    if (m_error.isEmpty()) {
        m_error = why;
    }
    return false;
}

/// Checks the limits before `count` values at a depth are written.
bool Encoder::enter(int depth, int values) {
    if (depth >= m_limits.depth) {
        return fail(QStringLiteral("nested too deep"));
    }
    if (values > m_limits.values - m_values) {
        return fail(QStringLiteral("more than %1 values").arg(m_limits.values));
    }
    m_values += values;
    return true;
}

bool Encoder::bytes(Major major, const QByteArray& bytes) {
    if (bytes.size() > m_limits.bytes - m_sink.size()) {
        return fail(QStringLiteral("more than %1 bytes").arg(m_limits.bytes));
    }
    m_sink.head(major, static_cast<quint64>(bytes.size()));
    m_sink.raw(bytes.constData(), bytes.size());
    return true;
}

bool Encoder::text(const QString& text) {
    // Nearly all texts are ASCII and are written without an intermediate byte array.
    const int before = m_sink.size();
    if (text.size() <= m_limits.bytes - before) {
        m_sink.head(Text, static_cast<quint64>(text.size()));
        if (m_sink.ascii(text.constData(), text.size())) {
            return true;
        }
        m_sink.shrink(before);
    }
    return bytes(Text, text.toUtf8());
}

bool Encoder::number(qint64 value) {
    if (value < 0) {
        m_sink.head(Negative, static_cast<quint64>(-1 - value));
    } else {
        m_sink.head(Unsigned, static_cast<quint64>(value));
    }
    return true;
}

bool Encoder::list(const QVariantList& list, int depth) {
    if (!enter(depth, list.size())) {
        return false;
    }
    m_sink.head(Array, static_cast<quint64>(list.size()));
    for (const QVariant& element : list) {
        if (!value(element, depth + 1)) {
            return false;
        }
    }
    return true;
}

bool Encoder::map(const QVariantMap& map, int depth) {
    if (!enter(depth, map.size())) {
        return false;
    }
    m_sink.head(Map, static_cast<quint64>(map.size()));
    for (auto it = map.cbegin(); it != map.cend(); ++it) {
        if (!text(it.key()) || !value(*it, depth + 1)) {
            return false;
        }
    }
    return true;
}

/// `each` calls its argument with each key and value of the row, and returns at the first false.
template <class Each>
bool Encoder::row(int fields, const Each& each) {
    if (!enter(0, fields + 1)) {
        return false;
    }
    m_sink.head(Map, static_cast<quint64>(fields));
    return each([this](const QString& key, const QVariant& field) {
        if (text(key) && value(field, 0)) {
            return true;
        }
        m_error = QStringLiteral("field \"%1\": ").arg(key) + m_error;
        return false;
    });
}

bool Encoder::row(const QVariantMap& row) {
    return this->row(row.size(), [&row](const auto& field) {
        for (auto it = row.cbegin(); it != row.cend(); ++it) {
            if (!field(it.key(), *it)) {
                return false;
            }
        }
        return true;
    });
}

bool Encoder::row(const FlatRow& row) {
    return this->row(row.size(), [&row](const auto& field) { return row.forEach(field); });
}

bool Encoder::stringList(const QStringList& list) {
    if (!enter(0, list.size())) {
        return false;
    }
    m_sink.head(Tag, kStringList);
    m_sink.head(Array, static_cast<quint64>(list.size()));
    for (const QString& element : list) {
        if (!text(element)) {
            return false;
        }
    }
    return true;
}

bool Encoder::day(const QDate& date) {
    const qint64 julianDay = date.toJulianDay();
    if (julianDay < 0 || julianDay > kLastJulianDay) {
        return fail(QStringLiteral("a date out of range"));
    }
    return number(julianDay);
}

bool Encoder::date(const QDate& date) {
    m_sink.head(Tag, kDate);
    if (!date.isValid()) {
        m_sink.simple(kNull);
        return true;
    }
    return day(date);
}

bool Encoder::time(const QTime& time) {
    m_sink.head(Tag, kTime);
    if (!time.isValid()) {
        m_sink.simple(kNull);
        return true;
    }
    return number(time.msecsSinceStartOfDay());
}

bool Encoder::dateTime(const QDateTime& dateTime) {
    m_sink.head(Tag, kDateTime);
    if (!dateTime.isValid()) {
        m_sink.simple(kNull);
        return true;
    }
    const bool isLocal = dateTime.timeSpec() == Qt::LocalTime;
    m_sink.head(Array, isLocal ? 2 : 3);
    if (!day(dateTime.date())) {
        return false;
    }
    number(dateTime.time().msecsSinceStartOfDay());
    if (dateTime.timeSpec() == Qt::UTC) {
        m_sink.simple(kNull);
    } else if (!isLocal) {
        number(dateTime.offsetFromUtc());
    }
    return true;
}

bool Encoder::value(const QVariant& value, int depth) {
    switch (value.userType()) {
        case QMetaType::UnknownType:
        case QMetaType::Nullptr:
            m_sink.simple(kNull);
            return true;
        case QMetaType::Bool:
            m_sink.simple(held<bool>(value) ? kTrue : kFalse);
            return true;
        case QMetaType::Int:
        case QMetaType::Short:
        case QMetaType::UShort:
        case QMetaType::Char:
        case QMetaType::SChar:
        case QMetaType::UChar:
            return number(value.toInt());
        case QMetaType::UInt:
            m_sink.head(Tag, kUInt);
            return number(held<uint>(value));
        case QMetaType::LongLong:
        case QMetaType::Long: {
            const qint64 whole = value.toLongLong();
            if (whole >= std::numeric_limits<int>::min() &&
                whole <= std::numeric_limits<int>::max()) {
                m_sink.head(Tag, kLongLong);
            }
            return number(whole);
        }
        case QMetaType::ULongLong:
        case QMetaType::ULong: {
            const quint64 whole = value.toULongLong();
            if (whole <= static_cast<quint64>(std::numeric_limits<qint64>::max())) {
                m_sink.head(Tag, kULongLong);
            }
            m_sink.head(Unsigned, whole);
            return true;
        }
        case QMetaType::Double: {
            quint64 bits = 0;
            std::memcpy(&bits, value.constData(), sizeof bits);
            m_sink.add(Simple << 5 | kDouble, bits, 8);
            return true;
        }
        case QMetaType::Float: {
            quint32 bits = 0;
            std::memcpy(&bits, value.constData(), sizeof bits);
            m_sink.add(Simple << 5 | kFloat, bits, 4);
            return true;
        }
        case QMetaType::QString:
            return text(held<QString>(value));
        case QMetaType::QByteArray:
            return bytes(Bytes, held<QByteArray>(value));
        case QMetaType::QDate:
            return date(held<QDate>(value));
        case QMetaType::QTime:
            return time(held<QTime>(value));
        case QMetaType::QDateTime:
            return dateTime(held<QDateTime>(value));
        case QMetaType::QStringList:
            return stringList(held<QStringList>(value));
        case QMetaType::QVariantList:
            return list(held<QVariantList>(value), depth);
        case QMetaType::QVariantMap:
            return map(held<QVariantMap>(value), depth);
        default:
            return fail(QStringLiteral("a value of the type %1 has no wire form")
                            .arg(QLatin1String(value.typeName())));
    }
}

QString Encoder::body(const QVariant& value) {
    if (value.userType() != QMetaType::QVariantList || held<QVariantList>(value).isEmpty()) {
        return QStringLiteral("not a packed body: not a list of rows");
    }
    const auto& rows = held<QVariantList>(value);
    m_sink.head(Array, static_cast<quint64>(rows.size()));
    for (int i = 0; i < rows.size(); ++i) {
        if (rows.size() > FlatRow::kTogether && i % FlatRow::kTogether == 0) {
            FlatRow::fetch(rows, i);
        }
        const int type = rows.at(i).userType();
        if (type != QMetaType::QVariantMap && type != flatRowType()) {
            return QStringLiteral("not a packed body: row %1 is not a record").arg(i);
        }
        if (!(type == QMetaType::QVariantMap ? row(held<QVariantMap>(rows.at(i)))
                                             : row(flatRowIn(rows.at(i))))) {
            return QStringLiteral("row %1, ").arg(i) + m_error;
        }
    }
    if (m_sink.size() > m_limits.bytes) {
        return QStringLiteral("more than %1 bytes").arg(m_limits.bytes);
    }
    return {};
}

}  // namespace

bool PackedBodyWire::encode(const QVariant& body, QByteArray* bytes, QString* error) {
    Encoder encoder;
    const QString why = encoder.body(body);
    *bytes = why.isEmpty() ? encoder.take() : QByteArray();
    if (error) {
        *error = why;
    }
    return why.isEmpty();
}
