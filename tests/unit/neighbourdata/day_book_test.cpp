#include <cmath>
#include <limits>
#include <random>
#include <thread>

#include "day_book_fixture.h"

class DayBookTest : public QObject {
    Q_OBJECT

private slots:
    void opening_loaded_showsPositionsAndCash();
    void opening_ofUnknownSecurity_isLeftOutWithAWarning();
    void opening_severalRowsOfOneSecurity_areNetted();
    void opening_figuresThatAreNotNumbers_areLeftOutWithAWarning();
    void opening_thatCannotBeRead_failsAndLeavesTheBookEmpty();
    void purchases_moveTheAverage_salesLeaveIt();
    void soldOut_staysAsARowOfNothing();
    void shortSale_hasANegativeQuantityAtItsOwnPrice();
    void amounts_areMoneyForEveryKind_data();
    void amounts_areMoneyForEveryKind();
    void hongKongDeal_movesYuan();
    void twoSecurityAccounts_areOneRow();
    void execution_hasItsFields();
    void boughtToday_sharesCannotBeSold();
    void boughtToday_withoutEnd_staysBounded();
    void tradableAccounts_areThoseOfTheAuthorityThatAreNotFrozen();
    void counts_areOfOneAccountOrAll();
    void executions_areFilteredAndPaged();
    void setPosition_replacesTheWholePosition();
    void randomDay_positionsExecutionsCashAndOrdersAgree();
    void reload_afterARandomDay_givesTheSameBook();
    void reload_withoutAnAccountThatDealt_failsAndKeepsTheBook();
    void requery_readsTheOpeningCashAgain();
    void closedBook_refusesAndStillAnswers();
    void twoThreads_everyAnswerIsOfOneMoment();
};

void DayBookTest::opening_loaded_showsPositionsAndCash() {
    DayBookFixture f;
    QCOMPARE(f.book->positionCount({}), 0);
    f.load();
    const QVariantMap row = f.position("C1", "600000.SH");
    QCOMPARE(row, (QVariantMap{{UserAccount::tradingAccount, "C1"},
                               {Security::symbol, "600000.SH"},
                               {Security::securityID, "600000"},
                               {UserAccount::securityExchange, Exchange::sh},
                               {UserAccount::securityAccount, "SH-C1"},
                               {Security::nominalQty, 10.0},
                               {Security::omsAverageCost, 10.0}}));
    QCOMPARE(f.book->cash("C1"), 1e6);
    QCOMPARE(f.book->cash("nobody"), 0.0);
    QVERIFY(f.book->positions({{UserAccount::tradingAccount, "nobody"}}).isEmpty());
}

void DayBookTest::opening_ofUnknownSecurity_isLeftOutWithAWarning() {
    DayBookFixture f([](DayOpening& opening) {
        opening.positions.append({"C1", "999999", Exchange::sh, "SH-C1", 100, 1.0});
        opening.positions.append({"C2", "888880", Exchange::sh, "SH-C2", 5000, 100.0});
    });
    const LogCapture log;
    f.load();
    QVERIFY(log.contains(QtWarningMsg, "999999"));
    QCOMPARE(f.book->positionCount("C1"), 1);
    QCOMPARE(f.quantity("C2", "888880.SH"), 5000.0);  // the standard bond of repos is on no list
}

void DayBookTest::opening_severalRowsOfOneSecurity_areNetted() {
    DayBookFixture f([](DayOpening& opening) {
        opening.positions.append({"C1", "600000", Exchange::sh, "SH-2", 3000, 14.0});
        opening.positions.append({"C1", "600000", Exchange::sh, "SH-3", 0, 99.0});
    });
    f.load();
    QCOMPARE(f.book->positionCount("C1"), 1);
    QCOMPARE(f.quantity("C1", "600000.SH"), 40.0);
    QCOMPARE(f.cost("C1", "600000.SH"), 13.0);
    QCOMPARE(f.position("C1", "600000.SH").value(UserAccount::securityAccount).toString(),
             QStringLiteral("SH-C1"));
}

