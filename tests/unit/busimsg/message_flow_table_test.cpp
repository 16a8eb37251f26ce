#include <QtTest>

#include "message_flow_world.h"
#include "vocabulary/values.h"

namespace {

const QString kServerId = BusiMsgCenter::ServerMsgId;

/// The messages that a further run of the client on the same day finds.
QMap<QString, QVariantMap> loaded(const FlowWorld& world) {
    MessageStore store(world.storeClock);
    store.initBusiMsgCenterData();
    const auto tables = store.m_busiMsgLock.read();
    return tables->m_busiMsgMap;
}

/// A run that has loaded the table and writes to it until it ends.
struct Run {
    explicit Run(FlowWorld& world)
        : store(world.storeClock), flow(store, world.reminders, world.accounts, sink) {
        store.startWriter();
        store.initBusiMsgCenterData();
    }

    MessageStore store;
    struct : BusiMsgSink {
        bool busiMsgAdded(QVariantMap&) override { return true; }
        void busiMsgRead(const QVariantMap& busiMsg) override { store->saveBusiMsgRead(busiMsg); }
        MessageStore* store = nullptr;
    } sink{};
    MessageFlow flow;
};

QVariantMap message(const FlowWorld& world, const QString& clientId, const QVariantMap& more = {}) {
    QVariantMap record{{System::clientMsgID, clientId},
                       {System::textDescription, "文"},
                       {System::BusiMsgLevel, 2},
                       {System::createTime, world.clock.now()},
                       {BusiMsgCenter::ReadStatus, false}};
    for (auto it = more.cbegin(); it != more.cend(); ++it) {
        record.insert(it.key(), it.value());
    }
    return record;
}

}  // namespace

/// What of the messages is in the table for the next run.
class MessageFlowTableTest : public QObject {
    Q_OBJECT

private slots:
    void received_flag_decidesWhetherTheTableKeepsIt() {
        FlowWorld world;
        {
            Run run(world);
            run.flow.slotRecvBusiMsgPush(message(world, "1"), true);
            run.flow.slotRecvBusiMsgPush(message(world, "2"), false);
            QCOMPARE(run.flow.GetAllBusiMsgList().size(), 2);
        }
        QCOMPARE(loaded(world).keys(), QStringList{"1"});
    }

    void received_account_isKeptWithItsProduct() {
        FlowWorld world;
        {
            Run run(world);
            run.flow.slotRecvBusiMsgPush(
                message(world, "1", {{UserAccount::tradingAccount, "T0001"}}), true);
        }
        QCOMPARE(loaded(world).value("1").value(UserAccount::productAccount).toString(),
                 QString("P1"));
    }

    void queriedRow_known_changesItsPositionAndKeepsItsReadState() {
        FlowWorld world;
        {
            Run run(world);
            run.flow.slotRecvBusiMsgPush(
                message(world, "1", {{kServerId, "S1"}, {System::positionStr, "000001"}}), true);
            run.flow.slotRecvBusiMsgPush(
                message(world, "2", {{kServerId, "S2"}, {System::positionStr, "000002"}}), true);
            run.sink.store = &run.store;
            QVERIFY(run.flow.SetBusiMsgRead("1"));
        }
        {
            Run run(world);
            run.flow.mergeQueriedBusiMsg(
                {{{kServerId, "S1"}, {System::positionStr, "000008"}},
                 {{kServerId, "S2"}, {System::positionStr, "000009"}},
                 {{kServerId, "S3"},
                  {System::positionStr, "000010"},
                  {System::createTime, world.clock.now().toMSecsSinceEpoch()}}});
            QCOMPARE(run.flow.GetAllBusiMsgList().size(), 3);
        }
        const QMap<QString, QVariantMap> rows = loaded(world);
        QCOMPARE(rows.size(), 3);
        const auto field = [&rows](const QString& id, const QString& name) {
            return rows.value(id).value(name);
        };
        QCOMPARE(field("1", System::positionStr).toString(), QString("000008"));
        QCOMPARE(field("1", BusiMsgCenter::ReadStatus), QVariant(true));
        QCOMPARE(field("2", System::positionStr).toString(), QString("000009"));
        QCOMPARE(field("2", BusiMsgCenter::ReadStatus), QVariant(false));
        QCOMPARE(field("1", System::textDescription).toString(), QString("文"));
    }

    void queriedRow_withoutUsableTime_isDeletedOnTheNextDay() {
        FlowWorld world;
        {
            Run run(world);
            run.flow.mergeQueriedBusiMsg(
                {{{kServerId, "S1"}, {System::createTime, ""}},
                 {{kServerId, "S2"}, {System::createTime, Q_INT64_C(253402214400000)}}});
        }
        QCOMPARE(loaded(world).size(), 2);
        world.clock.advance(24LL * 3600 * 1000);
        QVERIFY(loaded(world).isEmpty());
    }
};

QTEST_GUILESS_MAIN(MessageFlowTableTest)
#include "message_flow_table_test.moc"
