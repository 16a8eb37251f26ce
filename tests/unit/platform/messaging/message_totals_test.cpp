#include "message_totals.h"

#include <QElapsedTimer>
#include <QtTest>
#include <limits>
#include <thread>
#include <vector>

#include "body_size.h"
#include "commonquotahandler/common_quota_handler.h"
#include "platform_fixture.h"
#include "vocabulary/values.h"
#include "zncore/zn_core.h"

namespace {

inline const QString kType = QStringLiteral("type.1");

QVariant onBoard(const QString& key) {
    return ZnCore::instance()->getCommonInfo(key);
}

/// The bytes of a message as the platform counts them.
qint64 bytesOf(const QVariant& body) {
    return bodySize(body, kStandingBodyLimit);
}

}  // namespace

class MessageTotalsTest : public QObject {
    Q_OBJECT

    std::unique_ptr<PlatformFixture> m_platform;
    ProbePresenter* m_presenter = nullptr;  // deleted by the platform

    ScriptedLink& link() { return *m_platform->link; }

private slots:
    void init() {
        m_platform = std::make_unique<PlatformFixture>();
        m_presenter = new ProbePresenter;
        m_presenter->initPresenter();
    }
    void cleanup() { m_platform.reset(); }

    void totals_beforeAnyMessage_areZero() {
        for (const QString& key :
             {ClientPerformItem::TotalTradeMsgCount, ClientPerformItem::TotalTradeMsgSize,
              ClientPerformItem::TotalInfoMsgCount, ClientPerformItem::TotalInfoMsgSize,
              ClientPerformItem::MdcTotalMsgCount, ClientPerformItem::MdcTotalMsgSize}) {
            QVERIFY2(onBoard(key).isValid(), qPrintable(key));
            QCOMPARE(onBoard(key).toLongLong(), 0LL);
        }
        QVERIFY(!onBoard(ClientPerformItem::MdcLatency).isValid());
        QVERIFY(!onBoard(ClientPerformItem::TradeMsgCount).isValid());
    }

    void request_andItsAnswer_countForTheGateOfTheEnvelope_data() {
        QTest::addColumn<QString>("envelope");
        QTest::addColumn<QString>("count");
        QTest::addColumn<QString>("size");
        QTest::addColumn<QString>("otherCount");
        QTest::newRow("trade") << kType << ClientPerformItem::TotalTradeMsgCount
                               << ClientPerformItem::TotalTradeMsgSize
                               << ClientPerformItem::TotalInfoMsgCount;
        QTest::newRow("info") << "325005" << ClientPerformItem::TotalInfoMsgCount
                              << ClientPerformItem::TotalInfoMsgSize
                              << ClientPerformItem::TotalTradeMsgCount;
    }
    void request_andItsAnswer_countForTheGateOfTheEnvelope() {
        QFETCH(QString, envelope);
        QFETCH(QString, count);
        QFETCH(QString, size);
        QFETCH(QString, otherCount);
        link().on(kType, ScriptedReply::rows({{{"a", QString(1000, 'x')}}}));
        CMessageCommon* const message = makeMessage(m_presenter, kType);
        message->SetType(envelope);
        QVariant response;
        QCOMPARE(m_presenter->sendRequest_Sync(message, response), 0);
        QCOMPARE(onBoard(count).toInt(), 2);
        QCOMPARE(onBoard(size).toLongLong(),
                 bytesOf(link().lastRequest().body) + bytesOf(response));
        QVERIFY(onBoard(size).toLongLong() > 1000);
        QCOMPARE(onBoard(otherCount).toInt(), 0);
    }

    void asyncAnswer_isCountedWhenItArrives() {
        link().on(kType, ScriptedReply::rows({}).held());
        QCOMPARE(m_presenter->sendRequest_Async(makeMessage(m_presenter, kType)), 0);
        QCOMPARE(onBoard(ClientPerformItem::TotalTradeMsgCount).toInt(), 1);
        link().release();
        QVERIFY(m_presenter->log->waitForCount(1));
        QCOMPARE(onBoard(ClientPerformItem::TotalTradeMsgCount).toInt(), 2);
    }

    void request_notSentOrWithoutAnAnswer_countsWhatWentOut() {
        QVariant response;
        link().refuseSends(true);
        QCOMPARE(m_presenter->sendRequest_Sync(makeMessage(m_presenter, kType), response), 2);
        QCOMPARE(onBoard(ClientPerformItem::TotalTradeMsgCount).toInt(), 0);
        link().refuseSends(false);
        link().on(kType, ScriptedReply::timeOut());
        QCOMPARE(m_presenter->sendRequest_Sync(makeMessage(m_presenter, kType), response), 1);
        QCOMPARE(onBoard(ClientPerformItem::TotalTradeMsgCount).toInt(), 1);
        link().on(kType, ScriptedReply::garbage());
        QCOMPARE(m_presenter->sendRequest_Sync(makeMessage(m_presenter, kType), response), 2);
        QCOMPARE(onBoard(ClientPerformItem::TotalTradeMsgCount).toInt(), 2);
    }