void DayBookTest::opening_figuresThatAreNotNumbers_areLeftOutWithAWarning() {
    const LogCapture log;
    const double nan = std::numeric_limits<double>::quiet_NaN();
    DayBookFixture f([nan](DayOpening& opening) {
        opening.positions.append({"C1", "000001", Exchange::sz, "SZ-C1", 100, nan});
        opening.positions.append({"C2", "600000", Exchange::sh, "SH-C2", 100, 1e300});
        opening.positions.append(
            {"C2", "000001", Exchange::sz, "SZ-C2", std::numeric_limits<qint64>::max(), 1.0});
        opening.accounts[0].cash = nan;
    });
    f.load();
    QCOMPARE(f.book->positionCount({}), 1);
    QCOMPARE(f.book->cash("C1"), 0.0);
    QCOMPARE(f.book->cash("C2"), 1e6);
    QVERIFY(log.contains(QtWarningMsg, "position of C1 left out"));
    QVERIFY(log.contains(QtWarningMsg, "position of C2 left out"));
    QVERIFY(log.contains(QtWarningMsg, "opening cash of C1 left out"));
}

void DayBookTest::opening_thatCannotBeRead_failsAndLeavesTheBookEmpty() {
    DayBookFixture f;
    f.failure = "damaged";
    QVERIFY(!f.book->load(&f.error));
    QCOMPARE(f.error, QStringLiteral("damaged"));
    QVERIFY(!f.deal("C1", "600000.SH", OrderSide::buy, 100, 10.0));
    QVERIFY2(f.error.contains("not loaded"), qPrintable(f.error));
    QCOMPARE(f.book->executionCount({}), 0);
}

void DayBookTest::purchases_moveTheAverage_salesLeaveIt() {
    DayBookFixture f;
    f.load();
    QVERIFY2(f.deal("C1", "600000.SH", OrderSide::buy, 1000, 12.0), qPrintable(f.error));
    QCOMPARE(f.quantity("C1", "600000.SH"), 20.0);
    QCOMPARE(f.cost("C1", "600000.SH"), 11.0);
    QVERIFY(
        f.deal("C1", "600000.SH", DealSide::sell, 500, 13.0, {{Margin::executionCommission, 5.0}}));
    QCOMPARE(f.quantity("C1", "600000.SH"), 15.0);
    QCOMPARE(f.cost("C1", "600000.SH"), 11.0);
    QCOMPARE(f.book->cash("C1"), 1e6 - 12000 + 6500 - 5);
    QCOMPARE(f.book->openingCash("C1"), 1e6);
}

void DayBookTest::soldOut_staysAsARowOfNothing() {
    DayBookFixture f;
    f.load();
    QVERIFY(f.deal("C1", "600000.SH", DealSide::sell, 1000, 11.0));
    QCOMPARE(f.quantity("C1", "600000.SH"), 0.0);
    QCOMPARE(f.cost("C1", "600000.SH"), 10.0);
    QVERIFY(f.deal("C1", "600000.SH", OrderSide::buy, 100, 9.0));
    QCOMPARE(f.cost("C1", "600000.SH"), 9.0);
}

void DayBookTest::shortSale_hasANegativeQuantityAtItsOwnPrice() {
    DayBookFixture f;
    f.load();
    QVERIFY(f.deal("M1", "600000.SH", DealSide::sell, 200, 10.0));
    QVERIFY(f.deal("M1", "600000.SH", DealSide::sell, 200, 12.0));
    QCOMPARE(f.quantity("M1", "600000.SH"), -4.0);
    QCOMPARE(f.cost("M1", "600000.SH"), 11.0);
    QVERIFY(f.deal("M1", "600000.SH", OrderSide::buy, 500, 9.0));  // closes it and buys 100 more
    QCOMPARE(f.quantity("M1", "600000.SH"), 1.0);
    QCOMPARE(f.cost("M1", "600000.SH"), 9.0);
}

