#include <QtTest>

#include "market_fixture.h"
#include "order_status.h"
#include "vocabulary/fields.h"
#include "vocabulary/values.h"

namespace {

const QString kAccount = QStringLiteral("T000001");

}  // namespace

class MarketHistoryTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();

    void rows_ofTheFirstAccount_areAsManyAsRequested();
    void rows_ofOthers_areSome();
    void rows_ofTwoAccounts_differ();
    void rows_ofCreditAccounts_haveTheirOwnSides();
    void days_countTheRowsOfBothTables();
    void days_countTheRowsOfEachKind_data();
    void days_countTheRowsOfEachKind();
    void days_areTradeDaysOfOneYear();
    void orders_quantitiesFitTheirState();
    void deals_addUpToTheirOrders();
    void deals_areIdentifiedWithinTheirDay();
    void orders_areOfKnownSecuritiesAndAccounts();
    void paging_followsTheIndex();
    void positions_areOfKnownSecuritiesAndOneEach();
    void history_ofNoOrders_leavesTheTablesEmpty();

private:
    int count(const QString& sql) const { return number(m_market.store(), sql); }

    MarketFixture m_market;
};

void MarketHistoryTest::initTestCase() {
    QString error;
    QVERIFY2(m_market.make(&error), qPrintable(error));
}

void MarketHistoryTest::rows_ofTheFirstAccount_areAsManyAsRequested() {
    // Of forty orders, eight are cancelled or partly cancelled by a request.
    const QString orders = QStringLiteral(
        "SELECT COUNT(*) FROM history_order WHERE"
        " trading_account = 'T000001' AND entrust_type %1 'F'");
    QCOMPARE(count(orders.arg("<>")), 400);
    QCOMPARE(count(orders.arg("=")), 80);
    QCOMPARE(count("SELECT COUNT(*) FROM history_deal WHERE trading_account = 'T000001'"), 820);
}

void MarketHistoryTest::rows_ofOthers_areSome() {
    const QStringList counts =
        column(m_market.store(),
               "SELECT COUNT(*) FROM history_order WHERE trading_account <> 'T000001' AND"
               " entrust_type <> 'F' GROUP BY trading_account");
    QCOMPARE(counts, QStringList(QVector<QString>(14, QStringLiteral("240")).toList()));
}

void MarketHistoryTest::rows_ofTwoAccounts_differ() {
    const QStringList orders = column(
        m_market.store(),
        "SELECT GROUP_CONCAT(security_id || side || order_qty) FROM (SELECT * FROM history_order"
        " WHERE entrust_type <> 'F' ORDER BY trading_account, order_id) GROUP BY trading_account");
    QCOMPARE(orders.size(), 15);
    QCOMPARE(QSet<QString>(orders.begin(), orders.end()).size(), orders.size());
}

void MarketHistoryTest::rows_ofCreditAccounts_haveTheirOwnSides() {
    const QString sides = QStringLiteral(
        "SELECT DISTINCT o.side FROM history_order o JOIN trading_account USING(trading_account)"
        " WHERE fund_account_type = '%1' ORDER BY o.side");
    QCOMPARE(column(m_market.store(), sides.arg(FundAccountType::Cash)),
             SideUnion::normalSideList.mid(0, 2));
    QCOMPARE(column(m_market.store(), sides.arg(FundAccountType::Credit)),
             SideUnion::marginOrderSideList.mid(0, 4));
    QCOMPARE(count("SELECT COUNT(DISTINCT trading_account) FROM history_day JOIN trading_account"
                   " USING(trading_account) WHERE fund_account_type = '" +
                   FundAccountType::Credit + "'"),
             5);
}

void MarketHistoryTest::days_countTheRowsOfBothTables() {
    const QString sums = QStringLiteral(
        "SELECT COUNT(*) FROM history_day d WHERE %1 <> (SELECT COUNT(*) FROM history_%2 r WHERE"
        " r.trading_account = d.trading_account AND r.trade_date = d.trade_date)");
    QCOMPARE(count(sums.arg("orders", "order")), 0);
    QCOMPARE(count(sums.arg("deals", "deal")), 0);
    QCOMPARE(count("SELECT SUM(orders) FROM history_day"),
             count("SELECT COUNT(*) FROM history_order"));
    QCOMPARE(count("SELECT SUM(deals) FROM history_day"),
             count("SELECT COUNT(*) FROM history_deal"));
}

void MarketHistoryTest::days_countTheRowsOfEachKind_data() {
    QTest::addColumn<QString>("counted");
    QTest::addColumn<QString>("rows");
    QTest::newRow("requests to cancel")
        << "cancel_requests"
        << "COUNT(*) FROM history_order r WHERE r.entrust_type = 'F'";
    QTest::newRow("reports of the exchange")
        << "cancel_reports"
        << "COUNT(*) FROM history_deal r WHERE r.exchange_exec_type = '4'";
    QTest::newRow("cancels within the counter")
        << "inner_cancels"
        << "COUNT(*) FROM history_deal r WHERE r.exchange_exec_type = 'I'";
    QTest::newRow("securities with deals")
        << "deal_groups"
        << "COUNT(DISTINCT security_exchange || security_id || side) FROM history_deal r WHERE"
           " r.exchange_exec_type = '0'";
}

