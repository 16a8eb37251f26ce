#include <QElapsedTimer>
#include <QtTest>
#include <future>
#include <limits>

#include "log_capture.h"
#include "platform_fixture.h"
#include "profit_world.h"

namespace {

using Call = ScriptedNeighbour::Call;

const QString kSymbol = QStringLiteral("600000.SH");

TestDeal buy(double quantity, double price, double commission = 0) {
    return TestDeal::buy(quantity, price, commission);
}

TestDeal sell(double quantity, double price, double commission = 0) {
    return TestDeal::sell(quantity, price, commission);
}

QVariantMap cancelled(QVariantMap record, const QVariant& type = EntrustType::cancelOrder) {
    record.insert(UserAccount::ExchangeExecType, type);
    return record;
}

QVariantMap updateOf(double profit, const QString& account = QStringLiteral("T0001")) {
    return {{UserAccount::tradingAccount, account},
            {Security::symbol, kSymbol},
            {UserAccount::securityAccount, "A1"},
            {AppraisementInfo::benefitTotal, profit}};
}

QStringList profitLines(const LogCapture& log) {
    return log.texts(QtDebugMsg).filter("initRealizedProfit");
}

}  // namespace

class PresenterProfitTest : public QObject {
    Q_OBJECT

    std::unique_ptr<ProfitClient> m_client;
    std::unique_ptr<ProfitWorld> m_world;

private slots:
    void initTestCase() { m_client = std::make_unique<ProfitClient>(); }
    void cleanupTestCase() { m_client.reset(); }
    void init() { m_world = std::make_unique<ProfitWorld>(); }
    void cleanup() { m_world.reset(); }

    void load_first_readsTheExecutionsOfTheAccountsThatTradeShares() {
        m_world->neighbour->setExecutions({buy(100, 10), sell(100, 11, 5), buy(1, 1, 2).of("M0001"),
                                           buy(1, 1, 3).of("F0001"), buy(1, 1, 3).of("Q0001"),
                                           buy(1, 1, 3).of("T0009"), buy(1, 1, 3).of("T7777")});
        QCOMPARE(m_world->accounts(), QStringList());
        m_world->load();
        QStringList asked = m_world->neighbour->accountsOf(Call::Executions);
        asked.sort();
        QCOMPARE(asked, (QStringList{"M0001", "T0001", "T0002"}));
        QCOMPARE(m_world->accounts(), (QStringList{"M0001", "T0001"}));
        QCOMPARE(m_world->profit(), 95.0);
        QCOMPARE(m_world->profit("M0001"), -2.0);
        m_world->receiveAll();
        QCOMPARE(m_world->received(EventMsgName::RealizedProfitInitedEvent),
                 QVariantList{QVariant()});
        QVERIFY(m_world->updates().isEmpty());
    }

    void load_logsItsTwoStepsWithTheirMilliseconds() {
        const LogCapture log;
        m_world->load();
        const QString tag = "^VelmarBusinessDataManagerPresenterClass::initRealizedProfit ";
        const QStringList lines = profitLines(log);
        QCOMPARE(lines.size(), 2);
        const QRegularExpression got(tag + "get execution list \\d+$");
        const QRegularExpression calculated(tag + "calc realize profit \\d+$");
        QVERIFY2(got.match(lines.at(0)).hasMatch(), qPrintable(lines.at(0)));
        QVERIFY2(calculated.match(lines.at(1)).hasMatch(), qPrintable(lines.at(1)));
    }

    void load_withoutANeighbour_isAnEmptyTable() {
        LocalPlatform::instance().setNeighbourData(nullptr);
        m_world->load();
        m_world->receiveAll();
        QCOMPARE(m_world->inits(), 1);
        QCOMPARE(m_world->accounts(), QStringList());
    }

    void load_requestedTwice_runsOnce() {
        const LogCapture log;
        m_world->init();
        m_world->init();
        m_world->settle();
        QCOMPARE(profitLines(log).size(), 2);
        m_world->load();
        QCOMPARE(profitLines(log).size(), 2);
    }

    void reload_beforeTheFirstLoad_doesNothing() {
        const LogCapture log;
        m_world->reload();
        m_world->settle();
        QVERIFY(profitLines(log).isEmpty());
        QCOMPARE(m_world->neighbour->callCount(Call::Executions), 0);
    }

    void reload_afterTheFirstLoad_replacesTheTable() {
        m_world->neighbour->setExecutions({buy(100, 10), sell(100, 11)});
        m_world->load();
        m_world->neighbour->setExecutions({buy(1, 1, 6).of("T0002")});
        m_world->reload();
        m_world->settle();
        QCOMPARE(m_world->accounts(), QStringList{"T0002"});
        m_world->receiveAll();
        QCOMPARE(m_world->inits(), 2);
    }

    void reload_queuedBehindTheFirstLoad_runsToo() {
        m_world->neighbour->onCall([this](Call, const QString& account) {
            if (account == "T0001") {
                m_world->neighbour->onCall({});
                m_world->reload();
            }
        });
        m_world->load();
        m_world->settle();
        m_world->receiveAll();
        QCOMPARE(m_world->inits(), 2);
    }

