#include <QtTest>

#include "wire_body.h"

namespace {

using Map = QVariantMap;
using List = QVariantList;

}  // namespace

class PackedBodyWireHostileTest : public QObject {
    Q_OBJECT

private slots:
    void decode_hostile_isRefused_data();
    void decode_hostile_isRefused();
    void limits_bindBothWays();
    void encode_textAtTheLimit_countsItsBytes_data();
    void encode_textAtTheLimit_countsItsBytes();
    void decode_manyKeysInFallingOrder_keepsEveryKeyWithItsValue();
};

void PackedBodyWireHostileTest::decode_hostile_isRefused_data() {
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QString>("named");
    const auto add = [](const char* name, const QByteArray& hex, const char* named) {
        QTest::newRow(name) << QByteArray::fromHex(hex) << named;
    };
    add("nothing", "", "byte 0: ends too early");
    add("no array", "a0", "not an array of rows");
    add("no rows", "80", "not an array of rows");
    add("text for a body", "6161", "not an array of rows");
    add("row that is a list", "8180", "row 0, byte 2: a row that is not a map");
    add("row that is a number", "82a001", "row 1, byte 3: a row that is not a map");
    add("rows without a length", "9fa0ff", "not stated beforehand");
    add("row without a length", "81bfff", "not stated beforehand");
    add("text without a length", "81a161617f6161ff", "not stated beforehand");
    add("reserved length", "81a161611c", "not stated beforehand");
    add("number for a key", "81a10102", "not a text where one is required");
    add("bytes for a key", "81a1416102", "not a text where one is required");
    add("key twice", "81a2616101616102", "a key that occurs twice");
    add("key twice inside", "81a16161a2616101616102", "a key that occurs twice");
    add("key longer than all", "81a17a7fffffff61", "ends too early");
    add("text of 2^64", "81a161617bffffffffffffffff61", "ends too early");
    add("bytes of 2^63", "81a161615b800000000000000061", "ends too early");
    add("list of 2^64", "81a161619bffffffffffffffff01", "ends too early");
    add("map of 2^63", "81a16161bb800000000000000001", "ends too early");
    add("map of half of 2^64", "81a16161bb7fffffffffffffff01", "ends too early");
    add("rows of 2^64", "9bffffffffffffffffa0", "ends too early");
    add("texts of 2^64", "81a16161d9a02f9bffffffffffffffff60", "ends too early");
    add("broken text", "81a1616162c328", "not UTF-8");
    add("broken key", "81a161ff01", "not UTF-8");
    add("text cut inside a character", "81a1616162e4b8", "not UTF-8");
    add("overlong text", "81a1616162c080", "not UTF-8");
    add("surrogate in a text", "81a1616163eda080", "not UTF-8");
    add("text beyond the last character", "81a1616164f4908080", "not UTF-8");
    add("unknown tag", "81a16161c001", "an unknown tag");
    add("tag in a tag", "81a16161d9a029d9a02901", "not a number where one is required");
    add("long beyond its tag", "81a16161d9a0291a80000000", "a number out of range");
    add("unsigned below zero", "81a16161d9a02a20", "a number out of range");
    add("unsigned too large", "81a16161d9a02a1b0000000100000000", "a number out of range");
    add("unsigned long too large", "81a16161d9a02b1b8000000000000000", "a number out of range");
    add("number below 64 bits", "81a161613b8000000000000000", "a number out of range");
    add("date as a text", "81a16161d9a02c6161", "not a number where one is required");
    add("date too late", "81a16161d9a02c1a0051fe2d", "a number out of range");
    add("time beyond a day", "81a16161d9a02d1a05265c00", "a number out of range");
    add("date and time of one number", "81a16161d9a02e8101", "unknown form");
    add("date and time of four", "81a16161d9a02e8401010101", "unknown form");
    add("date and time as a number", "81a16161d9a02e01", "unknown form");
    add("offset beyond a day", "81a16161d9a02e8301011a00015181", "a number out of range");
    add("offset as a text", "81a16161d9a02e83010160", "not a number where one is required");
    add("texts as a map", "81a16161d9a02fa0", "not an array");
    add("number among texts", "81a16161d9a02f8101", "not a text where one is required");
    add("undefined", "81a16161f7", "unknown kind");
    add("simple value", "81a16161f8ff", "unknown kind");
    add("half float", "81a16161f93c00", "unknown kind");
    add("end of nothing", "81a16161ff", "not stated beforehand");
    add("bytes after the end", "81a000", "bytes after the end of the body");
    add("deep lists", "81a16161" + QByteArray(200000, '8').replace("8", "81") + "01",
        "nested too deep");
    add("deep maps", "81a16161" + QByteArray(1000, 'x').replace("x", "a16161") + "01",
        "nested too deep");
    add("deep tags", "81a16161" + QByteArray(100000, 'x').replace("x", "c1"), "an unknown tag");
}

