#include <QTemporaryDir>
#include <QtTest>
#include <cmath>
#include <memory>

#include "client.h"
#include "day_book.h"
#include "day_opening.h"
#include "dealer.h"
#include "order_status.h"
#include "platform_fixture.h"
#include "sample_market.h"
#include "small_market.h"
#include "test_paths.h"
#include "trade_fields.h"
#include "velmarutils/velmar_utils.h"
#include "vocabulary/fields.h"
#include "vocabulary/names.h"
#include "vocabulary/values.h"
#include "wait_for.h"

namespace {

constexpr int kLimitMs = 60000;

/// What one account has: the book at one moment, or the opening plus its executions.
struct State {
    double cash = 0;
    QMap<QString, qint64> pieces;
};

struct Instruments {
    QMap<QString, std::shared_ptr<const Instrument>> known;

    const Instrument& of(const QVariantMap& record) {
        const QString symbol = record.value(Security::symbol).toString();
        if (!known.contains(symbol)) {
            QString error;
            known.insert(symbol, Instrument::find(symbol, {}, {}, &error));
        }
        return *known.value(symbol);
    }
};

qint64 piecesOf(const QVariantMap& position, const Instrument& instrument) {
    return qRound64(position.value(Security::nominalQty).toDouble() / instrument.nominalPerPiece);
}

}  // namespace

class ClientDealsTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void deals_positionsExecutionsAndCashAgreeAtEveryMoment();
    void deals_everyOrderIsTheSumOfItsDeals();
    void orders_passTheRulesOfThePlugin();
    void sameSeed_givesTheSameOrdersAndDeals();
    void accountsAwaitedTwice_profitsAndDealsBeginOnce();
    void withoutDeals_nothingHappens();

private:
    Client::Options options(double rate, quint32 seed = 1) const {
        Client::Options given;
        given.homeDir = m_home.path();
        given.pluginsDir = QStringLiteral(VELMAR_BINARY_DIR "/plugins");
        given.user = SampleLogin::user;
        given.market = smallMarket();
        given.dealsPerSecond = rate;
        given.dealSeed = seed;
        return given;
    }
    /// What an account had before the deals.
    QMap<QString, State> openingStates();
    /// The opening and the executions, by account.
    QMap<QString, State> reckoned(const QMap<QString, State>& opening,
                                  const QList<QVariantMap>& executions);
    QMap<QString, State> shown(const DayBook& book, const QStringList& accounts);

    const QTemporaryDir m_home;
    Instruments m_instruments;
    DayOpening m_opening;
};

void ClientDealsTest::initTestCase() {
    // The first start makes the market.
    Client client(options(0), Client::Listener());
    QString error;
    QVERIFY2(client.start(&error), qPrintable(error));
    const QString dir = sampleMarketDir(m_home.path(), smallMarket());
    QVERIFY2(storedOpening(marketStoreFile(dir), SampleLogin::user)(&m_opening, &error),
             qPrintable(error));
    client.stop();
}

QMap<QString, State> ClientDealsTest::openingStates() {
    QMap<QString, State> states;
    for (const DayOpening::Account& one : qAsConst(m_opening.accounts)) {
        states[one.tradingAccount].cash = one.cash;
    }
    for (const DayOpening::Position& one : qAsConst(m_opening.positions)) {
        QString error;
        const auto instrument = Instrument::find({}, one.securityID, one.exchange, &error);
        if (instrument && states.contains(one.tradingAccount)) {
            states[one.tradingAccount].pieces[instrument->symbol] += one.quantity;
        }
    }
    return states;
}

QMap<QString, State> ClientDealsTest::reckoned(const QMap<QString, State>& opening,
                                               const QList<QVariantMap>& executions) {
    QMap<QString, State> states = opening;
    for (const QVariantMap& one : executions) {
        State& state = states[one.value(UserAccount::tradingAccount).toString()];
        const bool isBuy = one.value(Security::side) == OrderSide::buy;
        const double amount = one.value(Security::lastAmount).toDouble();
        const double commission = one.value(Margin::executionCommission).toDouble();
        const qint64 quantity = one.value(Security::lastQty).toLongLong();
        state.cash += ((isBuy ? -amount : amount) - commission) * m_instruments.of(one).rate;
        if (quantity != 0) {
            state.pieces[one.value(Security::symbol).toString()] += isBuy ? quantity : -quantity;
        }
    }
    return states;
}

QMap<QString, State> ClientDealsTest::shown(const DayBook& book, const QStringList& accounts) {
    QMap<QString, State> states;
    for (const QString& account : accounts) {
        State& state = states[account];
        state.cash = book.cash(account);
        for (const QVariantMap& one : book.positions({{UserAccount::tradingAccount, account}})) {
            state.pieces[one.value(Security::symbol).toString()] =
                piecesOf(one, m_instruments.of(one));
        }
    }
    return states;
}

