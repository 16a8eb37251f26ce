#include <QtTest>
#include <thread>

#include "account_fixture.h"
#include "log_capture.h"
#include "order_fixture.h"
#include "velmarutils/velmar_utils.h"
#include "vocabulary/quindar_msg_type.h"

class OrderListTest : public QObject {
    Q_OBJECT

private slots:
    void init() { m_fixture = std::make_unique<OrderFixture>(); }
    void cleanup() { m_fixture.reset(); }

    void message_emptyList_isNull() {
        QCOMPARE(m_fixture->messages.NewOrderList({}, false, false), nullptr);
        QCOMPARE(m_fixture->messages.NewOrderListForInstance({}, "type"), nullptr);
    }

    void message_headerAlone_hasNoRow() {
        const TakenMessage message = m_fixture->list({{}});
        QVERIFY(message.exists);
        QCOMPARE(message.header.value(System::subGroupNumber), QVariant(0));
        QVERIFY(message.rows.isEmpty());
        QVERIFY(m_fixture->instance({{}}).rows.isEmpty());
    }

    void message_type_isNumericOnRequest() {
        const TakenMessage named = m_fixture->list({{}, OrderFixture::order()}, false);
        QCOMPARE(named.type, Quindar_MsgType::newOrderList);
        QCOMPARE(named.headerText(System::msgType), Quindar_MsgType::newOrderList);
        const TakenMessage numeric = m_fixture->list({{}, OrderFixture::order()}, true);
        QCOMPARE(numeric.type, QString("261202"));
        QCOMPARE(numeric.headerText(System::msgType), QString("261202"));
        QCOMPARE(numeric.sourceId, QString());
    }

    void message_packFlag_changesNothing() {
        const QList<QVariantMap> list{{{Security::listID, "L1"}}, OrderFixture::order()};
        const TakenMessage plain = m_fixture->list(list, false, false);
        TakenMessage packed = m_fixture->list(list, false, true);
        QCOMPARE(packed.header, plain.header);
        packed.rows.first().insert(Security::transActTime,
                                   plain.rows.first().value(Security::transActTime));
        QCOMPARE(packed.rows, plain.rows);
    }

    void header_plainList_hasUserSizeAndType() {
        const TakenMessage message =
            m_fixture->list({{}, OrderFixture::order(), OrderFixture::order("000001.SZ")});
        QCOMPARE(message.header, (QVariantMap{{UserAccount::userID, "tester"},
                                              {System::subGroupNumber, 2},
                                              {System::msgType, Quindar_MsgType::newOrderList}}));
        QCOMPARE(message.rows.size(), 2);
    }

    void header_fieldsOfElement0_areCopiedIfTheyArePresent_data() {
        QTest::addColumn<QString>("field");
        QTest::addColumn<bool>("copied");
        for (const QString& field : {System::clientMsgID, Security::listID,
                                     Security::minEntrustRatio, Security::replyMode}) {
            QTest::newRow(qPrintable(field)) << field << true;
        }
        for (const QString& field :
             {Security::symbol, Security::orderQty, Security::systemNodeId, Security::side,
              UserAccount::tradingAccount, UserAccount::securityAccount, ETF::UserReference1}) {
            QTest::newRow(qPrintable(field)) << field << false;
        }
    }
    void header_fieldsOfElement0_areCopiedIfTheyArePresent() {
        QFETCH(QString, field);
        QFETCH(bool, copied);
        const int without = m_fixture->list({{}}).header.size();
        for (const QVariant& value : {QVariant("x"), QVariant(""), QVariant(7)}) {
            const QVariantMap header = m_fixture->list({{{field, value}}}).header;
            QCOMPARE(header.contains(field), copied);
            QCOMPARE(header.size(), copied ? without + 1 : without);
            QCOMPARE(header.value(field), copied ? value : QVariant());
        }
    }

    void header_thatIsAnOrder_sendsNoOrderFields() {
        const QVariantMap order =
            OrderFixture::with(OrderFixture::order(), {{UserAccount::userID, "someone else"},
                                                       {System::msgType, "other"},
                                                       {System::subGroupNumber, 99}});
        const TakenMessage message = m_fixture->list({order, OrderFixture::order()});
        QCOMPARE(message.header, m_fixture->list({{}, OrderFixture::order()}).header);
        QCOMPARE(message.rows.size(), 1);
    }

