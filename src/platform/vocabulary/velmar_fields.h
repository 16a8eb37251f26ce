#pragma once

#include <QString>

/// Field names that this client family adds to the common ones.
/// They appear in the same records as the common fields, so no key here may repeat one of theirs.
namespace Velmar_Fields {

/// Switches of the appraisement calculation.
namespace AppraisementCalculate {
inline const QString IsIncludeCancel = QStringLiteral("IsIncludeCancel");
inline const QString IsIncludeDischarge = QStringLiteral("IsIncludeDischarge");
}  // namespace AppraisementCalculate

/// Fields of an appraisement row.
namespace AppraisementInfo {
inline const QString ProductRecord = QStringLiteral("ProductRecord");
inline const QString benefitTotal = QStringLiteral("benefitTotal");
}  // namespace AppraisementInfo

/// Fields of an asset delivery row.
namespace AssetDeliver {
inline const QString BusinessTime = QStringLiteral("BusinessTime");
}

/// Fields of a business message and of its reminder setting.
namespace BusiMsgCenter {
inline const QString PopSwitch = QStringLiteral("PopSwitch");
inline const QString ReadStatus = QStringLiteral("ReadStatus");
inline const QString RemindSwitch = QStringLiteral("RemindSwitch");
inline const QString SaveDB = QStringLiteral("SaveDB");
inline const QString ServerMsgId = QStringLiteral("ServerMsgId");
}  // namespace BusiMsgCenter

/// Fields of a client patch row.
namespace ClientPatch {
inline const QString ExcludeUpdated = QStringLiteral("ExcludeUpdated");
inline const QString PatchId = QStringLiteral("PatchId");
inline const QString PatchStatus = QStringLiteral("PatchStatus");
inline const QString PatchUrl = QStringLiteral("PatchUrl");
inline const QString Remark = QStringLiteral("Remark");
}  // namespace ClientPatch

/// Fields of an ETF instance in an order.
namespace ETF {
inline const QString EtfInstCancelRedoFlag = QStringLiteral("EtfInstCancelRedoFlag");
inline const QString EtfInstOrderUnit = QStringLiteral("EtfInstOrderUnit");
inline const QString EtfInstanceStage = QStringLiteral("EtfInstanceStage");
inline const QString UserReference1 = QStringLiteral("UserReference1");
}  // namespace ETF

/// Fields of a gold security.
namespace GoldTrade {
inline const QString TradeUnitQty = QStringLiteral("TradeUnitQty");
}

/// Fields of a Hong Kong exchange rate row and of a price unit row.
namespace HKSExchgRate {
inline const QString HKLevelPrice = QStringLiteral("HKLevelPrice");
inline const QString HKLevelUpPrice = QStringLiteral("HKLevelUpPrice");
inline const QString HKPriceUnitType = QStringLiteral("HKPriceUnitType");
inline const QString HKSExchgRateBuy = QStringLiteral("HKSExchgRateBuy");
inline const QString HKSExchgRateMid = QStringLiteral("HKSExchgRateMid");
inline const QString HKSExchgRateSell = QStringLiteral("HKSExchgRateSell");
}  // namespace HKSExchgRate

/// Fields of a margin deal.
namespace Margin {
inline const QString executionCommission = QStringLiteral("executionCommission");
}

/// Fields of a new share.
namespace NewStock {
inline const QString securityName = QStringLiteral("securityName");
}

/// Fields of an equity flow row.
namespace PanfenEquityFlowInfo {
inline const QString OccurredDate = QStringLiteral("OccurredDate");
// The appraisement's field of the same name has the plain key.
inline const QString ProductRecord = QStringLiteral("FlowProductRecord");
}  // namespace PanfenEquityFlowInfo

/// Fields of a message with a title.
namespace QuantMsgField {
inline const QString textTitle = QStringLiteral("textTitle");
}

/// Further fields of a security and of an order on it.
namespace Security {
inline const QString ListingDate = QStringLiteral("ListingDate");
inline const QString STFlag = QStringLiteral("STFlag");
inline const QString ScienTechGrowFlag = QStringLiteral("ScienTechGrowFlag");
inline const QString delistDate = QStringLiteral("delistDate");
inline const QString delistFlag = QStringLiteral("delistFlag");
inline const QString lastAmount = QStringLiteral("lastAmount");
inline const QString replyMode = QStringLiteral("replyMode");
inline const QString riskRemindInfo = QStringLiteral("riskRemindInfo");
}  // namespace Security

/// Fields of a security's risk mark.
namespace SymbolRiskType {
inline const QString riskFlagType = QStringLiteral("riskFlagType");
}

/// Fields of a trade calendar row.
namespace SysTradeDate {
inline const QString Days = QStringLiteral("Days");
inline const QString InitEndDate = QStringLiteral("InitEndDate");
inline const QString InitStartDate = QStringLiteral("InitStartDate");
inline const QString TradeDate = QStringLiteral("TradeDate");
inline const QString TradeDayType = QStringLiteral("TradeDayType");
}  // namespace SysTradeDate

/// Further control fields of a message and of generic records.
namespace System {
inline const QString CpuUsage = QStringLiteral("CpuUsage");
inline const QString GatewayType = QStringLiteral("GatewayType");
inline const QString MemUsage = QStringLiteral("MemUsage");
inline const QString NetElapse = QStringLiteral("NetElapse");
inline const QString SubMsgType = QStringLiteral("SubMsgType");
// The security's field of the same name has the plain key.
inline const QString alterType = QStringLiteral("alterKind");
inline const QString avgNetElapse = QStringLiteral("avgNetElapse");
inline const QString clientTimeDiff = QStringLiteral("clientTimeDiff");
inline const QString dataKey = QStringLiteral("dataKey");
inline const QString dataVersion = QStringLiteral("dataVersion");
inline const QString endDate = QStringLiteral("endDate");
inline const QString endTime = QStringLiteral("endTime");
inline const QString itemDesp = QStringLiteral("itemDesp");
inline const QString itemName = QStringLiteral("itemName");
inline const QString itemValueNum = QStringLiteral("itemValueNum");
inline const QString queryDate = QStringLiteral("queryDate");
inline const QString startDate = QStringLiteral("startDate");
inline const QString timeStamp = QStringLiteral("timeStamp");
}  // namespace System

/// Further fields of an account record and of an account's authority.
namespace UserAccount {
inline const QString OTCFundAccount = QStringLiteral("OTCFundAccount");
inline const QString account = QStringLiteral("account");
inline const QString accountType = QStringLiteral("accountType");
inline const QString authType = QStringLiteral("authType");
inline const QString authValue = QStringLiteral("authValue");
inline const QString counterSiteType = QStringLiteral("counterSiteType");
inline const QString passStatus = QStringLiteral("passStatus");
}  // namespace UserAccount

}  // namespace Velmar_Fields
