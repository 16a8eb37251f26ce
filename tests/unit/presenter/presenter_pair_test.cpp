#include <QtTest>

#include "event_ids.h"
#include "held_close.h"
#include "local_platform.h"
#include "message_client.h"
#include "process_per_case.h"
#include "push_subscriptions.h"
#include "scripted_link.h"
#include "velmar_business_data_manager.h"
#include "velmar_business_data_manager_presenter_class.h"
#include "vocabulary/fields.h"
#include "vocabulary/names.h"
#include "vocabulary/net_state.h"
#include "vocabulary/quindar_msg_type.h"
#include "vocabulary/values.h"
#include "vocabulary/velmar_msg_type.h"
#include "wait_for.h"
#include "zn_business_data_manager.h"

namespace {

using Presenter = VelmarBusinessDataManagerPresenterClass;

const QString kQuery = Velmar_MsgType::queryBusiMessagesRequest;
const QString kSubscribe = Quindar_MsgType::subscribeTopicRequest;

}  // namespace

/// Messages where two presenters exist: each message is processed by one of them only.
class PresenterPairTest : public QObject {
    Q_OBJECT

private slots:
    void twoPresenters_eachRoad_isOneMessageAndOneUpdate() {
        MessageClient client;
        QVERIFY(client.start());
        VelmarBusinessDataManager second;
        second.initialize();
        Presenter* const other = second.presenter();
        QVERIFY(client.world.link().waitForRequestCount(kQuery, 2));
        const auto expect = [&](int count) {
            QVERIFY(client.settle({other}));
            QCOMPARE(client.messages().GetAllBusiMsgList().size(), count);
            QCOMPARE(client.updates().size(), count);
        };
        client.push(serverRow("S1", "000001"));
        expect(1);
        client.notify(notice("一"));
        expect(2);
        client.messages().AddBusiMsg("2", "二", "7", "", "", "", true, "");
        expect(3);
        const QVariantMap message = client.messages().GetAllBusiMsgList().first();
        int reads = 0;
        QObject context;
        connect(
            ZnBusinessDataManager::instance(), &ZnBusinessDataManager::signalBusiMsgRead, &context,
            [&reads] { ++reads; }, Qt::DirectConnection);
        QVERIFY(client.messages().SetBusiMsgRead(message.value(System::clientMsgID).toString()));
        QVERIFY(client.settle({other}));
        QVERIFY(client.messages().SetBusiMsgRead(message.value(System::clientMsgID).toString()));
        QVERIFY(client.settle({other}));
        QCOMPARE(reads, 1);
        QCOMPARE(client.updates().size(), 4);
        QCOMPARE(client.messages().GetUnreadBusiMsgList().size(), 2);
    }

    void twoPresenters_gateReconnects_subscriptionsAreMadeAgainOnce() {
        MessageClient client;
        QVERIFY(client.start());
        VelmarBusinessDataManager second;
        second.initialize();
        ScriptedLink& link = client.world.link();
        QVERIFY(link.waitForRequestCount(kQuery, 2));
        QVERIFY(client.settle({second.presenter()}));
        link.on(kSubscribe, ScriptedReply::rows({}));
        QVERIFY(ZnBusinessDataManager::instance()->pushSubscriptions().SubscribePushMsgFromServer(
            client.presenter(), "own", {{"userID", "tester"}}, NetGateType::TradeGate));
        for (const QString& state : {NET_STATE::CONNECTTING, NET_STATE::CONNECTED}) {
            LocalPlatform::instance().publishEvent(EventIds::tradeGateState, state);
        }
        QVERIFY(client.settle({second.presenter()}));
        int count = 0;
        for (const ScriptedLink::Request& request : link.requests(kSubscribe)) {
            count += request.header.value(System::subscriptionTopic) == "own" ? 1 : 0;
        }
        QCOMPARE(count, 2);  // the first time, and after the reconnect
    }

    void twoPresenters_secondCatchUp_addsNoMessage() {
        MessageClient client;
        client.world.link().on(
            kQuery, ScriptedReply::rows({serverRow("S1", "000001"), serverRow("S2", "000002")}));
        QVERIFY(client.start());
        VelmarBusinessDataManager second;
        second.initialize();
        QVERIFY(waitFor([&] { return client.events(EventMsgName::BUSI_MSG_LOADED).size() >= 3; }));
        QCOMPARE(client.world.link().requestCount(kQuery), 2);
        QCOMPARE(client.messages().GetAllBusiMsgList().size(), 2);
    }