    void deal_beforeTheFirstLoad_isDroppedAndComesWithTheList() {
        m_world->deal(buy(100, 10, 5));
        m_world->deal(buy(100, 10, 5).withId("1"));
        m_world->settle();
        QVERIFY(!m_world->presenter->findChild<VelmarDelayBuffer*>());
        m_world->neighbour->setExecutions({buy(100, 10, 5), buy(100, 10, 5).withId("1")});
        m_world->load();
        m_world->flush();
        QCOMPARE(m_world->profit(), -10.0);
        m_world->receiveAll();
        QVERIFY(m_world->updates().isEmpty());
    }

    void deals_afterTheLoad_changeTheTableAtTheEndOfTheDelay() {
        m_world->load();
        m_world->deal(buy(100, 10, 1));
        m_world->deal(sell(100, 11, 1));
        m_world->deal(buy(100, 10, 7).of("M0001"), ProfitWorld::kMarginDeal);
        m_world->settle();
        QCOMPARE(m_world->accounts(), QStringList());
        m_world->flush();
        QCOMPARE(m_world->profit(), 98.0);
        m_world->receiveAll();
        QCOMPARE(m_world->updates(),
                 (QVariantList{QVariantList{updateOf(-7, "M0001"), updateOf(98)}}));
    }

    void deals_ofOneDelay_areOneEventASecondLater() {
        m_world->load();
        QElapsedTimer elapsed;
        elapsed.start();
        m_world->deal(buy(100, 10, 1));
        m_world->deal(buy(100, 10, 1));
        QVERIFY(waitFor([this] { return !m_world->updates().isEmpty(); }));
        QVERIFY(elapsed.elapsed() >= 990);
        QCOMPARE(m_world->updates(), (QVariantList{QVariantList{updateOf(-2)}}));
    }

    void deals_byTheThousand_areOneRecordForEachItem() {
        m_world->load();
        for (int i = 0; i < 20000; ++i) {
            m_world->deal(buy(100, 10, 1).of(i % 2 ? "T0001" : "T0002"));
        }
        m_world->settle();
        m_world->flush();
        m_world->receiveAll();
        int records = 0;
        for (const QVariant& update : m_world->updates()) {
            records += update.toList().size();
        }
        // A slow machine ends the first delay before the last deal.
        QCOMPARE(records, 2 * m_world->updates().size());
        QCOMPARE(m_world->profit(), -10000.0);
        QCOMPARE(m_world->profit("T0002"), -10000.0);
    }

    void deal_cancelled_isDroppedFromTheStreamAndCountsInTheList() {
        m_world->load();
        m_world->deal(cancelled(buy(100, 10, 5)));
        m_world->deal(cancelled(buy(100, 10, 5), 4));
        m_world->settle();
        m_world->flush();
        QCOMPARE(m_world->accounts(), QStringList());
        m_world->deal(cancelled(buy(100, 10, 3), "0"));
        m_world->settle();
        m_world->flush();
        QCOMPARE(m_world->profit(), -3.0);
        m_world->neighbour->setExecutions({cancelled(buy(100, 10, 5))});
        m_world->reload();
        m_world->settle();
        QCOMPARE(m_world->profit(), -5.0);
    }

    void deal_ofAnUnknownAccount_countsUnderItsKey() {
        m_world->neighbour->setExecutions({buy(100, 10, 5)});
        m_world->load();
        m_world->deal(buy(100, 10, 2).of("T7777"));
        m_world->deal({{Margin::executionCommission, 4}});
        m_world->settle();
        m_world->flush();
        QCOMPARE(m_world->profit(), -5.0);
        QCOMPARE(m_world->profit("T7777"), -2.0);
        QCOMPARE(m_world->profit(""), -4.0);
    }

    void deal_withoutARecord_isIgnoredWithALogLine() {
        m_world->load();
        for (const QVariant& body : {QVariant(), QVariant("garbage"), QVariant(QVariantMap()),
                                     QVariant(CPackMessageCommon().GetPackedMsg(false))}) {
            const LogCapture log;
            m_world->send(ProfitWorld::kNormalDeal, body);
            m_world->settle();
            QVERIFY(log.contains(QtDebugMsg, "it carries no record"));
        }
        m_world->flush();
        QCOMPARE(m_world->accounts(), QStringList());
        m_world->receiveAll();
        QVERIFY(m_world->updates().isEmpty());
    }

    void deal_withNumbersThatAreNotNumbers_leavesTheTotalsAsTheyAre() {
        m_world->neighbour->setExecutions({buy(100, 10), sell(100, 11)});
        m_world->load();
        const LogCapture log;
        for (const double bad : {1e300, std::numeric_limits<double>::infinity(),
                                 std::numeric_limits<double>::quiet_NaN()}) {
            QVariantMap deal = sell(0, 0);
            deal[Security::lastAmount] = bad;
            deal[Margin::executionCommission] = bad;
            m_world->deal(deal);
        }
        m_world->settle();
        m_world->flush();
        QCOMPARE(m_world->profit(), 100.0);
        QVERIFY(log.contains(QtWarningMsg, "leaves out 6 values"));
    }

