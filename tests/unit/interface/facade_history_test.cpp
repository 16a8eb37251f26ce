#include <QtTest>
#include <atomic>
#include <functional>
#include <future>

#include "client_world.h"
#include "facade_function.h"
#include "first_load.h"
#include "local_platform.h"
#include "log_capture.h"
#include "process_per_case.h"
#include "run_on_thread.h"
#include "thread_hand_over.h"
#include "velmar_business_data_interface.h"
#include "velmar_business_data_manager_presenter_class.h"
#include "vocabulary/fields.h"
#include "vocabulary/net_state.h"
#include "vocabulary/quindar_msg_type.h"
#include "vocabulary/values.h"
#include "vocabulary/velmar_msg_type.h"
#include "wait_for.h"

namespace {

using Facade = VelmarBusinessDataInterface;

inline const QString kScope = Velmar_MsgType::getSysTradeDateByScopeRequest;
inline const QString kAround = Velmar_MsgType::getSysTradeDateByInitDateRequest;
inline const QString kConfig = Velmar_MsgType::getSysConfigRequest;
inline const QString kAnnual = Velmar_MsgType::getAnnualReportRequest;
inline const QString kSubscribe = Quindar_MsgType::subscribeTopicRequest;
constexpr int kTradeGateState = 0x10006;
constexpr int kInfoGateState = 0x1000B;

const QVariantMap kContent{{"userID", "tester"}};

/// The reports and lists, each with arguments that fit.
const QList<QPair<const char*, QStringList>> kCalls{
    {"GetHistoryEntrustList", {R"(["T0001"])", "20260105", "2026-01-06"}},
    {"GetHistoryDealList", {R"(["T0001"])", "2026-01-05", "2026-01-06"}},
    {"GetHistoryEntrustByTradeDateAndOrderID", {"20260105", "1", "T0001"}},
    {"GetHistoryEntrustRecordList", {R"({"pageNo":1})", "20260105", "20260106"}},
    {"GetHistoryDealRecordList", {R"({"pageNo":1})", "20260105", "20260106"}},
    {"GetHistoryDealGatherRecordList", {R"({"side":"1"})", "20260105", "20260106", "10"}},
    {"GetHistoryEntrustExportList", {R"(["T0001"])", "20260105", "20260106"}},
    {"GetHistoryDealExportList", {R"(["T0001"])", "20260105", "20260106"}},
    {"GetHistoryDealStatisticsList", {R"(["T0001"])", "20260105", "20260106"}},
    {"GetHistoryNormalFundInfo", {R"(["T0001"])", "20260105", "20260106"}},
    {"GetTodayNormalFundInfo", {R"(["T0001"])", "20260105"}},
    {"GetHistoryMarginFundInfo", {R"(["T0001"])", "20260105"}},
    {"GetHistoryAppraisementInfo", {R"(["P1"])", "20260105", "20260106"}},
    {"GetHistoryAppraisementProfitInfo", {R"(["P1"])", "20260105", "20260106"}},
    {"GetHistoryPanfenFlowInfo", {R"(["P1"])", "20260105"}},
    {"GetHistoryAssetDeliveryReports", {R"(["T0001"])", "20260105", "20260106"}},
    {"GetAnnualReport", {}},
    {"GetTradeDates", {"20260105", "20260106", "1"}},
    {"GetTradeDatesByDayAndRange", {"20260105", "3", "1"}},
    {"GetTradeDatesByMonth", {"0", "0"}},
    {"GetSystemAnnoucement", {"true"}},
    {"getSysConfigValue", {"item"}},
    {"SubscribePushMsgFromServer", {"topic", R"({"userID":"tester"})", "TradeGate"}}};

const QDate kFrom(2026, 1, 5);
const QDate kTo(2026, 1, 7);

/// A call of a report, the calendar or an item, with the request that it sends.
struct SentCall {
    const char* name;
    std::function<void()> call;
    QString type;
    QVariantMap fields;      ///< of the request's header
    QStringList accounts{};  ///< of the request's rows
};

/// No two calls send the same type with the same fields.
const QList<SentCall> kSentCalls{
    {"GetHistoryNormalFundInfo",
     [] {
         Facade::GetHistoryNormalFundInfo({"C1", "M1"}, kFrom, kTo);
     },
     Velmar_MsgType::queryHistoryNormalFundRequest,
     {{System::startDate, "20260105"}, {System::endDate, "20260107"}},
     {"C1"}},
    {"GetTodayNormalFundInfo",
     [] {
         Facade::GetTodayNormalFundInfo({"C1", "M1"}, kTo);
     },
     Velmar_MsgType::queryTodayNormalFundRequest,
     {{System::queryDate, "20260107"}},
     {"C1"}},
    {"GetHistoryMarginFundInfo",
     [] {
         Facade::GetHistoryMarginFundInfo({"C1", "M1"}, kFrom);
     },
     Velmar_MsgType::queryHistoryMarginFundRequest,
     {{System::queryDate, "20260105"}},
     {"M1"}},
    {"GetHistoryAppraisementInfo",
     [] { Facade::GetHistoryAppraisementInfo({"P1"}, kFrom, kTo); },
     Velmar_MsgType::queryHistoryAppraisementRequest,
     {{System::queryDate, "2026-01-05"}, {AppraisementInfo::ProductRecord, "P1"}}},
    {"GetHistoryAppraisementProfitInfo",
     [] { Facade::GetHistoryAppraisementProfitInfo({"P1"}, kTo, kFrom); },
     Velmar_MsgType::queryHistoryProfitRequest,
     {{System::endTime, "2026-01-07"}, {AppraisementInfo::ProductRecord, "P1"}}},
    {"GetHistoryPanfenFlowInfo",
     [] { Facade::GetHistoryPanfenFlowInfo({"P1"}, kFrom); },
     Velmar_MsgType::QueryPanfenFlowRequest,
     {{PanfenEquityFlowInfo::OccurredDate, "20260105"},
      {PanfenEquityFlowInfo::ProductRecord, "P1"}}},
    {"GetHistoryAssetDeliveryReports",
     [] {
         QList<QVariantMap> reports;
         Facade::GetHistoryAssetDeliveryReports({"C1"}, kFrom, kTo, reports);
     },
     Velmar_MsgType::queryHistoryAssetDeliveryRequest,
     {{System::startDate, "20260105"},
      {System::endDate, "20260107"},
      {UserAccount::tradingAccount, "C1"}}},
    {"GetTradeDates",
     [] {
         QString error;
         Facade::GetTradeDates("20260105", "20260107", Exchange::hk, error);
     },
     kScope,
     {{SysTradeDate::InitStartDate, "20260105"},
      {SysTradeDate::InitEndDate, "20260107"},
      {SysTradeDate::TradeDayType, 3}}},
    {"GetTradeDatesByDayAndRange",
     [] { Facade::GetTradeDatesByDayAndRange("20260105", 7, Exchange::hk); },
     kAround,
     {{SysTradeDate::InitStartDate, "20260105"},
      {SysTradeDate::Days, 7},
      {SysTradeDate::TradeDayType, 3}}},
    {"GetTradeDatesByMonth",
     [] { Facade::GetTradeDatesByMonth(0, 0); },
     kScope,
     {{SysTradeDate::InitStartDate, "20260101"},
      {SysTradeDate::InitEndDate, "20271231"},
      {SysTradeDate::TradeDayType, 1}}},
    {"GetAnnualReport",
     [] {
         QString error;
         Facade::GetAnnualReport(error);
     },
     kAnnual,
     {{UserAccount::userID, "tester"}}},
    {"GetSystemAnnoucement",
     [] { Facade::GetSystemAnnoucement(true); },
     kConfig,
     {{System::itemName, SystemItemName::TagAnnoucement}, {System::itemValue, "1"}}},
    {"getSysConfigValue",
     [] { Facade::getSysConfigValue("item"); },
     kConfig,
     {{System::itemName, "item"}, {UserAccount::userID, "tester"}}},
    {"SubscribePushMsgFromServer",
     [] { Facade::SubscribePushMsgFromServer("t1", kContent, NetGateType::TradeGate); },
     kSubscribe,
     {{System::subscriptionTopic, "t1"}, {"userID", "tester"}}}};

bool contains(const QVariantMap& record, const QVariantMap& fields) {
    for (auto field = fields.cbegin(); field != fields.cend(); ++field) {
        if (record.value(field.key()) != field.value()) {
            return false;
        }
    }
    return true;
}

QStringList accountsOf(const ScriptedLink::Request& request) {
    QStringList accounts;
    for (const QVariantMap& row : request.rows) {
        accounts.append(row.value(UserAccount::tradingAccount).toString());
    }
    return accounts;
}

const FacadeFunction* choose(const char* name, const QStringList& arguments) {
    int count = 0;
    const FacadeFunction* const functions = velmarFacadeFunctions(&count);
    QString error;
    const FacadeFunction* const function =
        chooseFacadeFunction(functions, count, name, arguments, &error);
    if (!function) {
        qWarning().noquote() << error;
    }
    return function;
}

bool isEmptyResult(const QJsonValue& result) {
    return result.toString().isEmpty() && result.toArray().isEmpty() &&
           result.toObject().isEmpty() && result.toInt() == 0 && !result.toBool();
}

/// Waits for the end of the start-up, which subscribes to topics of its own.
void waitForTheStartUp() {
    runOnThreadAndWait(s_presenter.load(), [] {});
}

/// The topics of the subscriptions but the presenter's own ones, in order.
QStringList topics(ClientWorld& world) {
    QStringList topics;
    for (const ScriptedLink::Request& request : world.link().requests(kSubscribe)) {
        const QString topic = request.header.value(System::subscriptionTopic).toString();
        if (topic != Velmar_MsgType::MessageCenterPushMsg &&
            topic != Velmar_MsgType::ClientPatchInfoPush) {
            topics.append(topic + ' ' + request.envelopeType);
        }
    }
    return topics;
}

void connectGate(int event) {
    LocalPlatform::instance().publishEvent(event, NET_STATE::CONNECTTING);
    LocalPlatform::instance().publishEvent(event, NET_STATE::CONNECTED);
}

/// Waits on a thread of its own, so that no queued call of this thread runs meanwhile.
template <class Predicate>
bool waitWithoutThisThread(Predicate predicate) {
    return std::async(std::launch::async, [predicate] { return waitFor(predicate); }).get();
}

}  // namespace