    void row_recordFields_travelExceptTheSymbol() {
        const QVariantMap order = OrderFixture::with(
            OrderFixture::order(),
            {{Security::chineseName, "浦发银行"}, {"own", QVariantList{1, "二"}}});
        const QVariantMap row = m_fixture->rowOf(order);
        QVERIFY(!row.contains(Security::symbol));
        QVariantMap expected = order;
        expected.remove(Security::symbol);
        for (auto it = expected.cbegin(); it != expected.cend(); ++it) {
            QCOMPARE(row.value(it.key()), it.value());
        }
        QCOMPARE(row.value(Security::securityID), QVariant("600000"));
    }

    void rows_manyOrders_keepTheirOrder() {
        const TakenMessage message = m_fixture->list({{},
                                                      OrderFixture::order("600000.SH"),
                                                      OrderFixture::order("000001.SZ"),
                                                      OrderFixture::order("600000.SH")});
        QStringList ids;
        for (const QVariantMap& row : message.rows) {
            ids.append(row.value(Security::securityID).toString());
        }
        QCOMPARE(ids, (QStringList{"600000", "000001", "600000"}));
    }

    void transActTime_rowsOfABatch_haveTheSameMilliseconds() {
        const TakenMessage message =
            m_fixture->list({{}, OrderFixture::order(), OrderFixture::order()});
        const QVariant first(QString::number(TickingClock::kStartMs + 1000));
        QCOMPARE(message.rows.at(0).value(Security::transActTime), first);
        QCOMPARE(message.rows.at(1).value(Security::transActTime), first);
        // The next batch has a time of its own; a record's own time does not count.
        const QVariantMap next = m_fixture->rowOf(
            OrderFixture::with(OrderFixture::order(), {{Security::transActTime, "early"}}));
        QCOMPARE(next.value(Security::transActTime),
                 QVariant(QString::number(TickingClock::kStartMs + 2000)));
    }

    void securityId_ofTheRecord_isKept_data() {
        QTest::addColumn<QVariantMap>("more");
        QTest::addColumn<QString>("fromList");
        QTest::addColumn<QString>("fromInstance");
        QTest::newRow("missing") << QVariantMap() << "600000"
                                 << "600000";
        QTest::newRow("empty") << QVariantMap{{Security::securityID, ""}} << "600000"
                               << "600000";
        QTest::newRow("set") << QVariantMap{{Security::securityID, "own"}} << "own"
                             << "600000";
        QTest::newRow("source alone") << QVariantMap{{Security::securityIDSource, "8"}} << "600000"
                                      << "600000";
        QTest::newRow("empty source")
            << QVariantMap{{Security::securityID, "own"}, {Security::securityIDSource, ""}} << "own"
            << "600000";
        QTest::newRow("set with source")
            << QVariantMap{{Security::securityID, "own"}, {Security::securityIDSource, "8"}}
            << "own"
            << "own";
    }
    void securityId_ofTheRecord_isKept() {
        QFETCH(QVariantMap, more);
        const QVariantMap order = OrderFixture::with(OrderFixture::order(), more);
        QTEST(m_fixture->rowOf(order).value(Security::securityID).toString(), "fromList");
        QTEST(m_fixture->instanceRowOf(order).value(Security::securityID).toString(),
              "fromInstance");
    }

    void station_ofTheRecord_isKept() {
        const QString own = VelmarUtils::GetVelmarOrderStation(QString());
        const auto stationOf = [this](const QVariantMap& more) {
            return m_fixture->rowOf(OrderFixture::with(OrderFixture::order(), more))
                .value(Security::orderStation)
                .toString();
        };
        QVERIFY(!own.isEmpty());
        QCOMPARE(stationOf({}), own);
        QCOMPARE(stationOf({{Security::orderStation, ""}}), own);
        QCOMPARE(stationOf({{Security::orderStation, "柜台"}}), QString("柜台"));
    }

