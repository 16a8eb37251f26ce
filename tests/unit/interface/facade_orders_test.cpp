#include <QtTest>
#include <array>
#include <atomic>
#include <memory>
#include <thread>
#include <vector>

#include "client_world.h"
#include "first_load.h"
#include "local_platform.h"
#include "log_capture.h"
#include "process_per_case.h"
#include "velmar_business_data_interface.h"
#include "velmarutils/velmar_utils.h"
#include "vocabulary/constants.h"
#include "vocabulary/fields.h"
#include "vocabulary/quindar_msg_type.h"
#include "vocabulary/values.h"
#include "wait_for.h"
#include "znmsg/c_message_common.h"
#include "znmsg/c_un_pack_message_common.h"

namespace {

using Facade = VelmarBusinessDataInterface;

StaticDbBuilder staticData() {
    return StaticDbBuilder()
        .section(Constants::ORDERSTATUSSWITCH, {{"A", "A|B"}})
        .reference("security", "600000.SH",
                   {{Security::symbol, "600000.SH"},
                    {Security::securityID, "600000"},
                    {UserAccount::securityExchange, Exchange::sh}});
}

QList<TestAccount> accounts() {
    return {TestAccount("T1").withSecurityAccount("1", "A1").withSecurityAccount("1", "A2")};
}

QList<QVariantMap> orderList() {
    return {{{Security::listID, "L1"}},
            {{Security::symbol, "600000.SH"},
             {UserAccount::tradingAccount, "T1"},
             {Security::orderQty, 100}}};
}

/// A row of a message, the header being row 0.
QVariantMap rowOf(const CMessageCommon& message, int row) {
    CUnPackMessageCommon unpacker;
    unpacker.SetUnPackMsg(message.GetMsg(), false);
    return unpacker.SetCurrentRow(row) ? unpacker.GetRowValue() : QVariantMap();
}

}  // namespace

class FacadeOrdersTest : public QObject {
    Q_OBJECT

private slots:
    void canOrderUpdate_andStation_neverCreateTheCore() {
        const ClientWorld world(accounts(), staticData());
        const LogCapture log;
        const QVariantMap stored{
            {Security::orderID, "O1"}, {Security::orderStatus, "A"}, {Security::cumQty, 100}};
        QVariantMap incoming = stored;
        QVERIFY(!Facade::CanOrderUpdate(stored, incoming));
        incoming.insert(Security::cumQty, 200);
        QVERIFY(Facade::CanOrderUpdate(stored, incoming));
        QCOMPARE(Facade::GetVelmarOrderStation("p"), VelmarUtils::GetVelmarOrderStation("p"));
        QVERIFY(!log.contains("init ZnBusinessDataManager"));
        QCOMPARE(LocalPlatform::instance().presenterCount(), 0);
        // The check above can fail: another function does create it.
        const std::unique_ptr<CMessageCommon> message(Facade::OrderCancelRequest({}, false));
        QVERIFY(log.contains("init ZnBusinessDataManager"));
        QCOMPARE(LocalPlatform::instance().presenterCount(), 1);
    }

    void orderList_afterTheStartUp_hasTheChosenSecurityAccount() {
        ClientWorld world(accounts(), staticData());
        world.login();
        InitVelmarBusinessManagePlugin();
        const QString chosen =
            Facade::GetCurrentSecurityAccountByTradingAndExchange("T1", Exchange::sh);
        QVERIFY(!chosen.isEmpty());
        const QString other = chosen == "A1" ? "A2" : "A1";
        for (const QString& account : {chosen, other}) {
            QCOMPARE(Facade::SetCurrentSecurityAccountMap({{"T1", {{Exchange::sh, account}}}}), 0);
            const std::unique_ptr<CMessageCommon> list(
                Facade::NewOrderList(orderList(), true, false));
            QVERIFY(list);
            QCOMPARE(list->GetType().toString(), QString("261202"));
            QCOMPARE(rowOf(*list, 0).value(Security::listID), QVariant("L1"));
            QCOMPARE(rowOf(*list, 1).value(UserAccount::securityAccount), QVariant(account));
            QCOMPARE(rowOf(*list, 1).value(Security::securityID), QVariant("600000"));
            const std::unique_ptr<CMessageCommon> instance(
                Facade::NewOrderListForInstance(orderList(), "strategy"));
            QVERIFY(instance);
            QCOMPARE(instance->GetType().toString(), QString("strategy"));
            QCOMPARE(rowOf(*instance, 1).value(UserAccount::securityAccount), QVariant(account));
        }
    }

    void orderList_whileTheChoiceChanges_hasOneOfTheAccountsInEachRow() {
        constexpr int kThreads = 4;
        constexpr int kSwitches = 60;
        ClientWorld world(accounts(), staticData());
        world.login();
        InitVelmarBusinessManagePlugin();
        const QStringList either{"A1", "A2"};
        std::atomic<bool> done{false};
        std::atomic<int> wrong{0};
        std::array<std::atomic<int>, 2> seen{};
        std::vector<std::thread> builders;
        for (int t = 0; t < kThreads; ++t) {
            builders.emplace_back([&, t] {
                QList<QVariantMap> list = orderList();
                list.append(list.last());
                while (!done) {
                    const std::unique_ptr<CMessageCommon> message(
                        t % 2 == 0 ? Facade::NewOrderList(list, false, false)
                                   : Facade::NewOrderListForInstance(list, "strategy"));
                    for (const int row : {1, 2}) {
                        const int which = either.indexOf(
                            rowOf(*message, row).value(UserAccount::securityAccount).toString());
                        ++(which < 0 ? wrong : seen.at(static_cast<size_t>(which)));
                    }
                }
            });
        }
        bool switched = true;
        for (int i = 0; i < kSwitches && switched; ++i) {
            std::atomic<int>& seenNow = seen.at(static_cast<size_t>(i % 2));
            switched = Facade::SetCurrentSecurityAccountMap(
                           {{"T1", {{Exchange::sh, either.at(i % 2)}}}}) == 0;
            const int before = seenNow;
            switched = switched && waitFor([&] { return seenNow > before + 2 * kThreads; });
        }
        done = true;
        for (std::thread& builder : builders) {
            builder.join();
        }
        QVERIFY(switched);
        QCOMPARE(wrong.load(), 0);
    }

    void orderList_timeOfARow_isNow() {
        const ClientWorld world(accounts(), staticData());
        const qint64 before = QDateTime::currentMSecsSinceEpoch();
        const std::unique_ptr<CMessageCommon> cancel(
            Facade::OrderCancelRequest({{Security::orderID, "O1"}}, true));
        const qint64 after = QDateTime::currentMSecsSinceEpoch();
        const qint64 time = rowOf(*cancel, 0).value(Security::transActTime).toLongLong();
        QVERIFY(before <= time && time <= after);
        QCOMPARE(cancel->GetType().toString(), QString("261212"));
    }

    void orderList_empty_isNull() {
        const ClientWorld world(accounts(), staticData());
        QVERIFY(!Facade::NewOrderList({}, true, true));
        QVERIFY(!Facade::NewOrderListForInstance({}, "type"));
    }
};

VELMAR_PROCESS_PER_CASE_MAIN(FacadeOrdersTest)
#include "facade_orders_test.moc"
