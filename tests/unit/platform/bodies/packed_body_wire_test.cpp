#include "packed_body_wire.h"
#include "wire_body.h"

#include <QCborArray>
#include <QCborMap>
#include <QCborValue>
#include <QDateTime>
#include <QPoint>
#include <QStringList>
#include <QtTest>
#include <cstring>
#include <limits>
#include <random>

namespace {

using Map = QVariantMap;
using List = QVariantList;

/// Compares types as well as values, and numbers to the last bit.
bool same(const QVariant& one, const QVariant& other) {
    if (one.userType() != other.userType()) {
        return false;
    }
    switch (one.userType()) {
        case QMetaType::Double:
            return std::memcmp(one.constData(), other.constData(), sizeof(double)) == 0;
        case QMetaType::QVariantList: {
            const List left = one.toList();
            const List right = other.toList();
            return left.size() == right.size() &&
                   std::equal(left.cbegin(), left.cend(), right.cbegin(), same);
        }
        case QMetaType::QVariantMap: {
            const Map left = one.toMap();
            const Map right = other.toMap();
            return left.keys() == right.keys() &&
                   std::equal(left.cbegin(), left.cend(), right.cbegin(), same);
        }
        case QMetaType::QDateTime:
            return one == other && one.toDateTime().timeSpec() == other.toDateTime().timeSpec() &&
                   one.toDateTime().offsetFromUtc() == other.toDateTime().offsetFromUtc();
        default:
            return one == other;
    }
}

/// Any value; lists and maps only down to `depth`.
class RandomBody {
public:
    explicit RandomBody(quint32 seed) : m_generator(seed) {}

    QVariant body() {
        List rows;
        for (int i = below(6); i >= 0; --i) {
            rows.append(map(3));
        }
        return rows;
    }

private:
    int below(int bound) { return int(m_generator() % uint(bound)); }
    quint64 bits() {
        // Mostly small, and near the ends of every type.
        const quint64 any = quint64(m_generator()) << 32 | m_generator();
        static const quint64 ends[] = {0,
                                       23,
                                       24,
                                       255,
                                       256,
                                       65535,
                                       65536,
                                       0x7fffffff,
                                       0x80000000,
                                       0xffffffff,
                                       0x100000000,
                                       0x7fffffffffffffff,
                                       0x8000000000000000,
                                       0xffffffffffffffff};
        return below(3) == 0 ? any : ends[below(int(std::size(ends)))] + quint64(below(2));
    }
    QString text() {
        static const uint characters[] = {'a',    'Z',    '0',    0,       0x7f,
                                          0x80,   0x7ff,  0x800,  0x4e2d,  0xd7ff,
                                          0xe000, 0xfeff, 0xffff, 0x10000, 0x10ffff};
        QString made("");
        for (int i = below(8); i > 0; --i) {
            made += QString::fromUcs4(&characters[below(int(std::size(characters)))], 1);
        }
        return made;
    }
    Map map(int depth) {
        Map made;
        for (int i = below(8); i > 0; --i) {
            made.insert(below(2) ? text() : QString("k%1").arg(i), value(depth - 1));
        }
        return made;
    }
    QDate date() { return QDate::fromJulianDay(below(5373485)); }
    QTime time() { return QTime::fromMSecsSinceStartOfDay(below(24 * 3600 * 1000)); }
    QVariant value(int depth) {
        switch (below(depth > 0 ? 16 : 14)) {
            case 0:
                return QVariant();
            case 1:
                return below(2) == 1;
            case 2:
                return int(bits());
            case 3:
                return uint(bits());
            case 4:
                return qint64(bits());
            case 5:
                return bits();
            case 6: {
                const quint64 any = bits();
                double number = 0;
                std::memcpy(&number, &any, sizeof number);
                return number;
            }
            case 7:
                return text();
            case 8:
                return text().toUtf8();
            case 9:
                return date();
            case 10:
                return time();
            case 11:
                return QDateTime(date(), time());
            case 12:
                return below(2)
                           ? QDateTime(date(), time(), Qt::UTC)
                           : QDateTime(date(), time(), Qt::OffsetFromUTC, below(80000) - 40000);
            case 13: {
                QStringList texts;
                for (int i = below(4); i > 0; --i) {
                    texts.append(text());
                }
                return texts;
            }
            case 14: {
                List list;
                for (int i = below(4); i > 0; --i) {
                    list.append(value(depth - 1));
                }
                return list;
            }
            default:
                return map(depth);
        }
    }

