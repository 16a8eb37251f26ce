#include <algorithm>
#include <atomic>
#include <thread>

#include "log_capture.h"
#include "packed_body.h"
#include "platform_fixture.h"
#include "vocabulary/net_state.h"
#include "vocabulary/values.h"

namespace {

inline const QString kType = QStringLiteral("type.1");
inline const QString kOtherType = QStringLiteral("type.2");
inline const QString kTag = QStringLiteral("tag");

constexpr int kAnswer = 0;
constexpr int kTimeOut = 1;
constexpr int kFailure = 2;

struct CountedMessage : CMessageCommon {
    static std::atomic<int> alive;
    CountedMessage() { ++alive; }
    ~CountedMessage() override { --alive; }
};
std::atomic<int> CountedMessage::alive{0};

/// One data row that repeats the request's tag.
QVariant echo(const QVariant& body) {
    return makeAnswer(body, {{{kTag, headerOf(body).value(kTag)}}});
}

QVariant tagOf(const QVariant& body) {
    const QList<QVariantMap> rows = rowsOf(body);
    return rows.isEmpty() ? QVariant() : rows.first().value(kTag);
}

}  // namespace

class PresenterRequestTest : public QObject {
    Q_OBJECT

private slots:
    void init() {
        m_platform = std::make_unique<PlatformFixture>();
        m_presenter = new ProbePresenter;
        m_presenter->initPresenter();
    }
    void cleanup() { m_platform.reset(); }

    void sync_answered_returnsZeroWithTheAnswer();
    void sync_refusedByTheServer_returnsZeroWithItsStatusAndText();
    void sync_timedOutByTheLink_returnsOneWithAText();
    void sync_noAnswerAtAll_returnsOneAfterTheStandingTimeOut();
    void sync_failed_returnsTwoWithTheReason();
    void sync_garbageAnswer_returnsTwo_data();
    void sync_garbageAnswer_returnsTwo();
    void sync_tradeGateLost_failsWhatIsUnderWayAndNamesTheGate();
    void sync_otherGateLost_keepsWaiting();
    void sync_withoutALink_returnsTwo();
    void sync_linkRefusesRequests_returnsTwo();
    void sync_linkReplaced_failsWhatIsUnderWay();
    void setLink_linkDoesNotStart_returnsTheReason();
    void sync_nullMessage_returnsTwoWithAWarning();
    void sync_anyOutcome_takesTheMessageOver();
    void sync_request_carriesSenderTypeBodyAndTimeOut();
    void sync_beforeInitPresenter_works();
    void sync_lateAnswer_isDroppedAndTheNextRequestGetsItsOwn();
    void sync_duplicateAnswer_isDroppedAndTheNextRequestGetsItsOwn();
    void sync_fromManyThreads_eachGetsItsOwnAnswer();
    void sync_answersInReverseOrder_eachGetsItsOwnAnswer();
    void sync_fromTheMessageThread_works();
    void sync_whileTheHostCloses_returnsTwo();
    void sync_afterTheHostClosed_returnsTwo();
    void sync_presenterDisposedOfMeanwhile_returnsTwo();
    void syncBlock_wait_isAddedToTheTimeOut();

private:
    int send(const QString& type, QVariant& response, const QVariant& tag = {}) {
        return m_presenter->sendRequest_Sync(makeMessage(m_presenter, type, {{kTag, tag}}),
                                             response);
    }
    ScriptedLink& link() { return *m_platform->link; }

    std::unique_ptr<PlatformFixture> m_platform;
    ProbePresenter* m_presenter = nullptr;  // disposed of by the platform
};

void PresenterRequestTest::sync_answered_returnsZeroWithTheAnswer() {
    link().on(kType, ScriptedReply::rows({{{"a", 1}}, {{"a", 2}}}, {{System::totalSize, 2}}));
    QVariant response;
    QCOMPARE(send(kType, response), kAnswer);
    QCOMPARE(headerOf(response).value(System::requestExeStatus).toString(),
             Quindar_Values::RequestExeStatus::success);
    QCOMPARE(headerOf(response).value(System::totalSize), QVariant(2));
    QCOMPARE(rowsOf(response), (QList<QVariantMap>{{{"a", 1}}, {{"a", 2}}}));
    QCOMPARE(m_presenter->log->count(), 0);
}

void PresenterRequestTest::sync_refusedByTheServer_returnsZeroWithItsStatusAndText() {
    link().on(kType, ScriptedReply::refusal("not allowed", "77"));
    QVariant response;
    QCOMPARE(send(kType, response), kAnswer);
    QCOMPARE(headerOf(response).value(System::requestExeStatus), QVariant("77"));
    QCOMPARE(textOf(response), QString("not allowed"));
}