/// There is one core in a process, so each of these has a process of its own.
class FacadeHistoryTest : public QObject {
    Q_OBJECT

private slots:
    void calendarAndItems_firstCallInTheProcess_askTheServer() {
        ClientWorld world;
        world.login();
        LocalPlatform::instance().setClock(
            [] { return QDateTime(QDate(2026, 3, 2), QTime(10, 0)); });
        const QVariantMap day{{SysTradeDate::TradeDate, "20260105"}};
        world.link().on(kScope, ScriptedReply::rows({day}, {{System::totalSize, 1}}));
        world.link().on(kAround, ScriptedReply::rows({day}));
        world.link().on(kAnnual, ScriptedReply::rows({{{"profit", 1.5}}}));
        world.link().on(
            kConfig, ScriptedReply::rows({{{System::itemDesp, "公告"}, {System::itemValue, "7"}}}));
        QCOMPARE(Facade::getSysConfigValue("item"), QString());  // does no first load
        QCOMPARE(LocalPlatform::instance().presenterCount(), 0);
        QString error = "old";
        QCOMPARE(Facade::GetTradeDates("20260101", "20261231", Exchange::sh, error),
                 QStringList{"20260105"});
        QCOMPARE(error, QString());
        QCOMPARE(LocalPlatform::instance().presenterCount(), 1);
        QCOMPARE(Facade::GetTradeDatesByDayAndRange("20260105", 1, Exchange::sh),
                 QStringList{"20260105"});
        QCOMPARE(Facade::GetTradeDatesByMonth(1, 2026), QList<QDate>{QDate(2026, 1, 5)});
        error = "old";
        QCOMPARE(Facade::GetAnnualReport(error), (QVariantMap{{"profit", 1.5}}));
        QCOMPARE(error, QString());
        QCOMPARE(Facade::GetSystemAnnoucement(false), QString("公告"));
        QCOMPARE(Facade::getSysConfigValue("item"), QString("7"));
        QCOMPARE(Facade::getSysConfigValue("item"), QString("7"));
        // The price cage requests items of its own when it is loaded, at any moment.
        QStringList items;
        for (const ScriptedLink::Request& request : world.link().requests(kConfig)) {
            const QString item = request.header.value(System::itemName).toString();
            if (item == "item" || item == SystemItemName::TagAnnoucement) {
                items.append(item);
            }
        }
        QCOMPARE(items, (QStringList{SystemItemName::TagAnnoucement, "item"}));
    }