    std::mt19937 m_generator;
};

}  // namespace

class PackedBodyWireTest : public QObject {
    Q_OBJECT

private slots:
    void roundTrip_everyType_survives_data();
    void roundTrip_everyType_survives();
    void roundTrip_randomBodies_areTheSame();
    void smallerInts_comeBackAsInt();
    void namedZone_comesBackAsItsOffset();
    void encoded_isPlainCborForOtherReaders();
    void textsOfOtherLanguages_followedByOthers_comeBackWhole_data();
    void textsOfOtherLanguages_followedByOthers_comeBackWhole();
    void keysOfTheRowBefore_areNotConfusedWithOthers();
    void encode_whatHasNoWireForm_isRefusedByName_data();
    void encode_whatHasNoWireForm_isRefusedByName();
    void decode_cutAnywhere_isRefusedWhole();
    void decode_anyByteChanged_neverGivesAPart();
    void decode_foreignButGood_isTaken_data();
    void decode_foreignButGood_isTaken();
};

void PackedBodyWireTest::roundTrip_everyType_survives_data() {
    QTest::addColumn<QVariant>("value");
    const auto add = [](const char* name, const QVariant& value) { QTest::newRow(name) << value; };
    add("nothing", QVariant());
    add("true", true);
    add("false", false);
    for (const qint64 number : {0LL, 23LL, 24LL, 255LL, 256LL, 65536LL, 2147483647LL, -1LL, -24LL,
                                -25LL, -2147483648LL}) {
        QTest::addRow("int %lld", number) << QVariant(int(number));
        QTest::addRow("long %lld", number) << QVariant(number);
        QTest::addRow("unsigned long %lld", number) << QVariant(quint64(number));
        QTest::addRow("unsigned %lld", number) << QVariant(uint(number));
    }
    add("long beyond an int", Q_INT64_C(2147483648));
    add("long below an int", Q_INT64_C(-2147483649));
    add("largest long", std::numeric_limits<qint64>::max());
    add("smallest long", std::numeric_limits<qint64>::min());
    add("unsigned long beyond a long", Q_UINT64_C(9223372036854775808));
    add("price", 10.01);
    add("minus nothing", -0.0);
    add("endless", std::numeric_limits<double>::infinity());
    add("no number", std::numeric_limits<double>::quiet_NaN());
    add("float", QVariant::fromValue(0.1F));
    add("empty text", QString(""));
    add("no text", QString());
    add("text", QStringLiteral("虚岚资产 with a \0 in it"));
    add("text with a byte order mark", QString(QChar(0xfeff)) + QChar(0xfeff) + "x");
    add("number as a text", "0012");
    add("bytes", QByteArray("\0\xff\x80", 3));
    add("no bytes", QByteArray());
    add("date", QDate(2024, 2, 29));
    add("first date", QDate::fromJulianDay(0));
    add("last date", QDate(9999, 12, 31));
    add("no date", QDate());
    add("midnight", QTime(0, 0));
    add("last millisecond", QTime(23, 59, 59, 999));
    add("no time", QTime());
    add("local", QDateTime(QDate(2026, 1, 5), QTime(9, 30, 0, 1)));
    add("utc", QDateTime(QDate(2026, 1, 5), QTime(9, 30), Qt::UTC));
    add("offset", QDateTime(QDate(2026, 1, 5), QTime(9, 30), Qt::OffsetFromUTC, -3 * 3600));
    add("no date and time", QDateTime());
    add("texts", QStringList{"a", "", "b"});
    add("no texts", QStringList());
    add("list", List{1, "two", List(), QVariant(), Map{{"in", true}}});
    add("empty list", List());
    add("map", Map{{"", 1}, {"b", Map{{"c", List{1.5}}}}});
    add("empty map", Map());
}

void PackedBodyWireTest::roundTrip_everyType_survives() {
    QFETCH(QVariant, value);
    const QVariant body = bodyWith(value);
    QVariant read;
    QString error("before");
    const bool decoded = PackedBodyWire::decode(encoded(body), &read, &error);
    QVERIFY2(decoded, qPrintable(error));
    QVERIFY(error.isEmpty());
    const QVariant found = read.toList().at(1).toMap().value("value");
    QCOMPARE(QString(found.typeName()), QString(value.typeName()));
    QVERIFY(same(read, body));
}

