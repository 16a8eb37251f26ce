#include <QtTest>
#include <random>

#include "body_size.h"
#include "packed_body.h"
#include "packed_body_wire.h"
#include "znmsg/c_pack_message_common.h"

namespace {

constexpr int kBodies = 2000;
constexpr int kSteps = 40;
constexpr qint64 kUncounted = 1 << 20;

/// The wire form of a body, or the error when it has none.
QByteArray wireOf(const QVariant& body) {
    QByteArray bytes;
    QString error;
    return PackedBodyWire::encode(body, &bytes, &error) ? bytes : error.toUtf8();
}

/// Short keys of few characters, so that many occur again and begin alike; also the empty one.
QString randomKey(std::mt19937& random) {
    QString key;
    for (auto length = random() % 4; length > 0; --length) {
        key += QChar(random() % 3 == 0 ? ushort(0xd7ff) : ushort('a' + random() % 2));
    }
    return key;
}

QVariantMap randomRecord(std::mt19937& random) {
    QVariantMap record;
    for (auto fields = random() % 12; fields > 0; --fields) {
        record.insert(randomKey(random), QString::number(random() % 100));
    }
    return record;
}

}  // namespace

class WrittenRowTest : public QObject {
    Q_OBJECT

private slots:
    void row_randomChanges_isWhatAMapWouldBe();
    void record_changedInTheRow_staysAsItWas();
    void body_handedOut_staysAsItWasWhenMoreIsWritten();
};

void WrittenRowTest::row_randomChanges_isWhatAMapWouldBe() {
    std::mt19937 random(20240611);
    for (int body = 0; body < kBodies; ++body) {
        CPackMessageCommon packer;
        QVariantList expected{QVariantMap()};
        for (int step = 0; step < kSteps; ++step) {
            QVariantMap row = expected.last().toMap();
            const QString key = randomKey(random);
            switch (random() % 12) {
                case 0:
                    packer.AddRow();
                    expected.append(QVariantMap());
                    continue;
                case 1:
                case 2: {
                    const QVariantMap record = randomRecord(random);
                    packer.AddRowVaule(record);
                    for (auto it = record.cbegin(); it != record.cend(); ++it) {
                        row.insert(it.key(), *it);
                    }
                    break;
                }
                case 3:
                case 4:
                case 5:
                    packer.delValue(key);
                    row.remove(key);
                    break;
                default:
                    packer.AddVaule(key, step);
                    row.insert(key, step);
            }
            expected.last() = row;
            QCOMPARE(packer.GetValue(key), row.value(key));
        }
        const QVariant written = packer.GetPackedMsg(false);
        QList<QVariantMap> rows;
        for (const QVariant& row : qAsConst(expected)) {
            rows.append(row.toMap());
        }
        QCOMPARE(rowsOfPackedBody(written), rows);
        QCOMPARE(wireOf(written), wireOf(expected));
        QCOMPARE(bodySize(written, kUncounted), bodySize(expected, kUncounted));
    }
}

void WrittenRowTest::record_changedInTheRow_staysAsItWas() {
    const QVariantMap record{{"a", 1}, {"b", 2}};
    CPackMessageCommon packer;
    packer.AddRowVaule(record);
    packer.AddVaule("a", 5);
    packer.delValue("b");
    QCOMPARE(record, (QVariantMap{{"a", 1}, {"b", 2}}));
    QCOMPARE(rowsOfPackedBody(packer.GetPackedMsg(false)), (QList<QVariantMap>{{{"a", 5}}}));
}

void WrittenRowTest::body_handedOut_staysAsItWasWhenMoreIsWritten() {
    CPackMessageCommon packer;
    packer.AddRowVaule({{"a", 1}, {"b", 2}});
    packer.AddVaule("c", 3);
    const QVariant first = packer.GetPackedMsg(false);
    packer.AddVaule("c", 4);
    packer.delValue("a");
    QCOMPARE(rowsOfPackedBody(first), (QList<QVariantMap>{{{"a", 1}, {"b", 2}, {"c", 3}}}));
    QCOMPARE(rowsOfPackedBody(packer.GetPackedMsg(false)),
             (QList<QVariantMap>{{{"b", 2}, {"c", 4}}}));
}

QTEST_GUILESS_MAIN(WrittenRowTest)
#include "written_row_test.moc"
