#pragma once

#include "vocabulary/text_constant.h"

/// Field names that this client family adds to the common ones.
/// They appear in the same records as the common fields, so no key here may repeat one of theirs.
namespace Velmar_Fields {

/// Switches of the appraisement calculation.
namespace AppraisementCalculate {
VELMAR_TEXT(IsIncludeCancel, "IsIncludeCancel");
VELMAR_TEXT(IsIncludeDischarge, "IsIncludeDischarge");
}  // namespace AppraisementCalculate

/// Fields of an appraisement row.
namespace AppraisementInfo {
VELMAR_TEXT(ProductRecord, "ProductRecord");
VELMAR_TEXT(benefitTotal, "benefitTotal");
}  // namespace AppraisementInfo

/// Fields of an asset delivery row.
namespace AssetDeliver {
VELMAR_TEXT(BusinessTime, "BusinessTime");
}

/// Fields of a business message and of its reminder setting.
namespace BusiMsgCenter {
VELMAR_TEXT(PopSwitch, "PopSwitch");
VELMAR_TEXT(ReadStatus, "ReadStatus");
VELMAR_TEXT(RemindSwitch, "RemindSwitch");
VELMAR_TEXT(SaveDB, "SaveDB");
VELMAR_TEXT(ServerMsgId, "ServerMsgId");
}  // namespace BusiMsgCenter

/// Fields of a client patch row.
namespace ClientPatch {
VELMAR_TEXT(ExcludeUpdated, "ExcludeUpdated");
VELMAR_TEXT(PatchId, "PatchId");
VELMAR_TEXT(PatchStatus, "PatchStatus");
VELMAR_TEXT(PatchUrl, "PatchUrl");
VELMAR_TEXT(Remark, "Remark");
}  // namespace ClientPatch

/// Fields of an ETF instance in an order.
namespace ETF {
VELMAR_TEXT(EtfInstCancelRedoFlag, "EtfInstCancelRedoFlag");
VELMAR_TEXT(EtfInstOrderUnit, "EtfInstOrderUnit");
VELMAR_TEXT(EtfInstanceStage, "EtfInstanceStage");
VELMAR_TEXT(UserReference1, "UserReference1");
}  // namespace ETF

/// Fields of a gold security.
namespace GoldTrade {
VELMAR_TEXT(TradeUnitQty, "TradeUnitQty");
}

/// Fields of a Hong Kong exchange rate row and of a price unit row.
namespace HKSExchgRate {
VELMAR_TEXT(HKLevelPrice, "HKLevelPrice");
VELMAR_TEXT(HKLevelUpPrice, "HKLevelUpPrice");
VELMAR_TEXT(HKPriceUnitType, "HKPriceUnitType");
VELMAR_TEXT(HKSExchgRateBuy, "HKSExchgRateBuy");
VELMAR_TEXT(HKSExchgRateMid, "HKSExchgRateMid");
VELMAR_TEXT(HKSExchgRateSell, "HKSExchgRateSell");
}  // namespace HKSExchgRate

/// Fields of a margin deal.
namespace Margin {
VELMAR_TEXT(executionCommission, "executionCommission");
}

/// Fields of a new share.
namespace NewStock {
VELMAR_TEXT(securityName, "securityName");
}

/// Fields of an equity flow row.
namespace PanfenEquityFlowInfo {
VELMAR_TEXT(OccurredDate, "OccurredDate");
// The appraisement's field of the same name has the plain key.
VELMAR_TEXT(ProductRecord, "FlowProductRecord");
}  // namespace PanfenEquityFlowInfo

/// Fields of a message with a title.
namespace QuantMsgField {
VELMAR_TEXT(textTitle, "textTitle");
}

/// Further fields of a security and of an order on it.
namespace Security {
VELMAR_TEXT(ListingDate, "ListingDate");
VELMAR_TEXT(STFlag, "STFlag");
VELMAR_TEXT(ScienTechGrowFlag, "ScienTechGrowFlag");
VELMAR_TEXT(delistDate, "delistDate");
VELMAR_TEXT(delistFlag, "delistFlag");
VELMAR_TEXT(lastAmount, "lastAmount");
VELMAR_TEXT(replyMode, "replyMode");
VELMAR_TEXT(riskRemindInfo, "riskRemindInfo");
}  // namespace Security

/// Fields of a security's risk mark.
namespace SymbolRiskType {
VELMAR_TEXT(riskFlagType, "riskFlagType");
}

/// Fields of a trade calendar row.
namespace SysTradeDate {
VELMAR_TEXT(Days, "Days");
VELMAR_TEXT(InitEndDate, "InitEndDate");
VELMAR_TEXT(InitStartDate, "InitStartDate");
VELMAR_TEXT(TradeDate, "TradeDate");
VELMAR_TEXT(TradeDayType, "TradeDayType");
}  // namespace SysTradeDate

/// Further control fields of a message and of generic records.
namespace System {
VELMAR_TEXT(CpuUsage, "CpuUsage");
VELMAR_TEXT(GatewayType, "GatewayType");
VELMAR_TEXT(MemUsage, "MemUsage");
VELMAR_TEXT(NetElapse, "NetElapse");
VELMAR_TEXT(SubMsgType, "SubMsgType");
// The security's field of the same name has the plain key.
VELMAR_TEXT(alterType, "alterKind");
VELMAR_TEXT(avgNetElapse, "avgNetElapse");
VELMAR_TEXT(clientTimeDiff, "clientTimeDiff");
VELMAR_TEXT(dataKey, "dataKey");
VELMAR_TEXT(dataVersion, "dataVersion");
VELMAR_TEXT(endDate, "endDate");
VELMAR_TEXT(endTime, "endTime");
VELMAR_TEXT(itemDesp, "itemDesp");
VELMAR_TEXT(itemName, "itemName");
VELMAR_TEXT(itemValueNum, "itemValueNum");
VELMAR_TEXT(queryDate, "queryDate");
VELMAR_TEXT(startDate, "startDate");
VELMAR_TEXT(timeStamp, "timeStamp");
}  // namespace System

/// Further fields of an account record and of an account's authority.
namespace UserAccount {
VELMAR_TEXT(OTCFundAccount, "OTCFundAccount");
VELMAR_TEXT(account, "account");
VELMAR_TEXT(accountType, "accountType");
VELMAR_TEXT(authType, "authType");
VELMAR_TEXT(authValue, "authValue");
VELMAR_TEXT(counterSiteType, "counterSiteType");
VELMAR_TEXT(passStatus, "passStatus");
}  // namespace UserAccount

}  // namespace Velmar_Fields