    void rebuild_dealsInTheBuffer_areInTheListAndCountOnce() {
        m_world->load();
        m_world->deal(buy(100, 10, 5));  // without an id
        m_world->deal(buy(100, 10, 5).withId("1"));
        m_world->settle();
        m_world->neighbour->setExecutions({buy(100, 10, 5), buy(100, 10, 5).withId("1")});
        m_world->reload();
        m_world->settle();
        QCOMPARE(m_world->profit(), -10.0);
        m_world->flush();
        QCOMPARE(m_world->profit(), -10.0);
        m_world->receiveAll();
        QVERIFY(m_world->updates().isEmpty());
        // The buffer goes on afterwards.
        m_world->deal(buy(100, 10, 5).withId("2"));
        m_world->settle();
        m_world->flush();
        QCOMPARE(m_world->profit(), -15.0);
    }

    void rebuild_dealsDuringIt_countOnceWhetherTheListHasThemOrNot_data() {
        QTest::addColumn<bool>("isFirstLoad");
        QTest::newRow("first load") << true;
        QTest::newRow("later rebuild") << false;
    }
    void rebuild_dealsDuringIt_countOnceWhetherTheListHasThemOrNot() {
        QFETCH(bool, isFirstLoad);
        if (!isFirstLoad) {
            m_world->load();
        }
        ScriptedNeighbour& neighbour = *m_world->neighbour;
        neighbour.onCall([&](Call, const QString& account) {
            if (account == "T0001") {
                neighbour.addExecution(buy(100, 10, 1).withId("in time"));
                m_world->deal(buy(100, 10, 1).withId("in time"));
            }
        });
        neighbour.onAnswer([&](Call, const QString& account) {
            if (account == "T0001") {
                neighbour.addExecution(buy(100, 10, 2).withId("too late"));
                m_world->deal(buy(100, 10, 2).withId("too late"));
            }
        });
        isFirstLoad ? m_world->init() : m_world->reload();
        m_world->settle();
        m_world->settle();  // the deals are queued behind the rebuild
        QCOMPARE(m_world->profit(), -1.0);
        m_world->flush();
        QCOMPARE(m_world->profit(), -3.0);
        neighbour.onCall({});
        neighbour.onAnswer({});
        m_world->reload();
        m_world->settle();
        QCOMPARE(m_world->profit(), -3.0);
    }

    void events_aSubscriberThatReadsAtOnce_seesWhatTheyAnnounce() {
        std::promise<double> afterLoad;
        std::promise<double> afterUpdate;
        auto* const reader = new ProbePresenter("Test.Reader", [&](const ProbeLog::Call& call) {
            const double read =
                m_world->presenter->realizedProfit().GetRealizedProfitByAccount("T0001");
            (call.body.isValid() ? afterUpdate : afterLoad).set_value(read);
        });
        for (const QString& name :
             {EventMsgName::RealizedProfitInitedEvent, EventMsgName::RealizedProfitUpdateEvent}) {
            reader->SubEvent(reader->pluginPid(), ProfitWorld::named(name), 1);
        }
        reader->initPresenter();
        m_world->neighbour->setExecutions({buy(100, 10, 5)});
        m_world->load();
        std::future<double> loaded = afterLoad.get_future();
        QVERIFY(loaded.wait_for(std::chrono::seconds(5)) == std::future_status::ready);
        QCOMPARE(loaded.get(), -5.0);
        m_world->deal(buy(100, 10, 2));
        m_world->settle();
        m_world->flush();
        std::future<double> updated = afterUpdate.get_future();
        QVERIFY(updated.wait_for(std::chrono::seconds(5)) == std::future_status::ready);
        QCOMPARE(updated.get(), -7.0);
        reader->deleteLater();
    }

    void events_ofTheBus_reachTheLoadAndTheStream() {
        m_world->neighbour->setExecutions({buy(100, 10, 5)});
        LocalPlatform::instance().publishEvent(
            ProfitWorld::named(EventMsgName::CalcRealizedProfitInitEvent), {});
        QVERIFY(waitFor([this] { return m_world->inits() == 1; }));
        CPackMessageCommon packer;
        packer.AddRowVaule(buy(100, 10, 1));
        for (const int event : {ProfitWorld::kNormalDeal, ProfitWorld::kMarginDeal}) {
            LocalPlatform::instance().publishEvent(event, packer.GetPackedMsg(false));
        }
        QVERIFY(waitFor([this] { return m_world->profit() == -7.0; }));
        LocalPlatform::instance().publishEvent(ProfitWorld::kReloaded, {});
        QVERIFY(waitFor([this] { return m_world->inits() == 2; }));
        QCOMPARE(m_world->profit(), -5.0);
    }
};

QTEST_GUILESS_MAIN(PresenterProfitTest)
#include "presenter_profit_test.moc"
