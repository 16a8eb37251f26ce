#include "history_options.h"

#include <QtTest>

#include "shell_options.h"

namespace {

using Command = ShellOptions::Command;

QStringList words(const QString& line) {
    return line.split(QLatin1Char(' '), Qt::SkipEmptyParts);
}

}  // namespace

class HistoryOptionsTest : public QObject {
    Q_OBJECT

private slots:
    void command_withItsOptions_isRead() {
        const ShellOptions read = good(
            "history orders --from 2026-01-05 --to 20260109 --account T1,T2 --account T2,T3 "
            "--format csv --out /tmp/rows.csv");
        QCOMPARE(read.command, Command::History);
        QCOMPARE(read.list, QString("orders"));
        QCOMPARE(read.history.from, QDate(2026, 1, 5));
        QCOMPARE(read.history.to, QDate(2026, 1, 9));
        QCOMPARE(read.history.accounts, QStringList({"T1", "T2", "T3"}));
        QVERIFY(read.history.format == RowFormat::Csv);
        QCOMPARE(read.history.outFile, QString("/tmp/rows.csv"));
        QVERIFY(good("history deals").history.format == RowFormat::Table);
        QVERIFY(good("history funds --format json").history.format == RowFormat::Json);
        QCOMPARE(good("report annual").command, Command::AnnualReport);
        QCOMPARE(good("announcement").command, Command::Announcement);
        QCOMPARE(good("config get some.item").item, QString("some.item"));
        QCOMPARE(good("subscribe topic").item, QString("topic"));
        QCOMPARE(good("calendar").list, QString("1"));
        QCOMPARE(good("calendar hk").list, QString("K"));
    }

    void badInput_isRefusedWithAText_data() {
        QTest::addColumn<QString>("line");
        QTest::addColumn<QString>("part");
        const auto row = [](const char* line, const char* part) {
            QTest::newRow(line) << line << part;
        };
        row("history", "history takes orders, deals, delivery, funds, statistics, appraisement");
        row("history others", "history takes orders");
        row("history orders T1", "history takes orders");
        row("history orders --from 2026-02-30", "--from takes a date such as 2026-01-05");
        row("history orders --to yesterday", "--to takes a date such as 2026-01-05");
        row("history orders --from 260105", "--from takes a date");
        row("history orders --from 2026-01-05 --to 2026-01-04",
            "--from 2026-01-05 is after --to 2026-01-04");
        row("history orders --from 1000-01-01 --to 2026-01-04", "more than 100 years");
        row("history orders --format xml", "--format takes table, csv, json");
        row("history orders --account ,", "--account takes accounts");
        row("history orders --out", "out");
        row("history orders --json", "json");
        row("calendar moon", "calendar takes one of sh, sz");
        row("calendar --account T1", "--account goes with history only");
        row("announcement text", "announcement takes no arguments");
        row("report", "report takes 'annual'");
        row("report annual --from 2026-01-05", "--from and --to go with history and calendar");
        row("config", "config takes 'get ITEM'");
        row("config set a", "config takes 'get ITEM'");
        row("subscribe", "subscribe takes a topic");
        row("subscribe a_b", "a topic cannot contain '_'");
        row("subscribe a --format json", "--format and --out go with");
        row("accounts list --out f", "--format and --out go with");
        row("--from 2026-01-05", "--from and --to go with");
    }
    void badInput_isRefusedWithAText() {
        QFETCH(QString, line);
        QFETCH(QString, part);
        ShellOptions read;
        QString error;
        QVERIFY(!parseShellOptions(words(line), &read, &error));
        QVERIFY2(error.contains(part), qPrintable(error));
    }

private:
    static ShellOptions good(const QString& line) {
        ShellOptions read;
        QString error;
        if (!parseShellOptions(words(line), &read, &error)) {
            qWarning() << line << error;
            return {};
        }
        return read;
    }
};

QTEST_APPLESS_MAIN(HistoryOptionsTest)
#include "history_options_test.moc"
