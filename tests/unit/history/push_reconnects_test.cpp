#include <sys/syscall.h>
#include <unistd.h>

#include <QtTest>
#include <atomic>
#include <thread>

#include "held_close.h"
#include "log_capture.h"
#include "push_fixture.h"
#include "server_item_fixture.h"
#include "thread_state.h"
#include "vocabulary/fields.h"
#include "vocabulary/values.h"
#include "wait_for.h"

namespace {

/// Topic and content text of the requests, in order.
QStringList subscribed(const QList<ScriptedLink::Request>& requests) {
    QStringList texts;
    for (const ScriptedLink::Request& request : requests) {
        texts.append(request.header.value(System::subscriptionTopic).toString() + ' ' +
                     request.header.value("userID").toString());
    }
    return texts;
}

}  // namespace

/// What becomes of the subscriptions when a gate connects again.
class PushReconnectsTest : public QObject {
    Q_OBJECT

private slots:
    void retryUnderWay_gateConnectsAgain_isSentAgain() {
        PushFixture f;
        f.link().on(kType, ScriptedReply::rows({}).held());
        f.link().onOccurrence(kType, 1, ScriptedReply::refusal("不行"));
        QVERIFY(!f.subscribe("topic"));
        const LogCapture log;
        std::thread timer([&] { f.push.fireFirstHere(); });
        const bool wasSent = f.link().waitForRequestCount(kType, 2);
        // The subscription does not stand yet, so the gate does not make it again.
        f.push.subscribeAgain(f.presenter, kTrade);
        const int before = f.link().requestCount();
        f.link().on(kType, ScriptedReply::rows({}));
        f.link().release();
        timer.join();
        QVERIFY(wasSent);
        QCOMPARE(before, 2);
        QCOMPARE(f.link().requestCount(), 3);
        QCOMPARE(f.push.subscriberCount("topic", kUser), 1);
        QCOMPARE(log.texts(QtInfoMsg).filter("订阅成功").size(), 1);
        // Another gate does not matter.
        f.link().on(kType, ScriptedReply::rows({}).held());
        std::thread subscriber(
            [&] { f.push.subPushMessage(f.presenter, "other", kUser, kTrade, 0, 5); });
        const bool isSent = f.link().waitForRequestCount(kType, 4);
        f.push.subscribeAgain(f.presenter, kInfo);
        f.link().release();
        subscriber.join();
        QVERIFY(isSent);
        QCOMPARE(f.link().requestCount(), 4);
    }

    void attemptUnderWay_gateConnectsAgain_secondRequestIsRefused() {
        PushFixture f;
        f.link().on(kType, ScriptedReply::rows({}).held());
        std::atomic<bool> answer{true};
        std::thread caller(
            [&] { answer = f.push.subPushMessage(f.presenter, "topic", kUser, kTrade, 0, 5); });
        const bool wasSent = f.link().waitForRequestCount(kType, 1);
        f.push.subscribeAgain(f.presenter, kTrade);
        f.link().on(kType, ScriptedReply::refusal("不行"));
        f.link().release();
        caller.join();
        QVERIFY(wasSent);
        QVERIFY(!answer);
        QCOMPARE(f.push.subscriberCount("topic", kUser), 0);
        QCOMPARE(f.push.delays(), QList<int>{5000});
    }

    void emptyTopic_isSubscribedAndMadeAgain() {
        PushFixture f;
        QVERIFY(f.subscribe(""));
        QCOMPARE(f.push.subscriberCount("", kUser), 1);
        f.link().clearRequests();
        f.push.subscribeAgain(f.presenter, kTrade);
        QCOMPARE(subscribed(f.link().requests()), QStringList{" tester"});
    }

    void reconnect_subscriptionsOfTheGate_areMadeAgainOnce() {
        PushFixture f;
        QVERIFY(f.subscribe("b"));
        QVERIFY(f.subscribe("b"));
        QVERIFY(f.subscribe("a", {{"userID", "u_1"}}));
        QVERIFY(f.subscribe("c", kUser, kInfo));
        QVERIFY(f.subscribe("d", {}, kInfo));
        QVERIFY(f.subscribe("e", kUser, NetGateType::MarketTcpGate));
        QCOMPARE(f.push.subscriberCount("b", kUser), 2);
        f.link().clearRequests();
        f.push.subscribeAgain(f.presenter, kTrade);
        QCOMPARE(subscribed(f.link().requests()), (QStringList{"a u_1", "b tester"}));
        QCOMPARE(f.link().requestCount("325005"), 0);
        QCOMPARE(f.push.subscriberCount("b", kUser), 1);  // counted anew
        f.link().clearRequests();
        f.push.subscribeAgain(f.presenter, kInfo);
        QCOMPARE(subscribed(f.link().requests("325005")), (QStringList{"c tester", "d "}));
        QCOMPARE(f.link().requestCount(), 2);
        f.link().clearRequests();
        f.push.subscribeAgain(f.presenter, NetGateType::MarketTcpGate);
        f.push.subscribeAgain(f.presenter, NetGateType::MarketGrpcGate);
        f.push.subscribeAgain(f.presenter, "nowhere");
        QCOMPARE(f.link().requestCount(), 0);
    }

