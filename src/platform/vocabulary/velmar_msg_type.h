#pragma once

#include "vocabulary/text_constant.h"

/// Message types of this client family.
/// A push type is also a subscription topic, whose key is cut at the first underscore, so no type
/// may contain one.
namespace Velmar_MsgType {

VELMAR_TEXT(AlterClientPatchInfoRequest, "AlterClientPatchInfoRequest");
VELMAR_TEXT(BusiHeartBeatRequest, "BusiHeartBeatRequest");
VELMAR_TEXT(BusiHeartBeatResponse, "BusiHeartBeatResponse");
VELMAR_TEXT(ClientInfoUploadAPMRequest, "ClientInfoUploadAPMRequest");
VELMAR_TEXT(ClientInfoUploadRequest, "ClientInfoUploadRequest");
VELMAR_TEXT(ClientPatchInfoPush, "ClientPatchInfoPush");
VELMAR_TEXT(HKPriceUnitRequest, "HKPriceUnitRequest");
VELMAR_TEXT(HKStockExchangeRateRequest, "HKStockExchangeRateRequest");
VELMAR_TEXT(MessageCenterPushMsg, "MessageCenterPushMsg");
VELMAR_TEXT(QueryClientPatchInfoRequest, "QueryClientPatchInfoRequest");
VELMAR_TEXT(QueryMonitorSymbolsRequest, "QueryMonitorSymbolsRequest");
VELMAR_TEXT(QueryPanfenFlowRequest, "QueryPanfenFlowRequest");
VELMAR_TEXT(QueryRiskSecurityFlagInfoRequest, "QueryRiskSecurityFlagInfoRequest");
VELMAR_TEXT(alterAccountAuthPermRequest, "alterAccountAuthPermRequest");
VELMAR_TEXT(alterAllUserProfileDataAndSendKafkaRequest,
            "alterAllUserProfileDataAndSendKafkaRequest");
VELMAR_TEXT(getAccountAuthPermRequest, "getAccountAuthPermRequest");
VELMAR_TEXT(getAnnualReportRequest, "getAnnualReportRequest");
VELMAR_TEXT(getSysConfigRequest, "getSysConfigRequest");
VELMAR_TEXT(getSysMenuRequest, "getSysMenuRequest");
VELMAR_TEXT(getSysTradeDateByInitDateRequest, "getSysTradeDateByInitDateRequest");
VELMAR_TEXT(getSysTradeDateByScopeRequest, "getSysTradeDateByScopeRequest");
VELMAR_TEXT(getSysUserTradingPermRequest, "getSysUserTradingPermRequest");
VELMAR_TEXT(queryBusiMessagesRequest, "queryBusiMessagesRequest");
VELMAR_TEXT(queryHistoryAppraisementRequest, "queryHistoryAppraisementRequest");
VELMAR_TEXT(queryHistoryAssetDeliveryRequest, "queryHistoryAssetDeliveryRequest");
VELMAR_TEXT(queryHistoryExchangeOrderRequest, "queryHistoryExchangeOrderRequest");
VELMAR_TEXT(queryHistoryExecutionRequest, "queryHistoryExecutionRequest");
VELMAR_TEXT(queryHistoryMarginFundRequest, "queryHistoryMarginFundRequest");
VELMAR_TEXT(queryHistoryNormalFundRequest, "queryHistoryNormalFundRequest");
VELMAR_TEXT(queryHistoryProfitRequest, "queryHistoryProfitRequest");
VELMAR_TEXT(queryProductDataVersionRequest, "queryProductDataVersionRequest");
VELMAR_TEXT(queryProductRiskInfoRequest, "queryProductRiskInfoRequest");
VELMAR_TEXT(queryTodayNormalFundRequest, "queryTodayNormalFundRequest");
VELMAR_TEXT(salesTradeRealGatherHistoryRequest, "salesTradeRealGatherHistoryRequest");

}  // namespace Velmar_MsgType
