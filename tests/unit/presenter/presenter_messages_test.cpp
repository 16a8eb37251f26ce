#include <QDate>
#include <QDateTime>
#include <QTimer>
#include <QtTest>
#include <atomic>

#include "fake_clock.h"
#include "local_platform.h"
#include "log_capture.h"
#include "message_client.h"
#include "message_store.h"
#include "process_per_case.h"
#include "run_on_thread.h"
#include "scripted_link.h"
#include "vocabulary/fields.h"
#include "vocabulary/names.h"
#include "vocabulary/net_state.h"
#include "vocabulary/values.h"
#include "vocabulary/velmar_msg_type.h"
#include "wait_for.h"
#include "zn_business_data_manager.h"

namespace {

const QString kQuery = Velmar_MsgType::queryBusiMessagesRequest;

}  // namespace

/// The server's messages, pushed or caught up on, from where they enter to the lists and the
/// events.
class PresenterMessagesTest : public QObject {
    Q_OBJECT

private slots:
    void push_message_isStoredUnreadAndPublished() {
        MessageClient client;
        QVERIFY(client.start());
        const QDateTime sent = QDateTime::currentDateTime().addSecs(-60);
        client.push(notice("到期", {{System::clientMsgID, "the server's"},
                                    {BusiMsgCenter::ReadStatus, true},
                                    {BusiMsgCenter::ServerMsgId, "S1"},
                                    {System::createTime, sent.toMSecsSinceEpoch()}}));
        QVERIFY(client.waitForUpdates(1));
        const QList<QVariantMap> all = client.messages().GetAllBusiMsgList();
        QCOMPARE(all, client.updates());
        const QVariantMap& record = all.first();
        const QString clientId = record.value(System::clientMsgID).toString();
        QVERIFY(!clientId.isEmpty() && clientId != "the server's");
        QCOMPARE(record.value(BusiMsgCenter::ReadStatus), QVariant(false));
        QCOMPARE(record.value(System::createTime).toDateTime(), sent);
        const MessageClient::Event event = client.events(EventMsgName::BUSI_MSG_UPDATED).first();
        QCOMPARE(event.source, client.presenter()->pluginPid());
        QVERIFY(rowsOf(event.body).isEmpty());
    }

    void push_timeInTheTextForm_isThatTime() {
        MessageClient client;
        QVERIFY(client.start());
        const QDate today = QDate::currentDate();
        client.push(notice("文", {{System::createTime, today.toString("yyyyMMdd") + " 010203"}}));
        QVERIFY(client.waitForUpdates(1));
        QCOMPARE(client.updates().first().value(System::createTime).toDateTime(),
                 QDateTime(today, QTime(1, 2, 3)));
    }

    void push_unusableTime_isTheBusinessClocks_data() {
        QTest::addColumn<QVariant>("given");
        QTest::newRow("missing") << QVariant();
        QTest::newRow("empty") << QVariant("");
        QTest::newRow("year 9999") << QVariant("99991231 235959");
    }
    void push_unusableTime_isTheBusinessClocks() {
        QFETCH(QVariant, given);
        MessageClient client;
        QVERIFY(client.start());
        const FakeClock clock(QDateTime::currentDateTime().addSecs(-3600));
        LocalPlatform::instance().setClock(clock.function());
        client.push(notice("文", {{System::createTime, given}}));
        QVERIFY(client.waitForUpdates(1));
        QCOMPARE(client.updates().first().value(System::createTime).toDateTime(), clock.now());
    }

    void push_controlFieldsOnly_isDroppedWithALogLine() {
        MessageClient client;
        QVERIFY(client.start());
        client.push({{System::msgType, Velmar_MsgType::MessageCenterPushMsg}});
        client.presenter()->ProcSubMsg({}, Velmar_MsgType::MessageCenterPushMsg,
                                       QVariant("garbage"));
        QVERIFY(client.settle());
        QCOMPARE(client.log.texts(QtInfoMsg).filter("it carries no message").size(), 2);
        QVERIFY(client.messages().GetAllBusiMsgList().isEmpty());
        QVERIFY(client.updates().isEmpty());
    }

