#include <QThread>
#include <QtTest>
#include <thread>
#include <vector>

#include "log_capture.h"
#include "message_flow_world.h"
#include "vocabulary/constants.h"
#include "vocabulary/names.h"
#include "vocabulary/values.h"

namespace {

QVariantMap message(const QString& clientId, const QVariantMap& more = {}) {
    QVariantMap record{{System::clientMsgID, clientId},
                       {System::BusiMsgLevel, BusiMsgLevel::Important},
                       {System::BusiMsgType, BusiMsgType::TradeMsg},
                       {System::textDescription, QStringLiteral("消息") + clientId},
                       {BusiMsgCenter::ReadStatus, false}};
    for (auto it = more.cbegin(); it != more.cend(); ++it) {
        record.insert(it.key(), it.value());
    }
    return record;
}

QVariantMap serverRow(const QString& serverId, const QString& position,
                      const QVariant& createTime = {}) {
    return {{BusiMsgCenter::ServerMsgId, serverId},
            {System::BusiMsgLevel, BusiMsgLevel::Important},
            {System::BusiMsgType, BusiMsgType::TradeMsg},
            {System::textDescription, QStringLiteral("服务端") + serverId},
            {System::createTime, createTime},
            {System::positionStr, position}};
}

QStringList idsOf(const QList<QVariantMap>& records) {
    QStringList ids;
    for (const QVariantMap& record : records) {
        ids.append(record.value(System::clientMsgID).toString());
    }
    return ids;
}

}  // namespace

class MessageFlowTest : public QObject {
    Q_OBJECT

private slots:
    void addBusiMsg_classified_raisesOneRecord() {
        FlowWorld world;
        world.flow.AddBusiMsg("2", "文本", "4", "4001", "item", "value", true, "T0001");
        const QVariantMap expected{
            {System::BusiMsgLevel, "2"},   {System::textDescription, "文本"},
            {System::BusiMsgType, "4"},    {System::BusiMsgSubType, "4001"},
            {System::itemName, "item"},    {System::itemValue, "value"},
            {BusiMsgCenter::SaveDB, true}, {UserAccount::tradingAccount, "T0001"}};
        QCOMPARE(world.sink.added, QList<QVariantMap>{expected});
        QVERIFY(world.flow.GetAllBusiMsgList().isEmpty());
    }

    void addBusiMsg_withoutAccount_hasNoAccountField() {
        FlowWorld world;
        world.flow.AddBusiMsg("2", "文本", "4", "4001", "", "", false, "");
        QCOMPARE(world.sink.added.size(), 1);
        QVERIFY(!world.sink.added.first().contains(UserAccount::tradingAccount));
    }

    void addBusiMsg_nobodyReceives_warns() {
        FlowWorld world;
        world.sink.hasReceiver = false;
        const LogCapture log;
        world.flow.AddBusiMsg("2", "文本", "4", "4001", "", "", false, "");
        QVERIFY(log.contains(QtWarningMsg, "ZnBusinessDataManager::AddBusiMsg"));
    }

    void addBusiMsg_unknownKey_warnsAndRaisesItUnclassified() {
        FlowWorld world;
        const LogCapture log;
        world.flow.AddBusiMsg("没有", "文本", "", "", true, "");
        QVERIFY(log.contains(QtWarningMsg,
                             "消息类型转换失败，消息枚举类型：没有，转换后消息类型：，"
                             "消息子类：，消息等级："));
        QVERIFY(log.contains(QtWarningMsg, "ZnBusinessDataManager::AddBusiMsg"));
        QCOMPARE(world.sink.added.size(), 1);
        const QVariantMap record = world.sink.added.first();
        QCOMPARE(record.value(System::textDescription).toString(), QString("文本"));
        for (const QString& field :
             {System::BusiMsgType, System::BusiMsgSubType, System::BusiMsgLevel}) {
            QVERIFY2(record.value(field).toString().isEmpty(), qPrintable(field));
        }
    }