    void instruction_present_linksTheOrder() {
        const auto rowWith = [this](const QVariantMap& more) {
            return m_fixture->rowOf(OrderFixture::with(OrderFixture::order(), more));
        };
        const QVariantMap linked = rowWith({{Instruction::InstructionID, "I7"}});
        QCOMPARE(linked.value(Security::parentOrderID), QVariant("I7"));
        QCOMPARE(linked.value(Security::orderFlowType), QVariant(orderFlowType::instructionOrder));
        const QVariant number =
            rowWith({{Instruction::InstructionID, 77}}).value(Security::parentOrderID);
        QCOMPARE(number, QVariant(77));
        QCOMPARE(number.userType(), int(QMetaType::Int));
        const QVariantMap without = rowWith({});
        QVERIFY(!without.contains(Security::parentOrderID));
        QVERIFY(!without.contains(Security::orderFlowType));
        const QVariantMap empty =
            rowWith({{Instruction::InstructionID, ""}, {Security::parentOrderID, "own"}});
        QCOMPARE(empty.value(Security::parentOrderID), QVariant("own"));
        QVERIFY(!empty.contains(Security::orderFlowType));
    }

    void securityAccount_ofTheRecord_isKeptWithoutTheExchange() {
        const QVariantMap row = m_fixture->rowOf(
            OrderFixture::with(OrderFixture::order(), {{UserAccount::securityAccount, "own"}}));
        QCOMPARE(row.value(UserAccount::securityAccount), QVariant("own"));
        QVERIFY(!row.contains(UserAccount::securityExchange));
        QVERIFY(m_fixture->accounts.calls.isEmpty());
    }

    void securityAccount_missing_isTheChosenOneOfTheExchange_data() {
        QTest::addColumn<QVariantMap>("order");
        QTest::addColumn<QString>("asked");
        QTest::addColumn<QString>("account");
        QTest::newRow("exchange of the symbol") << OrderFixture::order("000001.SZ") << "T1/2"
                                                << "B1";
        QTest::newRow("first of two exchanges") << OrderFixture::order("02001.HK") << "T1/G"
                                                << "G1";
        QTest::newRow("exchange of the record")
            << OrderFixture::with(OrderFixture::order(), {{UserAccount::securityExchange, "2"}})
            << "T1/2"
            << "B1";
        QTest::newRow("empty account and exchange")
            << OrderFixture::with(OrderFixture::order(), {{UserAccount::securityAccount, ""},
                                                          {UserAccount::securityExchange, ""}})
            << "T1/1"
            << "A1";
        QTest::newRow("no trading account") << QVariantMap{{Security::symbol, "600000.SH"}} << "/1"
                                            << "";
        QTest::newRow("unknown trading account")
            << OrderFixture::with(OrderFixture::order(), {{UserAccount::tradingAccount, "T9"}})
            << "T9/1"
            << "";
    }
    void securityAccount_missing_isTheChosenOneOfTheExchange() {
        QFETCH(QVariantMap, order);
        QFETCH(QString, asked);
        m_fixture->accounts.chosen = {{"T1/1", "A1"}, {"T1/2", "B1"}, {"T1/G", "G1"}};
        for (const QVariantMap& row : {m_fixture->rowOf(order), m_fixture->instanceRowOf(order)}) {
            QTEST(row.value(UserAccount::securityAccount).toString(), "account");
            QVERIFY(row.contains(UserAccount::securityAccount));
            QCOMPARE(row.value(UserAccount::securityExchange).toString(), asked.section('/', 1));
        }
        QCOMPARE(m_fixture->accounts.calls, (QStringList{asked, asked}));
    }

    void securityAccounts_ofMixedOrders_areEachOrdersOwn() {
        m_fixture->accounts.chosen = {{"T1/1", "A1"}, {"T1/2", "B1"}, {"T2/1", "C1"}};
        const auto orderOf = [](const QString& symbol, const QString& account) {
            return OrderFixture::with(OrderFixture::order(symbol),
                                      {{UserAccount::tradingAccount, account}});
        };
        const TakenMessage message = m_fixture->list(
            {{},
             orderOf("600000.SH", "T1"),
             orderOf("600000.SH", "T1"),
             orderOf("600000.SH", "T2"),
             orderOf("000001.SZ", "T2"),
             orderOf("unknown", "T2"),
             OrderFixture::with(orderOf("000001.SZ", "T1"), {{UserAccount::securityAccount, "X"}}),
             orderOf("000001.SZ", "T1"),
             orderOf("600000.SH", "T1")});
        QStringList texts;
        for (const QVariantMap& row : message.rows) {
            texts.append(row.value(UserAccount::securityAccount).toString() + '/' +
                         row.value(UserAccount::securityExchange).toString());
        }
        QCOMPARE(texts, (QStringList{"A1/1", "A1/1", "C1/1", "/2", "/", "X/", "B1/2", "A1/1"}));
    }

