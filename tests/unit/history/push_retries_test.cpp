#include <QMap>
#include <QThread>
#include <QtTest>
#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>

#include "held_close.h"
#include "log_capture.h"
#include "push_fixture.h"
#include "push_subscriptions.h"
#include "server_item_fixture.h"
#include "wait_for.h"

namespace {

/// The real timers, a given factor faster.
class TimedSubscriptions : public PushSubscriptions {
public:
    explicit TimedSubscriptions(int factor) : m_factor(factor) {}
    ~TimedSubscriptions() override = default;

    QList<QThread*> threads() const {
        const std::lock_guard<std::mutex> guard(m_lock);
        return m_threads;
    }
    /// Whether the timer that was started last still keeps its retry.
    bool keepsRetry() const { return !m_last.expired(); }

protected:
    void startTimer(ZnPresenterClass* presenter, int delayMs,
                    const std::function<void()>& retry) override {
        const auto kept = std::make_shared<int>(0);
        m_last = kept;
        PushSubscriptions::startTimer(presenter, delayMs / m_factor, [this, retry, kept] {
            {
                const std::lock_guard<std::mutex> guard(m_lock);
                m_threads.append(QThread::currentThread());
            }
            retry();
        });
    }

private:
    const int m_factor;
    mutable std::mutex m_lock;  // guards the threads
    QList<QThread*> m_threads;  ///< where each retry ran
    std::weak_ptr<int> m_last;
};

QString failureText(int attempt, const QString& topic, int code, const QString& reason,
                    const QString& content) {
    return QStringLiteral("客户端%1次订阅%2主题失败，返回值%3，失败原因：%4，订阅内容：%5")
        .arg(QString::number(attempt), topic, QString::number(code), reason, content);
}

}  // namespace

/// When and where a refused subscription is tried again.
class PushRetriesTest : public QObject {
    Q_OBJECT

private slots:
    void refusals_areTriedFiveTimes() {
        PushFixture f;
        const LogCapture log;
        f.link().on(kType, ScriptedReply::refusal("不行"));
        QVERIFY(!f.subscribe("topic"));
        for (int i = 1; i <= 4; ++i) {
            QCOMPARE(f.push.delays(), QList<int>{i * 5000});
            QCOMPARE(f.link().requestCount(), i);
            f.push.fireFirst();
        }
        QCOMPARE(f.link().requestCount(), 5);
        QVERIFY(f.push.delays().isEmpty());
        for (int attempt = 1; attempt <= 5; ++attempt) {
            QCOMPARE(log.count(QtDebugMsg,
                               failureText(attempt, "topic", 0, "不行", R"({"userID":"tester"})")),
                     1);
        }
        QCOMPARE(log.count(QtDebugMsg, "主题topic订阅次数已超过最大订阅次数5次，不再尝试订阅"), 1);
        QCOMPARE(f.push.subscriberCount("topic", kUser), 0);
        // A new subscriber starts from the beginning.
        QVERIFY(!f.subscribe("topic"));
        QCOMPARE(f.push.delays(), QList<int>{5000});
    }

    void failure_ofAnyKind_isLoggedWithItsReturnValue_data() {
        QTest::addColumn<QString>("kind");
        QTest::addColumn<QString>("part");
        QTest::newRow("timed out") << "timed out"
                                   << "返回值1，失败原因：";
        QTest::newRow("failed") << "failed"
                                << "返回值2，失败原因：";
        QTest::newRow("wrong rows") << "wrong rows"
                                    << "返回值0，失败原因：the answer to ";
        QTest::newRow("text with a place marker") << "marker"
                                                  << "返回值0，失败原因：%5，订阅内容：{";
    }
    void failure_ofAnyKind_isLoggedWithItsReturnValue() {
        QFETCH(QString, kind);
        QFETCH(QString, part);
        PushFixture f;
        const LogCapture log;
        const QMap<QString, ScriptedReply> replies{{"timed out", ScriptedReply::timeOut()},
                                                   {"failed", ScriptedReply::failure("断了")},
                                                   {"wrong rows", answerWithoutItsRows()},
                                                   {"marker", ScriptedReply::refusal("%5")}};
        f.link().on(kType, replies.value(kind));
        QVERIFY(!f.subscribe("topic"));
        QVERIFY2(log.contains(QtDebugMsg, "客户端1次订阅topic主题失败，" + part),
                 qPrintable(log.texts().join('\n')));
        QCOMPARE(f.push.delays(), QList<int>{5000});
    }

