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

    void add_symbols_joinsThemToTheSetAndTheFile() {
        const ClientWorld world;
        writeFile({{"IgnoreDate", "20260310"}, {"symbol", "600002.SH"}});
        QObject owner;
        const StandingClock clock;
        RiskNoticeWaiver waiver(clock);
        waiver.open(&owner);
        waiver.load();
        waiver.addSymbols({"600003.SH", "600001.SH", "600002.SH"});
        QCOMPARE(waiver.ignoreRiskSymbols().size(), 3);
        const SharedSettings after(settingsFile(), nullptr);
        QCOMPARE(after.lockedValue("symbol").toString(), QString("600001.SH|600002.SH|600003.SH"));
        QCOMPARE(after.lockedValue("IgnoreDate").toString(), QString("20260310"));
    }

    void symbolsOn_eachDay_keepsOrEmptiesTheSet_data() {
        QTest::addColumn<QDate>("day");
        QTest::addColumn<QString>("date");
        QTest::addColumn<QString>("symbol");
        QTest::newRow("same") << QDate(2026, 3, 10) << "20260310"
                              << "600001.SH";
        QTest::newRow("earlier") << QDate(2026, 3, 9) << "20260310"
                                 << "600001.SH";
        QTest::newRow("next") << QDate(2026, 3, 11) << "20260311"
                              << "";
        QTest::newRow("next year") << QDate(2027, 1, 1) << "20270101"
                                   << "";
    }
    void symbolsOn_eachDay_keepsOrEmptiesTheSet() {
        QFETCH(QDate, day);
        QFETCH(QString, date);
        QFETCH(QString, symbol);
        const ClientWorld world;
        writeFile({{"IgnoreDate", "20260310"}, {"symbol", "600001.SH"}});
        QObject owner;
        const StandingClock clock;
        RiskNoticeWaiver waiver(clock);
        waiver.open(&owner);
        waiver.load();
        const QSet<QString> expected = symbol.isEmpty() ? QSet<QString>() : QSet<QString>{symbol};
        QCOMPARE(waiver.symbolsOn(day), expected);
        QCOMPARE(waiver.ignoreRiskSymbols(), expected);
        const SharedSettings after(settingsFile(), nullptr);
        QCOMPARE(after.lockedValue("IgnoreDate").toString(), date);
        QCOMPARE(after.lockedValue("symbol").toString(), symbol);
    }

    void symbolsOn_fileOfALaterDay_holdsOnTheDayOfTheLoadOnly_data() {
        QTest::addColumn<QString>("date");
        QTest::newRow("tomorrow") << "20260311";
        QTest::newRow("far ahead") << "20991231";
    }
    void symbolsOn_fileOfALaterDay_holdsOnTheDayOfTheLoadOnly() {
        QFETCH(QString, date);
        const ClientWorld world;
        writeFile({{"IgnoreDate", date}, {"symbol", "600001.SH"}});
        QObject owner;
        const StandingClock clock;
        RiskNoticeWaiver waiver(clock);
        waiver.open(&owner);
        waiver.load();
        QCOMPARE(waiver.symbolsOn(QDate(2026, 3, 10)), QSet<QString>{"600001.SH"});
        QVERIFY(waiver.symbolsOn(QDate(2026, 3, 11)).isEmpty());
        const SharedSettings after(settingsFile(), nullptr);
        QCOMPARE(after.lockedValue("IgnoreDate").toString(), QString("20260311"));
        QCOMPARE(after.lockedValue("symbol").toString(), QString());
    }

    void symbolsOn_noCallBeforeMidnight_beginsTheDayAllTheSame() {
        const ClientWorld world;
        writeFile({{"IgnoreDate", "20991231"}, {"symbol", "600001.SH"}});
        QObject owner;
        const StandingClock clock;
        RiskNoticeWaiver waiver(clock);
        waiver.open(&owner);
        waiver.load();
        QVERIFY(waiver.symbolsOn(QDate(2026, 3, 11)).isEmpty());
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