void DayBookTest::amounts_areMoneyForEveryKind_data() {
    QTest::addColumn<QString>("account");
    QTest::addColumn<QString>("symbol");
    QTest::addColumn<double>("price");
    QTest::addColumn<double>("amount");
    QTest::addColumn<double>("nominal");
    // Two pieces each: shares, bonds, contracts.
    QTest::addRow("share") << "C1"
                           << "000001.SZ" << 10.0 << 20.0 << 0.02;
    QTest::addRow("bond") << "C1"
                          << "113001.SH" << 105.5 << 211.0 << 0.2;
    QTest::addRow("future") << "F1"
                            << "IF2601.CFE" << 4000.0 << 2400000.0 << 2.0;
    QTest::addRow("option") << "O1"
                            << "10000001.SH" << 0.05 << 1000.0 << 2.0;
    QTest::addRow("gold") << "G1"
                          << "AU01.SGE" << 480.0 << 960000.0 << 2.0;
}

void DayBookTest::amounts_areMoneyForEveryKind() {
    QFETCH(QString, account);
    QFETCH(QString, symbol);
    QFETCH(double, price);
    QFETCH(double, amount);
    QFETCH(double, nominal);
    DayBookFixture f;
    f.load();
    QVERIFY2(f.deal(account, symbol, OrderSide::buy, 2, price), qPrintable(f.error));
    const auto rows = f.book->executions({{Security::symbol, symbol}}, 0, -1, nullptr);
    QCOMPARE(rows.size(), 1);
    QCOMPARE(rows.first().value(Security::lastAmount).toDouble(), amount);
    QCOMPARE(f.book->cash(account), 1e6 - amount);
    QCOMPARE(f.quantity(account, symbol), nominal);
    QCOMPARE(f.cost(account, symbol), price);
}

void DayBookTest::hongKongDeal_movesYuan() {
    DayBookFixture f;
    f.load();
    QVERIFY2(f.deal("C1", "00700.HK", OrderSide::buy, 100, 300.0), qPrintable(f.error));
    QCOMPARE(f.quantity("C1", "00700.HK"), 100.0);
    QCOMPARE(f.book->executions({}, 0, -1, nullptr).first().value(Security::lastAmount).toDouble(),
             30000.0);
    QCOMPARE(f.book->cash("C1"), 1e6 - 30000 * (0.8964 + 0.9518) / 2);
}

void DayBookTest::twoSecurityAccounts_areOneRow() {
    DayBookFixture f;
    f.load();
    QVERIFY(f.deal("C1", "600000.SH", OrderSide::buy, 1000, 12.0,
                   {{UserAccount::securityAccount, "other"}}));
    QCOMPARE(f.book->positionCount("C1"), 1);
    QCOMPARE(f.quantity("C1", "600000.SH"), 20.0);
    QCOMPARE(f.position("C1", "600000.SH").value(UserAccount::securityAccount).toString(),
             QStringLiteral("SH-C1"));
    const auto rows = f.book->executions({}, 0, -1, nullptr);
    QCOMPARE(rows.first().value(UserAccount::securityAccount).toString(), QStringLiteral("other"));
}