    void push_countsForTheInfoGate() {
        m_presenter->Sub(m_presenter->pluginPid(), kType, 1);
        const QVariant body = packRows({{"a", 1}}, {});
        link().push(kType, body);
        link().push(kType, QVariant("garbage"));
        QVERIFY(link().waitUntilIdle());
        QCOMPARE(onBoard(ClientPerformItem::TotalInfoMsgCount).toInt(), 1);
        QCOMPARE(onBoard(ClientPerformItem::TotalInfoMsgSize).toLongLong(), bytesOf(body));
        QCOMPARE(onBoard(ClientPerformItem::TotalTradeMsgCount).toInt(), 0);
    }

    void tick_delivered_isCountedWithItsDelay() {
        QVERIFY(CommonQuotaHandler::instance().Init());
        const QVariantMap tick{{"LastPx", 10.5}, {"Symbol", "600000.SH"}};
        QElapsedTimer waiting;
        std::thread publisher([&] {
            LocalPlatform::instance().publishTick("600000.SH", tick);
            waiting.start();
        });
        publisher.join();
        // It waits for this thread's event loop, and is not counted before it is delivered.
        constexpr int kHeldUpMs = 20;
        while (waiting.elapsed() < kHeldUpMs) {
            std::this_thread::yield();
        }
        QCOMPARE(onBoard(ClientPerformItem::MdcTotalMsgCount).toInt(), 0);
        QVERIFY(waitFor([] { return onBoard(ClientPerformItem::MdcTotalMsgCount).toInt() == 1; }));
        QVERIFY(onBoard(ClientPerformItem::MdcLatency).toInt() >= kHeldUpMs);
        QCOMPARE(onBoard(ClientPerformItem::MdcTotalMsgSize).toLongLong(), bytesOf(tick));
    }

    void tick_beforeInit_isNotCounted() {
        LocalPlatform::instance().publishTick("600000.SH", {{"LastPx", 1}});
        QCOMPARE(onBoard(ClientPerformItem::MdcTotalMsgCount).toInt(), 0);
    }

    void plugin_thatSetsAKeyItself_isRead() {
        ZnCore::instance()->setCommonInfo(ClientPerformItem::MdcLatency, 77);
        ZnCore::instance()->setCommonInfo(ClientPerformItem::TotalTradeMsgCount, 5);
        QCOMPARE(onBoard(ClientPerformItem::MdcLatency), QVariant(77));
        QCOMPARE(onBoard(ClientPerformItem::TotalTradeMsgCount), QVariant(5));
    }

    void platform_startedAnew_countsFromZero() {
        MessageTotals::instance().countMessage(NetGateType::TradeGate, 10);
        MessageTotals::instance().countTick(10, 10);
        m_platform.reset();
        m_platform = std::make_unique<PlatformFixture>();
        QCOMPARE(onBoard(ClientPerformItem::TotalTradeMsgCount).toInt(), 0);
        QVERIFY(!onBoard(ClientPerformItem::MdcLatency).isValid());
    }

    void totals_large_saturateTheirCounts() {
        MessageTotals totals;
        constexpr qint64 kLarge = qint64(3) * std::numeric_limits<int>::max();
        totals.countTick(kLarge, kLarge);
        totals.countMessage(NetGateType::MarketTcpGate, kLarge);  // not counted by message
        QCOMPARE(totals.value(ClientPerformItem::MdcTotalMsgSize).toLongLong(), kLarge);
        QCOMPARE(totals.value(ClientPerformItem::MdcLatency).toInt(),
                 std::numeric_limits<int>::max());
        QCOMPARE(totals.value(ClientPerformItem::TotalTradeMsgCount).toInt(), 0);
        QCOMPARE(totals.value(ClientPerformItem::TotalInfoMsgCount).toInt(), 0);
        totals.countTick(1, -5);
        QCOMPARE(totals.value(ClientPerformItem::MdcLatency).toInt(), 0);
    }

    void totals_ofSeveralThreads_missNone() {
        constexpr int kThreads = 4;
        constexpr int kEach = 10000;
        MessageTotals totals;
        std::vector<std::thread> threads;
        for (int t = 0; t < kThreads; ++t) {
            threads.emplace_back([&totals] {
                for (int i = 0; i < kEach; ++i) {
                    totals.countMessage(NetGateType::TradeGate, 3);
                }
            });
        }
        for (std::thread& thread : threads) {
            thread.join();
        }
        QCOMPARE(totals.value(ClientPerformItem::TotalTradeMsgCount).toInt(), kThreads * kEach);
        QCOMPARE(totals.value(ClientPerformItem::TotalTradeMsgSize).toLongLong(),
                 qlonglong(3 * kThreads * kEach));
    }
};

QTEST_GUILESS_MAIN(MessageTotalsTest)
#include "message_totals_test.moc"
