#include "fault_plan.h"

#include <QtTest>

class FaultPlanTest : public QObject {
    Q_OBJECT

private slots:
    void plan_usedUpFault_isDropped_data();
    void plan_usedUpFault_isDropped();
    void plan_usedUpByAnotherOnesRequest_isDroppedToo();
    void held_isByRowsForDripAlone_data();
    void held_isByRowsForDripAlone();

private:
    static Fault faultOf(const QString& line) {
        Fault fault;
        LineError error;
        if (!readFault(line, &fault, &error)) {
            qFatal("%s: %s", qPrintable(line), qPrintable(error.toString()));
        }
        return fault;
    }
};

void FaultPlanTest::plan_usedUpFault_isDropped_data() {
    QTest::addColumn<QString>("occurrences");
    QTest::addColumn<QString>("sizes");
    QTest::newRow("one") << "2"
                         << "1100";
    QTest::newRow("range") << "2-3"
                           << "1110";
    QTest::newRow("every") << "every"
                           << "1111";
    QTest::newRow("from") << "2+"
                          << "1111";
}

void FaultPlanTest::plan_usedUpFault_isDropped() {
    QFETCH(QString, occurrences);
    QFETCH(QString, sizes);
    FaultPlan plan;
    plan.add(faultOf(QStringLiteral("120006 %1 refusal").arg(occurrences)));
    QString seen = QString::number(plan.size());
    for (int i = 0; i < 3; ++i) {
        plan.take(QStringLiteral("120006"));
        // Another type does not count.
        plan.take(QStringLiteral("120007"));
        seen += QString::number(plan.size());
    }
    QCOMPARE(seen, sizes);
    QCOMPARE(plan.list().size(), plan.size());
}

void FaultPlanTest::plan_usedUpByAnotherOnesRequest_isDroppedToo() {
    FaultPlan plan;
    plan.add(faultOf(QStringLiteral("* 1 garbage")));
    plan.add(faultOf(QStringLiteral("120006 1 refusal")));
    QVERIFY(plan.take(QStringLiteral("120006"))->kind == FaultKind::Garbage);
    QCOMPARE(plan.size(), 0);
}

void FaultPlanTest::held_isByRowsForDripAlone_data() {
    QTest::addColumn<QString>("fault");
    QTest::addColumn<int>("rows");
    QTest::addColumn<qint64>("ms");
    QTest::newRow("delay") << "120006 1 delay ms=30" << 4 << qint64(30);
    QTest::newRow("drip") << "120006 1 drip ms=30" << 4 << qint64(120);
    QTest::newRow("drip of no rows") << "120006 1 drip ms=30" << 0 << qint64(0);
    QTest::newRow("drip, many") << "120006 1 drip ms=20" << 100000 << qint64(2000000);
    QTest::newRow("drip, beyond 32 bits") << "120006 1 drip ms=600000" << 4000 << qint64(86400000);
    QTest::newRow("drip, all there is")
        << "120006 1 drip ms=600000" << 2147483647 << qint64(86400000);
}

void FaultPlanTest::held_isByRowsForDripAlone() {
    QFETCH(QString, fault);
    QFETCH(int, rows);
    QFETCH(qint64, ms);
    QCOMPARE(heldMs(faultOf(fault), rows), ms);
}

QTEST_GUILESS_MAIN(FaultPlanTest)
#include "fault_plan_test.moc"
