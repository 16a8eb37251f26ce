#include <QtTest>
#include <atomic>
#include <memory>
#include <thread>
#include <utility>

#include "basebusinessdatamanager/base_business_data_interface.h"
#include "businessdatamanager/business_data_interface.h"
#include "neighbour_data.h"
#include "platform_fixture.h"

namespace {

/// Answers with what it was asked.
class EchoNeighbour : public NeighbourData {
public:
    QList<QVariantMap> executions(const QVariantMap& filter, int start, int count,
                                  int* total) const override {
        *total = 77;
        return {filter, {{"start", start}, {"count", count}}};
    }
    QList<QVariantMap> positions(const QVariantMap& filter) const override { return {filter}; }
    void requeryFunds(ZnPresenterClass* presenter) override { requeriedFor = presenter; }
    int positionCount(const QString& account) const override { return account.isEmpty() ? 6 : 1; }
    int executionCount(const QString& account) const override { return account.isEmpty() ? 7 : 2; }
    int orderCount(const QString& account) const override { return account.isEmpty() ? 8 : 3; }

    ZnPresenterClass* requeriedFor = nullptr;
};

/// A call of positions() waits for release().
class BlockingNeighbour : public EchoNeighbour {
public:
    explicit BlockingNeighbour(std::atomic<bool>* gone) : m_gone(gone) {}
    ~BlockingNeighbour() override { *m_gone = true; }

    QList<QVariantMap> positions(const QVariantMap& filter) const override {
        entered = true;
        waitFor([this] { return released.load(); });
        return {{{"alive", !*m_gone}}, filter};
    }

    mutable std::atomic<bool> entered{false};
    std::atomic<bool> released{false};

private:
    std::atomic<bool>* const m_gone;
};

const QVariantMap kFilter{{UserAccount::tradingAccount, "T1"}};

QList<QVariantMap> positions() {
    return BusinessDataInterface::GetPositionListByAccount(kFilter, {}, {}, {}, {}, {}, {});
}

}  // namespace

class NeighbourInterfacesTest : public QObject {
    Q_OBJECT

private slots:
    void cleanup() { NeighbourSlot::set(nullptr); }

    void withoutAProvider_everythingIsEmpty() {
        int total = 5;
        QVERIFY(BusinessDataInterface::GetExecutionListByAccount(kFilter, total, 0, -1, {}, {})
                    .isEmpty());
        QCOMPARE(total, 0);
        QVERIFY(positions().isEmpty());
        BusinessDataInterface::RequeryAccountFundInfo(nullptr);
        for (const QString& account : {QString(), QStringLiteral("T1")}) {
            QCOMPARE(BaseBusinessDataInterface::GetPositionCountByTradingAccount(account), 0);
            QCOMPARE(BaseBusinessDataInterface::GetExecutionCountByTradingAccount(account), 0);
            QCOMPARE(BaseBusinessDataInterface::GetOrdersCountByTradingAccount(account), 0);
        }
    }

    void provider_getsTheArgumentsAsTheyAre() {
        NeighbourSlot::set(std::make_shared<EchoNeighbour>());
        int total = 0;
        const auto rows =
            BusinessDataInterface::GetExecutionListByAccount(kFilter, total, 3, 20, {}, {});
        QCOMPARE(total, 77);
        QCOMPARE(rows, (QList<QVariantMap>{kFilter, {{"start", 3}, {"count", 20}}}));
        QCOMPARE(positions(), QList<QVariantMap>{kFilter});
    }

    void counts_ofAnEmptyAccount_areThoseOfAll() {
        NeighbourSlot::set(std::make_shared<EchoNeighbour>());
        QCOMPARE(BaseBusinessDataInterface::GetPositionCountByTradingAccount("T1"), 1);
        QCOMPARE(BaseBusinessDataInterface::GetExecutionCountByTradingAccount("T1"), 2);
        QCOMPARE(BaseBusinessDataInterface::GetOrdersCountByTradingAccount("T1"), 3);
        QCOMPARE(BaseBusinessDataInterface::GetPositionCountByTradingAccount({}), 6);
        QCOMPARE(BaseBusinessDataInterface::GetExecutionCountByTradingAccount({}), 7);
        QCOMPARE(BaseBusinessDataInterface::GetOrdersCountByTradingAccount({}), 8);
    }

    void requery_needsAPresenter() {
        struct Counting : EchoNeighbour {
            void requeryFunds(ZnPresenterClass* presenter) override {
                ++calls;
                requeriedFor = presenter;
            }
            int calls = 0;
        };
        const PlatformFixture platform;
        const auto provider = std::make_shared<Counting>();
        NeighbourSlot::set(provider);
        BusinessDataInterface::RequeryAccountFundInfo(nullptr);
        QCOMPARE(provider->calls, 0);
        auto* const presenter = new ProbePresenter;
        presenter->initPresenter();
        BusinessDataInterface::RequeryAccountFundInfo(presenter);
        QCOMPARE(provider->calls, 1);
        QCOMPARE(provider->requeriedFor, presenter);
        presenter->deleteLater();
    }

    void providerReplacedDuringACall_livesUntilTheCallReturns() {
        std::atomic<bool> gone{false};
        auto provider = std::make_shared<BlockingNeighbour>(&gone);
        BlockingNeighbour* const raw = provider.get();
        NeighbourSlot::set(std::move(provider));
        QList<QVariantMap> rows;
        std::thread caller([&rows] { rows = positions(); });
        const bool isInside = waitFor([raw] { return raw->entered.load(); });
        NeighbourSlot::set(std::make_shared<EchoNeighbour>());
        const bool isGoneEarly = gone;
        const int positionsOfTheNew =
            BaseBusinessDataInterface::GetPositionCountByTradingAccount("T1");
        if (!isGoneEarly) {
            raw->released = true;
        }
        caller.join();
        QVERIFY(isInside);
        QVERIFY(!isGoneEarly);
        QCOMPARE(positionsOfTheNew, 1);
        QCOMPARE(rows, (QList<QVariantMap>{{{"alive", true}}, kFilter}));
        QVERIFY(gone);
    }
};

QTEST_GUILESS_MAIN(NeighbourInterfacesTest)
#include "neighbour_interfaces_test.moc"