void ClientDealsTest::deals_positionsExecutionsAndCashAgreeAtEveryMoment() {
    QStringList steps;
    Client::Listener listener;
    listener.stepEnded = [&steps](const QString& text) { steps.append(text); };
    Client client(options(400), listener);
    QString error;
    QVERIFY2(client.start(&error), qPrintable(error));
    QVERIFY(
        steps.contains("orders are dealt for the accounts that may trade (400 deals a second, "
                       "seed 1)"));
    const QMap<QString, State> opening = openingStates();
    const QStringList accounts = opening.keys();
    const DayBook& book = *client.book();
    int moments = 0;
    int seen = 0;
    for (int aim = 50; aim <= 400; aim += 50) {
        QVERIFY(waitFor([&] { return book.executionCount(QString()) >= aim; }, kLimitMs));
        for (const QString& account : accounts) {
            // Taken at one moment when nothing happened to the account meanwhile.
            const int before = book.executionCount(account);
            const auto of = shown(book, {account});
            int total = 0;
            const auto executions =
                book.executions({{UserAccount::tradingAccount, account}}, 0, -1, &total);
            if (before != total) {
                continue;
            }
            ++moments;
            seen += total;
            const State expected = reckoned(opening, executions).value(account);
            QVERIFY2(std::abs(of[account].cash - expected.cash) < 0.005, qPrintable(account));
            QVERIFY(of[account].cash >= 0);
            for (auto it = expected.pieces.cbegin(); it != expected.pieces.cend(); ++it) {
                QCOMPARE(of[account].pieces.value(it.key()), it.value());
                QVERIFY(it.value() >= 0);
            }
            QVERIFY(of[account].pieces.size() <= expected.pieces.size());
        }
    }
    QVERIFY(moments > 100);
    QVERIFY(seen > 500);
    client.stop();
    QVERIFY(!client.book());
}

void ClientDealsTest::deals_everyOrderIsTheSumOfItsDeals() {
    OrderStatusTable states;
    QString error;
    QVERIFY2(states.load(&error), qPrintable(error));
    Client client(options(2000), Client::Listener());
    QVERIFY2(client.start(&error), qPrintable(error));
    const DayBook& book = *client.book();
    QVERIFY(waitFor([&book] { return book.executionCount(QString()) >= 1500; }, kLimitMs));
    QSet<QString> mayTrade;
    for (const TradingDesk::Account& one : book.tradableAccounts()) {
        mayTrade.insert(one.tradingAccount);
    }
    // Orders first: their deals are all among the executions that are read later.
    int total = 0;
    const auto orders = book.orders({}, 0, -1, &total);
    const auto executions = book.executions({}, 0, -1, &total);
    QMap<QString, qint64> dealt;
    for (const QVariantMap& one : executions) {
        QVERIFY(mayTrade.contains(one.value(UserAccount::tradingAccount).toString()));
        dealt[one.value(Security::orderID).toString()] += one.value(Security::lastQty).toLongLong();
    }
    int over = 0;
    for (const QVariantMap& one : orders) {
        QVERIFY(mayTrade.contains(one.value(UserAccount::tradingAccount).toString()));
        if (states.isTerminal(one.value(Security::orderStatus).toString())) {
            ++over;
            QCOMPARE(dealt.value(one.value(Security::orderID).toString()),
                     one.value(Security::cumQty).toLongLong());
        }
    }
    QVERIFY(over > 500);
    client.stop();
}

void ClientDealsTest::orders_passTheRulesOfThePlugin() {
    Client client(options(2000, 4), Client::Listener());
    QString error;
    QVERIFY2(client.start(&error), qPrintable(error));
    QVERIFY(client.awaitCage(kLimitMs));
    const auto rule = [&client](const char* function, const QStringList& arguments) {
        QString why;
        const FacadeFunction* const found =
            client.facade().choose(QLatin1String(function), arguments, &why);
        return found ? found->call(arguments).value(QLatin1String("result")).toDouble() : qQNaN();
    };
    const DayBook& book = *client.book();
    QVERIFY(waitFor([&book] { return book.orderCount(QString()) >= 1200; }, kLimitMs));
    int total = 0;
    const auto orders = book.orders({}, 0, -1, &total);
    QSet<QString> exchanges;
    for (const QVariantMap& one : orders) {
        const QString symbol = one.value(Security::symbol).toString();
        const QString side = one.value(Security::side).toString();
        const double price = one.value(TradeField::orderPrice).toDouble();
        const double quantity = one.value(Security::orderQty).toDouble();
        exchanges.insert(one.value(UserAccount::securityExchange).toString());
        const double unit =
            rule("GetPriceUnitBySymbol", {symbol, QString::number(price, 'f', 4), side});
        const double units = price / unit;
        QVERIFY2(std::abs(units - std::round(units)) < 1e-6,
                 qPrintable(QStringLiteral("%1 %2 %3").arg(symbol).arg(price).arg(unit)));
        QVERIFY(quantity <= rule("GetMaxQtyPerOrderBySymbol", {symbol, QStringLiteral("{}")}));
        if (side.endsWith(QLatin1Char('1'))) {
            const double steps = quantity / rule("GetQtyStepBySymbol", {symbol});
            QVERIFY2(steps == std::round(steps), qPrintable(symbol));
            QVERIFY2(quantity >= rule("GetMinQtyPerOrderBySymbol", {symbol}), qPrintable(symbol));
        } else {
            QVERIFY2(quantity >= rule("GetMinSoldQtyBySymbol", {symbol}) || quantity < 200,
                     qPrintable(symbol));
        }
    }
    // Mainland shares, Hong Kong connect, options and funds, futures and gold.
    for (const QString& exchange :
         {Exchange::sh, Exchange::sz, Exchange::bj, Exchange::hhk, Exchange::szhk, Exchange::cffex,
          Exchange::shf, Exchange::sge}) {
        QVERIFY2(exchanges.contains(exchange), qPrintable(exchange));
    }
    client.stop();
}