void PresenterRequestTest::sync_timedOutByTheLink_returnsOneWithAText() {
    link().on(kType, ScriptedReply::timeOut());
    QVariant response;
    QCOMPARE(send(kType, response), kTimeOut);
    QVERIFY(isPackedBody(response));
    QVERIFY2(textOf(response).contains("timed out"), qPrintable(textOf(response)));
}

void PresenterRequestTest::sync_noAnswerAtAll_returnsOneAfterTheStandingTimeOut() {
    link().on(kType, ScriptedReply::never());
    m_presenter->setRequestTimeOut(1);
    QElapsedTimer timer;
    timer.start();
    QVariant response;
    QCOMPARE(send(kType, response), kTimeOut);
    QVERIFY(timer.elapsed() >= 1000);
    QVERIFY2(textOf(response).contains("timed out"), qPrintable(textOf(response)));
    QCOMPARE(LocalPlatform::instance().pendingRequestCount(), 0);
}

void PresenterRequestTest::sync_failed_returnsTwoWithTheReason() {
    link().on(kType, ScriptedReply::failure("counter down"));
    QVariant response;
    QCOMPARE(send(kType, response), kFailure);
    QCOMPARE(textOf(response), QString("counter down"));
}

void PresenterRequestTest::sync_garbageAnswer_returnsTwo_data() {
    QTest::addColumn<QVariant>("body");
    QTest::newRow("text") << QVariant("garbage");
    QTest::newRow("nothing") << QVariant();
    QTest::newRow("empty list") << QVariant(QVariantList());
    QTest::newRow("list with a number") << QVariant(QVariantList{QVariantMap(), 5});
}

void PresenterRequestTest::sync_garbageAnswer_returnsTwo() {
    QFETCH(QVariant, body);
    link().on(kType, ScriptedReply::garbage(body));
    QVariant response;
    QCOMPARE(send(kType, response), kFailure);
    QVERIFY2(textOf(response).contains("garbage"), qPrintable(textOf(response)));
}

void PresenterRequestTest::sync_tradeGateLost_failsWhatIsUnderWayAndNamesTheGate() {
    link().on(kOtherType, ScriptedReply::never());
    link().on(kType, ScriptedReply::disconnect());
    QVariant waited;
    int waitedResult = -1;
    std::thread waiting([&] { waitedResult = send(kOtherType, waited); });
    QVERIFY(link().waitForRequestCount(kOtherType, 1));
    QVariant response;
    QCOMPARE(send(kType, response), kFailure);
    waiting.join();
    QCOMPARE(waitedResult, kFailure);
    for (const QVariant& body : {response, waited}) {
        QVERIFY2(textOf(body).contains(NetGateType::TradeGate), qPrintable(textOf(body)));
    }
}

void PresenterRequestTest::sync_otherGateLost_keepsWaiting() {
    link().on(kType, ScriptedReply::with(echo).held());
    QVariant response;
    int result = -1;
    std::thread waiting([&] { result = send(kType, response, "mine"); });
    QVERIFY(link().waitForRequestCount(kType, 1));
    link().gateState(NetGateType::InfoGate, NET_STATE::NOCONNECT);
    link().gateState(NetGateType::TradeGate, NET_STATE::CONNECTTING);
    QCOMPARE(link().release(), 1);
    waiting.join();
    QCOMPARE(result, kAnswer);
    QCOMPARE(tagOf(response), QVariant("mine"));
}

void PresenterRequestTest::sync_withoutALink_returnsTwo() {
    QVERIFY(LocalPlatform::instance().setLink(nullptr, nullptr));
    QVariant response;
    QCOMPARE(send(kType, response), kFailure);
    QVERIFY2(textOf(response).contains("no link"), qPrintable(textOf(response)));
}

void PresenterRequestTest::sync_linkRefusesRequests_returnsTwo() {
    link().refuseSends(true);
    QVariant response;
    QCOMPARE(send(kType, response), kFailure);
    QVERIFY2(textOf(response).contains(kType), qPrintable(textOf(response)));
    QCOMPARE(LocalPlatform::instance().pendingRequestCount(), 0);
}

void PresenterRequestTest::sync_linkReplaced_failsWhatIsUnderWay() {
    link().on(kType, ScriptedReply::never());
    QVariant response;
    int result = -1;
    std::thread waiting([&] { result = send(kType, response); });
    QVERIFY(link().waitForRequestCount(kType, 1));
    auto second = std::make_unique<ScriptedLink>();
    second->on(kType, echo);
    QVERIFY(LocalPlatform::instance().setLink(std::move(second), nullptr));
    waiting.join();
    QCOMPARE(result, kFailure);
    QVERIFY(!textOf(response).isEmpty());
    QCOMPARE(send(kType, response, "second"), kAnswer);
    QCOMPARE(tagOf(response), QVariant("second"));
}

