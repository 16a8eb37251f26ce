#include "data_query.h"

#include <QPointer>
#include <QtTest>
#include <memory>
#include <thread>

#include "client_world.h"
#include "log_capture.h"
#include "process_per_case.h"
#include "server_request.h"
#include "vocabulary/fields.h"
#include "vocabulary/values.h"

namespace {

using Outcome = ServerReply::Outcome;

inline const QString kType = QStringLiteral("someQuery");
const QVariantMap kFields{{"a", "text"}, {"b", 7}};

/// `count` rows with the numbers from `first` on.
QList<QVariantMap> numbered(int first, int count) {
    QList<QVariantMap> rows;
    for (int i = 0; i < count; ++i) {
        rows.append({{"n", first + i}});
    }
    return rows;
}

}  // namespace

/// A warning that repeats within a minute is left out, so each case has a process of its own.
class DataQueryTest : public QObject {
    Q_OBJECT

private slots:
    void init() {
        m_world = std::make_unique<ClientWorld>();
        m_presenter = new RecordingPresenter;
        m_presenter->initPresenter();
    }
    void cleanup() {
        m_presenter->deleteLater();
        m_world.reset();
    }

    void rows_success_areThoseOfTheAnswer() {
        m_world->link().on(kType, ScriptedReply::rows(numbered(1, 3)));
        const LogCapture log;
        const ServerReply reply = queryRows(m_presenter, kType, kFields);
        QCOMPARE(reply.outcome, Outcome::Answered);
        QCOMPARE(reply.status, RequestExeStatus::success);
        QCOMPARE(reply.rows, numbered(1, 3));
        QVERIFY(reply.text.isEmpty());
        QVariantMap expected = kFields;
        expected.insert(System::msgType, kType);
        QCOMPARE(m_world->link().lastRequest().header, expected);
        QVERIFY(log.texts(QtWarningMsg).isEmpty());
    }

    void rows_refused_areNoneWithOneWarning() {
        m_world->link().on(kType, ScriptedReply::refusal("不行", "7"));
        const LogCapture log;
        const ServerReply reply = queryRows(m_presenter, kType, kFields);
        QCOMPARE(reply.outcome, Outcome::Refused);
        QCOMPARE(reply.status, QString("7"));
        QCOMPARE(reply.text, QString("不行"));
        QVERIFY(reply.rows.isEmpty());
        QCOMPARE(log.texts(QtWarningMsg), QStringList{"request someQuery was refused: 不行"});
    }

    void rows_timedOut_areNoneWithOneWarning() {
        m_world->link().on(kType, ScriptedReply::timeOut());
        const LogCapture log;
        const ServerReply reply = queryRows(m_presenter, kType, kFields);
        QCOMPARE(reply.outcome, Outcome::TimedOut);
        QCOMPARE(log.texts(QtWarningMsg),
                 QStringList{"request someQuery timed out: no answer came in time"});
    }

    void rows_platformFailed_areNoneWithOneWarning() {
        m_world->link().on(kType, ScriptedReply::failure("线路断开"));
        const LogCapture log;
        const ServerReply reply = queryRows(m_presenter, kType, kFields);
        QCOMPARE(reply.outcome, Outcome::Failed);
        QCOMPARE(reply.text, QString("线路断开"));
        QCOMPARE(log.texts(QtWarningMsg), QStringList{"request someQuery failed: 线路断开"});
    }

    void rows_rowCountMissing_isAFailureWithOneWarning() {
        m_world->link().on(
            kType, ScriptedReply::rows(numbered(1, 1), {{System::subGroupNumber, QVariant()}}));
        const LogCapture log;
        const ServerReply reply = queryRows(m_presenter, kType, kFields);
        QCOMPARE(reply.outcome, Outcome::Failed);
        QVERIFY(reply.rows.isEmpty());
        QVERIFY(!reply.text.isEmpty());
        QCOMPARE(log.texts(QtWarningMsg), QStringList{"request someQuery failed: " + reply.text});
    }

    void rows_withoutPresenter_areNoneWithOneWarning() {
        const LogCapture log;
        const ServerReply reply = queryRows(nullptr, kType, kFields);
        QCOMPARE(reply.outcome, Outcome::Failed);
        QVERIFY2(reply.text.contains(kType), qPrintable(reply.text));
        QCOMPARE(log.texts(QtWarningMsg).size(), 1);
    }

