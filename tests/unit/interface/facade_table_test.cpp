#include <QFile>
#include <QRegularExpression>
#include <QtTest>

#include "facade_function.h"
#include "test_paths.h"

namespace {

/// The names of the functions that the exported class declares, in the header's order, an overload
/// as often as it stands there.
QStringList declaredNames() {
    QFile header(
        QStringLiteral(VELMAR_SOURCE_DIR "/src/interface/velmar_business_data_interface.h"));
    if (!header.open(QIODevice::ReadOnly)) {
        return {};
    }
    const QString text = QString::fromUtf8(header.readAll());
    static const QRegularExpression declaration(R"(^    static [^(;]*?(\w+)\()",
                                                QRegularExpression::MultilineOption);
    QStringList names;
    auto found = declaration.globalMatch(text);
    while (found.hasNext()) {
        names.append(found.next().captured(1));
    }
    return names;
}

QStringList tableNames() {
    int count = 0;
    const FacadeFunction* const functions = velmarFacadeFunctions(&count);
    QStringList names;
    for (int i = 0; i < count; ++i) {
        names.append(QLatin1String(functions[i].name));
    }
    return names;
}

/// By name, or by the whole signature where a name has several.
unsigned reachOf(const QString& name) {
    int count = 0;
    const FacadeFunction* const functions = velmarFacadeFunctions(&count);
    for (int i = 0; i < count; ++i) {
        if (name == QLatin1String(functions[i].name) || name == functions[i].signature()) {
            return functions[i].reach;
        }
    }
    return ~0U;
}

}  // namespace

class FacadeTableTest : public QObject {
    Q_OBJECT

private slots:
    void table_everyExportedFunction_standsInIt() {
        QStringList declared = declaredNames();
        QStringList listed = tableNames();
        QVERIFY(declared.size() >= 89);
        declared.sort();
        listed.sort();
        QCOMPARE(listed, declared);
    }

    void table_reach_isAsTheHeaderTells_data() {
        QTest::addColumn<QString>("name");
        QTest::addColumn<unsigned>("reach");
        const unsigned first = FacadeFirstLoad;
        const unsigned presenter = FacadeFirstLoad | FacadePresenter;
        const unsigned waits = FacadeWaits;
        const unsigned plain = FacadePlain;
        const QList<QPair<unsigned, QStringList>> reaches{
            {plain,
             {"bool IsAccountNormalCounter(tagUserAccountInfo)", "SetAccountOrderList",
              "SetFundAbbrName", "UpdateFundAccountInfo"}},
            {plain,
             {"CheckCagePrice", "GetAllCageMap", "GetCageApplyMap", "GetCageIndexMap",
              "GetCageMapBySymbol", "GetDispFactorBySymbol", "GetHKStockPriceUnit",
              "GetPriceByTickAndType", "GetPricePrecisionBySymbol", "GetPriceUnitBySymbol",
              "GetPriceUnitStringBySymbol", "IsCageApply", "IsGetUserCageInfo",
              "IsSymbolSupportProtectedLimitPrice", "IsUserCageInfoInited", "getCageUpdateTime"}},
            {FacadePresenter, {"refreshUserCageInfo", "updateUserCageInfo"}},
            {presenter, {"GetHKStockExchangeRate", "GetHKStockRate"}},
            {waits,
             {"GetAccountInfoByTradingAccount", "GetAllMainSecurityAccount",
              "GetAllSecurityAccountMap", "GetCurrentSecurityAccountByTradingAccount",
              "GetCurrentSecurityAccountByTradingAndExchange", "GetCurrentSecurityAccountMap",
              "GetMainSecurityAccount", "GetSecurityAccountListByTradingAccountAndExchange",
              "SetCurrentSecurityAccountMap", "bool IsAccountNormalCounter(QString)"}},
            {plain,
             {"CalcEntrustAmount",
              "CalcEntrustQty",
              "GetASecurityExchangeBySymbol",
              "GetExchangeNameBySymbol",
              "GetFirstSecurityExchangeBySymbol",
              "GetMaxQtyPerOrderBySymbol",
              "GetMinQtyPerOrderBySymbol",
              "GetMinSoldQtyBySymbol",
              "GetQtyByOddLotType",
              "GetQtyStepBySymbol",
              "GetSecurityChineseName",
              "GetSecurityDetailsBySymbol",
              "GetSecurityExchangeListBySymbol",
              "GetSecurityIDBySymbol",
              "GetSecuritySubTypeBySymbol",
              "GetSecurityTypeBySymbol",
              "GetSupportSideUnionListByAccount",
              "GetSymbolBySecurityIDAndExchange",
              "GetSymbolFromMap",
              "GetTradableSymbolListByAccount",
              "GetTradableSymbolListForSearchByAccount",
              "IsBjOrGz",
              "IsSideUnionSupportByAccount",
              "IsSymbolBondRepurchase",
              "IsSymbolFitSymbolType",
              "IsSymbolTradableByAccount",
              "TransferFromExchange2Ch",
              "TransferFromSymbolPost2Ch"}},
            {waits, {"CheckOrderMatchSuperEtf"}},
            {FacadePresenter | waits, {"GetHKAccountInfoList", "GetHStockCirculateAccountList"}},
            {first, {"GetAccountInfoListFromTradingWithSameRealFund"}},
            {first | waits,
             {"GetAccountInfoListFromClientNo", "GetAccountInfoListFromTradeList",
              "GetAllClientNoList", "GetDistributedAccountList", "GetFundAccountListByFundProp"}},
            {presenter,
             {"GetAllProductAccountMap", "GetAuthTradeProductAccountList",
              "GetTorviEventMsgIdByStr", "GetUserAuthority", "SetUserAuthority",
              "GetBindTraderListByAccount", "GetOrganTraderList", "GetTraderInfoList"}},
            {presenter | waits,
             {"GetAccountAssetPropByTradingAccount", "GetAccountInfoListFromAsset",
              "GetAccountInfoListFromFund", "GetAccountInfoListFromProduct",
              "GetAccountInfoListFromTrade", "GetExtCounterCodeByTradingAccount",
              "GetFundAccountList", "GetTradingAccountList", "GetTradingAccountListByProduct"}}};
        for (const auto& reach : reaches) {
            for (const QString& name : reach.second) {
                QTest::newRow(qPrintable(name)) << name << reach.first;
            }
        }
    }
    void table_reach_isAsTheHeaderTells() {
        QFETCH(QString, name);
        QFETCH(unsigned, reach);
        QCOMPARE(reachOf(name), reach);
    }
};

QTEST_APPLESS_MAIN(FacadeTableTest)
#include "facade_table_test.moc"