void MarketHistoryTest::days_countTheRowsOfEachKind() {
    QFETCH(QString, counted);
    QFETCH(QString, rows);
    QCOMPARE(count("SELECT COUNT(*) FROM history_day d WHERE d." + counted + " <> (SELECT " + rows +
                   " AND r.trading_account = d.trading_account AND r.trade_date = d.trade_date)"),
             0);
    QVERIFY(count("SELECT SUM(" + counted + ") FROM history_day") > 0);
}

void MarketHistoryTest::days_areTradeDaysOfOneYear() {
    QCOMPARE(count("SELECT COUNT(*) FROM history_day WHERE trading_account = 'T000001'"), 243);
    QCOMPARE(count("SELECT COUNT(*) FROM history_day WHERE trade_date NOT IN (SELECT trade_date"
                   " FROM trade_calendar WHERE trade_day_type = 1)"),
             0);
    QCOMPARE(count("SELECT MIN(trade_date) FROM history_day"), 20250102);
    QCOMPARE(count("SELECT MAX(trade_date) FROM history_day"), 20251231);
    // An order's time is on its day, between 09:30 and 15:00 in Shanghai.
    QCOMPARE(count("SELECT COUNT(*) FROM history_order WHERE strftime('%Y%m%d', transact_time /"
                   " 1000 + 28800, 'unixepoch') <> CAST(trade_date AS TEXT) OR strftime('%H%M',"
                   " transact_time / 1000 + 28800, 'unixepoch') NOT BETWEEN '0930' AND '1500'"),
             0);
}

void MarketHistoryTest::orders_quantitiesFitTheirState() {
    const auto wrong = [this](const QString& status, const QString& fits) {
        QVERIFY(count("SELECT COUNT(*) FROM history_order WHERE order_status = '" + status + "'") >
                0);
        QCOMPARE(count("SELECT COUNT(*) FROM history_order WHERE entrust_type <> 'F' AND"
                       " order_status = '" +
                       status + "' AND NOT (" + fits + ")"),
                 0);
    };
    wrong(OrderStatus::filled, "cum_qty = order_qty AND cancelled_qty = 0 AND avg_px > 0");
    wrong(OrderStatus::cancelled, "cum_qty = 0 AND cancelled_qty = order_qty");
    wrong(OrderStatus::partlyCancelled,
          "cum_qty > 0 AND cancelled_qty > 0 AND cum_qty + cancelled_qty = order_qty");
    wrong(OrderStatus::rejected, "cum_qty = 0 AND cancelled_qty = 0 AND text_description <> ''");
    QCOMPARE(count("SELECT COUNT(DISTINCT order_status) FROM history_order"), 4);
    // A request to cancel refers to an order of the same day with a cancelled rest.
    QCOMPARE(count("SELECT COUNT(*) FROM history_order c LEFT JOIN history_order o ON"
                   " o.trading_account = c.trading_account AND o.trade_date = c.trade_date AND"
                   " o.order_id = c.orig_order_id WHERE c.entrust_type = '" +
                   EntrustType::CancelOrder + "' AND COALESCE(o.cancelled_qty, 0) = 0"),
             0);
}

void MarketHistoryTest::deals_addUpToTheirOrders() {
    const QString sums = QStringLiteral(
        "SELECT COUNT(*) FROM history_order o WHERE entrust_type <> 'F' AND %1 <>"
        " (SELECT COALESCE(SUM(last_qty), 0) FROM history_deal d WHERE d.trading_account ="
        " o.trading_account AND d.trade_date = o.trade_date AND d.order_id = o.order_id AND"
        " exchange_exec_type %2 ('4', 'I'))");
    QCOMPARE(count(sums.arg("cum_qty", "NOT IN")), 0);
    QCOMPARE(count(sums.arg("cancelled_qty", "IN")), 0);
    QCOMPARE(count("SELECT COUNT(*) FROM history_deal WHERE last_qty <= 0"), 0);
    QCOMPARE(count("SELECT COUNT(*) FROM history_deal d JOIN history_order o USING("
                   "trading_account, trade_date, order_id) WHERE d.exchange_exec_type = '0' AND"
                   " (d.last_px <> o.avg_px OR ABS(d.last_amount - d.last_qty * d.last_px) > 0.01"
                   " OR d.side <> o.side OR d.security_id <> o.security_id)"),
             0);
    // Of forty orders, eight end with a cancel: six at the exchange, two within the counter.
    const QString cancels = QStringLiteral(
        "SELECT COUNT(*) FROM history_deal WHERE trading_account = 'T000001' AND"
        " exchange_exec_type = '%1'");
    QCOMPARE(count(cancels.arg(EntrustType::cancelOrder)), 60);
    QCOMPARE(count(cancels.arg(ExchangeExeType::innerCancel)), 20);
    QCOMPARE(count("SELECT COUNT(*) FROM history_deal WHERE exchange_exec_stat <> '" +
                   ExchangeExeStat::filled + "'"),
             0);
}

