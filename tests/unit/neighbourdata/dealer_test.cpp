#include "dealer.h"

#include <QtTest>
#include <memory>

#include "fake_clock.h"
#include "fake_desk.h"
#include "log_capture.h"
#include "quantity_sections.h"
#include "static_db_builder.h"
#include "temp_home.h"
#include "vocabulary/fields.h"
#include "vocabulary/values.h"
#include "wait_for.h"

using namespace std::chrono_literals;
using std::chrono::nanoseconds;

namespace {

const QDateTime kMorning(QDate(2026, 1, 5), QTime(10, 0));

/// What orders on a security must keep to, written down apart from the database.
struct Rules {
    const char* symbol;
    const char* id;
    QString exchange;
    QString type;
    QString subType;
    double close;
    double tick;
    double upper;
    double lower;
    qint64 step;
    qint64 least;
    qint64 most;
    double unit;
    double rate;
    bool nextDay;
    QVariantMap more;
};

const QVector<Rules>& market() {
    using namespace MdcSecurityType;
    static const QString etf = MdcSubSecurityType::TradingopenindexfundETF;
    static const QString convertible = MdcSubSecurityType::Convertiblebond;
    static const QString science = MdcSubSecurityType::ScienTechInnovateBoard;
    static const QVariantMap lotOfOne{{Security::LotSize, 1}};
    static const auto contract = [](double multiplier) {
        return QVariantMap{{Security::LotSize, 1}, {Security::contractMultiplier, multiplier}};
    };
    static const QVector<Rules> all{
        {"600000.SH",
         "600000",
         Exchange::sh,
         StockType,
         "02001",
         10,
         0.01,
         11,
         9,
         100,
         100,
         1000000,
         1,
         1,
         true,
         {}},
        {"1.SZ",
         "1",
         Exchange::sz,
         StockType,
         "02001",
         2.51,
         0.01,
         2.52,
         2.5,
         100,
         100,
         1000000,
         1,
         1,
         true,
         {}},
        {"688001.SH",
         "688001",
         Exchange::sh,
         StockType,
         science,
         88.88,
         0.01,
         106.66,
         71.1,
         1,
         200,
         100000,
         1,
         1,
         true,
         {}},
        {"113001.SH",
         "113001",
         Exchange::sh,
         BondType,
         convertible,
         120.5,
         0.001,
         144.6,
         96.4,
         10,
         10,
         1000000,
         1,
         1,
         false,
         {}},
        {"10001.SH",
         "10001",
         Exchange::sh,
         BondType,
         "03100",
         100.123,
         0.001,
         0,
         0,
         1000,
         1000,
         100000000,
         1,
         1,
         false,
         {}},
        {"510010.SH",
         "510010",
         Exchange::sh,
         FundType,
         etf,
         1.234,
         0.001,
         1.357,
         1.111,
         100,
         100,
         1000000,
         1,
         1,
         true,
         {}},
        {"2001.HK",
         "2001",
         Exchange::hhk,
         StockType,
         "02400",
         9.99,
         0.01,
         0,
         0,
         500,
         500,
         1500000,
         1,
         (0.8964 + 0.9518) / 2,
         false,
         {{Security::LotSize, 500}}},
        {"IF2601.CFE", "IF2601", Exchange::cffex, FuturesType, "05200", 4000, 0.2, 4400, 3600, 1, 1,
         20, 300, 1, false, contract(300)},
        {"90001.SH", "90001", Exchange::sh, OptionType, "06100", 0.1234, 0.0001, 0, 0, 1, 1, 50,
         10000, 1, false, contract(10000)},
        {"AU01.SGE", "AU01", Exchange::sge, SpotType, "09100", 800, 0.01, 1040, 560, 1, 1, 10000,
         10, 1, false, lotOfOne},
    };
    return all;
}

const Rules* rulesOf(const QString& symbol) {
    for (const Rules& one : market()) {
        if (symbol == QLatin1String(one.symbol)) {
            return &one;
        }
    }
    return nullptr;
}

QVariantMap recordOf(const Rules& one) {
    QVariantMap record = one.more;
    record.insert(Security::symbol, QLatin1String(one.symbol));
    record.insert(Security::securityID, QLatin1String(one.id));
    record.insert(UserAccount::securityExchange, one.exchange);
    record.insert(MDCFieldDefine::mdcSecurityType, one.type);
    record.insert(MDCFieldDefine::mdcSubSecurityType, one.subType);
    record.insert("PreClosePx", one.close);
    record.insert("PriceTick", one.tick);
    record.insert("MaxPx", one.upper);
    record.insert("MinPx", one.lower);
    return record;
}

bool isMultiple(double value, double of) {
    const double times = value / of;
    return std::abs(times - std::round(times)) < 1e-6;
}

bool isSellSide(const QString& side) {
    return side.endsWith(QLatin1Char('2'));
}

}  // namespace

class DealerTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void init();

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
    void refusedRecords_areLoggedOnce_andTheOrderIsGivenUp();
    void cashThatIsGone_cancelsTheRest();
    void withoutAccounts_nothingIsDealt_andLoggedOnce();
    void withoutSecurities_nothingIsDealt_andLoggedOnce();
    void withoutDatabase_nothingIsDealt_andLoggedOnce();
    void withoutCashAndHoldings_nothingIsDealt_andLoggedOnce();
    void accountsThatComeLater_areDealt();
    void catchUp_makesTheRate_data();
    void catchUp_makesTheRate();
    void catchUp_afterAStall_skipsWhatIsOlderThanASecond();
    void catchUp_withNothingToDeal_waitsASecond();
    void nextDue_isWhenTheNextDealComes();
    void started_dealsOnItsThread_untilStopped();
    void busyDealer_thatIsToEnd_makesNoFurtherDeal();
    void dealerThatIsToEnd_readsTheSecuritiesLater();
    void started_refusesSteps();
    void started_withoutARate_ends();

private:
    Dealer::Options options(quint32 seed = 7) const {
        Dealer::Options given;
        given.seed = seed;
        given.staticDatabaseFile = m_database;
        given.clock = m_clock->function();
        return given;
    }
    std::shared_ptr<FakeDesk> desk() const {
        auto made = std::make_shared<FakeDesk>();
        for (const Rules& one : market()) {
            made->setFigures(QLatin1String(one.symbol), {one.unit, one.rate, one.nextDay});
        }
        return made;
    }
    /// One account of each kind.
    std::shared_ptr<FakeDesk> fullDesk() const {
        auto made = desk();
        const QStringList shares{Exchange::sh, Exchange::sz, Exchange::hhk};
        made->addAccount("T1", FundAccountType::Cash, shares, 2000000);
        made->addAccount("T2", FundAccountType::Credit, shares, 300000);
        made->addAccount("T3", FundAccountType::Future, {Exchange::cffex}, 9000000);
        made->addAccount("T4", FundAccountType::Option, {Exchange::sh}, 100000);
        made->addAccount("T5", FundAccountType::Metal, {Exchange::sge}, 500000);
        made->addHolding("T1", "600000.SH", Exchange::sh, 12345);
        made->addHolding("T1", "688001.SH", Exchange::sh, 1500);
        made->addHolding("T1", "2001.HK", Exchange::hhk, 5200);
        made->addHolding("T2", "113001.SH", Exchange::sh, 505);
        made->addHolding("T2", "204001.SH", Exchange::sh, 1000);
        made->addHolding("T3", "IF2601.CFE", Exchange::cffex, 3);
        made->addHolding("T5", "AU01.SGE", Exchange::sge, 90);
        return made;
    }

    TempHome m_home;
    QString m_database;
    std::unique_ptr<FakeClock> m_clock;
};

