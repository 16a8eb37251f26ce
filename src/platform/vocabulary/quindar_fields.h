#pragma once

#include "vocabulary/text_constant.h"

/// Field names of records and messages that the whole client family shares.
/// A record may carry fields of several groups, so a key is unique over all groups of all field
/// namespaces. It is the name of the constant, unless a comment gives the reason for another one.
namespace Quindar_Fields {

/// Fields that a user interface adds to an order.
namespace CustomField {
VELMAR_TEXT(priceType, "priceType");
}

/// Fields of an investment instruction.
namespace Instruction {
VELMAR_TEXT(InstructionID, "InstructionID");
}

/// Fields of the market data record of a security.
namespace MDCFieldDefine {
VELMAR_TEXT(mdcSecurityType, "mdcSecurityType");
VELMAR_TEXT(mdcSubSecurityType, "mdcSubSecurityType");
}  // namespace MDCFieldDefine

/// Fields of a security and of an order on it.
namespace Security {
VELMAR_TEXT(LotSize, "LotSize");
VELMAR_TEXT(alterType, "alterType");
VELMAR_TEXT(avgPx, "avgPx");
VELMAR_TEXT(cancelledQty, "cancelledQty");
VELMAR_TEXT(chineseName, "chineseName");
VELMAR_TEXT(clOrdID, "clOrdID");
VELMAR_TEXT(contractMultiplier, "contractMultiplier");
VELMAR_TEXT(cumQty, "cumQty");
VELMAR_TEXT(entrustType, "entrustType");
VELMAR_TEXT(execID, "execID");
VELMAR_TEXT(lastQty, "lastQty");
VELMAR_TEXT(leaveQty, "leaveQty");
VELMAR_TEXT(listID, "listID");
VELMAR_TEXT(maxPriceLevels, "maxPriceLevels");
VELMAR_TEXT(minEntrustRatio, "minEntrustRatio");
VELMAR_TEXT(minQty, "minQty");
VELMAR_TEXT(nominalQty, "nominalQty");
VELMAR_TEXT(omsAverageCost, "omsAverageCost");
VELMAR_TEXT(orderFlowType, "orderFlowType");
VELMAR_TEXT(orderID, "orderID");
VELMAR_TEXT(orderQty, "orderQty");
VELMAR_TEXT(orderStation, "orderStation");
VELMAR_TEXT(orderStatus, "orderStatus");
VELMAR_TEXT(orderType, "orderType");
VELMAR_TEXT(parentOrderID, "parentOrderID");
VELMAR_TEXT(securityID, "securityID");
VELMAR_TEXT(securityIDSource, "securityIDSource");
VELMAR_TEXT(side, "side");
VELMAR_TEXT(subscriptionRequestType, "subscriptionRequestType");
VELMAR_TEXT(symbol, "symbol");
VELMAR_TEXT(systemNodeId, "systemNodeId");
VELMAR_TEXT(timeInForce, "timeInForce");
VELMAR_TEXT(transActTime, "transActTime");
}  // namespace Security

/// Fields of a strategy record.
namespace Strategy {
VELMAR_TEXT(logTriggerTime, "logTriggerTime");
}

/// Control fields of a message and of generic records.
namespace System {
VELMAR_TEXT(BusiMsgLevel, "BusiMsgLevel");
VELMAR_TEXT(BusiMsgSubType, "BusiMsgSubType");
VELMAR_TEXT(BusiMsgType, "BusiMsgType");
VELMAR_TEXT(accessLevel, "accessLevel");
VELMAR_TEXT(businessDate, "businessDate");
VELMAR_TEXT(clientMsgID, "clientMsgID");
VELMAR_TEXT(createTime, "createTime");
VELMAR_TEXT(deleteFlag, "deleteFlag");
VELMAR_TEXT(fuzzy, "fuzzy");
VELMAR_TEXT(ip, "ip");
VELMAR_TEXT(itemType, "itemType");
VELMAR_TEXT(itemValue, "itemValue");
VELMAR_TEXT(itemValueEx, "itemValueEx");
VELMAR_TEXT(msgType, "msgType");
VELMAR_TEXT(operType, "operType");
VELMAR_TEXT(pageNo, "pageNo");
VELMAR_TEXT(pageSize, "pageSize");
VELMAR_TEXT(positionStr, "positionStr");
VELMAR_TEXT(profileData, "profileData");
VELMAR_TEXT(profileKey, "profileKey");
VELMAR_TEXT(requestExeStatus, "requestExeStatus");
VELMAR_TEXT(requestNumber, "requestNumber");
VELMAR_TEXT(subGroupNumber, "subGroupNumber");
VELMAR_TEXT(subscriptionTopic, "subscriptionTopic");
VELMAR_TEXT(sysConfigKey, "sysConfigKey");
VELMAR_TEXT(sysConfigValue, "sysConfigValue");
VELMAR_TEXT(textDescription, "textDescription");
VELMAR_TEXT(totalSize, "totalSize");
}  // namespace System

/// Fields of an account record, and of a user and its menus.
namespace UserAccount {
VELMAR_TEXT(ExchangeExecStat, "ExchangeExecStat");
VELMAR_TEXT(ExchangeExecType, "ExchangeExecType");
VELMAR_TEXT(accountStatus, "accountStatus");
VELMAR_TEXT(assetAccount, "assetAccount");
VELMAR_TEXT(assetAccountList, "assetAccountList");
VELMAR_TEXT(assetAccountName, "assetAccountName");
VELMAR_TEXT(investType, "investType");
VELMAR_TEXT(investorAccount, "investorAccount");
VELMAR_TEXT(investorName, "investorName");
VELMAR_TEXT(isMainAccount, "isMainAccount");
VELMAR_TEXT(loginUserId, "loginUserId");
VELMAR_TEXT(menuCaption, "menuCaption");
VELMAR_TEXT(menuId, "menuId");
VELMAR_TEXT(menuPosition, "menuPosition");
VELMAR_TEXT(menuType, "menuType");
VELMAR_TEXT(organCode, "organCode");
VELMAR_TEXT(productAccount, "productAccount");
VELMAR_TEXT(productName, "productName");
VELMAR_TEXT(seatNo, "seatNo");
VELMAR_TEXT(securityAccount, "securityAccount");
VELMAR_TEXT(securityExchange, "securityExchange");
VELMAR_TEXT(tradeDate, "tradeDate");
VELMAR_TEXT(tradingAccount, "tradingAccount");
VELMAR_TEXT(tradingAccountName, "tradingAccountName");
VELMAR_TEXT(userID, "userID");
VELMAR_TEXT(userName, "userName");
VELMAR_TEXT(userStatus, "userStatus");
VELMAR_TEXT(userType, "userType");
}  // namespace UserAccount

}  // namespace Quindar_Fields