    void reconnect_contentWhoseTextChangesWhenRead_staysOneSubscription() {
        PushFixture f;
        // Reads back as a whole number.
        const QVariantMap content{{"ratio", 2.0}, {"day", QDate(2026, 1, 5)}};
        QVERIFY(f.subscribe("topic", content));
        QVERIFY(f.subscribe("topic", content));
        f.push.subscribeAgain(f.presenter, kTrade);
        QCOMPARE(f.push.subscriberCount("topic", content), 1);
        QVERIFY(f.subscribe("topic", content));
        f.push.subscribeAgain(f.presenter, kTrade);
        QCOMPARE(f.link().requestCount(), 3);
        QCOMPARE(f.push.subscriberCount("topic", content), 1);
    }

    void reconnect_refused_isTriedAgainAndKeepsTheSubscription() {
        PushFixture f;
        QVERIFY(f.subscribe("topic"));
        QVERIFY(f.subscribe("topic"));
        f.link().on(kType, ScriptedReply::refusal("不行"));
        f.push.subscribeAgain(f.presenter, kTrade);
        QCOMPARE(f.push.delays(), QList<int>{5000});
        f.push.subscribeAgain(f.presenter, kTrade);
        QCOMPARE(f.push.delays(), QList<int>{5000});
        f.link().on(kType, ScriptedReply::rows({}));
        f.link().clearRequests();
        f.push.fireFirst();
        QCOMPARE(subscribed(f.link().requests()), QStringList{"topic tester"});
        QCOMPARE(f.push.subscriberCount("topic", kUser), 1);
        for (int i = 0; i < 5; ++i) {
            f.link().on(kType, ScriptedReply::refusal("不行"));
            f.push.subscribeAgain(f.presenter, kTrade);
        }
        // What could not be made again is tried at the next reconnect.
        f.push.dropAll();
        f.link().clearRequests();
        f.push.subscribeAgain(f.presenter, kTrade);
        QCOMPARE(f.link().requestCount(), 1);
    }

    void reconnect_presenterCloses_sendsNoFurtherRequest() {
        PushFixture f;
        for (const char* topic : {"a", "b", "c"}) {
            QVERIFY(f.subscribe(topic));
        }
        f.link().clearRequests();
        f.link().on(kType, ScriptedReply::never());
        std::thread gate([&] { f.push.subscribeAgain(f.presenter, kTrade); });
        const bool wasSent = f.link().waitForRequestCount(kType, 1);
        const HeldClose closing(f.presenter);
        gate.join();
        QVERIFY(wasSent);
        QCOMPARE(f.link().requestCount(), 1);
    }

    void reconnect_subscriberUnderWay_isWaitedFor() {
        PushFixture f;
        f.link().on(kType, ScriptedReply::rows({}).held());
        std::thread subscriber([&] { f.subscribe("topic"); });
        const bool wasSent = f.link().waitForRequestCount(kType, 1);
        std::atomic<int> gateId{0};
        std::thread gate([&] {
            gateId = static_cast<int>(::syscall(SYS_gettid));
            f.push.subscribeAgain(f.presenter, kTrade);
        });
        const bool waits = waitFor([&] { return gateId != 0 && isThreadAsleep(gateId); });
        f.link().on(kType, ScriptedReply::rows({}));
        f.link().release();
        subscriber.join();
        gate.join();
        QVERIFY(wasSent);
        QVERIFY(waits);
        // The server may have forgotten what it took before the gate connected again.
        QCOMPARE(f.link().requestCount(), 2);
        QCOMPARE(f.push.subscriberCount("topic", kUser), 1);
    }

    void subscribersAndReconnects_atOnce_endWithEverySubscription() {
        PushFixture f;
        runOnThreads(12, [&](int thread) {
            for (int n = 0; n < 20; ++n) {
                if (thread % 4 == 0) {
                    f.push.subscribeAgain(f.presenter, thread % 8 == 0 ? kTrade : kInfo);
                } else {
                    f.subscribe(QStringLiteral("t%1").arg(n % 5), kUser,
                                thread % 2 == 0 ? kTrade : kInfo);
                }
            }
        });
        for (int n = 0; n < 5; ++n) {
            QVERIFY(f.push.subscriberCount(QStringLiteral("t%1").arg(n), kUser) >= 1);
        }
        f.link().clearRequests();
        f.push.subscribeAgain(f.presenter, kTrade);
        f.push.subscribeAgain(f.presenter, kInfo);
        QVERIFY(f.link().requestCount() >= 5);
    }
};

QTEST_GUILESS_MAIN(PushReconnectsTest)
#include "push_reconnects_test.moc"