    void addBusiMsg_keyOfTheDictionary_raisesThatKind_data() {
        QTest::addColumn<QString>("entry");
        QTest::addColumn<QStringList>("kind");
        QTest::addColumn<bool>("warned");
        QTest::newRow("three parts") << "4|4001|2" << QStringList{"4", "4001", "2"} << false;
        QTest::newRow("further parts") << "4|4001|2|x" << QStringList{"4", "4001", "2"} << false;
        QTest::newRow("two parts") << "4|2" << QStringList{"", "", ""} << true;
        QTest::newRow("empty part") << "4||2" << QStringList{"", "", ""} << true;
    }
    void addBusiMsg_keyOfTheDictionary_raisesThatKind() {
        QFETCH(QString, entry);
        QFETCH(QStringList, kind);
        QFETCH(bool, warned);
        FlowWorld world(
            StaticDbBuilder().section(DictionaryKey::VelmarBusiMsgTypeDict, {{"key", entry}}));
        QObject owner;
        world.reminders.initBusiMsgRemindSetting(&owner);
        const LogCapture log;
        world.flow.AddBusiMsg("key", "文本", "item", "value", true, "T0001");
        QCOMPARE(log.contains(QtWarningMsg, "消息类型转换失败，消息枚举类型：key"), warned);
        QCOMPARE(world.sink.added.size(), 1);
        const QVariantMap record = world.sink.added.first();
        QCOMPARE((QStringList{record.value(System::BusiMsgType).toString(),
                              record.value(System::BusiMsgSubType).toString(),
                              record.value(System::BusiMsgLevel).toString()}),
                 kind);
        QCOMPARE(record.value(System::itemName).toString(), QString("item"));
        QCOMPARE(record.value(System::itemValue).toString(), QString("value"));
        QCOMPARE(record.value(BusiMsgCenter::SaveDB), QVariant(true));
        QCOMPARE(record.value(UserAccount::tradingAccount).toString(), QString("T0001"));
    }

    void received_idTwice_replacesTheMessage() {
        FlowWorld world;
        world.flow.slotRecvBusiMsgPush(message("1"), false);
        world.flow.slotRecvBusiMsgPush(message("1", {{System::textDescription, "第二"}}), false);
        QCOMPARE(world.flow.GetAllBusiMsgList().size(), 1);
        QCOMPARE(world.stored("1").value(System::textDescription).toString(), QString("第二"));
    }

    void received_withoutClientId_isDroppedWithALogLine() {
        FlowWorld world;
        const LogCapture log;
        world.flow.slotRecvBusiMsgPush({{System::textDescription, "文本"}}, true);
        world.flow.slotRecvBusiMsgPush(message(""), true);
        QVERIFY(world.flow.GetAllBusiMsgList().isEmpty());
        QCOMPARE(log.texts(QtInfoMsg).filter("without a client id").size(), 2);
    }

    void received_account_decidesTheProductAccount_data() {
        QTest::addColumn<QVariantMap>("fields");
        QTest::addColumn<bool>("kept");
        QTest::addColumn<QVariant>("product");
        const QString account = UserAccount::tradingAccount;
        const QString product = UserAccount::productAccount;
        QTest::newRow("no account") << QVariantMap{} << true << QVariant();
        QTest::newRow("known account") << QVariantMap{{account, "T0001"}} << true << QVariant("P1");
        QTest::newRow("unknown account") << QVariantMap{{account, "T9"}} << false << QVariant();
        QTest::newRow("empty account") << QVariantMap{{account, ""}} << false << QVariant();
        QTest::newRow("product given")
            << QVariantMap{{account, "T9"}, {product, "P9"}} << true << QVariant("P9");
        QTest::newRow("product alone") << QVariantMap{{product, "P9"}} << true << QVariant("P9");
    }
    void received_account_decidesTheProductAccount() {
        QFETCH(QVariantMap, fields);
        QFETCH(bool, kept);
        QFETCH(QVariant, product);
        FlowWorld world;
        world.flow.slotRecvBusiMsgPush(message("1", fields), true);
        QCOMPARE(world.flow.GetAllBusiMsgList().size(), kept ? 1 : 0);
        QCOMPARE(world.stored("1").value(UserAccount::productAccount), product);
    }