void MarketHistoryTest::deals_areIdentifiedWithinTheirDay() {
    const int deals = count("SELECT COUNT(*) FROM history_deal");
    QCOMPARE(count("SELECT COUNT(*) FROM (SELECT DISTINCT trading_account, trade_date,"
                   " order_id || exec_id FROM history_deal)"),
             deals);
    QCOMPARE(count("SELECT COUNT(DISTINCT order_id) FROM history_order"),
             count("SELECT COUNT(*) FROM history_order"));
}

void MarketHistoryTest::orders_areOfKnownSecuritiesAndAccounts() {
    QSet<QString> known;
    for (const QVariantMap& one :
         reference(m_market.staticDatabase(), QStringLiteral("security"))) {
        known.insert(one.value(UserAccount::securityExchange).toString() +
                     one.value(Security::securityID).toString());
    }
    const QStringList ordered = column(
        m_market.store(), "SELECT DISTINCT security_exchange || security_id FROM history_order");
    QVERIFY(ordered.size() > 100);
    for (const QString& one : ordered) {
        QVERIFY2(known.contains(one), qPrintable(one));
    }
    QCOMPARE(count("SELECT COUNT(*) FROM history_order o WHERE NOT EXISTS(SELECT * FROM"
                   " security_account s WHERE s.trading_account = o.trading_account AND"
                   " s.exchange = o.security_exchange AND"
                   " s.security_account = o.security_account)"),
             0);
}

void MarketHistoryTest::paging_followsTheIndex() {
    QStringList steps;
    for (const QString& table : {QStringLiteral("history_order"), QStringLiteral("history_deal")}) {
        m_market.store().select(
            "EXPLAIN QUERY PLAN SELECT * FROM " + table +
                " WHERE trading_account = ? AND trade_date BETWEEN ? AND ? ORDER BY trade_date,"
                " order_id LIMIT 1000 OFFSET 0",
            {kAccount, 20250301, 20250401},
            [&steps](const QSqlQuery& query) { steps.append(query.value(3).toString()); });
    }
    QCOMPARE(steps.size(), 2);  // one search each, no sorting
    for (const QString& step : steps) {
        QVERIFY2(step.startsWith("SEARCH") && step.contains("PRIMARY KEY"), qPrintable(step));
    }
}

void MarketHistoryTest::positions_areOfKnownSecuritiesAndOneEach() {
    QMap<QString, QString> types;
    for (const QVariantMap& one :
         reference(m_market.staticDatabase(), QStringLiteral("security"))) {
        types.insert(one.value(UserAccount::securityExchange).toString() +
                         one.value(Security::securityID).toString(),
                     one.value(MDCFieldDefine::mdcSecurityType).toString());
    }
    int positions = 0;
    int standardBonds = 0;
    m_market.store().select(
        "SELECT security_exchange, security_id, fund_account_type, nominal_qty, oms_average_cost"
        " FROM position JOIN trading_account USING(trading_account)",
        {}, [&](const QSqlQuery& query) {
            ++positions;
            QVERIFY(query.value(3).toInt() > 0 && query.value(4).toDouble() > 0);
            const QString id = query.value(1).toString();
            if (id == "888880") {
                ++standardBonds;
                return;
            }
            const QString type = types.value(query.value(0).toString() + id);
            QVERIFY2(!type.isEmpty(), qPrintable(id));
            QCOMPARE(type == MdcSecurityType::OptionType,
                     query.value(2).toString() == FundAccountType::Option);
            QCOMPARE(type == MdcSecurityType::FuturesType,
                     query.value(2).toString() == FundAccountType::Future);
        });
    QVERIFY(positions > 1000 && standardBonds > 10);
    QVERIFY(count("SELECT COUNT(*) FROM position JOIN trading_account USING(trading_account) WHERE"
                  " account_status = '1'") > 0);
}

void MarketHistoryTest::history_ofNoOrders_leavesTheTablesEmpty() {
    MarketOptions options = smallMarket();
    options.accounts = 3;
    options.symbols = 1;
    options.historyOrders = 0;
    QTemporaryDir dir;
    QString error;
    QVERIFY2(makeSampleMarket(dir.path(), options, {}, &error), qPrintable(error));
    const auto store = MarketStore::open(marketStoreFile(dir.path()), &error);
    QVERIFY2(store, qPrintable(error));
    for (const QString& table : {QStringLiteral("history_order"), QStringLiteral("history_deal"),
                                 QStringLiteral("history_day")}) {
        QCOMPARE(number(*store, "SELECT COUNT(*) FROM " + table), 0);
    }
}

QTEST_GUILESS_MAIN(MarketHistoryTest)
#include "market_history_test.moc"