    void securityAccount_noExchangeKnown_isNotAdded() {
        for (const char* const symbol : {"unknown.SH", ""}) {
            const QVariantMap row = m_fixture->rowOf(OrderFixture::order(symbol));
            QVERIFY(!row.contains(UserAccount::securityAccount));
            QVERIFY(!row.contains(UserAccount::securityExchange));
            QCOMPARE(row.value(Security::securityID).toString(), QString());
        }
        QVERIFY(m_fixture->accounts.calls.isEmpty());
    }

    void list_accountsNotLoaded_waitsForThem_data() { listKinds(); }
    void list_accountsNotLoaded_waitsForThem() {
        QFETCH(bool, isInstance);
        m_fixture.reset();
        AccountFixture fixture({TestAccount("T1").withSecurityAccount("1", "A1")},
                               OrderFixture::symbols());
        const TickingClock clock;
        const OrderMessages messages(fixture.securityAccounts, clock);
        const QList<QVariantMap> list{{}, OrderFixture::order()};
        // Nothing to wait for: no row, no exchange, and an account of its own.
        QVERIFY(TakenMessage(messages.NewOrderList({{}}, false, false)).exists);
        QVERIFY(TakenMessage(messages.NewOrderList({{}, {}}, false, false)).exists);
        const QVariantMap own =
            OrderFixture::with(OrderFixture::order(), {{UserAccount::securityAccount, "own"}});
        QVERIFY(TakenMessage(messages.NewOrderList({{}, own}, false, false)).exists);
        const LogCapture log;
        fixture.world.login();
        std::atomic<bool> returned{false};
        CMessageCommon* message = nullptr;
        std::thread asking([&] {
            message = isInstance ? messages.NewOrderListForInstance(list, "type")
                                 : messages.NewOrderList(list, false, false);
            returned = true;
        });
        const bool waits = log.waitFor("GetFundAccountList wait for FundAccountInit");
        const bool early = returned;
        const bool loaded = fixture.load();
        asking.join();
        const TakenMessage taken(message);
        QVERIFY(waits);
        QVERIFY(!early);
        QVERIFY(loaded);
        QCOMPARE(taken.rows.value(0).value(UserAccount::securityAccount), QVariant("A1"));
    }

    void list_hostClosesBeforeTheLogin_hasAnEmptySecurityAccount_data() { listKinds(); }
    void list_hostClosesBeforeTheLogin_hasAnEmptySecurityAccount() {
        QFETCH(bool, isInstance);
        m_fixture.reset();
        AccountFixture fixture({TestAccount("T1").withSecurityAccount("1", "A1")},
                               OrderFixture::symbols());
        const TickingClock clock;
        const OrderMessages messages(fixture.securityAccounts, clock);
        const LogCapture log;
        QVariantMap row;
        std::thread asking([&] {
            const QList<QVariantMap> list{{}, OrderFixture::order()};
            row = TakenMessage(isInstance ? messages.NewOrderListForInstance(list, "type")
                                          : messages.NewOrderList(list, false, false))
                      .rows.value(0);
        });
        const bool waits = log.waitFor("GetFundAccountList wait for FundAccountInit");
        LocalPlatform::instance().close();
        asking.join();
        QVERIFY(waits);
        QVERIFY(row.contains(UserAccount::securityAccount));
        QCOMPARE(row.value(UserAccount::securityAccount).toString(), QString());
        QCOMPARE(row.value(UserAccount::securityExchange), QVariant(Exchange::sh));
        QCOMPARE(row.value(Security::orderQty), QVariant(100));
    }

private:
    static void listKinds() {
        QTest::addColumn<bool>("isInstance");
        QTest::newRow("NewOrderList") << false;
        QTest::newRow("NewOrderListForInstance") << true;
    }

    std::unique_ptr<OrderFixture> m_fixture;
};

QTEST_GUILESS_MAIN(OrderListTest)
#include "order_list_test.moc"
