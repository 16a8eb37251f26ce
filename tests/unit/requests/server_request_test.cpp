#include "server_request.h"

#include <QPointer>
#include <QtTest>
#include <memory>

#include "client_world.h"
#include "local_platform.h"
#include "log_capture.h"
#include "process_per_case.h"
#include "vocabulary/fields.h"
#include "vocabulary/values.h"
#include "wait_for.h"

namespace {

using Outcome = ServerReply::Outcome;

inline const QString kType = QStringLiteral("someRequest");
const QVariantMap kFields{{"a", "text"}, {"b", 7}};

ServerRequest numbered() {
    ServerRequest request{kType, kFields};
    request.answer = AnswerForm::Numbered;
    return request;
}

}  // namespace

/// A warning that repeats within a minute is left out, so each case has a process of its own.
class ServerRequestTest : public QObject {
    Q_OBJECT

private slots:
    void init() {
        m_world = std::make_unique<ClientWorld>();
        m_presenter = new RecordingPresenter;
        m_presenter->initPresenter();
        m_world->link().on(kType, ScriptedReply::rows({}));
    }
    void cleanup() {
        m_presenter->deleteLater();
        m_world.reset();
    }

    void request_carriesSourceTypeAndItsFieldsInTheHeader() {
        for (const SendKind kind : {SendKind::Sync, SendKind::SyncBlock}) {
            ServerRequest request{kType, kFields};
            request.send = kind;
            QVERIFY(sendToServer(m_presenter, request).isAnswered());
            const ScriptedLink::Request sent = m_world->link().lastRequest();
            QCOMPARE(sent.envelopeType, kType);
            QCOMPARE(sent.sourceId, m_presenter->pluginPid());
            QVariantMap expected = kFields;
            expected.insert(System::msgType, kType);
            QCOMPARE(sent.header, expected);
            QVERIFY(sent.rows.isEmpty());
        }
        QCOMPARE(m_world->link().requestCount(), 2);
    }

    void request_ownEnvelope_keepsTheBodysType() {
        ServerRequest request{kType, kFields};
        request.envelopeType = "325005";
        QVERIFY(sendToServer(m_presenter, request).isAnswered());
        QCOMPARE(m_world->link().lastRequest().envelopeType, QString("325005"));
        QCOMPARE(m_world->link().lastRequest().header.value(System::msgType).toString(), kType);
    }

    void request_rows_followTheHeaderWithTheirNumber() {
        ServerRequest request{kType, kFields};
        request.rows = {{{"row", 1}}, {{"row", 2}}};
        QVERIFY(sendToServer(m_presenter, request).isAnswered());
        QCOMPARE(m_world->link().lastRequest().header.value(System::subGroupNumber).toInt(), 2);
        QCOMPARE(m_world->link().lastRequest().rows, request.rows);
    }

    void request_ownTimeOut_holdsForThatSendOnly() {
        ServerRequest request{kType, kFields};
        const int standing = m_presenter->getRequestTimeOut();
        request.timeOutSeconds = 30;
        sendToServer(m_presenter, request);
        QCOMPARE(m_world->link().lastRequest().timeOutMs, 30000);
        QCOMPARE(m_presenter->getRequestTimeOut(), standing);
        sendToServer(m_presenter, {kType, kFields});
        QCOMPARE(m_world->link().lastRequest().timeOutMs, standing * 1000);
    }

    void answer_success_givesHeaderAndRows() {
        m_world->link().on(
            kType, ScriptedReply::rows({{{"x", 1}}, {{"x", 2}}}, {{System::textDescription, "done"},
                                                                  {System::totalSize, 9}}));
        const ServerReply reply = sendToServer(m_presenter, {kType, kFields});
        QCOMPARE(reply.outcome, Outcome::Answered);
        QCOMPARE(reply.code, 0);
        QCOMPARE(reply.status, RequestExeStatus::success);
        QCOMPARE(reply.text, QString("done"));
        QCOMPARE(reply.header.value(System::totalSize).toInt(), 9);
        QCOMPARE(reply.rows, (QList<QVariantMap>{{{"x", 1}}, {{"x", 2}}}));
    }

    void answer_rowCountBelowTheRowsHeld_givesThatManyRows() {
        m_world->link().on(
            kType, ScriptedReply::rows({{{"x", 1}}, {{"x", 2}}}, {{System::subGroupNumber, 1}}));
        QCOMPARE(sendToServer(m_presenter, {kType, kFields}).rows,
                 (QList<QVariantMap>{{{"x", 1}}}));
    }

