#include "log_capture.h"
#include "platform_fixture.h"
#include "vocabulary/net_state.h"
#include "vocabulary/values.h"

namespace {

inline const QString kType = QStringLiteral("type.1");
inline const QString kOtherType = QStringLiteral("type.2");
constexpr int kFailure = 2;

inline const QString kSharedEnvelope = QStringLiteral("325005");
constexpr int kTimeOut = 1;

}  // namespace

class PresenterAsyncTest : public QObject {
    Q_OBJECT

private slots:
    void init() {
        m_platform = std::make_unique<PlatformFixture>();
        m_presenter = new ProbePresenter;
        m_presenter->initPresenter();
    }
    void cleanup() { m_platform.reset(); }

    void async_answered_reachesProcResponseMsgWithTheRequestsId();
    void async_twoRequests_areDistinguishedByTheirIds();
    void async_noOutcome_returnsWithoutWaiting();
    void async_answeredAfterTheStandingTimeOut_isDelivered();
    void async_noOutcomeAtClose_endsWithOneLine();
    void async_noOutcomeAtItsPresentersEnd_endsAlone();
    void async_manyWithoutAnswer_areLoggedTogether();
    void async_gateDisconnected_endsThoseOfTheGate_data();
    void async_gateDisconnected_endsThoseOfTheGate();
    void async_aboveTheBound_isRefusedWithOneLine();
    void async_boundReached_leavesSynchronousRequestsAlone();
    void async_withoutAnswer_deliversNothingAndLogsOneLine_data();
    void async_withoutAnswer_deliversNothingAndLogsOneLine();
    void async_cannotBeHandedOver_returnsTwo();
    void async_nullMessage_returnsTwoWithAWarning();
    void timeOut_standing_isTenSecondsAtFirst();
    void timeOut_set_isKeptPerPresenter();
    void timeOut_belowOne_isRefusedWithAWarning_data();
    void timeOut_belowOne_isRefusedWithAWarning();
    void pendingRequestCount_followsRequests();

private:
    int sendAsync(const QString& type, const QString& clientMsgId) {
        return m_presenter->sendRequest_Async(
            makeMessage(m_presenter, type, {{System::clientMsgID, clientMsgId}}));
    }
    ScriptedLink& link() { return *m_platform->link; }

    std::unique_ptr<PlatformFixture> m_platform;
    ProbePresenter* m_presenter = nullptr;  // disposed of by the platform
};

void PresenterAsyncTest::async_answered_reachesProcResponseMsgWithTheRequestsId() {
    link().on(kType, ScriptedReply::rows({{{"a", 1}}}));
    QCOMPARE(sendAsync(kType, "id-1"), 0);
    QVERIFY(m_presenter->log->waitForCount(1));
    const ProbeLog::Call call = m_presenter->log->calls().front();
    QCOMPARE(call.kind, ProbeLog::Kind::Response);
    QCOMPARE(call.first, m_presenter->pluginPid());
    QCOMPARE(call.clientMsgId, QString("id-1"));
    QCOMPARE(call.type, QVariant(kType));
    QCOMPARE(rowsOf(call.body), (QList<QVariantMap>{{{"a", 1}}}));
    QVERIFY(call.thread != std::this_thread::get_id());
}

void PresenterAsyncTest::async_twoRequests_areDistinguishedByTheirIds() {
    link().on(kType, ScriptedReply::rows({}).held());
    sendAsync(kType, "id-1");
    sendAsync(kType, "id-2");
    QCOMPARE(link().releaseReversed(), 2);
    QVERIFY(m_presenter->log->waitForCount(2));
    QCOMPARE(m_presenter->log->calls().at(0).clientMsgId, QString("id-2"));
    QCOMPARE(m_presenter->log->calls().at(1).clientMsgId, QString("id-1"));
}

void PresenterAsyncTest::async_noOutcome_returnsWithoutWaiting() {
    link().on(kType, ScriptedReply::never());
    QCOMPARE(sendAsync(kType, "id"), 0);
    QCOMPARE(LocalPlatform::instance().pendingRequestCount(), 1);
    QCOMPARE(m_presenter->log->count(), 0);
}

void PresenterAsyncTest::async_answeredAfterTheStandingTimeOut_isDelivered() {
    link().on(kType, ScriptedReply::rows({}).held());
    link().on(kOtherType, ScriptedReply::never());
    m_presenter->setRequestTimeOut(1);
    QCOMPARE(sendAsync(kType, "slow"), 0);
    // A synchronous request with the same time-out, sent later, is over.
    QVariant response;
    QCOMPARE(m_presenter->sendRequest_Sync(makeMessage(m_presenter, kOtherType), response),
             kTimeOut);
    QCOMPARE(LocalPlatform::instance().pendingRequestCount(), 1);
    QCOMPARE(link().release(kType), 1);
    QVERIFY(m_presenter->log->waitForCount(1));
    QCOMPARE(m_presenter->log->calls().front().clientMsgId, QString("slow"));
    QCOMPARE(LocalPlatform::instance().pendingRequestCount(), 0);
}

