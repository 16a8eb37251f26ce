#include <QtTest>
#include <atomic>
#include <cmath>
#include <mutex>
#include <thread>
#include <vector>

#include "market_value_fixture.h"
#include "small_book.h"

/// Ticks, pushes, rebuilds and readers at once, each on a thread of its own.
class MarketValueThreadsTest : public QObject {
    Q_OBJECT

private slots:
    void everythingAtOnce_totals_areThoseOfARebuild() {
        MarketValueFixture f;
        constexpr int kSymbols = 12;
        constexpr int kRounds = 3000;
        SmallBook pushed({"A1", "A2"}, f.symbols, kSymbols);
        QVector<double> prices(kSymbols);
        f.symbols.rates = {{Exchange::hhk, {{HKSExchgRate::HKSExchgRateMid, 0.9}}}};
        std::atomic<int> running{2};
        std::atomic<int> rebuilds{0};
        std::atomic<int> reads{0};
        std::atomic<bool> sane{true};
        std::vector<std::thread> threads;
        threads.emplace_back([&] {
            for (int i = 0; i < kRounds; ++i) {
                const int symbol = i % kSymbols;
                prices[symbol] = 1 + i * 7919 % 1000 / 10.0;
                f.tick(pushed.symbol(symbol), prices.at(symbol));
            }
            --running;
        });
        threads.emplace_back([&] {
            for (int i = 0; i < kRounds; ++i) {
                const QVariantMap row =
                    pushed.setPosition(i % 2, i * 31 % kSymbols, i * 104729 % 500, i % 90 / 10.0);
                f.neighbour->setPositions(pushed.rows());
                f.values.slotPositionUpdated(row);
            }
            --running;
        });
        threads.emplace_back([&] {
            while (running > 0) {
                f.values.initPosData();
                ++rebuilds;
            }
        });
        for (const char* account : {"A1", "A2"}) {
            threads.emplace_back([&, account] {
                while (running > 0) {
                    const VelmarMarketValueInfo info = f.of(account);
                    double sum = 0;
                    for (const double part : info.symbolMarketValueMap) {
                        sum += part;
                    }
                    if (std::abs(sum - info.marketValue) > 1e-3) {
                        sane = false;
                    }
                    ++reads;
                }
            });
        }
        for (std::thread& thread : threads) {
            thread.join();
        }
        QVERIFY(sane);
        QVERIFY(rebuilds > 0 && reads > 0);
        for (int symbol = 0; symbol < kSymbols; ++symbol) {
            pushed.setPrice(symbol, prices.at(symbol));
        }
        expectTheTotalsOfARebuild(f, pushed);
    }

    void ticksAndPushes_ofOnePosition_countEachChangeOnce() {
        MarketValueFixture f;
        constexpr int kRounds = 20000;
        SmallBook pushed({"A1"}, f.symbols, 1);
        double price = 0;
        std::thread ticks([&] {
            for (int i = 0; i < kRounds; ++i) {
                price = 1 + i * 7919 % 1000 / 10.0;
                f.tick(pushed.symbol(0), price);
            }
        });
        std::thread pushes([&] {
            for (int i = 0; i < kRounds; ++i) {
                f.values.slotPositionUpdated(
                    pushed.setPosition(0, 0, i * 104729 % 500, i % 90 / 10.0));
            }
        });
        ticks.join();
        pushes.join();
        f.neighbour->setPositions(pushed.rows());
        pushed.setPrice(0, price);
        expectTheTotalsOfARebuild(f, pushed);
    }

private:
    /// The totals that changed step by step, beside those reckoned anew.
    static void expectTheTotalsOfARebuild(MarketValueFixture& f, const SmallBook& pushed) {
        for (const QString& account : pushed.accounts()) {
            const VelmarMarketValueInfo before = f.of(account);
            f.values.initPosData();
            const double allowed = 1e-6 * pushed.absoluteWorth(account) + 1e-9;
            QVERIFY(std::abs(before.marketValue - f.of(account).marketValue) <= allowed);
            QVERIFY(std::abs(before.costValue - f.of(account).costValue) <= allowed);
            QVERIFY(f.value(account) > 0);
        }
    }
};

QTEST_GUILESS_MAIN(MarketValueThreadsTest)
#include "market_value_threads_test.moc"