    void answer_badRowCount_isAFailure_data() {
        QTest::addColumn<QVariant>("rowCount");
        QTest::addColumn<QString>("text");
        QTest::newRow("more than held") << QVariant(3) << "holds 1 rows, its row count is \"3\"";
        QTest::newRow("missing") << QVariant() << "holds 1 rows, its row count is missing";
        QTest::newRow("negative") << QVariant(-1) << "holds 1 rows, its row count is \"-1\"";
        QTest::newRow("no number") << QVariant("x") << "holds 1 rows, its row count is \"x\"";
        QTest::newRow("fraction") << QVariant(0.5) << "holds 1 rows, its row count is \"0.5\"";
        QTest::newRow("bool") << QVariant(true) << "holds 1 rows, its row count is \"true\"";
        QTest::newRow("beyond 32 bits")
            << QVariant(4294967297LL) << "holds 1 rows, its row count is \"4294967297\"";
    }
    void answer_badRowCount_isAFailure() {
        QFETCH(QVariant, rowCount);
        QFETCH(QString, text);
        m_world->link().on(kType,
                           ScriptedReply::rows({{{"x", 1}}}, {{System::subGroupNumber, rowCount}}));
        const LogCapture log;
        ServerRequest request{kType, kFields};
        ServerReply reply = sendToServer(m_presenter, request);
        QCOMPARE(reply.outcome, Outcome::Failed);
        QVERIFY(reply.rows.isEmpty());
        QVERIFY2(reply.text.contains(text) && reply.text.contains(kType), qPrintable(reply.text));
        QCOMPARE(log.texts(QtWarningMsg), QStringList{"request someRequest failed: " + reply.text});
        // For a caller who does not read the rows it is a success all the same.
        request.answer = AnswerForm::NamedStatus;
        reply = sendToServer(m_presenter, request);
        QCOMPARE(reply.outcome, Outcome::Answered);
        QVERIFY(reply.rows.isEmpty());
    }

    void answer_rowCountMissingWithoutRows_isASuccess() {
        m_world->link().on(kType, ScriptedReply::rows({}, {{System::subGroupNumber, QVariant()}}));
        QCOMPARE(sendToServer(m_presenter, {kType, kFields}).outcome, Outcome::Answered);
    }

    void answer_refusal_givesStatusAndText() {
        m_world->link().on(kType, ScriptedReply::refusal("不行", "7"));
        const LogCapture log;
        const ServerReply reply = sendToServer(m_presenter, {kType, kFields});
        QCOMPARE(log.texts(QtWarningMsg), QStringList{"request someRequest was refused: 不行"});
        QCOMPARE(reply.outcome, Outcome::Refused);
        QCOMPARE(reply.status, QString("7"));
        QCOMPARE(reply.text, QString("不行"));
        QVERIFY(reply.rows.isEmpty());
    }

    void answer_noPackedBody_isAFailureOfThePlatform() {
        m_world->link().on(kType, ScriptedReply::garbage());
        const ServerReply reply = sendToServer(m_presenter, {kType, kFields});
        QCOMPARE(reply.outcome, Outcome::Failed);
        QVERIFY(reply.text.contains(kType));
        QVERIFY(reply.rows.isEmpty());
    }

    void answer_emptyHeader_isARefusal() {
        m_world->link().on(kType, [](const QVariant&) { return packRows({}, {{{"x", 1}}}); });
        const ServerReply reply = sendToServer(m_presenter, {kType, kFields});
        QCOMPARE(reply.outcome, Outcome::Refused);
        QVERIFY(reply.text.isEmpty());
        QVERIFY(reply.rows.isEmpty());
    }

    void send_timeOut_isAnOutcomeOfItsOwn() {
        m_world->link().on(kType, ScriptedReply::timeOut());
        const LogCapture log;
        const ServerReply reply = sendToServer(m_presenter, {kType, kFields});
        QCOMPARE(log.texts(QtWarningMsg),
                 QStringList{"request someRequest timed out: no answer came in time"});
        QCOMPARE(reply.outcome, Outcome::TimedOut);
        QCOMPARE(reply.code, 1);
    }

    void send_failure_givesThePlatformsText() {
        m_world->link().on(kType, ScriptedReply::failure("线路断开"));
        const LogCapture log;
        const ServerReply reply = sendToServer(m_presenter, {kType, kFields});
        QCOMPARE(log.texts(QtWarningMsg), QStringList{"request someRequest failed: 线路断开"});
        QCOMPARE(reply.outcome, Outcome::Failed);
        QCOMPARE(reply.code, 2);
        QCOMPARE(reply.text, QString("线路断开"));
        QVERIFY(reply.rows.isEmpty());
    }