    void push_sameServerIdAgain_isOneMessageAndOneEvent() {
        MessageClient client;
        QVERIFY(client.start());
        client.push(serverRow("S1", "000001"));
        client.push(serverRow("S1", "000001"));
        QVERIFY(client.settle());
        QCOMPARE(client.messages().GetAllBusiMsgList().size(), 1);
        QCOMPARE(client.updates(), client.messages().GetAllBusiMsgList());
    }

    void push_unknownAccount_isPublishedAndNotKept() {
        MessageClient client;
        QVERIFY(client.start());
        client.push(notice("文", {{UserAccount::tradingAccount, "T9"}}));
        client.push(notice("文", {{UserAccount::tradingAccount, "T0001"}}));
        QVERIFY(client.waitForUpdates(2));
        const QList<QVariantMap> all = client.messages().GetAllBusiMsgList();
        QCOMPARE(all.size(), 1);
        QCOMPARE(all.first().value(UserAccount::productAccount).toString(), QString("P1"));
    }

    void markedRead_twice_publishesOneUpdate() {
        MessageClient client;
        QVERIFY(client.start());
        client.push(serverRow("S1", "1"));
        QVERIFY(client.waitForUpdates(1));
        const QString clientId = client.updates().first().value(System::clientMsgID).toString();
        QVERIFY(client.messages().SetBusiMsgRead(clientId));
        QVERIFY(client.messages().SetBusiMsgRead(clientId));
        QVERIFY(client.settle());
        QCOMPARE(client.updates().size(), 2);
        QCOMPARE(client.updates().last(), client.messages().GetAllBusiMsgList().first());
        QCOMPARE(client.updates().last().value(BusiMsgCenter::ReadStatus), QVariant(true));
    }

    void markedRead_onTheObjectThread_publishesAsWell() {
        MessageClient client;
        QVERIFY(client.start());
        client.push(serverRow("S1", "1"));
        QVERIFY(client.waitForUpdates(1));
        const QString clientId = client.updates().first().value(System::clientMsgID).toString();
        runOnThreadAndWait(client.presenter(), [&] { client.messages().SetBusiMsgRead(clientId); });
        QVERIFY(client.waitForUpdates(2));
    }

    void catchUp_atTheStart_mergesTheServersRowsThenAnnouncesThem() {
        MessageClient client;
        client.world.link().on(
            kQuery, ScriptedReply::rows({serverRow("S1", "000001"), serverRow("S2", "000002")}));
        QVERIFY(client.start());
        const ScriptedLink::Request request = client.world.link().lastRequest(kQuery);
        QCOMPARE(request.header.value(UserAccount::userID).toString(), QString("tester"));
        QCOMPARE(request.header.value(System::positionStr).toString(), QString());
        QCOMPARE(request.header.value(System::requestNumber).toInt(), 1000);
        QCOMPARE(textsOf(client.messages().GetUnreadBusiMsgList()),
                 (QStringList{"服务端S1", "服务端S2"}));
        QVERIFY(client.updates().isEmpty());
        const MessageClient::Event loaded = client.events(EventMsgName::BUSI_MSG_LOADED).first();
        QCOMPARE(loaded.source, client.presenter()->pluginPid());
        QVERIFY(!loaded.body.isValid());
    }

    void catchUp_pushOfTheSameMessage_isNotANewOne() {
        MessageClient client;
        client.world.link().on(kQuery, ScriptedReply::rows({serverRow("S1", "000001")}));
        QVERIFY(client.start());
        client.push(serverRow("S1", "000001"));
        QVERIFY(client.settle());
        QCOMPARE(client.messages().GetAllBusiMsgList().size(), 1);
        QVERIFY(client.updates().isEmpty());
    }

    void catchUp_queryFails_announcesTheEndAllTheSame() {
        MessageClient client;
        client.world.link().on(kQuery, ScriptedReply::refusal("没有权限"));
        QVERIFY(client.start());
        QVERIFY(client.messages().GetAllBusiMsgList().isEmpty());
        QCOMPARE(client.log.texts(QtWarningMsg).filter(kQuery).size(), 1);
    }