void DealerTest::initTestCase() {
    m_database = m_home.filePath("static.db");
    StaticDbBuilder builder;
    for (const Rules& one : market()) {
        builder.reference("security", QLatin1String(one.symbol), recordOf(one));
    }
    builder.reference("gold", "AU01.SGE", {{GoldTrade::TradeUnitQty, 10}});
    // What must not be dealt.
    Rules repo = market().at(3);
    repo.symbol = "204001.SH";
    repo.id = "204001";
    repo.subType = "03310";
    builder.reference("security", "204001.SH", recordOf(repo));
    Rules gone = market().first();
    gone.symbol = "600050.SH";
    gone.more = QVariantMap{{System::deleteFlag, true}};
    builder.reference("security", "600050.SH", recordOf(gone));
    Rules unpriced = market().first();
    unpriced.symbol = "600051.SH";
    unpriced.close = 0;
    builder.reference("security", "600051.SH", recordOf(unpriced));
    builder.referenceText("security", "600052.SH", "not a record");
    builder
        .section(QuantitySection::step, {{"*", "100"},
                                         {"02200", "1"},
                                         {"03200", "10"},
                                         {"3", "1000"},
                                         {"6", "1"},
                                         {"5", "1"},
                                         {"9", "1"}})
        .section(QuantitySection::min, {{"*", "100"},
                                        {"02200", "200"},
                                        {"03200", "10"},
                                        {"3", "1000"},
                                        {"6", "1"},
                                        {"5", "1"},
                                        {"9", "1"}})
        .section(QuantitySection::max, {{"*", "1000000"},
                                        {"02200", "100000"},
                                        {"02200_orderType:1", "50000"},
                                        {"3", "100000000"},
                                        {"03200", "1000000"},
                                        {"05200", "20"},
                                        {"6", "50"},
                                        {"9", "10000"}})
        .write(m_database);
}

void DealerTest::init() {
    m_clock = std::make_unique<FakeClock>(kMorning);
}

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
        const Rules* const rules = rulesOf(symbol);
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
    QCOMPARE(dealt.size(), market().size());
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
        const Rules* const rules = rulesOf(record.value(Security::symbol).toString());
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
            const Rules* const rules = rulesOf(symbol);
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
            const Rules* const rules = rulesOf(record.value(Security::symbol).toString());
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

void DealerTest::refusedRecords_areLoggedOnce_andTheOrderIsGivenUp() {
    const auto books = fullDesk();
    books->refuseDeals("not today");
    const LogCapture log;
    Dealer dealer(books, options());
    QCOMPARE(dealer.step(3), 0);
    QCOMPARE(log.count(QtWarningMsg, "the dealer's record was refused: not today"), 1);
    books->refuseDeals(QString());
    QCOMPARE(dealer.step(50), 50);
    // Orders that were given up are not filled later, and the others are in order.
    const auto orders = books->orders();
    for (const FakeDesk::Order& one : orders) {
        QVERIFY(one.dealt == one.last.value(Security::cumQty).toLongLong());
    }
    QCOMPARE(books->violations(), QStringList());
}

void DealerTest::cashThatIsGone_cancelsTheRest() {
    const auto books = desk();
    books->addAccount("T1", FundAccountType::Cash, {Exchange::sz}, 1000000);
    Dealer dealer(books, options());
    QCOMPARE(dealer.step(20), 20);
    // Somebody else has spent it.
    books->setCash("T1", 0);
    QCOMPARE(dealer.step(20), 0);
    QCOMPARE(books->deals(), 20);
    QCOMPARE(books->violations(), QStringList());
    const auto orders = books->orders();
    OrderStatusTable states;
    QString error;
    QVERIFY(states.load(&error));
    for (const FakeDesk::Order& one : orders) {
        QVERIFY(states.isTerminal(one.statuses.last()));
    }
}

void DealerTest::withoutAccounts_nothingIsDealt_andLoggedOnce() {
    const LogCapture log;
    Dealer dealer(desk(), options());
    QCOMPARE(dealer.step(5), 0);
    QVERIFY(!dealer.stepOnce());
    QCOMPARE(log.count(QtWarningMsg, "no deals: there is no account on which the login may trade"),
             1);
}

void DealerTest::withoutSecurities_nothingIsDealt_andLoggedOnce() {
    Dealer::Options given = options();
    given.staticDatabaseFile = m_home.filePath("empty.db");
    StaticDbBuilder().write(given.staticDatabaseFile);
    const LogCapture log;
    const auto books = fullDesk();
    Dealer dealer(books, given);
    QVERIFY(!dealer.stepOnce());
    QVERIFY(!dealer.stepOnce());
    QCOMPARE(log.count(QtWarningMsg, "no deals: the static database has no security to deal"), 1);
    QVERIFY(books->log().isEmpty());
}