    void retry_succeeds_subscriptionStands() {
        PushFixture f;
        f.link().onOccurrence(kType, 1, ScriptedReply::refusal("不行"));
        QVERIFY(!f.subscribe("topic", kUser, kInfo));
        QCOMPARE(f.push.subscriberCount("topic", kUser), 0);
        f.push.fireFirst();
        QCOMPARE(f.push.subscriberCount("topic", kUser), 1);
        QVERIFY(f.push.delays().isEmpty());
        QCOMPARE(f.link().requestCount("325005"), 2);
        QVERIFY(f.subscribe("topic", kUser, kInfo));
        QCOMPARE(f.link().requestCount(), 2);
    }

    void retryThatWaits_furtherFailures_scheduleNoOther() {
        PushFixture f;
        f.link().on(kType, ScriptedReply::refusal("不行"));
        QVERIFY(!f.subscribe("topic"));
        QVERIFY(!f.subscribe("topic"));
        QVERIFY(!f.push.subPushMessage(f.presenter, "topic", kUser, kTrade, 2, 5));
        QCOMPARE(f.push.delays(), QList<int>{5000});
        // Another gate, content or topic has a retry of its own.
        QVERIFY(!f.subscribe("topic", kUser, kInfo));
        QVERIFY(!f.subscribe("topic", {}));
        QVERIFY(!f.subscribe("other"));
        QCOMPARE(f.push.delays(), (QList<int>{5000, 5000, 5000, 5000}));
    }

    void retryThatWaits_subscriberSucceedsMeanwhile_sendsNothing() {
        PushFixture f;
        f.link().onOccurrence(kType, 1, ScriptedReply::refusal("不行"));
        QVERIFY(!f.subscribe("topic"));
        QVERIFY(f.subscribe("topic"));
        QVERIFY(f.subscribe("topic"));
        f.push.fireFirst();
        QCOMPARE(f.link().requestCount(), 2);
        QCOMPARE(f.push.subscriberCount("topic", kUser), 2);
    }

    void retryThatWaits_droppedByItsTimer_givesItsPlaceFree() {
        PushFixture f;
        f.link().on(kType, ScriptedReply::refusal("不行"));
        QVERIFY(!f.subscribe("topic"));
        f.push.dropAll();
        QVERIFY(!f.subscribe("topic"));
        QCOMPARE(f.push.delays(), QList<int>{5000});
    }

    void retryOfAnotherPresenter_isReplaced() {
        PushFixture f;
        auto* const second = new RecordingPresenter("Test.Second");
        second->initPresenter();
        f.link().on(kType, ScriptedReply::refusal("不行"));
        QVERIFY(!f.subscribe("topic"));
        QVERIFY(!f.push.SubscribePushMsgFromServer(second, "topic", kUser, kTrade));
        QCOMPARE(f.push.delays(), (QList<int>{5000, 5000}));
        f.push.fireFirst();
        QCOMPARE(f.link().requestCount(), 2);
        f.push.fireFirst();
        QCOMPARE(f.link().requestCount(), 3);
        QCOMPARE(f.link().lastRequest().sourceId, second->pluginPid());
        f.push.dropAll();
        second->deleteLater();
    }

