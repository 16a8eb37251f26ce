#pragma once

#include <QString>

/// Message types of requests and pushes that the whole client family shares.
/// A type is unique over all namespaces of message types, because handlers are found by it alone.
namespace Quindar_MsgType {

inline const QString getUserProfileDataRequest = QStringLiteral("getUserProfileDataRequest");
inline const QString menuConfigurationRequest = QStringLiteral("menuConfigurationRequest");
inline const QString newOrderList = QStringLiteral("newOrderList");
inline const QString orderCancelRequest = QStringLiteral("orderCancelRequest");
inline const QString subscribeTopicRequest = QStringLiteral("subscribeTopicRequest");
inline const QString sysConfigRequest = QStringLiteral("sysConfigRequest");

/// Types of the quant family.
namespace quant {
inline const QString GetUserRequest = QStringLiteral("quantGetUserRequest");
}

// Also available beside the other types, under the short name that code uses.
inline const QString quant_GetUserRequest = quant::GetUserRequest;

}  // namespace Quindar_MsgType