void ClientDealsTest::sameSeed_givesTheSameOrdersAndDeals() {
    constexpr int kDeals = 300;
    const auto day = [&](quint32 seed) {
        QList<QVariantMap> rows;
        Client client(options(1000, seed), Client::Listener());
        QString error;
        if (!client.start(&error)) {
            return rows;
        }
        const DayBook& book = *client.book();
        waitFor([&book] { return book.executionCount(QString()) >= kDeals; }, kLimitMs);
        int total = 0;
        rows = book.executions({}, 0, -1, &total);
        client.stop();
        for (QVariantMap& row : rows) {
            row.remove(Security::transActTime);
        }
        // By order, because the book lists them by account.
        std::sort(rows.begin(), rows.end(), [](const QVariantMap& a, const QVariantMap& b) {
            return a.value(Security::execID).toString() < b.value(Security::execID).toString();
        });
        return rows;
    };
    const auto one = day(9);
    const auto again = day(9);
    const auto other = day(10);
    QVERIFY(one.size() >= kDeals && again.size() >= kDeals && other.size() >= kDeals);
    // Both are parts of the same day; the early orders are complete in both.
    QMap<QString, QVariantMap> byId;
    for (const QVariantMap& row : again) {
        byId.insert(row.value(Security::execID).toString(), row);
    }
    int same = 0;
    for (const QVariantMap& row : one) {
        const QVariantMap twin = byId.value(row.value(Security::execID).toString());
        if (!twin.isEmpty()) {
            QCOMPARE(row, twin);
            ++same;
        }
    }
    QVERIFY(same >= kDeals);
    const auto withoutIds = [](QVariantMap row) {
        row.remove(Security::orderID);
        row.remove(Security::execID);
        return row;
    };
    QVERIFY(withoutIds(one.first()) != withoutIds(other.first()) ||
            withoutIds(one.at(1)) != withoutIds(other.at(1)));
}

void ClientDealsTest::accountsAwaitedTwice_profitsAndDealsBeginOnce() {
    QStringList steps;
    ProbePresenter* probe = nullptr;
    const int event =
        VelmarUtils::GetTorviEventMsgIdByStr(EventMsgName::CalcRealizedProfitInitEvent);
    Client::Listener listener;
    listener.stepEnded = [&steps](const QString& text) { steps.append(text); };
    listener.platformStarted = [&probe, event] {
        probe = new ProbePresenter;
        probe->SubEvent(probe->pluginPid(), event, 1);
        probe->SubEvent(probe->pluginPid(), NeighbourEvent::positionsReloaded, 1);
        probe->initPresenter();
    };
    Client client(options(1), listener);
    QString error;
    QVERIFY2(client.start(&error), qPrintable(error));
    QVERIFY2(client.awaitAccounts(kLimitMs, &error), qPrintable(error));
    // Events arrive in order, so another one shows that no second request is under way.
    LocalPlatform::instance().publishEvent(NeighbourEvent::positionsReloaded, {});
    QVERIFY(probe->log->waitForCount(2));
    QCOMPARE(probe->log->calls().at(0).type.toInt(), event);
    QCOMPARE(probe->log->calls().at(1).type.toInt(), NeighbourEvent::positionsReloaded);
    QCOMPARE(steps.filter("orders are dealt").size(), 1);
    probe->deleteLater();
    client.stop();
}

void ClientDealsTest::withoutDeals_nothingHappens() {
    QStringList steps;
    Client::Listener listener;
    listener.stepEnded = [&steps](const QString& text) { steps.append(text); };
    Client client(options(0), listener);
    QString error;
    QVERIFY2(client.start(&error), qPrintable(error));
    QVERIFY(steps.filter("orders are dealt").isEmpty());
    QCOMPARE(client.book()->orderCount(QString()), 0);
    client.stop();
}

QTEST_GUILESS_MAIN(ClientDealsTest)
#include "client_deals_test.moc"
