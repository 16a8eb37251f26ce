#include <QDateTime>
#include <QStringList>
#include <QVector>
#include <algorithm>
#include <cstring>
#include <limits>

#include "packed_body_tags.h"
#include "packed_body_wire.h"
#include "utf8_text.h"

namespace {

using namespace WireTag;

/// The first bytes of a CBOR item.
struct Head {
    int major = 0;
    int info = 0;
    quint64 value = 0;
};

class Decoder {
public:
    Decoder(const QByteArray& bytes, const PackedBodyWire::Limits& limits)
        : m_begin(reinterpret_cast<const uchar*>(bytes.constData())),
          m_at(m_begin),
          m_end(m_begin + bytes.size()),
          m_limits(limits),
          m_valuesLeft(limits.values) {}

    bool readBody(QVariantList* rows);
    QString error() const { return m_error; }

private:
    /// No more memory than for this many elements is reserved for a length that may be false.
    static constexpr int kReserved = 1024;

    bool readHead(Head* head);
    bool readRow(QVariantMap* row);
    bool readValue(QVariant* value, int depth);
    bool readText(const Head& head, QString* text);
    bool readBytes(const Head& head, QVariant* value);
    bool readList(const Head& head, QVariant* value, int depth);
    bool readMap(const Head& head, QVariant* value, int depth);
    bool readTagged(quint64 tag, QVariant* value);
    bool readStringList(const Head& head, QVariant* value);
    bool readDateTime(const Head& head, QVariant* value);
    bool readUnsigned(const Head& head, QVariant* value);
    bool readNegative(const Head& head, QVariant* value);
    bool readSimple(const Head& head, QVariant* value);
    bool readWhole(qint64 from, qint64 to, qint64* number);
    bool wholeOf(const Head& head, qint64 from, qint64 to, qint64* number);
    bool enter(const Head& head, int depth);
    bool insert(QVariantMap* map, const QString& key, const QVariant& value);
    bool fail(const char* why);
    quint64 left() const { return static_cast<quint64>(m_end - m_at); }

    const uchar* const m_begin;
    const uchar* m_at;
    const uchar* const m_end;
    const PackedBodyWire::Limits m_limits;
    qint64 m_valuesLeft;
    QString m_error;

