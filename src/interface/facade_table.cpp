#include "facade_call.h"
#include "facade_menu_value.h"
#include "facade_notes.h"
#include "facade_order_value.h"
#include "facade_price_value.h"
#include "velmar_business_data_interface.h"

namespace {

// What follows the reach: what the answer depends on, and the names of the parameters.
#define VELMAR_ENTRY(function, ...) \
    facadeEntry<&VelmarBusinessDataInterface::function>(#function, __VA_ARGS__, &facadeNote)

// One of several functions of a name, chosen by its type.
#define VELMAR_OVERLOAD(type, function, ...)                                                       \
    facadeEntry<static_cast<type>(&VelmarBusinessDataInterface::function)>(#function, __VA_ARGS__, \
                                                                           &facadeNote)

using PriceInCage = double (*)(const QVariantMap&, const CustomPriceType&, const qint64&, bool,
                               bool, bool, HandicapInfo*);
using PriceByRatio = double (*)(const QVariantMap&, CustomPriceType, qint64, double, HandicapInfo*);

using AddClassified = void (*)(const QString&, const QString&, const QString&, const QString&,
                               const QString&, const QString&, bool, const QString&);
using AddByKey = void (*)(const QString&, const QString&, const QString&, const QString&, bool,
                          const QString&);

constexpr unsigned kFirst = FacadeFirstLoad;
constexpr unsigned kPresenter = FacadeFirstLoad | FacadePresenter;

constexpr FacadeFunction kFunctions[] = {
    VELMAR_ENTRY(GetAccountAssetPropByTradingAccount, kPresenter | FacadeWaits, FacadeAccounts,
                 "tradingAccount"),
    VELMAR_ENTRY(GetAccountInfoByTradingAccount, FacadeWaits, FacadeAccounts,
                 "tradingAccount, unused"),
    VELMAR_ENTRY(GetAccountInfoListFromAsset, kPresenter | FacadeWaits, FacadeAccounts,
                 "asset, wait, includeDistributed"),
    VELMAR_ENTRY(GetAccountInfoListFromClientNo, kFirst | FacadeWaits, FacadeAccounts,
                 "clientNo, fundProp, wait, includeDistributed"),
    VELMAR_ENTRY(GetAccountInfoListFromFund, kPresenter | FacadeWaits, FacadeAccounts,
                 "fundAccount, wait"),
    VELMAR_ENTRY(GetAccountInfoListFromProduct, kPresenter | FacadeWaits, FacadeAccounts,
                 "product, wait, authority, includeDistributed"),
    VELMAR_ENTRY(GetAccountInfoListFromTrade, kPresenter | FacadeWaits, FacadeAccounts,
                 "tradingAccount, wait"),
    VELMAR_ENTRY(GetAccountInfoListFromTradeList, kFirst | FacadeWaits, FacadeAccounts,
                 "accounts, wait"),
    VELMAR_ENTRY(GetAccountInfoListFromTradingWithSameRealFund, kFirst, FacadeAccounts,
                 "tradingAccount"),
    VELMAR_ENTRY(GetAllClientNoList, kFirst | FacadeWaits, FacadeAccounts,
                 "authority, includeDistributed"),
    VELMAR_ENTRY(GetAllMainSecurityAccount, FacadeWaits, FacadeAccounts, ""),
    VELMAR_ENTRY(GetAllProductAccountMap, kPresenter, FacadeAccounts, ""),
    VELMAR_ENTRY(GetAllSecurityAccountMap, FacadeWaits, FacadeAccounts, ""),
    VELMAR_ENTRY(GetAuthTradeProductAccountList, kPresenter, FacadeAccounts, ""),
    VELMAR_ENTRY(GetCurrentSecurityAccountByTradingAccount, FacadeWaits, FacadeAccounts,
                 "tradingAccount"),
    VELMAR_ENTRY(GetCurrentSecurityAccountByTradingAndExchange, FacadeWaits, FacadeAccounts,
                 "tradingAccount, exchange"),
    VELMAR_ENTRY(GetCurrentSecurityAccountMap, FacadeWaits, FacadeAccounts, ""),
    VELMAR_ENTRY(GetDistributedAccountList, kFirst | FacadeWaits, FacadeAccounts, ""),
    VELMAR_ENTRY(GetExtCounterCodeByTradingAccount, kPresenter | FacadeWaits, FacadeAccounts,
                 "tradingAccount"),
    VELMAR_ENTRY(GetFundAccountList, kPresenter | FacadeWaits, FacadeAccounts,
                 "wait, authority, includeDistributed"),
    VELMAR_ENTRY(GetFundAccountListByFundProp, kFirst | FacadeWaits, FacadeAccounts,
                 "fundProp, authority, includeDistributed, exchanges, wait"),
    VELMAR_ENTRY(GetHKAccountInfoList, FacadePresenter | FacadeWaits, FacadeAccounts, ""),
    VELMAR_ENTRY(GetHStockCirculateAccountList, FacadePresenter | FacadeWaits, FacadeAccounts, ""),
    VELMAR_ENTRY(GetMainSecurityAccount, FacadeWaits, FacadeAccounts, "tradingAccount, exchange"),
    VELMAR_ENTRY(GetSecurityAccountListByTradingAccountAndExchange, FacadeWaits, FacadeAccounts,
                 "tradingAccount, exchange"),
    VELMAR_ENTRY(GetTorviEventMsgIdByStr, kPresenter, FacadeNothing, "name"),
    VELMAR_ENTRY(GetTradingAccountList, kPresenter | FacadeWaits, FacadeAccounts,
                 "wait, authority, includeDistributed"),
    VELMAR_ENTRY(GetTradingAccountListByProduct, kPresenter | FacadeWaits, FacadeAccounts,
                 "product, wait, authority, includeDistributed"),
    VELMAR_OVERLOAD(bool (*)(const tagUserAccountInfo&), IsAccountNormalCounter, FacadePlain,
                    FacadeNothing, "account"),
    VELMAR_OVERLOAD(bool (*)(const QString&), IsAccountNormalCounter, FacadeWaits, FacadeAccounts,
                    "tradingAccount"),
    VELMAR_ENTRY(SetAccountOrderList, FacadePlain, FacadeAccounts, "orderList"),
    VELMAR_ENTRY(SetCurrentSecurityAccountMap, FacadeWaits, FacadeAccounts, "accountMap"),
    VELMAR_ENTRY(SetFundAbbrName, FacadePlain, FacadeNothing, "abbrMap"),
    VELMAR_ENTRY(UpdateFundAccountInfo, FacadePlain, FacadeAccounts,
                 "tradingAccount, name, fundAccountType"),
    VELMAR_ENTRY(GetUserAuthority, kPresenter, FacadeAccounts | FacadeServer, "authType"),
    VELMAR_ENTRY(SetUserAuthority, kPresenter, FacadeAccounts | FacadeServer,
                 "authType, key, value"),
    VELMAR_ENTRY(GetBindTraderListByAccount, kPresenter, FacadeServer, "account, accountType"),
    VELMAR_ENTRY(GetOrganTraderList, kPresenter, FacadeServer, ""),
    VELMAR_ENTRY(GetTraderInfoList, kPresenter, FacadeServer, "userType"),

    // Symbols.
    VELMAR_ENTRY(CalcEntrustAmount, FacadePlain, FacadeSecurities,
                 "price, qty, symbol, multiplier"),
    VELMAR_ENTRY(CalcEntrustQty, FacadePlain, FacadeSecurities,
                 "amount, price, symbol, multiplier, includeFee"),
    VELMAR_ENTRY(CheckOrderMatchSuperEtf, FacadeWaits, FacadeAccounts | FacadeSecurities,
                 "tradingAccount, symbol, side"),
    VELMAR_ENTRY(GetASecurityExchangeBySymbol, FacadePlain, FacadeSecurities, "symbol"),
    VELMAR_ENTRY(GetExchangeNameBySymbol, FacadePlain, FacadeSecurities, "symbol"),
    VELMAR_ENTRY(GetFirstSecurityExchangeBySymbol, FacadePlain, FacadeSecurities, "symbol"),
    VELMAR_ENTRY(GetMaxQtyPerOrderBySymbol, FacadePlain, FacadeSecurities, "symbol, order"),
    VELMAR_ENTRY(GetMinQtyPerOrderBySymbol, FacadePlain, FacadeSecurities, "symbol"),
    VELMAR_ENTRY(GetMinSoldQtyBySymbol, FacadePlain, FacadeSecurities, "symbol"),
    VELMAR_ENTRY(GetQtyByOddLotType, FacadePlain, FacadeSecurities, "symbol, type, qty, flag"),
    VELMAR_ENTRY(GetQtyStepBySymbol, FacadePlain, FacadeSecurities, "symbol"),
    VELMAR_ENTRY(GetSecurityChineseName, FacadePlain, FacadeSecurities, "symbol"),
    VELMAR_ENTRY(GetSecurityDetailsBySymbol, FacadePlain, FacadeSecurities, "symbol"),
    VELMAR_ENTRY(GetSecurityExchangeListBySymbol, FacadePlain, FacadeSecurities, "symbol"),
    VELMAR_ENTRY(GetSecurityIDBySymbol, FacadePlain, FacadeSecurities, "symbol"),
    VELMAR_ENTRY(GetSecuritySubTypeBySymbol, FacadePlain, FacadeSecurities, "symbol"),
    VELMAR_ENTRY(GetSecurityTypeBySymbol, FacadePlain, FacadeSecurities, "symbol"),
    VELMAR_ENTRY(GetSupportSideUnionListByAccount, FacadePlain, FacadeAccounts, "tradingAccount"),
    VELMAR_ENTRY(GetSymbolBySecurityIDAndExchange, FacadePlain, FacadeSecurities,
                 "securityID, exchange"),
    VELMAR_ENTRY(GetSymbolFromMap, FacadePlain, FacadeSecurities, "record"),
    VELMAR_ENTRY(GetTradableSymbolListByAccount, FacadePlain, FacadeAccounts | FacadeSecurities,
                 "tradingAccount, out"),
    VELMAR_ENTRY(GetTradableSymbolListForSearchByAccount, FacadePlain,
                 FacadeAccounts | FacadeSecurities, "tradingAccount, out"),
    VELMAR_ENTRY(IsBjOrGz, FacadePlain, FacadeSecurities, "symbol"),
    VELMAR_ENTRY(IsSideUnionSupportByAccount, FacadePlain, FacadeAccounts, "tradingAccount, side"),
    VELMAR_ENTRY(IsSymbolBondRepurchase, FacadePlain, FacadeSecurities, "symbol"),
    VELMAR_ENTRY(IsSymbolFitSymbolType, FacadePlain, FacadeSecurities, "symbol, filter"),
    VELMAR_ENTRY(IsSymbolTradableByAccount, FacadePlain, FacadeAccounts | FacadeSecurities,
                 "tradingAccount, symbol"),
    VELMAR_ENTRY(TransferFromExchange2Ch, FacadePlain, FacadeNothing, "exchange"),
    VELMAR_ENTRY(TransferFromSymbolPost2Ch, FacadePlain, FacadeNothing, "symbolPost"),

    // Prices and their cage.
    VELMAR_ENTRY(CheckCagePrice, FacadePlain, FacadeCage | FacadeSecurities | FacadeHongKong,
                 "price, tick, isSell"),
    VELMAR_ENTRY(GetAllCageMap, FacadePlain, FacadeCage, ""),
    VELMAR_ENTRY(GetCageApplyMap, FacadePlain, FacadeCage, ""),
    VELMAR_ENTRY(GetCageIndexMap, FacadePlain, FacadeCage, ""),
    VELMAR_ENTRY(GetCageMapBySymbol, FacadePlain, FacadeCage | FacadeSecurities, "symbol"),
    VELMAR_ENTRY(GetDispFactorBySymbol, FacadePlain, FacadeSecurities, "symbol"),
    VELMAR_ENTRY(GetHKStockExchangeRate, kPresenter, FacadeHongKong | FacadeServer, "rates"),
    VELMAR_ENTRY(GetHKStockPriceUnit, FacadePlain, FacadeHongKong, "price, securityType"),
    VELMAR_ENTRY(GetHKStockRate, kPresenter, FacadeHongKong | FacadeServer, "exchange, side"),
    VELMAR_OVERLOAD(PriceInCage, GetPriceByTickAndType, FacadePlain,
                    FacadeCage | FacadeSecurities | FacadeHongKong,
                    "tick, type, qty, useDispFactor, applyCage, isSell, handicap"),
    VELMAR_OVERLOAD(PriceByRatio, GetPriceByTickAndType, FacadePlain,
                    FacadeSecurities | FacadeHongKong, "tick, type, qty, ratio, handicap"),
    VELMAR_ENTRY(GetPricePrecisionBySymbol, FacadePlain, FacadeSecurities, "symbol, side"),
    VELMAR_ENTRY(GetPriceUnitBySymbol, FacadePlain, FacadeSecurities | FacadeHongKong,
                 "symbol, price, side"),
    VELMAR_ENTRY(GetPriceUnitStringBySymbol, FacadePlain, FacadeSecurities | FacadeHongKong,
                 "symbol, price, side"),
    VELMAR_ENTRY(IsCageApply, FacadePlain, FacadeCage, "key"),
    VELMAR_ENTRY(IsGetUserCageInfo, FacadePlain, FacadeCage, "text"),
    VELMAR_ENTRY(IsSymbolSupportProtectedLimitPrice, FacadePlain, FacadeSecurities, "symbol"),
    VELMAR_ENTRY(IsUserCageInfoInited, FacadePlain, FacadeCage, "key, text"),
    VELMAR_ENTRY(getCageUpdateTime, FacadePlain, FacadeCage, ""),
    VELMAR_ENTRY(refreshUserCageInfo, FacadePresenter, FacadeCage | FacadeServer, ""),
    VELMAR_ENTRY(updateUserCageInfo, FacadePresenter, FacadeCage | FacadeServer,
                 "applyInfo, cageInfo"),

    // Orders, profit and market value.
    VELMAR_ENTRY(NewOrderList, kFirst | FacadeWaits, FacadeAccounts | FacadeSecurities,
                 "list, numericType, packFlag"),
    VELMAR_ENTRY(NewOrderListForInstance, kFirst | FacadeWaits, FacadeAccounts | FacadeSecurities,
                 "list, msgType"),
    VELMAR_ENTRY(OrderCancelRequest, kFirst, FacadeNothing, "order, numericType"),
    VELMAR_ENTRY(GetVelmarOrderStation, FacadePlain, FacadeNothing, "prefix"),
    VELMAR_ENTRY(CanOrderUpdate, FacadePlain, FacadeNothing, "oldOrder, newOrder"),
    VELMAR_ENTRY(GetRealizedProfitByAccount, FacadePresenter, FacadeExecutions, "tradingAccount"),
    VELMAR_ENTRY(GetRealizedProfitByAccountAndSymbol, FacadePresenter, FacadeExecutions,
                 "tradingAccount, symbol, securityAccount"),
    VELMAR_ENTRY(GetRealizedProfitMapByAccount, FacadePresenter, FacadeExecutions,
                 "tradingAccount"),
    VELMAR_ENTRY(GetAllRealizedProfitMap, FacadePresenter, FacadeExecutions, ""),
    VELMAR_ENTRY(GetMarketValueByTradingAccount, kFirst,
                 FacadeAccounts | FacadeSecurities | FacadeHongKong | FacadePositions,
                 "tradingAccount"),
    VELMAR_ENTRY(calcMarketValue, FacadePlain, FacadeSecurities,
                 "error, symbol, quantity, price, multiplier"),
    VELMAR_ENTRY(RequeryFundInfo, FacadePresenter, FacadeNothing, ""),

    // Business messages.
    VELMAR_OVERLOAD(AddClassified, AddBusiMsg, FacadePlain, FacadeAccounts,
                    "level, text, type, subType, itemName, itemValue, bSaveDb, tradingAccount"),
    VELMAR_OVERLOAD(AddByKey, AddBusiMsg, FacadePlain, FacadeAccounts,
                    "key, text, itemName, itemValue, bSaveDb, tradingAccount"),
    VELMAR_ENTRY(GetAllBusiMsgList, kFirst, FacadeMessages, ""),
    VELMAR_ENTRY(GetBusiMsgRemindSettingInfo, FacadePlain, FacadeNothing,
                 "type, subType, level, bApplyNoMoreRemind"),
    VELMAR_ENTRY(GetNoMoreRemindInDayFlag, FacadePlain, FacadeNothing, ""),
    VELMAR_ENTRY(GetRemindBusiMsgList, kFirst, FacadeMessages, ""),
    VELMAR_ENTRY(GetUnreadBusiMsgList, kFirst, FacadeMessages, ""),
    VELMAR_ENTRY(IsBusiMsgRead, FacadePlain, FacadeMessages, "clientMsgId"),
    VELMAR_ENTRY(SetBusiMsgRead, kFirst, FacadeMessages, "clientMsgId"),
    VELMAR_ENTRY(SetBusiMsgRemindSettingInfo, FacadePlain, FacadeNothing,
                 "type, subType, level, setting"),
    VELMAR_ENTRY(SetNoMoreRemindInDay, FacadePlain, FacadeNothing, ""),

    // Menus.
    VELMAR_ENTRY(GetMenuIDByPluginID, kPresenter, FacadeServer, "pluginId"),
    VELMAR_ENTRY(GetMenuInfoListByPluginID, kPresenter, FacadeServer, "pluginId"),
    VELMAR_ENTRY(GetMenuNameByMenuId, kPresenter, FacadeServer, "menuId"),
    VELMAR_ENTRY(IsUserHasMenuId, kPresenter, FacadeServer, "menuId"),

    // Risk flags of symbols.
    VELMAR_ENTRY(CheckSymbolRiskInfo, FacadePlain, FacadeSecurities | FacadeRisk,
                 "symbols, moduleName"),
    VELMAR_ENTRY(GetScienTechGrowFlagBySymbol, FacadePlain, FacadeSecurities, "symbol"),
    VELMAR_ENTRY(GetSymbolStType, FacadePlain, FacadeSecurities, "symbol, text"),
    VELMAR_ENTRY(InitKeyMonitorSymbols, kPresenter, FacadeServer, ""),
    VELMAR_ENTRY(InitSymbolRiskTypeInfo, kPresenter, FacadeServer, ""),
    VELMAR_ENTRY(IsSymbolBreakingIssuePrice, FacadePlain, FacadeRisk, "symbol"),
    VELMAR_ENTRY(IsSymbolBrokenNetPrice, FacadePlain, FacadeRisk, "symbol"),
    VELMAR_ENTRY(IsSymbolInST, FacadePlain, FacadeSecurities, "symbol"),
    VELMAR_ENTRY(IsSymbolKeyMonitor, FacadePlain, FacadeNothing, "symbol"),

    // Past orders and deals.
    VELMAR_ENTRY(GetHistoryEntrustList, kPresenter, FacadeSecurities | FacadeServer,
                 "accounts, startDate, endDate"),
    VELMAR_ENTRY(GetHistoryDealList, kPresenter, FacadeSecurities | FacadeServer,
                 "accounts, startDate, endDate"),
    VELMAR_ENTRY(GetHistoryEntrustByTradeDateAndOrderID, kPresenter, FacadeServer,
                 "tradeDate, orderID, tradingAccount"),
    VELMAR_ENTRY(GetHistoryEntrustRecordList, kPresenter, FacadeServer,
                 "params, startDate, endDate"),
    VELMAR_ENTRY(GetHistoryDealRecordList, kPresenter, FacadeServer, "params, startDate, endDate"),
    VELMAR_ENTRY(GetHistoryDealGatherRecordList, kPresenter, FacadeServer,
                 "params, startDate, endDate, maxNum"),
    VELMAR_ENTRY(GetHistoryEntrustExportList, kPresenter, FacadeServer,
                 "accounts, startDate, endDate, error"),
    VELMAR_ENTRY(GetHistoryDealExportList, kPresenter, FacadeServer,
                 "accounts, startDate, endDate, error"),
    VELMAR_ENTRY(GetHistoryDealStatisticsList, kPresenter, FacadeSecurities | FacadeServer,
                 "accounts, startDate, endDate"),

    // Reports.
    VELMAR_ENTRY(GetHistoryNormalFundInfo, kPresenter, FacadeAccounts | FacadeServer,
                 "accounts, startDate, endDate"),
    VELMAR_ENTRY(GetTodayNormalFundInfo, kPresenter, FacadeAccounts | FacadeServer,
                 "accounts, date"),
    VELMAR_ENTRY(GetHistoryMarginFundInfo, kPresenter, FacadeAccounts | FacadeServer,
                 "accounts, date"),
    VELMAR_ENTRY(GetHistoryAppraisementInfo, kPresenter, FacadeServer,
                 "accounts, date, currentDate"),
    VELMAR_ENTRY(GetHistoryAppraisementProfitInfo, kPresenter, FacadeServer,
                 "accounts, date, currentDate"),
    VELMAR_ENTRY(GetHistoryPanfenFlowInfo, kPresenter, FacadeServer, "accounts, date"),
    VELMAR_ENTRY(GetHistoryAssetDeliveryReports, kPresenter, FacadeSecurities | FacadeServer,
                 "accounts, startDate, endDate, reports"),
    VELMAR_ENTRY(GetAnnualReport, kPresenter, FacadeServer, "error"),

    // Trade days.
    VELMAR_ENTRY(GetTradeDates, kPresenter, FacadeServer, "startDate, endDate, exchange, error"),
    VELMAR_ENTRY(GetTradeDatesByDayAndRange, kPresenter, FacadeServer, "date, days, exchange"),
    VELMAR_ENTRY(GetTradeDatesByMonth, kPresenter, FacadeServer, "month, year"),

    // Single items of the server.
    VELMAR_ENTRY(GetSystemAnnoucement, kPresenter, FacadeServer, "withValue"),
    VELMAR_ENTRY(getSysConfigValue, FacadePresenter, FacadeServer, "itemName"),
    VELMAR_ENTRY(SubscribePushMsgFromServer, kPresenter, FacadeServer, "topic, content, netType"),

    // Client information and linkage.
    VELMAR_ENTRY(AddClientInfo, FacadePlain, FacadeNothing,
                 "itemType, itemValue, itemValueEx, operType, time, logTriggerTime"),
    VELMAR_ENTRY(GetLinkageEventID, FacadePlain, FacadeNothing, "msgType"),
    VELMAR_ENTRY(UploadAllClientInfo, FacadePlain, FacadeNothing, ""),
};

#undef VELMAR_OVERLOAD
#undef VELMAR_ENTRY

}  // namespace

const FacadeFunction* velmarFacadeFunctions(int* count) {
    *count = static_cast<int>(sizeof(kFunctions) / sizeof(kFunctions[0]));
    return kFunctions;
}
