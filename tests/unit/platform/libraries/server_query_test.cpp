#include <QtTest>
#include <atomic>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "log_capture.h"
#include "scripted_link.h"
#include "temp_home.h"
#include "velmarutils/velmar_utils.h"
#include "vocabulary/fields.h"
#include "vocabulary/names.h"
#include "vocabulary/quindar_msg_type.h"
#include "vocabulary/values.h"
#include "vocabulary/velmar_msg_type.h"
#include "wait_for.h"
#include "znwidget/zn_presenter_class.h"

namespace {

/// A presenter that records its events.
class Listener : public ZnPresenterClass {
public:
    struct Event {
        QString source;
        int id = 0;
        QVariant body;
    };

    Listener()
        : ZnPresenterClass(QStringLiteral("Test.Listener"), nullptr,
                           IMessageInterface::OwnThreads) {}

    void ProcEventMsg(QString srcId, QVariant eventId, QVariant body) override {
        const std::lock_guard<std::mutex> guard(m_lock);
        m_events.append({srcId, eventId.toInt(), body});
    }

    QList<Event> events() const {
        const std::lock_guard<std::mutex> guard(m_lock);
        return m_events;
    }

private:
    mutable std::mutex m_lock;  // guards the events
    QList<Event> m_events;
};

const QString kType = Velmar_MsgType::getSysConfigRequest;

}  // namespace

class ServerQueryTest : public QObject {
    Q_OBJECT

private slots:
    void init() {
        QString error;
        QVERIFY2(LocalPlatform::instance().start(m_home.options(), &error), qPrintable(error));
        auto link = std::make_unique<ScriptedLink>();
        m_link = link.get();
        QVERIFY2(LocalPlatform::instance().setLink(std::move(link), &error), qPrintable(error));
        m_presenter = new Listener;
        m_presenter->initPresenter();
        m_error = "old";
        m_rows = {{{"old", 1}}};
    }

    void cleanup() {
        m_presenter->deleteLater();
        LocalPlatform::instance().close();
        m_link = nullptr;
    }

    void success_givesTheRowsAndNoError() {
        const QList<QVariantMap> rows{{{"a", 1}}, {{"b", "two"}}};
        m_link->on(kType, ScriptedReply::rows(rows));
        QCOMPARE(query(), rows);
        QCOMPARE(m_error, QString());
        QCOMPARE(send(), RequestExeStatus::success);
        QCOMPARE(m_rows, rows);
        QCOMPARE(m_error, QString());
    }

    void successWithoutRows_isEmptyAndNoError() {
        m_link->on(kType, ScriptedReply::rows({}));
        QVERIFY(query().isEmpty());
        QCOMPARE(m_error, QString());
    }

    void request_isOneHeaderRowWithItsType() {
        m_link->on(kType, ScriptedReply::rows({}));
        VelmarUtils::QueryDatasFromServer(m_presenter, kType,
                                          {{System::itemName, "item"}, {"n", 5}},
                                          QueryDataMode::Normal, m_error);
        const ScriptedLink::Request request = m_link->lastRequest(kType);
        QCOMPARE(request.envelopeType, kType);
        QCOMPARE(request.sourceId, m_presenter->pluginPid());
        QVERIFY(request.rows.isEmpty());
        QVariantMap header = request.header;
        header.remove(System::clientMsgID);
        const QVariantMap expected{{System::msgType, kType}, {System::itemName, "item"}, {"n", 5}};
        QCOMPARE(header, expected);
    }

    void requestWithATypeOfItsOwn_keepsIt() {
        m_link->on("envelope", ScriptedReply::rows({}));
        VelmarUtils::QueryDatasFromServer(m_presenter, "envelope", {{System::msgType, "inner"}},
                                          QueryDataMode::Normal, m_error);
        const ScriptedLink::Request request = m_link->lastRequest("envelope");
        QCOMPARE(request.envelopeType, QString("envelope"));
        QCOMPARE(request.header.value(System::msgType).toString(), QString("inner"));
    }

    void timeOut_hasATextAndAStatus() {
        m_link->on(kType, ScriptedReply::timeOut());
        QVERIFY(query().isEmpty());
        QVERIFY2(m_error.contains("time-out") && m_error.contains(kType), qPrintable(m_error));
        QCOMPARE(send(), RequestExeStatus::timeout);
        QVERIFY(m_rows.isEmpty());
        QVERIFY(!m_error.isEmpty());
    }

    void failure_hasItsReasonAsText() {
        m_link->on(kType, ScriptedReply::failure("the line is cut"));
        QVERIFY(query().isEmpty());
        QCOMPARE(m_error, QString("the line is cut"));
        QVERIFY(send() != RequestExeStatus::success);
        QVERIFY(send() != RequestExeStatus::timeout);
        QVERIFY(m_rows.isEmpty());
    }