    /// Rows of a body mostly have the same keys. A key that is equal to the one at the same place
    /// in the row before shares its text.
    struct Key {
        const uchar* data = nullptr;
        quint64 size = 0;
        QString text;
    };
    QVector<Key> m_keys;
};

bool Decoder::fail(const char* why) {
    if (m_error.isEmpty()) {
        m_error = QStringLiteral("byte %1: %2").arg(m_at - m_begin).arg(QLatin1String(why));
    }
    return false;
}

bool Decoder::readHead(Head* head) {
    if (m_at == m_end) {
        return fail("ends too early");
    }
    head->major = *m_at >> 5;
    head->info = *m_at & 0x1f;
    ++m_at;
    if (head->info < kOneByte) {
        head->value = static_cast<quint64>(head->info);
        return true;
    }
    if (head->info > kEightBytes) {
        return fail("a length that is not stated beforehand");
    }
    const int width = 1 << (head->info - kOneByte);
    if (left() < static_cast<quint64>(width)) {
        return fail("ends too early");
    }
    head->value = 0;
    for (int i = 0; i < width; ++i) {
        head->value = head->value << 8 | *m_at++;
    }
    return true;
}

/// Checks a stated number of elements: each takes a byte at least, so there cannot be more of them
/// than bytes are left.
bool Decoder::enter(const Head& head, int depth) {
    if (depth >= m_limits.depth) {
        return fail("nested too deep");
    }
    const quint64 smallest = head.major == Map ? 2 : 1;
    if (head.value > left() / smallest) {
        return fail("ends too early");
    }
    if (head.value > static_cast<quint64>(m_valuesLeft)) {
        return fail("too many values");
    }
    m_valuesLeft -= static_cast<qint64>(head.value);
    return true;
}

bool Decoder::readText(const Head& head, QString* text) {
    if (head.major != Text) {
        return fail("not a text where one is required");
    }
    if (head.value > left()) {
        return fail("ends too early");
    }
    if (!textOfUtf8(m_at, static_cast<int>(head.value), text)) {
        return fail("a text that is not UTF-8");
    }
    m_at += head.value;
    return true;
}

bool Decoder::readBytes(const Head& head, QVariant* value) {
    if (head.value > left()) {
        return fail("ends too early");
    }
    *value = QByteArray(reinterpret_cast<const char*>(m_at), static_cast<int>(head.value));
    m_at += head.value;
    return true;
}

bool Decoder::insert(QVariantMap* map, const QString& key, const QVariant& value) {
    const int before = map->size();
    // Our own writer sorts the keys.
    map->insert(map->cend(), key, value);
    return map->size() > before || fail("a key that occurs twice");
}

bool Decoder::readList(const Head& head, QVariant* value, int depth) {
    if (!enter(head, depth)) {
        return false;
    }
    QVariantList list;
    list.reserve(static_cast<int>(std::min<quint64>(head.value, kReserved)));
    for (quint64 i = 0; i < head.value; ++i) {
        QVariant element;
        if (!readValue(&element, depth + 1)) {
            return false;
        }
        list.append(element);
    }
    *value = list;
    return true;
}

bool Decoder::readMap(const Head& head, QVariant* value, int depth) {
    if (!enter(head, depth)) {
        return false;
    }
    QVariantMap map;
    for (quint64 i = 0; i < head.value; ++i) {
        Head keyHead;
        QString key;
        QVariant element;
        if (!readHead(&keyHead) || !readText(keyHead, &key) || !readValue(&element, depth + 1) ||
            !insert(&map, key, element)) {
            return false;
        }
    }
    *value = map;
    return true;
}

bool Decoder::readRow(QVariantMap* row) {
    Head rowHead;
    if (!readHead(&rowHead)) {
        return false;
    }
    if (rowHead.major != Map) {
        return fail("a row that is not a map");
    }
    if (!enter(rowHead, 0)) {
        return false;
    }
    for (quint64 i = 0; i < rowHead.value; ++i) {
        Head keyHead;
        if (!readHead(&keyHead)) {
            return false;
        }
        const int place = static_cast<int>(i);
        if (place == m_keys.size()) {
            m_keys.append(Key());
        }
        const Key& before = m_keys.at(place);
        if (keyHead.major == Text && before.data && keyHead.value == before.size &&
            before.size <= left() && std::memcmp(before.data, m_at, before.size) == 0) {
            m_at += before.size;
        } else {
            const uchar* const begin = m_at;
            QString key;
            if (!readText(keyHead, &key)) {
                return false;
            }
            m_keys[place] = {begin, keyHead.value, key};
        }
        QVariant element;
        if (!readValue(&element, 0) || !insert(row, m_keys.at(place).text, element)) {
            return false;
        }
    }
    return true;
}

/// Reads an item that must be a whole number of the range.
bool Decoder::readWhole(qint64 from, qint64 to, qint64* number) {
    Head numberHead;
    return readHead(&numberHead) && wholeOf(numberHead, from, to, number);
}

bool Decoder::wholeOf(const Head& head, qint64 from, qint64 to, qint64* number) {
    if (head.major != Unsigned && head.major != Negative) {
        return fail("not a number where one is required");
    }
    if (head.value > static_cast<quint64>(std::numeric_limits<qint64>::max())) {
        return fail("a number out of range");
    }
    const auto value = static_cast<qint64>(head.value);
    *number = head.major == Negative ? -1 - value : value;
    return (*number >= from && *number <= to) || fail("a number out of range");
}

bool Decoder::readUnsigned(const Head& head, QVariant* value) {
    if (head.value <= static_cast<quint64>(std::numeric_limits<int>::max())) {
        *value = static_cast<int>(head.value);
    } else if (head.value <= static_cast<quint64>(std::numeric_limits<qint64>::max())) {
        *value = static_cast<qint64>(head.value);
    } else {
        *value = head.value;
    }
    return true;
}

bool Decoder::readNegative(const Head& head, QVariant* value) {
    qint64 number = 0;
    if (!wholeOf(head, std::numeric_limits<qint64>::min(), -1, &number)) {
        return false;
    }
    if (number >= std::numeric_limits<int>::min()) {
        *value = static_cast<int>(number);
    } else {
        *value = number;
    }
    return true;
}

bool Decoder::readSimple(const Head& head, QVariant* value) {
    switch (head.info) {
        case kFalse:
        case kTrue:
            *value = head.info == kTrue;
            return true;
        case kNull:
            *value = QVariant();
            return true;
        case kFloat: {
            const auto bits = static_cast<quint32>(head.value);
            float number = 0;
            std::memcpy(&number, &bits, sizeof number);
            *value = QVariant::fromValue(number);
            return true;
        }
        case kDouble: {
            double number = 0;
            std::memcpy(&number, &head.value, sizeof number);
            *value = number;
            return true;
        }
        default:
            return fail("a simple value of an unknown kind");
    }
}

bool Decoder::readStringList(const Head& head, QVariant* value) {
    if (head.major != Array) {
        return fail("a list of texts that is not an array");
    }
    if (!enter(head, 0)) {
        return false;
    }
    QStringList list;
    list.reserve(static_cast<int>(std::min<quint64>(head.value, kReserved)));
    for (quint64 i = 0; i < head.value; ++i) {
        Head textHead;
        QString element;
        if (!readHead(&textHead) || !readText(textHead, &element)) {
            return false;
        }
        list.append(element);
    }
    *value = list;
    return true;
}

bool Decoder::readDateTime(const Head& head, QVariant* value) {
    if (head.major != Array || head.value < 2 || head.value > 3) {
        return fail("a date and time of an unknown form");
    }
    qint64 day = 0;
    qint64 milliseconds = 0;
    if (!readWhole(0, kLastJulianDay, &day) ||
        !readWhole(0, kMillisecondsOfDay - 1, &milliseconds)) {
        return false;
    }
    const QDate date = QDate::fromJulianDay(day);
    const QTime time = QTime::fromMSecsSinceStartOfDay(static_cast<int>(milliseconds));
    if (head.value == 2) {
        *value = QDateTime(date, time);
        return true;
    }
    Head zone;
    qint64 offset = 0;
    if (!readHead(&zone)) {
        return false;
    }
    if (zone.major == Simple && zone.info == kNull) {
        *value = QDateTime(date, time, Qt::UTC);
        return true;
    }
    if (!wholeOf(zone, -kSecondsOfDay, kSecondsOfDay, &offset)) {
        return false;
    }
    *value = QDateTime(date, time, Qt::OffsetFromUTC, static_cast<int>(offset));
    return true;
}

bool Decoder::readTagged(quint64 tag, QVariant* value) {
    Head content;
    if (!readHead(&content)) {
        return false;
    }
    const bool isNull = content.major == Simple && content.info == kNull;
    if (isNull && (tag == kDate || tag == kTime || tag == kDateTime)) {
        *value = nothingOf(tag);
        return true;
    }
    if (tag == kDateTime) {
        return readDateTime(content, value);
    }
    if (tag == kStringList) {
        return readStringList(content, value);
    }
    qint64 from = 0;
    qint64 to = 0;
    qint64 number = 0;
    if (!rangeOf(tag, &from, &to)) {
        return fail("an unknown tag");
    }
    if (!wholeOf(content, from, to, &number)) {
        return false;
    }
    *value = numberOf(tag, number);
    return true;
}

bool Decoder::readValue(QVariant* value, int depth) {
    Head first;
    if (!readHead(&first)) {
        return false;
    }
    switch (first.major) {
        case Unsigned:
            return readUnsigned(first, value);
        case Negative:
            return readNegative(first, value);
        case Bytes:
            return readBytes(first, value);
        case Text: {
            QString text;
            if (!readText(first, &text)) {
                return false;
            }
            *value = text;
            return true;
        }
        case Array:
            return readList(first, value, depth);
        case Map:
            return readMap(first, value, depth);
        case Tag:
            return readTagged(first.value, value);
        default:
            return readSimple(first, value);
    }
}

bool Decoder::readBody(QVariantList* rows) {
    Head first;
    if (!readHead(&first)) {
        return false;
    }
    if (first.major != Array || first.value == 0) {
        return fail("not a packed body: not an array of rows");
    }
    if (!enter(first, 0)) {
        return false;
    }
    rows->reserve(static_cast<int>(std::min<quint64>(first.value, kReserved)));
    for (quint64 i = 0; i < first.value; ++i) {
        QVariantMap one;
        if (!readRow(&one)) {
            m_error = QStringLiteral("row %1, ").arg(i) + m_error;
            return false;
        }
        rows->append(QVariant(one));
    }
    return m_at == m_end || fail("bytes after the end of the body");
}

}  // namespace

bool PackedBodyWire::decode(const QByteArray& bytes, QVariant* body, QString* error,
                            const Limits& limits) {
    *body = QVariant();
    QString why;
    QVariantList rows;
    if (bytes.size() > limits.bytes) {
        why = QStringLiteral("%1 bytes, %2 are allowed").arg(bytes.size()).arg(limits.bytes);
    } else {
        Decoder decoder(bytes, limits);
        if (decoder.readBody(&rows)) {
            *body = rows;
        } else {
            why = decoder.error();
        }
    }
    if (error) {
        *error = why;
    }
    return why.isEmpty();
}