void PresenterRequestTest::sync_nullMessage_returnsTwoWithAWarning() {
    const LogCapture log;
    QVariant response;
    QCOMPARE(m_presenter->sendRequest_Sync(nullptr, response), kFailure);
    QVERIFY(!textOf(response).isEmpty());
    QCOMPARE(log.texts(QtWarningMsg).size(), 1);
}

void PresenterRequestTest::sync_anyOutcome_takesTheMessageOver() {
    link().onOccurrence(kType, 1, ScriptedReply::rows({}));
    link().onOccurrence(kType, 2, ScriptedReply::timeOut());
    link().onOccurrence(kType, 3, ScriptedReply::failure("no"));
    QVariant response;
    for (const int expected : {kAnswer, kTimeOut, kFailure}) {
        auto* const message = new CountedMessage;
        message->SetType(kType);
        QCOMPARE(m_presenter->sendRequest_Sync(message, response), expected);
        QCOMPARE(CountedMessage::alive.load(), 0);
    }
    m_presenter->sendRequest_Async(new CountedMessage);
    QCOMPARE(CountedMessage::alive.load(), 0);
}

void PresenterRequestTest::sync_request_carriesSenderTypeBodyAndTimeOut() {
    link().on(kType, ScriptedReply::rows({}));
    m_presenter->setRequestTimeOut(30);
    QVariant response;
    QCOMPARE(send(kType, response, "t"), kAnswer);
    QCOMPARE(m_presenter->sendRequest_Async(makeMessage(m_presenter, kType)), 0);
    QVERIFY(link().waitForRequestCount(kType, 2));
    const QList<ScriptedLink::Request> requests = link().requests(kType);
    QCOMPARE(requests.at(0).sourceId, m_presenter->pluginPid());
    QCOMPARE(requests.at(0).header.value(kTag), QVariant("t"));
    QCOMPARE(requests.at(0).timeOutMs, 30000);
    QCOMPARE(requests.at(1).timeOutMs, 0);
    QVERIFY(requests.at(0).envelopeId != requests.at(1).envelopeId);
}

void PresenterRequestTest::sync_beforeInitPresenter_works() {
    link().on(kType, echo);
    auto* const presenter = new ProbePresenter;
    QVariant response;
    QCOMPARE(presenter->sendRequest_Sync(makeMessage(presenter, kType, {{kTag, 1}}), response),
             kAnswer);
    QCOMPARE(tagOf(response), QVariant(1));
}

void PresenterRequestTest::sync_lateAnswer_isDroppedAndTheNextRequestGetsItsOwn() {
    link().onOccurrence(kType, 1, ScriptedReply::with(echo).late());
    link().onOccurrence(kType, 2, ScriptedReply::with(echo));
    QVariant response;
    QCOMPARE(send(kType, response, "first"), kTimeOut);
    QCOMPARE(send(kType, response, "second"), kAnswer);
    QCOMPARE(tagOf(response), QVariant("second"));
    QCOMPARE(m_presenter->log->count(), 0);
}

void PresenterRequestTest::sync_duplicateAnswer_isDroppedAndTheNextRequestGetsItsOwn() {
    const LogCapture log;
    link().on(kType, ScriptedReply::with(echo).twice());
    QVariant response;
    for (int i = 0; i < 20; ++i) {
        QCOMPARE(send(kType, response, i), kAnswer);
        QCOMPARE(tagOf(response), QVariant(i));
    }
    QVERIFY(link().waitUntilIdle());
    QCOMPARE(m_presenter->log->count(), 0);
    const QStringList lines = log.texts(QtDebugMsg);
    QCOMPARE(std::count_if(lines.cbegin(), lines.cend(),
                           [](const QString& line) { return line.contains("duplicate"); }),
             20);
}

