#include <QDir>
#include <QElapsedTimer>
#include <QFile>

#include "log_capture.h"
#include "platform_fixture.h"

namespace {

inline const QString kType = QStringLiteral("type.1");
inline const QString kOtherType = QStringLiteral("type.2");
constexpr int kFailure = 2;

/// The number of this process's threads that give requests up.
int deadlineThreads() {
    int count = 0;
    const QDir tasks(QStringLiteral("/proc/self/task"));
    for (const QString& task : tasks.entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
        QFile name(tasks.filePath(task + QStringLiteral("/comm")));
        count += name.open(QIODevice::ReadOnly) && name.readAll() == "deadlines\n" ? 1 : 0;
    }
    return count;
}

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
    void async_noOutcome_isGivenUpAtTheStandingTimeOut();
    void async_answeredInTime_isNotGivenUp();
    void async_noOutcomeAtClose_leavesNoThread();
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

void PresenterAsyncTest::async_noOutcome_isGivenUpAtTheStandingTimeOut() {
    link().on(kType, ScriptedReply::rows({}).held());
    link().on(kOtherType, ScriptedReply::rows({}));
    auto* const patient = new ProbePresenter;
    QCOMPARE(patient->sendRequest_Async(makeMessage(patient, kType)), 0);
    // The thread already waits for the later deadline when the earlier one is added.
    QVERIFY(waitFor([] { return deadlineThreads() == 1; }));
    m_presenter->setRequestTimeOut(1);
    const LogCapture log;
    QElapsedTimer timer;
    timer.start();
    QCOMPARE(sendAsync(kType, "lost"), 0);
    QVERIFY(log.waitFor("without an answer"));
    QVERIFY(timer.elapsed() >= 1000);
    QCOMPARE(log.texts(QtWarningMsg).size(), 1);
    QVERIFY2(log.texts(QtWarningMsg).first().contains("timed out"),
             qPrintable(log.texts(QtWarningMsg).first()));
    // The other presenter's time-out is ten seconds.
    QCOMPARE(LocalPlatform::instance().pendingRequestCount(), 1);
    // The answer is too late now; the next request must not get it.
    QCOMPARE(link().release(), 2);
    sendAsync(kOtherType, "next");
    QVERIFY(m_presenter->log->waitForCount(1));
    QCOMPARE(m_presenter->log->calls().front().clientMsgId, QString("next"));
    QVERIFY(waitFor([] { return LocalPlatform::instance().pendingRequestCount() == 0; }));
}

void PresenterAsyncTest::async_answeredInTime_isNotGivenUp() {
    link().on(kType, ScriptedReply::rows({}));
    link().on(kOtherType, ScriptedReply::never());
    m_presenter->setRequestTimeOut(1);
    const LogCapture log;
    sendAsync(kType, "answered");
    sendAsync(kOtherType, "lost");
    QVERIFY(m_presenter->log->waitForCount(1));
    // The second request is given up after the deadline of the first has passed.
    QVERIFY(log.waitFor(kOtherType));
    QCOMPARE(log.texts(QtWarningMsg).size(), 1);
    QVERIFY(!log.contains(kType));
    QVERIFY(!log.contains("late or duplicate"));
}

void PresenterAsyncTest::async_noOutcomeAtClose_leavesNoThread() {
    link().on(kType, ScriptedReply::never());
    QCOMPARE(sendAsync(kType, "lost"), 0);
    QVERIFY(waitFor([] { return deadlineThreads() == 1; }));
    const LogCapture log;
    m_platform.reset();
    QCOMPARE(LocalPlatform::instance().pendingRequestCount(), 0);
    QCOMPARE(log.texts(QtWarningMsg).size(), 1);
    // A thread that was joined may be listed for a moment longer.
    QVERIFY(waitFor([] { return deadlineThreads() == 0; }));
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