    void failureWithoutReason_stillHasAText() {
        m_link->on(kType, ScriptedReply::failure(QString()));
        query();
        QVERIFY(!m_error.isEmpty());
    }

    void refusal_hasTheServersTextAndStatus() {
        m_link->on(kType, ScriptedReply::refusal("not yours", "17"));
        QVERIFY(query().isEmpty());
        QCOMPARE(m_error, QString("not yours"));
        QCOMPARE(send(), QString("17"));
        QVERIFY(m_rows.isEmpty());
    }

    void refusalWithoutText_stillHasOne() {
        m_link->on(kType, ScriptedReply::refusal(QString(), "17"));
        query();
        QVERIFY2(m_error.contains(kType) && m_error.contains("17"), qPrintable(m_error));
    }

    void refusalWithRows_returnsNoRows() {
        m_link->on(kType, ScriptedReply::rows({{{"a", 1}}}, {{System::requestExeStatus, "17"}}));
        QVERIFY(query().isEmpty());
        QVERIFY(!m_error.isEmpty());
    }

    void answerThatIsNotAPackedBody_isRefused() {
        m_link->on(kType, ScriptedReply::garbage());
        QVERIFY(query().isEmpty());
        QVERIFY(!m_error.isEmpty());
        QVERIFY(send() != RequestExeStatus::success);
    }

    void rowCount_isTheHeaders_data() {
        QTest::addColumn<QVariant>("stated");
        QTest::addColumn<int>("read");
        QTest::addColumn<QString>("why");
        QTest::newRow("as many") << QVariant(3) << 3 << QString();
        QTest::newRow("fewer than held") << QVariant(2) << 2 << QString();
        QTest::newRow("zero") << QVariant(0) << 0 << QString();
        QTest::newRow("as a text") << QVariant("3") << 3 << QString();
        QTest::newRow("more than held") << QVariant(5) << 0 << "states 5 rows and holds 3";
        QTest::newRow("far more") << QVariant(2000000000) << 0 << "cut short";
        QTest::newRow("negative") << QVariant(-1) << 0 << "garbage";
        QTest::newRow("no number") << QVariant("x") << 0 << "garbage";
        QTest::newRow("a fraction") << QVariant(2.5) << 0 << "garbage";
        QTest::newRow("missing") << QVariant() << 0 << "the row count is missing";
    }

    void rowCount_isTheHeaders() {
        QFETCH(QVariant, stated);
        QFETCH(int, read);
        QFETCH(QString, why);
        m_link->on(kType, ScriptedReply::rows({{{"a", 1}}, {{"a", 2}}, {{"a", 3}}},
                                              {{System::subGroupNumber, stated}}));
        const LogCapture log;
        QCOMPARE(query().size(), read);
        QCOMPARE(m_error.isEmpty(), why.isEmpty());
        QVERIFY2(m_error.contains(why), qPrintable(m_error));
        QCOMPARE(send() == RequestExeStatus::success, why.isEmpty());
        QCOMPARE(m_rows.size(), read);
        // Warnings are left to the caller, who knows what the request was for.
        QCOMPARE(log.texts(QtWarningMsg).size(), 0);
        QCOMPARE(log.texts(QtDebugMsg).filter(kType + "\" failed:").size(), why.isEmpty() ? 0 : 2);
    }

    void rowCount_missingInABodyWithoutRows_isZero() {
        m_link->on(kType, ScriptedReply::rows({}, {{System::subGroupNumber, QVariant()}}));
        QVERIFY(query().isEmpty());
        QCOMPARE(m_error, QString());
        QCOMPARE(send(), RequestExeStatus::success);
    }

    void withoutPresenter_isAnError() {
        const QList<QVariantMap> rows =
            VelmarUtils::QueryDatasFromServer(nullptr, kType, {}, QueryDataMode::Normal, m_error);
        QVERIFY(rows.isEmpty());
        QVERIFY2(m_error.contains("presenter"), qPrintable(m_error));
        const QString status = VelmarUtils::SendRequestToServer(
            nullptr, kType, {}, QueryDataMode::VersionOnly, m_error, m_rows, false, false);
        QVERIFY(status != RequestExeStatus::success);
        QVERIFY(m_rows.isEmpty());
        QCOMPARE(m_link->requestCount(), 0);
    }

    void closedPlatform_failsAtOnce() {
        LocalPlatform::instance().close();
        auto* late = new Listener;
        const QString status = VelmarUtils::SendRequestToServer(
            late, kType, {}, QueryDataMode::Normal, m_error, m_rows, false, false);
        QVERIFY(status != RequestExeStatus::success);
        QVERIFY(!m_error.isEmpty());
        late->deleteLater();
        // The presenter of init() is disposed of by cleanup(), as in every other case.
        m_presenter = new Listener;
    }