    void twoPresenters_laterOneDeleted_leavesTheNoticesToTheFirst() {
        MessageClient client;
        QVERIFY(client.start());
        {
            VelmarBusinessDataManager second;
            second.initialize();
            QVERIFY(client.world.link().waitForRequestCount(kQuery, 2));
        }
        client.notify(notice("一"));
        QVERIFY(client.settle());
        QCOMPARE(textsOf(client.updates()), QStringList{"一"});
    }

    void twoPresenters_pushesThatCannotBeRecognised_arePublishedOnce() {
        MessageClient client;
        QVERIFY(client.start());
        VelmarBusinessDataManager second;
        second.initialize();
        QVERIFY(client.world.link().waitForRequestCount(kQuery, 2));
        client.push(notice("无号"));
        QVERIFY(client.settle({second.presenter()}));
        QCOMPARE(textsOf(client.updates()), QStringList{"无号"});
        QCOMPARE(textsOf(client.messages().GetAllBusiMsgList()), QStringList{"无号"});
        client.push(notice(
            "无户", {{UserAccount::tradingAccount, "T9"}, {BusiMsgCenter::ServerMsgId, "S9"}}));
        QVERIFY(client.settle({second.presenter()}));
        QCOMPARE(textsOf(client.updates()), (QStringList{"无号", "无户"}));
        QCOMPARE(client.messages().GetAllBusiMsgList().size(), 1);
    }

    void twoPresenters_secondBeingMade_leavesTheNoticesToTheFirst() {
        MessageClient client;
        QVERIFY(client.start());
        Presenter* const before = s_presenter;
        auto* const made = new Presenter("Test.Second", nullptr);
        s_presenter = made;
        client.notify(notice("一"));
        client.messages().AddBusiMsg("2", "二", "7", "", "", "", true, "");
        QVERIFY(client.waitForUpdates(2));
        QVERIFY(client.settle());
        QCOMPARE(client.updates().size(), 2);
        QCOMPARE(client.messages().GetAllBusiMsgList().size(), 2);
        s_presenter = before;
        made->deleteLater();
    }

    void twoPresenters_secondStartsUp_leavesTheNoticesToTheFirst() {
        MessageClient client;
        client.world.link().onOccurrence(kQuery, 2, ScriptedReply::rows({}).held());
        QVERIFY(client.start());
        VelmarBusinessDataManager second;
        second.initialize();
        QVERIFY(waitFor([&] { return client.world.link().heldCount(kQuery) == 1; }));
        client.notify(notice("一"));
        client.messages().AddBusiMsg("2", "二", "7", "", "", "", true, "");
        QVERIFY(client.waitForUpdates(2));
        QCOMPARE(client.world.link().release(kQuery), 1);
        QVERIFY(client.settle({second.presenter()}));
        QCOMPARE(client.updates().size(), 2);
        QCOMPARE(client.messages().GetAllBusiMsgList().size(), 2);
    }

    void twoPresenters_secondDeletedInItsStartUp_losesNoNotice() {
        MessageClient client;
        client.world.link().onOccurrence(kQuery, 2, ScriptedReply::never());
        QVERIFY(client.start());
        {
            VelmarBusinessDataManager second;
            second.initialize();
            QVERIFY(client.world.link().waitForRequestCount(kQuery, 2));
            client.messages().AddBusiMsg("2", "一", "7", "", "", "", true, "");
        }
        client.messages().AddBusiMsg("2", "二", "7", "", "", "", true, "");
        QVERIFY(client.waitForUpdates(2));
        QVERIFY(client.settle());
        QCOMPARE(textsOf(client.updates()), (QStringList{"一", "二"}));
        QCOMPARE(client.messages().GetAllBusiMsgList().size(), 2);
    }

    void twoPresenters_firstCloses_leavesTheNoticesToTheSecond() {
        MessageClient client;
        QVERIFY(client.start());
        VelmarBusinessDataManager second;
        second.initialize();
        QVERIFY(client.world.link().waitForRequestCount(kQuery, 2));
        {
            const HeldClose close(client.presenter());
            QVERIFY(close.isClosing());
            client.messages().AddBusiMsg("2", "一", "7", "", "", "", true, "");
            QVERIFY(client.waitForUpdates(1));
        }
        client.notify(notice("二"));
        QVERIFY(client.waitForUpdates(2));
        client.push(notice("三"));
        QVERIFY(client.waitForUpdates(3));
        QCOMPARE(textsOf(client.updates()), (QStringList{"一", "二", "三"}));
        QCOMPARE(client.messages().GetAllBusiMsgList().size(), 3);
    }
};

VELMAR_PROCESS_PER_CASE_MAIN(PresenterPairTest)
#include "presenter_pair_test.moc"