    void catchUp_reconnect_isNotRepeated() {
        MessageClient client;
        QVERIFY(client.start());
        client.world.link().gateState(NetGateType::InfoGate, NET_STATE::CONNECTED);
        client.world.link().gateState(NetGateType::InfoGate, NET_STATE::NOCONNECT);
        client.world.link().gateState(NetGateType::InfoGate, NET_STATE::CONNECTED);
        QVERIFY(client.settle());
        QCOMPARE(client.world.link().requestCount(kQuery), 1);
    }

    void catchUp_tableNotLoaded_isTriedAgainUntilItIs() {
        MessageClient client;
        QVERIFY(client.start());
        MessageStore& store = ZnBusinessDataManager::instance()->messageStore();
        const auto setReady = [&store](bool ready) {
            const auto tables = store.m_busiMsgLock.write();
            tables->m_busiMsgCenterReady = ready;
            tables->m_busiMsgMaxPos = "000042";
        };
        setReady(false);
        runOnThreadAndWait(client.presenter(), [&client] { client.presenter()->queryBusiMsg(); });
        // A try that fails, of the timer itself, is followed by another.
        std::atomic<int> tries{0};
        std::atomic<int> timers{0};
        runOnThreadAndWait(client.presenter(), [&] {
            for (const QTimer* timer : client.presenter()->findChildren<QTimer*>()) {
                if (timer->isActive() && timer->isSingleShot() && timer->interval() == 1000) {
                    ++timers;
                    connect(timer, &QTimer::timeout, timer, [&tries] { ++tries; });
                }
            }
        });
        QCOMPARE(timers.load(), 1);
        QVERIFY(waitFor([&tries] { return tries >= 2; }));
        QCOMPARE(client.world.link().requestCount(kQuery), 1);
        setReady(true);
        QVERIFY(client.world.link().waitForRequestCount(kQuery, 2));
        const ScriptedLink::Request request = client.world.link().lastRequest(kQuery);
        QCOMPARE(request.header.value(System::positionStr).toString(), QString("000042"));
    }

    void catchUp_pushOfTheSameMessageMeanwhile_isOneMessageWithTheRowsPosition() {
        MessageClient client;
        client.world.link().on(kQuery, ScriptedReply::rows({serverRow("S1", "000009")}).held());
        client.object.initialize();
        QVERIFY(waitFor([&] { return client.world.link().heldCount(kQuery) == 1; }));
        client.push(serverRow("S1", "000001"));
        QVERIFY(client.waitForUpdates(1));
        QCOMPARE(client.world.link().release(kQuery), 1);
        QVERIFY(waitFor([&] { return client.events(EventMsgName::BUSI_MSG_LOADED).size() == 1; }));
        QVERIFY(client.settle());
        const QList<QVariantMap> all = client.messages().GetAllBusiMsgList();
        QCOMPARE(all.size(), 1);
        QCOMPARE(all.first().value(System::positionStr).toString(), QString("000009"));
        QCOMPARE(client.updates().size(), 1);
    }

    void catchUp_failsAfterAPush_keepsThePushedMessage() {
        MessageClient client;
        client.world.link().on(kQuery, ScriptedReply::failure("no answer").held());
        client.object.initialize();
        QVERIFY(waitFor([&] { return client.world.link().heldCount(kQuery) == 1; }));
        client.push(serverRow("S1", "000001"));
        QVERIFY(client.waitForUpdates(1));
        client.world.link().release(kQuery);
        QVERIFY(waitFor([&] { return client.events(EventMsgName::BUSI_MSG_LOADED).size() == 1; }));
        QVERIFY(client.settle());
        QCOMPARE(client.messages().GetAllBusiMsgList(), client.updates());
        QCOMPARE(client.updates().size(), 1);
    }
};

VELMAR_PROCESS_PER_CASE_MAIN(PresenterMessagesTest)
#include "presenter_messages_test.moc"