void PresenterAsyncTest::async_noOutcomeAtClose_endsWithOneLine() {
    link().on(kType, ScriptedReply::never());
    QCOMPARE(sendAsync(kType, "lost"), 0);
    const LogCapture log;
    LocalPlatform::instance().close();
    QCOMPARE(LocalPlatform::instance().pendingRequestCount(), 0);
    QCOMPARE(log.texts(QtWarningMsg).size(), 1);
    QVERIFY2(log.texts(QtWarningMsg).first().contains("closing"),
             qPrintable(log.texts(QtWarningMsg).first()));
}

void PresenterAsyncTest::async_noOutcomeAtItsPresentersEnd_endsAlone() {
    link().on(kType, ScriptedReply::never());
    auto* const other = new ProbePresenter;
    QCOMPARE(other->sendRequest_Async(makeMessage(other, kType)), 0);
    QCOMPARE(sendAsync(kType, "kept"), 0);
    other->deleteLater();
    QCOMPARE(LocalPlatform::instance().pendingRequestCount(), 1);
}

void PresenterAsyncTest::async_manyWithoutAnswer_areLoggedTogether() {
    constexpr int kRequests = 250;
    constexpr int kLines = 101;  // a hundred of their own and one for the rest
    link().on(kType, ScriptedReply::never());
    for (int i = 0; i < kRequests; ++i) {
        QCOMPARE(sendAsync(kType, QString::number(i)), 0);
    }
    const LogCapture log;
    link().gateState(NetGateType::TradeGate, NET_STATE::NOCONNECT);
    QVERIFY(log.waitFor("150 more asynchronous requests without an answer"));
    QCOMPARE(log.texts(QtWarningMsg).size(), kLines);
    QCOMPARE(LocalPlatform::instance().pendingRequestCount(), 0);
}

void PresenterAsyncTest::async_gateDisconnected_endsThoseOfTheGate_data() {
    QTest::addColumn<QString>("gate");
    QTest::addColumn<int>("left");
    QTest::newRow("trade") << NetGateType::TradeGate << 0;
    QTest::newRow("info") << NetGateType::InfoGate << 1;
    QTest::newRow("market") << NetGateType::MarketTcpGate << 2;
}

void PresenterAsyncTest::async_gateDisconnected_endsThoseOfTheGate() {
    QFETCH(QString, gate);
    QFETCH(int, left);
    link().on(kType, ScriptedReply::rows({}).held());
    QCOMPARE(sendAsync(kType, "trade"), 0);
    CMessageCommon* const shared = makeMessage(m_presenter, kType, {{System::clientMsgID, "info"}});
    shared->SetType(kSharedEnvelope);
    QCOMPARE(m_presenter->sendRequest_Async(shared), 0);
    link().gateState(gate, NET_STATE::NOCONNECT);
    QVERIFY(link().waitUntilIdle());
    QCOMPARE(LocalPlatform::instance().pendingRequestCount(), left);
    // Too late for those that have ended.
    QCOMPARE(link().release(), 2);
    QVERIFY(m_presenter->log->waitForCount(left));
    QVERIFY(link().waitUntilIdle());
    QCOMPARE(m_presenter->log->count(), left);
    QCOMPARE(LocalPlatform::instance().pendingRequestCount(), 0);
}

void PresenterAsyncTest::async_aboveTheBound_isRefusedWithOneLine() {
    constexpr int kMost = 4;
    m_platform.reset();
    m_platform = std::make_unique<PlatformFixture>(
        [](LocalPlatform::Options& options) { options.mostAsyncRequests = kMost; });
    m_presenter = new ProbePresenter;
    m_presenter->initPresenter();
    link().on(kType, ScriptedReply::rows({}).held());
    const LogCapture log;
    for (int i = 0; i < kMost; ++i) {
        QCOMPARE(sendAsync(kType, QString::number(i)), 0);
    }
    QVERIFY(log.texts(QtWarningMsg).isEmpty());
    for (int i = 0; i < 3; ++i) {
        QCOMPARE(sendAsync(kType, "refused"), kFailure);
    }
    QCOMPARE(log.texts(QtWarningMsg).size(), 1);
    QVERIFY2(log.texts(QtWarningMsg).first().contains("asynchronous requests are refused"),
             qPrintable(log.texts(QtWarningMsg).first()));
    QCOMPARE(link().requestCount(kType), kMost);
    QCOMPARE(LocalPlatform::instance().pendingRequestCount(), kMost);
    // The first ones end, and others may follow; the next refusal is logged anew.
    QCOMPARE(link().release(), kMost);
    QVERIFY(m_presenter->log->waitForCount(kMost));
    for (int i = 0; i < kMost; ++i) {
        QCOMPARE(sendAsync(kType, QString::number(i)), 0);
    }
    QCOMPARE(sendAsync(kType, "refused"), kFailure);
    QCOMPARE(log.texts(QtWarningMsg).size(), 2);
}

