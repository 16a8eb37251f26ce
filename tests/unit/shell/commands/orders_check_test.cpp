#include "orders_check.h"

#include <QJsonDocument>
#include <QtTest>
#include <limits>

#include "facade_recorder.h"
#include "test_paths.h"
#include "vocabulary/fields.h"
#include "vocabulary/tick_fields.h"
#include "vocabulary/values.h"

namespace {

constexpr int kWide = std::numeric_limits<int>::max();

/// Answers as a small plug-in would: a message repeats its records with an order station.
class Answers final : public FacadeRecorder {
public:
    Answers() {
        results = {
            {"GetSecurityDetailsBySymbol", QJsonObject{{"symbol", "600000.SH"}}},
            {"GetSecurityExchangeListBySymbol", QJsonArray{"1", "2"}},
            {"GetCurrentSecurityAccountByTradingAndExchange", "S1"},
            {"GetVelmarOrderStation", "here"},
            {"GetQtyStepBySymbol", 100},
            {"GetMinQtyPerOrderBySymbol", 100},
            {"GetMinSoldQtyBySymbol", 1},
            {"GetMaxQtyPerOrderBySymbol", 1000},
            {"GetPriceUnitBySymbol", 0.01},
            {"IsUserCageInfoInited", true},
            {"CheckCagePrice", 10.2},
            {"GetAccountInfoByTradingAccount",
             QJsonObject{{"tradingAccount", "T1"}, {"accountStatus", "0"}, {"authorityFlags", 16}}},
            {"IsSymbolTradableByAccount", true},
            {"IsSideUnionSupportByAccount", true},
            {"GetSupportSideUnionListByAccount", QJsonArray{"101", "102"}},
        };
    }
    QVariantMap added{{Security::orderStation, "here"},
                      {Security::securityID, "600000"},
                      {Security::transActTime, "1"},
                      {UserAccount::securityAccount, "S1"},
                      {UserAccount::securityExchange, "1"}};

protected:
    void reply(const QString& name, const QStringList& arguments, QJsonObject* answer) override {
        const auto rowOf = [this](QVariantMap row) {
            for (auto it = added.cbegin(); it != added.cend(); ++it) {
                row.insert(it.key(), it.value());
            }
            return QJsonObject::fromVariantMap(row);
        };
        if (name == "NewOrderList") {
            const QVariantList list =
                QJsonDocument::fromJson(arguments.first().toUtf8()).array().toVariantList();
            QJsonArray rows;
            for (const QVariant& one : list.mid(1)) {
                rows.append(rowOf(one.toMap()));
            }
            answer->insert("result", QJsonObject{{"type", "newOrderList"},
                                                 {"header", QJsonObject{{"userID", "u"}}},
                                                 {"rows", rows}});
        } else if (name == "OrderCancelRequest") {
            const QVariantMap order =
                QJsonDocument::fromJson(arguments.first().toUtf8()).object().toVariantMap();
            answer->insert("result",
                           QJsonObject{{"type", "orderCancelRequest"}, {"header", rowOf(order)}});
        } else {
            FacadeRecorder::reply(name, arguments, answer);
        }
    }
};

QVariantMap goodOrder() {
    return {{Security::symbol, "600000.SH"},
            {UserAccount::tradingAccount, "T1"},
            {Security::side, SideUnion::normalBuy},
            {Security::orderQty, 100},
            {"orderPrice", 10.2}};
}

RecordFile fileOf(const QList<QVariantMap>& records) {
    RecordFile file;
    for (const QVariantMap& record : records) {
        file.records.append({file.records.size() + 2, record});
    }
    return file;
}

QMap<QString, QVariantMap> someTick() {
    return {
        {"600000.SH", {{TickField::phase, TickPhase::continuous}, {TickField::lastPrice, 10.0}}}};
}

QJsonObject entry(const CommandAnswer& answer, int record, const QString& list,
                  const QString& keyName, const QString& key) {
    const QJsonArray entries = answer.json.toObject()
                                   .value("records")
                                   .toArray()
                                   .at(record)
                                   .toObject()
                                   .value(list)
                                   .toArray();
    for (const QJsonValue& one : entries) {
        if (one.toObject().value(keyName) == key) {
            return one.toObject();
        }
    }
    return {};
}

}  // namespace

class OrdersCheckTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() {
        QString error;
        QVERIFY2(m_library.load(facadeLibraryFile(), &error), qPrintable(error));
    }

    void order_thatPassesEverything_isNoFault() {
        Answers answers;
        const CommandAnswer answer = check(answers, {goodOrder()});
        QVERIFY2(!answer.isFault && answer.error.isEmpty(), qPrintable(answer.lines.join('\n')));
        for (const char* rule :
             {"security", "smallest order", "largest order", "quantity step", "price unit",
              "price limits", "account may trade", "security for account", "side for account"}) {
            QCOMPARE(entry(answer, 0, "rules", "rule", rule).value("result").toString(),
                     QString("pass"));
        }
        QVERIFY(answer.lines.contains("1 record, 0 with a rule that fails"));
        QVERIFY(answer.lines.at(2).startsWith("2     600000.SH"));
    }

    void derivedField_hasTheRuleThatGaveIt_data() {
        QTest::addColumn<QVariantMap>("more");
        QTest::addColumn<QString>("field");
        QTest::addColumn<QString>("from");
        QTest::newRow("station") << QVariantMap() << "orderStation"
                                 << "this machine";
        QTest::newRow("own station") << QVariantMap{{"orderStation", "here"}} << "orderStation"
                                     << "record";
        QTest::newRow("security id") << QVariantMap() << "securityID"
                                     << "looked up for 600000.SH";
        QTest::newRow("own id") << QVariantMap{{"securityID", "600000"}} << "securityID"
                                << "record";
        QTest::newRow("exchange") << QVariantMap() << "securityExchange"
                                  << "first exchange of 600000.SH";
        QTest::newRow("own exchange")
            << QVariantMap{{"securityExchange", "1"}} << "securityExchange"
            << "record";
        QTest::newRow("security account") << QVariantMap() << "securityAccount"
                                          << "chosen for T1 at exchange 1";
        QTest::newRow("own security account")
            << QVariantMap{{"securityAccount", "S1"}} << "securityAccount"
            << "record";
        QTest::newRow("no rule for the price type")
            << QVariantMap{{"priceType", "X"}} << "timeInForce"
            << "record; no rule for a limit order, price type X";
        QTest::newRow("time") << QVariantMap() << "transActTime"
                              << "time of the message";
    }
    void derivedField_hasTheRuleThatGaveIt() {
        QFETCH(QVariantMap, more);
        QFETCH(QString, field);
        QFETCH(QString, from);
        Answers answers;
        QVariantMap order = goodOrder();
        for (auto it = more.cbegin(); it != more.cend(); ++it) {
            order.insert(it.key(), it.value());
        }
        const CommandAnswer answer = check(answers, {order});
        QCOMPARE(entry(answer, 0, "derived", "field", field).value("from").toString(), from);
    }

    void derivedField_thatTheCrossCheckDoubts_isCalledUnclear() {
        Answers answers;
        answers.added.insert(Security::timeInForce, "9");
        QVariantMap order = goodOrder();
        order.insert(CustomField::priceType, PriceType::limitPriceAllDealOrCancel);
        const CommandAnswer answer = check(answers, {order});
        QCOMPARE(entry(answer, 0, "derived", "field", "timeInForce").value("from").toString(),
                 QString("unclear: the record as read gives '3'"));
    }

    void instruction_linksTheOrderToItsParent() {
        Answers answers;
        answers.added.insert(Security::parentOrderID, "I1");
        answers.added.insert(Security::orderFlowType, orderFlowType::instructionOrder);
        QVariantMap order = goodOrder();
        order.insert(Instruction::InstructionID, "I1");
        const CommandAnswer answer = check(answers, {order});
        const QJsonObject parent = entry(answer, 0, "derived", "field", "parentOrderID");
        QCOMPARE(parent.value("value").toString(), QString("I1"));
        QCOMPARE(parent.value("from").toString(), QString("instruction of the record"));
    }

    void rule_orderThatBreaksIt_failsWithTheFigure_data() {
        QTest::addColumn<QVariantMap>("changed");
        QTest::addColumn<QString>("rule");
        QTest::addColumn<QString>("result");
        QTest::addColumn<QString>("detail");
        const QString& sell = SideUnion::normalSideList.at(1);
        QTest::newRow("few") << QVariantMap{{"orderQty", 50}} << "smallest order"
                             << "fail"
                             << "100";
        QTest::newRow("few, sold")
            << QVariantMap{{"orderQty", 0.5}, {"side", sell}} << "smallest sale"
            << "fail"
            << "1";
        QTest::newRow("many") << QVariantMap{{"orderQty", "2000"}} << "largest order"
                              << "fail"
                              << "1000";
        QTest::newRow("odd") << QVariantMap{{"orderQty", 150}} << "quantity step"
                             << "fail"
                             << "100";
        QTest::newRow("odd, sold")
            << QVariantMap{{"orderQty", 150}, {"side", sell}} << "quantity step"
            << "open"
            << "100; an odd quantity is sold as the rest of a position only";
        for (const QVariant& qty : QVariantList{"abc", "nan", "inf", 0, -100, QVariant()}) {
            QTest::addRow("quantity %s", qPrintable(qty.toString()))
                << QVariantMap{{"orderQty", qty}} << "quantity"
                << "fail" << QStringLiteral("'%1' is not a quantity above 0").arg(qty.toString());
        }
        QTest::newRow("huge") << QVariantMap{{"orderQty", 1e300}} << "largest order"
                              << "fail"
                              << "1000";
        QTest::newRow("price unit") << QVariantMap{{"orderPrice", 10.205}} << "price unit"
                                    << "fail"
                                    << "0.01";
        QTest::newRow("no price") << QVariantMap{{"orderPrice", ""}} << "price unit"
                                  << "fail"
                                  << "'' is not a price above 0";
        QTest::newRow("market order")
            << QVariantMap{{"orderPrice", ""}, {"orderType", "1"}} << "price unit"
            << "open"
            << "a market order has no price";
        QTest::newRow("cage") << QVariantMap{{"orderPrice", 10.3}} << "price limits"
                              << "fail"
                              << "limit 10.2";
        QTest::newRow("side unknown") << QVariantMap{{"side", "305"}} << "price limits"
                                      << "open"
                                      << "whether side '305' buys or sells is unknown";
        QTest::newRow("odd, side unknown")
            << QVariantMap{{"orderQty", 150}, {"side", "305"}} << "quantity step"
            << "open"
            << "100; whether side '305' buys or sells is unknown";
        QTest::newRow("no side") << QVariantMap{{"side", ""}} << "side for account"
                                 << "fail"
                                 << "no side";
        QTest::newRow("other symbol") << QVariantMap{{"symbol", "000001.SZ"}} << "price limits"
                                      << "open"
                                      << "no tick received";
        QTest::newRow("exchange side") << QVariantMap{{"side", "1"}} << "side for account"
                                       << "open"
                                       << "side '1' is the exchange's, not an account's";
        QTest::newRow("other account")
            << QVariantMap{{"tradingAccount", "T2"}} << "account may trade"
            << "fail"
            << "no account is called 'T2'";
        QTest::newRow("no account") << QVariantMap{{"tradingAccount", ""}} << "account may trade"
                                    << "fail"
                                    << "no trading account";
    }
    void rule_orderThatBreaksIt_failsWithTheFigure() {
        QFETCH(QVariantMap, changed);
        QFETCH(QString, rule);
        QFETCH(QString, result);
        QFETCH(QString, detail);
        Answers answers;
        QVariantMap order = goodOrder();
        for (auto it = changed.cbegin(); it != changed.cend(); ++it) {
            order.insert(it.key(), it.value());
        }
        const CommandAnswer answer = check(answers, {order});
        const QJsonObject found = entry(answer, 0, "rules", "rule", rule);
        QCOMPARE(found.value("result").toString(), result);
        QCOMPARE(found.value("detail").toString(), detail);
        QCOMPARE(answer.isFault, result == "fail");
    }

    void rule_answersOfTheFunctions_decide_data() {
        QTest::addColumn<QString>("function");
        QTest::addColumn<QJsonValue>("answer");
        QTest::addColumn<QString>("rule");
        QTest::addColumn<QString>("result");
        QTest::addColumn<QString>("detail");
        QTest::newRow("unknown security")
            << "GetSecurityDetailsBySymbol" << QJsonValue(QJsonObject()) << "security"
            << "fail"
            << "no security is called '600000.SH'";
        QTest::newRow("not tradable")
            << "IsSymbolTradableByAccount" << QJsonValue(false) << "security for account"
            << "fail"
            << "T1 may not trade 600000.SH";
        QTest::newRow("side") << "IsSideUnionSupportByAccount" << QJsonValue(false)
                              << "side for account"
                              << "fail"
                              << "T1 may not use side '101'";
        QTest::newRow("cage not loaded")
            << "IsUserCageInfoInited" << QJsonValue(false) << "price limits"
            << "open"
            << "the price cage is not loaded";
        const QJsonObject frozen{{"tradingAccount", "T1"},
                                 {"accountStatus", AccountStatus::freezing},
                                 {"authorityFlags", 31}};
        QTest::newRow("frozen") << "GetAccountInfoByTradingAccount" << QJsonValue(frozen)
                                << "account may trade"
                                << "fail"
                                << "the account is frozen";
        const QJsonObject reader{{"tradingAccount", "T1"}, {"authorityFlags", 15}};
        QTest::newRow("no right") << "GetAccountInfoByTradingAccount" << QJsonValue(reader)
                                  << "account may trade"
                                  << "fail"
                                  << "no right to trade";
    }
    void rule_answersOfTheFunctions_decide() {
        QFETCH(QString, function);
        QFETCH(QJsonValue, answer);
        QFETCH(QString, rule);
        QFETCH(QString, result);
        QFETCH(QString, detail);
        Answers answers;
        answers.results.insert(function, answer);
        const QJsonObject found = entry(check(answers, {goodOrder()}), 0, "rules", "rule", rule);
        QCOMPARE(found.value("result").toString(), result);
        QCOMPARE(found.value("detail").toString(), detail);
    }

    void sideForAccount_kindWithoutAListOfSides_isOpen() {
        Answers answers;
        answers.results.insert("IsSideUnionSupportByAccount", false);
        answers.results.insert("GetSupportSideUnionListByAccount", QJsonArray());
        const CommandAnswer answer = check(answers, {goodOrder()});
        const QJsonObject rule = entry(answer, 0, "rules", "rule", "side for account");
        QCOMPARE(rule.value("result").toString(), QString("open"));
        QCOMPARE(rule.value("detail").toString(),
                 QString("the account's kind has no list of sides"));
        QVERIFY(!answer.isFault);
    }

    void orderWithoutSymbolAndSide_isDescribedInWords() {
        Answers answers;
        QVariantMap order = goodOrder();
        order.remove(Security::symbol);
        order.remove(Security::side);
        const QStringList lines = check(answers, {order}).lines;
        QVERIFY(lines.at(2).contains("no symbol"));
        QVERIFY(lines.at(4).contains("no side: 100 at 10.2"));
    }

    void fieldName_thatNoOrderHas_isNamedBehindTheTable() {
        Answers answers;
        QVariantMap order = goodOrder();
        order.insert("sied", "101");
        order.insert("ordrQty", 1);
        const CommandAnswer answer = check(answers, {order});
        QCOMPARE(answer.lines.last(), QString("fields that no order has: ordrQty, sied"));
        QCOMPARE(answer.json.toObject().value("unknownFields").toArray(),
                 (QJsonArray{"ordrQty", "sied"}));
        QVERIFY(!answer.isFault);
        QVERIFY(check(answers, {goodOrder()}).lines.filter("no order has").isEmpty());
    }

    void fileWithoutRecords_isAFault() {
        for (const char* bytes : {"", "symbol,side\n", "symbol,side\rA,1\rB,2\r"}) {
            Answers answers;
            OrdersCheck orders(m_library, answers.function(), someTick());
            const CommandAnswer answer =
                orders.check(parseRecords(bytes, RecordFormat::Csv), false, kWide);
            QVERIFY(answer.isFault);
            QCOMPARE(answer.lines.last(), QString("no records"));
        }
    }

    void cancel_byOrderIdOrEntrustTypeOrOption_hasAMessageOfItsOwn() {
        Answers answers;
        const QVariantMap byId{{Security::orderID, "O1"}, {UserAccount::tradingAccount, "T1"}};
        const QVariantMap byType{{Security::entrustType, EntrustType::CancelOrder},
                                 {Security::clOrdID, "C1"},
                                 {UserAccount::tradingAccount, "T1"}};
        const CommandAnswer answer = check(answers, {goodOrder(), byId, byType});
        QVERIFY2(!answer.isFault, qPrintable(answer.lines.join('\n')));
        QCOMPARE(answers.calls.count("NewOrderList"), 1);
        QCOMPARE(answers.calls.count("OrderCancelRequest"), 2);
        const QJsonArray records = answer.json.toObject().value("records").toArray();
        QCOMPARE(records.at(0).toObject().value("kind").toString(), QString("order"));
        QCOMPARE(records.at(1).toObject().value("kind").toString(), QString("cancel"));
        QCOMPARE(records.at(1).toObject().value("message").toObject().value("type").toString(),
                 QString("orderCancelRequest"));
        Answers all;
        check(all, {goodOrder()}, true);
        QCOMPARE(all.calls.count("OrderCancelRequest"), 1);
        QVERIFY(!all.calls.contains("NewOrderList"));
    }

    void cancel_thatNamesNoOrder_fails() {
        Answers answers;
        const CommandAnswer answer = check(answers, {{{UserAccount::tradingAccount, "T1"}}}, true);
        QVERIFY(answer.isFault);
        QCOMPARE(entry(answer, 0, "rules", "rule", "names an order").value("detail").toString(),
                 QString("neither orderID nor clOrdID"));
    }

    void badLines_areListedAndAFault() {
        Answers answers;
        RecordFile file = fileOf({goodOrder()});
        file.faults = {{3, 7, "not JSON\x1b[31m"}};
        OrdersCheck orders(m_library, answers.function(), someTick());
        const CommandAnswer answer = orders.check(file, false, kWide);
        QVERIFY(answer.isFault);
        QCOMPARE(answer.lines.at(answer.lines.size() - 2),
                 QStringLiteral("line 3, column 7: not JSON\uFFFD[31m"));
        const QJsonObject fault =
            answer.json.toObject().value("faults").toArray().first().toObject();
        QCOMPARE(fault.value("line").toInt(), 3);
        QCOMPARE(fault.value("column").toInt(), 7);
    }

    void thousandsOfOrders_askEachQuestionOnce() {
        Answers answers;
        QList<QVariantMap> orders;
        for (int i = 0; i < 5000; ++i) {
            orders.append(goodOrder());
        }
        const CommandAnswer answer = check(answers, orders);
        QCOMPARE(answer.json.toObject().value("records").toArray().size(), 5000);
        QVERIFY2(answers.calls.size() < 30, qPrintable(QString::number(answers.calls.size())));
    }

    void interrupt_isReported() {
        for (int calls = 0; calls < 5; ++calls) {
            Answers answers;
            answers.interruptAfter = calls;
            QVERIFY(check(answers, {goodOrder(), goodOrder()}).interrupted);
            QCOMPARE(answers.calls.size(), calls);
        }
    }

    void absentFunction_isNamed() {
        FacadeLibrary none;
        Answers answers;
        OrdersCheck orders(none, answers.function(), {});
        const CommandAnswer answer = orders.check(fileOf({goodOrder()}), false, kWide);
        QVERIFY(answer.lines.contains("NewOrderList is not exported"));
        QVERIFY(answer.isFault);
    }

private:
    CommandAnswer check(Answers& answers, const QList<QVariantMap>& records,
                        bool allCancel = false) {
        OrdersCheck orders(m_library, answers.function(), someTick());
        return orders.check(fileOf(records), allCancel, kWide);
    }

    FacadeLibrary m_library;
};

QTEST_GUILESS_MAIN(OrdersCheckTest)
#include "orders_check_test.moc"