void DayBookTest::execution_hasItsFields() {
    DayBookFixture f;
    f.load();
    LocalPlatform::instance().setClock(
        [] { return QDateTime::fromMSecsSinceEpoch(1767576600000); });
    QVERIFY(f.deal("C1", "600000.SH", OrderSide::buy, 100, 10.5, {{"remark", "kept"}}));
    QVERIFY(f.deal("C1", "600000.SH", DealSide::sell, 100, 10.5,
                   {{Security::execID, "E7"}, {Security::transActTime, 5}}));
    const auto rows = f.book->executions({{UserAccount::tradingAccount, "C1"}}, 0, -1, nullptr);
    QCOMPARE(rows.size(), 2);
    QVariantMap first = rows.first();
    QVERIFY(!first.take(Security::execID).toString().isEmpty());
    QCOMPARE(first, (QVariantMap{{UserAccount::tradingAccount, "C1"},
                                 {Security::symbol, "600000.SH"},
                                 {Security::securityID, "600000"},
                                 {UserAccount::securityExchange, Exchange::sh},
                                 {UserAccount::securityAccount, "SH-C1"},
                                 {Security::side, OrderSide::buy},
                                 {Security::lastQty, 100},
                                 {Security::lastAmount, 1050.0},
                                 {TradeField::dealPrice, 10.5},
                                 {Margin::executionCommission, 0.0},
                                 {UserAccount::ExchangeExecType, DealRow::deal},
                                 {UserAccount::ExchangeExecStat, ExchangeExeStat::filled},
                                 {Security::transActTime, 1767576600000LL},
                                 {"remark", "kept"}}));
    QCOMPARE(rows.last().value(Security::execID).toString(), QStringLiteral("E7"));
    QCOMPARE(rows.last().value(Security::transActTime).toInt(), 5);
    QVERIFY(!f.deal("C2", "600000.SH", OrderSide::buy, 100, 10.5, {{Security::execID, "E7"}}));
    QVERIFY2(f.error.contains("E7"), qPrintable(f.error));
}

void DayBookTest::boughtToday_sharesCannotBeSold() {
    DayBookFixture f;
    f.load();
    QVERIFY(f.deal("C1", "600000.SH", OrderSide::buy, 300, 10.0));
    QVERIFY(f.deal("C1", "600000.SH", DealSide::sell, 400, 10.0));
    QVERIFY(f.deal("C1", "113001.SH", OrderSide::buy, 20, 100.0));
    const auto holdings = f.book->holdings("C1");
    QCOMPARE(holdings.size(), 2);
    QCOMPARE(holdings.at(0).symbol, QStringLiteral("113001.SH"));
    QCOMPARE(holdings.at(0).sellable, 20);
    QCOMPARE(holdings.at(1).quantity, 900);
    QCOMPARE(holdings.at(1).sellable, 600);
    QVERIFY(f.book->holdings("nobody").isEmpty());
}

void DayBookTest::boughtToday_withoutEnd_staysBounded() {
    DayBookFixture f;
    f.load();
    for (int i = 0; i < 12000; ++i) {  // more pieces than a 64-bit number holds
        QVERIFY(f.deal("C2", "000001.SZ", OrderSide::buy, 9e14, 0.0));
        QVERIFY(f.deal("C2", "000001.SZ", DealSide::sell, 9e14, 0.0));
    }
    QVERIFY(f.deal("C2", "000001.SZ", OrderSide::buy, 100, 0.0));
    QCOMPARE(f.book->holdings("C2").first().quantity, 100);
    QCOMPARE(f.book->holdings("C2").first().sellable, 0);
}

void DayBookTest::tradableAccounts_areThoseOfTheAuthorityThatAreNotFrozen() {
    DayBookFixture f;
    f.load();
    QStringList names;
    for (const TradingDesk::Account& account : f.book->tradableAccounts()) {
        names.append(account.tradingAccount);
    }
    QCOMPARE(names, (QStringList{"C1", "C2", "M1", "F1", "O1", "G1"}));
    QCOMPARE(f.book->tradableAccounts().at(2).fundAccountType, FundAccountType::Credit);
    QCOMPARE(f.book->tradableAccounts().at(5).securityAccounts.value(Exchange::sge),
             QStringLiteral("AU-G1"));
}

void DayBookTest::counts_areOfOneAccountOrAll() {
    DayBookFixture f;
    f.load();
    for (const char* const account : {"C1", "C2", "C2"}) {
        QVERIFY(f.deal(account, "000001.SZ", OrderSide::buy, 100, 10.0));
    }
    QVERIFY(f.book->putOrder(orderRecord("C2", "000001.SZ", "1", 100), &f.error));
    QCOMPARE(f.book->positionCount("C1"), 2);
    QCOMPARE(f.book->positionCount("C2"), 1);
    QCOMPARE(f.book->positionCount({}), 3);
    QCOMPARE(f.book->executionCount("C2"), 2);
    QCOMPARE(f.book->executionCount({}), 3);
    QCOMPARE(f.book->orderCount("C1"), 0);
    QCOMPARE(f.book->orderCount({}), 1);
    QCOMPARE(f.book->positionCount("nobody"), 0);
    QCOMPARE(f.book->executionCount("nobody"), 0);
    QCOMPARE(f.book->orderCount("nobody"), 0);
}

