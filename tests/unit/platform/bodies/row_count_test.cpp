#include "row_count.h"

#include <QtTest>

#include "vocabulary/fields.h"

Q_DECLARE_METATYPE(RowCount)

class RowCountTest : public QObject {
    Q_OBJECT

private slots:
    void readRowCount_value_isComparedWithTheRows_data() {
        constexpr int kUntouched = -7;
        QTest::addColumn<QVariant>("value");
        QTest::addColumn<RowCount>("result");
        QTest::addColumn<int>("count");
        QTest::newRow("as many as held") << QVariant(3) << RowCount::Stated << 3;
        QTest::newRow("fewer") << QVariant(2) << RowCount::Stated << 2;
        QTest::newRow("zero") << QVariant(0) << RowCount::Stated << 0;
        QTest::newRow("text") << QVariant("3") << RowCount::Stated << 3;
        QTest::newRow("64 bits") << QVariant(qint64(3)) << RowCount::Stated << 3;
        QTest::newRow("double without a fraction") << QVariant(3.0) << RowCount::Stated << 3;
        QTest::newRow("more than held") << QVariant(4) << RowCount::TooLarge << 4;
        QTest::newRow("missing") << QVariant() << RowCount::Missing << kUntouched;
        QTest::newRow("negative") << QVariant(-1) << RowCount::Invalid << kUntouched;
        QTest::newRow("fraction") << QVariant(1.5) << RowCount::Invalid << kUntouched;
        QTest::newRow("truth") << QVariant(true) << RowCount::Invalid << kUntouched;
        QTest::newRow("text without a number") << QVariant("x") << RowCount::Invalid << kUntouched;
        QTest::newRow("empty text") << QVariant("") << RowCount::Invalid << kUntouched;
        QTest::newRow("beyond an int")
            << QVariant(Q_INT64_C(4294967297)) << RowCount::Invalid << kUntouched;
        QTest::newRow("list") << QVariant(QVariantList{3}) << RowCount::Invalid << kUntouched;
    }

    void readRowCount_value_isComparedWithTheRows() {
        QFETCH(QVariant, value);
        QFETCH(RowCount, result);
        QFETCH(int, count);
        constexpr int kHeld = 3;
        QVariantMap header{{"another", 1}};
        if (value.isValid()) {
            header.insert(System::subGroupNumber, value);
        }
        int stated = -7;
        QVERIFY(readRowCount(header, kHeld, &stated) == result);
        QCOMPARE(stated, count);
        QVERIFY(readRowCount(header, kHeld, nullptr) == result);
    }
};

QTEST_GUILESS_MAIN(RowCountTest)
#include "row_count_test.moc"
