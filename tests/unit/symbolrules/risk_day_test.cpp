#include <QtTest>

#include "log_capture.h"
#include "risk_fixture.h"

namespace {

const QString kModule = QStringLiteral("普通下单");

QList<QVariantMap> twoReminders() {
    return {riskRow(riskSymbol(1), {{Security::riskRemindInfo, "甲"}}),
            riskRow(riskSymbol(2), {{Security::riskRemindInfo, "乙"}})};
}

}  // namespace

/// The day for which a reported symbol is not reported again, in memory and in the file.
class RiskDayTest : public QObject {
    Q_OBJECT

private slots:
    void check_afterMidnight_reportsAgainAndWritesTheDayFirst() {
        RiskFixture fixture;
        fixture.flags.slotNoticeSymbolChanged(twoReminders());
        fixture.clock.m_now = QDateTime(QDate(2026, 3, 10), QTime(23, 59, 59));
        QVERIFY(fixture.flags.CheckSymbolRiskInfo({riskSymbol(1), riskSymbol(2)}, kModule));
        QCOMPARE(RiskFixture::saved("IgnoreDate"), QString("20260310"));
        QCOMPARE(RiskFixture::saved("symbol"), QString("600001.SH|600002.SH"));
        fixture.clock.m_now = QDateTime(QDate(2026, 3, 11), QTime(0, 0));
        QVERIFY(fixture.flags.CheckSymbolRiskInfo({riskSymbol(2)}, kModule));
        QCOMPARE(RiskFixture::saved("IgnoreDate"), QString("20260311"));
        QCOMPARE(RiskFixture::saved("symbol"), QString("600002.SH"));
        QCOMPARE(fixture.waiver.ignoreRiskSymbols(), QSet<QString>{riskSymbol(2)});
        QVERIFY(!fixture.flags.CheckSymbolRiskInfo({riskSymbol(2)}, kModule));
        QVERIFY(fixture.flags.CheckSymbolRiskInfo({riskSymbol(1)}, kModule));
    }

    void check_afterMidnightWithNothingToReport_writesTheEmptyDay() {
        RiskFixture fixture;
        fixture.flags.slotNoticeSymbolChanged(twoReminders());
        QVERIFY(fixture.flags.CheckSymbolRiskInfo({riskSymbol(1)}, kModule));
        fixture.clock.m_now = QDateTime(QDate(2026, 3, 11), QTime(0, 0));
        QVERIFY(!fixture.flags.CheckSymbolRiskInfo({riskSymbol(9)}, kModule));
        QCOMPARE(RiskFixture::saved("IgnoreDate"), QString("20260311"));
        QCOMPARE(RiskFixture::saved("symbol"), QString());
        QVERIFY(fixture.waiver.ignoreRiskSymbols().isEmpty());
    }

    void check_delistingAfterMidnight_countsFromTheNewDay() {
        RiskFixture fixture;
        fixture.flags.slotNoticeSymbolChanged({delistRow(riskSymbol(1), "20260312", "")});
        QVERIFY(fixture.flags.CheckSymbolRiskInfo({riskSymbol(1)}, kModule));
        QVERIFY(fixture.sink.take().first().contains("剩余交易日预估为2天"));
        fixture.clock.m_now = QDateTime(QDate(2026, 3, 11), QTime(0, 0));
        QVERIFY(fixture.flags.CheckSymbolRiskInfo({riskSymbol(1)}, kModule));
        QVERIFY(fixture.sink.take().first().contains("剩余交易日预估为1天"));
    }

    void check_clockSetBack_keepsTheDay() {
        RiskFixture fixture;
        fixture.flags.slotNoticeSymbolChanged(twoReminders());
        QVERIFY(fixture.flags.CheckSymbolRiskInfo({riskSymbol(1)}, kModule));
        fixture.clock.m_now = QDateTime(QDate(2026, 3, 9), QTime(12, 0));
        QVERIFY(!fixture.flags.CheckSymbolRiskInfo({riskSymbol(1)}, kModule));
        QCOMPARE(RiskFixture::saved("IgnoreDate"), QString("20260310"));
    }

    void check_afterARestartOnTheSameDay_raisesNothing() {
        RiskFixture fixture;
        fixture.flags.slotNoticeSymbolChanged(twoReminders());
        QVERIFY(fixture.flags.CheckSymbolRiskInfo({riskSymbol(1)}, kModule));
        fixture.sink.take();
        QObject owner;
        RiskNoticeWaiver waiver(fixture.clock);
        waiver.open(&owner);
        waiver.load();
        SymbolRiskFlags flags(fixture.identity, waiver, fixture.clock, fixture.sink);
        flags.slotNoticeSymbolChanged(twoReminders());
        QVERIFY(!flags.CheckSymbolRiskInfo({riskSymbol(1)}, kModule));
        QVERIFY(fixture.sink.texts().isEmpty());
        QVERIFY(flags.CheckSymbolRiskInfo({riskSymbol(2)}, kModule));
    }

    void check_nothingFound_leavesTheFile() {
        RiskFixture fixture;
        fixture.flags.slotNoticeSymbolChanged(twoReminders());
        SharedSettings(RiskFixture::file(), nullptr).lockedSetValue("symbol", "as it was");
        QVERIFY(!fixture.flags.CheckSymbolRiskInfo({riskSymbol(9)}, kModule));
        QCOMPARE(RiskFixture::saved("symbol"), QString("as it was"));
    }

    void check_fileThatCannotBeWritten_keepsTheDayInMemory() {
        RiskFixture fixture;
        fixture.flags.slotNoticeSymbolChanged(twoReminders());
        QVERIFY(QFile::remove(RiskFixture::file()));
        QVERIFY(QDir().mkpath(RiskFixture::file() + "/in_the_way"));
        LogCapture log;
        QVERIFY(fixture.flags.CheckSymbolRiskInfo({riskSymbol(1)}, kModule));
        QVERIFY(log.contains(QtWarningMsg, "not written to"));
        QVERIFY(!fixture.flags.CheckSymbolRiskInfo({riskSymbol(1)}, kModule));
        QCOMPARE(fixture.sink.texts().size(), 1);
    }

    void check_fileNeverOpened_logsAWarningAndKeepsTheDayInMemory() {
        RiskFixture fixture;
        RiskNoticeWaiver waiver(fixture.clock);
        SymbolRiskFlags flags(fixture.identity, waiver, fixture.clock, fixture.sink);
        flags.slotNoticeSymbolChanged(twoReminders());
        LogCapture log;
        QVERIFY(flags.CheckSymbolRiskInfo({riskSymbol(1)}, kModule));
        QVERIFY(log.contains(QtWarningMsg, "their file is not open"));
        QVERIFY(!flags.CheckSymbolRiskInfo({riskSymbol(1)}, kModule));
    }
};

QTEST_GUILESS_MAIN(RiskDayTest)
#include "risk_day_test.moc"