    void reportsCalendarAndItems_eachSendsItsOwnRequest() {
        ClientWorld world(
            {TestAccount("C1"), TestAccount("M1").withCounter("10086", FundAccountType::Credit)});
        world.login();
        LocalPlatform::instance().setClock(
            [] { return QDateTime(QDate(2026, 3, 2), QTime(10, 0)); });
        for (const SentCall& sent : kSentCalls) {
            world.link().on(sent.type, ScriptedReply::rows({}));
        }
        QCOMPARE(Facade::GetTradingAccountList(true, 1, true), (QStringList{"C1", "M1"}));
        for (const SentCall& sent : kSentCalls) {
            world.link().clearRequests();
            sent.call();
            int found = 0;
            for (const ScriptedLink::Request& request : world.link().requests(sent.type)) {
                found +=
                    contains(request.header, sent.fields) && accountsOf(request) == sent.accounts
                        ? 1
                        : 0;
            }
            QVERIFY2(found == 1, sent.name);
        }
    }

    void everyFunction_afterTheHostHasClosed_isEmptyAndSendsNothing() {
        ClientWorld world;
        world.login();
        InitVelmarBusinessManagePlugin();
        QVERIFY(world.link().waitForRequestCount("325005", 1));
        LocalPlatform::instance().close();
        const int requests = world.link().requestCount();
        for (const auto& call : kCalls) {
            const FacadeFunction* const function = choose(call.first, call.second);
            QVERIFY2(function, call.first);
            const QJsonObject answer = function->call(call.second);
            QVERIFY2(isEmptyResult(answer.value("result")), call.first);
        }
        QCOMPARE(world.link().requestCount(), requests);
        QString error;
        Facade::GetTradeDates("20260101", "20261231", Exchange::sh, error);
        QVERIFY(!error.isEmpty());
        error.clear();
        Facade::GetAnnualReport(error);
        QVERIFY2(error.startsWith("查询年度报告失败："), qPrintable(error));
    }

