#include <QtTest>

#include "client_world.h"
#include "clock.h"
#include "log_capture.h"
#include "risk_notice_waiver.h"
#include "shared_settings.h"
#include "velmarutils/velmar_utils.h"

namespace {

class StandingClock final : public Clock {
public:
    QDateTime now() const override { return m_now; }
    QDateTime m_now{QDate(2026, 3, 10), QTime(9, 0)};
};

QString settingsFile() {
    return VelmarUtils::GetUserCfgFileDir() + "riskNoticeSymbol.cfg";
}

void writeFile(const QVariantMap& values) {
    SharedSettings file(settingsFile(), nullptr);
    file.lockedSetValues(values);
}

QByteArray fileBytes() {
    QFile file(settingsFile());
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

}  // namespace

class RiskNoticeWaiverTest : public QObject {
    Q_OBJECT

private slots:
    void load_staleOrNoDate_emptiesTheSetAndWritesToday_data() {
        QTest::addColumn<QVariantMap>("file");
        QTest::newRow("yesterday") << QVariantMap{{"IgnoreDate", "20260309"}, {"symbol", "a|b"}};
        QTest::newRow("no date") << QVariantMap{{"symbol", "a|b"}};
        QTest::newRow("not a date") << QVariantMap{{"IgnoreDate", "soon"}, {"symbol", "a"}};
        QTest::newRow("empty file") << QVariantMap{};
    }
    void load_staleOrNoDate_emptiesTheSetAndWritesToday() {
        QFETCH(QVariantMap, file);
        const ClientWorld world;
        writeFile(file);
        QObject owner;
        const StandingClock clock;
        RiskNoticeWaiver waiver(clock);
        waiver.open(&owner);
        waiver.load();
        QVERIFY(waiver.ignoreRiskSymbols().isEmpty());
        const SharedSettings after(settingsFile(), nullptr);
        QCOMPARE(after.lockedValue("IgnoreDate").toString(), QString("20260310"));
        QVERIFY(after.lockedContains("symbol"));
        QCOMPARE(after.lockedValue("symbol").toString(), QString());
    }

    void load_today_readsTheSymbolsAndLeavesTheFile_data() {
        QTest::addColumn<QString>("date");
        QTest::addColumn<QString>("symbol");
        QTest::addColumn<QSet<QString>>("expected");
        QTest::newRow("two") << "20260310"
                             << "600000.SH|000001.SZ" << QSet<QString>{"600000.SH", "000001.SZ"};
        QTest::newRow("empty parts") << "20260310"
                                     << "|600000.SH||" << QSet<QString>{"600000.SH"};
        QTest::newRow("a later day") << "20260311"
                                     << "600000.SH" << QSet<QString>{"600000.SH"};
        QTest::newRow("none") << "20260310"
                              << "" << QSet<QString>{};
    }
    void load_today_readsTheSymbolsAndLeavesTheFile() {
        QFETCH(QString, date);
        QFETCH(QString, symbol);
        QFETCH(QSet<QString>, expected);
        const ClientWorld world;
        writeFile({{"IgnoreDate", date}, {"symbol", symbol}});
        const QByteArray before = fileBytes();
        QObject owner;
        const StandingClock clock;
        RiskNoticeWaiver waiver(clock);
        waiver.open(&owner);
        waiver.load();
        QCOMPARE(waiver.ignoreRiskSymbols(), expected);
        QVERIFY(!before.isEmpty());
        QCOMPARE(fileBytes(), before);
    }

    void load_afterMidnight_treatsTheSameFileAsStale() {
        const ClientWorld world;
        writeFile({{"IgnoreDate", "20260310"}, {"symbol", "600000.SH"}});
        QObject owner;
        StandingClock clock;
        RiskNoticeWaiver waiver(clock);
        waiver.open(&owner);
        clock.m_now = QDateTime(QDate(2026, 3, 10), QTime(23, 59, 59));
        waiver.load();
        QCOMPARE(waiver.ignoreRiskSymbols(), QSet<QString>{"600000.SH"});
        clock.m_now = QDateTime(QDate(2026, 3, 11), QTime(0, 0));
        waiver.load();
        QVERIFY(waiver.ignoreRiskSymbols().isEmpty());
    }

    void load_beforeOpen_isLoggedAndChangesNothing() {
        const ClientWorld world;
        const StandingClock clock;
        RiskNoticeWaiver waiver(clock);
        LogCapture log;
        waiver.load();
        QVERIFY(log.contains(QtWarningMsg, "before their file was opened"));
        QVERIFY(!QFile::exists(settingsFile()));
    }
};

QTEST_GUILESS_MAIN(RiskNoticeWaiverTest)
#include "risk_notice_waiver_test.moc"