void PresenterAsyncTest::async_boundReached_leavesSynchronousRequestsAlone() {
    m_platform.reset();
    m_platform = std::make_unique<PlatformFixture>(
        [](LocalPlatform::Options& options) { options.mostAsyncRequests = 1; });
    m_presenter = new ProbePresenter;
    link().on(kType, ScriptedReply::never());
    link().on(kOtherType, ScriptedReply::rows({}));
    QCOMPARE(sendAsync(kType, "first"), 0);
    QCOMPARE(sendAsync(kType, "second"), kFailure);
    QVariant response;
    QCOMPARE(m_presenter->sendRequest_Sync(makeMessage(m_presenter, kOtherType), response), 0);
}

void PresenterAsyncTest::async_withoutAnswer_deliversNothingAndLogsOneLine_data() {
    QTest::addColumn<int>("outcome");
    QTest::newRow("failure") << 0;
    QTest::newRow("time-out") << 1;
    QTest::newRow("garbage") << 2;
    QTest::newRow("disconnect") << 3;
}

void PresenterAsyncTest::async_withoutAnswer_deliversNothingAndLogsOneLine() {
    QFETCH(int, outcome);
    const ScriptedReply replies[] = {ScriptedReply::failure("down"), ScriptedReply::timeOut(),
                                     ScriptedReply::garbage(), ScriptedReply::disconnect()};
    link().on(kType, replies[outcome]);
    link().on(kOtherType, ScriptedReply::rows({}));
    const LogCapture log;
    sendAsync(kType, "lost");
    QVERIFY(log.waitFor(kType));
    QCOMPARE(log.texts(QtWarningMsg).size(), 1);
    sendAsync(kOtherType, "next");
    QVERIFY(m_presenter->log->waitForCount(1));
    QCOMPARE(m_presenter->log->calls().front().clientMsgId, QString("next"));
}

void PresenterAsyncTest::async_cannotBeHandedOver_returnsTwo() {
    link().refuseSends(true);
    const LogCapture log;
    QCOMPARE(sendAsync(kType, "id"), kFailure);
    QVERIFY(log.contains(QtDebugMsg, "not sent"));
    QVERIFY(log.texts(QtWarningMsg).isEmpty());
    QCOMPARE(LocalPlatform::instance().pendingRequestCount(), 0);
}

void PresenterAsyncTest::async_nullMessage_returnsTwoWithAWarning() {
    const LogCapture log;
    QCOMPARE(m_presenter->sendRequest_Async(nullptr), kFailure);
    QCOMPARE(log.texts(QtWarningMsg).size(), 1);
}

void PresenterAsyncTest::timeOut_standing_isTenSecondsAtFirst() {
    QCOMPARE(m_presenter->getRequestTimeOut(), 10);
    link().on(kType, ScriptedReply::rows({}));
    QVariant response;
    m_presenter->sendRequest_Sync(makeMessage(m_presenter, kType), response);
    QCOMPARE(link().lastRequest(kType).timeOutMs, 10000);
}

void PresenterAsyncTest::timeOut_set_isKeptPerPresenter() {
    auto* const other = new ProbePresenter;
    m_presenter->setRequestTimeOut(30);
    QCOMPARE(m_presenter->getRequestTimeOut(), 30);
    QCOMPARE(other->getRequestTimeOut(), 10);
}

void PresenterAsyncTest::timeOut_belowOne_isRefusedWithAWarning_data() {
    QTest::addColumn<int>("seconds");
    QTest::newRow("zero") << 0;
    QTest::newRow("negative") << -5;
}

void PresenterAsyncTest::timeOut_belowOne_isRefusedWithAWarning() {
    QFETCH(int, seconds);
    m_presenter->setRequestTimeOut(7);
    const LogCapture log;
    m_presenter->setRequestTimeOut(seconds);
    QCOMPARE(m_presenter->getRequestTimeOut(), 7);
    QCOMPARE(log.texts(QtWarningMsg).size(), 1);
}

void PresenterAsyncTest::pendingRequestCount_followsRequests() {
    QCOMPARE(LocalPlatform::instance().pendingRequestCount(), 0);
    link().on(kType, ScriptedReply::rows({}).held());
    sendAsync(kType, "id-1");
    sendAsync(kType, "id-2");
    QCOMPARE(LocalPlatform::instance().pendingRequestCount(), 2);
    link().release();
    QVERIFY(waitFor([] { return LocalPlatform::instance().pendingRequestCount() == 0; }));
}

QTEST_GUILESS_MAIN(PresenterAsyncTest)
#include "presenter_async_test.moc"