    void received_serverIdKnown_isOneMessageAndTakesThePosition() {
        FlowWorld world;
        const QString serverId = BusiMsgCenter::ServerMsgId;
        world.flow.slotRecvBusiMsgPush(message("1", {{serverId, "S1"}}), true);
        QVERIFY(world.flow.SetBusiMsgRead("1"));
        world.flow.slotRecvBusiMsgPush(
            message("2", {{serverId, "S1"}, {System::positionStr, "000002"}}), true);
        QCOMPARE(idsOf(world.flow.GetAllBusiMsgList()), QStringList{"1"});
        QCOMPARE(world.stored("1").value(System::positionStr).toString(), QString("000002"));
        QVERIFY(world.flow.IsBusiMsgRead("1"));
        QCOMPARE(world.flow.clientIdOf("S1"), QString("1"));
        QCOMPARE(world.flow.clientIdOf("S2"), QString());
    }

    void received_serverIdOfADroppedMessage_isNotRegistered() {
        FlowWorld world;
        const QVariantMap fields{{BusiMsgCenter::ServerMsgId, "S1"},
                                 {UserAccount::tradingAccount, "T9"}};
        world.flow.slotRecvBusiMsgPush(message("1", fields), true);
        QCOMPARE(world.flow.clientIdOf("S1"), QString());
        world.accounts.products.insert("T9", "P9");
        world.flow.slotRecvBusiMsgPush(message("2", fields), true);
        QCOMPARE(idsOf(world.flow.GetAllBusiMsgList()), QStringList{"2"});
    }

    void received_noticeInMemoryOnly_leavesTheServersMessageToTheTable() {
        FlowWorld world;
        const QVariantMap fields{{BusiMsgCenter::ServerMsgId, "S1"}};
        world.flow.slotRecvBusiMsgPush(message("1", fields), false);
        QCOMPARE(world.flow.clientIdOf("S1"), QString());
        world.flow.slotRecvBusiMsgPush(message("2", fields), true);
        QCOMPARE(idsOf(world.flow.GetAllBusiMsgList()), (QStringList{"1", "2"}));
    }

    void received_serverIdFromManyThreads_isOneMessage() {
        FlowWorld world;
        std::vector<std::thread> threads;
        for (int thread = 0; thread < 4; ++thread) {
            threads.emplace_back([&world, thread] {
                for (int i = 0; i < 200; ++i) {
                    world.flow.slotRecvBusiMsgPush(
                        message(QStringLiteral("%1-%2").arg(thread).arg(i),
                                {{BusiMsgCenter::ServerMsgId, QString::number(i)}}),
                        true);
                    world.flow.GetUnreadBusiMsgList();
                }
            });
        }
        for (std::thread& thread : threads) {
            thread.join();
        }
        QCOMPARE(world.flow.GetAllBusiMsgList().size(), 200);
    }

    void received_anyText_isKeptAsItIs_data() {
        QTest::addColumn<QString>("text");
        QTest::newRow("empty") << QString();
        QTest::newRow("1 MB") << QString(1024 * 1024, QChar(0x6587));
        QTest::newRow("control characters") << QStringLiteral("a\tb\r\n\x01\x1f");
        QTest::newRow("null character") << QString("a").append(QChar(0)).append("b");
        QTest::newRow("emoji") << QString::fromUtf8("涨停\xF0\x9F\x9A\x80");
        QTest::newRow("half an emoji") << QString(QChar(0xD83D));
        QTest::newRow("quotes and places") << QStringLiteral("it's \"%1\" %%");
    }
    void received_anyText_isKeptAsItIs() {
        QFETCH(QString, text);
        FlowWorld world;
        world.flow.slotRecvBusiMsgPush(message("1", {{System::textDescription, text}}), true);
        QCOMPARE(world.stored("1").value(System::textDescription).toString(), text);
        world.flow.mergeQueriedBusiMsg({{{System::textDescription, text}, {"other", 1}}});
        QCOMPARE(world.flow.GetAllBusiMsgList().size(), 2);
    }

