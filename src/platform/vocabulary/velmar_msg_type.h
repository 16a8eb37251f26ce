#pragma once

#include <QString>

/// Message types of this client family.
/// A push type is also a subscription topic, whose key is cut at the first underscore, so no type
/// may contain one.
namespace Velmar_MsgType {

inline const QString AlterClientPatchInfoRequest = QStringLiteral("AlterClientPatchInfoRequest");
inline const QString BusiHeartBeatRequest = QStringLiteral("BusiHeartBeatRequest");
inline const QString BusiHeartBeatResponse = QStringLiteral("BusiHeartBeatResponse");
inline const QString ClientInfoUploadAPMRequest = QStringLiteral("ClientInfoUploadAPMRequest");
inline const QString ClientInfoUploadRequest = QStringLiteral("ClientInfoUploadRequest");
inline const QString ClientPatchInfoPush = QStringLiteral("ClientPatchInfoPush");
inline const QString HKPriceUnitRequest = QStringLiteral("HKPriceUnitRequest");
inline const QString HKStockExchangeRateRequest = QStringLiteral("HKStockExchangeRateRequest");
inline const QString MessageCenterPushMsg = QStringLiteral("MessageCenterPushMsg");
inline const QString QueryClientPatchInfoRequest = QStringLiteral("QueryClientPatchInfoRequest");
inline const QString QueryMonitorSymbolsRequest = QStringLiteral("QueryMonitorSymbolsRequest");
inline const QString QueryPanfenFlowRequest = QStringLiteral("QueryPanfenFlowRequest");
inline const QString QueryRiskSecurityFlagInfoRequest =
    QStringLiteral("QueryRiskSecurityFlagInfoRequest");
inline const QString alterAccountAuthPermRequest = QStringLiteral("alterAccountAuthPermRequest");
inline const QString alterAllUserProfileDataAndSendKafkaRequest =
    QStringLiteral("alterAllUserProfileDataAndSendKafkaRequest");
inline const QString getAccountAuthPermRequest = QStringLiteral("getAccountAuthPermRequest");
inline const QString getAnnualReportRequest = QStringLiteral("getAnnualReportRequest");
inline const QString getSysConfigRequest = QStringLiteral("getSysConfigRequest");
inline const QString getSysMenuRequest = QStringLiteral("getSysMenuRequest");
inline const QString getSysTradeDateByInitDateRequest =
    QStringLiteral("getSysTradeDateByInitDateRequest");
inline const QString getSysTradeDateByScopeRequest =
    QStringLiteral("getSysTradeDateByScopeRequest");
inline const QString getSysUserTradingPermRequest = QStringLiteral("getSysUserTradingPermRequest");
inline const QString queryBusiMessagesRequest = QStringLiteral("queryBusiMessagesRequest");
inline const QString queryHistoryAppraisementRequest =
    QStringLiteral("queryHistoryAppraisementRequest");
inline const QString queryHistoryAssetDeliveryRequest =
    QStringLiteral("queryHistoryAssetDeliveryRequest");
inline const QString queryHistoryExchangeOrderRequest =
    QStringLiteral("queryHistoryExchangeOrderRequest");
inline const QString queryHistoryExecutionRequest = QStringLiteral("queryHistoryExecutionRequest");
inline const QString queryHistoryMarginFundRequest =
    QStringLiteral("queryHistoryMarginFundRequest");
inline const QString queryHistoryNormalFundRequest =
    QStringLiteral("queryHistoryNormalFundRequest");
inline const QString queryHistoryProfitRequest = QStringLiteral("queryHistoryProfitRequest");
inline const QString queryProductDataVersionRequest =
    QStringLiteral("queryProductDataVersionRequest");
inline const QString queryProductRiskInfoRequest = QStringLiteral("queryProductRiskInfoRequest");
inline const QString queryTodayNormalFundRequest = QStringLiteral("queryTodayNormalFundRequest");
inline const QString salesTradeRealGatherHistoryRequest =
    QStringLiteral("salesTradeRealGatherHistoryRequest");

}  // namespace Velmar_MsgType