void DayBookTest::executions_areFilteredAndPaged() {
    DayBookFixture f;
    f.load();
    for (int i = 0; i < 6; ++i) {
        QVERIFY(f.deal(i % 2 ? "C2" : "C1", i < 4 ? "600000.SH" : "000001.SZ", OrderSide::buy, 100,
                       10.0, {{Security::execID, QString::number(i)}}));
    }
    const auto ids = [&f](const QVariantMap& filter, int start, int count, int* total) {
        QStringList found;
        for (const QVariantMap& row : f.book->executions(filter, start, count, total)) {
            found.append(row.value(Security::execID).toString());
        }
        return found;
    };
    int total = 0;
    QCOMPARE(ids({{UserAccount::tradingAccount, "C1"}}, 0, -1, &total),
             (QStringList{"0", "2", "4"}));
    QCOMPARE(total, 3);
    QCOMPARE(ids({{UserAccount::tradingAccount, ""}}, 0, -1, &total),
             (QStringList{"0", "2", "4", "1", "3", "5"}));
    QCOMPARE(total, 6);
    QCOMPARE(ids({}, 1, 3, &total), (QStringList{"2", "4", "1"}));
    QCOMPARE(total, 6);
    QCOMPARE(
        ids({{UserAccount::tradingAccount, "C2"}, {Security::symbol, "600000.SH"}}, 1, -1, &total),
        QStringList{"3"});
    QCOMPARE(total, 2);
    QCOMPARE(ids({}, 5, 10, &total), QStringList{"5"});
    QVERIFY(ids({}, 0, 0, &total).isEmpty());
    QVERIFY(ids({}, 99, -1, &total).isEmpty());
    QCOMPARE(total, 6);
    QVERIFY(ids({{UserAccount::tradingAccount, "nobody"}}, 0, -1, &total).isEmpty());
    QCOMPARE(total, 0);
}

void DayBookTest::setPosition_replacesTheWholePosition() {
    DayBookFixture f;
    f.load();
    QVERIFY(f.deal("C1", "600000.SH", OrderSide::buy, 1000, 12.0));
    QVERIFY2(f.book->setPosition({{UserAccount::tradingAccount, "C1"},
                                  {Security::securityID, "600000"},
                                  {UserAccount::securityExchange, Exchange::sh},
                                  {Security::nominalQty, 3.5},
                                  {Security::omsAverageCost, 8.0}},
                                 &f.error),
             qPrintable(f.error));
    QCOMPARE(f.quantity("C1", "600000.SH"), 3.5);
    QCOMPARE(f.cost("C1", "600000.SH"), 8.0);
    QCOMPARE(f.book->holdings("C1").first().sellable, 350);
    QCOMPARE(f.position("C1", "600000.SH").value(UserAccount::securityAccount).toString(),
             QStringLiteral("SH-C1"));
    QCOMPARE(f.book->cash("C1"), 1e6 - 12000);
}