void DealerTest::withoutDatabase_nothingIsDealt_andLoggedOnce() {
    Dealer::Options given = options();
    given.staticDatabaseFile = m_home.filePath("missing.db");
    const LogCapture log;
    const auto books = fullDesk();
    Dealer dealer(books, given);
    QVERIFY(!dealer.stepOnce());
    QVERIFY(!dealer.stepOnce());
    int lines = 0;
    for (const QString& text : log.texts(QtWarningMsg)) {
        lines += text.startsWith("no deals: ") && text.contains("missing.db") ? 1 : 0;
    }
    QCOMPARE(lines, 1);
    QVERIFY(books->log().isEmpty());
}

void DealerTest::withoutCashAndHoldings_nothingIsDealt_andLoggedOnce() {
    const QVector<double> poor{0, 4.99, -1e9, qQNaN(), qInf()};
    for (const double cash : poor) {
        const auto books = desk();
        books->addAccount("T1", FundAccountType::Cash, {Exchange::sh}, cash);
        books->addAccount("T2", FundAccountType::Cash, {}, 1e9);
        books->addAccount("T3", "no such kind", {Exchange::sh}, 1e9);
        const LogCapture log;
        Dealer dealer(books, options());
        QVERIFY(!dealer.stepOnce());
        QVERIFY(!dealer.stepOnce());
        QCOMPARE(log.count(QtWarningMsg,
                           "no deals: no account has the cash or the holdings that "
                           "an order needs"),
                 1);
        QVERIFY(books->log().isEmpty());
    }
}

void DealerTest::accountsThatComeLater_areDealt() {
    const auto books = desk();
    Dealer dealer(books, options());
    QVERIFY(!dealer.stepOnce());
    books->addAccount("T1", FundAccountType::Cash, {Exchange::sh}, 1e7);
    QCOMPARE(dealer.step(5), 5);
    // The authority ends, and the dealing with it.
    books->clearAccounts();
    const int before = books->log().size();
    QVERIFY(!dealer.stepOnce());
    QCOMPARE(books->log().size(), before);
}

void DealerTest::catchUp_makesTheRate_data() {
    QTest::addColumn<double>("rate");
    QTest::addColumn<int>("callsPerSecond");
    QTest::newRow("10 a second, seen often") << 10.0 << 50;
    QTest::newRow("7 a second, seen rarely") << 7.0 << 2;
    QTest::newRow("one in four seconds") << 0.25 << 10;
    QTest::newRow("500 a second") << 500.0 << 33;
}

void DealerTest::catchUp_makesTheRate() {
    QFETCH(double, rate);
    QFETCH(int, callsPerSecond);
    const auto books = fullDesk();
    Dealer::Options given = options();
    given.dealsPerSecond = rate;
    Dealer dealer(books, given);
    int made = 0;
    constexpr int kSeconds = 8;
    for (int i = 1; i <= kSeconds * callsPerSecond; ++i) {
        made += dealer.catchUp(nanoseconds(qint64(1e9) * i / callsPerSecond));
    }
    QCOMPARE(made, static_cast<int>(rate * kSeconds));
    QCOMPARE(books->deals(), made);
}

void DealerTest::catchUp_afterAStall_skipsWhatIsOlderThanASecond() {
    const auto books = fullDesk();
    Dealer::Options given = options();
    given.dealsPerSecond = 10;
    Dealer dealer(books, given);
    QCOMPARE(dealer.catchUp(1s), 10);
    QCOMPARE(dealer.catchUp(3600s), 10);
    QCOMPARE(dealer.catchUp(3601s), 10);
}

void DealerTest::catchUp_withNothingToDeal_waitsASecond() {
    const auto books = desk();
    Dealer::Options given = options();
    given.dealsPerSecond = 100;
    Dealer dealer(books, given);
    QCOMPARE(dealer.catchUp(5s), 0);
    QCOMPARE(*dealer.nextDue(), nanoseconds(6s));
    books->addAccount("T1", FundAccountType::Cash, {Exchange::sh}, 1e7);
    QCOMPARE(dealer.catchUp(5900ms), 0);
    QCOMPARE(dealer.catchUp(6s), 1);
    // What could not be dealt is not made up for.
    QCOMPARE(dealer.catchUp(6500ms), 50);
}

