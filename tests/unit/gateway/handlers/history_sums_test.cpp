#include <QLoggingCategory>
#include <QSet>
#include <QtTest>

#include "history_request.h"
#include "log_capture.h"

namespace {

using namespace HistoryRequest;

/// The sums of deals of an account, day, security and side.
struct Sums {
    qint64 qty = 0;
    double amount = 0;
    double commission = 0;
    int deals = 0;
};

QString groupOf(const QVariantMap& row) {
    QStringList parts;
    for (const QString& field :
         {UserAccount::tradingAccount, UserAccount::tradeDate, UserAccount::securityExchange,
          Security::securityID, Security::side, UserAccount::securityAccount}) {
        parts.append(row.value(field).toString());
    }
    return parts.join('/');
}

bool isFen(double amount) {
    return qAbs(amount * 100 - static_cast<double>(qRound64(amount * 100))) < 1e-4;
}

}  // namespace

/// What the server derives from deals, and what it costs to read them.
class HistorySumsTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() {
        QString error;
        QVERIFY2(m_server.make(&error), qPrintable(error));
        m_deals = byPages(m_server, deals, of(kAccounts), 1000);
        QVERIFY(m_deals.size() > 1500);
    }

    void statistics_areTheSumsOfTheDeals();
    void statistics_ofASecurity_areThoseOfTheList();
    void deliveries_areTheDealsOneByOne();
    void deliveries_settledAmounts_areWhatIsPaidAndReceived();
    void deliveries_ofADay_areTheFlowOfItsFunds();
    void pages_byAccountAndDates_countNoRows_data();
    void pages_byAccountAndDates_countNoRows();
    void pages_byOtherFilters_countTheRows();

private:
    /// The statements that a request runs.
    QStringList statementsOf(const QString& type, const QVariantMap& fields) {
        QLoggingCategory::setFilterRules(QStringLiteral("velmar.gateway.sql.debug=true"));
        const LogCapture log;
        m_server.ask(type, fields);
        QLoggingCategory::setFilterRules({});
        QStringList statements;
        for (const LogCapture::Line& line : log.lines()) {
            if (line.category == "velmar.gateway.sql" && line.text.contains("history_")) {
                statements.append(line.text);
            }
        }
        return statements;
    }

    const QString kAccounts = account + ",T000002,T000022,T000003";
    MarketServer m_server;
    QList<QVariantMap> m_deals;
};

void HistorySumsTest::statistics_areTheSumsOfTheDeals() {
    QMap<QString, Sums> expected;
    for (const QVariantMap& deal : qAsConst(m_deals)) {
        Sums& sums = expected[groupOf(deal)];
        sums.qty += deal.value(Security::lastQty).toLongLong();
        sums.amount += deal.value(Security::lastAmount).toDouble();
        sums.commission += deal.value(Margin::executionCommission).toDouble();
        ++sums.deals;
    }
    const auto rows = byPages(m_server, statistics, of(kAccounts), 100);
    QCOMPARE(rows.size(), expected.size());
    int several = 0;
    for (const QVariantMap& row : rows) {
        QVERIFY2(expected.contains(groupOf(row)), qPrintable(groupOf(row)));
        const Sums sums = expected.take(groupOf(row));
        // In display units, of 100 pieces each.
        QCOMPARE(row.value(Security::cumQty).toDouble() * 100, double(sums.qty));
        QVERIFY(qAbs(row.value(Security::lastAmount).toDouble() - sums.amount) < 0.001);
        QVERIFY(qAbs(row.value(Margin::executionCommission).toDouble() - sums.commission) < 0.001);
        QVERIFY(qAbs(row.value(Security::avgPx).toDouble() / 100 * double(sums.qty) - sums.amount) <
                0.001);
        QCOMPARE(row.value(TradeField::dealCount).toInt(), sums.deals);
        several += sums.deals > 1 ? 1 : 0;
    }
    QVERIFY(expected.isEmpty());
    QVERIFY(several > 100);
}

void HistorySumsTest::statistics_ofASecurity_areThoseOfTheList() {
    const auto all = byPages(m_server, statistics, of(kAccounts), 1000);
    const QString id = all.first().value(Security::securityID).toString();
    QList<QVariantMap> expected;
    for (const QVariantMap& row : all) {
        if (row.value(Security::securityID).toString() == id) {
            expected.append(row);
        }
    }
    qint64 total = 0;
    QCOMPARE(byPages(m_server, statistics, of(kAccounts, {{Security::securityID, id}}), 2, &total),
             expected);
    QCOMPARE(total, qint64(expected.size()));
    QVERIFY(total > 1);
}

