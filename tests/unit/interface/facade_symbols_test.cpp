#include <QtTest>
#include <functional>

#include "client_world.h"
#include "facade_value.h"
#include "first_load.h"
#include "process_per_case.h"
#include "quantity_rules.h"
#include "symbol_identity.h"
#include "tradability.h"
#include "velmar_business_data_interface.h"
#include "velmar_business_data_manager_presenter_class.h"
#include "velmarutils/velmar_utils.h"
#include "vocabulary/fields.h"
#include "vocabulary/names.h"
#include "vocabulary/values.h"
#include "wait_for.h"
#include "zn_business_data_manager.h"
#include "zncore/zn_core.h"

namespace {

using Facade = VelmarBusinessDataInterface;

StaticDbBuilder symbols() {
    return StaticDbBuilder()
        .section("StepQtyRule", {{"02001", "10"}})
        .section("MinQtyRule", {{"02001", "30"}})
        .section("MaxQtyRule", {{"02001", "5000"}, {"02001_side:1", "3000"}})
        .reference("security", "600000.SH",
                   {{Security::securityID, "600000"},
                    {Security::chineseName, "主板"},
                    {UserAccount::securityExchange, "1"},
                    {MDCFieldDefine::mdcSecurityType, MdcSecurityType::StockType},
                    {MDCFieldDefine::mdcSubSecurityType, "02001"}})
        .reference(
            "security", "510050.SH",
            {{Security::securityID, "510050"},
             {UserAccount::securityExchange, "1"},
             {MDCFieldDefine::mdcSecurityType, MdcSecurityType::FundType},
             {MDCFieldDefine::mdcSubSecurityType, MdcSubSecurityType::TradingopenindexfundETF}});
}

QList<TestAccount> accounts() {
    return {TestAccount("T1")
                .withCounter("10086", FundAccountType::Credit)
                .withSecurityAccount("1", "A1")};
}

}  // namespace

/// There is one core in a process, so each of these has a process of its own.
class FacadeSymbolsTest : public QObject {
    Q_OBJECT

private slots:
    void identity_eachFunction_answersFromTheCore() {
        const ClientWorld world({}, symbols());
        const QString symbol = "600000.SH";
        QCOMPARE(Facade::GetSecurityDetailsBySymbol(symbol).value(Security::securityID),
                 QVariant("600000"));
        QCOMPARE(Facade::GetSecurityTypeBySymbol(symbol), MdcSecurityType::StockType);
        QCOMPARE(Facade::GetSecuritySubTypeBySymbol(symbol), QString("02001"));
        QCOMPARE(Facade::GetASecurityExchangeBySymbol(symbol), QString("1"));
        QCOMPARE(Facade::GetFirstSecurityExchangeBySymbol(symbol), QString("1"));
        QCOMPARE(Facade::GetSecurityExchangeListBySymbol(symbol), QStringList{"1"});
        QCOMPARE(Facade::GetExchangeNameBySymbol(symbol), QStringList{"上海"});
        QCOMPARE(Facade::GetSymbolBySecurityIDAndExchange("600000", "1"), symbol);
        QCOMPARE(Facade::GetSecurityIDBySymbol(symbol), QString("600000"));
        QCOMPARE(Facade::GetSecurityChineseName(symbol), QString("主板"));
        QCOMPARE(Facade::GetSymbolFromMap({{Security::symbol, symbol}}), symbol);
        QVERIFY(!Facade::IsBjOrGz(symbol) && !Facade::IsSymbolBondRepurchase(symbol));
        QCOMPARE(Facade::TransferFromExchange2Ch("2"), QString("深圳"));
        QCOMPARE(Facade::TransferFromSymbolPost2Ch("SHF"), QString("上期"));
    }

    void quantities_firstCallInTheProcess_findTheRulesLoaded() {
        const ClientWorld world({}, symbols());
        const QString symbol = "600000.SH";
        QCOMPARE(Facade::GetQtyStepBySymbol(symbol), 10);
        QCOMPARE(Facade::GetMinQtyPerOrderBySymbol(symbol), 30);
        QCOMPARE(Facade::GetMaxQtyPerOrderBySymbol(symbol, {{"side", "1"}}), 3000);
        QCOMPARE(Facade::GetMaxQtyPerOrderBySymbol(symbol, {}), 5000);
        QCOMPARE(Facade::GetMinSoldQtyBySymbol(symbol), 1);
        QCOMPARE(Facade::GetQtyByOddLotType(symbol, CustomOddLotType::ByFlag, 45, true),
                 qint64(40));
        QCOMPARE(Facade::CalcEntrustQty(1000, 2, symbol, 1, false), qint64(500));
        QCOMPARE(Facade::CalcEntrustAmount(2, 500, symbol, 1), 1000.0);
    }

