#include <QtTest>
#include <atomic>
#include <thread>
#include <vector>

#include "profit_world.h"

namespace {

constexpr int kDeals = 2000;
constexpr int kReloads = 40;
const QStringList kAccounts{"T0001", "T0002", "M0001"};

QVariantMap numberedDeal(int number) {
    return TestDeal::buy(100, 10, 1)
        .of(kAccounts.at(number % kAccounts.size()))
        .in(QStringLiteral("60000%1.SH").arg(number % 7))
        .withId(QString::number(number));
}

/// The profits of an account, read in every way, which must agree and must never rise: each deal
/// costs 1, and a deal that was counted once stays counted.
class ProfitReader {
public:
    explicit ProfitReader(const RealizedProfit& profit) : m_profit(profit) {}

    bool read(const QString& account) {
        const double now = m_profit.GetRealizedProfitByAccount(account);
        bool isFine = now <= m_last.value(account) && now >= -kDeals;
        m_last[account] = now;
        const double later = sumOf(m_profit.GetRealizedProfitMapByAccount(account));
        isFine = isFine && later <= now;
        const double last = sumOf(m_profit.GetAllRealizedProfitMap().value(account));
        isFine = isFine && last <= later;
        return isFine &&
               m_profit.GetRealizedProfitByAccountAndSymbol(account, "600000.SH", "") <= 0;
    }

private:
    static double sumOf(const RealizedProfit::ProfitBySymbol& symbols) {
        double sum = 0;
        for (const auto& items : symbols) {
            for (const double profit : items) {
                sum += profit;
            }
        }
        return sum;
    }

    const RealizedProfit& m_profit;
    QMap<QString, double> m_last;
};

}  // namespace

class PresenterProfitThreadsTest : public QObject {
    Q_OBJECT

private slots:
    void rebuildsDealsAndReaders_atOnce_countEachDealOnce() {
        const ProfitClient client;
        ProfitWorld world;
        world.load();
        std::atomic<bool> isOver{false};
        std::atomic<int> wrong{0};
        std::vector<std::thread> threads;
        for (int i = 0; i < 2; ++i) {
            threads.emplace_back([&] {
                ProfitReader reader(world.presenter->realizedProfit());
                while (!isOver) {
                    for (const QString& account : kAccounts) {
                        wrong += reader.read(account) ? 0 : 1;
                    }
                }
            });
        }
        std::thread dealing([&world] {
            for (int i = 0; i < kDeals; ++i) {
                world.neighbour->addExecution(numberedDeal(i));
                world.deal(numberedDeal(i));
                if (i % 50 == 0) {
                    world.flush();
                }
            }
        });
        std::thread reloading([&world] {
            for (int i = 0; i < kReloads; ++i) {
                world.reload();
                world.settle();
            }
        });
        dealing.join();
        reloading.join();
        world.settle();
        world.flush();
        isOver = true;
        for (std::thread& thread : threads) {
            thread.join();
        }
        QCOMPARE(wrong.load(), 0);
        double all = 0;
        for (const QString& account : kAccounts) {
            all += world.profit(account);
        }
        QCOMPARE(all, double(-kDeals));
        world.receiveAll();
        QCOMPARE(world.inits(), 1 + kReloads);
    }
};

QTEST_GUILESS_MAIN(PresenterProfitThreadsTest)
#include "presenter_profit_threads_test.moc"