    void send_withoutPresenter_failsWithALogLine() {
        const LogCapture log;
        const ServerReply reply = sendToServer(nullptr, {kType, kFields});
        QCOMPARE(reply.outcome, Outcome::Failed);
        QVERIFY(reply.text.contains(kType));
        QVERIFY(!postToServer(nullptr, {"otherRequest", kFields}));
        QCOMPARE(log.texts(QtWarningMsg),
                 (QStringList{"request someRequest failed: " + reply.text,
                              "request otherRequest failed: otherRequest needs a presenter to be "
                              "sent"}));
        QCOMPARE(m_world->link().requestCount(), 0);
    }

    void numberedAnswer_success_isAnyZeroAndAllRows_data() {
        QTest::addColumn<QVariant>("status");
        QTest::newRow("number") << QVariant(0);
        QTest::newRow("text") << QVariant("0");
        QTest::newRow("none") << QVariant();
    }
    void numberedAnswer_success_isAnyZeroAndAllRows() {
        QFETCH(QVariant, status);
        m_world->link().on(kType, [status](const QVariant&) {
            QVariantMap header{{"58", "text of 58"}, {System::subGroupNumber, 0}};
            if (status.isValid()) {
                header.insert(System::requestExeStatus, status);
            }
            return packRows(header, {{{"x", 1}}, {{"x", 2}}});
        });
        const ServerReply reply = sendToServer(m_presenter, numbered());
        QCOMPARE(reply.outcome, Outcome::Answered);
        QCOMPARE(reply.text, QString("text of 58"));
        QCOMPARE(reply.rows.size(), 2);
    }

    void numberedAnswer_otherStatus_isARefusalWithItsNumber() {
        m_world->link().on(kType, ScriptedReply::rows({}, {{System::requestExeStatus, 5},
                                                           {"58", "numbered text"}}));
        ServerReply reply = sendToServer(m_presenter, numbered());
        QCOMPARE(reply.outcome, Outcome::Refused);
        QCOMPARE(reply.code, 5);
        QCOMPARE(reply.text, QString("numbered text"));
        m_world->link().on(kType, ScriptedReply::rows({}, {{System::requestExeStatus, "no"}}));
        reply = sendToServer(m_presenter, numbered());
        QCOMPARE(reply.outcome, Outcome::Refused);
        QCOMPARE(reply.code, -1);
    }

    void post_goesOutAndReturns() {
        m_world->link().on(kType, ScriptedReply::never());
        QVERIFY(postToServer(m_presenter, {kType, kFields}));
        QVERIFY(m_world->link().waitForRequestCount(kType, 1));
        QCOMPARE(m_world->link().lastRequest().header.value("b").toInt(), 7);
    }

    void post_notTaken_isFalseWithALogLine() {
        m_world->link().refuseSends(true);
        const LogCapture log;
        QVERIFY(!postToServer(m_presenter, {kType, kFields}));
        QCOMPARE(log.texts(QtWarningMsg),
                 QStringList{"request someRequest failed: the platform did not take it"});
    }

    void failure_repeated_isOneWarning() {
        m_world->link().on(kType, ScriptedReply::refusal("不行"));
        const LogCapture log;
        for (int i = 0; i < 5; ++i) {
            QCOMPARE(sendToServer(m_presenter, {kType, kFields}).outcome, Outcome::Refused);
        }
        QCOMPARE(log.texts(QtWarningMsg).size(), 1);
    }

    void response_refused_isLoggedUnderTheBodysType() {
        const LogCapture log;
        reportRefusedResponse("325005", packRows({{System::requestExeStatus, "7"},
                                                  {System::msgType, kType},
                                                  {System::textDescription, "不行"}},
                                                 {}));
        reportRefusedResponse("325005", packRows({{System::requestExeStatus, "8"}}, {}));
        QCOMPARE(log.texts(QtWarningMsg),
                 (QStringList{"request someRequest was refused: 不行",
                              "request 325005 was refused: no text, status \"8\""}));
    }

    void response_successOrWithoutStatus_isNotLogged() {
        const LogCapture log;
        const QVariant success = RequestExeStatus::success;
        reportRefusedResponse(kType, packRows({{System::requestExeStatus, success}}, {}));
        reportRefusedResponse(kType, packRows({{System::textDescription, "text"}}, {}));
        QVERIFY(log.texts(QtWarningMsg).isEmpty());
    }

private:
    std::unique_ptr<ClientWorld> m_world;
    QPointer<RecordingPresenter> m_presenter;
};

VELMAR_PROCESS_PER_CASE_MAIN(ServerRequestTest)
#include "server_request_test.moc"
