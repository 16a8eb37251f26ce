#include <QtTest>

#include "velmarutils/velmar_statistic_assist.h"

class StatisticAssistTest : public QObject {
    Q_OBJECT

private slots:
    void average_isOverTheLastNumbers_data() {
        QTest::addColumn<int>("maxCount");
        QTest::addColumn<int>("validMinCount");
        QTest::addColumn<QVector<double>>("values");
        QTest::addColumn<double>("average");
        QTest::addColumn<bool>("valid");
        const QVector<double> none;
        QTest::newRow("empty, minimum of 0") << 3 << 0 << none << 0.0 << false;
        QTest::newRow("maximum and minimum of 0") << 0 << 0 << QVector<double>{5} << 0.0 << false;
        QTest::newRow("nothing held, one needed") << 3 << 1 << none << 0.0 << false;
        QTest::newRow("fewer than needed") << 3 << 3 << QVector<double>{1, 2} << 1.5 << false;
        QTest::newRow("as many as needed") << 3 << 3 << QVector<double>{1, 2, 6} << 3.0 << true;
        QTest::newRow("oldest dropped") << 3 << 3 << QVector<double>{100, 1, 2, 6} << 3.0 << true;
        QTest::newRow("one kept") << 1 << 1 << QVector<double>{5, 7} << 7.0 << true;
        QTest::newRow("maximum of 0") << 0 << 1 << QVector<double>{5} << 0.0 << false;
        QTest::newRow("negative maximum") << -1 << 1 << QVector<double>{5} << 0.0 << false;
        QTest::newRow("negative minimum") << 3 << -5 << QVector<double>{5} << 5.0 << true;
        QTest::newRow("empty, negative minimum") << 3 << -5 << none << 0.0 << false;
        QTest::newRow("more needed than kept")
            << 2 << 3 << QVector<double>{1, 2, 3} << 2.5 << false;
        QTest::newRow("negative numbers") << 2 << 1 << QVector<double>{-4, 2} << -1.0 << true;
    }

    void average_isOverTheLastNumbers() {
        QFETCH(int, maxCount);
        QFETCH(int, validMinCount);
        QFETCH(QVector<double>, values);
        VelmarStatisticAssist assist(maxCount, validMinCount);
        for (const double value : values) {
            assist.AppendData(value);
        }
        bool valid = false;
        QTEST(assist.GetAvgData(&valid), "average");
        QTEST(valid, "valid");
        QTEST(assist.GetAvgData(nullptr), "average");
    }

    void defaultOne_keepsNothing() {
        VelmarStatisticAssist assist;
        assist.AppendData(5);
        QCOMPARE(assist.GetAvgData(nullptr), 0.0);
    }

    void smallerMaximum_dropsTheOldest() {
        VelmarStatisticAssist assist = filled();
        assist.SetMaxCount(2);
        QCOMPARE(assist.GetAvgData(nullptr), 3.5);
        assist.SetMaxCount(4);
        assist.AppendData(8);
        QCOMPARE(assist.GetAvgData(nullptr), 5.0);
        assist.SetMaxCount(-1);
        QCOMPARE(assist.GetAvgData(nullptr), 0.0);
    }

    void newMinimum_countsAtOnce() {
        VelmarStatisticAssist assist = filled();
        bool valid = true;
        assist.SetValidMinCount(5);
        assist.GetAvgData(&valid);
        QVERIFY(!valid);
        assist.SetValidMinCount(4);
        assist.GetAvgData(&valid);
        QVERIFY(valid);
    }

    void clear_forgetsTheNumbersOnly() {
        VelmarStatisticAssist assist = filled();
        assist.ClearAllData();
        bool valid = true;
        QCOMPARE(assist.GetAvgData(&valid), 0.0);
        QVERIFY(!valid);
        for (const double value : {9, 1, 2, 3, 4}) {
            assist.AppendData(value);
        }
        QCOMPARE(assist.GetAvgData(&valid), 2.5);
        QVERIFY(valid);
    }

    void copy_isOfItsOwn() {
        VelmarStatisticAssist assist = filled();
        VelmarStatisticAssist copy = assist;
        copy.AppendData(101);
        QCOMPARE(assist.GetAvgData(nullptr), 2.5);
        QCOMPARE(copy.GetAvgData(nullptr), 27.5);
    }

    void longRun_doesNotDrift() {
        VelmarStatisticAssist assist(4, 4);
        assist.AppendData(1e16);
        for (int i = 0; i < 10000; ++i) {
            assist.AppendData(0.1);
        }
        QCOMPARE(assist.GetAvgData(nullptr), 0.1);
    }

private:
    /// The numbers 1 to 4, with a maximum and a minimum of four.
    static VelmarStatisticAssist filled() {
        VelmarStatisticAssist assist(4, 4);
        for (const double value : {1, 2, 3, 4}) {
            assist.AppendData(value);
        }
        return assist;
    }
};

QTEST_APPLESS_MAIN(StatisticAssistTest)
#include "statistic_assist_test.moc"
