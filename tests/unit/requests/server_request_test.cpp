#include "server_request.h"

#include <QPointer>
#include <QtTest>
#include <memory>
#include <thread>

#include "client_world.h"
#include "local_platform.h"
#include "log_capture.h"
#include "presenter_time_out.h"
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

ServerRequest anyStatus() {
    ServerRequest request{kType, kFields};
    request.answer = AnswerForm::NamedAnyStatus;
    return request;
}

ServerRequest rowsAlone() {
    ServerRequest request{kType, kFields};
    request.answer = AnswerForm::RowsAlone;
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

    void request_identified_hasItsIdOnTheHeaderBeforeItIsSent() {
        QStringList ids;
        QList<int> sentBefore;
        ServerRequest request{kType, kFields};
        request.rows = {{{"row", 1}}};
        request.identified = [&](const QString& clientMsgId) {
            ids.append(clientMsgId);
            sentBefore.append(m_world->link().requestCount());
        };
        QVERIFY(sendToServer(m_presenter, request).isAnswered());
        QVERIFY(postToServer(m_presenter, request));
        QVERIFY(m_world->link().waitForRequestCount(kType, 2));
        QCOMPARE(ids.size(), 2);
        QCOMPARE(sentBefore, (QList<int>{0, 1}));
        QVERIFY(!ids.at(0).isEmpty() && ids.at(0) != ids.at(1));
        const QList<ScriptedLink::Request> sent = m_world->link().requests(kType);
        for (int i = 0; i < sent.size(); ++i) {
            QCOMPARE(sent.at(i).header.value(System::clientMsgID).toString(), ids.at(i));
            QCOMPARE(sent.at(i).rows, request.rows);
        }
    }

    void request_notIdentified_hasNoId() {
        QVERIFY(sendToServer(m_presenter, {kType, kFields}).isAnswered());
        QVERIFY(!m_world->link().lastRequest().header.contains(System::clientMsgID));
    }

    void request_identifiedWithoutAPresenter_isNotIdentified() {
        int calls = 0;
        ServerRequest request{kType, kFields};
        request.identified = [&calls](const QString&) { ++calls; };
        QVERIFY(!postToServer(nullptr, request));
        QCOMPARE(calls, 0);
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

    void request_ownTimeOuts_atOnce_leaveTheStandingOneBehind() {
        const int standing = m_presenter->getRequestTimeOut();
        m_world->link().on(kType, ScriptedReply::rows({}).held());
        ServerRequest request{kType, kFields};
        request.timeOutSeconds = 30;
        std::thread first([&] { sendToServer(m_presenter, request); });
        const bool firstSent = m_world->link().waitForRequestCount(kType, 1);
        std::thread second([&] { sendToServer(m_presenter, request); });
        const bool secondSent = m_world->link().waitForRequestCount(kType, 2);
        const int both = m_presenter->getRequestTimeOut();
        m_world->link().release(kType);
        first.join();
        second.join();
        QVERIFY(firstSent && secondSent);
        QCOMPARE(both, 30);
        QCOMPARE(m_presenter->getRequestTimeOut(), standing);
    }

    void timeOuts_inAnyOrder_theLastOneRestores() {
        m_presenter->setRequestTimeOut(7);
        auto first = std::make_unique<PresenterTimeOut>(*m_presenter, 30);
        auto second = std::make_unique<PresenterTimeOut>(*m_presenter, 20);
        QCOMPARE(m_presenter->getRequestTimeOut(), 20);
        first.reset();
        QCOMPARE(m_presenter->getRequestTimeOut(), 20);
        second.reset();
        QCOMPARE(m_presenter->getRequestTimeOut(), 7);
        // The next one saves anew.
        m_presenter->setRequestTimeOut(8);
        const auto third = std::make_unique<PresenterTimeOut>(*m_presenter, 30);
        QCOMPARE(m_presenter->getRequestTimeOut(), 30);
        const PresenterTimeOut none(*m_presenter, 0);
        QCOMPARE(m_presenter->getRequestTimeOut(), 30);
    }

    void request_typeAmongTheFields_isNotSent() {
        ServerRequest request{kType, kFields};
        request.fields.insert(System::msgType, "another");
        QVERIFY(sendToServer(m_presenter, request).isAnswered());
        QCOMPARE(m_world->link().lastRequest().header.value(System::msgType).toString(), kType);
    }

    void request_withoutWarnings_logsItsFailureAtDebugLevel() {
        m_world->link().on(kType, ScriptedReply::refusal("no"));
        ServerRequest request{kType, kFields};
        request.warns = false;
        const LogCapture log;
        QCOMPARE(sendToServer(m_presenter, request).outcome, Outcome::Refused);
        QVERIFY(log.texts(QtWarningMsg).isEmpty());
        QCOMPARE(log.count(QtDebugMsg, "request someRequest did not succeed: no"), 1);
    }

    void judge_codeAndBody_decideTheOutcome_data() {
        QTest::addColumn<int>("code");
        QTest::addColumn<QVariant>("body");
        QTest::addColumn<int>("outcome");
        QTest::addColumn<QString>("text");
        const QVariant answer = packRows({{System::requestExeStatus, RequestExeStatus::success},
                                          {System::textDescription, "done"}},
                                         {{{"x", 1}}});
        const QVariant refusal =
            packRows({{System::requestExeStatus, "1"}, {System::textDescription, "no"}}, {});
        QTest::newRow("answer") << 0 << answer << int(Outcome::Answered) << "done";
        QTest::newRow("refusal") << 0 << refusal << int(Outcome::Refused) << "no";
        QTest::newRow("nothing") << 0 << QVariant() << int(Outcome::Refused) << "";
        QTest::newRow("time-out") << 1 << QVariant() << int(Outcome::TimedOut) << "";
        QTest::newRow("time-out with a text") << 1 << refusal << int(Outcome::TimedOut) << "no";
        QTest::newRow("failure") << 2 << refusal << int(Outcome::Failed) << "no";
        QTest::newRow("-1") << -1 << QVariant() << int(Outcome::Failed) << "";
        QTest::newRow("-1 with an answer") << -1 << answer << int(Outcome::Failed) << "done";
    }
    void judge_codeAndBody_decideTheOutcome() {
        QFETCH(int, code);
        QFETCH(QVariant, body);
        QFETCH(int, outcome);
        QFETCH(QString, text);
        const LogCapture log;
        const ServerReply reply = judgeAnswer({kType, kFields}, code, body);
        QCOMPARE(int(reply.outcome), outcome);
        QCOMPARE(reply.code, code);
        QCOMPARE(reply.text, text);
        QCOMPARE(reply.rows.size(), reply.isAnswered() ? 1 : 0);
        for (const LogCapture::Line& line : log.lines()) {
            QVERIFY(line.category != QLatin1String("velmar.requests"));
        }
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
        QCOMPARE(reply.code, 2);
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

    void anyStatusAnswer_everyRowIsRead_whateverTheRestSays_data() {
        QTest::addColumn<QVariant>("status");
        QTest::addColumn<QVariant>("rowCount");
        QTest::addColumn<bool>("answered");
        const QVariant success = RequestExeStatus::success;
        QTest::newRow("success") << success << QVariant(2) << true;
        QTest::newRow("row count too small") << success << QVariant(1) << true;
        QTest::newRow("row count too large") << success << QVariant(9) << true;
        QTest::newRow("no row count") << success << QVariant() << true;
        QTest::newRow("refused") << QVariant("7") << QVariant(2) << false;
        QTest::newRow("refused, no row count") << QVariant("7") << QVariant() << false;
        QTest::newRow("no status") << QVariant() << QVariant(2) << false;
    }
    void anyStatusAnswer_everyRowIsRead_whateverTheRestSays() {
        QFETCH(QVariant, status);
        QFETCH(QVariant, rowCount);
        QFETCH(bool, answered);
        // Of its own, as the same warning is logged once a minute.
        const QString text = QString::fromUtf8(QTest::currentDataTag());
        const QList<QVariantMap> rows{{{"x", 1}}, {{"x", 2}}};
        m_world->link().on(kType, ScriptedReply::rows(rows, {{System::requestExeStatus, status},
                                                             {System::subGroupNumber, rowCount},
                                                             {System::textDescription, text}}));
        const LogCapture log;
        const ServerReply reply = sendToServer(m_presenter, anyStatus());
        QCOMPARE(reply.rows, rows);
        QCOMPARE(reply.outcome, answered ? Outcome::Answered : Outcome::Refused);
        QCOMPARE(reply.text, text);
        QCOMPARE(reply.header.value(System::textDescription).toString(), text);
        QCOMPARE(
            log.texts(QtWarningMsg),
            answered ? QStringList() : QStringList{"request someRequest was refused: " + text});
    }

    void anyStatusAnswer_noAnswer_hasNoRowsAndOneWarning_data() {
        QTest::addColumn<int>("code");
        QTest::newRow("time-out") << 1;
        QTest::newRow("failure") << 2;
        QTest::newRow("garbage") << 3;
    }
    void anyStatusAnswer_noAnswer_hasNoRowsAndOneWarning() {
        QFETCH(int, code);
        m_world->link().on(kType, code == 1   ? ScriptedReply::timeOut()
                                  : code == 2 ? ScriptedReply::failure("线路断开")
                                              : ScriptedReply::garbage());
        const LogCapture log;
        ServerReply reply;
        for (int i = 0; i < 3; ++i) {
            reply = sendToServer(m_presenter, anyStatus());
            QVERIFY(reply.rows.isEmpty());
        }
        QCOMPARE(reply.outcome, code == 1 ? Outcome::TimedOut : Outcome::Failed);
        QCOMPARE(log.texts(QtWarningMsg).size(), 1);
        QVERIFY(log.texts(QtWarningMsg).first().startsWith("request someRequest "));
    }

    void rowsAlone_answer_isASuccessWithEveryRow_data() {
        QTest::addColumn<QVariant>("status");
        QTest::addColumn<QVariant>("rowCount");
        QTest::newRow("success") << QVariant(RequestExeStatus::success) << QVariant(2);
        QTest::newRow("other status") << QVariant("9") << QVariant(2);
        QTest::newRow("no status, small count") << QVariant() << QVariant(1);
        QTest::newRow("count is no number") << QVariant("9") << QVariant("many");
    }
    void rowsAlone_answer_isASuccessWithEveryRow() {
        QFETCH(QVariant, status);
        QFETCH(QVariant, rowCount);
        const QList<QVariantMap> rows{{{"x", 1}}, {{"x", 2}}};
        m_world->link().on(kType, ScriptedReply::rows(rows, {{System::requestExeStatus, status},
                                                             {System::subGroupNumber, rowCount},
                                                             {System::textDescription, "text"}}));
        const LogCapture log;
        const ServerReply reply = sendToServer(m_presenter, rowsAlone());
        QVERIFY(reply.isAnswered());
        QCOMPARE(reply.rows, rows);
        QCOMPARE(reply.status, status.toString());
        QCOMPARE(reply.text, QString("text"));
        QVERIFY(log.texts(QtWarningMsg).isEmpty());
        m_world->link().on(kType, ScriptedReply::timeOut());
        QCOMPARE(sendToServer(m_presenter, rowsAlone()).outcome, Outcome::TimedOut);
        m_world->link().on(kType, ScriptedReply::failure("线路断开"));
        const ServerReply failure = sendToServer(m_presenter, rowsAlone());
        QCOMPARE(failure.outcome, Outcome::Failed);
        QVERIFY(failure.text.contains("线路断开"));
        QVERIFY(failure.rows.isEmpty());
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