    void concurrentQueries_getTheirOwnAnswers() {
        m_link->on(kType, [](const QVariant& body) {
            return makeAnswer(body, {{{"echo", headerOf(body).value("n")}}});
        });
        std::atomic<int> right{0};
        std::vector<std::thread> threads;
        for (int t = 0; t < 4; ++t) {
            threads.emplace_back([this, t, &right]() {
                for (int i = 0; i < 25; ++i) {
                    const int number = t * 100 + i;
                    QString error;
                    const QList<QVariantMap> rows = VelmarUtils::QueryDatasFromServer(
                        m_presenter, kType, {{"n", number}}, QueryDataMode::Normal, error);
                    right += error.isEmpty() && rows.size() == 1 &&
                                     rows.first().value("echo").toInt() == number
                                 ? 1
                                 : 0;
                }
            });
        }
        for (std::thread& thread : threads) {
            thread.join();
        }
        QCOMPARE(right.load(), 100);
    }

    void event_reachesItsSubscribersWithSourceAndBody() {
        const int named = VelmarUtils::GetTorviEventMsgIdByStr(EventMsgName::BUSI_MSG_ADD);
        m_presenter->SubEvent(m_presenter->pluginPid(), 0x31000, 1);
        m_presenter->SubEvent(m_presenter->pluginPid(), named, 1);
        QCOMPARE(VelmarUtils::SendEventMsg(m_presenter, 0x31000, "body"), 0);
        QCOMPARE(VelmarUtils::SendEventMsg(m_presenter, EventMsgName::BUSI_MSG_ADD, 5), 0);
        QVERIFY(waitFor([this]() { return m_presenter->events().size() == 2; }));
        const QList<Listener::Event> events = m_presenter->events();
        QCOMPARE(events.at(0).id, 0x31000);
        QCOMPARE(events.at(0).body, QVariant("body"));
        QCOMPARE(events.at(0).source, m_presenter->pluginPid());
        QCOMPARE(events.at(1).id, named);
        QCOMPARE(events.at(1).body, QVariant(5));
    }

    void businessMessage_isOneRowOnTheHeader_withoutEmptyFields() {
        const QString pid = m_presenter->pluginPid();
        m_presenter->SubEvent(pid, VelmarUtils::GetTorviEventMsgIdByStr(EventMsgName::BUSI_MSG_ADD),
                              1);
        VelmarUtils::PutBusiMsg(m_presenter, "2", "委托已撤", "100", "101", "name", "value", "T1");
        VelmarUtils::PutBusiMsg(nullptr, "1", "网络延迟", "200", "", "", QString(), "");
        QVERIFY(waitFor([this]() { return m_presenter->events().size() == 2; }));
        const QList<Listener::Event> events = m_presenter->events();
        const QVariantMap all{
            {System::BusiMsgLevel, "2"},        {System::textDescription, "委托已撤"},
            {System::BusiMsgType, "100"},       {System::BusiMsgSubType, "101"},
            {System::itemName, "name"},         {System::itemValue, "value"},
            {UserAccount::tradingAccount, "T1"}};
        QCOMPARE(headerOf(events.at(0).body), all);
        QCOMPARE(events.at(0).source, pid);
        const QVariantMap filled{{System::BusiMsgLevel, "1"},
                                 {System::textDescription, "网络延迟"},
                                 {System::BusiMsgType, "200"}};
        QCOMPARE(headerOf(events.at(1).body), filled);
        QCOMPARE(events.at(1).source, QString("ZNApp.Host"));
    }

    void eventWithoutId_isRefusedAndLogged() {
        const LogCapture log;
        QCOMPARE(VelmarUtils::SendEventMsg(m_presenter, 0, QVariant()), -1);
        QVERIFY(log.contains(QtWarningMsg, "it has no id"));
        QCOMPARE(VelmarUtils::SendEventMsg(m_presenter, "NoSuchEvent", QVariant()), -1);
        QVERIFY(log.contains(QtWarningMsg, "NoSuchEvent"));
    }

private:
    QList<QVariantMap> query() {
        return VelmarUtils::QueryDatasFromServer(m_presenter, kType, {}, QueryDataMode::Normal,
                                                 m_error);
    }

    QString send() {
        return VelmarUtils::SendRequestToServer(m_presenter, kType, {}, QueryDataMode::Normal,
                                                m_error, m_rows, false, false);
    }

    TempHome m_home;
    ScriptedLink* m_link = nullptr;  // owned by the platform
    Listener* m_presenter = nullptr;
    QString m_error;
    QList<QVariantMap> m_rows;
};

QTEST_GUILESS_MAIN(ServerQueryTest)
#include "server_query_test.moc"