    void everyFunction_byName_readsAndShowsItsArguments() {
        const ClientWorld world;
        for (const auto& call : kCalls) {
            const FacadeFunction* const function = choose(call.first, call.second);
            QVERIFY2(function, call.first);
            const QVector<FacadeParameter> parameters = function->parameterList();
            int outs = 0;
            for (const FacadeParameter& parameter : parameters) {
                outs += parameter.isOut ? 1 : 0;
            }
            QVERIFY2(parameters.size() == call.second.size() ||
                         parameters.size() == call.second.size() + outs,
                     call.first);
        }
        LocalPlatform::instance().close();
        const QStringList gather{R"({"side":"1","n":2})", "20260105", "2026-01-06", "10"};
        const QJsonObject deals = choose("GetHistoryDealGatherRecordList", gather)->call(gather);
        QCOMPARE(deals.value("function").toString(),
                 QString("QList<QVariantMap> GetHistoryDealGatherRecordList(QVariantMap&, QDate, "
                         "QDate, int)"));
        const QJsonArray given = deals.value("arguments").toArray();
        QCOMPARE(given.at(0).toObject(), (QJsonObject{{"side", "1"}, {"n", 2}}));
        QCOMPARE(given.at(1), QJsonValue("2026-01-05"));
        QCOMPARE(given.at(2), QJsonValue("2026-01-06"));
        QCOMPARE(given.at(3), QJsonValue(10));
        const QJsonObject out = deals.value("out").toArray().at(0).toObject();
        QCOMPARE(out.value("parameter"), QJsonValue(1));
        QCOMPARE(out.value("value").toObject().value("side"), QJsonValue("1"));
        const QStringList delivery{R"(["T0001"])", "20260105", "20260106"};
        const QJsonObject reports =
            choose("GetHistoryAssetDeliveryReports", delivery)->call(delivery);
        QCOMPARE(reports.value("result"), QJsonValue(0));
        QCOMPARE(reports.value("out").toArray().at(0).toObject(),
                 (QJsonObject{{"parameter", 4}, {"value", QJsonArray()}}));
        const QJsonObject list =
            choose("GetHistoryAssetDeliveryReports", delivery + QStringList{R"([{"kept":1}])"})
                ->call(delivery + QStringList{R"([{"kept":1}])"});
        QCOMPARE(list.value("out").toArray().at(0).toObject().value("value").toArray(),
                 (QJsonArray{QJsonObject{{"kept", 1}}}));
    }

    void byName_badDate_doesNotFit() {
        int count = 0;
        const FacadeFunction* const functions = velmarFacadeFunctions(&count);
        QString error;
        QVERIFY(!chooseFacadeFunction(functions, count, "GetHistoryPanfenFlowInfo",
                                      {R"(["P1"])", "5.1.2026"}, &error));
        QVERIFY2(error.contains("argument 2, date: '5.1.2026' is not a date such as 2026-01-31 or "
                                "20260131"),
                 qPrintable(error));
    }

