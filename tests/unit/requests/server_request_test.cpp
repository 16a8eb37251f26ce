#include "server_request.h"

#include <QPointer>
#include <QtTest>
#include <memory>

#include "client_world.h"
#include "local_platform.h"
#include "log_capture.h"
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

    void request_ownEnvelope_leavesTheBodysType() {
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

    void request_ownTimeOut_standsForThatSendAlone() {
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

    void answer_fewerRowsToldThanHeld_givesThoseTold() {
        m_world->link().on(
            kType, ScriptedReply::rows({{{"x", 1}}, {{"x", 2}}}, {{System::subGroupNumber, 1}}));
        QCOMPARE(sendToServer(m_presenter, {kType, kFields}).rows,
                 (QList<QVariantMap>{{{"x", 1}}}));
    }

    void answer_numberOfRowsThatIsNone_isAFailure_data() {
        QTest::addColumn<QVariant>("told");
        QTest::addColumn<QString>("text");
        QTest::newRow("more than held") << QVariant(3) << "tells of \"3\" rows and holds 1";
        QTest::newRow("missing") << QVariant() << "tells of \"\" rows and holds 1";
        QTest::newRow("negative") << QVariant(-1) << "tells of \"-1\" rows and holds 1";
        QTest::newRow("no number") << QVariant("x") << "tells of \"x\" rows and holds 1";
    }
    void answer_numberOfRowsThatIsNone_isAFailure() {
        QFETCH(QVariant, told);
        QFETCH(QString, text);
        m_world->link().on(kType,
                           ScriptedReply::rows({{{"x", 1}}}, {{System::subGroupNumber, told}}));
        const LogCapture log;
        ServerRequest request{kType, kFields};
        ServerReply reply = sendToServer(m_presenter, request);
        QCOMPARE(reply.outcome, Outcome::Failed);
        QVERIFY(reply.rows.isEmpty());
        QVERIFY2(reply.text.contains(text) && reply.text.contains(kType), qPrintable(reply.text));
        QCOMPARE(log.count(QtWarningMsg, reply.text), 1);
        // Who does not read the rows is told of the success all the same.
        request.answer = AnswerForm::NamedStatus;
        reply = sendToServer(m_presenter, request);
        QCOMPARE(reply.outcome, Outcome::Answered);
        QVERIFY(reply.rows.isEmpty());
    }

    void answer_numberOfRowsMissingBesideNoRow_isNone() {
        m_world->link().on(kType, ScriptedReply::rows({}, {{System::subGroupNumber, QVariant()}}));
        QCOMPARE(sendToServer(m_presenter, {kType, kFields}).outcome, Outcome::Answered);
    }

    void answer_refusal_givesStatusAndText() {
        m_world->link().on(kType, ScriptedReply::refusal("不行", "7"));
        const ServerReply reply = sendToServer(m_presenter, {kType, kFields});
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

    void send_timeOut_isToldApart() {
        m_world->link().on(kType, ScriptedReply::timeOut());
        const ServerReply reply = sendToServer(m_presenter, {kType, kFields});
        QCOMPARE(reply.outcome, Outcome::TimedOut);
        QCOMPARE(reply.code, 1);
    }

    void send_failure_givesThePlatformsText() {
        m_world->link().on(kType, ScriptedReply::failure("线路断开"));
        const ServerReply reply = sendToServer(m_presenter, {kType, kFields});
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
        QCOMPARE(log.count(QtWarningMsg, reply.text), 1);
        QVERIFY(!postToServer(nullptr, {kType, kFields}));
        QCOMPARE(log.count(QtWarningMsg, reply.text), 2);
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
        QVERIFY(log.contains(QtWarningMsg, "someRequest was not taken for sending"));
    }

private:
    std::unique_ptr<ClientWorld> m_world;
    QPointer<RecordingPresenter> m_presenter;
};

QTEST_GUILESS_MAIN(ServerRequestTest)
#include "server_request_test.moc"