void PackedBodyWireTest::roundTrip_randomBodies_areTheSame() {
    for (quint32 seed = 0; seed < 3000; ++seed) {
        const QVariant body = RandomBody(seed).body();
        const QByteArray bytes = encoded(body);
        QVariant read;
        QString error;
        QVERIFY2(PackedBodyWire::decode(bytes, &read, &error),
                 qPrintable(QString("seed %1: %2").arg(seed).arg(error)));
        QVERIFY2(same(read, body), qPrintable(QString("seed %1").arg(seed)));
        QCOMPARE(encoded(read), bytes);
    }
}

void PackedBodyWireTest::smallerInts_comeBackAsInt() {
    QVariant read;
    const List values{QVariant::fromValue(short(-3)), QVariant::fromValue(ushort(65535)),
                      QVariant::fromValue(uchar(200)),
                      QVariant::fromValue(static_cast<signed char>(-100))};
    QVERIFY(PackedBodyWire::decode(encoded(bodyWith(values)), &read, nullptr));
    QVERIFY(same(read, bodyWith(List{-3, 65535, 200, -100})));
}

void PackedBodyWireTest::namedZone_comesBackAsItsOffset() {
    const QDateTime east(QDate(2026, 1, 5), QTime(9, 30), QTimeZone("Asia/Shanghai"));
    if (!east.isValid()) {
        QSKIP("no time zones on this machine");
    }
    QVariant read;
    QVERIFY(PackedBodyWire::decode(encoded(bodyWith(east)), &read, nullptr));
    const QDateTime found = read.toList().at(1).toMap().value("value").toDateTime();
    QCOMPARE(found, east);
    QCOMPARE(found.offsetFromUtc(), 8 * 3600);
    QCOMPARE(found.timeSpec(), Qt::OffsetFromUTC);
}

void PackedBodyWireTest::encoded_isPlainCborForOtherReaders() {
    const Map row{{"a", 5}, {"b", "text"}, {"c", true}, {"d", -7.25}, {"e", List{1, QVariant()}}};
    QCborParserError error;
    const QCborValue read = QCborValue::fromCbor(encoded(List{row, Map{{"x", -1}}}), &error);
    QCOMPARE(error.error.c, QCborError::NoError);
    QVERIFY(read.isArray());
    QCOMPARE(read.toArray().at(0).toMap().value("a").toInteger(), 5);
    QCOMPARE(read.toArray().at(0).toMap().value("b").toString(), QString("text"));
    QVERIFY(read.toArray().at(0).toMap().value("c").isTrue());
    QCOMPARE(read.toArray().at(0).toMap().value("d").toDouble(), -7.25);
    QVERIFY(read.toArray().at(0).toMap().value("e").toArray().at(1).isNull());
    QCOMPARE(read.toArray().at(1).toMap().value("x").toInteger(), -1);
}

void PackedBodyWireTest::textsOfOtherLanguages_followedByOthers_comeBackWhole_data() {
    QTest::addColumn<QString>("text");
    // The length of a text takes one byte, two or three; a text's bytes are three times its units.
    for (const int units : {1, 7, 8, 20, 23, 24, 85, 86, 200, 255, 256, 21845, 21846, 70000}) {
        QTest::addRow("%d chinese", units) << QString(units, u'股');
        QTest::addRow("%d ascii, then chinese", units) << QString(units, u'x') + QChar(u'股');
        QTest::addRow("chinese, then %d ascii", units) << QChar(u'股') + QString(units, u'x');
        QTest::addRow("%d ascii", units) << QString(units, u'x');
    }
    QTest::newRow("last ascii character") << QString(u'\x7f');
    QTest::newRow("first other character") << QString(QChar(0x80));
}

void PackedBodyWireTest::textsOfOtherLanguages_followedByOthers_comeBackWhole() {
    QFETCH(QString, text);
    const List body{Map{{"a", text}, {"b", "after"}, {text, 1}, {"z", QStringList{text, "last"}}},
                    Map{{"c", text}, {"d", 4}}};
    const QByteArray bytes = encoded(body);
    QVariant read;
    QVERIFY(PackedBodyWire::decode(bytes, &read, nullptr));
    QVERIFY(same(read, body));
    QCborParserError error;
    const QCborArray rows = QCborValue::fromCbor(bytes, &error).toArray();
    QCOMPARE(error.error.c, QCborError::NoError);
    QCOMPARE(rows.at(0).toMap().value("a").toString(), text);
    QCOMPARE(rows.at(1).toMap().value("d").toInteger(), 4);
}

