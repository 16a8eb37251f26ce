#pragma once

#include <QString>

/// Field names of records and messages that the whole client family shares.
/// A record may carry fields of several groups, so a key is unique over all groups of all field
/// namespaces. It is the name of the constant, unless a comment gives the reason for another one.
namespace Quindar_Fields {

/// Fields that a user interface adds to an order.
namespace CustomField {
inline const QString priceType = QStringLiteral("priceType");
}

/// Fields of an investment instruction.
namespace Instruction {
inline const QString InstructionID = QStringLiteral("InstructionID");
}

/// Fields of the market data record of a security.
namespace MDCFieldDefine {
inline const QString mdcSecurityType = QStringLiteral("mdcSecurityType");
inline const QString mdcSubSecurityType = QStringLiteral("mdcSubSecurityType");
}  // namespace MDCFieldDefine

/// Fields of a security and of an order on it.
namespace Security {
inline const QString LotSize = QStringLiteral("LotSize");
inline const QString alterType = QStringLiteral("alterType");
inline const QString avgPx = QStringLiteral("avgPx");
inline const QString cancelledQty = QStringLiteral("cancelledQty");
inline const QString chineseName = QStringLiteral("chineseName");
inline const QString clOrdID = QStringLiteral("clOrdID");
inline const QString contractMultiplier = QStringLiteral("contractMultiplier");
inline const QString cumQty = QStringLiteral("cumQty");
inline const QString entrustType = QStringLiteral("entrustType");
inline const QString execID = QStringLiteral("execID");
inline const QString lastQty = QStringLiteral("lastQty");
inline const QString leaveQty = QStringLiteral("leaveQty");
inline const QString listID = QStringLiteral("listID");
inline const QString maxPriceLevels = QStringLiteral("maxPriceLevels");
inline const QString minEntrustRatio = QStringLiteral("minEntrustRatio");
inline const QString minQty = QStringLiteral("minQty");
inline const QString nominalQty = QStringLiteral("nominalQty");
inline const QString omsAverageCost = QStringLiteral("omsAverageCost");
inline const QString orderFlowType = QStringLiteral("orderFlowType");
inline const QString orderID = QStringLiteral("orderID");
inline const QString orderQty = QStringLiteral("orderQty");
inline const QString orderStation = QStringLiteral("orderStation");
inline const QString orderStatus = QStringLiteral("orderStatus");
inline const QString orderType = QStringLiteral("orderType");
inline const QString parentOrderID = QStringLiteral("parentOrderID");
inline const QString securityID = QStringLiteral("securityID");
inline const QString securityIDSource = QStringLiteral("securityIDSource");
inline const QString side = QStringLiteral("side");
inline const QString subscriptionRequestType = QStringLiteral("subscriptionRequestType");
inline const QString symbol = QStringLiteral("symbol");
inline const QString systemNodeId = QStringLiteral("systemNodeId");
inline const QString timeInForce = QStringLiteral("timeInForce");
inline const QString transActTime = QStringLiteral("transActTime");
}  // namespace Security

/// Fields of a strategy record.
namespace Strategy {
inline const QString logTriggerTime = QStringLiteral("logTriggerTime");
}

/// Control fields of a message and of generic records.
namespace System {
inline const QString BusiMsgLevel = QStringLiteral("BusiMsgLevel");
inline const QString BusiMsgSubType = QStringLiteral("BusiMsgSubType");
inline const QString BusiMsgType = QStringLiteral("BusiMsgType");
inline const QString accessLevel = QStringLiteral("accessLevel");
inline const QString businessDate = QStringLiteral("businessDate");
inline const QString clientMsgID = QStringLiteral("clientMsgID");
inline const QString createTime = QStringLiteral("createTime");
inline const QString deleteFlag = QStringLiteral("deleteFlag");
inline const QString fuzzy = QStringLiteral("fuzzy");
inline const QString ip = QStringLiteral("ip");
inline const QString itemType = QStringLiteral("itemType");
inline const QString itemValue = QStringLiteral("itemValue");
inline const QString itemValueEx = QStringLiteral("itemValueEx");
inline const QString msgType = QStringLiteral("msgType");
inline const QString operType = QStringLiteral("operType");
inline const QString pageNo = QStringLiteral("pageNo");
inline const QString pageSize = QStringLiteral("pageSize");
inline const QString positionStr = QStringLiteral("positionStr");
inline const QString profileData = QStringLiteral("profileData");
inline const QString profileKey = QStringLiteral("profileKey");
inline const QString requestExeStatus = QStringLiteral("requestExeStatus");
inline const QString requestNumber = QStringLiteral("requestNumber");
inline const QString subGroupNumber = QStringLiteral("subGroupNumber");
inline const QString subscriptionTopic = QStringLiteral("subscriptionTopic");
inline const QString sysConfigKey = QStringLiteral("sysConfigKey");
inline const QString sysConfigValue = QStringLiteral("sysConfigValue");
inline const QString textDescription = QStringLiteral("textDescription");
inline const QString totalSize = QStringLiteral("totalSize");
}  // namespace System

/// Fields of an account record, and of a user and its menus.
namespace UserAccount {
inline const QString ExchangeExecStat = QStringLiteral("ExchangeExecStat");
inline const QString ExchangeExecType = QStringLiteral("ExchangeExecType");
inline const QString accountStatus = QStringLiteral("accountStatus");
inline const QString assetAccount = QStringLiteral("assetAccount");
inline const QString assetAccountList = QStringLiteral("assetAccountList");
inline const QString assetAccountName = QStringLiteral("assetAccountName");
inline const QString investType = QStringLiteral("investType");
inline const QString investorAccount = QStringLiteral("investorAccount");
inline const QString investorName = QStringLiteral("investorName");
inline const QString isMainAccount = QStringLiteral("isMainAccount");
inline const QString loginUserId = QStringLiteral("loginUserId");
inline const QString menuCaption = QStringLiteral("menuCaption");
inline const QString menuId = QStringLiteral("menuId");
inline const QString menuPosition = QStringLiteral("menuPosition");
inline const QString menuType = QStringLiteral("menuType");
inline const QString organCode = QStringLiteral("organCode");
inline const QString productAccount = QStringLiteral("productAccount");
inline const QString productName = QStringLiteral("productName");
inline const QString seatNo = QStringLiteral("seatNo");
inline const QString securityAccount = QStringLiteral("securityAccount");
inline const QString securityExchange = QStringLiteral("securityExchange");
inline const QString tradeDate = QStringLiteral("tradeDate");
inline const QString tradingAccount = QStringLiteral("tradingAccount");
inline const QString tradingAccountName = QStringLiteral("tradingAccountName");
inline const QString userID = QStringLiteral("userID");
inline const QString userName = QStringLiteral("userName");
inline const QString userStatus = QStringLiteral("userStatus");
inline const QString userType = QStringLiteral("userType");
}  // namespace UserAccount

}  // namespace Quindar_Fields
