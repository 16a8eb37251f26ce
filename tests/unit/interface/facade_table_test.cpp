#include <QFile>
#include <QRegularExpression>
#include <QtTest>

#include "facade_function.h"
#include "facade_notes.h"
#include "facade_price_value.h"
#include "test_paths.h"
#include "vocabulary/fields.h"
#include "vocabulary/values.h"

namespace {

/// The names of the functions that the exported class declares, in the order of the header, one
/// entry per overload.
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

/// The text between two marks of a file of the tree.
QString textBetween(const char* file, const char* begin, const char* end) {
    QFile header(QStringLiteral(VELMAR_SOURCE_DIR "/src/") + QLatin1String(file));
    const QString text =
        header.open(QIODevice::ReadOnly) ? QString::fromUtf8(header.readAll()) : QString();
    const int from = text.indexOf(QLatin1String(begin));
    return from < 0 ? QString() : text.mid(from, text.indexOf(QLatin1String(end), from) - from);
}

/// Name and parameter names of each declared function, "Name(a, b)". A parameter without a name is
/// called "unused".
QStringList declaredParameters() {
    const QString text = textBetween("interface/velmar_business_data_interface.h",
                                     "class VELMAR_BUSINESS_DATA_API", "\n};");
    static const QRegularExpression declaration(R"(\n    static [^(;]*?(\w+)\(([^;]*)\);)");
    static const QRegularExpression templateArguments("<[^<>]*>");
    static const QRegularExpression lastWord("(\\w+)\\s*$");
    QStringList all;
    auto found = declaration.globalMatch(text);
    while (found.hasNext()) {
        const QRegularExpressionMatch match = found.next();
        QString list = match.captured(2);
        while (list.contains(templateArguments)) {
            list.remove(templateArguments);
        }
        QStringList names;
        for (const QString& one : list.split(',', Qt::SkipEmptyParts)) {
            const bool isUnnamed = one.trimmed() == QLatin1String("bool");
            names.append(isUnnamed ? "unused" : lastWord.match(one).captured(1));
        }
        all.append(QStringLiteral("%1(%2)").arg(match.captured(1), names.join(", ")));
    }
    return all;
}

/// The functions of history and reports that do the first load.
const QStringList kHistory{"GetAnnualReport",
                           "GetHistoryAppraisementInfo",
                           "GetHistoryAppraisementProfitInfo",
                           "GetHistoryAssetDeliveryReports",
                           "GetHistoryDealExportList",
                           "GetHistoryDealGatherRecordList",
                           "GetHistoryDealList",
                           "GetHistoryDealRecordList",
                           "GetHistoryDealStatisticsList",
                           "GetHistoryEntrustByTradeDateAndOrderID",
                           "GetHistoryEntrustExportList",
                           "GetHistoryEntrustList",
                           "GetHistoryEntrustRecordList",
                           "GetHistoryMarginFundInfo",
                           "GetHistoryNormalFundInfo",
                           "GetHistoryPanfenFlowInfo",
                           "GetSystemAnnoucement",
                           "GetTodayNormalFundInfo",
                           "GetTradeDates",
                           "GetTradeDatesByDayAndRange",
                           "GetTradeDatesByMonth",
                           "SubscribePushMsgFromServer"};

/// What the header says about each function: its reach, and the names.
QList<QPair<unsigned, QStringList>> headerReaches() {
    const unsigned first = FacadeFirstLoad;
    const unsigned presenter = FacadeFirstLoad | FacadePresenter;
    const unsigned waits = FacadeWaits;
    const unsigned plain = FacadePlain;
    return {
        {plain,
         {"bool IsAccountNormalCounter(tagUserAccountInfo)", "SetAccountOrderList",
          "SetFundAbbrName", "UpdateFundAccountInfo"}},
        {plain,
         {"CheckCagePrice", "GetAllCageMap", "GetCageApplyMap", "GetCageIndexMap",
          "GetCageMapBySymbol", "GetDispFactorBySymbol", "GetHKStockPriceUnit",
          "GetPriceByTickAndType", "GetPricePrecisionBySymbol", "GetPriceUnitBySymbol",
          "GetPriceUnitStringBySymbol", "IsCageApply", "IsGetUserCageInfo",
          "IsSymbolSupportProtectedLimitPrice", "IsUserCageInfoInited", "getCageUpdateTime"}},
        {FacadePresenter, {"refreshUserCageInfo", "updateUserCageInfo", "getSysConfigValue"}},
        {presenter, kHistory},
        {presenter, {"GetHKStockExchangeRate", "GetHKStockRate"}},
        {waits,
         {"GetAccountInfoByTradingAccount", "GetAllMainSecurityAccount", "GetAllSecurityAccountMap",
          "GetCurrentSecurityAccountByTradingAccount",
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
        {plain, {"CanOrderUpdate", "GetVelmarOrderStation", "calcMarketValue"}},
        {plain, {"AddClientInfo", "GetLinkageEventID", "UploadAllClientInfo"}},
        {first, {"GetMarketValueByTradingAccount", "OrderCancelRequest"}},
        {first | waits, {"NewOrderList", "NewOrderListForInstance"}},
        {plain,
         {"AddBusiMsg", "CheckSymbolRiskInfo", "GetBusiMsgRemindSettingInfo",
          "GetNoMoreRemindInDayFlag", "GetScienTechGrowFlagBySymbol", "GetSymbolStType",
          "IsBusiMsgRead", "IsSymbolBreakingIssuePrice", "IsSymbolBrokenNetPrice", "IsSymbolInST",
          "IsSymbolKeyMonitor", "SetBusiMsgRemindSettingInfo", "SetNoMoreRemindInDay"}},
        {first,
         {"GetAllBusiMsgList", "GetRemindBusiMsgList", "GetUnreadBusiMsgList", "SetBusiMsgRead"}},
        {presenter,
         {"GetMenuIDByPluginID", "GetMenuInfoListByPluginID", "GetMenuNameByMenuId",
          "InitKeyMonitorSymbols", "InitSymbolRiskTypeInfo", "IsUserHasMenuId"}},
        {FacadePresenter,
         {"GetAllRealizedProfitMap", "GetRealizedProfitByAccount",
          "GetRealizedProfitByAccountAndSymbol", "GetRealizedProfitMapByAccount",
          "RequeryFundInfo"}},
        {waits, {"CheckOrderMatchSuperEtf"}},
        {FacadePresenter | waits, {"GetHKAccountInfoList", "GetHStockCirculateAccountList"}},
        {first, {"GetAccountInfoListFromTradingWithSameRealFund"}},
        {first | waits,
         {"GetAccountInfoListFromClientNo", "GetAccountInfoListFromTradeList", "GetAllClientNoList",
          "GetDistributedAccountList", "GetFundAccountListByFundProp"}},
        {presenter,
         {"GetAllProductAccountMap", "GetAuthTradeProductAccountList", "GetTorviEventMsgIdByStr",
          "GetUserAuthority", "SetUserAuthority", "GetBindTraderListByAccount",
          "GetOrganTraderList", "GetTraderInfoList"}},
        {presenter | waits,
         {"GetAccountAssetPropByTradingAccount", "GetAccountInfoListFromAsset",
          "GetAccountInfoListFromFund", "GetAccountInfoListFromProduct",
          "GetAccountInfoListFromTrade", "GetExtCounterCodeByTradingAccount", "GetFundAccountList",
          "GetTradingAccountList", "GetTradingAccountListByProduct"}}};
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
        QCOMPARE(declared.size(), 151);
        declared.sort();
        listed.sort();
        QCOMPARE(listed, declared);
    }

    void table_parameters_haveTheNamesOfTheHeader() {
        QStringList declared = declaredParameters();
        QStringList listed;
        int count = 0;
        const FacadeFunction* const functions = velmarFacadeFunctions(&count);
        for (int i = 0; i < count; ++i) {
            QStringList names;
            const auto parameters = functions[i].parameterList();
            for (const FacadeParameter& parameter : parameters) {
                QVERIFY2(!parameter.name.isEmpty(), functions[i].name);
                names.append(parameter.name);
            }
            const QString listedNames = QString::fromLatin1(functions[i].parameters);
            QCOMPARE(names.join(", "), listedNames);
            listed.append(QStringLiteral("%1(%2)").arg(functions[i].name, listedNames));
        }
        declared.sort();
        listed.sort();
        QCOMPARE(listed, declared);
    }

    void table_enumerations_containEveryEnumerator_data() {
        QTest::addColumn<QString>("declaration");
        QTest::addColumn<QStringList>("values");
        QTest::newRow("CustomOddLotType")
            << textBetween("interface/records/custom_odd_lot_type.h", "enum class", "};")
            << FacadeValue<CustomOddLotType>::values();
        QTest::newRow("CustomPriceType")
            << textBetween("platform/velmarutils/custom_price_type.h", "enum class", "};")
            << FacadeValue<CustomPriceType>::values();
        QTest::newRow("RateSideType")
            << textBetween("interface/records/rate_side_type.h", "enum class", "};")
            << FacadeValue<RateSideType>::values();
    }
    void table_enumerations_containEveryEnumerator() {
        QFETCH(QString, declaration);
        QFETCH(QStringList, values);
        static const QRegularExpression enumerator(R"((\w+) = (\d+))");
        int count = 0;
        auto found = enumerator.globalMatch(declaration);
        while (found.hasNext()) {
            const QRegularExpressionMatch match = found.next();
            const QString value = match.captured(2) + ' ' + match.captured(1);
            QVERIFY2(values.contains(value), qPrintable(value));
            ++count;
        }
        QVERIFY(count > 2 && count <= values.size());
    }

    void table_needs_followFromTheReachWhereItSaysSo() {
        int count = 0;
        const FacadeFunction* const functions = velmarFacadeFunctions(&count);
        for (int i = 0; i < count; ++i) {
            if (functions[i].reach & FacadeWaits) {
                QVERIFY2(functions[i].needs & FacadeAccounts, functions[i].name);
            }
        }
        const auto needsOf = [&](const char* name) {
            for (int i = 0; i < count; ++i) {
                if (qstrcmp(functions[i].name, name) == 0) {
                    return functions[i].needs;
                }
            }
            return ~0U;
        };
        QCOMPARE(needsOf("GetAllCageMap"), unsigned(FacadeCage));
        QCOMPARE(needsOf("GetPriceUnitBySymbol"), unsigned(FacadeSecurities | FacadeHongKong));
        QCOMPARE(needsOf("GetTraderInfoList"), unsigned(FacadeServer));
        QCOMPARE(needsOf("GetAllRealizedProfitMap"), unsigned(FacadeExecutions));
        QVERIFY(needsOf("GetMarketValueByTradingAccount") & FacadePositions);
    }

    void notes_ofValuesAndProfits_containTheirUnits() {
        QVERIFY(facadeNote("calcMarketValue", "quantity")
                    .contains("contracts of futures, options "
                              "and gold"));
        QVERIFY(facadeNote("calcMarketValue", "price").contains("gold per gram"));
        QCOMPARE(facadeNote("calcMarketValue", "error"),
                 QString("set only for a bond whose accrued interest is unknown"));
        QVERIFY(facadeNote("GetRealizedProfitByAccount", "result")
                    .endsWith("sums currencies as they are"));
        QVERIFY(facadeNote("OrderCancelRequest", "order").startsWith("the order's record"));
    }

    void notes_ofMasksAndExchanges_containTheValues() {
        QVERIFY(facadeNote("GetTradingAccountList", "authority").contains("16 trade"));
        QVERIFY(facadeNote("GetMainSecurityAccount", "exchange")
                    .contains(Exchange::hhk + QStringLiteral(" Hong Kong by Shanghai")));
        for (const QString& field : {CageField::userBuyPercent, CageField::userSellPercent,
                                     CageField::userBuyUnit, CageField::userSellUnit}) {
            QVERIFY2(facadeNote("updateUserCageInfo", "cageInfo").contains(field),
                     qPrintable(field));
        }
        QVERIFY(facadeNote("updateUserCageInfo", "applyInfo").contains(CageField::status));
        QVERIFY(facadeNote("GetAllCageMap", "result").contains(CageField::controlType));
        QCOMPARE(facadeNote("GetHKStockPriceUnit", "price"), QString("in Hong Kong dollars"));
        QCOMPARE(facadeNote("CheckCagePrice", "price"), QString("in the currency of the symbol"));
    }

    void notes_ofOrdersProfitAndValue_explainEveryParameter() {
        int count = 0;
        const FacadeFunction* const functions = velmarFacadeFunctions(&count);
        const QStringList explained{"NewOrderList",
                                    "NewOrderListForInstance",
                                    "OrderCancelRequest",
                                    "GetVelmarOrderStation",
                                    "CanOrderUpdate",
                                    "GetRealizedProfitByAccount",
                                    "GetRealizedProfitByAccountAndSymbol",
                                    "GetRealizedProfitMapByAccount",
                                    "GetAllRealizedProfitMap",
                                    "GetMarketValueByTradingAccount",
                                    "calcMarketValue",
                                    "RequeryFundInfo"};
        int found = 0;
        for (int i = 0; i < count; ++i) {
            if (!explained.contains(functions[i].name)) {
                continue;
            }
            ++found;
            const auto parameters = functions[i].parameterList();
            for (const FacadeParameter& parameter : parameters) {
                QVERIFY2(!parameter.note.isEmpty(),
                         qPrintable(QString(functions[i].name) + '.' + parameter.name));
            }
            QVERIFY2(functions[i].resultType() == "void" || !functions[i].resultNote().isEmpty(),
                     functions[i].name);
        }
        QCOMPARE(found, explained.size());
        QCOMPARE(facadeNote("calcMarketValue", "multiplier"),
                 QString("units of one contract; counts for futures alone"));
        QCOMPARE(facadeNote("calcMarketValue", "quantity"),
                 QString("in pieces: shares, or contracts of futures, options and gold"));
        QCOMPARE(facadeNote("calcMarketValue", "price"),
                 QString("in the currency of the symbol; for gold per gram, for futures and "
                         "options per unit of the contract"));
        QVERIFY(facadeNote("OrderCancelRequest", "order").contains(Security::orderID));
        QVERIFY(facadeNote("CanOrderUpdate", "oldOrder").contains(Security::cancelledQty));
    }

    void notes_ofMessagesMenusAndRisk_explainEveryParameter() {
        int count = 0;
        const FacadeFunction* const functions = velmarFacadeFunctions(&count);
        const QStringList explained{"AddBusiMsg",
                                    "GetAllBusiMsgList",
                                    "GetBusiMsgRemindSettingInfo",
                                    "GetNoMoreRemindInDayFlag",
                                    "GetRemindBusiMsgList",
                                    "GetUnreadBusiMsgList",
                                    "IsBusiMsgRead",
                                    "SetBusiMsgRead",
                                    "SetBusiMsgRemindSettingInfo",
                                    "SetNoMoreRemindInDay",
                                    "GetMenuIDByPluginID",
                                    "GetMenuInfoListByPluginID",
                                    "GetMenuNameByMenuId",
                                    "IsUserHasMenuId",
                                    "CheckSymbolRiskInfo",
                                    "GetScienTechGrowFlagBySymbol",
                                    "GetSymbolStType",
                                    "InitKeyMonitorSymbols",
                                    "InitSymbolRiskTypeInfo",
                                    "IsSymbolBreakingIssuePrice",
                                    "IsSymbolBrokenNetPrice",
                                    "IsSymbolInST",
                                    "IsSymbolKeyMonitor"};
        int found = 0;
        for (int i = 0; i < count; ++i) {
            if (!explained.contains(functions[i].name)) {
                continue;
            }
            ++found;
            const auto parameters = functions[i].parameterList();
            for (const FacadeParameter& parameter : parameters) {
                QVERIFY2(!parameter.note.isEmpty(),
                         qPrintable(QString(functions[i].name) + '.' + parameter.name));
            }
            QVERIFY2(functions[i].resultType() == "void" || !functions[i].resultNote().isEmpty(),
                     functions[i].name);
        }
        QCOMPARE(found, 24);
        // "key", "text" and "type" of other functions have other meanings.
        QVERIFY(facadeNote("GetQtyByOddLotType", "type").isEmpty());
        QVERIFY(facadeNote("AddBusiMsg", "key").contains("VelmarBusiMsgTypeDict"));
        QVERIFY(!facadeNote("GetUserAuthority", "key").contains("VelmarBusiMsgTypeDict"));
        QVERIFY(facadeNote("AddBusiMsg", "text") != facadeNote("GetSymbolStType", "text"));
        QVERIFY(facadeNote("SetBusiMsgRemindSettingInfo", "setting")
                    .contains(BusiMsgCenter::RemindSwitch));
    }

    void notes_ofHistory_explainEveryParameter() {
        int count = 0;
        const FacadeFunction* const functions = velmarFacadeFunctions(&count);
        const QStringList explained = kHistory + QStringList{"getSysConfigValue"};
        int found = 0;
        for (int i = 0; i < count; ++i) {
            if (!explained.contains(functions[i].name)) {
                continue;
            }
            ++found;
            QVERIFY2(functions[i].needs & FacadeServer, functions[i].name);
            const auto parameters = functions[i].parameterList();
            for (const FacadeParameter& parameter : parameters) {
                QVERIFY2(!parameter.note.isEmpty(),
                         qPrintable(QString(functions[i].name) + '.' + parameter.name));
            }
            QVERIFY2(!functions[i].resultNote().isEmpty(), functions[i].name);
        }
        QCOMPARE(found, 23);
        QVERIFY(facadeNote("GetHistoryDealList", "startDate").contains("2026-01-31 or 20260131"));
        QVERIFY(facadeNote("GetTradeDates", "startDate").endsWith("20260131 alone"));
        QVERIFY(facadeNote("GetHistoryDealList", "accounts").contains("trading"));
        QVERIFY(facadeNote("GetHistoryPanfenFlowInfo", "accounts").contains("product"));
        QVERIFY(facadeNote("GetTradeDates", "exchange").contains(Exchange::yhj + " interbank"));
        QVERIFY(facadeNote("SubscribePushMsgFromServer", "netType").contains("InfoGate"));
        QVERIFY(facadeNote("GetTradeDates", "error") != facadeNote("calcMarketValue", "error"));
    }

    void notes_ofClientInformation_explainEveryParameter() {
        int count = 0;
        const FacadeFunction* const functions = velmarFacadeFunctions(&count);
        const QStringList explained{"AddClientInfo", "GetLinkageEventID", "UploadAllClientInfo"};
        int found = 0;
        for (int i = 0; i < count; ++i) {
            if (!explained.contains(functions[i].name)) {
                continue;
            }
            ++found;
            QCOMPARE(functions[i].needs, unsigned(FacadeNothing));
            const auto parameters = functions[i].parameterList();
            for (const FacadeParameter& parameter : parameters) {
                QVERIFY2(!parameter.note.isEmpty(),
                         qPrintable(QString(functions[i].name) + '.' + parameter.name));
            }
            QVERIFY2(functions[i].resultType() == "void" || !functions[i].resultNote().isEmpty(),
                     functions[i].name);
        }
        QCOMPARE(found, explained.size());
        QVERIFY(facadeNote("AddClientInfo", "logTriggerTime").contains("15 seconds"));
        QVERIFY(facadeNote("GetLinkageEventID", "result").contains("136449"));
        // "time" and "itemValue" of other functions have other meanings.
        QVERIFY(facadeNote("AddClientInfo", "itemValue") != facadeNote("AddBusiMsg", "itemValue"));
        QVERIFY(facadeNote("GetTradeDates", "time").isEmpty());
    }

    void table_reach_everyFunction_isChecked() {
        QStringList unchecked = tableNames();
        for (const auto& reach : headerReaches()) {
            for (const QString& name : reach.second) {
                // "bool IsAccountNormalCounter(QString)" stands for one of two.
                unchecked.removeAll(name.section('(', 0, 0).section(' ', -1));
            }
        }
        QCOMPARE(unchecked, QStringList());
    }

    void table_reach_isAsTheHeaderSays_data() {
        QTest::addColumn<QString>("name");
        QTest::addColumn<unsigned>("reach");
        for (const auto& reach : headerReaches()) {
            for (const QString& name : reach.second) {
                QTest::newRow(qPrintable(name)) << name << reach.first;
            }
        }
    }
    void table_reach_isAsTheHeaderSays() {
        QFETCH(QString, name);
        QFETCH(unsigned, reach);
        QCOMPARE(reachOf(name), reach);
    }
};

QTEST_APPLESS_MAIN(FacadeTableTest)
#include "facade_table_test.moc"
