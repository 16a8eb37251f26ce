#include "push_subscriptions.h"

#include <QtTest>
#include <atomic>
#include <thread>

#include "log_capture.h"
#include "push_fixture.h"
#include "server_item_fixture.h"
#include "vocabulary/fields.h"
#include "vocabulary/values.h"

namespace {

const QString kTag = "ZnBusinessDataManager::subPushMessage ";

}  // namespace

/// What a subscription sends, and how its subscribers are counted.
class PushSubscriptionsTest : public QObject {
    Q_OBJECT

private slots:
    void subscription_ofAGate_hasItsEnvelopeType_data() {
        QTest::addColumn<QString>("gate");
        QTest::addColumn<QString>("envelope");
        QTest::newRow("trade") << kTrade << kType;
        QTest::newRow("information") << kInfo << "325005";
        QTest::newRow("market") << NetGateType::MarketTcpGate << kType;
        QTest::newRow("unknown") << "nowhere" << kType;
    }
    void subscription_ofAGate_hasItsEnvelopeType() {
        QFETCH(QString, gate);
        QFETCH(QString, envelope);
        PushFixture f;
        const LogCapture log;
        QVERIFY(f.subscribe("topic", kUser, gate));
        const QVariantMap expected{{"userID", "tester"},
                                   {System::msgType, kType},
                                   {System::subscriptionTopic, "topic"},
                                   {Security::subscriptionRequestType, SubscribeType::subscribe}};
        QCOMPARE(f.link().lastRequest().header, expected);
        QCOMPARE(f.link().lastRequest().envelopeType, envelope);
        QCOMPARE(f.link().lastRequest().sourceId, f.presenter->pluginPid());
        QCOMPARE(log.count(QtInfoMsg,
                           kTag + R"(主题topic内容{"userID":"tester"}订阅成功，网关类型)" + gate),
                 1);
        QCOMPARE(f.push.subscriberCount("topic", kUser), 1);
    }

    void subscription_contentWithFieldsOfTheRequest_cannotReplaceThem() {
        PushFixture f;
        QVERIFY(f.subscribe("topic", {{System::msgType, "x"},
                                      {System::subscriptionTopic, "y"},
                                      {Security::subscriptionRequestType, "z"}}));
        const QVariantMap expected{{System::msgType, kType},
                                   {System::subscriptionTopic, "topic"},
                                   {Security::subscriptionRequestType, SubscribeType::subscribe}};
        QCOMPARE(f.link().lastRequest().header, expected);
    }

    void secondSubscriber_isCountedWithoutARequest() {
        PushFixture f;
        const LogCapture log;
        QVERIFY(f.subscribe("topic"));
        QVERIFY(f.subscribe("topic"));
        QCOMPARE(f.push.subscriberCount("topic", kUser), 2);
        // The subscription is the same through another gate.
        QVERIFY(f.subscribe("topic", kUser, kInfo));
        QCOMPARE(f.push.subscriberCount("topic", kUser), 3);
        QCOMPARE(f.link().requestCount(), 1);
        QCOMPARE(log.count(QtDebugMsg,
                           "ZnBusinessDataManager::SubscribePushMsgFromServer "
                           R"(主题topic内容{"userID":"tester"}已被订阅过，不再重复订阅)"),
                 2);
    }

    void otherContent_isAnotherSubscription() {
        PushFixture f;
        QVERIFY(f.subscribe("topic"));
        QVERIFY(f.subscribe("topic", {{"userID", "other"}}));
        QVERIFY(f.subscribe("topic", {}));
        QVERIFY(f.subscribe("other"));
        QCOMPARE(f.link().requestCount(), 4);
        QCOMPARE(f.push.subscriberCount("topic", kUser), 1);
        QCOMPARE(f.push.subscriberCount("topic", {}), 1);
        QCOMPARE(f.push.subscriberCount("nothing", kUser), 0);
    }

    void subscription_badInput_isRefusedWithAWarning() {
        PushFixture f;
        LogCapture log;
        QVERIFY(!f.subscribe("two_words"));
        QCOMPARE(log.texts(QtWarningMsg),
                 QStringList{"the push topic two_words is not subscribed: it contains \"_\""});
        log.clear();
        const QVariantMap withoutText{{"x", qInf()}};
        QVERIFY(!f.subscribe("topic", withoutText));
        QCOMPARE(log.texts(QtWarningMsg).size(), 1);
        QVERIFY(log.contains(QtWarningMsg,
                             "the push topic topic is not subscribed: its content "
                             "has no text form: "));
        QVERIFY(!f.push.subPushMessage(f.presenter, "two_words", kUser, kTrade, 0, 5));
        QVERIFY(!f.push.subPushMessage(f.presenter, "topic", withoutText, kTrade, 0, 5));
        QVERIFY(!f.push.SubscribePushMsgFromServer(nullptr, "topic", kUser, kTrade));
        QVERIFY(!f.push.subPushMessage(nullptr, "topic", kUser, kTrade, 0, 5));
        f.push.subscribeAgain(nullptr, kTrade);
        QCOMPARE(f.link().requestCount(), 0);
        QVERIFY(f.push.delays().isEmpty());
    }

    void manySubscribersAtOnce_makeOneRequest() {
        PushFixture f;
        constexpr int kCallers = 20;
        f.link().on(kType, ScriptedReply::rows({}).held());
        std::atomic<int> standing{0};
        std::thread callers([&] {
            runOnThreads(kCallers, [&](int) { standing += f.subscribe("topic") ? 1 : 0; });
        });
        const bool wasSent = f.link().waitForRequestCount(kType, 1);
        f.link().release();
        callers.join();
        QVERIFY(wasSent);
        QCOMPARE(standing, kCallers);
        QCOMPARE(f.link().requestCount(), 1);
        QCOMPARE(f.push.subscriberCount("topic", kUser), kCallers);
    }
};

QTEST_GUILESS_MAIN(PushSubscriptionsTest)
#include "push_subscriptions_test.moc"