namespace {

/// Orders of random accounts, each filled in random parts; some are cancelled.
void playRandomDay(DayBookFixture& f, quint32 seed, int orders) {
    const QList<QPair<QString, QString>> goods{
        {"C1", "600000.SH"}, {"C1", "000001.SZ"},  {"C2", "113001.SH"},   {"C2", "00700.HK"},
        {"M1", "600000.SH"}, {"F1", "IF2601.CFE"}, {"O1", "10000001.SH"}, {"G1", "AU01.SGE"}};
    std::mt19937 random(seed);
    for (int i = 0; i < orders; ++i) {
        const auto& good = goods.at(int(random() % unsigned(goods.size())));
        const QString id = QString::number(i);
        const QString side = random() % 2 ? OrderSide::buy : DealSide::sell;
        int left = 1 + int(random() % 900);
        QVERIFY(f.book->putOrder(
            orderRecord(good.first, good.second, id, left, {{Security::side, side}}), &f.error));
        while (left > 0) {
            const QVariantMap ofOrder{{Security::orderID, id},
                                      {Margin::executionCommission, double(random() % 500) / 100}};
            const int part = 1 + int(random() % unsigned(left));
            if (random() % 8 == 0) {
                QVERIFY2(f.deal(good.first, good.second, side, 0, 0.0,
                                {{Security::orderID, id},
                                 {UserAccount::ExchangeExecType, EntrustType::cancelOrder}}),
                         qPrintable(f.error));
                break;
            }
            QVERIFY2(f.deal(good.first, good.second, side, part, double(1 + random() % 2000) / 100,
                            ofOrder),
                     qPrintable(f.error));
            left -= part;
        }
    }
}

}  // namespace

void DayBookTest::randomDay_positionsExecutionsCashAndOrdersAgree() {
    for (quint32 seed = 1; seed <= 20; ++seed) {
        DayBookFixture f;
        f.load();
        playRandomDay(f, seed, 60);
        QMap<QString, qint64> pieces{{"C1|600000.SH", 1000}};
        QMap<QString, double> paid;
        QMap<QString, qint64> filled;
        QSet<QString> ids;
        for (const QVariantMap& row : f.book->executions({}, 0, -1, nullptr)) {
            const int sign = row.value(Security::side) == OrderSide::buy ? 1 : -1;
            const QString account = row.value(UserAccount::tradingAccount).toString();
            const QString symbol = row.value(Security::symbol).toString();
            const qint64 quantity = row.value(Security::lastQty).toLongLong();
            const double rate = symbol.endsWith("HK") ? (0.8964 + 0.9518) / 2 : 1;
            pieces[account + '|' + symbol] += sign * quantity;
            paid[account] += rate * (sign * row.value(Security::lastAmount).toDouble() +
                                     row.value(Margin::executionCommission).toDouble());
            filled[row.value(Security::orderID).toString()] += quantity;
            ids.insert(row.value(Security::execID).toString());
        }
        QCOMPARE(ids.size(), f.book->executionCount({}));
        QVERIFY(f.book->executionCount({}) > 60);
        for (const TradingDesk::Account& account : f.book->tradableAccounts()) {
            const QString& name = account.tradingAccount;
            for (const TradingDesk::Holding& holding : f.book->holdings(name)) {
                QCOMPARE(holding.quantity, pieces.take(name + '|' + holding.symbol));
            }
            QVERIFY(std::abs(f.book->cash(name) - (1e6 - paid.value(name))) < 1e-6);
        }
        pieces.remove("C1|600000.SH");
        for (const qint64 left : qAsConst(pieces)) {
            QCOMPARE(left, 0);  // orders that were cancelled unfilled
        }
        for (const QVariantMap& order : f.book->orders({}, 0, -1, nullptr)) {
            QCOMPARE(order.value(Security::cumQty).toLongLong(),
                     filled.value(order.value(Security::orderID).toString()));
            QCOMPARE(order.value(Security::orderQty).toLongLong(),
                     order.value(Security::cumQty).toLongLong() +
                         order.value(Security::cancelledQty).toLongLong());
        }
    }
}

void DayBookTest::reload_afterARandomDay_givesTheSameBook() {
    DayBookFixture f;
    f.load();
    playRandomDay(f, 7, 100);
    QVERIFY(f.book->setPosition({{UserAccount::tradingAccount, "C2"},
                                 {Security::symbol, "600000.SH"},
                                 {Security::nominalQty, 4},
                                 {Security::omsAverageCost, 7.0}},
                                &f.error));
    playRandomDay(f, 8, 0);
    const auto positions = f.book->positions({});
    const double cash = f.book->cash("C1");
    QVERIFY2(f.book->reload(&f.error), qPrintable(f.error));
    QCOMPARE(f.book->positions({}), positions);
    QCOMPARE(f.book->cash("C1"), cash);
    f.opening.accounts[0].cash = 2e6;
    QVERIFY(f.book->reload(&f.error));
    QVERIFY(std::abs(f.book->cash("C1") - cash - 1e6) < 1e-6);
}

