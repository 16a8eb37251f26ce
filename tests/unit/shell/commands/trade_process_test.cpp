#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>
#include <QtTest>

#include "client_run.h"

/// orders, profit and value of the real program, each in a process of its own, over one home.
class TradeProcessTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() {
        QVERIFY(m_dir.isValid());
        QCOMPARE(makeSampleHome(home()), QString());
    }

    void ordersCheck_csv_showsDerivedFieldsAndRules() {
        const QString file = write("good.csv",
                                   "symbol,tradingAccount,side,orderQty,orderPrice,priceType\r\n"
                                   "600000.SH,T000001,101,100,,SZFOK\r\n");
        const Ended ended = run({"orders", "check", file});
        QVERIFY2(ended.code == 1 && ended.err.isEmpty(), ended.text());
        QVERIFY2(ended.out.contains("'' is not a price above 0"), ended.text());
        QVERIFY2(ended.out.contains("record; no rule for a limit order, price type SZFOK"),
                 ended.text());
        QVERIFY2(ended.out.contains("first exchange of 600000.SH"), ended.text());
        QVERIFY2(!ended.out.contains("unclear"), ended.text());
    }

    void ordersCheck_orderAtTheLastPrice_passes() {
        const QString file = write("market.jsonl",
                                   "{\"symbol\":\"600000.SH\",\"tradingAccount\":\"T000001\","
                                   "\"side\":\"101\",\"orderQty\":100,\"orderType\":\"1\","
                                   "\"priceType\":\"SH5CANCEL\"}\n");
        const Ended ended = run({"orders", "check", "--json", file});
        QVERIFY2(ended.code == 0 && ended.err.isEmpty(), ended.text());
        const QJsonObject record =
            ended.json().object().value("records").toArray().first().toObject();
        QCOMPARE(record.value("line").toInt(), 1);
        QCOMPARE(record.value("row").toObject().value("maxPriceLevels").toString(), QString("5"));
        QVERIFY(!record.value("row").toObject().contains("symbol"));
        QVERIFY(ended.json().object().value("faults").toArray().isEmpty());
    }

    void ordersCheck_cancels_haveTheirOwnMessages() {
        const QString file = write("cancels.jsonl",
                                   "{\"clOrdID\":\"C1\",\"tradingAccount\":\"T000001\"}\n"
                                   "{\"orderID\":\"O1\",\"tradingAccount\":\"T000001\"}\n");
        const Ended ended = run({"orders", "check", "--cancel", "--json", file});
        QVERIFY2(ended.code == 0, ended.text());
        const QJsonArray records = ended.json().object().value("records").toArray();
        QCOMPARE(records.size(), 2);
        for (const QJsonValue& record : records) {
            QCOMPARE(record.toObject().value("message").toObject().value("type").toString(),
                     QString("orderCancelRequest"));
        }
    }

    void ordersCheck_thousandsOfLines_areOneMessage() {
        QByteArray lines = "symbol,tradingAccount,side,orderQty,orderPrice\n";
        for (int i = 0; i < 5000; ++i) {
            lines += "600000.SH,T000001,101,100,10\n";
        }
        const Ended ended = run({"orders", "check", "--json", write("many.csv", lines)});
        QVERIFY2(ended.code <= 1 && ended.err.isEmpty(), ended.text());
        const QJsonObject answer = ended.json().object();
        QCOMPARE(answer.value("records").toArray().size(), 5000);
        const QJsonObject header = answer.value("orders").toObject().value("header").toObject();
        QCOMPARE(header.value("subGroupNumber").toInt(), 5000);
        QSet<QString> times;
        for (const auto& record : answer.value("records").toArray()) {
            times.insert(
                record.toObject().value("row").toObject().value("transActTime").toString());
        }
        QCOMPARE(times.size(), 1);
    }

    void badLine_isNamed_andTheRestGoesOn_data() {
        QTest::addColumn<QString>("question");
        QTest::newRow("check") << "check";
        QTest::newRow("replay") << "replay";
    }
    void badLine_isNamed_andTheRestGoesOn() {
        QFETCH(QString, question);
        const QString file = write("bad.jsonl",
                                   "{\"orderID\":\"O1\",\"orderStatus\":\"0\",\"tradingAccount\":"
                                   "\"T000001\"}\n"
                                   "  oops\n"
                                   "{\"orderID\":\"O2\",\"orderStatus\":\"1\",\"tradingAccount\":"
                                   "\"T000001\"}\n");
        const Ended ended = run({"orders", question, file});
        QVERIFY2(ended.code == 1 && ended.err.isEmpty(), ended.text());
        QVERIFY2(ended.out.contains("line 2, column 3: not a JSON object\n1 bad line\n"),
                 ended.text());
        QVERIFY2(ended.out.contains("O1") && ended.out.contains("O2"), ended.text());
    }

    void ordersReplay_updates_haveAnswerReasonAndStoredRecord() {
        const QString file = write("updates.csv",
                                   "orderID,orderStatus,cumQty,cancelledQty\n"
                                   "O1,0,0,0\nO1,1,100,0\nO1,1,50,0\nO1,2,200,0\nO1,1,150,0\n");
        const Ended table = run({"orders", "replay", file});
        QVERIFY2(table.code == 0 && table.err.isEmpty(), table.text());
        QVERIFY2(table.out.contains("5 updates of 1 order, 3 stored"), table.text());
        const Ended data = run({"orders", "replay", file, "--json"});
        const QJsonArray updates = data.json().object().value("updates").toArray();
        QCOMPARE(updates.size(), 5);
        const QList<bool> stored{true, true, false, true, false};
        for (int i = 0; i < stored.size(); ++i) {
            QCOMPARE(updates.at(i).toObject().value("isStored").toBool(), stored.at(i));
        }
        QCOMPARE(updates.last().toObject().value("reason").toString(),
                 QString("status '2' to '1' is not listed"));
        QCOMPARE(updates.last().toObject().value("stored").toObject().value("cumQty").toString(),
                 QString("200"));
    }

    void file_thatCannotBeRead_isWrongUsage() {
        for (const QString& question : {QString("check"), QString("replay")}) {
            const Ended ended = run({"orders", question, m_dir.filePath("none.csv")});
            QVERIFY2(ended.code == 2 && ended.out.isEmpty(), ended.text());
            QVERIFY2(ended.err.contains("none.csv cannot be read"), ended.text());
        }
    }

    void controlCharacters_neverReachTheTerminal_data() {
        QTest::addColumn<QStringList>("question");
        QTest::newRow("check") << QStringList{"orders", "check"};
        QTest::newRow("check, JSON") << QStringList{"orders", "check", "--json"};
        QTest::newRow("cancel") << QStringList{"orders", "check", "--cancel"};
        QTest::newRow("replay") << QStringList{"orders", "replay"};
        QTest::newRow("replay, JSON") << QStringList{"orders", "replay", "--json"};
    }
    void controlCharacters_neverReachTheTerminal() {
        QFETCH(QStringList, question);
        const QString file =
            write("red.csv",
                  "symbol,tradingAccount,orderStatus,priceType,side,clOrdID,field\x1b[31m\n"
                  "\x1b[31m,\x1b[31m,\x1b[31m,\x1b[31m,\x1b[31m,\x1b[31m,x\n"
                  "\"\x1b[31m\n");
        const Ended ended = run(question + QStringList(file));
        const QString all = ended.out + ended.err;
        QVERIFY2(ended.code == 1 && all.contains("[31m"), ended.text());
        QVERIFY2(!all.contains(QChar(0x1b)), ended.text());
        const Ended account = run({"profit", "show", "\x1b[31m"});
        QVERIFY2(account.code == 2 && !account.err.contains(QChar(0x1b)), account.text());
    }

    void profit_ofTheDayOfADealer_isMadeOfItsDeals() {
        const Ended ended = runWhileDealing({"profit", "show", "--json"});
        QVERIFY2(ended.code == 0 && ended.err.isEmpty(), ended.text());
        const QJsonArray accounts = ended.json().array();
        QVERIFY2(!accounts.isEmpty(), ended.text());
        for (const QJsonValue& account : accounts) {
            for (const auto& item : account.toObject().value("items").toArray()) {
                QVERIFY(!item.toObject().value("deals").toArray().isEmpty());
            }
        }
        // Enough deals for the comparison to mean something, on a busy machine, too.
        const Ended check = run({"--deals", "5000", "--tick-rate", "5", "profit", "check"});
        QVERIFY2(check.code == 0, check.text());
        QVERIFY2(check.out.contains("figures compared, 0 differ"), check.text());
        QVERIFY2(check.out.section(' ', 0, 0).toInt() > 50, check.text());
    }

    void value_ofEveryAccount_agreesWithItsPositions() {
        const Ended ended = run({"--tick-rate", "5", "value", "show", "T000001"});
        QVERIFY2(ended.code == 0 && ended.err.isEmpty(), ended.text());
        QVERIFY2(ended.out.contains("T000001  market value "), ended.text());
        QVERIFY2(!ended.out.contains("without a price"), ended.text());
        const Ended check = runWhileDealing({"value", "check", "--json"});
        QVERIFY2(check.code == 0, check.text());
        QVERIFY2(check.json().object().value("compared").toInt() > 1000, check.text());
        QVERIFY(check.json().object().value("differences").toArray().isEmpty());
    }

    void valueShow_withoutTicks_namesSymbolsWithoutAPrice() {
        const Ended ended = run({"--tick-rate", "0", "value", "show", "T000001"});
        QVERIFY2(ended.code == 0, ended.text());
        QVERIFY2(ended.out.contains("without a price: ") && ended.out.contains("no price"),
                 ended.text());
    }

    void account_thatNobodyHas_isNamedWithSimilarOnes() {
        for (const QString& command : {QString("profit"), QString("value")}) {
            const Ended ended = run({command, "show", "T00001"});
            QVERIFY2(ended.code == 2 && ended.out.isEmpty(), ended.text());
            QVERIFY2(ended.err.contains("no account is called 'T00001'; similar names: T000001"),
                     ended.text());
        }
    }

    void follow_changes_arePrintedUntilTheInterrupt_data() {
        QTest::addColumn<QStringList>("question");
        QTest::addColumn<QByteArray>("part");
        QTest::newRow("value") << QStringList{"--tick-rate", "5",        "value",
                                              "show",        "--follow", "T000001"}
                               << QByteArray("T000001  market value ");
        QTest::newRow("profit") << QStringList{"--deals", "200", "profit", "show", "--follow"}
                                << QByteArray("  realized profit ");
        QTest::newRow("JSON") << QStringList{"--tick-rate", "5",       "value", "show",
                                             "--follow",    "T000001", "--json"}
                              << QByteArray("\"withoutPrice\"");
    }
    void follow_changes_arePrintedUntilTheInterrupt() {
        QFETCH(QStringList, question);
        QFETCH(QByteArray, part);
        RunningClient client(QStringList{"--home", home()} + question);
        QVERIFY2(client.readUntil(part, 3), client.text());
        if (question.contains("--json")) {
            const QByteArray line = client.out().left(client.out().indexOf('\n'));
            QVERIFY(QJsonDocument::fromJson(line).isObject());
        }
        const Ended ended = client.interrupt();
        QVERIFY2(ended.code == 0 && ended.err.isEmpty(), ended.text());
    }

    void output_thatCannotBeWritten_isAFailure_data() {
        QTest::addColumn<QStringList>("question");
        const QString file = write("one.csv", "orderID,orderStatus\nO1,0\n");
        QTest::newRow("check") << QStringList{"orders", "check", file};
        QTest::newRow("replay") << QStringList{"orders", "replay", file};
        QTest::newRow("replay, JSON") << QStringList{"orders", "replay", "--json", file};
        QTest::newRow("profit") << QStringList{"profit", "show"};
        QTest::newRow("profit check") << QStringList{"profit", "check"};
        QTest::newRow("value") << QStringList{"value", "show"};
        QTest::newRow("value check") << QStringList{"value", "check"};
        QTest::newRow("follow") << QStringList{"value", "show", "--follow"};
        QTest::newRow("follow, JSON") << QStringList{"value", "show", "--follow", "--json"};
    }
    void output_thatCannotBeWritten_isAFailure() {
        QFETCH(QStringList, question);
        const Ended ended = run(question, "/dev/full");
        QVERIFY2(ended.code == 1, ended.text());
        QVERIFY2(ended.err.contains("could not be written"), ended.text());
    }

private:
    QString home() const { return m_dir.filePath("home"); }

    QString write(const QString& name, const QByteArray& bytes) const {
        QFile file(m_dir.filePath(name));
        if (!file.open(QFile::WriteOnly) || file.write(bytes) != bytes.size()) {
            qFatal("the file was not written");
        }
        return file.fileName();
    }

    Ended run(const QStringList& arguments, const QString& outputFile = QString()) const {
        return runClient(QStringList{"--home", home()} + arguments, outputFile);
    }
    Ended runWhileDealing(const QStringList& arguments) const {
        return run(QStringList{"--deals", "500", "--tick-rate", "5"} + arguments);
    }

    QTemporaryDir m_dir;
};

QTEST_GUILESS_MAIN(TradeProcessTest)
#include "trade_process_test.moc"
