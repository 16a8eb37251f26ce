#include "dealer.h"

#include <QtTest>
#include <algorithm>
#include <cmath>

#include "dealer_fixture.h"
#include "log_capture.h"

namespace {

bool isMultiple(double value, double of) {
    const double times = value / of;
    return std::abs(times - std::round(times)) < 1e-6;
}

bool isSellSide(const QString& side) {
    return side.endsWith(QLatin1Char('2'));
}

}  // namespace

class DealerTest : public QObject, private DealerWorld {
    Q_OBJECT

private slots:
    void init() { restartClock(); }

    void day_ofEveryKindOfAccount_breaksNoRuleOfTheDesk();
    void day_hasEveryOutcome();
    void orders_keepToTicksLimitsAndLots();
    void accounts_dealOnlyWhatTheirKindAndSecurityAccountsAllow();
    void oddLot_isSoldAtOnceOnly();
    void boughtToday_isNotSoldAgain();
    void lastPrice_isWhereOrdersAreMade();
    void lastPrice_whichIsNoPrice_isIgnored();
    void sameSeed_sameDay();
    void otherSeed_otherDay();
    void clock_changesOnlyTheTimes();
    void commission_data();
    void commission();
    void severalDeals_payTheCommissionOfTheirSum();
};

void DealerTest::day_ofEveryKindOfAccount_breaksNoRuleOfTheDesk() {
    for (quint32 seed = 1; seed <= 20; ++seed) {
        const auto books = fullDesk();
        Dealer dealer(books, options(seed));
        QCOMPARE(dealer.step(500), 500);
        QCOMPARE(books->deals(), 500);
        QCOMPARE(books->violations(), QStringList());
    }
}

void DealerTest::day_hasEveryOutcome() {
    const auto books = fullDesk();
    Dealer dealer(books, options());
    QCOMPARE(dealer.step(1000), 1000);
    QMap<QString, int> endings;
    int inSeveralDeals = 0;
    const auto orders = books->orders();
    for (const FakeDesk::Order& one : orders) {
        const QString status = one.statuses.last();
        ++endings[status];
        inSeveralDeals +=
            status == OrderStatus::filled && one.statuses.contains(OrderStatus::partlyFilled) ? 1
                                                                                              : 0;
    }
    QVERIFY(endings.value(OrderStatus::filled) - inSeveralDeals > 100);
    QVERIFY(inSeveralDeals > 50);
    QVERIFY(endings.value(OrderStatus::partlyCancelled) > 10);
    QVERIFY(endings.value(OrderStatus::cancelled) > 10);
    QVERIFY(endings.value(OrderStatus::rejected) > 10);
    QCOMPARE(books->cancelRows(),
             endings.value(OrderStatus::partlyCancelled) + endings.value(OrderStatus::cancelled));
}

void DealerTest::orders_keepToTicksLimitsAndLots() {
    const auto books = fullDesk();
    Dealer dealer(books, options(3));
    QCOMPARE(dealer.step(3000), 3000);
    QSet<QString> dealt;
    const auto log = books->log();
    for (const QVariantMap& record : log) {
        const QString symbol = record.value(Security::symbol).toString();
        const DealerRules* const rules = rulesOf(symbol);
        QVERIFY2(rules, qPrintable(symbol));
        const bool isOrder = record.contains(Security::orderStatus);
        if (!isOrder && record.value(Security::lastQty).toLongLong() == 0) {
            continue;
        }
        const double price =
            record.value(isOrder ? TradeField::orderPrice : TradeField::dealPrice).toDouble();
        QVERIFY2(price > 0 && isMultiple(price, rules->tick),
                 qPrintable(QStringLiteral("%1 %2").arg(symbol).arg(price, 0, 'f', 6)));
        QVERIFY(rules->upper == 0 || price <= rules->upper + 1e-9);
        QVERIFY(price >= rules->lower - 1e-9);
        if (isOrder) {
            const qint64 quantity = record.value(Security::orderQty).toLongLong();
            QVERIFY(quantity > 0 && quantity <= rules->most);
            // Odd lots of sales have a test of their own.
            QVERIFY(isSellSide(record.value(Security::side).toString()) ||
                    (quantity >= rules->least && quantity % rules->step == 0));
            dealt.insert(symbol);
        }
    }
    QCOMPARE(dealt.size(), dealerMarket().size());
    QCOMPARE(books->violations(), QStringList());
}