void PackedBodyWireHostileTest::decode_hostile_isRefused() {
    QFETCH(QByteArray, bytes);
    QFETCH(QString, named);
    const QString error = refusalOf(bytes);
    QVERIFY2(error.contains(named), qPrintable(error));
}

void PackedBodyWireHostileTest::limits_bindBothWays() {
    const QVariant body = List{Map{{"a", List{1, 2, 3}}}};
    const QByteArray bytes = encoded(body);
    PackedBodyWire::Limits limits;
    limits.bytes = bytes.size() - 1;
    QVERIFY(refusalOf(bytes, limits).contains("are allowed"));
    limits = {};
    limits.values = 4;  // a row, a field, three elements
    QVERIFY(refusalOf(bytes, limits).contains("too many values"));
    limits.values = 5;
    QVariant read;
    QVERIFY(PackedBodyWire::decode(bytes, &read, nullptr, limits));
    limits.depth = 0;
    QVERIFY(refusalOf(bytes, limits).contains("nested too deep"));
    // A body too large to be read is not written either.
    QByteArray written;
    QString error;
    const QByteArray large(40 * 1024 * 1024, 'x');
    QVERIFY(!PackedBodyWire::encode(bodyWith(List{large, large}), &written, &error));
    QVERIFY2(error.contains("more than 67108864 bytes"), qPrintable(error));
    QVERIFY(PackedBodyWire::encode(bodyWith(large), &written, &error));
}

void PackedBodyWireHostileTest::encode_textAtTheLimit_countsItsBytes_data() {
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("bytes");
    const int limit = PackedBodyWire::Limits().bytes;
    // What is around the text, whose own length takes five bytes.
    const int around = encoded(bodyWith(QString())).size() + 4;
    const auto add = [](const char* name, const QString& text, int bytes) {
        QTest::newRow(name) << text << bytes;
    };
    const int most = limit - around;
    add("ascii at the limit", QString(most, u'x'), limit);
    add("ascii just above", QString(most + 1, u'x'), 0);
    add("ascii as long as the limit", QString(limit, u'x'), 0);
    add("ascii longer than the limit", QString(limit + 1, u'x'), 0);
    // Fewer units than bytes are allowed; three bytes each.
    add("chinese at the limit", QString(most / 3, u'长'), around + most / 3 * 3);
    add("chinese above", QString(most / 3 + 1, u'长'), 0);
    add("ascii, then chinese at the limit", QString(most - 3, u'x') + QChar(u'长'), limit);
    add("ascii, then chinese above", QString(most - 2, u'x') + QChar(u'长'), 0);
}

void PackedBodyWireHostileTest::encode_textAtTheLimit_countsItsBytes() {
    QFETCH(QString, text);
    QFETCH(int, bytes);
    QByteArray written("before");
    QString error;
    QCOMPARE(PackedBodyWire::encode(bodyWith(text), &written, &error), bytes > 0);
    QCOMPARE(written.size(), bytes);
    QCOMPARE(error.contains("more than 67108864 bytes"), bytes == 0);
}

/// Our own writer sorts the keys; here they are in reverse order and differ from row to row.
/// bench/wire_bench measures the time.
void PackedBodyWireHostileTest::decode_manyKeysInFallingOrder_keepsEveryKeyWithItsValue() {
    constexpr int kKeys = 20000;
    constexpr int kRows = 2;
    const auto keyOf = [](int row, int i) {
        return QByteArray::number(row * kKeys + i).rightJustified(8, '0');
    };
    QByteArray bytes = QByteArray::fromHex("82");  // two rows
    for (int row = 0; row < kRows; ++row) {
        bytes += QByteArray::fromHex("b94e20");  // a map of 20,000
        for (int i = kKeys; i > 0; --i) {
            bytes += QByteArray::fromHex("68") + keyOf(row, i);
            bytes += QByteArray::fromHex(i % 2 ? "f5" : "f4");
        }
    }
    QVariant read;
    QString error;
    QVERIFY2(PackedBodyWire::decode(bytes, &read, &error), qPrintable(error));
    const List rows = read.toList();
    QCOMPARE(rows.size(), kRows);
    for (int row = 0; row < kRows; ++row) {
        const Map fields = rows.at(row).toMap();
        QCOMPARE(fields.size(), kKeys);
        for (int i = 1; i <= kKeys; ++i) {
            QCOMPARE(fields.value(keyOf(row, i)), QVariant(i % 2 == 1));
        }
    }
}

QTEST_GUILESS_MAIN(PackedBodyWireHostileTest)
#include "packed_body_wire_hostile_test.moc"