void DayBookTest::reload_withoutAnAccountThatDealt_failsAndKeepsTheBook() {
    DayBookFixture f;
    f.load();
    QVERIFY(f.deal("C2", "600000.SH", OrderSide::buy, 100, 10.0));
    const auto positions = f.book->positions({});
    f.opening.accounts.removeAt(1);
    QVERIFY(!f.book->reload(&f.error));
    QVERIFY2(f.error.contains("C2"), qPrintable(f.error));
    QCOMPARE(f.book->positions({}), positions);
    QCOMPARE(f.book->cash("C2"), 1e6 - 1000);
}

void DayBookTest::requery_readsTheOpeningCashAgain() {
    DayBookFixture f;
    f.load();
    QVERIFY(f.deal("C1", "600000.SH", OrderSide::buy, 100, 10.0));
    f.opening.accounts[0].cash = 5e6;
    const LogCapture log;
    f.book->requeryFunds(nullptr);
    QCOMPARE(f.book->cash("C1"), 5e6 - 1000);
    QCOMPARE(f.book->fundRequeries(), 1);
    QVERIFY(log.contains(QtInfoMsg, "read again"));
    f.failure = "gone";
    f.book->requeryFunds(nullptr);
    QVERIFY(log.contains(QtWarningMsg, "gone"));
    QCOMPARE(f.book->fundRequeries(), 1);
    QCOMPARE(f.book->cash("C1"), 5e6 - 1000);
}

void DayBookTest::closedBook_refusesAndStillAnswers() {
    DayBookFixture f;
    f.load();
    f.book->close();
    f.book->close();
    QVERIFY(!f.deal("C1", "600000.SH", OrderSide::buy, 100, 10.0));
    QVERIFY(!f.book->putOrder(orderRecord("C1", "600000.SH", "1", 100), &f.error));
    QVERIFY(!f.book->reload(&f.error));
    QCOMPARE(f.quantity("C1", "600000.SH"), 10.0);
    QCOMPARE(f.book->orderCount({}), 0);
}

void DayBookTest::twoThreads_everyAnswerIsOfOneMoment() {
    DayBookFixture f;
    f.load();
    constexpr int kDeals = 3000;
    const auto buy = [&f](const QString& account) {
        for (int i = 0; i < kDeals; ++i) {
            QString error;
            f.book->putDeal(dealRecord(account, "000001.SZ", OrderSide::buy, 1, 1.0), &error);
        }
    };
    std::thread first(buy, "C1");
    std::thread second(buy, "C1");
    std::thread third(buy, "C2");
    bool agree = true;
    int seen = 0;
    while (seen < 2 * kDeals) {
        // The book only grows, so executions read before and after enclose the position between.
        const int before = f.book->executionCount("C1");
        const double held = f.quantity("C1", "000001.SZ") * 100;
        seen = f.book->executionCount("C1");
        agree = agree && (before == 0 || (held >= before - 1e-6 && held <= seen + 1e-6));
    }
    first.join();
    second.join();
    third.join();
    QVERIFY(agree);
    QCOMPARE(f.quantity("C1", "000001.SZ"), 60.0);
    QCOMPARE(f.book->cash("C1"), 1e6 - 2 * kDeals);
    QCOMPARE(f.book->cash("C2"), 1e6 - kDeals);
    QSet<QString> ids;
    for (const QVariantMap& row : f.book->executions({}, 0, -1, nullptr)) {
        ids.insert(row.value(Security::execID).toString());
    }
    QCOMPARE(ids.size(), 3 * kDeals);
}

QTEST_GUILESS_MAIN(DayBookTest)
#include "day_book_test.moc"