void HistorySumsTest::deliveries_areTheDealsOneByOne() {
    const auto rows = byPositions(m_server, deliveries, of(kAccounts), 100);
    QCOMPARE(rows.size(), m_deals.size());
    for (int i = 0; i < rows.size(); ++i) {
        const QVariantMap& row = rows.at(i);
        const QVariantMap& deal = m_deals.at(i);
        QCOMPARE(dealKeyOf(row), dealKeyOf(deal));
        QCOMPARE(groupOf(row), groupOf(deal));
        for (const QString& field : {Security::lastQty, TradeField::dealPrice, Security::lastAmount,
                                     Margin::executionCommission}) {
            QCOMPARE(row.value(field), deal.value(field));
        }
        QCOMPARE(row.value(System::businessDate).toString(),
                 deal.value(UserAccount::tradeDate).toString());
        QCOMPARE(row.value(AssetDeliver::BusinessTime), deal.value(Security::transActTime));
        QVERIFY(QTime::fromString(row.value(AssetDeliver::BusinessTime).toString(),
                                  DateTimeFormatString::TRANS_TIME_FORMAT)
                    .isValid());
        QVERIFY(QDate::fromString(row.value(System::businessDate).toString(),
                                  DateTimeFormatString::TRANS_DATE_FROMAT)
                    .isValid());
    }
}

void HistorySumsTest::deliveries_settledAmounts_areWhatIsPaidAndReceived() {
    const QSet<QString> buys{"101", "201", "203"};
    double settled = 0;
    double expected = 0;
    for (const QVariantMap& row : byPages(m_server, deliveries, of(kAccounts), 1000)) {
        const double amount = row.value(Security::lastAmount).toDouble();
        const bool isBuy = buys.contains(row.value(Security::side).toString());
        expected += (isBuy ? -amount : amount) - row.value(Margin::executionCommission).toDouble();
        const double one = row.value(TradeField::settledAmount).toDouble();
        QVERIFY(isBuy == (one < 0) && isFen(one));
        settled += one;
    }
    QVERIFY(qAbs(settled - expected) < 0.01);
    QVERIFY(qAbs(settled) > 1);
}

void HistorySumsTest::deliveries_ofADay_areTheFlowOfItsFunds() {
    QMap<QString, qint64> settled;  // in fen, by account and day
    for (const QVariantMap& row : byPages(m_server, deliveries, of(kAccounts), 1000)) {
        settled[row.value(UserAccount::tradingAccount).toString() +
                row.value(UserAccount::tradeDate).toString()] +=
            qRound64(row.value(TradeField::settledAmount).toDouble() * 100);
    }
    QMap<QString, qint64> flows;
    QString error;
    const auto store = MarketStore::open(m_server.storeFile(), &error);
    QVERIFY2(store, qPrintable(error));
    store->select(
        "SELECT trading_account || trade_date, sold - bought - fee FROM fund_day WHERE deals > 0"
        " AND trading_account IN (SELECT value FROM json_each(?))",
        {"[\"" + kAccounts.split(',').join("\",\"") + "\"]"}, [&flows](const QSqlQuery& query) {
            flows.insert(query.value(0).toString(), query.value(1).toLongLong());
        });
    QCOMPARE(settled, flows);
    QVERIFY(flows.size() > 300);
}

void HistorySumsTest::pages_byAccountAndDates_countNoRows_data() {
    QTest::addColumn<QString>("type");
    QTest::addColumn<QVariantMap>("flags");
    QTest::newRow("orders") << orders << QVariantMap();
    QTest::newRow("orders with cancels") << orders << everyRow();
    QTest::newRow("deals") << deals << QVariantMap();
    QTest::newRow("deals with cancels") << deals << everyRow();
    QTest::newRow("statistics") << statistics << QVariantMap();
    QTest::newRow("deliveries") << deliveries << QVariantMap();
}

void HistorySumsTest::pages_byAccountAndDates_countNoRows() {
    QFETCH(QString, type);
    QFETCH(QVariantMap, flags);
    QVariantMap fields = of(account, flags);
    fields.insert(System::startDate, 20250102);
    fields.insert(System::endDate, "20251230");
    for (const QVariantMap& request : {page(fields, 3, 100), behind(fields, "", 100)}) {
        const QStringList statements = statementsOf(type, request);
        QCOMPARE(statements.size(), 2);  // the days, and one part of one account's rows
        QVERIFY2(statements.at(0).contains("FROM history_day"), qPrintable(statements.at(0)));
        QVERIFY2(!statements.at(0).contains("COUNT("), qPrintable(statements.at(0)));
        // The rows are found by their key and read in its order.
        QString error;
        const auto store = MarketStore::open(m_server.storeFile(), &error);
        QStringList steps;
        const int marks = statements.at(1).count('?');
        store->select("EXPLAIN QUERY PLAN " + statements.at(1),
                      QVariantList(QVector<QVariant>(marks, 1).toList()),
                      [&steps](const QSqlQuery& query) { steps += query.value(3).toString(); });
        QVERIFY2(steps.first().startsWith("SEARCH") &&
                     steps.first().contains("trading_account=? AND trade_date>?"),
                 qPrintable(steps.join('\n')));
        QVERIFY2(steps.size() == 1 || type == statistics, qPrintable(steps.join('\n')));
    }
}

void HistorySumsTest::pages_byOtherFilters_countTheRows() {
    QVariantMap fields = page(of(account), 1, 10);
    fields.insert(Security::side, "101");
    const QStringList statements = statementsOf(deals, fields);
    QCOMPARE(statements.size(), 2);
    QVERIFY(statements.first().contains("COUNT(*)"));
    QVERIFY(!statements.join(' ').contains("history_day"));
}

QTEST_GUILESS_MAIN(HistorySumsTest)
#include "history_sums_test.moc"
