#pragma once

#include <QStringList>

#include "vocabulary/text_constant.h"

/// Fixed field values of this client family.
/// A group that also exists in the common values continues it, so the two must not repeat a code.
namespace Velmar_Values {

/// Kinds of account of the account tree.
namespace AccountType {
VELMAR_TEXT(AssetAccount, "AssetAccount");
VELMAR_TEXT(ExternUserAccount, "ExternUserAccount");
VELMAR_TEXT(FundAccount, "FundAccount");
VELMAR_TEXT(InvestAccount, "InvestAccount");
VELMAR_TEXT(ProductAccount, "ProductAccount");
VELMAR_TEXT(SecurityAccount, "SecurityAccount");
VELMAR_TEXT(TradingAccount, "TradingAccount");
VELMAR_TEXT(UserId, "UserId");
}  // namespace AccountType

/// Kind of change to a row.
namespace AlterType {
VELMAR_TEXT(Add, "add");
VELMAR_TEXT(Update, "update");
}  // namespace AlterType

/// Levels of a business message; the message table keeps them as integers.
namespace BusiMsgLevel {
VELMAR_TEXT(Emergency, "3");
VELMAR_TEXT(Important, "2");
}  // namespace BusiMsgLevel

/// Types of a business message; the codes of its sub-types begin with the type.
namespace BusiMsgType {
VELMAR_TEXT(SystemMsg, "1");
VELMAR_TEXT(TradeMsg, "4");
}  // namespace BusiMsgType

/// Fields of the price cage settings. The keys of the user's own figures and the common ones
/// are those of the built-in cage texts; the same record also contains the server's defaults.
namespace CageField {
VELMAR_TEXT(buyPercent, "buyPercent");
VELMAR_TEXT(buyUnit, "buyUnit");
VELMAR_TEXT(controlType, "controlType");
VELMAR_TEXT(securityType, "securityType");
VELMAR_TEXT(sellPercent, "sellPercent");
VELMAR_TEXT(sellUnit, "sellUnit");
VELMAR_TEXT(status, "status");
VELMAR_TEXT(userBuyPercent, "buyPriceLimitRatio");
VELMAR_TEXT(userBuyUnit, "buyPriceLimitUnit");
VELMAR_TEXT(userSellPercent, "sellPriceLimitRatio");
VELMAR_TEXT(userSellUnit, "sellPriceLimitUnit");
}  // namespace CageField

/// Names of performance items, which are keys of the board.
namespace ClientPerformItem {
VELMAR_TEXT(ClientCpuUsage, "ClientCpuUsage");
VELMAR_TEXT(ClientMemUsage, "ClientMemUsage");
VELMAR_TEXT(ClientScaleFactor, "ClientScaleFactor");
VELMAR_TEXT(ClientSkin, "ClientSkin");
VELMAR_TEXT(CpuFreq, "CpuFreq");
VELMAR_TEXT(CpuLogicCount, "CpuLogicCount");
VELMAR_TEXT(CpuName, "CpuName");
VELMAR_TEXT(DumpFileCount, "DumpFileCount");
VELMAR_TEXT(DumpFileSize, "DumpFileSize");
VELMAR_TEXT(InfoLatency, "InfoLatency");
VELMAR_TEXT(InfoMsgCount, "InfoMsgCount");
VELMAR_TEXT(InfoMsgSize, "InfoMsgSize");
VELMAR_TEXT(LogFileCount, "LogFileCount");
VELMAR_TEXT(LogFileSize, "LogFileSize");
VELMAR_TEXT(MdcLatency, "MdcLatency");
VELMAR_TEXT(MdcMsgCount, "MdcMsgCount");
VELMAR_TEXT(MdcMsgSize, "MdcMsgSize");
VELMAR_TEXT(MdcTotalMsgCount, "MdcTotalMsgCount");
VELMAR_TEXT(MdcTotalMsgSize, "MdcTotalMsgSize");
VELMAR_TEXT(OSName, "OSName");
VELMAR_TEXT(OSVersion, "OSVersion");
VELMAR_TEXT(OrderDbFileSize, "OrderDbFileSize");
VELMAR_TEXT(RemainDisk, "RemainDisk");
VELMAR_TEXT(RemainMem, "RemainMem");
VELMAR_TEXT(ScreenInfo, "ScreenInfo");
VELMAR_TEXT(ThreadNum, "ThreadNum");
VELMAR_TEXT(TotalCpuUsage, "TotalCpuUsage");
VELMAR_TEXT(TotalDisk, "TotalDisk");
VELMAR_TEXT(TotalInfoMsgCount, "TotalInfoMsgCount");
VELMAR_TEXT(TotalInfoMsgSize, "TotalInfoMsgSize");
VELMAR_TEXT(TotalMemUsage, "TotalMemUsage");
VELMAR_TEXT(TotalTradeMsgCount, "TotalTradeMsgCount");
VELMAR_TEXT(TotalTradeMsgSize, "TotalTradeMsgSize");
VELMAR_TEXT(TradeLatency, "TradeLatency");
VELMAR_TEXT(TradeMsgCount, "TradeMsgCount");
VELMAR_TEXT(TradeMsgSize, "TradeMsgSize");
}  // namespace ClientPerformItem

/// Kinds of performance items.
namespace ClientPerformType {
VELMAR_TEXT(CpuUsage, "CpuUsage");
VELMAR_TEXT(DiskUsage, "DiskUsage");
VELMAR_TEXT(MemUsage, "MemUsage");
VELMAR_TEXT(NetStat, "NetStat");
}  // namespace ClientPerformType

/// Item names of client information uploads.
namespace ClinetInfoUpload {
VELMAR_TEXT(BusinessMessage, "BusinessMessage");
// The same item as in the common values.
VELMAR_TEXT(ClientErrorInfo, "ClientErrorInfo");
VELMAR_TEXT(ClientPerformanceInfo, "ClientPerformanceInfo");
VELMAR_TEXT(ClientThreadNum, "ClientThreadNum");
VELMAR_TEXT(NetStatusInfo, "NetStatusInfo");

/// Error kinds of client information uploads.
namespace ClientErrorType {
VELMAR_TEXT(DmpInfoError, "DmpInfoError");
VELMAR_TEXT(ExceptionExitError, "ExceptionExitError");
VELMAR_TEXT(StaticInfoDbError, "StaticInfoDbError");
}  // namespace ClientErrorType

/// Texts that are searched for in a call stack to classify it.
namespace DumpCallStackString {
VELMAR_TEXT(fastDb, "fastDb");
VELMAR_TEXT(grpc, "grpc");
VELMAR_TEXT(libcef, "libcef");
}  // namespace DumpCallStackString
}  // namespace ClinetInfoUpload

/// Counter systems.
namespace CounterSysCode {
VELMAR_TEXT(Normal_ZN, "NORMAL");
VELMAR_TEXT(PUBLICRAISE, "PUBLICRAISE");
VELMAR_TEXT(QFII_ZN, "QFII");
}  // namespace CounterSysCode

/// ETF code kinds.
namespace EtfCodeType {
VELMAR_TEXT(bond, "bond");
VELMAR_TEXT(cashBond, "cashBond");
VELMAR_TEXT(commodity, "commodity");
VELMAR_TEXT(commodityFutures, "commodityFutures");
VELMAR_TEXT(crossBorder, "crossBorder");
VELMAR_TEXT(crossMarket, "crossMarket");
VELMAR_TEXT(currency, "currency");
VELMAR_TEXT(singleMarket, "singleMarket");
}  // namespace EtfCodeType

/// ETF states.
namespace EtfStatus {
VELMAR_TEXT(allow, "1");
VELMAR_TEXT(onlyAllowApplyBuy, "2");
VELMAR_TEXT(onlyAllowRedemption, "3");
}  // namespace EtfStatus

/// Further exchange codes.
namespace Exchange {
VELMAR_TEXT(HkStockCirculation, "Q");
VELMAR_TEXT(bj, "B");
VELMAR_TEXT(sge, "E");
}  // namespace Exchange

/// State of a deal.
namespace ExchangeExeStat {
VELMAR_TEXT(filled, "2");
}

/// Kind of a deal.
namespace ExchangeExeType {
VELMAR_TEXT(innerCancel, "I");
}

/// Fund account kinds.
namespace FundAccountType {
VELMAR_TEXT(Cash, "0");
VELMAR_TEXT(Credit, "1");
VELMAR_TEXT(Future, "3");
VELMAR_TEXT(Metal, "4");
VELMAR_TEXT(Option, "2");
}  // namespace FundAccountType

/// Keys of the registry of loading steps.
namespace InitTypeCode {
VELMAR_TEXT(AllTraderList, "AllTraderList");
VELMAR_TEXT(HkExchangeRate, "HkExchangeRate");
VELMAR_TEXT(HkPriceUnitInfo, "HkPriceUnitInfo");
VELMAR_TEXT(PriceCageInfo, "PriceCageInfo");
}  // namespace InitTypeCode

/// Further market data security types.
namespace MdcSecurityType {
VELMAR_TEXT(SpotType, "9");
}

/// Further market data security subtypes, in the same five digits as the common ones.
namespace MdcSubSecurityType {
VELMAR_TEXT(BjSelectedStock, "02300");
VELMAR_TEXT(DirectedConBond, "03210");
VELMAR_TEXT(GuZhuanBase, "02310");
VELMAR_TEXT(GuZhuanInnovate, "02320");
VELMAR_TEXT(HStcokCirculation, "02500");
// The built-in cage texts contain this value literally.
VELMAR_TEXT(ScienTechInnovateBoard, "02200");

/// Pledged repos: of treasury bonds, of corporate bonds, and with quotation by agreement.
VELMAR_CONSTANT(QStringList, BondRepurchaseTypeList, QStringLiteral("03310"),
                QStringLiteral("03320"), QStringLiteral("03330"));

/// Main board and growth board shares, and the exchange-traded funds of Hong Kong, which follow
/// the same lots and price ladders.
VELMAR_CONSTANT(QStringList, HKSharesTypeList, QStringLiteral("02400"), QStringLiteral("02410"),
                QStringLiteral("08400"));
}  // namespace MdcSubSecurityType

/// Gate kinds.
namespace NetGateType {
VELMAR_TEXT(InfoGate, "InfoGate");
VELMAR_TEXT(MarketGrpcGate, "MarketGrpcGate");
VELMAR_TEXT(MarketTcpGate, "MarketTcpGate");
VELMAR_TEXT(TradeGate, "TradeGate");
}  // namespace NetGateType

/// Side of an order or of a deal.
namespace OrderSide {
VELMAR_TEXT(buy, "1");
}

/// Further order price types.
namespace PriceType {
VELMAR_TEXT(shEntrustAfterHours, "SHAFTER");
}

/// How an order list is answered.
namespace ReplyMode {
VELMAR_TEXT(AllResponse, "1");
}

/// Status of a request that got no answer.
namespace RequestExeStatus {
// Different from 0, 1 and -1, which callers know as results of a send.
VELMAR_TEXT(timeout, "408");
}  // namespace RequestExeStatus

/// Side and business combinations of an order. The first digit is the business: 1 cash, 2 margin,
/// 3 futures, 4 options; the lists hold what a fund account of that kind may do.
namespace SideUnion {
VELMAR_TEXT(FixIncomeTradeBuy, "121");
VELMAR_TEXT(FixIncomeTradeBuySZ, "123");
VELMAR_TEXT(FixIncomeTradeSell, "122");
VELMAR_TEXT(FixIncomeTradeSellSZ, "124");
VELMAR_TEXT(financingBuy, "203");
VELMAR_TEXT(normalBuy, "101");

/// Opening and closing long and short, and closing what was opened today.
VELMAR_CONSTANT(QStringList, futuresSideList, QStringLiteral("301"), QStringLiteral("302"),
                QStringLiteral("303"), QStringLiteral("304"), QStringLiteral("305"),
                QStringLiteral("306"));

/// Buying and selling collateral, financing and short selling, and the ways to repay either.
VELMAR_CONSTANT(QStringList, marginOrderSideList, QStringLiteral("201"), QStringLiteral("202"),
                financingBuy, QStringLiteral("204"), QStringLiteral("205"), QStringLiteral("206"),
                QStringLiteral("207"), QStringLiteral("208"));

/// Buying and selling, creating and redeeming a fund, lending by repo, subscribing new shares,
/// and the fixed income platforms of both exchanges.
VELMAR_CONSTANT(QStringList, normalSideList, normalBuy, QStringLiteral("102"),
                QStringLiteral("111"), QStringLiteral("112"), QStringLiteral("113"),
                QStringLiteral("114"), FixIncomeTradeBuy, FixIncomeTradeSell, FixIncomeTradeBuySZ,
                FixIncomeTradeSellSZ);

/// Opening and closing long and short, covered writing and its closing, and exercise.
VELMAR_CONSTANT(QStringList, optionSideList, QStringLiteral("401"), QStringLiteral("402"),
                QStringLiteral("403"), QStringLiteral("404"), QStringLiteral("405"),
                QStringLiteral("406"), QStringLiteral("407"));
}  // namespace SideUnion

/// Risk warning flag of a security.
namespace StFlag {
VELMAR_TEXT(IsST, "1");
VELMAR_TEXT(IsStarST, "2");
VELMAR_TEXT(Normal, "0");
}  // namespace StFlag

/// Sub-types of a push.
namespace SubscribeTopicSubType {
VELMAR_TEXT(clientPatchInfo, "clientPatchInfo");
}

/// Risk mark of a security; never 0, because a missing mark reads as 0.
namespace SymbolRiskType {
inline constexpr int BreakingIssuePrice = 1;
inline constexpr int BrokenNetPrice = 2;
}  // namespace SymbolRiskType

/// Buttons whose use is reported.
namespace SystemButtonName {
VELMAR_TEXT(skinBtn, "skinBtn");
}

/// Item names of the system configuration.
namespace SystemItemName {
VELMAR_TEXT(TagAnnoucement, "TagAnnoucement");
VELMAR_TEXT(TagClientPerformanceCfg, "TagClientPerformanceCfg");
VELMAR_TEXT(TagPriceCage, "TagPriceCage");
VELMAR_TEXT(TagPriceCageApply, "TagPriceCageApply");
}  // namespace SystemItemName

}  // namespace Velmar_Values
