#include <QtTest>

#include "market_fixture.h"
#include "vocabulary/values.h"

class MarketFundsTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() {
        QString error;
        QVERIFY2(m_market.make(&error), qPrintable(error));
    }

    void eachAccount_beginsBeforeItsFirstDay() {
        QCOMPARE(count("SELECT COUNT(*) FROM trading_account"),
                 count("SELECT COUNT(*) FROM fund_day WHERE trade_date = 20250101"));
        QCOMPARE(count("SELECT COUNT(*) FROM fund_day WHERE trade_date = 20250101 AND (deals <> 0"
                       " OR bought <> 0 OR sold <> 0 OR fee <> 0 OR transfer <> 0 OR value_change"
                       " <> 0 OR value_transfer <> 0)"),
                 0);
        QCOMPARE(count("SELECT MIN(trade_date) FROM fund_day"), 20250101);
    }

    void eachRow_followsFromTheOneBefore() {
        const QString rows =
            "SELECT COUNT(*) FROM (SELECT *, LAG(balance) OVER w AS b, LAG(market_value) OVER w AS"
            " v FROM fund_day WINDOW w AS (PARTITION BY trading_account ORDER BY trade_date))"
            " WHERE b IS NOT NULL";
        QVERIFY(count(rows) > 1000);
        QCOMPARE(count(rows + " AND (balance <> b + sold - bought - fee + transfer OR market_value"
                              " <> v + value_change + value_transfer)"),
                 0);
    }

    void days_areThoseWithDeals() {
        const QString deals =
            "SELECT DISTINCT trading_account || trade_date FROM history_deal WHERE"
            " exchange_exec_type = '0' ORDER BY 1";
        QCOMPARE(column(m_market.store(),
                        "SELECT trading_account || trade_date FROM fund_day"
                        " WHERE deals > 0 ORDER BY 1"),
                 column(m_market.store(), deals));
        QCOMPARE(count("SELECT SUM(deals) FROM fund_day"),
                 count("SELECT COUNT(*) FROM history_deal WHERE exchange_exec_type = '0'"));
        QCOMPARE(column(m_market.store(), "SELECT SUM(bought + sold) FROM fund_day"),
                 column(m_market.store(),
                        "SELECT CAST(ROUND(SUM(last_amount) * 100) AS INTEGER)"
                        " FROM history_deal"));
    }

    void lastRow_isTheOpeningCash() {
        const QString last =
            "SELECT COUNT(*) FROM opening_cash c JOIN (SELECT trading_account, MAX(trade_date),"
            " balance FROM fund_day GROUP BY 1) f USING(trading_account) WHERE f.balance %1"
            " CAST(ROUND(c.cash * 100) AS INTEGER)";
        QCOMPARE(count(last.arg("<>")), 0);
        QCOMPARE(count(last.arg("=")), count("SELECT COUNT(*) FROM trading_account"));
    }

    void lastRow_isTheValueOfThePositions() {
        // Cash accounts that hold nothing but shares and funds of the mainland.
        const auto prices = reference(m_market.staticDatabase(), QStringLiteral("security"));
        QHash<QString, double> closes;
        for (const QVariantMap& one : prices) {
            closes.insert(
                one.value("securityExchange").toString() + one.value("securityID").toString(),
                one.value("PreClosePx").toDouble());
        }
        QHash<QString, double> values;
        m_market.store().select(
            "SELECT trading_account, security_exchange || security_id, nominal_qty FROM position"
            " WHERE trading_account IN (SELECT trading_account FROM trading_account WHERE"
            " fund_account_type = '0') AND trading_account NOT IN (SELECT trading_account FROM"
            " position WHERE security_exchange IN ('G', 'S'))",
            {}, [&](const QSqlQuery& query) {
                values[query.value(0).toString()] +=
                    query.value(2).toDouble() * closes.value(query.value(1).toString());
            });
        int checked = 0;
        m_market.store().select(
            "SELECT trading_account, MAX(trade_date), market_value FROM fund_day GROUP BY 1", {},
            [&](const QSqlQuery& query) {
                const auto it = values.constFind(query.value(0).toString());
                if (it != values.cend()) {
                    ++checked;
                    QVERIFY(qAbs(query.value(2).toDouble() / 100 - *it) < 0.02);
                }
            });
        QVERIFY(checked > 20);
    }

    void amounts_areNeverBelowZero() {
        QCOMPARE(count("SELECT COUNT(*) FROM fund_day WHERE balance < 0 OR market_value < 0 OR"
                       " bought < 0 OR sold < 0 OR fee < 0"),
                 0);
        // Only what leaves on an account's last day, in whole ten thousands of yuan.
        QCOMPARE(count("SELECT COUNT(*) FROM fund_day f WHERE (transfer <> 0 OR value_transfer <>"
                       " 0) AND (transfer > 0 OR value_transfer > 0 OR transfer % 1000000 <> 0 OR"
                       " value_transfer % 1000000 <> 0 OR trade_date <> (SELECT MAX(trade_date)"
                       " FROM fund_day WHERE trading_account = f.trading_account))"),
                 0);
    }

    void debts_areThoseOfMarginAccounts() {
        QCOMPARE(column(m_market.store(), "SELECT trading_account FROM margin_debt ORDER BY 1"),
                 column(m_market.store(),
                        "SELECT trading_account FROM trading_account WHERE"
                        " fund_account_type = '" +
                            FundAccountType::Credit + "' ORDER BY 1"));
        QVERIFY(count("SELECT COUNT(*) FROM margin_debt WHERE financed = 0") > 0);
        QVERIFY(count("SELECT COUNT(*) FROM margin_debt WHERE shorted > 0") > 0);
    }

    void noHistory_leavesTheOpeningOnly() {
        MarketOptions options = smallMarket();
        options.accounts = 3;
        options.symbols = 1;
        options.historyOrders = 0;
        QTemporaryDir dir;
        QString error;
        QVERIFY2(makeSampleMarket(dir.path(), options, {}, &error), qPrintable(error));
        const auto store = MarketStore::open(marketStoreFile(dir.path()), &error);
        QVERIFY2(store, qPrintable(error));
        QCOMPARE(number(*store, "SELECT COUNT(*) FROM fund_day"),
                 number(*store, "SELECT COUNT(*) FROM trading_account"));
    }

private:
    int count(const QString& sql) const { return number(m_market.store(), sql); }

    MarketFixture m_market;
};

QTEST_GUILESS_MAIN(MarketFundsTest)
#include "market_funds_test.moc"
