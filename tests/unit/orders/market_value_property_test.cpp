#include <rapidcheck.h>

#include <QtTest>
#include <cmath>

#include "market_value_fixture.h"
#include "small_book.h"

namespace {

double sumOf(const QMap<QString, double>& parts) {
    double sum = 0;
    for (const double part : parts) {
        sum += part;
    }
    return sum;
}

/// Whether each account's total is the sum of its parts.
bool partsAreTheTotal(const MarketValueFixture& f, const SmallBook& book) {
    for (const QString& account : book.accounts()) {
        const VelmarMarketValueInfo info = f.of(account);
        const double allowed = 1e-9 * (1 + book.absoluteWorth(account));
        if (std::abs(sumOf(info.symbolMarketValueMap) - info.marketValue) > allowed ||
            std::abs(sumOf(info.symbolCostValueMap) - info.costValue) > allowed) {
            return false;
        }
    }
    return true;
}

/// Whether the running totals are those of a rebuild, within a millionth of what the rows are
/// worth.
bool runningIsRebuilt(MarketValueFixture& f, const SmallBook& book) {
    QMap<QString, VelmarMarketValueInfo> running;
    for (const QString& account : book.accounts()) {
        running.insert(account, f.of(account));
    }
    f.rebuild(book.rows());
    for (const QString& account : book.accounts()) {
        const VelmarMarketValueInfo rebuilt = f.of(account);
        const double allowed = 1e-6 * book.absoluteWorth(account) + 1e-9;
        if (std::abs(running[account].marketValue - rebuilt.marketValue) > allowed ||
            std::abs(running[account].costValue - rebuilt.costValue) > allowed) {
            qWarning() << account << running[account].marketValue << rebuilt.marketValue
                       << running[account].costValue << rebuilt.costValue;
            return false;
        }
        for (auto part = rebuilt.symbolMarketValueMap.cbegin();
             part != rebuilt.symbolMarketValueMap.cend(); ++part) {
            if (std::abs(running[account].symbolMarketValueMap.value(part.key()) - part.value()) >
                allowed) {
                return false;
            }
        }
    }
    return true;
}

}  // namespace

class MarketValuePropertyTest : public QObject {
    Q_OBJECT

private slots:
    void anyUpdates_partsAddUpToTheTotal() {
        MarketValueFixture f({TestAccount("A1"), TestAccount("A2")});
        QVERIFY(rc::check("sum of parts", [&f] {
            SmallBook book({"A1", "A2"}, f.symbols, 6);
            for (int symbol = 0; symbol < 6; ++symbol) {
                f.tick(book.symbol(symbol), 0.0);  // forget the last run's
            }
            f.rebuild({});
            const int steps = *rc::gen::inRange(1, 60);
            for (int i = 0; i < steps; ++i) {
                const int symbol = *rc::gen::inRange(0, 6);
                switch (*rc::gen::inRange(0, 4)) {
                    case 0:
                        f.rebuild(book.rows());
                        break;
                    case 1:
                        book.setPrice(symbol, *rc::gen::inRange(0, 100000) / 100.0);
                        f.tick(book.symbol(symbol), book.price(symbol));
                        break;
                    default:
                        f.values.slotPositionUpdated(book.setPosition(
                            *rc::gen::inRange(0, 2), symbol, *rc::gen::inRange(-50, 5000),
                            *rc::gen::inRange(0, 10000) / 100.0));
                        break;
                }
                RC_ASSERT(partsAreTheTotal(f, book));
            }
            RC_ASSERT(runningIsRebuilt(f, book));
        }));
    }

    void hundredThousandUpdates_runningTotal_isTheRebuiltOne() {
        MarketValueFixture f({TestAccount("A1"), TestAccount("A2"), TestAccount("A3")});
        SmallBook book({"A1", "A2", "A3"}, f.symbols, 40);
        f.symbols.rates = {{Exchange::hhk, {{HKSExchgRate::HKSExchgRateMid, 0.9137}}}};
        f.rebuild({});
        quint32 state = 12345;
        const auto below = [&state](int limit) {
            state = state * 1664525u + 1013904223u;
            return static_cast<int>((state >> 8) % static_cast<quint32>(limit));
        };
        for (int i = 0; i < 100000; ++i) {
            const int symbol = below(40);
            if (below(3) == 0) {
                f.values.slotPositionUpdated(
                    book.setPosition(below(3), symbol, below(20000), below(100000) / 1000.0));
            } else {
                book.setPrice(symbol, below(1000000) / 1000.0);
                f.tick(book.symbol(symbol), book.price(symbol));
            }
            if (i % 1000 == 0) {
                QCoreApplication::processEvents();
            }
        }
        QCoreApplication::processEvents();
        QVERIFY(f.value("A1") > 0);
        QVERIFY(partsAreTheTotal(f, book));
        QVERIFY(runningIsRebuilt(f, book));
    }
};

QTEST_GUILESS_MAIN(MarketValuePropertyTest)
#include "market_value_property_test.moc"
