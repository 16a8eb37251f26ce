#include "ticks_command.h"

#include <QDateTime>
#include <QFile>
#include <QTemporaryDir>
#include <QtTest>

#include "child_process.h"
#include "test_paths.h"
#include "text_table.h"
#include "vocabulary/tick_fields.h"

namespace {

inline const QString kProgram = QStringLiteral(VELMAR_BINARY_DIR "/bin/velmar-client");

QVariantMap tickAt(double last) {
    return {{TickField::symbol, "600000.SH"},
            {TickField::time,
             QDateTime(QDate(2026, 1, 5), QTime(9, 30, 0, 250), Qt::OffsetFromUTC, 8 * 3600)},
            {TickField::phase, TickPhase::continuous},
            {TickField::lastPrice, last},
            {TickField::previousClose, 10.0},
            {TickField::buyPrice[0], 10.01},
            {TickField::buyQty[0], 300},
            {TickField::sellPrice[0], 10.02},
            {TickField::sellQty[0], 500},
            {TickField::totalQty, 1200}};
}

}  // namespace

class TicksCommandTest : public QObject {
    Q_OBJECT

private slots:
    void line_standsUnderItsTitles() {
        const QString title = TicksCommand::title();
        const QString line = TicksCommand::lineOf(tickAt(10.02));
        QCOMPARE(line.simplified(),
                 QString("09:30:00.250 600000.SH continuous 10.02 +0.20 % 10.01 300 10.02 500 "
                         "1200"));
        QCOMPARE(line.size(), title.size());
        QCOMPARE(title.indexOf("Symbol"), line.indexOf("600000.SH"));
        QCOMPARE(title.indexOf("Last") + 4, line.indexOf("10.02") + 5);
        QCOMPARE(title.indexOf("Total qty") + 9, line.indexOf("1200") + 4);
    }

    void emptySide_isBlank() {
        QVariantMap tick = tickAt(9.9);
        tick.insert(TickField::sellPrice[0], 0.0);
        tick.insert(TickField::sellQty[0], 0);
        QCOMPARE(TicksCommand::lineOf(tick).simplified(),
                 QString("09:30:00.250 600000.SH continuous 9.9 -1.00 % 10.01 300 1200"));
    }

    void charactersThatActOnATerminal_areReplaced() {
        QVariantMap tick = tickAt(10);
        tick.insert(TickField::symbol, QString("a\x1b[2Jb\n") + QChar(0x9B) + QChar(0x202E) + 'c');
        tick.insert(TickField::phase, QString("\a7"));
        const QString line = TicksCommand::lineOf(tick);
        QVERIFY2(line.contains(QString::fromUtf8("a\uFFFD[2Jb\uFFFD\uFFFD\uFFFDc")),
                 qPrintable(line));
        QVERIFY(line.contains(QString::fromUtf8("\uFFFD7")));
        for (const QChar one : line) {
            QVERIFY(!isTerminalControl(one));
        }
    }

    void take_countsWatchedSymbolsUpToTheLimit() {
        TicksCommand ticks({"600000.SH"}, 2);
        QVERIFY(ticks.take("000001.SZ", tickAt(1)).isEmpty());
        QVERIFY(!ticks.take("600000.SH", tickAt(10)).isEmpty());
        QVERIFY(!ticks.over());
        QVERIFY(!ticks.take("600000.SH", tickAt(11)).isEmpty());
        QVERIFY(ticks.over());
        QVERIFY(ticks.take("600000.SH", tickAt(12)).isEmpty());
        TicksCommand endless({"600000.SH"}, 0);
        for (int i = 0; i < 100; ++i) {
            QVERIFY(!endless.take("600000.SH", tickAt(10)).isEmpty());
        }
        QVERIFY(!endless.over());
    }

    void program_printsTicksOfContinuousTradingWhateverTheTime() {
        // Lunch break, a Saturday, and a machine far from the exchanges.
        const ChildResult result =
            run({"--clock", "2026-01-10T12:00:00", "ticks", "watch", "600000.SH", "000001.SZ",
                 "--count", "40", "--tick-rate", "100"});
        QVERIFY2(result.succeeded(), qPrintable(result.output));
        const QStringList lines = result.output.split('\n', Qt::SkipEmptyParts);
        QCOMPARE(lines.filter("continuous trading around the clock").size(), 1);
        const QStringList ticks = lines.filter(QRegularExpression("^12:0\\d:\\d\\d\\.\\d{3}  "));
        QCOMPARE(ticks.size(), 40);
        QCOMPARE(ticks.filter("  continuous  ").size(), 40);
        QCOMPARE(ticks.filter("000001.SZ").size(), 20);
        QSet<QString> prices;
        for (const QString& tick : ticks) {
            prices.insert(tick.simplified().section(' ', 3, 3));
        }
        QVERIFY2(prices.size() > 3, qPrintable(result.output));
    }

    void program_marketHours_keepsToTheTimetable() {
        const ChildResult result = run({"--clock", "2026-01-10T12:00:00", "--market-hours", "ticks",
                                        "watch", "600000.SH", "--count", "3", "--tick-rate", "50"});
        QVERIFY2(result.succeeded(), qPrintable(result.output));
        QCOMPARE(result.output.split('\n').filter("  closed  ").size(), 3);
        QVERIFY(!result.output.contains("  continuous  "));
    }

    void program_unknownSymbol_isNamed() {
        const ChildResult result = run({"ticks", "watch", "600000.SH", "NOPE.SH"});
        QCOMPARE(result.exitCode, 2);
        QVERIFY2(result.output.contains("no security is called 'NOPE.SH'"),
                 qPrintable(result.output));
        QFile log(m_home.filePath("log/client.log"));
        QVERIFY(log.open(QFile::ReadOnly));
        QCOMPARE(log.readAll().count("no ticks for \"NOPE.SH\""), 1);
    }

    void program_outputThatCannotBeWritten_fails() {
        const ChildResult result = runChild(
            "/bin/sh", {"-c", "exec \"$0\" --home \"$1\" ticks watch 600000.SH > /dev/full",
                        kProgram, m_home.path()});
        QVERIFY(!result.timedOut && !result.crashed);
        QCOMPARE(result.exitCode, 1);
    }

private:
    ChildResult run(const QStringList& arguments) const {
        return runChild(kProgram, QStringList{"--home", m_home.path()} + arguments,
                        {{"TZ", "America/New_York"}});
    }

    QTemporaryDir m_home;
};

QTEST_GUILESS_MAIN(TicksCommandTest)
#include "ticks_command_test.moc"
