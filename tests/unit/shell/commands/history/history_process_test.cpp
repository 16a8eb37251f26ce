#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>
#include <QtTest>

#include "client_run.h"
#include "history_columns.h"
#include "text_table.h"

namespace {

/// A trade day within the year of the sample market's history.
const QString kClock = QStringLiteral("2025-06-06T16:00:00");

}  // namespace

/// The commands about the past of the real program, each in a process of its own, over one home.
class HistoryProcessTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() {
        QVERIFY(m_dir.isValid());
        QCOMPARE(makeSampleHome(home()), QString());
    }

    void orders_toAFile_areAllOfTheRange() {
        const QString file = m_dir.filePath("orders.csv");
        const Ended ended =
            run({"history", "orders", "--account", "T000001", "--from", "2025-06-03", "--to",
                 "20250606", "--format", "csv", "--out", file});
        QVERIFY2(ended.code == 0, ended.text());
        QFile written(file);
        QVERIFY(written.open(QFile::ReadOnly));
        const QList<QByteArray> lines = written.readAll().split('\n');
        QVERIFY(lines.first().startsWith("tradeDate,transActTime,tradingAccount,orderID,"));
        QVERIFY(lines.at(1).startsWith("2025-06-03,"));
        QVERIFY(lines.at(lines.size() - 2).startsWith("2025-06-06,"));
        QVERIFY(lines.last().isEmpty());
        const int rows = lines.size() - 2;
        QVERIFY2(rows > 1000, "the range is not longer than a page");
        QCOMPARE(ended.out,
                 QString("%1 rows, 2025-06-03 to 2025-06-06 in %2\n").arg(rows).arg(file));
    }

    void everyList_ofTheLastTradeWeek_hasRowsWithItsColumns_data() {
        QTest::addColumn<QString>("list");
        for (const QString& list : historyLists()) {
            QTest::newRow(qPrintable(list)) << list;
        }
    }
    void everyList_ofTheLastTradeWeek_hasRowsWithItsColumns() {
        QFETCH(QString, list);
        const Ended ended = run({"history", list, "--format", "json"});
        QVERIFY2(ended.code == 0, ended.text());
        const QJsonArray rows = ended.json().array();
        QVERIFY2(!rows.isEmpty(), ended.text());
        // The fifth trade day before, with the holiday of the second of June.
        const QString summary = QString("%1 rows, 2025-05-30 to 2025-06-06\n").arg(rows.size());
        if (list == "funds") {
            // The login has accounts of all kinds.
            QVERIFY2(
                ended.err.startsWith("velmar-client: neither cash nor margin accounts, without "
                                     "funds: T000004, "),
                ended.text());
            QCOMPARE(ended.err.section('\n', 1), summary);
        } else {
            QCOMPARE(ended.err, summary);
        }
        for (const RowColumn& column : historyColumns(list)) {
            const bool isKnown = std::any_of(rows.begin(), rows.end(), [&](const QJsonValue& row) {
                return row.toObject().contains(QLatin1String(column.key));
            });
            QVERIFY2(isKnown, column.key);
        }
    }

    void table_chineseNames_lineUp() {
        const Ended ended = run({"history", "appraisement"});
        QVERIFY2(ended.code == 0, ended.text());
        const QStringList lines = ended.out.split('\n');
        QVERIFY2(ended.out.contains(QRegularExpression("[\\x{4e00}-\\x{9fff}]")), ended.text());
        const int column = lines.first().indexOf("Balance");
        for (const QString& line : lines.mid(2, 3)) {
            // The balance is the first number with decimals.
            const int figure = line.indexOf(QRegularExpression("\\d+\\.\\d"));
            QCOMPARE(displayWidth(line.left(figure)), column);
        }
    }

    void badInput_isRefused_data() {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<QString>("text");
        QTest::newRow("account") << QStringList{"history", "orders", "--account", "T99"}
                                 << "velmar-client: no account is called 'T99'";
        QTest::newRow("product")
            << QStringList{"history", "appraisement", "--account", "P0000"}
            << "velmar-client: no product is called 'P0000'; similar names: P0";
        QTest::newRow("date") << QStringList{"history", "orders", "--from", "2025-06-31"}
                              << "velmar-client: --from takes a date such as 2026-01-05";
        QTest::newRow("range") << QStringList{"history", "orders", "--from", "2025-06-07"}
                               << "velmar-client: --from 2025-06-07 is after --to 2025-06-06";
        QTest::newRow("file") << QStringList{"history", "orders", "--out", "/none/f"}
                              << "velmar-client: /none/f cannot be written";
    }
    void badInput_isRefused() {
        QFETCH(QStringList, arguments);
        QFETCH(QString, text);
        const Ended ended = run(arguments);
        QVERIFY2(ended.code == 2, ended.text());
        QVERIFY2(ended.err.startsWith(text), ended.text());
        QVERIFY2(ended.out.isEmpty(), ended.text());
    }

    void interruptedWhileAPageIsAwaited_listOfTheFirstPagesIsClosed() {
        RunningClient client(withHome(
            {"--fault", "queryHistoryExecutionRequest 3 timeout silent=true", "history", "deals",
             "--account", "T000001", "--from", "2025-01-01", "--format", "json"}));
        QVERIFY2(client.readUntil("\n{", 2000), client.text());
        const Ended ended = client.interrupt();
        QVERIFY2(ended.code == 1, ended.text());
        QVERIFY2(ended.json().isArray(), qPrintable(ended.out.right(200)));
        QCOMPARE(ended.json().array().size(), 2000);
        QCOMPARE(ended.err,
                 QString("velmar-client: interrupted; the first 2000 rows were printed\n"));
    }

    void pageThatIsRefused_endsTheListWithAFault() {
        const Ended ended =
            run({"--fault", "queryHistoryExecutionRequest 2 refusal", "history", "deals",
                 "--account", "T000001", "--from", "2025-01-01", "--format", "json"});
        QVERIFY2(ended.code == 1, ended.text());
        QCOMPARE(ended.json().array().size(), 1000);
        QCOMPARE(ended.err, QString("velmar-client: page 2 was not received; the first 1000 rows "
                                    "were printed; see the log\n"));
    }

    void requestThatIsLost_endsTheListWithAFault_data() {
        QTest::addColumn<QString>("list");
        QTest::addColumn<QString>("fault");
        QTest::addColumn<QString>("missing");
        QTest::newRow("delivery")
            << "delivery"
            << "queryHistoryAssetDeliveryRequest 2 refusal"
            << "section 2 of 2 was not received whole: T000003, 2025-06-04 to "
               "2025-06-06 is missing";
        QTest::newRow("statistics") << "statistics"
                                    << "salesTradeRealGatherHistoryRequest 2+ failure"
                                    << "section 2 of 2 was not received whole: T000003, 2025-06-04 "
                                       "to 2025-06-06 is missing";
        QTest::newRow("funds") << "funds"
                               << "queryHistoryNormalFundRequest 2 disconnect"
                               << "section 2 of 2 was not received whole: T000003, 2025-06-04 to "
                                  "2025-06-06 is missing";
        QTest::newRow("garbled") << "funds"
                                 << "queryHistoryNormalFundRequest 2 truncate"
                                 << "section 2 of 2 was not received whole: T000003, 2025-06-04 to "
                                    "2025-06-06 is missing";
    }
    void requestThatIsLost_endsTheListWithAFault() {
        QFETCH(QString, list);
        QFETCH(QString, fault);
        QFETCH(QString, missing);
        const QStringList arguments{"history",    list,   "--account",  "T000003",  "--from",
                                    "2025-05-05", "--to", "2025-06-06", "--format", "json"};
        const Ended whole = run(arguments);
        QVERIFY2(whole.code == 0, whole.text());
        const Ended ended = run(QStringList{"--fault", fault} + arguments);
        QVERIFY2(ended.code == 1, ended.text());
        const QJsonArray rows = ended.json().array();
        QVERIFY2(ended.json().isArray() && !rows.isEmpty(), ended.text());
        QVERIFY(rows.size() < whole.json().array().size());
        QCOMPARE(ended.err, QString("velmar-client: %1; the first %2 rows were printed; see the "
                                    "log\n")
                                .arg(missing)
                                .arg(rows.size()));
    }

    void productThatIsRefused_endsTheListWithAFault() {
        const Ended ended = run({"--fault", "queryHistoryAppraisementRequest 2 refusal", "history",
                                 "appraisement", "--account", "P00001", "--from", "2025-06-05",
                                 "--to", "2025-06-06", "--format", "json"});
        QVERIFY2(ended.code == 1, ended.text());
        QVERIFY2(!ended.json().array().isEmpty(), ended.text());
        QVERIFY2(
            ended.err.startsWith("velmar-client: section 2 of 2 was not received whole: P00001, "
                                 "2025-06-06 is missing; the first "),
            ended.text());
    }

    void requestThatSucceedsAgain_isNotLost() {
        const Ended ended = run({"--fault", "salesTradeRealGatherHistoryRequest 1-2 failure",
                                 "history", "statistics", "--account", "T000001", "--from",
                                 "2025-06-05", "--to", "2025-06-06", "--format", "json"});
        QVERIFY2(ended.code == 0, ended.text());
        QVERIFY(!ended.json().array().isEmpty());
    }

    void statistics_agreeWithTheDeals() {
        const QStringList days{"--account", "T000001",    "--from",   "2025-06-05",
                               "--to",      "2025-06-06", "--format", "json"};
        const Ended deals = run(QStringList{"history", "deals"} + days);
        const Ended statistics = run(QStringList{"history", "statistics"} + days);
        QMap<QString, QPair<double, double>> expected;  // pieces and amount
        const auto keyOf = [](const QJsonObject& row) {
            return row.value("securityID").toString() + row.value("side").toString() +
                   row.value("tradeDate").toVariant().toString().remove('-');
        };
        for (const auto& value : deals.json().array()) {
            const QJsonObject deal = value.toObject();
            if (deal.value("ExchangeExecType").toString() == "0") {
                auto& sums = expected[keyOf(deal)];
                sums.first += deal.value("lastQty").toDouble();
                sums.second += deal.value("lastAmount").toDouble();
            }
        }
        QVERIFY2(expected.size() > 10, deals.text());
        const QJsonArray rows = statistics.json().array();
        QVERIFY2(rows.size() == expected.size(), statistics.text());
        for (const QJsonValue& value : rows) {
            const QJsonObject row = value.toObject();
            QVERIFY2(expected.contains(keyOf(row)), qPrintable(keyOf(row)));
            const auto sums = expected.value(keyOf(row));
            QCOMPARE(row.value("cumQty").toDouble(), sums.first);
            QVERIFY(qAbs(row.value("avgPx").toDouble() * sums.first - sums.second) < 0.01);
        }
    }

    void calendar_exchange_listsItsTradeDays() {
        const Ended ended =
            run({"calendar", "--from", "2025-06-01", "--to", "2025-06-09", "--format", "csv"});
        QVERIFY2(ended.code == 0, ended.text());
        QCOMPARE(ended.out, QString("tradeDate,weekday\r\n2025-06-03,Tuesday\r\n"
                                    "2025-06-04,Wednesday\r\n2025-06-05,Thursday\r\n"
                                    "2025-06-06,Friday\r\n2025-06-09,Monday\r\n"));
        const Ended hongKong = run(
            {"calendar", "hk", "--from", "2025-06-02", "--to", "2025-06-02", "--format", "csv"});
        QCOMPARE(hongKong.out, QString("tradeDate,weekday\r\n2025-06-02,Monday\r\n"));
    }

    void funds_columns_addUpFromDayToDay() {
        const Ended ended = run({"--clock", "2026-01-05T16:00:00", "history", "funds", "--account",
                                 "T000001", "--from", "2025-12-01", "--format", "csv"});
        QVERIFY2(ended.code == 0, ended.text());
        const QStringList lines = ended.out.split("\r\n", Qt::SkipEmptyParts);
        const QStringList names = lines.first().split(',');
        double before = 0;
        int moved = 0;
        for (int i = 1; i < lines.size(); ++i) {
            const QStringList cells = lines.at(i).split(',');
            const auto figure = [&](const char* name) {
                return cells.value(names.indexOf(name)).toDouble();
            };
            const double total = figure("totalAsset");
            const double inside = figure("dayProfit") + figure("transfer");
            if (i > 1) {
                QVERIFY2(qAbs(total - before - inside - figure("valueTransfer")) < 0.02,
                         qPrintable(lines.at(i)));
                moved += qAbs(figure("valueTransfer")) > 1 ? 1 : 0;
            }
            before = total;
        }
        QVERIFY2(moved > 0, "no day has securities from outside");
    }

    void calendar_behindThePublishedYears_saysSo() {
        const Ended within =
            run({"calendar", "--from", "2026-12-30", "--to", "2026-12-31", "--format", "csv"});
        QCOMPARE(within.err, QString("2 rows, 2026-12-30 to 2026-12-31\n"));
        const Ended behind =
            run({"calendar", "--from", "2026-12-31", "--to", "2027-01-04", "--format", "csv"});
        QVERIFY2(behind.code == 0, behind.text());
        QCOMPARE(behind.err,
                 QString("velmar-client: holidays are published up to 2026: later trade days are "
                         "provisional, every weekday up to the end of 2027\n"
                         "3 rows, 2026-12-31 to 2027-01-04\n"));
    }

    void list_withoutRowsInTheDefaultRange_givesAHint() {
        const QStringList arguments{"--clock",   "2026-06-05T16:00:00",
                                    "history",   "deals",
                                    "--account", "T000001",
                                    "--format",  "json"};
        const Ended ended = run(arguments);
        QVERIFY2(ended.code == 0 && ended.json().array().isEmpty(), ended.text());
        QVERIFY2(ended.err.startsWith("velmar-client: the last trade days have no rows; --from and "
                                      "--to set other days"),
                 ended.text());
        const Ended given = run(arguments + QStringList{"--from", "2026-06-04"});
        QCOMPARE(given.err, QString("0 rows, 2026-06-04 to 2026-06-05\n"));
    }

    void listThatFailsAtOnce_keepsTheOldFile() {
        const QString file = m_dir.filePath("kept.csv");
        QFile old(file);
        QVERIFY(old.open(QFile::WriteOnly));
        old.write("old");
        old.close();
        const Ended ended =
            run({"--fault", "queryHistoryExecutionRequest 1 refusal", "history", "deals",
                 "--account", "T000001", "--format", "csv", "--out", file});
        QVERIFY2(ended.code == 1, ended.text());
        QCOMPARE(ended.err, QString("velmar-client: page 1 was not received; %1 was not written; "
                                    "see the log\n")
                                .arg(file));
        QVERIFY(old.open(QFile::ReadOnly));
        QCOMPARE(old.readAll(), QByteArray("old"));
    }

    void items_areThoseOfTheServer() {
        const Ended announcement = run({"announcement"});
        QVERIFY2(announcement.code == 0 && announcement.out.size() > 20, announcement.text());
        const Ended asJson = run({"announcement", "--format", "json"});
        QCOMPARE(asJson.json().array().first().toObject().value("announcement").toString() + '\n',
                 announcement.out);
        const Ended report = run({"report", "annual", "--format", "json"});
        QVERIFY2(report.code == 0, report.text());
        QVERIFY2(report.json().array().first().toObject().contains("host/orderCount"),
                 report.text());
        const Ended table = run({"report", "annual"});
        QVERIFY2(table.out.contains("orderCount"), table.text());
        const Ended item = run({"config", "get", "torvi.sys.dmp.autouploadlog"});
        QVERIFY2(item.code == 0 && item.out == "true\n", item.text());
        const Ended unknown = run({"config", "get", "none.such"});
        QVERIFY2(unknown.code == 1, unknown.text());
        QVERIFY2(unknown.err.contains("the server has no value for 'none.such'"), unknown.text());
    }

    void output_thatCannotBeWritten_isAFailureWithAText_data() {
        QTest::addColumn<QStringList>("question");
        QTest::newRow("list") << QStringList{"calendar", "--format", "csv"};
        QTest::newRow("item") << QStringList{"announcement"};
    }
    void output_thatCannotBeWritten_isAFailureWithAText() {
        if (!QFile::exists("/dev/full")) {
            QSKIP("no /dev/full");
        }
        QFETCH(QStringList, question);
        const Ended ended = run(question, "/dev/full");
        QVERIFY2(ended.code == 1, ended.text());
        QVERIFY2(ended.err.contains("could not be written"), ended.text());
        QVERIFY2(!ended.err.contains("velmar-client: \n"), ended.text());
    }

    void outFile_thatCannotBeOpened_isWrongUsage_data() {
        QTest::addColumn<QStringList>("question");
        QTest::newRow("list") << QStringList{"calendar"};
        QTest::newRow("item") << QStringList{"announcement"};
        QTest::newRow("item, JSON") << QStringList{"announcement", "--format", "json"};
    }
    void outFile_thatCannotBeOpened_isWrongUsage() {
        QFETCH(QStringList, question);
        const QString file = m_dir.filePath("missing/file");
        const Ended ended = run(question + QStringList{"--out", file});
        QVERIFY2(ended.code == 2, ended.text());
        QVERIFY2(ended.err.startsWith("velmar-client: " + file + " cannot be written: "),
                 ended.text());
    }

    void calendar_ofOneDay_hasOneRow() {
        const Ended ended =
            run({"calendar", "circulation", "--from", "2025-06-03", "--to", "2025-06-03"});
        QVERIFY2(ended.code == 0, ended.text());
        QVERIFY2(ended.out.contains("\n1 row"), ended.text());
        QVERIFY2(!ended.out.contains("1 rows"), ended.text());
    }

    void topic_isSubscribed_orRefused() {
        const Ended known = run({"subscribe", "MessageCenterPushMsg"});
        QVERIFY2(known.code == 0 && known.out == "subscribed to MessageCenterPushMsg\n",
                 known.text());
        const Ended refused = run(
            {"--fault", "subscribeTopicRequest every refusal text=no", "subscribe", "OtherTopic"});
        QVERIFY2(refused.code == 1, refused.text());
        QVERIFY2(refused.err.contains("'OtherTopic' was not subscribed"), refused.text());
    }

private:
    QString home() const { return m_dir.filePath("home"); }
    QStringList withHome(const QStringList& arguments) const {
        return QStringList{"--home", home(), "--clock", kClock} + arguments;
    }
    /// With stdout to a file when one is named.
    Ended run(const QStringList& arguments, const QString& outFile = QString()) const {
        return runClient(withHome(arguments), outFile);
    }

    QTemporaryDir m_dir;
};

QTEST_GUILESS_MAIN(HistoryProcessTest)
#include "history_process_test.moc"