void DealerTest::accounts_dealOnlyWhatTheirKindAndSecurityAccountsAllow() {
    const auto books = fullDesk();
    Dealer dealer(books, options(11));
    QCOMPARE(dealer.step(2000), 2000);
    const QMap<QString, QStringList> types{{"T1", {"2", "3", "8"}},
                                           {"T2", {"2", "3", "8"}},
                                           {"T3", {"5"}},
                                           {"T4", {"6"}},
                                           {"T5", {"9"}}};
    const QMap<QString, QStringList> sides{{"T1", {"101", "102"}},
                                           {"T2", {"201", "202"}},
                                           {"T3", {"301", "302"}},
                                           {"T4", {"401", "402"}},
                                           {"T5", {"101", "102"}}};
    QMap<QString, QSet<QString>> seen;
    const auto log = books->log();
    for (const QVariantMap& record : log) {
        const QString account = record.value(UserAccount::tradingAccount).toString();
        const QString exchange = record.value(UserAccount::securityExchange).toString();
        const DealerRules* const rules = rulesOf(record.value(Security::symbol).toString());
        QVERIFY(types.value(account).contains(rules->type));
        QCOMPARE(exchange, rules->exchange);
        QCOMPARE(record.value(Security::securityID).toString(), QString(rules->id));
        QCOMPARE(record.value(UserAccount::securityAccount).toString(), exchange + account);
        QCOMPARE(record.value(Security::transActTime).toLongLong(), kMorning.toMSecsSinceEpoch());
        const QString side = record.value(Security::side).toString();
        if (record.contains(Security::orderStatus)) {
            QVERIFY2(sides.value(account).contains(side), qPrintable(account + side));
            seen[account].insert(side);
        } else {
            QVERIFY(side == OrderSide::buy || side == DealSide::sell);
        }
    }
    for (auto one = sides.cbegin(); one != sides.cend(); ++one) {
        QCOMPARE(seen.value(one.key()).size(), 2);
    }
}

void DealerTest::oddLot_isSoldAtOnceOnly() {
    int oddSales = 0;
    for (quint32 seed = 1; seed <= 60; ++seed) {
        const auto books = desk();
        // No cash for a purchase, only for the commission of a small sale.
        books->addAccount("T1", FundAccountType::Cash, {Exchange::sh, Exchange::sz, Exchange::hhk},
                          20);
        books->addHolding("T1", "600000.SH", Exchange::sh, 250);
        books->addHolding("T1", "688001.SH", Exchange::sh, 150);
        books->addHolding("T1", "1.SZ", Exchange::sz, 30);
        books->addHolding("T1", "2001.HK", Exchange::hhk, 300);
        Dealer dealer(books, options(seed));
        QVERIFY(dealer.stepOnce());
        QCOMPARE(books->violations(), QStringList());
        const auto orders = books->orders();
        QMap<QString, qint64> left{{"600000.SH", 250}, {"688001.SH", 150}, {"1.SZ", 30}};
        for (const FakeDesk::Order& one : orders) {
            const QString symbol = one.first.value(Security::symbol).toString();
            const qint64 quantity = one.first.value(Security::orderQty).toLongLong();
            if (!isSellSide(one.first.value(Security::side).toString())) {
                continue;
            }
            // Nothing of Hong Kong: less than a lot is not sold there.
            QVERIFY2(left.contains(symbol), qPrintable(symbol));
            const DealerRules* const rules = rulesOf(symbol);
            const bool isRound = quantity >= rules->least && quantity % rules->step == 0;
            QVERIFY2(isRound || quantity == left.value(symbol),
                     qPrintable(QStringLiteral("%1 %2").arg(symbol).arg(quantity)));
            oddSales += isRound ? 0 : 1;
            left[symbol] -= one.dealt;
        }
    }
    QVERIFY(oddSales > 20);
}

void DealerTest::boughtToday_isNotSoldAgain() {
    const auto books = desk();
    books->addAccount("T1", FundAccountType::Cash, {Exchange::sz}, 100000);
    Dealer dealer(books, options());
    // Only purchases come about, until the cash is used up.
    const int deals = dealer.step(10000);
    QVERIFY(deals > 10 && deals < 10000);
    QCOMPARE(books->violations(), QStringList());
    const auto orders = books->orders();
    for (const FakeDesk::Order& one : orders) {
        QCOMPARE(one.first.value(Security::side).toString(), SideUnion::normalBuy);
    }
    QVERIFY(books->cash("T1") < 300);
}

void DealerTest::lastPrice_isWhereOrdersAreMade() {
    const auto books = desk();
    books->addAccount("T1", FundAccountType::Metal, {Exchange::sge}, 1e7);
    Dealer::Options given = options();
    double last = 700;
    given.lastPrice = [&last](const QString& symbol) { return symbol == "AU01.SGE" ? last : 0; };
    Dealer dealer(books, given);
    QVERIFY(dealer.step(50) == 50);
    for (const QVariantMap& record : books->log()) {
        if (record.contains(TradeField::orderPrice)) {
            QVERIFY(std::abs(record.value(TradeField::orderPrice).toDouble() - 700) < 0.0501);
        }
    }
    // Off the grid and above the day's limit.
    last = 2000.005;
    QVERIFY(dealer.step(50) == 50);
    QCOMPARE(books->log().last().value(Security::symbol).toString(), QString("AU01.SGE"));
    double highest = 0;
    for (const QVariantMap& record : books->log()) {
        highest = std::max(highest, record.value(TradeField::orderPrice).toDouble());
    }
    QCOMPARE(highest, 1040.0);
    QCOMPARE(books->violations(), QStringList());
}