    void fees_savedBeforeTheStartOrChangedLater_areReckonedWith() {
        const ClientWorld world({}, symbols());
        const auto save = [](const char* rate) {
            ZnCore::instance()->saveSetting(
                ETFTradeSetting::EtfTrade_FeeSettings,
                QStringLiteral("{\"%1\":%2}")
                    .arg(ETFTradeSetting::EtfTrade_StockBuyFee_SH, QLatin1String(rate)));
        };
        ZnCore::instance()->saveSetting(ETFTradeSetting::EtfTrade_FeeEnable, true);
        save("0.25");
        QCOMPARE(Facade::CalcEntrustQty(1000, 2, "600000.SH", 1, true), qint64(400));
        save("1");
        ZnBusinessDataManager::instance()->slotTradeFeeSettingChanged();
        QCOMPARE(Facade::CalcEntrustQty(1000, 2, "600000.SH", 1, true), qint64(250));
    }

    void tradability_eachFunction_beforeAndAfterTheLoad() {
        ClientWorld world(accounts(), symbols());
        // Before any account is known these return empty results at once.
        QVERIFY(Facade::GetSupportSideUnionListByAccount("T1").isEmpty());
        QVERIFY(!Facade::IsSymbolTradableByAccount("T1", "600000.SH"));
        QStringList out{"old"};
        Facade::GetTradableSymbolListByAccount("T1", out);
        QVERIFY(out.isEmpty());
        QVERIFY(!Facade::CheckOrderMatchSuperEtf("T1", "510050.SH", SideUnion::normalBuy));

        world.login();
        QVERIFY(!Facade::GetTradingAccountList(true, 16, true).isEmpty());
        QCOMPARE(Facade::GetSupportSideUnionListByAccount("T1"), SideUnion::marginOrderSideList);
        QVERIFY(Facade::IsSideUnionSupportByAccount("T1", SideUnion::financingBuy));
        QVERIFY(Facade::IsSymbolTradableByAccount("T1", "600000.SH"));
        QVERIFY(Facade::IsSymbolFitSymbolType("600000.SH", {{"2", {}, {"SH"}, false, {}}}));
        const QStringList both{"510050.SH", "600000.SH"};
        Facade::GetTradableSymbolListByAccount("T1", out);
        QCOMPARE(out, both);
        Facade::GetTradableSymbolListForSearchByAccount("T1", out);
        QCOMPARE(out, both);
        QVERIFY(Facade::CheckOrderMatchSuperEtf("T1", "510050.SH", SideUnion::financingBuy));
    }

    void symbolFilter_throughJsonAndBack_keepsEveryField() {
        const SymbolListType entry{"2", {"02001"}, {"SH"}, true, {"02100"}};
        const QJsonValue json = FacadeValue<SymbolListType>::toJson(entry);
        QCOMPARE(json.toObject().size(), 5);
        SymbolListType back;
        QVERIFY(FacadeValue<SymbolListType>::fromJson(json, &back));
        QCOMPARE(FacadeValue<SymbolListType>::toJson(back), json);
        QVERIFY(back.allowDeleted && back.excludeSubTypeList == QStringList{"02100"});
        QVERIFY(
            !FacadeValue<SymbolListType>::fromJson(QJsonObject{{"allowDeleted", "yes"}}, &back));
        QCOMPARE(back.securityType, QString("2"));
    }

    void oddLotType_asATextAndAsJson_isItsNumber() {
        CustomOddLotType type = CustomOddLotType::Keep;
        QVERIFY(FacadeValue<CustomOddLotType>::fromText("4", &type));
        QCOMPARE(type, CustomOddLotType::ByFlag);
        QVERIFY(!FacadeValue<CustomOddLotType>::fromText("up", &type));
        QVERIFY(!FacadeValue<CustomOddLotType>::fromJson(1.5, &type));
        QVERIFY(FacadeValue<CustomOddLotType>::fromJson(3, &type));
        QCOMPARE(type, CustomOddLotType::Up);
        QCOMPARE(FacadeValue<CustomOddLotType>::toJson(type), QJsonValue(3));
    }
};

VELMAR_PROCESS_PER_CASE_MAIN(FacadeSymbolsTest)
#include "facade_symbols_test.moc"