    void presenterWithoutAnId_failure_schedulesOneRetry() {
        PushFixture f;
        auto* const nameless = new RecordingPresenter(QString());
        nameless->initPresenter();
        QCOMPARE(nameless->pluginPid(), QString());
        f.link().on(kType, ScriptedReply::refusal("不行"));
        QVERIFY(!f.push.SubscribePushMsgFromServer(nameless, "topic", kUser, kTrade));
        QVERIFY(!f.push.SubscribePushMsgFromServer(nameless, "topic", kUser, kTrade));
        QCOMPARE(f.push.delays(), QList<int>{5000});
        f.push.dropAll();
        nameless->deleteLater();
    }

    void closingPresenter_schedulesNoRetry() {
        PushFixture f;
        f.link().on(kType, ScriptedReply::never());
        std::atomic<bool> answer{true};
        std::thread caller([&] { answer = f.subscribe("topic"); });
        const bool wasSent = f.link().waitForRequestCount(kType, 1);
        const HeldClose closing(f.presenter);
        caller.join();
        QVERIFY(wasSent);
        QVERIFY(!answer);
        QVERIFY(f.push.delays().isEmpty());
    }

    void retryThatFires_presenterIsClosing_sendsNothing() {
        HandTimedSubscriptions hand;
        ServerItemFixture f;
        auto* const second = new RecordingPresenter("Test.Second");
        second->initPresenter();
        f.link().on(kType, ScriptedReply::refusal("不行"));
        QVERIFY(!hand.SubscribePushMsgFromServer(second, "topic", kUser, kTrade));
        QCOMPARE(hand.delays(), QList<int>{5000});
        const LogCapture log;
        {
            const HeldClose close(second);
            QVERIFY(close.isClosing());
            hand.fireFirstHere();
        }
        QVERIFY(hand.delays().isEmpty());
        QCOMPARE(f.link().requestCount(), 1);
        QVERIFY(!log.contains("主题失败"));
    }

    void timers_refusals_runOnThePresentersThread() {
        TimedSubscriptions push(1000);
        ServerItemFixture f;
        f.link().on(kType, ScriptedReply::refusal("不行"));
        f.link().onOccurrence(kType, 5, ScriptedReply::rows({}));
        QThread* const objectThread = f.presenter->thread();
        QVERIFY(!push.SubscribePushMsgFromServer(f.presenter, "topic", kUser, kTrade));
        QVERIFY(waitFor([&] { return push.subscriberCount("topic", kUser) == 1; }));
        QCOMPARE(push.threads(),
                 (QList<QThread*>{objectThread, objectThread, objectThread, objectThread}));
        QCOMPARE(f.link().requestCount(), 5);
    }

    void timers_presenterIsDeleted_dropTheRetry() {
        TimedSubscriptions push(1);
        ServerItemFixture f;
        f.link().on(kType, ScriptedReply::refusal("不行"));
        QVERIFY(!push.SubscribePushMsgFromServer(f.presenter, "topic", kUser, kTrade));
        QVERIFY(push.keepsRetry());
        f.presenter->deleteLater();
        QVERIFY(!push.keepsRetry());
        QVERIFY(push.threads().isEmpty());
        QCOMPARE(f.link().requestCount(), 1);
    }

    void timers_presenterIsNotStarted_waitForItsStart() {
        TimedSubscriptions push(1000);
        ServerItemFixture f;
        f.link().onOccurrence(kType, 1, ScriptedReply::refusal("不行"));
        f.link().on(kType, ScriptedReply::rows({}));
        auto* const second = new RecordingPresenter("Test.Second");
        QVERIFY(!push.SubscribePushMsgFromServer(second, "topic", kUser, kTrade));
        QVERIFY(push.keepsRetry());
        second->initPresenter();
        QVERIFY(waitFor([&] { return push.subscriberCount("topic", kUser) == 1; }));
        second->deleteLater();
    }
};

QTEST_GUILESS_MAIN(PushRetriesTest)
#include "push_retries_test.moc"