    void subscriptions_gateReconnects_areMadeAgainOnTheMessageThread() {
        ClientWorld world;
        world.login();
        world.link().on(kSubscribe, ScriptedReply::rows({}));
        QVERIFY(Facade::SubscribePushMsgFromServer("t1", kContent, NetGateType::TradeGate));
        QVERIFY(Facade::SubscribePushMsgFromServer("t1", kContent, NetGateType::TradeGate));
        QVERIFY(Facade::SubscribePushMsgFromServer("t2", kContent, NetGateType::TradeGate));
        QVERIFY(Facade::SubscribePushMsgFromServer("i1", kContent, NetGateType::InfoGate));
        QVERIFY(Facade::SubscribePushMsgFromServer("m1", kContent, NetGateType::MarketTcpGate));
        waitForTheStartUp();
        QCOMPARE(topics(world), (QStringList{"t1 " + kSubscribe, "t2 " + kSubscribe, "i1 325005",
                                             "m1 " + kSubscribe}));
        world.link().clearRequests();

        // Neither the object thread nor this one has to run for it.
        std::promise<void> go;
        const std::shared_future<void> stopped = go.get_future().share();
        runOnThreadOf(s_presenter.load(), [stopped] { stopped.wait(); });
        connectGate(kTradeGateState);
        const QStringList tradeTopics{"t1 " + kSubscribe, "t2 " + kSubscribe};
        const bool madeAgain = waitWithoutThisThread([&] { return topics(world) == tradeTopics; });
        connectGate(kInfoGateState);
        const bool infoToo = waitWithoutThisThread([&] {
            return topics(world) == tradeTopics + QStringList{"i1 325005"} &&
                   world.link().requestCount("325005") == 2;  // the presenter's own topic, too
        });
        go.set_value();
        QVERIFY2(madeAgain && infoToo, qPrintable(topics(world).join(", ")));
        LocalPlatform::instance().publishEvent(kTradeGateState, NET_STATE::CONNECTED);
        LocalPlatform::instance().publishEvent(0x10005, NET_STATE::CONNECTED);
        LocalPlatform::instance().publishEvent(0x10012, NET_STATE::CONNECTED);
        connectGate(kTradeGateState);
        // A repeated state and other gates make none.
        QVERIFY(waitWithoutThisThread(
            [&] { return topics(world) == tradeTopics + QStringList{"i1 325005"} + tradeTopics; }));
    }

    void subscriptions_reconnectWaitsForItsAnswer_subscribersGoOn() {
        ClientWorld world;
        world.login();
        world.link().on(kSubscribe, ScriptedReply::rows({}));
        QVERIFY(Facade::SubscribePushMsgFromServer("t1", kContent, NetGateType::TradeGate));
        waitForTheStartUp();
        QVERIFY(world.link().waitUntilIdle());
        world.link().clearRequests();
        world.link().onEach(kSubscribe, [](const ScriptedLink::Request& request) {
            const ScriptedReply reply = ScriptedReply::rows({});
            return request.header.value(System::subscriptionTopic) == "t1" ? reply.held() : reply;
        });
        connectGate(kTradeGateState);
        QVERIFY(waitFor([&] { return world.link().heldCount(kSubscribe) == 1; }));
        world.link().on(kSubscribe, ScriptedReply::rows({}));
        QVERIFY(Facade::SubscribePushMsgFromServer("t1", kContent, NetGateType::TradeGate));
        QVERIFY(Facade::SubscribePushMsgFromServer("t2", kContent, NetGateType::TradeGate));
        QCOMPARE(topics(world), (QStringList{"t1 " + kSubscribe, "t2 " + kSubscribe}));
        const LogCapture log;
        QCOMPARE(world.link().release(), 1);
        QVERIFY(log.waitFor("主题t1内容{\"userID\":\"tester\"}订阅成功"));
    }

    void subscriptions_reconnectWaitsForItsAnswer_hostClosesAtOnce() {
        ClientWorld world;
        world.login();
        world.link().on(kSubscribe, ScriptedReply::rows({}));
        for (const char* topic : {"t1", "t2", "t3"}) {
            QVERIFY(Facade::SubscribePushMsgFromServer(topic, kContent, NetGateType::TradeGate));
        }
        waitForTheStartUp();
        world.link().clearRequests();
        world.link().on(kSubscribe, ScriptedReply::never());
        connectGate(kTradeGateState);
        QVERIFY(world.link().waitForRequestCount(kSubscribe, 1));
        LocalPlatform::instance().close();
        QCOMPARE(world.link().requestCount(kSubscribe), 1);
        QCOMPARE(LocalPlatform::instance().presenterCount(), 0);
    }
};

VELMAR_PROCESS_PER_CASE_MAIN(FacadeHistoryTest)
#include "facade_history_test.moc"