void PresenterRequestTest::sync_fromManyThreads_eachGetsItsOwnAnswer() {
    constexpr int kThreads = 8;
    constexpr int kEach = 50;
    link().on(kType, echo);
    std::atomic<int> right{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([this, t, &right] {
            for (int i = 0; i < kEach; ++i) {
                const int tag = t * kEach + i;
                QVariant response;
                right += send(kType, response, tag) == kAnswer && tagOf(response) == tag ? 1 : 0;
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    QCOMPARE(right.load(), kThreads * kEach);
    QCOMPARE(link().requestCount(kType), kThreads * kEach);
}

void PresenterRequestTest::sync_answersInReverseOrder_eachGetsItsOwnAnswer() {
    constexpr int kThreads = 6;
    link().on(kType, ScriptedReply::with(echo).held());
    QVariant responses[kThreads];
    int results[kThreads];
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back(
            [this, t, &responses, &results] { results[t] = send(kType, responses[t], t); });
    }
    QVERIFY(link().waitForRequestCount(kType, kThreads));
    QCOMPARE(LocalPlatform::instance().pendingRequestCount(), kThreads);
    QCOMPARE(link().releaseReversed(kType), kThreads);
    for (int t = 0; t < kThreads; ++t) {
        threads[t].join();
        QCOMPARE(results[t], kAnswer);
        QCOMPARE(tagOf(responses[t]), QVariant(t));
    }
}

void PresenterRequestTest::sync_fromTheMessageThread_works() {
    constexpr int kEvent = 5;
    link().on(kType, echo);
    ProbePresenter* presenter = nullptr;
    std::atomic<int> result{-1};
    presenter = new ProbePresenter("Test.Asking", [&](const ProbeLog::Call&) {
        QVariant response;
        result = presenter->sendRequest_Sync(makeMessage(presenter, kType), response);
    });
    presenter->SubEvent(presenter->pluginPid(), kEvent, 1);
    presenter->initPresenter();
    LocalPlatform::instance().publishEvent(kEvent, {});
    QVERIFY(waitFor([&] { return result == kAnswer; }));
    presenter->deleteLater();
}

void PresenterRequestTest::sync_whileTheHostCloses_returnsTwo() {
    link().on(kType, ScriptedReply::never());
    QVariant response;
    int result = -1;
    std::thread waiting([&] { result = send(kType, response); });
    QVERIFY(link().waitForRequestCount(kType, 1));
    LocalPlatform::instance().close();
    waiting.join();
    QCOMPARE(result, kFailure);
    QVERIFY2(textOf(response).contains("closing"), qPrintable(textOf(response)));
}

void PresenterRequestTest::sync_afterTheHostClosed_returnsTwo() {
    LocalPlatform::instance().close();
    auto* const presenter = new ProbePresenter;
    QVariant response;
    QCOMPARE(presenter->sendRequest_Sync(makeMessage(presenter, kType), response), kFailure);
    QVERIFY2(textOf(response).contains("closing"), qPrintable(textOf(response)));
    QCOMPARE(presenter->sendRequest_Async(makeMessage(presenter, kType)), kFailure);
    presenter->deleteLater();
}

void PresenterRequestTest::sync_presenterDisposedOfMeanwhile_returnsTwo() {
    link().on(kType, ScriptedReply::never());
    auto* const other = new ProbePresenter;
    QVariant response;
    int result = -1;
    QVariant kept;
    std::atomic<int> keptResult{-1};
    std::thread waiting(
        [&] { result = other->sendRequest_Sync(makeMessage(other, kType), response); });
    std::thread unaffected([&] { keptResult = send(kType, kept); });
    QVERIFY(link().waitForRequestCount(kType, 2));
    other->deleteLater();
    waiting.join();
    QCOMPARE(result, kFailure);
    QVERIFY2(textOf(response).contains("closing"), qPrintable(textOf(response)));
    QCOMPARE(LocalPlatform::instance().pendingRequestCount(), 1);
    QCOMPARE(keptResult.load(), -1);
    LocalPlatform::instance().close();
    unaffected.join();
}

void PresenterRequestTest::syncBlock_wait_isAddedToTheTimeOut() {
    link().on(kType, ScriptedReply::rows({}));
    m_presenter->setRequestTimeOut(3);
    QVariant response;
    for (const unsigned long wait : {0UL, 250UL}) {
        QCOMPARE(
            m_presenter->sendRequest_Sync_Block(makeMessage(m_presenter, kType), response, wait),
            kAnswer);
        QCOMPARE(link().lastRequest(kType).timeOutMs, 3000 + int(wait));
    }
}

void PresenterRequestTest::setLink_linkDoesNotStart_returnsTheReason() {
    auto broken = std::make_unique<ScriptedLink>();
    broken->failStart("no route");
    QString error;
    QVERIFY(!LocalPlatform::instance().setLink(std::move(broken), &error));
    QCOMPARE(error, QString("no route"));
    QVariant response;
    QCOMPARE(send(kType, response), kFailure);
}

QTEST_GUILESS_MAIN(PresenterRequestTest)
#include "presenter_request_test.moc"
