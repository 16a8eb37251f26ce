#include <QJsonArray>
#include <QJsonObject>
#include <QtTest>

#include "client_world.h"
#include "facade_function.h"
#include "process_per_case.h"
#include "velmar_business_data_interface.h"
#include "velmar_business_data_manager.h"
#include "vocabulary/fields.h"
#include "vocabulary/names.h"
#include "vocabulary/quindar_msg_type.h"
#include "vocabulary/values.h"
#include "vocabulary/velmar_msg_type.h"
#include "wait_for.h"

namespace {

const QString kTick = QStringLiteral(
    R"({"Symbol":"600000.SH","TradingPhaseCode":"3","MaxPx":11,"MinPx":9,"LastPx":10,)"
    R"("Buy1Price":10,"Sell1Price":10,"Sell1OrderQty":7})");

StaticDbBuilder symbols() {
    StaticDbBuilder data;
    data.reference("security", "600000.SH",
                   {{Security::symbol, "600000.SH"},
                    {UserAccount::securityExchange, Exchange::sh},
                    {MDCFieldDefine::mdcSecurityType, MdcSecurityType::StockType},
                    {MDCFieldDefine::mdcSubSecurityType, "02001"}});
    data.section(DictionaryKey::HkStockPriceUnitDict, {{"250", "0.001"}, {"500", "0.005"}});
    return data;
}

/// Calls an exported function by name, as the command line does.
QJsonObject call(const QString& name, const QStringList& arguments) {
    int count = 0;
    const FacadeFunction* const functions = velmarFacadeFunctions(&count);
    QString error;
    const FacadeFunction* const function =
        chooseFacadeFunction(functions, count, name, arguments, &error);
    return function ? function->call(arguments) : QJsonObject{{"error", error}};
}

QJsonValue result(const QString& name, const QStringList& arguments) {
    return call(name, arguments).value("result");
}

QJsonValue out(const QString& name, const QStringList& arguments) {
    return call(name, arguments).value("out").toArray().at(0).toObject().value("value");
}

/// A plug-in that has loaded its prices from a server with Hong Kong rates.
struct LoadedPlugin {
    LoadedPlugin() : world({}, symbols()) {
        world.link().on(Velmar_MsgType::HKStockExchangeRateRequest,
                        ScriptedReply::rows({{{UserAccount::securityExchange, "G"},
                                              {HKSExchgRate::HKSExchgRateBuy, 0.90},
                                              {HKSExchgRate::HKSExchgRateSell, 0.96}}}));
        world.login();
        object.initialize();
    }
    static bool wait() {
        return waitFor([] {
            QString text;
            return VelmarBusinessDataInterface::IsUserCageInfoInited(QString(), text);
        });
    }

    ClientWorld world;
    VelmarBusinessDataManager object;
};

}  // namespace

class FacadePricesTest : public QObject {
    Q_OBJECT

private slots:
    void prices_calledByName_answerAsTheCore() {
        const LoadedPlugin plugin;
        QVERIFY(LoadedPlugin::wait());
        QCOMPARE(result("GetPriceUnitStringBySymbol", {"600000.SH", "10", "101"}).toString(),
                 QString("0.01"));
        QCOMPARE(result("GetPriceUnitBySymbol", {"600000.SH", "10", "121"}).toDouble(), 0.0001);
        QCOMPARE(result("GetPricePrecisionBySymbol", {"600000.SH", "101"}).toInt(), 2);
        QCOMPARE(result("GetDispFactorBySymbol", {"600000.SH"}).toInt(), 100);
        QCOMPARE(result("IsSymbolSupportProtectedLimitPrice", {"600000.SH"}).toBool(), true);
        QCOMPARE(result("GetHKStockPriceUnit", {"0.3", "2"}).toDouble(), 0.005);
        QCOMPARE(result("GetHKStockRate", {"G", "0"}).toDouble(), 0.93);
        QCOMPARE(out("GetHKStockExchangeRate", {}).toObject().keys(), QStringList{"G"});
    }

    void priceByTick_overloads_areChosenByTheirArguments() {
        const LoadedPlugin plugin;
        QVERIFY(LoadedPlugin::wait());
        // The limit of the cage: two percent above the ask of 10.
        QVERIFY(qAbs(result("GetPriceByTickAndType", {kTick, "26", "0", "false", "true", "false"})
                         .toDouble() -
                     10.2) < 1e-9);
        QCOMPARE(result("GetPriceByTickAndType", {kTick, "26", "0", "0.02"}).toDouble(), 11.0);
        const QJsonObject handicap =
            out("GetPriceByTickAndType", {kTick, "28", "5", "0.02"}).toObject();
        QCOMPARE(handicap, (QJsonObject{{"level", 1}, {"price", 10.0}, {"qty", 7}}));
        QVERIFY(call("GetPriceByTickAndType", {kTick, "26"}).contains("error"));
    }

    void cage_calledByName_answersAsTheCore() {
        const LoadedPlugin plugin;
        QVERIFY(LoadedPlugin::wait());
        QVERIFY(qAbs(result("CheckCagePrice", {"10.9", kTick, "false"}).toDouble() - 10.2) < 1e-9);
        QCOMPARE(result("GetAllCageMap", {}).toObject().keys(), (QStringList{"1", "2", "3"}));
        QCOMPARE(result("GetCageApplyMap", {}).toObject().size(), 3);
        QCOMPARE(
            result("GetCageIndexMap", {}).toObject().value("G").toObject().value("2").toObject(),
            (QJsonObject{{"*", "3"}}));
        QCOMPARE(result("GetCageMapBySymbol", {"600000.SH"}).toObject(),
                 result("GetAllCageMap", {}).toObject().value("1").toObject());
        QCOMPARE(result("IsCageApply", {"ETF"}).toBool(), true);
        QCOMPARE(result("IsGetUserCageInfo", {}).toBool(), true);
        QVERIFY(out("IsUserCageInfoInited", {"ETF"}).toString().startsWith("查询价格笼子设置失败"));
    }

    void cage_refreshAndUpdate_goThroughThePresenter() {
        LoadedPlugin plugin;
        QVERIFY(LoadedPlugin::wait());
        plugin.world.link().on(Quindar_MsgType::getUserProfileDataRequest, ScriptedReply::rows({}));
        QCOMPARE(result("refreshUserCageInfo", {}).toString(), QString());
        QVERIFY(!result("getCageUpdateTime", {}).toString().isEmpty());
        plugin.world.link().on(Velmar_MsgType::alterAllUserProfileDataAndSendKafkaRequest,
                               ScriptedReply::rows({}));
        QCOMPARE(result("updateUserCageInfo", {R"({"ETF":{"status":false}})", "{}"}).toString(),
                 QString());
        QCOMPARE(result("IsCageApply", {"ETF"}).toBool(), false);
    }

    void cage_noPresenterYet_answersWithoutOne() {
        const ClientWorld world({}, symbols());
        QCOMPARE(result("updateUserCageInfo", {"{}", "{}"}).toString(),
                 QStringLiteral("prtClass为空，无法上报价格笼子设置至后台！"));
        QCOMPARE(result("refreshUserCageInfo", {}).toString(), QString());
        QCOMPARE(result("GetAllCageMap", {}).toObject().size(), 3);
        QVERIFY(call("getCageUpdateTime", {}).value("result").toString().isEmpty());
    }
};

VELMAR_PROCESS_PER_CASE_MAIN(FacadePricesTest)
#include "facade_prices_test.moc"
