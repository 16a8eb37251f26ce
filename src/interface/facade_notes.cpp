#include "facade_notes.h"

#include <QHash>

#include "vocabulary/values.h"

namespace {

/// "1 Shanghai, 2 Shenzhen" from values and their meanings.
QString valuesText(const QList<QPair<QString, const char*>>& values) {
    QStringList texts;
    for (const auto& [value, meaning] : values) {
        texts.append(value + QLatin1Char(' ') + QLatin1String(meaning));
    }
    return texts.join(QStringLiteral(", "));
}

QString fundPropText() {
    using namespace Torvi_InnerFundProp;
    return QStringLiteral("bits, any of them: ") +
           valuesText({{QString::number(normalTrade), "cash"},
                       {QString::number(marginTrade), "margin"},
                       {QString::number(optionTrade), "option"},
                       {QString::number(futuresTrade), "futures"},
                       {QString::number(metalTrade), "metal"}});
}

QString exchangeText() {
    return valuesText({{Exchange::sh, "Shanghai"},
                       {Exchange::sz, "Shenzhen"},
                       {Exchange::bj, "Beijing"},
                       {Exchange::hhk, "Hong Kong by Shanghai"},
                       {Exchange::szhk, "Hong Kong by Shenzhen"},
                       {Exchange::shf, "SHFE"},
                       {Exchange::cffex, "CFFEX"},
                       {Exchange::sge, "SGE"}});
}

QString calendarText() {
    return valuesText({{Exchange::sh, "Shanghai"},
                       {Exchange::sz, "Shenzhen"},
                       {Exchange::cffex, "CFFEX"},
                       {Exchange::shf, "SHFE"},
                       {Exchange::czce, "CZCE"},
                       {Exchange::dcz, "DCE"},
                       {Exchange::hk, "Hong Kong"},
                       {Exchange::hhk, "Hong Kong by Shanghai"},
                       {Exchange::szhk, "Hong Kong by Shenzhen"},
                       {Exchange::ssc, "Shanghai Connect"},
                       {Exchange::szc, "Shenzhen Connect"},
                       {Exchange::yhj, "interbank"},
                       {Exchange::HkStockCirculation, "H share circulation"}}) +
           QStringLiteral("; any other text for the mainland's calendar");
}

QString gateText() {
    return QStringList{NetGateType::TradeGate, NetGateType::InfoGate, NetGateType::MarketTcpGate,
                       NetGateType::MarketGrpcGate}
        .join(QStringLiteral(", "));
}

QString fundAccountTypeText() {
    return valuesText({{FundAccountType::Cash, "cash"},
                       {FundAccountType::Credit, "margin"},
                       {FundAccountType::Option, "option"},
                       {FundAccountType::Future, "futures"},
                       {FundAccountType::Metal, "metal"}});
}

QString securityTypeText() {
    return valuesText({{MdcSecurityType::StockType, "share"},
                       {MdcSecurityType::BondType, "bond"},
                       {MdcSecurityType::FuturesType, "future"},
                       {MdcSecurityType::OptionType, "option"},
                       {MdcSecurityType::FundType, "fund"},
                       {MdcSecurityType::SpotType, "gold"}});
}

QString sideText() {
    return QStringLiteral("a SideUnion such as ") +
           valuesText({{SideUnion::normalBuy, "buy"}, {SideUnion::financingBuy, "financed buy"}});
}

QString messageLevelText() {
    return QStringLiteral("a level of the message dictionary, ") +
           valuesText(
               {{BusiMsgLevel::Important, "important"}, {BusiMsgLevel::Emergency, "emergency"}});
}

/// By parameter, or by function and parameter where one function differs.
QHash<QString, QString> makeNotes() {
    const QString shares =
        QStringLiteral("in the unit of the symbol: shares, or lots of a contract");
    const QString messageType = QStringLiteral("a key of the message dictionary's types such as 4");
    const QString yuan = QStringLiteral("in the currency of the symbol");
    const QString textDate = QStringLiteral("a date in the form 20260131 alone");
    const QString products = QStringLiteral("product accounts");
    const QString filter =
        QStringLiteral("fields of the request such as tradingAccount; changed by the call, ");
    const QString page = filter + QStringLiteral("with pageNo from 1 on and pageSize");
    const QString orderRows =
        QStringLiteral("rows of the server; symbol and leaveQty (in pieces) are added");
    const QString dealRows = QStringLiteral("rows of the server; symbol is added");
    const QString listRows =
        QStringLiteral("element 0 is the answer's header with totalSize, then the rows");
    const QString byAccount = QStringLiteral("trading account to its row of figures in currency");
    const QString figures = QStringLiteral("rows of the server, figures in currency");
    const QString why = QStringLiteral("set to the reason of a failure, otherwise emptied");
    return {
        {"tradingAccount", "a trading account such as T000001"},
        {"account", "a record with counterSiteType"},
        {"GetBindTraderListByAccount.account", "an account of the type given next"},
        {"accountType", "ProductAccount, TradingAccount or InvestAccount"},
        {"unused", "true or false, without effect"},
        {"wait", "waits for the account table when true"},
        {"authority",
         "bits, every one of them: 1 query, 2 edit, 4 authority, 8 subscribe, 16 trade; 0 for any"},
        {"includeDistributed", "accounts on distributed counters too"},
        {"product", "a product account"},
        {"asset", "an asset account"},
        {"fundAccount", "a fund account"},
        {"clientNo", "a customer number"},
        {"accounts", "trading accounts"},
        {"fundProp", fundPropText()},
        {"exchange", exchangeText()},
        {"exchanges", exchangeText() + QStringLiteral("; an empty list for any")},
        {"fundAccountType", fundAccountTypeText()},
        {"accountMap", "trading account to exchange to security account"},
        {"orderList", "trading accounts in account order"},
        {"abbrMap", "trading account to name; an empty name removes it"},
        {"GetTorviEventMsgIdByStr.name", "the name of an event"},
        {"UpdateFundAccountInfo.name", "the display name"},
        {"authType", "a section of the static configuration's authType"},
        {"key", "a trading account, or a user id for an authType of users"},
        {"IsCageApply.key", "a function of GetCageApplyMap"},
        {"IsUserCageInfoInited.key", "a function of GetCageApplyMap"},
        {"userType", "an empty text for every type"},
        {"symbol", "a code with its suffix such as 600000.SH"},
        {"symbolPost", "a suffix such as SH"},
        {"securityID", "the code that the exchange uses"},
        {"securityType", securityTypeText()},
        {"record", "a record with symbol, or with security id and exchange"},
        {"order", "a record of the order's fields"},
        {"filter",
         "entries of securityType, subTypeList, symbolPostList, allowDeleted, "
         "excludeSubTypeList"},
        {"side", sideText()},
        {"GetHKStockRate.side", QString()},
        {"qty", shares},
        {"flag", "of ByFlag: down when true, up when false"},
        {"amount", "in yuan"},
        {"price", yuan},
        {"GetHKStockPriceUnit.price", "in Hong Kong dollars"},
        {"multiplier", "units of one contract; 1 for shares"},
        {"includeFee", "counts the user's fees in"},
        {"tick",
         "a record with Symbol, TradingPhaseCode, MaxPx, MinPx, LastPx, PreClosePx and quotes"},
        {"useDispFactor", "divides qty by the display factor"},
        {"applyCage", "brings the price inside the cage and the day's limits"},
        {"isSell", "a sale when true"},
        {"ratio", "0.02 is two percent"},
        {"applyInfo",
         "function of GetCageApplyMap to a record with status, \"1\" for on and \"0\" for off; "
         "without status it is off; other keys are ignored"},
        {"cageInfo",
         "cage id of GetAllCageMap to a record with buyPriceLimitRatio and sellPriceLimitRatio "
         "(0.02 is two percent), buyPriceLimitUnit and sellPriceLimitUnit (whole numbers of price "
         "units); a figure left out is emptied, so give all four; other keys are ignored"},
        {"list",
         "a list of records: the batch's header record, then the orders; quantities in the unit "
         "of the symbol, prices in its currency"},
        {"numericType", "sends the numeric message type when true"},
        {"packFlag", "true or false, without effect"},
        {"msgType", "the message type, any text"},
        {"OrderCancelRequest.order",
         "the order's record; clientMsgID, orderID, clOrdID and the accounts become texts"},
        {"prefix", "stands in front; empty for none"},
        {"oldOrder", "the stored record: orderID, orderStatus, cumQty, cancelledQty"},
        {"newOrder", "the incoming record: the same fields"},
        {"securityAccount", "a security account; empty for all of the trading account"},
        {"quantity", "in pieces: shares, or contracts of futures, options and gold"},
        {"calcMarketValue.price",
         "in the currency of the symbol; for gold per gram, for futures and options per unit of "
         "the contract"},
        {"calcMarketValue.multiplier", "units of one contract; counts for futures alone"},
        {"calcMarketValue.error", "set only for a bond whose accrued interest is unknown"},
        {"level", "a key of the message dictionary's levels such as 1"},
        {"AddBusiMsg.type", messageType},
        {"GetBusiMsgRemindSettingInfo.type", messageType},
        {"SetBusiMsgRemindSettingInfo.type", messageType},
        {"AddBusiMsg.level", messageLevelText()},
        {"AddBusiMsg.subType",
         "a key of the message dictionary's sub-types such as 4001; empty for none"},
        {"AddBusiMsg.text", "what the user reads; a notice without a text is dropped"},
        {"AddBusiMsg.key", "a key of VelmarBusiMsgTypeDict, which gives type, sub-type and level"},
        {"AddBusiMsg.itemName", "what the notice is about, any text; may be empty"},
        {"AddBusiMsg.itemValue", "the value that belongs to itemName; may be empty"},
        {"AddBusiMsg.bSaveDb", "keeps the notice for the day, also over a restart"},
        {"AddBusiMsg.tradingAccount", "the account that the notice concerns; empty for none"},
        {"clientMsgId", "the clientMsgID of a message of GetAllBusiMsgList"},
        {"GetBusiMsgRemindSettingInfo.subType",
         "a sub-type such as 4001; BASE for the type as a whole"},
        {"SetBusiMsgRemindSettingInfo.subType",
         "a sub-type such as 4001; empty for all sub-types of the type"},
        {"bApplyNoMoreRemind", "makes PopSwitch false once reminders are ended"},
        {"setting",
         "a record of any keys; RemindSwitch and PopSwitch, both true, make a message "
         "pop up; an empty record takes the choice back"},
        {"GetMenuIDByPluginID.pluginId", "the id of a plug-in, as in the position of a menu"},
        {"GetMenuInfoListByPluginID.pluginId", "the id of a plug-in, as in the position of a menu"},
        {"menuId", "the id of a menu such as menu.trade.order"},
        {"symbols", "codes with their suffix such as 600000.SH"},
        {"startDate", "the first day, a date such as 2026-01-31 or 20260131"},
        {"endDate", "the last day, a date such as 2026-01-31 or 20260131"},
        {"tradeDate", "the order's day, a date such as 2026-01-31 or 20260131"},
        {"date", "a date such as 2026-01-31 or 20260131"},
        {"currentDate",
         "today, a date such as 2026-01-31 or 20260131; when it equals date, held rows are dropped "
         "first"},
        {"GetTradeDates.startDate", "the first day, " + textDate},
        {"GetTradeDates.endDate", "the last day, " + textDate},
        {"GetTradeDatesByDayAndRange.date", textDate},
        {"GetTradeDates.exchange", calendarText()},
        {"GetTradeDatesByDayAndRange.exchange", calendarText()},
        {"days", "the number of days"},
        {"month", "1 to 12, 0 for the whole year"},
        {"year", "this or the next year, 0 for this one"},
        {"orderID", "the order's number as the server writes it"},
        {"GetHistoryEntrustByTradeDateAndOrderID.tradingAccount",
         "a trading account; empty for the held orders of all accounts"},
        {"GetHistoryEntrustRecordList.params", page},
        {"GetHistoryDealRecordList.params", page},
        {"GetHistoryDealGatherRecordList.params",
         filter + QStringLiteral("which takes pageNo and pageSize out")},
        {"maxNum",
         "how many elements are enough, the header among them; only the last page is complete all "
         "the same"},
        {"GetHistoryAppraisementInfo.accounts", products},
        {"GetHistoryAppraisementProfitInfo.accounts", products},
        {"GetHistoryPanfenFlowInfo.accounts", products},
        {"reports", "the rows are appended to it"},
        {"GetHistoryEntrustExportList.error", why},
        {"GetHistoryDealExportList.error", why},
        {"GetAnnualReport.error", why},
        {"GetTradeDates.error", why},
        {"withValue", "whether the request carries the item's value 1"},
        {"getSysConfigValue.itemName", "the name of a configuration item of the server"},
        {"topic", "a push message type such as ClientPatchInfoPush, without _"},
        {"content", "fields of the subscription such as userID; has to be writable as JSON"},
        {"netType", "the gate, one of " + gateText()},
        {"itemType", "a ClinetInfoUpload constant such as NetStatusInfo"},
        {"AddClientInfo.itemValue", "the name of what is reported, or its value"},
        {"itemValueEx", "further detail; may be empty"},
        {"operType", "the kind of action, such as 1"},
        {"AddClientInfo.time", "the time of day when it happened; an invalid one stands for now"},
        {"logTriggerTime", "0 to send it with others within 15 seconds, else at once and alone"},
        {"GetLinkageEventID.msgType", "the name of a message type, any text"},
        {"GetLinkageEventID.result", "136449 and upward; valid in this run of the process"},
        {"moduleName",
         "the name of the calling window; with 指令 in it the price flags are checked too"},
        {"GetSymbolStType.text", "set to a warning for the user when the symbol has a flag"},
        {"GetHistoryEntrustList.result", orderRows},
        {"GetHistoryDealList.result", dealRows},
        {"GetHistoryEntrustByTradeDateAndOrderID.result", "the order's row, empty when not found"},
        {"GetHistoryEntrustRecordList.result", listRows},
        {"GetHistoryDealRecordList.result", listRows},
        {"GetHistoryDealGatherRecordList.result", listRows},
        {"GetHistoryEntrustExportList.result", "the orders of all accounts"},
        {"GetHistoryDealExportList.result", "the deals of all accounts"},
        {"GetHistoryDealStatisticsList.result", "by account and day; quantities in pieces"},
        {"GetHistoryNormalFundInfo.result", figures},
        {"GetTodayNormalFundInfo.result", byAccount},
        {"GetHistoryMarginFundInfo.result", byAccount},
        {"GetHistoryAppraisementInfo.result", figures},
        {"GetHistoryAppraisementProfitInfo.result", figures},
        {"GetHistoryPanfenFlowInfo.result", figures},
        {"GetHistoryAssetDeliveryReports.result", "always 0"},
        {"GetAnnualReport.result", "the login's record, empty after a failure"},
        {"GetTradeDates.result", "days as the server writes them, such as 20260131"},
        {"GetTradeDatesByDayAndRange.result", "days as the server writes them, such as 20260131"},
        {"GetTradeDatesByMonth.result", "days such as 2026-01-31; empty for other years"},
        {"GetSystemAnnoucement.result", "the text, empty after a failure"},
        {"getSysConfigValue.result", "the value, empty after a failure"},
        {"SubscribePushMsgFromServer.result", "whether the subscription stands"},
        {"GetAllBusiMsgList.result", "all messages of the day, by clientMsgID"},
        {"GetUnreadBusiMsgList.result", "messages that were not marked read, by clientMsgID"},
        {"GetRemindBusiMsgList.result", "unread messages that are to pop up, by clientMsgID"},
        {"GetBusiMsgRemindSettingInfo.result",
         "the whole record of the user's choice, else that of the default"},
        {"GetNoMoreRemindInDayFlag.result", "true once reminders are ended for the day"},
        {"IsBusiMsgRead.result", "false for an unknown id"},
        {"SetBusiMsgRead.result", "false for an unknown id, true otherwise"},
        {"SetBusiMsgRemindSettingInfo.result", "false when type or level is empty"},
        {"GetMenuIDByPluginID.result", "of several menus the one whose instance id sorts first"},
        {"GetMenuInfoListByPluginID.result", "by instance id; screen sizes in pixels"},
        {"GetMenuNameByMenuId.result", "the caption; empty for an unknown menu"},
        {"IsUserHasMenuId.result", "whether the user has the menu"},
        {"CheckSymbolRiskInfo.result", "whether a symbol was reported"},
        {"GetScienTechGrowFlagBySymbol.result",
         "2 growth tier, 1 listed before the tier existed, 0 any other symbol"},
        {"GetSymbolStType.result", "a StFlag, Normal for a symbol without a flag"},
        {"IsSymbolBreakingIssuePrice.result", "whether its price is below the issue price"},
        {"IsSymbolBrokenNetPrice.result", "whether its price is below the net value"},
        {"IsSymbolInST.result", "whether its flag is IsST or IsStarST"},
        {"IsSymbolKeyMonitor.result", "whether the list of InitKeyMonitorSymbols contains it"},
        {"NewOrderList.result", "the message, unsent; null for an empty list"},
        {"NewOrderListForInstance.result", "the message, unsent; null for an empty list"},
        {"OrderCancelRequest.result", "the message, unsent"},
        {"GetVelmarOrderStation.result", "host name;system;version"},
        {"CanOrderUpdate.result", "true when newOrder may replace oldOrder"},
        {"GetRealizedProfitByAccount.result",
         "summed over all symbols; sums currencies as they are"},
        {"GetRealizedProfitByAccountAndSymbol.result", yuan},
        {"GetRealizedProfitMapByAccount.result", "symbol to security account to profit, " + yuan},
        {"GetAllRealizedProfitMap.result",
         "trading account to symbol to security account to profit, " + yuan},
        {"GetMarketValueByTradingAccount.result", "values and costs in yuan"},
        {"calcMarketValue.result", yuan},
        {"GetQtyStepBySymbol.result", shares},
        {"GetMinQtyPerOrderBySymbol.result", shares},
        {"GetMaxQtyPerOrderBySymbol.result", shares},
        {"GetMinSoldQtyBySymbol.result", shares},
        {"GetQtyByOddLotType.result", shares},
        {"CalcEntrustQty.result", shares},
        {"CalcEntrustAmount.result", "in yuan, without fees"},
        {"GetPriceUnitBySymbol.result", yuan},
        {"GetPriceUnitStringBySymbol.result", yuan},
        {"GetPricePrecisionBySymbol.result", "decimals"},
        {"GetPriceByTickAndType.result", yuan},
        {"GetHKStockPriceUnit.result", "in Hong Kong dollars"},
        {"CheckCagePrice.result", yuan},
        {"SetCurrentSecurityAccountMap.result", "0, or -1 when entries were refused"},
        {"GetAllCageMap.result",
         "cage id to a record: title, securityType (exchange-type-subtype, * for any), controlType "
         "(1 ratio, 2 price units, 3 the wider of both), the figures in force as in "
         "updateUserCageInfo, and the server's defaults buyPercent, buyUnit, sellPercent, "
         "sellUnit"},
        {"updateUserCageInfo.result", "empty on success, else why nothing was changed"},
        {"refreshUserCageInfo.result", "a notice for the user, often empty"},
    };
}

}  // namespace

QString facadeNote(const QString& function, const QString& parameter) {
    // Never destroyed: a call may come while static objects are destroyed.
    static const auto* const notes = new QHash<QString, QString>(makeNotes());
    const auto own = notes->constFind(function + QLatin1Char('.') + parameter);
    return own != notes->cend() ? *own : notes->value(parameter);
}