    void merged_newRow_getsIdTimeAndReadState() {
        FlowWorld world;
        const QDateTime sent(QDate(2024, 3, 1), QTime(8, 0));
        QVariantMap row = serverRow("S1", "000007", sent.toMSecsSinceEpoch());
        row.insert(System::clientMsgID, "the server's");
        world.flow.mergeQueriedBusiMsg({row});
        const QList<QVariantMap> all = world.flow.GetAllBusiMsgList();
        QCOMPARE(all.size(), 1);
        const QString clientId = all.first().value(System::clientMsgID).toString();
        QVERIFY(!clientId.isEmpty() && clientId != "the server's");
        QCOMPARE(all.first().value(System::createTime).toDateTime(), sent);
        QCOMPARE(all.first().value(System::positionStr).toString(), QString("000007"));
        QCOMPARE(all.first().value(BusiMsgCenter::ReadStatus), QVariant(false));
        QCOMPARE(world.flow.clientIdOf("S1"), clientId);
        QString position;
        world.store.getBusiMsgPos(position);
        QCOMPARE(position, QString());
    }

    void merged_unusableTime_isTheBusinessClocks_data() {
        QTest::addColumn<QVariant>("given");
        QTest::newRow("missing") << QVariant();
        QTest::newRow("text") << QVariant("20240301 080000");
        QTest::newRow("year 9999")
            << QVariant(QDateTime(QDate(9999, 12, 31), QTime(0, 0)).toMSecsSinceEpoch());
    }
    void merged_unusableTime_isTheBusinessClocks() {
        QFETCH(QVariant, given);
        FlowWorld world;
        world.flow.mergeQueriedBusiMsg({serverRow("S1", "1", given)});
        QCOMPARE(world.flow.GetAllBusiMsgList().first().value(System::createTime).toDateTime(),
                 world.clock.now());
    }

    void merged_knownRow_changesItsPositionOnly() {
        FlowWorld world;
        world.flow.slotRecvBusiMsgPush(
            message("1", {{BusiMsgCenter::ServerMsgId, "S1"}, {System::positionStr, "1"}}), true);
        world.flow.SetBusiMsgRead("1");
        QVariantMap expected = world.stored("1");
        expected.insert(System::positionStr, "000009");
        world.flow.mergeQueriedBusiMsg({serverRow("S1", "000009", 1)});
        QCOMPARE(world.flow.GetAllBusiMsgList(), QList<QVariantMap>{expected});
    }

    void merged_rowTwiceThenPushed_isOneMessage() {
        FlowWorld world;
        world.flow.mergeQueriedBusiMsg({serverRow("S1", "1"), serverRow("S1", "2")});
        world.flow.mergeQueriedBusiMsg({serverRow("S1", "3")});
        world.flow.slotRecvBusiMsgPush(
            message("9", {{BusiMsgCenter::ServerMsgId, "S1"}, {System::positionStr, "4"}}), true);
        const QList<QVariantMap> all = world.flow.GetAllBusiMsgList();
        QCOMPARE(all.size(), 1);
        QCOMPARE(all.first().value(System::positionStr).toString(), QString("4"));
    }

    void merged_emptyServerId_isANewMessageEachTime() {
        FlowWorld world;
        world.flow.mergeQueriedBusiMsg({serverRow("", "1"), serverRow("", "1")});
        QCOMPARE(world.flow.GetAllBusiMsgList().size(), 2);
        QCOMPARE(world.flow.clientIdOf(""), QString());
    }

    void merged_againWithoutServerIds_isSkippedWithOneLogLine() {
        FlowWorld world;
        world.flow.mergeQueriedBusiMsg({});
        world.flow.mergeQueriedBusiMsg({serverRow("", "1"), serverRow("", "2")});
        const LogCapture log;
        world.flow.mergeQueriedBusiMsg(
            {serverRow("", "1"), serverRow("", "2"), serverRow("S3", "3")});
        QCOMPARE(world.flow.GetAllBusiMsgList().size(), 3);
        QVERIFY(!world.flow.clientIdOf("S3").isEmpty());
        QCOMPARE(log.texts(QtInfoMsg).filter("2 rows without a server id are skipped").size(), 1);
    }