void DealerTest::lastPrice_whichIsNoPrice_isIgnored() {
    const double faults[] = {0, -5, qQNaN(), qInf(), 1e300};
    for (const double fault : faults) {
        const auto books = fullDesk();
        Dealer::Options given = options();
        given.lastPrice = [fault](const QString&) { return fault; };
        Dealer dealer(books, given);
        QCOMPARE(dealer.step(200), 200);
        const auto plain = fullDesk();
        Dealer(plain, options()).step(200);
        QVERIFY(books->log() == plain->log());
    }
}

void DealerTest::sameSeed_sameDay() {
    const auto one = fullDesk();
    const auto other = fullDesk();
    Dealer(one, options(5)).step(700);
    Dealer slowly(other, options(5));
    for (int i = 0; i < 700; ++i) {
        QVERIFY(slowly.stepOnce());
    }
    QVERIFY(one->log().size() > 700);
    QVERIFY(one->log() == other->log());
}

void DealerTest::otherSeed_otherDay() {
    const auto one = fullDesk();
    const auto other = fullDesk();
    Dealer(one, options(5)).step(50);
    Dealer(other, options(6)).step(50);
    const auto withoutIds = [](QVector<QVariantMap> log) {
        for (QVariantMap& record : log) {
            record.remove(Security::orderID);
            record.remove(Security::clOrdID);
            record.remove(Security::execID);
        }
        return log;
    };
    QVERIFY(withoutIds(one->log()) != withoutIds(other->log()));
}

void DealerTest::clock_changesOnlyTheTimes() {
    const auto one = fullDesk();
    Dealer(one, options(5)).step(200);
    const auto other = fullDesk();
    m_clock->set(QDateTime(QDate(2031, 7, 1), QTime(23, 59, 59)));
    Dealer later(other, options(5));
    for (int i = 0; i < 200; ++i) {
        QVERIFY(later.stepOnce());
        m_clock->advance(60000);
    }
    const auto withoutTimes = [](QVector<QVariantMap> log) {
        for (QVariantMap& record : log) {
            record.remove(Security::transActTime);
        }
        return log;
    };
    QVERIFY(one->log() != other->log());
    QVERIFY(withoutTimes(one->log()) == withoutTimes(other->log()));
}

void DealerTest::commission_data() {
    QTest::addColumn<QString>("symbol");
    QTest::addColumn<double>("amount");
    QTest::addColumn<bool>("isSale");
    QTest::addColumn<double>("expected");
    QTest::newRow("nothing") << "600000.SH" << 0.0 << true << 0.0;
    QTest::newRow("at least five") << "600000.SH" << 1000.0 << false << 5.0;
    QTest::newRow("a purchase") << "600000.SH" << 100000.0 << false << 25.0;
    QTest::newRow("to the fen") << "600000.SH" << 123456.0 << false << 30.86;
    QTest::newRow("a sale of shares") << "600000.SH" << 100000.0 << true << 75.0;
    QTest::newRow("a small sale of shares") << "600000.SH" << 1000.0 << true << 5.5;
    QTest::newRow("a sale of a fund") << "510010.SH" << 100000.0 << true << 25.0;
    QTest::newRow("a sale in Hong Kong") << "2001.HK" << 100000.0 << true << 25.0;
}

void DealerTest::commission() {
    QFETCH(QString, symbol);
    QFETCH(double, amount);
    QFETCH(bool, isSale);
    QString error;
    const auto securities = DealerSecurities::open(m_database, 1, &error);
    QVERIFY2(securities, qPrintable(error));
    const auto security = securities->find(symbol);
    QVERIFY(security);
    QTEST(dealCommission(amount, isSale, *security), "expected");
}

void DealerTest::severalDeals_payTheCommissionOfTheirSum() {
    const auto books = fullDesk();
    Dealer(books, options()).step(500);
    struct Sum {
        int deals = 0;
        double amount = 0;
        double commission = 0;
        bool isSaleOfShares = false;
    };
    QMap<QString, Sum> sums;
    const auto log = books->log();
    for (const QVariantMap& record : log) {
        if (record.contains(Margin::executionCommission)) {
            Sum& sum = sums[record.value(Security::orderID).toString()];
            const DealerRules* const rules = rulesOf(record.value(Security::symbol).toString());
            const double amount = record.value(Security::lastAmount).toDouble();
            sum.deals += amount > 0 ? 1 : 0;
            sum.amount += amount;
            sum.commission += record.value(Margin::executionCommission).toDouble();
            sum.isSaleOfShares = record.value(Security::side) == DealSide::sell &&
                                 rules->type == MdcSecurityType::StockType &&
                                 rules->exchange != Exchange::hhk;
        }
    }
    int severalDeals = 0;
    for (const Sum& sum : qAsConst(sums)) {
        severalDeals += sum.deals > 1 ? 1 : 0;
        const double duty = sum.isSaleOfShares ? sum.amount * 0.0005 : 0;
        const double expected = sum.amount > 0 ? std::max(5.0, sum.amount * 0.00025) + duty : 0.0;
        QVERIFY(std::abs(sum.commission - expected) < 0.0101);
    }
    QVERIFY(severalDeals > 20);
}

QTEST_GUILESS_MAIN(DealerTest)
#include "dealer_test.moc"