void DealerTest::nextDue_isWhenTheNextDealComes() {
    Dealer::Options given = options();
    given.dealsPerSecond = 4;
    Dealer dealer(fullDesk(), given);
    QCOMPARE(dealer.catchUp(0s), 0);
    QCOMPARE(*dealer.nextDue(), nanoseconds(250ms));
    QCOMPARE(dealer.catchUp(600ms), 2);
    QCOMPARE(*dealer.nextDue(), nanoseconds(750ms));
    for (const double none : {0.0, -1.0, qQNaN(), qInf()}) {
        given.dealsPerSecond = none;
        Dealer idle(fullDesk(), given);
        QCOMPARE(idle.catchUp(10s), 0);
        QVERIFY(!idle.nextDue());
    }
}

void DealerTest::started_dealsOnItsThread_untilStopped() {
    const auto books = fullDesk();
    Dealer::Options given = options();
    given.dealsPerSecond = 500;
    Dealer dealer(books, given);
    const LogCapture log;
    dealer.start();
    dealer.start();
    QVERIFY(dealer.running());
    QVERIFY(waitFor([&books] { return books->deals() >= 20; }));
    dealer.stop();
    QVERIFY(!dealer.running());
    const auto after = books->log();
    QVERIFY(dealer.stepOnce());
    QVERIFY(books->log().size() > after.size());
    QCOMPARE(books->violations(), QStringList());
    QCOMPARE(log.count(QtInfoMsg, "dealing started: 500 deals per second, seed 7"), 1);
    dealer.start();
    // The destructor stops it.
}

void DealerTest::busyDealer_thatIsToEnd_makesNoFurtherDeal() {
    struct EndingDesk : FakeDesk {
        bool putDeal(const QVariantMap& deal, QString* error) override {
            const bool taken = FakeDesk::putDeal(deal, error);
            if (deals() == 5 && dealer) {
                dealer->endSoon();
            }
            return taken;
        }
        Dealer* dealer = nullptr;
    };
    const auto books = std::make_shared<EndingDesk>();
    books->addAccount("T1", FundAccountType::Cash, {Exchange::sh}, 1e7);
    Dealer::Options given = options();
    given.dealsPerSecond = Dealer::kMostDealsPerSecond;
    Dealer dealer(books, given);
    books->dealer = &dealer;
    QCOMPARE(dealer.catchUp(1s), 5);
    QCOMPARE(dealer.catchUp(9s), 0);
    QVERIFY(!dealer.stepOnce());
    QCOMPARE(books->deals(), 5);
    books->dealer = nullptr;
    dealer.stop();
    QVERIFY(dealer.stepOnce());
}

void DealerTest::dealerThatIsToEnd_readsTheSecuritiesLater() {
    const auto books = fullDesk();
    Dealer dealer(books, options());
    dealer.endSoon();
    const LogCapture log;
    QVERIFY(!dealer.stepOnce());
    QVERIFY(!log.contains(QtWarningMsg, "no deals"));
    dealer.stop();
    QVERIFY(dealer.stepOnce());
}

void DealerTest::started_refusesSteps() {
    Dealer::Options given = options();
    given.dealsPerSecond = 0.001;
    const auto books = fullDesk();
    Dealer dealer(books, given);
    dealer.start();
    QVERIFY(!dealer.stepOnce());
    QCOMPARE(dealer.step(5), 0);
    dealer.stop();
    QVERIFY(books->log().isEmpty());
}

void DealerTest::started_withoutARate_ends() {
    Dealer::Options given = options();
    given.dealsPerSecond = 0;
    const auto books = fullDesk();
    Dealer dealer(books, given);
    dealer.start();
    dealer.stop();
    QCOMPARE(books->deals(), 0);
}

QTEST_GUILESS_MAIN(DealerTest)
#include "dealer_test.moc"