    void position_empty_leavesTheOneThatIsThere() {
        FlowWorld world;
        world.flow.mergeQueriedBusiMsg({serverRow("S1", "000001")});
        world.flow.mergeQueriedBusiMsg({serverRow("S1", "")});
        const QString clientId = world.flow.clientIdOf("S1");
        world.flow.slotRecvBusiMsgPush(
            message("2", {{BusiMsgCenter::ServerMsgId, "S1"}, {System::positionStr, ""}}), true);
        QCOMPARE(world.stored(clientId).value(System::positionStr).toString(), QString("000001"));
    }

    void received_idOfAServersMessage_letsTheServersMessageComeAgain() {
        FlowWorld world;
        const QVariantMap fields{{BusiMsgCenter::ServerMsgId, "S1"}};
        world.flow.slotRecvBusiMsgPush(message("1", fields), true);
        world.flow.slotRecvBusiMsgPush(message("1", fields), true);
        QCOMPARE(world.flow.clientIdOf("S1"), QString("1"));
        world.flow.slotRecvBusiMsgPush(message("1"), false);
        QCOMPARE(world.flow.clientIdOf("S1"), QString());
        world.flow.slotRecvBusiMsgPush(message("2", fields), true);
        QCOMPARE(idsOf(world.flow.GetAllBusiMsgList()), (QStringList{"1", "2"}));
        QCOMPARE(world.flow.clientIdOf("S1"), QString("2"));
    }

    void merged_rowWithoutMessage_isDroppedWithALogLine() {
        FlowWorld world;
        const LogCapture log;
        world.flow.mergeQueriedBusiMsg({QVariantMap(), serverRow("S1", "1")});
        QCOMPARE(world.flow.GetAllBusiMsgList().size(), 1);
        QCOMPARE(log.texts(QtInfoMsg).filter("1 rows without a message are dropped").size(), 1);
    }

    void lists_ofMessages_areInTheOrderOfClientIdsAsTexts() {
        FlowWorld world;
        for (const char* id : {"9", "10", "a", "B"}) {
            world.flow.slotRecvBusiMsgPush(message(id), false);
        }
        const QStringList expected{"10", "9", "B", "a"};
        QCOMPARE(idsOf(world.flow.GetAllBusiMsgList()), expected);
        QCOMPARE(idsOf(world.flow.GetUnreadBusiMsgList()), expected);
        QCOMPARE(idsOf(world.flow.GetRemindBusiMsgList()), expected);
    }

    void markedRead_twice_isAnnouncedOnce() {
        FlowWorld world;
        world.flow.slotRecvBusiMsgPush(message("1"), true);
        world.flow.slotRecvBusiMsgPush(message("2"), true);
        QVERIFY(!world.flow.IsBusiMsgRead("1"));
        QVERIFY(world.flow.SetBusiMsgRead("1"));
        QVERIFY(world.flow.SetBusiMsgRead("1"));
        QVERIFY(world.flow.IsBusiMsgRead("1"));
        QCOMPARE(world.sink.read, QList<QVariantMap>{world.stored("1")});
        QCOMPARE(world.sink.read.first().value(BusiMsgCenter::ReadStatus), QVariant(true));
        QCOMPARE(idsOf(world.flow.GetUnreadBusiMsgList()), QStringList{"2"});
        QCOMPARE(idsOf(world.flow.GetRemindBusiMsgList()), QStringList{"2"});
        QCOMPARE(world.flow.GetAllBusiMsgList().size(), 2);
    }

    void unknownId_isUnreadAndCannotBeMarked() {
        FlowWorld world;
        QVERIFY(!world.flow.IsBusiMsgRead("1"));
        QVERIFY(!world.flow.SetBusiMsgRead("1"));
        QVERIFY(world.sink.read.isEmpty());
        QVERIFY(world.flow.GetAllBusiMsgList().isEmpty());
    }
};

QTEST_GUILESS_MAIN(MessageFlowTest)
#include "message_flow_test.moc"