void PackedBodyWireTest::keysOfTheRowBefore_areNotConfusedWithOthers() {
    const List body{Map{{"a", 1}, {"bb", 2}, {"c", 3}}, Map{{"ab", 4}, {"bb", 5}, {"d", 6}}, Map(),
                    Map{{"bb", 7}}, Map{{"a", 8}, {"b", 9}, {"bb", 10}, {"c", 11}}};
    QVariant read;
    QVERIFY(PackedBodyWire::decode(encoded(body), &read, nullptr));
    QVERIFY(same(read, body));
}

void PackedBodyWireTest::encode_whatHasNoWireForm_isRefusedByName_data() {
    QTest::addColumn<QVariant>("body");
    QTest::addColumn<QString>("named");
    QVariant deep = 1;
    for (int i = 0; i < 33; ++i) {
        deep = List{deep};
    }
    QTest::newRow("no list") << QVariant(7) << "not a list of rows";
    QTest::newRow("no rows") << QVariant(List()) << "not a list of rows";
    QTest::newRow("row that is a number") << QVariant(List{Map(), 1}) << "row 1 is not a record";
    QTest::newRow("point") << bodyWith(QPoint(1, 2))
                           << "row 1, field \"value\": a value of the type QPoint";
    QTest::newRow("point inside") << bodyWith(List{Map{{"p", QPoint()}}}) << "type QPoint";
    QTest::newRow("deep") << bodyWith(deep) << "nested too deep";
    QTest::newRow("late date") << bodyWith(QDate(10000, 1, 1)) << "a date out of range";
    QTest::newRow("late date and time")
        << bodyWith(QDateTime(QDate(20000, 1, 1), QTime(0, 0), Qt::UTC)) << "a date out of range";
}

void PackedBodyWireTest::encode_whatHasNoWireForm_isRefusedByName() {
    QFETCH(QVariant, body);
    QFETCH(QString, named);
    QByteArray bytes("before");
    QString error;
    QVERIFY(!PackedBodyWire::encode(body, &bytes, &error));
    QVERIFY2(error.contains(named), qPrintable(error));
    QVERIFY(bytes.isEmpty());
}

void PackedBodyWireTest::decode_cutAnywhere_isRefusedWhole() {
    for (quint32 seed = 0; seed < 40; ++seed) {
        const QByteArray whole = encoded(RandomBody(seed).body());
        for (int size = 0; size < whole.size(); ++size) {
            const QString error = refusalOf(whole.left(size));
            QVERIFY2(error.contains("ends too early"), qPrintable(error));
        }
        QVERIFY(refusalOf(whole + '\0').contains("bytes after the end of the body"));
    }
}

void PackedBodyWireTest::decode_anyByteChanged_neverGivesAPart() {
    std::mt19937 generator(1);
    for (quint32 seed = 0; seed < 300; ++seed) {
        const QVariant body = RandomBody(seed).body();
        const QByteArray whole = encoded(body);
        for (int i = 0; i < 50; ++i) {
            QByteArray changed = whole;
            changed[int(generator() % uint(whole.size()))] = char(generator());
            QVariant read("before");
            QString error;
            if (!PackedBodyWire::decode(changed, &read, &error)) {
                QVERIFY(!read.isValid() && !error.isEmpty());
                continue;
            }
            // A result is always a packed body.
            QVariant again;
            const QByteArray bytes = encoded(read);
            QVERIFY(PackedBodyWire::decode(bytes, &again, &error));
            QCOMPARE(encoded(again), bytes);
        }
    }
}

void PackedBodyWireTest::decode_foreignButGood_isTaken_data() {
    QTest::addColumn<QByteArray>("hex");
    QTest::addColumn<QVariant>("value");
    QTest::newRow("number in more bytes than needed")
        << QByteArray("81a161611b0000000000000005") << QVariant(5);
    QTest::newRow("key in more bytes than needed") << QByteArray("81a17900016105") << QVariant(5);
    QTest::newRow("float") << QByteArray("81a16161fa3fc00000") << QVariant::fromValue(1.5F);
}

void PackedBodyWireTest::decode_foreignButGood_isTaken() {
    QFETCH(QByteArray, hex);
    QFETCH(QVariant, value);
    QVariant read;
    QString error;
    const bool decoded = PackedBodyWire::decode(QByteArray::fromHex(hex), &read, &error);
    QVERIFY2(decoded, qPrintable(error));
    QVERIFY(same(read, List{Map{{"a", value}}}));
}

QTEST_GUILESS_MAIN(PackedBodyWireTest)
#include "packed_body_wire_test.moc"
