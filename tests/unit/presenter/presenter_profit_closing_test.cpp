#include <QTimer>
#include <QtTest>
#include <functional>
#include <future>
#include <thread>

#include "log_capture.h"
#include "profit_world.h"

namespace {

using Presenter = VelmarBusinessDataManagerPresenterClass;
using Profits = QMap<QString, RealizedProfit::ProfitBySymbol>;

/// A value that calls a function when it is read as a number.
struct ReadHook {
    std::function<void()> act;
};

/// A presenter that hands out its table when it is deleted.
class LastWords : public Presenter {
public:
    explicit LastWords(Profits* last) : Presenter("Test.Profit", nullptr), m_last(last) {}
    ~LastWords() override { *m_last = realizedProfit().GetAllRealizedProfitMap(); }

private:
    Profits* const m_last;
};

}  // namespace

Q_DECLARE_METATYPE(ReadHook)

/// A presenter that is closed while it computes the realized profit.
class PresenterProfitClosingTest : public QObject {
    Q_OBJECT

    std::unique_ptr<ProfitClient> m_client;
    Profits m_last;
    std::unique_ptr<ProfitWorld> m_world;
    std::thread m_closer;

    /// Has another thread close the presenter, and returns when that has begun. To be called on the
    /// object thread, so that the presenter lives on meanwhile.
    void beginToClose() {
        Presenter* const presenter = m_world->presenter;
        m_closer = std::thread([presenter] { presenter->deleteLater(); });
        QVERIFY(waitFor([presenter] { return presenter->isClosing(); }));
    }
    void waitUntilClosed() {
        QVERIFY(waitFor([this] { return m_isClosing.load(); }));
        m_closer.join();
        m_world->presenter = nullptr;
    }
    std::atomic<bool> m_isClosing{false};

private slots:
    void initTestCase() {
        QMetaType::registerConverter<ReadHook, double>([](const ReadHook& hook) {
            hook.act();
            return 1.0;
        });
        m_client = std::make_unique<ProfitClient>();
    }
    void cleanupTestCase() { m_client.reset(); }
    void init() {
        m_last.clear();
        m_isClosing = false;
        m_world = std::make_unique<ProfitWorld>(new LastWords(&m_last));
        m_world->neighbour->setExecutions({TestDeal::buy(100, 10, 5)});
        m_world->load();
        m_world->receiveAll();
    }
    void cleanup() { m_world.reset(); }

    void rebuild_closingWhileTheListIsRead_asksNoFurtherAccountAndKeepsTheTable() {
        m_world->neighbour->setExecutions({TestDeal::buy(100, 10, 9)});
        const int before = m_world->neighbour->callCount(ScriptedNeighbour::Call::Executions);
        m_world->neighbour->onAnswer([this](ScriptedNeighbour::Call, const QString&) {
            beginToClose();
            m_isClosing = true;
        });
        const LogCapture log;
        m_world->reload();
        waitUntilClosed();
        QCOMPARE(m_world->neighbour->callCount(ScriptedNeighbour::Call::Executions), before + 1);
        QVERIFY(!log.contains("calc realize profit"));
        QCOMPARE(m_last.value("T0001").value("600000.SH").value("A1"), -5.0);
        m_world->receiveAll();
        QCOMPARE(m_world->inits(), 1);
    }

    void rebuild_closingWhileTheTableIsBuilt_stopsWithin10000RowsAndKeepsTheTable() {
        QList<QVariantMap> rows = QVector<QVariantMap>(25000, TestDeal::buy(100, 10, 9)).toList();
        rows[5000][Security::lastAmount] = QVariant::fromValue(ReadHook{[this] {
            beginToClose();
            m_isClosing = true;
        }});
        std::atomic<bool> isReadOn{false};
        rows[20000][Security::lastAmount] =
            QVariant::fromValue(ReadHook{[&isReadOn] { isReadOn = true; }});
        m_world->neighbour->setExecutions(rows);
        const LogCapture log;
        m_world->reload();
        waitUntilClosed();
        QVERIFY(!isReadOn);
        QVERIFY(!log.contains("calc realize profit"));
        QCOMPARE(m_last.value("T0001").value("600000.SH").value("A1"), -5.0);
        m_world->receiveAll();
        QCOMPARE(m_world->inits(), 1);
    }

    void closing_dealsThatStillWait_areDiscarded() {
        m_world->deal(TestDeal::buy(100, 10, 1));
        bool isTimed = false;
        runOnThreadAndWait(m_world->presenter, [this, &isTimed] {
            const auto* const buffer = m_world->presenter->findChild<VelmarDelayBuffer*>();
            isTimed = buffer && buffer->findChild<QTimer*>()->isActive();
        });
        QVERIFY(isTimed);
        m_world->close();
        QCOMPARE(m_last.value("T0001").value("600000.SH").value("A1"), -5.0);
        m_world->receiveAll();
        QVERIFY(m_world->updates().isEmpty());
    }

    void queued_closingBeforeTheirTurn_doNothing() {
        m_world->deal(TestDeal::buy(100, 10, 1));  // waits in the buffer
        m_world->settle();
        const int before = m_world->neighbour->callCount(ScriptedNeighbour::Call::Executions);
        Presenter* const presenter = m_world->presenter;
        std::promise<void> isHeld;
        std::promise<void> mayBegin;
        runOnThreadOf(presenter, [&] {
            isHeld.set_value();
            mayBegin.get_future().wait();
            beginToClose();
            // At the end of its delay.
            emit presenter->findChild<VelmarDelayBuffer*>()->bufferTimeOut();
            m_isClosing = true;
        });
        isHeld.get_future().wait();
        m_world->reload();
        m_world->deal(TestDeal::buy(100, 10, 3));
        const LogCapture log;
        mayBegin.set_value();
        waitUntilClosed();
        QCOMPARE(m_world->neighbour->callCount(ScriptedNeighbour::Call::Executions), before);
        QVERIFY(!log.contains("initRealizedProfit"));
        QCOMPARE(m_last.value("T0001").value("600000.SH").value("A1"), -5.0);
        m_world->receiveAll();
        QCOMPARE(m_world->inits(), 1);
        QVERIFY(m_world->updates().isEmpty());
    }
};

QTEST_GUILESS_MAIN(PresenterProfitClosingTest)
#include "presenter_profit_closing_test.moc"
