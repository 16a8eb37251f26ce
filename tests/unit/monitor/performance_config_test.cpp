#include "performance_config.h"

#include <QtTest>
#include <limits>

namespace {

constexpr int kSmallest = std::numeric_limits<int>::min();
constexpr int kLargest = std::numeric_limits<int>::max();
constexpr qint64 kHuge = 99999999999;

}  // namespace

class PerformanceConfigTest : public QObject {
    Q_OBJECT

private slots:
    void emptyRecord_hasNothing() {
        const PerformanceConfig config = PerformanceConfig::of({});
        QVERIFY(!config.hasUploadDst);
        QCOMPARE(config.uploadDst, 0);
        QVERIFY(config.types.isEmpty());
    }

    void uploadDst_isNoType_data() {
        QTest::addColumn<QVariant>("value");
        QTest::addColumn<int>("expected");
        QTest::newRow("number") << QVariant(3) << 3;
        QTest::newRow("text") << QVariant("2") << 2;
        QTest::newRow("no number") << QVariant("web") << 0;
        QTest::newRow("no value") << QVariant() << 0;
        QTest::newRow("negative") << QVariant(-1) << -1;
        QTest::newRow("huge") << QVariant(kHuge) << kLargest;
    }
    void uploadDst_isNoType() {
        QFETCH(QVariant, value);
        QFETCH(int, expected);
        const PerformanceConfig config =
            PerformanceConfig::of({{"UploadDst", value}, {"NetStat", QVariantMap()}});
        QVERIFY(config.hasUploadDst);
        QCOMPARE(config.uploadDst, expected);
        QCOMPARE(config.types.keys(), QStringList("NetStat"));
    }

    void type_hasItsItemsAndTexts() {
        const QVariantMap record{
            {"items", QVariantList{"b", "a"}}, {"stringItems", QVariantList{"a"}}, {"period", 5}};
        const auto type = PerformanceConfig::of({{"CpuUsage", record}}).types.value("CpuUsage");
        QCOMPARE(type.items, (QStringList{"b", "a"}));
        QCOMPARE(type.stringItems, QStringList("a"));
        QCOMPARE(type.period, 5);
        QVERIFY(type.hasPeriod);
    }

    void typeThatIsNoRecord_hasNoItemsAndTheUsualPeriod() {
        const auto type = PerformanceConfig::of({{"CpuUsage", "often"}}).types.value("CpuUsage");
        QVERIFY(type.items.isEmpty());
        QVERIFY(type.stringItems.isEmpty());
        QCOMPARE(type.period, 60);
        QVERIFY(!type.hasPeriod);
    }

    void period_isAWholeNumberOrTheUsualOne_data() {
        QTest::addColumn<QVariant>("value");
        QTest::addColumn<int>("expected");
        QTest::addColumn<bool>("isNumber");
        QTest::newRow("number") << QVariant(30) << 30 << true;
        QTest::newRow("64 bits") << QVariant(qint64(30)) << 30 << true;
        QTest::newRow("zero") << QVariant(0) << 0 << true;
        QTest::newRow("negative") << QVariant(-5) << -5 << true;
        QTest::newRow("text") << QVariant("45") << 45 << true;
        QTest::newRow("negative text") << QVariant("-45") << -45 << true;
        QTest::newRow("fraction below a half") << QVariant(0.4) << 0 << true;
        QTest::newRow("fraction") << QVariant(2.6) << 3 << true;
        QTest::newRow("huge") << QVariant(kHuge) << kLargest << true;
        QTest::newRow("huge negative") << QVariant(-kHuge) << kSmallest << true;
        QTest::newRow("beyond 64 bits") << QVariant(1e30) << kLargest << true;
        QTest::newRow("beyond 64 bits, negative") << QVariant(-1e30) << kSmallest << true;
        QTest::newRow("word") << QVariant("often") << 60 << false;
        QTest::newRow("empty text") << QVariant("") << 60 << false;
        QTest::newRow("text with a fraction") << QVariant("2.5") << 60 << false;
        QTest::newRow("huge text") << QVariant("99999999999") << 60 << false;
        QTest::newRow("missing") << QVariant() << 60 << false;
        QTest::newRow("list") << QVariant(QVariantList{1}) << 60 << false;
        QTest::newRow("record") << QVariant(QVariantMap{{"a", 1}}) << 60 << false;
    }
    void period_isAWholeNumberOrTheUsualOne() {
        QFETCH(QVariant, value);
        QFETCH(int, expected);
        QFETCH(bool, isNumber);
        const auto type =
            PerformanceConfig::of({{"t", QVariantMap{{"period", value}}}}).types.value("t");
        QCOMPARE(type.period, expected);
        QCOMPARE(type.hasPeriod, isNumber);
    }
};

QTEST_GUILESS_MAIN(PerformanceConfigTest)
#include "performance_config_test.moc"