    void pages_moreThanOne_areCollected() {
        m_world->link().on(kType,
                           ScriptedReply::rows(numbered(1001, 5), {{System::totalSize, 1005}}));
        m_world->link().onOccurrence(
            kType, 1, ScriptedReply::rows(numbered(1, 1000), {{System::totalSize, 1005}}));
        const ServerReply reply = queryPages(m_presenter, kType, kFields, 30000);
        QCOMPARE(reply.outcome, Outcome::Answered);
        QCOMPARE(reply.rows, numbered(1, 1005));
        const QList<ScriptedLink::Request> requests = m_world->link().requests(kType);
        QCOMPARE(requests.size(), 2);
        QCOMPARE(requests.first().header.value(System::pageNo).toInt(), 1);
        QCOMPARE(requests.first().header.value(System::pageSize).toInt(), 1000);
        QCOMPARE(requests.first().timeOutMs, 30000);
        QCOMPARE(requests.last().header.value(System::pageNo).toInt(), 2);
    }

    void pages_oneRefused_areNoneWithOneWarning() {
        m_world->link().on(kType, ScriptedReply::refusal("不行"));
        m_world->link().onOccurrence(
            kType, 1, ScriptedReply::rows(numbered(1, 1000), {{System::totalSize, 1005}}));
        const LogCapture log;
        const ServerReply reply = queryPages(m_presenter, kType, kFields);
        QCOMPARE(reply.outcome, Outcome::Failed);
        QCOMPARE(reply.text, QString("不行"));
        QVERIFY(reply.rows.isEmpty());
        QCOMPARE(log.texts(QtWarningMsg), QStringList{"request someQuery failed: 不行"});
    }

    void pages_listThatDoesNotEnd_isAFailureWithOneWarning() {
        m_world->link().on(kType, ScriptedReply::rows(numbered(1, 1000)));
        const LogCapture log;
        const ServerReply reply = queryPages(m_presenter, kType, kFields);
        QCOMPARE(reply.outcome, Outcome::Failed);
        QVERIFY(reply.rows.isEmpty());
        QCOMPARE(log.texts(QtWarningMsg), QStringList{"request someQuery failed: " + reply.text});
    }

    void pages_withATimeOut_isNotTheStandingOneOfAnotherRequest() {
        m_presenter->setRequestTimeOut(7);
        m_world->link().on(kType, ScriptedReply::rows({}).held());
        std::thread pages([this] { queryPages(m_presenter, kType, kFields, 30000); });
        const bool isSent = m_world->link().waitForRequestCount(kType, 1);
        ServerRequest request{"anotherRequest", kFields};
        request.timeOutSeconds = 20;
        sendToServer(m_presenter, request);
        m_world->link().release(kType);
        pages.join();
        QVERIFY(isSent);
        QCOMPARE(m_presenter->getRequestTimeOut(), 7);
    }

    void positions_moreThanOne_areFollowedFromTheStart() {
        m_world->link().on(kType, ScriptedReply::rows(numbered(1001, 2)));
        m_world->link().onOccurrence(
            kType, 1, ScriptedReply::rows(numbered(1, 1000), {{System::positionStr, "p2"}}));
        const ServerReply reply = queryPositions(m_presenter, kType, kFields, "p1");
        QCOMPARE(reply.outcome, Outcome::Answered);
        QCOMPARE(reply.rows, numbered(1, 1002));
        const QList<ScriptedLink::Request> requests = m_world->link().requests(kType);
        QCOMPARE(requests.size(), 2);
        QCOMPARE(requests.first().header.value(System::positionStr).toString(), QString("p1"));
        QCOMPARE(requests.first().header.value(System::requestNumber).toInt(), 1000);
        QCOMPARE(requests.last().header.value(System::positionStr).toString(), QString("p2"));
    }

    void positions_refused_areNoneWithOneWarning() {
        m_world->link().on(kType, ScriptedReply::refusal("不行"));
        const LogCapture log;
        const ServerReply reply = queryPositions(m_presenter, kType, kFields, {});
        QCOMPARE(reply.outcome, Outcome::Failed);
        QCOMPARE(log.texts(QtWarningMsg), QStringList{"request someQuery failed: 不行"});
    }

private:
    std::unique_ptr<ClientWorld> m_world;
    QPointer<RecordingPresenter> m_presenter;
};

VELMAR_PROCESS_PER_CASE_MAIN(DataQueryTest)
#include "data_query_test.moc"
