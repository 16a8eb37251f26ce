#pragma once

#include <QString>
#include <QStringList>

/// Fixed field values of this client family.
/// A group that also exists in the common values continues it, so the two must not repeat a code.
namespace Velmar_Values {

/// Kinds of account of the account tree.
namespace AccountType {
inline const QString AssetAccount = QStringLiteral("AssetAccount");
inline const QString ExternUserAccount = QStringLiteral("ExternUserAccount");
inline const QString FundAccount = QStringLiteral("FundAccount");
inline const QString InvestAccount = QStringLiteral("InvestAccount");
inline const QString ProductAccount = QStringLiteral("ProductAccount");
inline const QString SecurityAccount = QStringLiteral("SecurityAccount");
inline const QString TradingAccount = QStringLiteral("TradingAccount");
inline const QString UserId = QStringLiteral("UserId");
}  // namespace AccountType

/// Kind of change to a row.
namespace AlterType {
inline const QString Add = QStringLiteral("add");
inline const QString Update = QStringLiteral("update");
}  // namespace AlterType

/// Levels of a business message; the message table keeps them as integers.
namespace BusiMsgLevel {
inline const QString Emergency = QStringLiteral("3");
inline const QString Important = QStringLiteral("2");
}  // namespace BusiMsgLevel

/// Types of a business message; the codes of its sub-types begin with the type.
namespace BusiMsgType {
inline const QString SystemMsg = QStringLiteral("1");
inline const QString TradeMsg = QStringLiteral("4");
}  // namespace BusiMsgType

/// Fields of the price cage settings. The keys of the user's own figures and the common ones
/// are those of the built-in cage texts; the same record also contains the server's defaults.
namespace CageField {
inline const QString buyPercent = QStringLiteral("buyPercent");
inline const QString buyUnit = QStringLiteral("buyUnit");
inline const QString controlType = QStringLiteral("controlType");
inline const QString securityType = QStringLiteral("securityType");
inline const QString sellPercent = QStringLiteral("sellPercent");
inline const QString sellUnit = QStringLiteral("sellUnit");
inline const QString status = QStringLiteral("status");
inline const QString userBuyPercent = QStringLiteral("buyPriceLimitRatio");
inline const QString userBuyUnit = QStringLiteral("buyPriceLimitUnit");
inline const QString userSellPercent = QStringLiteral("sellPriceLimitRatio");
inline const QString userSellUnit = QStringLiteral("sellPriceLimitUnit");
}  // namespace CageField

/// Names of performance items, which are keys of the board.
namespace ClientPerformItem {
inline const QString ClientCpuUsage = QStringLiteral("ClientCpuUsage");
inline const QString ClientMemUsage = QStringLiteral("ClientMemUsage");
inline const QString ClientScaleFactor = QStringLiteral("ClientScaleFactor");
inline const QString ClientSkin = QStringLiteral("ClientSkin");
inline const QString CpuFreq = QStringLiteral("CpuFreq");
inline const QString CpuLogicCount = QStringLiteral("CpuLogicCount");
inline const QString CpuName = QStringLiteral("CpuName");
inline const QString DumpFileCount = QStringLiteral("DumpFileCount");
inline const QString DumpFileSize = QStringLiteral("DumpFileSize");
inline const QString InfoLatency = QStringLiteral("InfoLatency");
inline const QString InfoMsgCount = QStringLiteral("InfoMsgCount");
inline const QString InfoMsgSize = QStringLiteral("InfoMsgSize");
inline const QString LogFileCount = QStringLiteral("LogFileCount");
inline const QString LogFileSize = QStringLiteral("LogFileSize");
inline const QString MdcLatency = QStringLiteral("MdcLatency");
inline const QString MdcMsgCount = QStringLiteral("MdcMsgCount");
inline const QString MdcMsgSize = QStringLiteral("MdcMsgSize");
inline const QString MdcTotalMsgCount = QStringLiteral("MdcTotalMsgCount");
inline const QString MdcTotalMsgSize = QStringLiteral("MdcTotalMsgSize");
inline const QString OSName = QStringLiteral("OSName");
inline const QString OSVersion = QStringLiteral("OSVersion");
inline const QString OrderDbFileSize = QStringLiteral("OrderDbFileSize");
inline const QString RemainDisk = QStringLiteral("RemainDisk");
inline const QString RemainMem = QStringLiteral("RemainMem");
inline const QString ScreenInfo = QStringLiteral("ScreenInfo");
inline const QString ThreadNum = QStringLiteral("ThreadNum");
inline const QString TotalCpuUsage = QStringLiteral("TotalCpuUsage");
inline const QString TotalDisk = QStringLiteral("TotalDisk");
inline const QString TotalInfoMsgCount = QStringLiteral("TotalInfoMsgCount");
inline const QString TotalInfoMsgSize = QStringLiteral("TotalInfoMsgSize");
inline const QString TotalMemUsage = QStringLiteral("TotalMemUsage");
inline const QString TotalTradeMsgCount = QStringLiteral("TotalTradeMsgCount");
inline const QString TotalTradeMsgSize = QStringLiteral("TotalTradeMsgSize");
inline const QString TradeLatency = QStringLiteral("TradeLatency");
inline const QString TradeMsgCount = QStringLiteral("TradeMsgCount");
inline const QString TradeMsgSize = QStringLiteral("TradeMsgSize");
}  // namespace ClientPerformItem

/// Kinds of performance items.
namespace ClientPerformType {
inline const QString CpuUsage = QStringLiteral("CpuUsage");
inline const QString DiskUsage = QStringLiteral("DiskUsage");
inline const QString MemUsage = QStringLiteral("MemUsage");
inline const QString NetStat = QStringLiteral("NetStat");
}  // namespace ClientPerformType

/// Item names of client information uploads.
namespace ClinetInfoUpload {
inline const QString BusinessMessage = QStringLiteral("BusinessMessage");
// The same item as in the common values.
inline const QString ClientErrorInfo = QStringLiteral("ClientErrorInfo");
inline const QString ClientPerformanceInfo = QStringLiteral("ClientPerformanceInfo");
inline const QString ClientThreadNum = QStringLiteral("ClientThreadNum");
inline const QString NetStatusInfo = QStringLiteral("NetStatusInfo");

/// Error kinds of client information uploads.
namespace ClientErrorType {
inline const QString DmpInfoError = QStringLiteral("DmpInfoError");
inline const QString ExceptionExitError = QStringLiteral("ExceptionExitError");
inline const QString StaticInfoDbError = QStringLiteral("StaticInfoDbError");
}  // namespace ClientErrorType

/// Texts that are searched for in a call stack to classify it.
namespace DumpCallStackString {
inline const QString fastDb = QStringLiteral("fastDb");
inline const QString grpc = QStringLiteral("grpc");
inline const QString libcef = QStringLiteral("libcef");
}  // namespace DumpCallStackString
}  // namespace ClinetInfoUpload

/// Counter systems.
namespace CounterSysCode {
inline const QString Normal_ZN = QStringLiteral("NORMAL");
inline const QString PUBLICRAISE = QStringLiteral("PUBLICRAISE");
inline const QString QFII_ZN = QStringLiteral("QFII");
}  // namespace CounterSysCode

/// ETF code kinds.
namespace EtfCodeType {
inline const QString bond = QStringLiteral("bond");
inline const QString cashBond = QStringLiteral("cashBond");
inline const QString commodity = QStringLiteral("commodity");
inline const QString commodityFutures = QStringLiteral("commodityFutures");
inline const QString crossBorder = QStringLiteral("crossBorder");
inline const QString crossMarket = QStringLiteral("crossMarket");
inline const QString currency = QStringLiteral("currency");
inline const QString singleMarket = QStringLiteral("singleMarket");
}  // namespace EtfCodeType

/// ETF states.
namespace EtfStatus {
inline const QString allow = QStringLiteral("1");
inline const QString onlyAllowApplyBuy = QStringLiteral("2");
inline const QString onlyAllowRedemption = QStringLiteral("3");
}  // namespace EtfStatus

/// Further exchange codes.
namespace Exchange {
inline const QString HkStockCirculation = QStringLiteral("Q");
inline const QString bj = QStringLiteral("B");
inline const QString sge = QStringLiteral("E");
}  // namespace Exchange

/// State of a deal.
namespace ExchangeExeStat {
inline const QString filled = QStringLiteral("2");
}

/// Kind of a deal.
namespace ExchangeExeType {
inline const QString innerCancel = QStringLiteral("I");
}

/// Fund account kinds.
namespace FundAccountType {
inline const QString Cash = QStringLiteral("0");
inline const QString Credit = QStringLiteral("1");
inline const QString Future = QStringLiteral("3");
inline const QString Metal = QStringLiteral("4");
inline const QString Option = QStringLiteral("2");
}  // namespace FundAccountType

/// Keys of the registry of loading steps.
namespace InitTypeCode {
inline const QString AllTraderList = QStringLiteral("AllTraderList");
inline const QString HkExchangeRate = QStringLiteral("HkExchangeRate");
inline const QString HkPriceUnitInfo = QStringLiteral("HkPriceUnitInfo");
inline const QString PriceCageInfo = QStringLiteral("PriceCageInfo");
}  // namespace InitTypeCode

/// Further market data security types.
namespace MdcSecurityType {
inline const QString SpotType = QStringLiteral("9");
}

/// Further market data security subtypes, in the same five digits as the common ones.
namespace MdcSubSecurityType {
inline const QString BjSelectedStock = QStringLiteral("02300");
inline const QString DirectedConBond = QStringLiteral("03210");
inline const QString GuZhuanBase = QStringLiteral("02310");
inline const QString GuZhuanInnovate = QStringLiteral("02320");
inline const QString HStcokCirculation = QStringLiteral("02500");
// The built-in cage texts contain this value literally.
inline const QString ScienTechInnovateBoard = QStringLiteral("02200");

/// Pledged repos: of treasury bonds, of corporate bonds, and with quotation by agreement.
inline const QStringList BondRepurchaseTypeList = {QStringLiteral("03310"), QStringLiteral("03320"),
                                                   QStringLiteral("03330")};

/// Main board and growth board shares, and the exchange-traded funds of Hong Kong, which follow
/// the same lots and price ladders.
inline const QStringList HKSharesTypeList = {QStringLiteral("02400"), QStringLiteral("02410"),
                                             QStringLiteral("08400")};
}  // namespace MdcSubSecurityType

/// Gate kinds.
namespace NetGateType {
inline const QString InfoGate = QStringLiteral("InfoGate");
inline const QString MarketGrpcGate = QStringLiteral("MarketGrpcGate");
inline const QString MarketTcpGate = QStringLiteral("MarketTcpGate");
inline const QString TradeGate = QStringLiteral("TradeGate");
}  // namespace NetGateType

/// Side of an order or of a deal.
namespace OrderSide {
inline const QString buy = QStringLiteral("1");
}

/// Further order price types.
namespace PriceType {
inline const QString shEntrustAfterHours = QStringLiteral("SHAFTER");
}

/// How an order list is answered.
namespace ReplyMode {
inline const QString AllResponse = QStringLiteral("1");
}

/// Status of a request that got no answer.
namespace RequestExeStatus {
// Different from 0, 1 and -1, which callers know as results of a send.
inline const QString timeout = QStringLiteral("408");
}  // namespace RequestExeStatus

/// Side and business combinations of an order. The first digit is the business: 1 cash, 2 margin,
/// 3 futures, 4 options; the lists hold what a fund account of that kind may do.
namespace SideUnion {
inline const QString FixIncomeTradeBuy = QStringLiteral("121");
inline const QString FixIncomeTradeBuySZ = QStringLiteral("123");
inline const QString FixIncomeTradeSell = QStringLiteral("122");
inline const QString FixIncomeTradeSellSZ = QStringLiteral("124");
inline const QString financingBuy = QStringLiteral("203");
inline const QString normalBuy = QStringLiteral("101");

/// Opening and closing long and short, and closing what was opened today.
inline const QStringList futuresSideList = {QStringLiteral("301"), QStringLiteral("302"),
                                            QStringLiteral("303"), QStringLiteral("304"),
                                            QStringLiteral("305"), QStringLiteral("306")};

/// Buying and selling collateral, financing and short selling, and the ways to repay either.
inline const QStringList marginOrderSideList = {
    QStringLiteral("201"), QStringLiteral("202"), financingBuy,          QStringLiteral("204"),
    QStringLiteral("205"), QStringLiteral("206"), QStringLiteral("207"), QStringLiteral("208")};

/// Buying and selling, creating and redeeming a fund, lending by repo, subscribing new shares,
/// and the fixed income platforms of both exchanges.
inline const QStringList normalSideList = {normalBuy,
                                           QStringLiteral("102"),
                                           QStringLiteral("111"),
                                           QStringLiteral("112"),
                                           QStringLiteral("113"),
                                           QStringLiteral("114"),
                                           FixIncomeTradeBuy,
                                           FixIncomeTradeSell,
                                           FixIncomeTradeBuySZ,
                                           FixIncomeTradeSellSZ};

/// Opening and closing long and short, covered writing and its closing, and exercise.
inline const QStringList optionSideList = {
    QStringLiteral("401"), QStringLiteral("402"), QStringLiteral("403"), QStringLiteral("404"),
    QStringLiteral("405"), QStringLiteral("406"), QStringLiteral("407")};
}  // namespace SideUnion

/// Risk warning flag of a security.
namespace StFlag {
inline const QString IsST = QStringLiteral("1");
inline const QString IsStarST = QStringLiteral("2");
inline const QString Normal = QStringLiteral("0");
}  // namespace StFlag

/// Sub-types of a push.
namespace SubscribeTopicSubType {
inline const QString clientPatchInfo = QStringLiteral("clientPatchInfo");
}

/// Risk mark of a security; never 0, because a missing mark reads as 0.
namespace SymbolRiskType {
inline constexpr int BreakingIssuePrice = 1;
inline constexpr int BrokenNetPrice = 2;
}  // namespace SymbolRiskType

/// Buttons whose use is reported.
namespace SystemButtonName {
inline const QString skinBtn = QStringLiteral("skinBtn");
}

/// Item names of the system configuration.
namespace SystemItemName {
inline const QString TagAnnoucement = QStringLiteral("TagAnnoucement");
inline const QString TagClientPerformanceCfg = QStringLiteral("TagClientPerformanceCfg");
inline const QString TagPriceCage = QStringLiteral("TagPriceCage");
inline const QString TagPriceCageApply = QStringLiteral("TagPriceCageApply");
}  // namespace SystemItemName

}  // namespace Velmar_Values
