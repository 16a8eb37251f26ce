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

/// By parameter, or by function and parameter where one function differs.
QHash<QString, QString> makeNotes() {
    const QString shares =
        QStringLiteral("in the unit of the symbol: shares, or lots of a contract");
    const QString yuan = QStringLiteral("in the currency of the symbol");
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
        {"error", "set only for a bond whose accrued interest is unknown"},
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
